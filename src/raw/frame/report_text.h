// Formatting of reports into the fixed buffers that carry them.
#pragma once

#include "qor/texsmith/tools_assert.h"

#include <cstddef>

namespace qor::Texsmith::Raw {

inline constexpr std::size_t kReportSize = 1024;

inline const char* orEmpty(const char* text) { return text != nullptr ? text : ""; }

// Formats from a copy of the list, so that the caller's list can be used again. Truncates; always terminated.
inline void formatReport(char (&buffer)[kReportSize], const char* format, ArgumentList* args) {
    va_list own;
    va_copy(own, *args);
    std::vsnprintf(buffer, sizeof buffer, orEmpty(format), own);
    va_end(own);
    buffer[kReportSize - 1] = '\0';
}

// What printfAssert prints, on the standard error stream.
void printAssertion(const char* file, int line, const char* message);
// What the warning slot holds at first: prints "Warning:  " and the text on the standard output.
void defaultWarningCallback(const char* file, int line, const char* format, ArgumentList* args);

} // namespace qor::Texsmith::Raw
