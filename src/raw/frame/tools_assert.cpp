// The slots that reports go through, and what stands in them at first: print, or throw.

#include "qor/texsmith/tools_assert.h"

#include "platform/platform.h"
#include "raw/frame/report_text.h"

#include <atomic>
#include <cstdio>
#include <new>

namespace qor::Texsmith::Raw {

namespace {

// On the stack: a report may be that there is no memory.
template <class Value> void printLine(std::FILE* stream, const char* format, Value value) {
    char line[kReportSize + 16];
    std::snprintf(line, sizeof line, format, value);
    Platform::writeText(stream, line);
}

} // namespace

void printAssertion(const char* file, int line, const char* message) {
    Platform::writeText(stderr, "\nAssertion failed:\n");
    printLine(stderr, "   File:     %s\n", orEmpty(file));
    printLine(stderr, "   Line:     %d\n", line);
    printLine(stderr, "Message:  %s\n", message);
    std::fflush(stderr);
}

void defaultWarningCallback(const char*, int, const char* format, ArgumentList* args) {
    char message[kReportSize];
    formatReport(message, format, args);
    printLine(stdout, "Warning:  %s\n", message);
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

// The thrown pointer must outlive the throwing frame, a few nested throws, and its thread. So each thread
// that throws has a ring on the heap, which stays for good; there, since the system has few bytes for the
// thread-local variables of a library that is loaded late.
struct MessageRing {
    static constexpr unsigned kMessages = 4;
    char m_texts[kMessages][kReportSize];
    unsigned m_next;
    MessageRing* m_older; // keeps the rings of ended threads within reach of leak checkers
};

constinit MessageRing g_sharedRing = {}; // for threads that get no memory for their own
constinit std::atomic<MessageRing*> g_newestRing{nullptr};
constinit thread_local MessageRing* t_ring = nullptr;

MessageRing* makeRing() {
    auto* const ring = new (std::nothrow) MessageRing{};
    if (ring == nullptr) {
        return &g_sharedRing;
    }
    ring->m_older = g_newestRing.load();
    while (!g_newestRing.compare_exchange_weak(ring->m_older, ring)) {
    }
    return ring;
}

char* nextThrownMessage() {
    if (t_ring == nullptr) {
        t_ring = makeRing();
    }
    return t_ring->m_texts[t_ring->m_next++ % MessageRing::kMessages];
}

// Both take the started list of a variadic function whose fourth argument is the ready list.
bool printReadyList(const char* file, int line, const char* format, va_list arguments) {
    char message[kReportSize];
    qor::Texsmith::formatReadyList(message, sizeof message, orEmpty(format), arguments);
    qor::Texsmith::Raw::printAssertion(file, line, message);
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
