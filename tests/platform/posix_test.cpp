// What POSIX alone has: fork, the ends of threads, signal handlers of other people.

#include "platform/platform.h"
#include "qor/texsmith/texsmith.h"
#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace qor::Texsmith;
using Raw::kErrorNone;

class CountingJob : public Raw::Job {
public:
    explicit CountingJob(void (*body)(unsigned id) = nullptr) : Job(32), m_body(body) {}
    mutable std::atomic<unsigned> m_calls{0};

private:
    Raw::Error doCallback(unsigned id) const override {
        ++m_calls;
        if (m_body != nullptr) {
            m_body(id);
        }
        return kErrorNone;
    }
    void (*m_body)(unsigned id);
};

bool runsOnPool() {
    Raw::ThreadpoolJobManager manager;
    const CountingJob job;
    return manager.submitAndStall(&job) == kErrorNone && job.m_calls == 32;
}

#if !defined(__SANITIZE_THREAD__) // which does not let a forked child start threads

// The exit status of a child that runs the body, or a negative number.
int inChild(int (*body)()) {
    const pid_t child = fork();
    if (child == 0) {
        alarm(60);
        _exit(body());
    }
    int status = -1;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(Pool, AChildOfForkHasOneOfItsOwn) {
    ASSERT_TRUE(runsOnPool()); // so that there are threads to lose
    EXPECT_EQ(inChild([] { return runsOnPool() ? inChild([] { return runsOnPool() ? 7 : 1; }) : 2; }), 7);
    static CountingJob* s_job;
    CountingJob unfinished([](unsigned) { Platform::sleepMilliseconds(5); });
    Raw::ThreadpoolJobManager manager;
    s_job = &unfinished;
    manager.submit(&unfinished);
    EXPECT_EQ(inChild([] { return Raw::ThreadpoolJobManager().stall(s_job) != kErrorNone ? 7 : 1; }), 7);
    EXPECT_EQ(manager.stall(&unfinished), kErrorNone);
    EXPECT_TRUE(runsOnPool());
}

#endif

#if defined(__GLIBC__)

// In a process of its own, whose threads are to have more stack than there is.
TEST(PoolDeathTest, WithoutThreadsTheCallerDoesTheWork) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto runWithoutThreads = [] {
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        pthread_attr_setstacksize(&attributes, std::size_t{1} << 46);
        const bool isSet = pthread_setattr_default_np(&attributes) == 0;
        const TestSupport::ReportRecorder recorder;
        const bool runs = runsOnPool() && runsOnPool() && Raw::ThreadpoolJobManager().stall() == kErrorNone;
        std::fputs(recorder.texts().c_str(), stderr);
        std::_Exit(isSet && runs && recorder.assertions().size() == 1 ? 7 : 1);
    };
    EXPECT_EXIT(runWithoutThreads(), testing::ExitedWithCode(7), "No thread of the pool could be started: ");
}

#endif

#if defined(__GLIBCXX__)

int g_end;

TEST(GuardedCall, TheEndOfAThreadPassesThrough) {
    void* result = nullptr;
    pthread_t thread;
    const auto body = [](void*) -> void* {
        Platform::guardedCall([](void*) { pthread_exit(&g_end); }, nullptr);
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, nullptr, body, nullptr), 0);
    pthread_join(thread, &result);
    EXPECT_EQ(result, &g_end);
    const CountingJob job([](unsigned id) {
        if (id % 8 == 0) {
            pthread_exit(nullptr);
        }
    });
    Raw::ThreadpoolJobManager manager;
    EXPECT_EQ(manager.submit(&job), kErrorNone);
    EXPECT_EQ(manager.stall(),
              kErrorNone); // as this thread, which runs callbacks of what it stalls on, must not end
    EXPECT_TRUE(job.allCallbacksCompleted() && !job.allCallbacksSucceeded());
    EXPECT_TRUE(runsOnPool());
}

#endif

// The default handlers let their event source go then. The thread sanitizer sees whether they do it safely.
TEST(ReportingDeathTest, TheProcessMayEndWhileOthersReport) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto end = [] {
        Platform::setEventSink([](int, int, const char*) {});
        std::thread([] {
            for (;;) {
                Raw::g_logHandler->report(Raw::LogHandler::kTypeWarning, 0, "%s", "text");
            }
        }).detach();
        Platform::sleepMilliseconds(10);
        std::exit(7);
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(7), "");
}

char* g_page;
int g_handled;

// As of a program that maps its memory when it is touched.
void allowWrites(int, siginfo_t* info, void*) {
    if (info->si_addr == g_page) {
        ++g_handled;
        mprotect(g_page, 1, PROT_READ | PROT_WRITE);
    }
}

// In a process of its own, where the handler stands before the library's.
TEST(GuardedCallDeathTest, FaultsOfOthersGoToTheirHandlerEveryTime) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto fault = [] {
        struct sigaction action = {};
        action.sa_sigaction = &allowWrites;
        action.sa_flags = SA_SIGINFO;
        sigaction(SIGSEGV, &action, nullptr);
        g_page = static_cast<char*>(Platform::allocatePages(1));
        const auto touch = [](void* page) { *static_cast<volatile char*>(page) = 1; };
        int absorbed = 0;
        for (int i = 0; i < 3; ++i) {
            mprotect(g_page, 1, PROT_NONE);
            absorbed += Platform::guardedCall(touch, g_page) ? 0 : 1;
            touch(g_page);
        }
        std::_Exit(absorbed == 3 && g_handled == 3 ? 7 : 1);
    };
    EXPECT_EXIT(fault(), testing::ExitedWithCode(7), "");
}

} // namespace
