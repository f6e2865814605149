// Error texts, consoles, clocks and the process, by the calls of Windows.

#include "platform/platform.h"
#include "platform/windows/text.h"
#include "platform/windows/win32.h"

#include <fcntl.h>
#include <intrin.h>
#include <io.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <new>

namespace qor::Texsmith::Platform {

namespace {

// Named by newer headers only.
constexpr DWORD kFeatureSsse3 = 36;
constexpr DWORD kFeatureAvx2 = 40;

// The system has no name for it.
bool hasF16c() {
#if defined(_M_X64) || defined(__x86_64__)
    constexpr int kF16c = 1 << 29; // of the third register
    int registers[4];
    __cpuid(registers, 1);
    return (registers[2] & kF16c) != 0;
#else
    return false;
#endif
}

std::string systemText(DWORD error) {
    wchar_t* text = nullptr;
    const DWORD flags =
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
    const DWORD length = FormatMessageW(flags, nullptr, error, MAKELANGID(LANG_NEUTRAL, SUBLANG_NEUTRAL),
                                        reinterpret_cast<wchar_t*>(&text), 0, nullptr);
    const std::string utf8 = length != 0 ? narrow(text) : "error " + std::to_string(error);
    LocalFree(text);
    return utf8;
}

// It ends in a full stop and a new line, but stands inside sentences.
void trimEnd(std::string* text) { text->resize(text->find_last_not_of(".\r\n ") + 1); }

// Cuts to the size, and not within a character.
void cut(std::string* text, std::size_t size) {
    if (text->size() <= size) {
        return;
    }
    while (size > 0 && (static_cast<unsigned char>((*text)[size]) & 0xC0) == 0x80) {
        --size;
    }
    text->resize(size);
}

std::atomic<void (*)(int signal)> g_interruptHandler{nullptr};
std::atomic<bool> g_isInterrupted{false};

// On a thread that the system makes for each event. When it returns from one that closes the console, the
// process ends.
BOOL WINAPI onConsoleEvent(DWORD) {
    if (!g_isInterrupted.exchange(true)) {
        g_interruptHandler.load()(SIGINT);
    }
    Sleep(INFINITE);
    return TRUE;
}

} // namespace

void lastErrorText(char* buffer, std::size_t size) {
    if (size == 0) {
        return;
    }
    const DWORD error = GetLastError();
    try {
        std::string text = systemText(error);
        trimEnd(&text);
        cut(&text, size - 1);
        std::memcpy(buffer, text.c_str(), text.size() + 1);
    } catch (const std::bad_alloc&) { // which may be what the report is about
        std::snprintf(buffer, size, "error %lu", error);
    }
    SetLastError(error);
}

// Bytes that go to a console are shown in its code page, wide text as it is.
void writeText(std::FILE* stream, const char* text) {
    HANDLE console = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream)));
    DWORD mode = 0;
    if (GetConsoleMode(console, &mode) == 0) {
        std::fputs(text, stream);
        return;
    }
    wchar_t wide[2048]; // no report is longer; and not from the heap, which may be what a report is about
    const int units = MultiByteToWideChar(CP_UTF8, 0, text, -1, wide, 2048);
    DWORD written = 0;
    std::fflush(stream);
    WriteConsoleW(console, wide, units > 0 ? static_cast<DWORD>(units - 1) : 0, &written, nullptr);
}

std::uint64_t getCounterFrequency() {
    LARGE_INTEGER frequency = {};
    QueryPerformanceFrequency(&frequency);
    return static_cast<std::uint64_t>(frequency.QuadPart);
}

std::uint64_t getCounter() {
    LARGE_INTEGER counter = {};
    QueryPerformanceCounter(&counter);
    return static_cast<std::uint64_t>(counter.QuadPart);
}

void sleepMilliseconds(unsigned milliseconds) { Sleep(milliseconds); }

unsigned getProcessId() { return GetCurrentProcessId(); }

bool isTerminal(int stream) { return _isatty(stream) != 0; }

void setBinaryMode(int stream) { _setmode(stream, _O_BINARY); }

void failWritesWithoutSignals() {} // they do

bool callOnInterrupt(void (*handler)(int signal)) {
    void (*none)(int) = nullptr;
    return g_interruptHandler.compare_exchange_strong(none, handler) &&
           SetConsoleCtrlHandler(&onConsoleEvent, TRUE) != 0;
}

void endInterrupted(int signal) {
    TerminateProcess(GetCurrentProcess(), 128u + static_cast<UINT>(signal));
    for (;;) { // it takes its time
        Sleep(INFINITE);
    }
}

ProcessorFeatures getProcessorFeatures() {
    return {IsProcessorFeaturePresent(kFeatureSsse3) != 0,
            IsProcessorFeaturePresent(kFeatureAvx2) != 0 && hasF16c()};
}

} // namespace qor::Texsmith::Platform
