// What was made of what, so that a second run can leave out what would come out the same.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace Tool {

// One for all results of a run. It is kept in a file ".texsmith-record" in each folder of results: a line of
// JSON for each result, later ones for the same result in place of earlier ones. A line is added when a
// result is whole, so that a run that was cut short loses nothing; lines that cannot be read are passed over.
// Any thread may call.
class UpdateRecord {
public:
    enum class Access { kReading, kWriting };
    explicit UpdateRecord(Access access) : m_access(access) {}

    // What a result depends on; the version of the tool is added.
    struct Making {
        std::uint64_t m_source; // by contentHash
        std::string m_options;
    };

    // Whether `destination` is what such a conversion has written, by its contents.
    bool isUpToDate(const std::string& destination, const Making& making);
    // `written` is the hash of the new destination. A record that cannot be written is thrown as Failure.
    void add(const std::string& destination, const Making& making, std::uint64_t written);

private:
    struct Entry {
        std::string m_made; // all that the result depends on, as one text
        std::uint64_t m_written;
    };
    using Folder = std::map<std::string, Entry>; // by the names of the results

    Folder& folderOf(const std::string& destination);
    static void writeAnew(const std::string& record, const Folder& folder);

    const Access m_access;
    std::mutex m_mutex;
    std::map<std::string, Folder> m_folders;
};

} // namespace Tool
