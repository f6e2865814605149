#include "update_record.h"

#include "content_hash.h"
#include "failure.h"
#include "paths.h"
#include "replacement_file.h"

#include "qor/texsmith/version.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <fstream>

namespace Tool {
namespace {

using nlohmann::ordered_json;

constexpr char kFileName[] = ".texsmith-record";
constexpr std::size_t kMostLines = 8; // for each result, before the record is written anew

std::string hex(std::uint64_t value) {
    char text[17];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(value));
    return text;
}

std::string madeText(const UpdateRecord::Making& making) {
    return hex(making.m_source) + " " + qor::Texsmith::getLibraryVersionText() + " " + making.m_options;
}

std::string folderName(const std::string& destination) {
    return destination.substr(0, nameOffset(destination));
}
std::string fileName(const std::string& destination) { return destination.substr(nameOffset(destination)); }

// Names need not be UTF-8; what stands in their place only has to be the same each time.
std::string lineOf(const ordered_json& entry) {
    return entry.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

std::string asStored(const std::string& text) { return ordered_json::parse(lineOf(text)).get<std::string>(); }

} // namespace

UpdateRecord::Folder& UpdateRecord::folderOf(const std::string& destination) {
    const std::string name = folderName(destination);
    const auto [entry, isNew] = m_folders.try_emplace(name);
    Folder& folder = entry->second;
    if (isNew) {
        std::size_t lines = 0;
        std::ifstream stream(toPath(name + kFileName), std::ios::binary);
        for (std::string line; std::getline(stream, line); ++lines) {
            const ordered_json made = ordered_json::parse(line, nullptr, false);
            if (made.is_object() && made.contains("file") && made["file"].is_string() &&
                made.contains("made") && made["made"].is_string() && made.contains("written") &&
                made["written"].is_number_unsigned()) {
                folder[made["file"].get<std::string>()] = {made["made"].get<std::string>(),
                                                           made["written"].get<std::uint64_t>()};
            }
        }
        stream.close();
        if (m_access == Access::kWriting && lines > kMostLines * (folder.size() + 1)) {
            writeAnew(name + kFileName, folder);
        }
    }
    return folder;
}

// Lines that later ones took the place of are left out. Where that cannot be, the record stays as it is.
void UpdateRecord::writeAnew(const std::string& record, const Folder& folder) try {
    ReplacementFile file(record);
    std::ofstream stream(toPath(file.name()), std::ios::binary);
    for (const auto& [name, entry] : folder) {
        stream << lineOf({{"file", name}, {"made", entry.m_made}, {"written", entry.m_written}}) << '\n';
    }
    stream.close();
    if (stream) {
        file.takePlace();
    }
} catch (const Failure&) {
    forgetReports();
}

bool UpdateRecord::isUpToDate(const std::string& destination, const Making& making) {
    std::optional<std::uint64_t> written;
    {
        const std::scoped_lock lock(m_mutex);
        const Folder& folder = folderOf(destination);
        const auto entry = folder.find(asStored(fileName(destination)));
        if (entry == folder.end() || entry->second.m_made != asStored(madeText(making))) {
            return false;
        }
        written = entry->second.m_written;
    }
    return contentHash(destination) == written;
}

void UpdateRecord::add(const std::string& destination, const Making& making, std::uint64_t written) {
    ordered_json entry;
    entry["file"] = fileName(destination);
    entry["made"] = madeText(making);
    entry["written"] = written;
    const std::scoped_lock lock(m_mutex);
    folderOf(destination)[asStored(fileName(destination))] = {asStored(madeText(making)), written};
    const std::string record = folderName(destination) + kFileName;
    std::ofstream stream(toPath(record), std::ios::binary | std::ios::app);
    // Behind a line that was cut short, this one begins anew.
    stream << '\n' + lineOf(entry) + '\n' << std::flush;
    if (!stream) {
        throw Failure(record + ": the record of results cannot be written", kExitUnwritable);
    }
}

} // namespace Tool
