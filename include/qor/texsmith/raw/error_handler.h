// Receivers of errors and log events, and the two callbacks that connect assertions to them.
//
//     class Window : public Raw::ErrorHandler {
//         void doHandle(int code, const char* string) override { ... show it, and throw or return ... }
//     } window;
//     Raw::g_errorHandler = &window;
//     setAssertCallback(&Raw::assertCallback);    // failed checks now come to the window
//     setWarningCallback(&Raw::warningCallback);  // and warnings to g_logHandler
//
// Texts are UTF-8, end in a zero byte, and are valid during the call only.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/tools_assert.h"

#include <atomic>

namespace qor::Texsmith::Raw {

template <class T> union NeverDestroyed;

// Derive, override doHandle and point g_errorHandler at an object that outlives its use. Calls may come from
// threads of the pool, several at once. What doHandle throws ends the call that failed, on the pool the
// callback.
class QOR_TEXSMITH_API ErrorHandler {
public:
    virtual ~ErrorHandler() = default;
    // Formats at most 1023 bytes and calls doHandle. `code` has the values of Error; `format` is that of
    // printf, and null is reported and taken for an empty text.
    void handle(int code, const char* format, ...) QOR_TEXSMITH_PRINTF(3, 4);

private:
    virtual void doHandle(int code, const char* string) = 0;
};

// As ErrorHandler, for events that end no call: point g_logHandler at it.
class QOR_TEXSMITH_API LogHandler {
public:
    enum Type : int { kTypeError = 1, kTypeWarning = 2, kTypeInformation = 4 };

    virtual ~LogHandler() = default;
    // Formats at most 1023 bytes and calls doReport; otherwise as ErrorHandler::handle.
    void report(Type type, int code, const char* format, ...) QOR_TEXSMITH_PRINTF(4, 5);

private:
    virtual void doReport(Type type, int code, const char* string) = 0;
};

// Prints the text on the standard error stream, puts it into the system's event log (Windows event log, or
// syslog) and throws std::runtime_error with it: catch by reference.
class QOR_TEXSMITH_API WindowsErrorHandler : public ErrorHandler {
public:
    explicit WindowsErrorHandler(const char* sourceName); // UTF-8
    ~WindowsErrorHandler() override;
    WindowsErrorHandler(const WindowsErrorHandler&) = delete;
    WindowsErrorHandler& operator=(const WindowsErrorHandler&) = delete;

private:
    template <class T> friend union NeverDestroyed;
    friend struct DefaultEventSources;
    constexpr WindowsErrorHandler() = default; // without a source
    void deregister();
    void doHandle(int code, const char* string) override;

    std::atomic<void*> m_source{nullptr};
};

// Puts the text into the event log. A text of type kTypeError is also reported
// through toolsAssert.
class QOR_TEXSMITH_API WindowsLogHandler : public LogHandler {
public:
    explicit WindowsLogHandler(const char* sourceName); // UTF-8
    ~WindowsLogHandler() override;
    WindowsLogHandler(const WindowsLogHandler&) = delete;
    WindowsLogHandler& operator=(const WindowsLogHandler&) = delete;

private:
    template <class T> friend union NeverDestroyed;
    friend struct DefaultEventSources;
    constexpr WindowsLogHandler() = default; // without a source
    void deregister();
    void doReport(Type type, int code, const char* string) override;

    std::atomic<void*> m_source{nullptr};
};

// Point at library objects with the source name "VEX" at first. The pointed-at objects stay the caller's.
QOR_TEXSMITH_API extern ErrorHandler* g_errorHandler;
QOR_TEXSMITH_API extern LogHandler* g_logHandler;

// The number of the last report that went through assertCallback or warningCallback; it stands in the
// event log too. A plain word without a lock.
QOR_TEXSMITH_API extern unsigned g_random;

// List-slot callbacks for setAssertCallback and setWarningCallback. The library never installs them itself.
// They format "%04x %s line %d: %s" and end in g_errorHandler->handle(0xC0D78000, ...) or
// g_logHandler->report(kTypeWarning, 0, ...).
QOR_TEXSMITH_API void assertCallback(const char* filename, int line, const char* format, ArgumentList* args);
QOR_TEXSMITH_API void warningCallback(const char* filename, int line, const char* format, ArgumentList* args);

} // namespace qor::Texsmith::Raw
