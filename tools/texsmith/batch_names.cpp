#include "batch_names.h"

#include "failure.h"
#include "paths.h"
#include "source_file.h"

#include "qor/texsmith/raw/filetype.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <string_view>
#include <system_error>

namespace Tool {
namespace {

namespace fs = std::filesystem;
namespace Raw = qor::Texsmith::Raw;

constexpr std::string_view kWords[] = {"name", "extension", "folder"};

std::string folderOf(std::string_view path) { return std::string(path.substr(0, nameOffset(path))); }

std::string lastFolderOf(const BatchSource& source) {
    std::error_code error;
    const fs::path path = fs::absolute(toPath(source.m_name), error);
    return toName((error ? toPath(source.m_name) : path).lexically_normal().parent_path().filename());
}

std::string valueOf(std::string_view word, const BatchSource& source) {
    const std::string_view name = std::string_view(source.m_place).substr(nameOffset(source.m_place));
    const std::size_t dot = extensionOffset(name);
    if (word == "name") {
        return std::string(name.substr(0, dot));
    }
    return word == "extension" ? std::string(name.substr(std::min(dot + 1, name.size())))
                               : lastFolderOf(source);
}

// Calls text(...) for what stands between braces' words and word(...) for these.
template <typename Text, typename Word> void readPattern(std::string_view pattern, Text text, Word word) {
    while (!pattern.empty()) {
        const std::size_t open = pattern.find('{');
        text(pattern.substr(0, open));
        if (open == pattern.npos) {
            return;
        }
        const std::size_t close = pattern.find('}', open);
        const std::string_view found =
            pattern.substr(open + 1, close == pattern.npos ? close : close - open - 1);
        if (close == pattern.npos ||
            std::find(std::begin(kWords), std::end(kWords), found) == std::end(kWords)) {
            throw UsageFailure("--name knows {name}, {extension} and {folder}, and not '" +
                               std::string(pattern.substr(open)) + "'");
        }
        word(found);
        pattern.remove_prefix(close + 1);
    }
}

std::string nameOf(const BatchSource& source, const std::string& pattern) {
    std::string name;
    readPattern(
        pattern, [&](std::string_view text) { name += text; },
        [&](std::string_view word) { name += valueOf(word, source); });
    return name;
}

// One text for all names of a file, as far as that can be told of files that are not there yet.
std::string canonical(const std::string& name) {
    std::error_code error;
    const fs::path path = fs::weakly_canonical(toPath(name), error);
    std::string text = toName(error ? toPath(name).lexically_normal() : path);
    if (fs::path::preferred_separator == '\\') {
        std::transform(text.begin(), text.end(), text.begin(),
                       [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    }
    return text;
}

} // namespace

void checkNaming(const Naming& naming) {
    if (!naming.m_extension.starts_with('.') || nameOffset(naming.m_extension) != 0) {
        throw UsageFailure("'" + naming.m_extension + "' is no extension such as .dds");
    }
    if (Raw::getFileTypeFromExtension(naming.m_extension.c_str()) == Raw::FileType{}) {
        throw UsageFailure("no type of file has the extension '" + naming.m_extension + "'");
    }
    readPattern(
        naming.m_pattern, [](std::string_view) {}, [](std::string_view) {});
    const fs::path pattern = toPath(naming.m_pattern);
    if (pattern.filename().empty() || pattern.has_root_path() ||
        std::find(pattern.begin(), pattern.end(), fs::path("..")) != pattern.end()) {
        throw UsageFailure("--name is a name below the folder of the results, and not '" + naming.m_pattern +
                           "'");
    }
}

std::string destinationOf(const BatchSource& source, const Naming& naming) {
    const bool isBeside = naming.m_folder.empty();
    if (isBeside && isUrl(source.m_name)) {
        throw UsageFailure(source.m_name + ": what becomes of a URL needs a folder, by -o");
    }
    if (isBeside && !source.m_isFound && extensionOffset(source.m_name) == source.m_name.size()) {
        throw UsageFailure(source.m_name + ": the name has no extension that " + naming.m_extension +
                           " could replace");
    }
    const std::string file = nameOf(source, naming.m_pattern) + naming.m_extension;
    return isBeside ? folderOf(source.m_name) + file
                    : toName(toPath(naming.m_folder) / toPath(folderOf(source.m_place)) / toPath(file));
}

void refuseCollisions(const std::vector<std::pair<std::string, std::string>>& conversions) {
    std::map<std::string, const std::string*> sources, writers;
    for (const auto& [source, destination] : conversions) {
        sources.emplace(canonical(source), &source);
    }
    for (const auto& [source, destination] : conversions) {
        const std::string key = canonical(destination);
        const auto [writer, isNew] = writers.emplace(key, &source);
        if (!isNew) {
            throw UsageFailure(*writer->second + " and " + source + " would both be written as " +
                               destination + "; --name can tell them apart");
        }
        const auto read = sources.find(key);
        if (read != sources.end() && *read->second != source) {
            throw UsageFailure(source + " would be written over " + *read->second +
                               ", which is a source too");
        }
    }
}

} // namespace Tool
