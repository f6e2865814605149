// Assertions and warnings: how the library reports a failed check, and where a client listens.
//
// A failed check reports and then goes on: toolsAssert returns false, and the caller continues past it with
// nothing read or written outside the memory it was given. Only a callback that throws ends the call; the
// exception then leaves through the exported function, unless it was thrown on a thread of the pool, where it
// ends the callback that reported.
//
// Three ways to listen:
//
//     setAssertCallback(&throwMessageWhenFalse);  // each failed check throws its text as a char*
//     setAssertCallback(&Raw::assertCallback);    // each goes to g_errorHandler, which logs and throws
//     setAssertCallback(&myListCallback);         // a function of the client's, told file, line and text
//
// `file` is the place of the report in the library's sources, such as "raw\\job_manager". Texts are UTF-8.
// What was wrong with the caller's arguments comes through the assertion slots, what was wrong with a file's
// contents through the warning slot.
//
// The slots are plain process-wide words without locks: set them before work starts. Callbacks may be called
// from threads of the pool, several at once. A callback may report again, through itself.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdio>

#include "qor/texsmith/export.h"

namespace qor::Texsmith {

// The running argument list of a report. `*args` goes into a formatted print; a callback that formats more
// than once, or passes the list on, formats from a va_copy each time.
using ArgumentList = va_list;

// A listener that gets the running list of arguments.
using ListCallback = void (*)(const char* file, int line, const char* format, ArgumentList* args);
// Declared with an ellipsis, but its fourth argument is the ready list itself: see formatReadyList.
using PrintCallback = bool (*)(const char* file, int line, const char* format, ...);

// Reports a failed check through the list slot if it is set, else through the print slot; with neither, not
// at all. `format` is that of printf; the text is cut to 1,023 bytes by all receivers of the library. Always
// false.
QOR_TEXSMITH_API bool toolsAssert(const char* file, int line, const char* format, ...)
    QOR_TEXSMITH_PRINTF(3, 4);
// Reports bad data through the warning slot, which prints on the standard output at first. Always true.
QOR_TEXSMITH_API bool toolsWarning(const char* file, int line, const char* format, ...)
    QOR_TEXSMITH_PRINTF(3, 4);

// The default print slot: writes the report to the standard error stream and returns false.
// Its fourth argument is a ready argument list; a call with values of its own is a crash by contract.
QOR_TEXSMITH_API bool printfAssert(const char* file, int line, const char* format, ...);
// A print slot that throws the formatted text as a `char*`, valid until the same thread has thrown four more;
// also beyond the thread's end.
QOR_TEXSMITH_API bool throwMessageWhenFalse(const char* file, int line, const char* format, ...);
QOR_TEXSMITH_API bool throwMesssagWhenFalse(const char* file, int line, const char* format, ...);

// Each stores what it is given; null empties the slot. A literal null needs a cast, to choose the overload.
QOR_TEXSMITH_API void setAssertCallback(ListCallback callback);
QOR_TEXSMITH_API void setAssertCallback(PrintCallback callback);
QOR_TEXSMITH_API void setWarningCallback(ListCallback callback);

namespace Detail {
template <class List> List passed(List list); // its result has the type of a list that is an argument
}

// For a client's own print slot: formats the ready list that stands behind `format` in `arguments`, the
// slot's own started list, into `size` bytes at `buffer`, terminated. Returns what vsnprintf returns. May be
// called again with the same list.
inline int formatReadyList(char* buffer, std::size_t size, const char* format, va_list arguments) {
    va_list own;
    va_copy(own, arguments);
    auto ready = va_arg(own, decltype(Detail::passed(own)));
    va_list again; // where lists are passed by address, the ready one is the caller's
    va_copy(again, ready);
    const int length = std::vsnprintf(buffer, size, format, again);
    va_end(again);
    va_end(own);
    return length;
}

} // namespace qor::Texsmith

namespace qor::ToolsAssert {

using Texsmith::ListCallback;
using Texsmith::PrintCallback;

// As in qor::Texsmith, on two slots of its own. The library's own checks use qor::Texsmith only.
QOR_TEXSMITH_API bool toolsAssert(const char* file, int line, const char* format, ...)
    QOR_TEXSMITH_PRINTF(3, 4);
QOR_TEXSMITH_API bool printfAssert(const char* file, int line, const char* format, ...);
QOR_TEXSMITH_API bool throwMessageWhenFalse(const char* file, int line, const char* format, ...);
QOR_TEXSMITH_API bool throwMesssagWhenFalse(const char* file, int line, const char* format, ...);
QOR_TEXSMITH_API void setAssertCallback(ListCallback callback);
QOR_TEXSMITH_API void setAssertCallback(PrintCallback callback);

} // namespace qor::ToolsAssert
