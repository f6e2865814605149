// The file that a command writes, which takes its destination's place once it is whole.
#pragma once

#include "qor/texsmith/raw/replacement_file.h"

#include <string>

namespace Tool {

// The library's, known by the whole process while it lives. At most one at a time. Failures are thrown.
class ReplacementFile {
public:
    explicit ReplacementFile(const std::string& destination);
    ~ReplacementFile();
    ReplacementFile(const ReplacementFile&) = delete;
    ReplacementFile& operator=(const ReplacementFile&) = delete;

    std::string name() const { return m_file.getName(); }
    void takePlace() { m_file.takePlace(); }

    // For when a fault has kept the destructor from running.
    static void removeUnfinished();

private:
    qor::Texsmith::Raw::ReplacementFile m_file;
};

} // namespace Tool
