#include "batch_sources.h"

#include "failure.h"
#include "paths.h"
#include "source_file.h"
#include "wildcards.h"

#include "qor/texsmith/raw/filetype.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <set>
#include <string_view>
#include <system_error>

namespace Tool {
namespace {

namespace fs = std::filesystem;
namespace Raw = qor::Texsmith::Raw;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool isHidden(const fs::path& path) { return toName(path.filename()).starts_with('.'); }

bool canBeRead(const fs::path& path) {
    const Raw::FileType type = Raw::getFileTypeFromExtension(toName(path.filename()).c_str());
    return type != Raw::FileType{} && type != Raw::makeFileType(".PSD");
}

void checkListed(const fs::path& folder, const std::error_code& error) {
    if (error) {
        throw Failure("the folder cannot be listed: " + reasonOf(error), kExitUnreadable, toName(folder));
    }
}

bool isSameFolder(const fs::path& a, const std::string& b) {
    std::error_code error;
    return !b.empty() && fs::equivalent(a, toPath(b), error);
}

void sortByName(std::vector<BatchSource>* sources) {
    std::sort(sources->begin(), sources->end(),
              [](const BatchSource& a, const BatchSource& b) { return a.m_name < b.m_name; });
}

// Calls use(entry) for all that lies in a folder.
template <typename Use> void forEachEntry(const fs::path& folder, Use use) {
    std::error_code error;
    fs::directory_iterator entry(folder, error);
    for (checkListed(folder, error); entry != fs::end(entry); checkListed(folder, error)) {
        use(*entry);
        entry.increment(error);
    }
}

// One name for a folder, however it is reached.
fs::path realPath(const fs::path& folder) {
    std::error_code error;
    const fs::path real = fs::canonical(folder, error);
    return error ? folder : real;
}

// Links to folders are not entered, and no folder twice: they may lead in a circle.
SourceList filesBelow(const fs::path& top, const std::string& outputFolder) {
    std::vector<BatchSource> found;
    std::vector<fs::path> folders = {top}; // grows while it is walked
    std::set<fs::path> known = {realPath(top)};
    for (std::size_t i = 0; i < folders.size(); ++i) {
        forEachEntry(fs::path(folders[i]), [&](const fs::directory_entry& entry) {
            const fs::path& path = entry.path();
            std::error_code ignored;
            if (isHidden(path)) {
                return;
            }
            if (entry.is_directory(ignored)) {
                if (!entry.is_symlink(ignored) && !isSameFolder(path, outputFolder) &&
                    known.insert(realPath(path)).second) {
                    folders.push_back(path);
                }
            } else if (entry.is_regular_file(ignored) && canBeRead(path)) {
                found.push_back({toName(path), toName(path.lexically_relative(top)), true});
            }
        });
    }
    sortByName(&found);
    std::vector<std::string> names;
    std::transform(folders.begin(), folders.end(), std::back_inserter(names), &toName);
    std::sort(names.begin(), names.end());
    return {found, names};
}

// Wildcards stand in the last part of the name. Shells that know them have put names in their place.
SourceList filesLike(const std::string& pattern) {
    const std::string folder = pattern.substr(0, nameOffset(pattern));
    const std::string_view name = std::string_view(pattern).substr(folder.size());
    if (hasWildcards(folder)) {
        throw UsageFailure(pattern + ": wildcards are for names of files, and not for those of folders");
    }
    std::vector<BatchSource> found;
    forEachEntry(toPath(folder.empty() ? "." : folder), [&](const fs::directory_entry& entry) {
        const std::string file = toName(entry.path().filename());
        std::error_code ignored;
        if (!file.starts_with('.') && entry.is_regular_file(ignored) && matchesPattern(file, name)) {
            found.push_back({folder + file, file});
        }
    });
    if (found.empty()) {
        throw UsageFailure(pattern + ": no file has such a name");
    }
    sortByName(&found);
    return {found, {folder.empty() ? "." : folder}};
}

SourceList sourcesNamed(const std::string& name, const SourceRequest& request) {
    if (name == kStandardStream) {
        throw UsageFailure("what the standard input holds needs a DESTINATION with a name");
    }
    std::error_code error;
    if (!isUrl(name) && fs::is_directory(toPath(name), error)) {
        if (!request.m_entersFolders) {
            throw UsageFailure(name + " is a folder; -r takes the files below it");
        }
        return filesBelow(toPath(name), request.m_outputFolder);
    }
    if (hasWildcards(name) && !isUrl(name) && !fs::exists(toPath(name), error)) {
        return filesLike(name);
    }
    return {{{name, name.substr(nameOffset(name))}}, {}};
}

// Of a name in a list its folders are kept, unless they lead out of where they begin.
std::string placeOfListed(const std::string& name) {
    const fs::path path = toPath(name).lexically_normal();
    const bool leadsOut = isUrl(name) || path.is_absolute() || path.has_root_path() || *path.begin() == "..";
    return leadsOut ? name.substr(nameOffset(name)) : toName(path);
}

std::vector<BatchSource> readList(std::istream& stream, const std::string& list) {
    std::vector<BatchSource> sources;
    bool isFirst = true;
    for (std::string line; std::getline(stream, line); isFirst = false) {
        if (isFirst && line.starts_with(kByteOrderMark)) {
            line.erase(0, kByteOrderMark.size());
        }
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        if (line.find('\0') != line.npos) {
            throw Failure("this is no list of names", kExitDamaged, list);
        }
        if (!line.empty()) {
            sources.push_back({line, placeOfListed(line)});
        }
    }
    return sources;
}

std::vector<BatchSource> sourcesListed(const std::string& list) {
    if (list == kStandardStream) {
        return readList(std::cin, nameOfSource(list));
    }
    std::ifstream stream(toPath(list), std::ios::binary);
    std::vector<BatchSource> sources = readList(stream, list);
    if (!stream.eof()) {
        throw Failure("the list cannot be read", kExitUnreadable, list);
    }
    return sources;
}

} // namespace

SourceList collectSources(const SourceRequest& request) {
    SourceList all;
    std::set<fs::path> seen;
    const auto add = [&](const std::vector<BatchSource>& sources) {
        for (const BatchSource& source : sources) {
            std::error_code error;
            const fs::path path = fs::absolute(toPath(source.m_name), error);
            if (seen.insert((error ? toPath(source.m_name) : path).lexically_normal()).second) {
                all.m_files.push_back(source);
            }
        }
    };
    for (const std::string& name : request.m_names) {
        const SourceList named = sourcesNamed(name, request);
        add(named.m_files);
        all.m_folders.insert(all.m_folders.end(), named.m_folders.begin(), named.m_folders.end());
    }
    for (const std::string& list : request.m_lists) {
        add(sourcesListed(list));
    }
    return all;
}

} // namespace Tool
