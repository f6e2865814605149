// Error texts, the system log, clocks and the process, by the calls of POSIX.

#include "platform/platform.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <set>
#include <signal.h>
#include <string>
#include <syslog.h>
#include <system_error>
#include <thread>
#include <time.h>
#include <unistd.h>

namespace qor::Texsmith::Platform {

namespace {

// strerror_r has two shapes: one returns the text, the other fills the buffer and returns a number.
[[maybe_unused]] const char* errorText(const char* text, const char*) { return text; }
[[maybe_unused]] const char* errorText(int failed, const char* buffer) {
    return failed == 0 ? buffer : "unknown error";
}

int priority(int type) {
    switch (type) {
    case 1:
        return LOG_USER | LOG_ERR;
    case 2:
        return LOG_USER | LOG_WARNING;
    default:
        return LOG_USER | LOG_INFO;
    }
}

std::atomic<EventSink> g_eventSink{nullptr};

// A handler may do next to nothing where it stands, so it wakes a thread.
int g_interruptPipe[2] = {-1, -1};

void onInterrupt(int signal) {
    const int error = errno;
    const char byte = static_cast<char>(signal);
    static_cast<void>(write(g_interruptPipe[1], &byte, 1) == 1);
    errno = error;
}

void waitForInterrupt(void (*handler)(int signal)) {
    char byte = 0;
    ssize_t got = 0;
    do {
        got = read(g_interruptPipe[0], &byte, 1);
    } while (got < 0 && errno == EINTR);
    if (got == 1) {
        handler(byte);
    }
}

// nohup and background jobs of some shells ask for signals to be ignored.
void catchUnlessIgnored(int signal) {
    struct sigaction old = {};
    if (sigaction(signal, nullptr, &old) != 0 || old.sa_handler == SIG_IGN) {
        return;
    }
    struct sigaction action = {};
    action.sa_handler = &onInterrupt;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

} // namespace

void lastErrorText(char* buffer, std::size_t size) {
    char own[256] = "";
    const char* text = errorText(strerror_r(errno, own, sizeof own), own);
    std::snprintf(buffer, size, "%s", text);
}

void writeText(std::FILE* stream, const char* text) { std::fputs(text, stream); }

// A name once for the process, and for good: another thread may be reporting under it at any time.
void* registerEventSource(const char* name) {
    static std::mutex s_mutex;
    static auto& s_names = *new std::set<std::string>; // static destructors may still report
    const std::lock_guard lock(s_mutex);
    return const_cast<char*>(s_names.insert(name != nullptr ? name : "").first->c_str());
}

void deregisterEventSource(void*) {}

// Without openlog: that would change the identity under which the client logs.
void reportEvent(void* source, int type, int code, const char* text) {
    if (source == nullptr) {
        return;
    }
    if (const EventSink sink = g_eventSink.load()) {
        sink(type, code, text);
        return;
    }
    syslog(priority(type), "%s [%d 0x%08x] %s", static_cast<const char*>(source), type,
           static_cast<unsigned>(code), text);
}

void setEventSink(EventSink sink) { g_eventSink.store(sink); }

std::uint64_t getCounterFrequency() { return 1'000'000'000; }

std::uint64_t getCounter() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * getCounterFrequency() +
           static_cast<std::uint64_t>(now.tv_nsec);
}

void sleepMilliseconds(unsigned milliseconds) {
    timespec rest{static_cast<time_t>(milliseconds / 1000),
                  static_cast<long>(milliseconds % 1000) * 1'000'000};
    while (nanosleep(&rest, &rest) != 0 && errno == EINTR) {
    }
}

unsigned getProcessId() { return static_cast<unsigned>(getpid()); }

bool isTerminal(int stream) { return isatty(stream) == 1; }

void setBinaryMode(int) {} // the only one there is

void failWritesWithoutSignals() {
    signal(SIGPIPE, SIG_IGN);
    signal(SIGXFSZ, SIG_IGN);
}

bool callOnInterrupt(void (*handler)(int signal)) {
    if (g_interruptPipe[1] >= 0 || pipe(g_interruptPipe) != 0) {
        return false;
    }
    for (const int end : g_interruptPipe) {
        fcntl(end, F_SETFD, FD_CLOEXEC);
    }
    try {
        std::thread(&waitForInterrupt, handler).detach();
    } catch (const std::system_error&) {
        return false;
    }
    for (const int request : {SIGINT, SIGTERM, SIGHUP}) {
        catchUnlessIgnored(request);
    }
    return true;
}

void endInterrupted(int signal) {
    std::signal(signal, SIG_DFL);
    sigset_t all;
    sigemptyset(&all);
    sigaddset(&all, signal);
    pthread_sigmask(SIG_UNBLOCK, &all, nullptr);
    kill(getpid(), signal);
    for (;;) { // it may reach another thread first
        pause();
    }
}

} // namespace qor::Texsmith::Platform
