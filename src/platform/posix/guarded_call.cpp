// Faults of the operating system, absorbed: a handler for the whole process, an alternate stack and a chain
// of jump targets for each thread.
//
// The handler takes no lock and allocates nothing; the thread-local variables it reads must not be allocated
// at first use either, which the source's thread-local model sees to.

#include "platform/platform.h"

#include <atomic>
#include <cerrno>
#include <csetjmp>
#include <csignal>
#include <cxxabi.h>
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
};

// Volatile: the compiler sees no reader of it between the store and the call, and would drop the store.
constinit thread_local Frame* volatile t_frame = nullptr;

// Who handled a fault before.
struct OldAction {
    struct sigaction m_action;
    std::atomic<bool> m_isSpent; // it wanted to be called once only, and was
};
OldAction g_oldActions[std::size(kFaults)];

OldAction& oldActionFor(int signal) {
    std::size_t i = 0;
    while (i + 1 < std::size(kFaults) && kFaults[i] != signal) {
        ++i;
    }
    return g_oldActions[i];
}

// A signal that somebody sent is no fault of this thread's code.
bool wasSent(const siginfo_t* info) { return info->si_code <= 0; }

// The system's own action, which ends the process: a fault repeats itself on return, a sent signal does not.
void leaveToSystem(int signal, const siginfo_t* info) {
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    sigaction(signal, &action, nullptr);
    if (wasSent(info)) {
        raise(signal);
    }
}

// As the system would have called it.
void callOldHandler(int signal, siginfo_t* info, void* context, OldAction& old) {
    const struct sigaction& action = old.m_action;
    if ((static_cast<unsigned>(action.sa_flags) & SA_RESETHAND) != 0) {
        old.m_isSpent = true;
    }
    sigset_t before;
    pthread_sigmask(SIG_BLOCK, &action.sa_mask, &before);
    if ((action.sa_flags & SA_SIGINFO) != 0) {
        action.sa_sigaction(signal, info, context);
    } else {
        action.sa_handler(signal);
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

// What is not this library's goes on to the old handler, and this one stays for the next fault.
void handOn(int signal, siginfo_t* info, void* context) {
    OldAction& old = oldActionFor(signal);
    const bool isHandler = (old.m_action.sa_flags & SA_SIGINFO) != 0 ||
                           (old.m_action.sa_handler != SIG_DFL && old.m_action.sa_handler != SIG_IGN);
    if (isHandler && !old.m_isSpent) {
        callOldHandler(signal, info, context, old);
    } else if (isHandler || old.m_action.sa_handler == SIG_DFL || !wasSent(info)) {
        leaveToSystem(signal, info);
    }
}

void onFault(int signal, siginfo_t* info, void* context) {
    if (t_frame != nullptr && !wasSent(info)) {
        // The mask as it was at the fault; saving it with each frame would cost a system call each time.
        pthread_sigmask(SIG_SETMASK, &static_cast<ucontext_t*>(context)->uc_sigmask, nullptr);
        siglongjmp(t_frame->m_target, 1);
    }
    const int error = errno;
    handOn(signal, info, context);
    errno = error;
}

bool installHandlers() {
    struct sigaction action = {};
    action.sa_sigaction = &onFault;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    for (std::size_t i = 0; i < std::size(kFaults); ++i) {
        sigaction(kFaults[i], nullptr, &g_oldActions[i].m_action); // before a fault may ask for it
        sigaction(kFaults[i], &action, nullptr);
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

// The end of a thread unwinds without an exception object, so that its catch binds a reference to none.
__attribute__((no_sanitize("undefined"))) bool callAndCatch(void (*body)(void* context), void* context) {
    try {
        body(context);
        return true;
#if defined(__GLIBCXX__)
    } catch (const abi::__forced_unwind&) { // the thread ends
        throw;
#endif
    } catch (...) {
        return false;
    }
}

} // namespace

bool guardedCall(void (*body)(void* context), void* context) {
    struct Restore { // however the body ends
        Frame* m_outer = t_frame;
        ~Restore() { t_frame = m_outer; }
    };
    prepareThread();
    const Restore restore;
    Frame frame;
    if (sigsetjmp(frame.m_target, 0) != 0) {
        return false;
    }
    t_frame = &frame;
    return callAndCatch(body, context);
}

} // namespace qor::Texsmith::Platform
