// The one door to the operating system. posix/ and windows/ stand behind it; nothing else names either.
//
// Texts are UTF-8 on Windows and bytes as they are on POSIX. Functions that return bool or a handle tell
// failure by false or kNoHandle, and lastErrorText then tells why, on the same thread.
#pragma once

#include <cfenv>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

namespace qor::Texsmith::Platform {

// Where scratch memory comes from: two plain functions and what they are called with. `m_allocate` may return
// null; `m_release` is not called for null.
struct Scratch {
    void* m_context;
    void* (*m_allocate)(void* context, unsigned long long size, unsigned long long alignment);
    void (*m_release)(void* context, void* p);
};

// The system's text for this thread's last failed call, cut to `size` bytes with the terminator.
void lastErrorText(char* buffer, std::size_t size);

// Pages, zeroed. Null or false on failure; zero bytes and null regions fail.
void* allocatePages(std::uint64_t bytes);
bool releasePages(void* pages, std::uint64_t bytes);
bool protectPages(void* pages, std::uint64_t bytes, bool writable);

// Files and mappings, step by step, since each step that fails has a report of its own.
using Handle = std::intptr_t;
inline constexpr Handle kNoHandle = -1;
Handle openFileToRead(const char* name);
Handle openFileToWrite(const char* name); // read and write; made if it does not exist
// As openFileToWrite, for a file of the program's own in a folder that others may write to: no link is
// followed, a new file is for this user alone, and an old one must be a plain file of this user's, with this
// name only, that others cannot write.
Handle openPrivateFile(const char* name);
bool closeFile(Handle file);
bool getFileSize(Handle file, std::uint64_t* bytes);
bool seekFile(Handle file, std::uint64_t position);
// Cuts or extends the file at the position of the last seek, and reserves the space of all of it.
bool setEndOfFile(Handle file);
Handle createMapping(Handle file, bool writable); // fails for an empty file
bool closeMapping(Handle mapping);
void* mapView(Handle mapping, std::uint64_t bytes, bool writable); // the whole file
bool unmapView(void* view, std::uint64_t bytes);

// URLs.
bool isUrl(const char* name);
bool escapeUrl(const char* url, std::string* escaped, const Scratch& scratch);
// The name of a local file with the contents of the URL; empty on failure.
bool cacheUrl(const char* escapedUrl, std::string* path, const Scratch& scratch);

// Whole files.
bool copyFile(const char* from, const char* to); // overwrites
bool isSameFile(const char* a, const char* b);   // both exist and are one
bool fileExists(const char* name);
// Renames, in one step. Where it can, the file keeps the owner and the permissions of the one it replaces.
bool replaceFile(const char* from, const char* to);
bool deleteFile(const char* name);
// Until what was written to the file is on the disk. A system that cannot tell counts as done.
bool flushFile(const char* name);
// Makes an empty file. False when anything has that name, a link to nowhere included.
bool makeFile(const char* name);
// As fopen does. Null on failure.
std::FILE* openStream(const char* name, const char* mode);
// Ends in a separator. False when it does not fit.
bool getTemporaryDirectory(char* buffer, std::size_t size);

// Wide text. Both return the units needed with the terminator, and write when that many fit.
std::size_t toWide(const char* text, wchar_t* wide, std::size_t units);
std::size_t toUtf8(const wchar_t* wide, char* text, std::size_t units);

// The process-wide pool, made by the first call and never destroyed: a thread fewer than there are
// processors, since whoever waits works too, and at least one. `run(context)` must let no exception out;
// guardedCall takes care of that. A child of fork gets a pool of its own; waiting for work of its parent's
// returns at once there, or after the run that forked.
using Work = struct PoolWork*;
bool startPool();                                           // false when no thread could be started
Work createWork(void (*run)(void* context), void* context); // null without memory or threads
void submitWork(Work work, unsigned runs);
// Returns when every run submitted so far has returned. The calling thread takes runs of this work itself.
void waitForWork(Work work);
void closeWork(Work work); // after a wait
void waitForAllWork();     // also for runs that waiting threads have taken

// While it lives, this thread computes as a new thread does: rounds to nearest, keeps denormals, traps
// nothing. What was set before comes back, and flags that were raised meanwhile are forgotten.
class DefaultFloatingPoint {
public:
    DefaultFloatingPoint();
    ~DefaultFloatingPoint();
    DefaultFloatingPoint(const DefaultFloatingPoint&) = delete;
    DefaultFloatingPoint& operator=(const DefaultFloatingPoint&) = delete;

private:
    std::fenv_t m_before;
};

// Calls `body(context)` and absorbs what it throws and every fault of the operating system on this thread:
// bad addresses, bad instructions, arithmetic traps, and on POSIX stack overflow. True when it returned. The
// end of a POSIX thread inside, by pthread_exit or cancellation, passes through. Faults outside such calls go
// to whoever handled them before.
bool guardedCall(void (*body)(void* context), void* context);

// Writes UTF-8 as the stream's console shows it, and as it is into everything else.
void writeText(std::FILE* stream, const char* text);

// The system's event log, under a source name. Type is 1 error, 2 warning, 4 information. Other threads may
// report to a source while it is deregistered. A null source reaches no log.
void* registerEventSource(const char* name);
void deregisterEventSource(void* source);
void reportEvent(void* source, int type, int code, const char* text);
// The sink behind reportEvent, so that a test can see the three values. Null restores the system's.
using EventSink = void (*)(int type, int code, const char* text);
void setEventSink(EventSink sink);

// Bitmaps for viewers: 32 bits a pixel, top row first, black at first; the system's own where it has them.
// Null or false on failure; of a null bitmap, too. Size 0 fails, and so do sizes above kMaxBitmapSize.
struct BitmapBits {
    unsigned m_width, m_height; // pixels
    unsigned m_pitch;           // bytes from row to row
    std::uint8_t* m_bits;
};
inline constexpr unsigned kMaxBitmapSize = 16384;
void* createBitmap(unsigned width, unsigned height);
bool getBitmapBits(void* bitmap, BitmapBits* bits);
bool deleteBitmap(void* bitmap);

// Time and process.
std::uint64_t getCounterFrequency(); // counts per second
std::uint64_t getCounter();
void sleepMilliseconds(unsigned milliseconds);
unsigned getProcessId();
bool isTerminal(int stream);    // 1 standard output, 2 standard error
void setBinaryMode(int stream); // 0 standard input, 1 standard output: no change of line ends
// For programs: from now on a write to a pipe that nobody reads, or beyond the size that a file may have,
// fails in the whole process, where the system would end the process.
void failWritesWithoutSignals();
// Calls `handler(signal)` on a thread of its own, once, when the process is asked to end: SIGINT, SIGTERM or
// SIGHUP, each unless it was ignored before, or an event of the console, which counts as SIGINT. Further
// requests have no effect then. False when that cannot be had; the first call alone counts.
bool callOnInterrupt(void (*handler)(int signal));
// Ends the process, without destructors, as that signal does, which its status tells; 128 + signal on
// Windows.
[[noreturn]] void endInterrupted(int signal);

struct ProcessorFeatures {
    bool m_ssse3;
    bool m_avx2; // and F16C, which every such processor has so far
};
ProcessorFeatures getProcessorFeatures();

// startSha1 comes once, before the first digest. Both are false when the system has no SHA-1 to give.
inline constexpr std::size_t kSha1Bytes = 20;
bool startSha1();
bool sha1(const void* data, std::size_t bytes, std::uint8_t digest[kSha1Bytes]);

} // namespace qor::Texsmith::Platform
