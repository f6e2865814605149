// Wrappers of a tool's main function: one absorbs whatever goes wrong in it, one hands it UTF-8 arguments.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/allocator.h"

struct _EXCEPTION_POINTERS;

namespace qor::Texsmith::Raw {

// Derive, override doMain and call main: a throw or a fault of the operating system inside the body gives -1,
// with no message; otherwise the body's result comes back. After a fault no destructor of what the body had
// on its stack has run. `argc` and `argv` are handed on as they are.
class QOR_TEXSMITH_API UnhandledExceptionAbsorber {
public:
    virtual ~UnhandledExceptionAbsorber() = default;
    int main(int argc, char** argv);
    // Always 1: run the handler.
    static int Filter(unsigned code, _EXCEPTION_POINTERS* pointers);

private:
    virtual int doMain(int argc, char** argv) = 0;
    int absorbUnhandledCppExceptions(int argc, char** argv);
    int absorbUnhandledOsExceptions(int argc, char** argv);
};

// Calls `main` with the wide arguments as UTF-8 and a null behind the last. Needs `allocator` only above 32
// arguments or 128 bytes of text.
QOR_TEXSMITH_API int main_utf8(int argc, wchar_t** argv, int (*main)(int, char**), IAllocator allocator);

// Whether somebody looks at a standard stream: 1 for the output, 2 for errors.
QOR_TEXSMITH_API bool isTerminal(int stream);

// From now on bytes go through a standard stream, 0 for the input or 1 for the output, as they are, where the
// system would change the ends of lines. Before the stream is used.
QOR_TEXSMITH_API void setBinaryMode(int stream);

// From now on a write to a pipe that nobody reads, or beyond the size that a file may have, fails in the
// whole process, where the system would end the process without a word.
QOR_TEXSMITH_API void failWritesWithoutSignals();

// For programs that tidy up when they are asked to end. `handler` is called once, on a thread of its own,
// while all others go on: with the number of SIGINT, SIGTERM or SIGHUP, of those that were not ignored
// before; on Windows with that of SIGINT for every event that ends a console program. It ends the process by
// endInterrupted. Further requests then have no effect. Only the first call counts; false when it could not
// be arranged. A null handler is reported.
QOR_TEXSMITH_API bool callOnInterrupt(void (*handler)(int signal));

// Ends the process at once, without destructors, with the status of one that such a signal has ended: on
// Windows 128 + `signal`.
[[noreturn]] QOR_TEXSMITH_API void endInterrupted(int signal);

} // namespace qor::Texsmith::Raw
