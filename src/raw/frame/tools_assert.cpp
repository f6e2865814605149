#include "qor/texsmith/tools_assert.h"

#include "raw/frame/report_text.h"

#include <cstdio>

namespace qor::Texsmith::Raw {

void defaultWarningCallback(const char*, int, const char* format, ArgumentList* args) {
    char message[kReportSize];
    formatReport(message, format, args);
    std::printf("Warning:  %s\n", message);
}

} // namespace qor::Texsmith::Raw

namespace {

using qor::Texsmith::ArgumentList;
using qor::Texsmith::ListCallback;
using qor::Texsmith::PrintCallback;
using qor::Texsmith::Raw::kReportSize;
using qor::Texsmith::Raw::orEmpty;

struct AssertSlots {
    ListCallback m_list;
    PrintCallback m_print;
};

constinit AssertSlots g_texsmithSlots{nullptr, &qor::Texsmith::printfAssert};
constinit AssertSlots g_toolsAssertSlots{nullptr, &qor::Texsmith::printfAssert};
constinit ListCallback g_warningSlot = &qor::Texsmith::Raw::defaultWarningCallback;

void reportFailure(const AssertSlots& slots, const char* file, int line, const char* format,
                   ArgumentList* args) {
    if (slots.m_list != nullptr) {
        slots.m_list(file, line, format, args);
    } else if (slots.m_print != nullptr) {
        slots.m_print(file, line, format, *args); // the list itself is the fourth argument
    }
}

void printFailure(const char* file, int line, const char* message) {
    std::fputs("\nAssertion failed:\n", stderr);
    std::fprintf(stderr, "   File:     %s\n", orEmpty(file));
    std::fprintf(stderr, "   Line:     %d\n", line);
    std::fprintf(stderr, "Message:  %s\n", message);
    std::fflush(stderr);
}

// The thrown pointer must outlive the throwing frame, and a few nested throws.
char* nextThrownMessage() {
    constexpr unsigned kMessages = 4;
    thread_local char messages[kMessages][kReportSize];
    thread_local unsigned next = 0;
    return messages[next++ % kMessages];
}

// Both take the started list of a variadic function whose fourth argument is the ready list.
bool printReadyList(const char* file, int line, const char* format, va_list arguments) {
    char message[kReportSize];
    qor::Texsmith::formatReadyList(message, sizeof message, orEmpty(format), arguments);
    printFailure(file, line, message);
    return false;
}

[[noreturn]] void throwReadyList(const char* format, va_list arguments) {
    char* message = nextThrownMessage();
    qor::Texsmith::formatReadyList(message, kReportSize, orEmpty(format), arguments);
    throw message;
}

} // namespace

namespace qor::Texsmith {

bool toolsAssert(const char* file, int line, const char* format, ...) {
    va_list args;
    va_start(args, format);
    reportFailure(g_texsmithSlots, file, line, format, &args);
    va_end(args);
    return false;
}

bool toolsWarning(const char* file, int line, const char* format, ...) {
    va_list args;
    va_start(args, format);
    if (g_warningSlot != nullptr) {
        g_warningSlot(file, line, format, &args);
    }
    va_end(args);
    return true;
}

bool printfAssert(const char* file, int line, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const bool result = printReadyList(file, line, format, args);
    va_end(args);
    return result;
}

bool throwMessageWhenFalse(const char*, int, const char* format, ...) {
    va_list args;
    va_start(args, format);
    throwReadyList(format, args);
}

bool throwMesssagWhenFalse(const char*, int, const char* format, ...) {
    va_list args;
    va_start(args, format);
    throwReadyList(format, args);
}

void setAssertCallback(ListCallback callback) { g_texsmithSlots.m_list = callback; }
void setAssertCallback(PrintCallback callback) { g_texsmithSlots.m_print = callback; }
void setWarningCallback(ListCallback callback) { g_warningSlot = callback; }

} // namespace qor::Texsmith

namespace qor::ToolsAssert {

bool toolsAssert(const char* file, int line, const char* format, ...) {
    va_list args;
    va_start(args, format);
    reportFailure(g_toolsAssertSlots, file, line, format, &args);
    va_end(args);
    return false;
}

bool printfAssert(const char* file, int line, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const bool result = printReadyList(file, line, format, args);
    va_end(args);
    return result;
}

bool throwMessageWhenFalse(const char*, int, const char* format, ...) {
    va_list args;
    va_start(args, format);
    throwReadyList(format, args);
}

bool throwMesssagWhenFalse(const char*, int, const char* format, ...) {
    va_list args;
    va_start(args, format);
    throwReadyList(format, args);
}

void setAssertCallback(ListCallback callback) { g_toolsAssertSlots.m_list = callback; }
void setAssertCallback(PrintCallback callback) { g_toolsAssertSlots.m_print = callback; }

} // namespace qor::ToolsAssert
