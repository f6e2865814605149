// The wrappers of a tool's main function.

#include "qor/texsmith/raw/process.h"

#include "platform/platform.h"
#include "raw/frame/check.h"

#include <algorithm>

namespace qor::Texsmith::Raw {

namespace {

constexpr char kSourcePath[] = "raw\\text\\process";
constexpr int kAbsorbed = -1;

// A local buffer, or a block from an allocator when it is too small. The block may be null.
template <class Unit, std::size_t kLocal> class Scratch {
public:
    Scratch(std::size_t units, const IAllocator& allocator) : m_allocator(allocator), m_units(m_local) {
        if (units > kLocal) {
            m_units = static_cast<Unit*>(allocator.allocate(units * sizeof(Unit), alignof(Unit)));
        }
    }
    ~Scratch() {
        if (m_units != m_local) {
            m_allocator.release(m_units);
        }
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    Unit* get() { return m_units; }

private:
    const IAllocator m_allocator;
    Unit m_local[kLocal];
    Unit* m_units;
};

const wchar_t* argument(wchar_t** argv, int i) { return argv[i] != nullptr ? argv[i] : L""; }

std::size_t countUtf8(int argc, wchar_t** argv) {
    std::size_t bytes = 0;
    for (int i = 0; i < argc; ++i) {
        bytes += Platform::toUtf8(argument(argv, i), nullptr, 0);
    }
    return bytes;
}

void convertArguments(int argc, wchar_t** argv, char** pointers, char* text, std::size_t bytes) {
    for (int i = 0; i < argc; ++i) {
        const std::size_t used = Platform::toUtf8(argument(argv, i), text, bytes);
        pointers[i] = text;
        text += used;
        bytes -= used;
    }
    pointers[argc] = nullptr;
}

} // namespace

int UnhandledExceptionAbsorber::main(int argc, char** argv) {
    return absorbUnhandledCppExceptions(argc, argv);
}

// The call below absorbs both kinds. A catch of everything here would stop the end of a POSIX thread, too.
int UnhandledExceptionAbsorber::absorbUnhandledCppExceptions(int argc, char** argv) {
    return absorbUnhandledOsExceptions(argc, argv);
}

int UnhandledExceptionAbsorber::absorbUnhandledOsExceptions(int argc, char** argv) {
    struct Call {
        UnhandledExceptionAbsorber* m_self;
        int m_argc;
        char** m_argv;
        int m_result;
    } call{this, argc, argv, kAbsorbed};
    const auto body = [](void* context) {
        Call& c = *static_cast<Call*>(context);
        c.m_result = c.m_self->doMain(c.m_argc, c.m_argv);
    };
    return Platform::guardedCall(body, &call) ? call.m_result : kAbsorbed;
}

int UnhandledExceptionAbsorber::Filter(unsigned, _EXCEPTION_POINTERS*) { return 1; }

int main_utf8(int argc, wchar_t** argv, int (*main)(int, char**), IAllocator allocator) {
    const bool hasArguments = checkNotNull(argv, kSourcePath, "argv must not be NULL.");
    const bool hasMain =
        checkNotNull(reinterpret_cast<const void*>(main), kSourcePath, "main must not be NULL.");
    if (!hasArguments || !hasMain) {
        return kAbsorbed;
    }
    const int count = std::max(argc, 0);
    const std::size_t bytes = countUtf8(count, argv);
    Scratch<char*, 33> pointers(static_cast<std::size_t>(count) + 1,
                                allocator); // 32, and the null behind them
    Scratch<char, 128> text(bytes, allocator);
    if (pointers.get() == nullptr || text.get() == nullptr) {
        return kAbsorbed;
    }
    convertArguments(count, argv, pointers.get(), text.get(), bytes);
    return main(count, pointers.get());
}

bool isTerminal(int stream) { return Platform::isTerminal(stream); }

void setBinaryMode(int stream) { Platform::setBinaryMode(stream); }

void failWritesWithoutSignals() { Platform::failWritesWithoutSignals(); }

bool callOnInterrupt(void (*handler)(int signal)) {
    return checkNotNull(reinterpret_cast<const void*>(handler), kSourcePath, "handler must not be NULL.") &&
           Platform::callOnInterrupt(handler);
}

void endInterrupted(int signal) { Platform::endInterrupted(signal); }

} // namespace qor::Texsmith::Raw
