// The file that a command writes, which takes its destination's place once it is whole.
#pragma once

#include "qor/texsmith/raw/replacement_file.h"

#include <optional>
#include <string>

namespace Tool {

// Throws Failure for what is at `destination`, or behind a link there, when that must stay: anything but a
// plain file, and a file that is read-only, unless `force` is set. Nothing there is fine.
void checkReplaceable(const std::string& destination, bool force = false);

// The library's, known by the whole process while it lives: a signal that asks the process to end removes it,
// and the process then ends with that signal's status. One object is for one thread. Failures are thrown.
class ReplacementFile {
public:
    // checkReplaceable comes first.
    explicit ReplacementFile(const std::string& destination, bool force = false);
    ~ReplacementFile();
    ReplacementFile(const ReplacementFile&) = delete;
    ReplacementFile& operator=(const ReplacementFile&) = delete;

    std::string name() const { return m_file->getName(); }
    void takePlace();

    // Those of this thread, for when a fault has kept the destructor from running.
    static void removeUnfinished();
    // Those of all threads, for good: whoever makes a further one, or gives one up, waits for the process's
    // end. Sets the word when that is so, and what it stops tells of no failure.
    static void removeAllAtTheEnd(volatile unsigned* abort);

private:
    std::string m_destination;
    bool m_force;
    std::optional<qor::Texsmith::Raw::ReplacementFile> m_file;
};

// A file of these bytes in place of the one that is called `name`, or that a link of that name leads to.
// Throws Failure.
void replaceFile(const std::string& name, const std::string& bytes);

} // namespace Tool
