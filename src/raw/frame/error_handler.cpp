// The default handlers of errors and log events, and the callbacks that lead reports to them.

#include "qor/texsmith/raw/error_handler.h"

#include "platform/platform.h"
#include "qor/texsmith/raw/error.h"
#include "raw/frame/check.h"
#include "raw/frame/never_destroyed.h"
#include "raw/frame/report_text.h"

#include <atomic>
#include <cstdlib>
#include <ctime>
#include <stdexcept>

namespace qor::Texsmith::Raw {

namespace {

constexpr char kSourcePath[] = "raw\\frame\\error_handler";
constexpr char kEventSource[] = "VEX";
constexpr char kReportFormat[] = "%04x %s line %d: %s";

// Reports only what is wrong with the arguments: the texts below stand in for what is missing.
void checkReport(const char* filename, const char* format, const void* args) {
    checkNotNull(filename, kSourcePath, "filename must not be NULL.");
    checkNotNull(format, kSourcePath, "format must not be NULL.");
    checkNotNull(args, kSourcePath, "args must not be NULL.");
}

void formatOrCopy(char (&message)[kReportSize], const char* format, ArgumentList* args) {
    if (args != nullptr) {
        formatReport(message, format, args);
    } else {
        std::snprintf(message, sizeof message, "%s", orEmpty(format));
    }
}

// A number by which a reader finds the console's line in the event log: four hexadecimal digits, from the
// fifteen bits that every C library's generator has.
unsigned drawReportNumber() {
    std::srand(static_cast<unsigned>(std::time(nullptr)) ^ Platform::getProcessId());
    const unsigned number = static_cast<unsigned>(std::rand()) & 0x7FFF;
    std::atomic_ref<unsigned>(g_random).store(number, std::memory_order_relaxed);
    return number;
}

constinit NeverDestroyed<WindowsErrorHandler> g_defaultErrorHandler;
constinit NeverDestroyed<WindowsLogHandler> g_defaultLogHandler;

} // namespace

// Gives the default handlers their event source for as long as the program's static objects live. After that
// they still take reports, which then reach no event log. Threads of the pool may report meanwhile.
struct DefaultEventSources {
    DefaultEventSources() {
        g_defaultErrorHandler.m_object.m_source = Platform::registerEventSource(kEventSource);
        g_defaultLogHandler.m_object.m_source = Platform::registerEventSource(kEventSource);
    }
    ~DefaultEventSources() {
        g_defaultErrorHandler.m_object.deregister();
        g_defaultLogHandler.m_object.deregister();
    }
};

static const DefaultEventSources s_defaultEventSources;

constinit ErrorHandler* g_errorHandler = &g_defaultErrorHandler.m_object;
constinit LogHandler* g_logHandler = &g_defaultLogHandler.m_object;
constinit unsigned g_random = 0;

void ErrorHandler::handle(int code, const char* format, ...) {
    checkNotNull(format, kSourcePath, "format must not be NULL.");
    char message[kReportSize];
    va_list args;
    va_start(args, format);
    formatReport(message, format, &args);
    va_end(args);
    doHandle(code, message);
}

void LogHandler::report(Type type, int code, const char* format, ...) {
    checkNotNull(format, kSourcePath, "format must not be NULL.");
    char message[kReportSize];
    va_list args;
    va_start(args, format);
    formatReport(message, format, &args);
    va_end(args);
    doReport(type, code, message);
}

WindowsErrorHandler::WindowsErrorHandler(const char* sourceName)
    : m_source(Platform::registerEventSource(sourceName)) {}

WindowsErrorHandler::~WindowsErrorHandler() { deregister(); }

void WindowsErrorHandler::deregister() { Platform::deregisterEventSource(m_source.exchange(nullptr)); }

void WindowsErrorHandler::doHandle(int code, const char* string) {
    checkNotNull(string, kSourcePath, "string must not be NULL.");
    const char* text = orEmpty(string);
    Platform::writeText(stderr, text); // as it is: a file name in it may hold a percent sign
    std::fflush(stderr);
    Platform::reportEvent(m_source, LogHandler::kTypeError, code, text);
    throw std::runtime_error(text);
}

WindowsLogHandler::WindowsLogHandler(const char* sourceName)
    : m_source(Platform::registerEventSource(sourceName)) {}

WindowsLogHandler::~WindowsLogHandler() { deregister(); }

void WindowsLogHandler::deregister() { Platform::deregisterEventSource(m_source.exchange(nullptr)); }

void WindowsLogHandler::doReport(Type type, int code, const char* string) {
    checkNotNull(string, kSourcePath, "string must not be NULL.");
    const char* text = orEmpty(string);
    Platform::reportEvent(m_source, type, code, text);
    if (type == kTypeError) {
        toolsAssert(kSourcePath, __LINE__, "Error: %s", text);
    }
}

void assertCallback(const char* filename, int line, const char* format, ArgumentList* args) {
    checkReport(filename, format, args);
    const unsigned number = drawReportNumber();
    char message[kReportSize];
    formatOrCopy(message, format, args);
    if (g_errorHandler != nullptr) {
        g_errorHandler->handle(static_cast<int>(kErrorFailed), kReportFormat, number, orEmpty(filename), line,
                               message);
    }
}

void warningCallback(const char* filename, int line, const char* format, ArgumentList* args) {
    checkReport(filename, format, args);
    const unsigned number = drawReportNumber();
    char message[kReportSize];
    formatOrCopy(message, format, args);
    if (g_logHandler != nullptr) {
        g_logHandler->report(LogHandler::kTypeWarning, 0, kReportFormat, number, orEmpty(filename), line,
                             message);
    }
}

} // namespace qor::Texsmith::Raw
