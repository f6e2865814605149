// A file in the making.
#pragma once

#include <string>

namespace Tool {

// Stands beside the destination, with the same extension, and takes its place once it is whole; until then
// what is at the destination stays. At most one at a time.
class ReplacementFile {
public:
    explicit ReplacementFile(const std::string& destination);
    ~ReplacementFile() { removeUnfinished(); }
    ReplacementFile(const ReplacementFile&) = delete;
    ReplacementFile& operator=(const ReplacementFile&) = delete;

    const std::string& name() const;
    // Throws Failure when the destination does not let it.
    void takePlace();

    // For when a fault has kept the destructor from running.
    static void removeUnfinished();

private:
    std::string m_destination;
};

} // namespace Tool
