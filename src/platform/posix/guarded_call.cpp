// Faults of the operating system, absorbed: a handler for the whole process, an alternate stack and a chain
// of jump targets for each thread.
//
// The handler takes no lock and allocates nothing; the thread-local variables it reads must not be allocated
// at first use either, which the source's thread-local model sees to.

#include "platform/platform.h"

#include <csetjmp>
#include <csignal>
#include <iterator>
#include <setjmp.h>
#include <signal.h>
#include <sys/mman.h>

namespace qor::Texsmith::Platform {

namespace {

constexpr int kFaults[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL};
constexpr std::size_t kStackBytes = 64 * 1024;

struct Frame {
    sigjmp_buf m_target;
    Frame* m_outer;
};

// Volatile: the compiler sees no reader of it between the store and the call, and would drop the store.
constinit thread_local Frame* volatile t_frame = nullptr;

struct sigaction g_oldActions[std::size(kFaults)];

void restoreOldAction(int signal) {
    for (std::size_t i = 0; i < std::size(kFaults); ++i) {
        if (kFaults[i] == signal) {
            sigaction(signal, &g_oldActions[i], nullptr);
        }
    }
}

// A signal that somebody sent is no fault of this thread's code.
bool wasSent(const siginfo_t* info) { return info->si_code <= 0; }

void onFault(int signal, siginfo_t* info, void* context) {
    if (t_frame != nullptr && !wasSent(info)) {
        // The mask as it was at the fault; saving it with each frame would cost a system call each time.
        sigprocmask(SIG_SETMASK, &static_cast<ucontext_t*>(context)->uc_sigmask, nullptr);
        siglongjmp(t_frame->m_target, 1);
    }
    restoreOldAction(signal);
    if (wasSent(info)) {
        raise(signal); // a fault repeats itself on return; a sent signal does not
    }
}

bool installHandlers() {
    struct sigaction action = {};
    action.sa_sigaction = &onFault;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    for (std::size_t i = 0; i < std::size(kFaults); ++i) {
        sigaction(kFaults[i], &action, &g_oldActions[i]);
    }
    return true;
}

// A stack for the handler, so that it can run after a stack overflow. The one that was there before comes
// back at the end of the thread, since its owner may look for it then.
class AlternateStack {
public:
    AlternateStack() {
        m_memory = mmap(nullptr, kStackBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (m_memory == MAP_FAILED) {
            return;
        }
        stack_t own = {};
        own.ss_sp = m_memory;
        own.ss_size = kStackBytes;
        if (sigaltstack(&own, &m_old) != 0) {
            release();
        }
    }
    ~AlternateStack() {
        if (m_memory == MAP_FAILED) {
            return;
        }
        stack_t current = {};
        sigaltstack(nullptr, &current);
        if (current.ss_sp == m_memory && sigaltstack(&m_old, nullptr) != 0) {
            return; // still in use
        }
        release();
    }
    AlternateStack(const AlternateStack&) = delete;
    AlternateStack& operator=(const AlternateStack&) = delete;

private:
    void release() {
        munmap(m_memory, kStackBytes);
        m_memory = MAP_FAILED;
    }

    void* m_memory;
    stack_t m_old = {};
};

void prepareThread() {
    static const bool s_installed = installHandlers();
    static_cast<void>(s_installed);
    thread_local AlternateStack stack;
    static_cast<void>(stack);
}

bool callAndCatch(void (*body)(void* context), void* context) {
    try {
        body(context);
        return true;
    } catch (...) {
        return false;
    }
}

} // namespace

bool guardedCall(void (*body)(void* context), void* context) {
    prepareThread();
    Frame frame;
    frame.m_outer = t_frame;
    if (sigsetjmp(frame.m_target, 0) != 0) {
        t_frame = frame.m_outer;
        return false;
    }
    t_frame = &frame;
    const bool returned = callAndCatch(body, context);
    t_frame = frame.m_outer;
    return returned;
}

} // namespace qor::Texsmith::Platform
