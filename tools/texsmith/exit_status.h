// What the tool's exit status says to scripts.
#pragma once

#include <string_view>

namespace Tool {

enum ExitStatus : int {
    kExitDone = 0,
    kExitAnswerIsNo = 1,
    kExitWrongArguments = 2,
    kExitUnreadable = 3,
    kExitDamaged = 4,
    kExitUnwritable = 5,
    kExitUnsupported = 6,
    kExitOverLimit = 7,
    kExitPartFailed = 8,
};

struct ExitStatusText {
    ExitStatus m_status;
    std::string_view m_name; // in errors as JSON
    std::string_view m_help;
};

inline constexpr ExitStatusText kExitStatusTexts[] = {
    {kExitDone, "done", "done"},
    {kExitAnswerIsNo, "answer-is-no", "the answer is no: of compare --fail-... and validate"},
    {kExitWrongArguments, "wrong-arguments", "wrong arguments"},
    {kExitUnreadable, "unreadable", "a file cannot be read"},
    {kExitDamaged, "damaged", "a file is damaged, or not what its name says"},
    {kExitUnwritable, "unwritable", "the result cannot be written"},
    {kExitUnsupported, "unsupported", "not supported"},
    {kExitOverLimit, "over-limit", "over a limit, of memory for one"},
    {kExitPartFailed, "part-failed", "some of several files failed"},
};

} // namespace Tool
