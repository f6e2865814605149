#include "raw/configuration/default_job_manager.h"
#include "support/loaded_file.h"
#include "support/report_recorder.h"
#include "support/surfaces.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cfenv>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <thread>
#include <utility>
#include <vector>

namespace {

using namespace qor::Texsmith;
using namespace qor::Texsmith::Raw;
using TestSupport::Bytes;
using TestSupport::configurationOf;
using TestSupport::regionOf;
using TestSupport::ReportRecorder;

SerialJobManager g_serial;
const struct Manager {
    const char* m_name;
    JobManager* m_manager;
} kManagers[] = {{"serial", &g_serial}, {"pool", defaultJobManager()}};

// Counts its callbacks and epilogues, and does in each what the test says.
class TestJob : public Job {
public:
    using Body = std::function<Error(unsigned)>;

    explicit TestJob(unsigned callbacks, Body body = {}) : Job(callbacks), m_body(std::move(body)) {}

    using Job::getWorkItems;

    mutable std::atomic<unsigned> m_calls{0};
    mutable std::atomic<unsigned long long> m_ids{0};
    mutable std::atomic<unsigned> m_epilogues{0};
    std::function<void()> m_last;

private:
    Error doCallback(unsigned id) const override {
        m_calls.fetch_add(1, std::memory_order_relaxed);
        m_ids.fetch_or(1ull << id, std::memory_order_relaxed);
        return m_body ? m_body(id) : kErrorNone;
    }
    Error doEpilogue() const override {
        m_epilogues.fetch_add(1, std::memory_order_relaxed);
        if (m_last) {
            m_last();
        }
        return kErrorFailed; // dropped
    }

    Body m_body;
};

Bytes pattern(std::size_t bytes) {
    Bytes all(bytes);
    for (std::size_t i = 0; i < bytes; ++i) {
        all[i] = static_cast<std::uint8_t>(i * 31 + i / 251 + 1);
    }
    return all;
}

TEST(Job, SharesCoverEverythingWithTheLargerOnesFirst) {
    for (unsigned callbacks = 1; callbacks <= 32; ++callbacks) {
        const TestJob job(callbacks);
        for (const unsigned things : {0u, 1u, 31u, 32u, 33u, 100u, 4097u, 0xFFFFFFFFu}) {
            unsigned next = 0;
            for (unsigned id = 0; id < callbacks; ++id) {
                const WorkItems items = job.getWorkItems(id, things);
                ASSERT_EQ(items.m_begin, next) << callbacks << " " << things << " " << id;
                next += things / callbacks + (id < things % callbacks ? 1 : 0);
                ASSERT_EQ(items.m_end, next) << callbacks << " " << things << " " << id;
            }
            ASSERT_EQ(next, things);
        }
    }
}

TEST(JobManager, EveryCallbackRunsOnceAndThenTheEpilogue) {
    for (const Manager& manager : kManagers) {
        for (const unsigned callbacks : {1u, 7u, 32u}) {
            TestJob job(callbacks);
            bool complete = false;
            job.m_last = [&job, &complete] { complete = job.allCallbacksCompleted(); };
            for (unsigned run = 1; run <= 2; ++run) {
                EXPECT_EQ(manager.m_manager->submitAndStall(&job), kErrorNone) << manager.m_name;
                EXPECT_EQ(job.m_calls, run * callbacks);
                EXPECT_EQ(job.m_ids, (1ull << callbacks) - 1);
                EXPECT_EQ(job.m_epilogues, run);
                EXPECT_TRUE(complete);
                job.reset();
                EXPECT_FALSE(job.allCallbacksSucceeded());
            }
        }
    }
}

// Each job is gone as soon as its stall returns, and the next one stands in its place.
TEST(JobManager, ManyShortLivedJobsOnThePool) {
    const unsigned jobs = std::getenv("TEXSMITH_SLOW") != nullptr ? 1000000 : 100000;
    for (unsigned i = 0; i < jobs; ++i) {
        const TestJob job(2 + i % 31);
        ASSERT_EQ(defaultJobManager()->submitAndStall(&job), kErrorNone);
        ASSERT_EQ(job.m_epilogues, 1u);
        ASSERT_EQ(job.m_calls, 2 + i % 31);
    }
}

// From several threads, all 32 callbacks, and so all threads of the pool, wait for jobs of their own.
TEST(JobManager, CallbacksMayRunJobs) {
    std::atomic<unsigned> leaves{0};
    const auto runInner = [](unsigned callbacks, const TestJob::Body& body) {
        const TestJob inner(callbacks, body);
        return defaultJobManager()->submitAndStall(&inner);
    };
    const auto leaf = [&](unsigned) { return ++leaves, kErrorNone; };
    const auto branch = [&](unsigned) { return runInner(4, leaf); };
    std::vector<std::thread> callers;
    for (int i = 0; i < 4; ++i) {
        callers.emplace_back(
            [&] { EXPECT_EQ(runInner(32, [&](unsigned) { return runInner(8, branch); }), kErrorNone); });
    }
    for (std::thread& caller : callers) {
        caller.join();
    }
    EXPECT_EQ(leaves, 4u * 32 * 8 * 4);
}

bool isRoundingUp() {
    volatile float tiny = 1e-20f;
    return 1 + tiny != 1;
}

// A caller that rounds up has the same results as others, and rounds up afterwards. What a callback leaves
// behind counts for no other.
TEST(JobManager, CallbacksHaveTheDefaultFloatingPointMode) {
    std::fesetround(FE_UPWARD);
    std::atomic<unsigned> roundedUp{0}, here{0};
    const std::thread::id caller = std::this_thread::get_id();
    TestJob job(32, [&](unsigned id) {
        roundedUp += isRoundingUp();
        here += std::this_thread::get_id() == caller;
        if (id % 4 == 3) {
            std::fesetround(FE_UPWARD);
            throw 1;
        }
        return kErrorNone;
    });
    for (int i = 0; i < 100 && here == 0; ++i) { // until this thread has come to take one
        EXPECT_EQ(defaultJobManager()->submitAndStall(&job), kErrorFailed);
        job.reset();
    }
    const bool isRoundedUpAfter = isRoundingUp();
    std::fesetround(FE_TONEAREST);
    EXPECT_TRUE(isRoundedUpAfter);
    EXPECT_EQ(roundedUp, 0u);
    EXPECT_GT(here, 0u);
}

// Also for runs that the thread that submitted them has taken.
TEST(JobManager, StallWithoutAJobWaitsForAll) {
    std::atomic<std::thread::id> owner;
    std::atomic<bool> isTaken{false}, hasReturned{false};
    const TestJob shared(32, [&](unsigned) {
        if (std::this_thread::get_id() == owner && !isTaken.exchange(true)) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            hasReturned = true;
        }
        while (!isTaken && shared.m_calls < 32) {
            std::this_thread::yield();
        }
        return kErrorNone;
    });
    std::thread other([&] {
        owner = std::this_thread::get_id();
        EXPECT_EQ(defaultJobManager()->submitAndStall(&shared), kErrorNone);
    });
    while (!isTaken && shared.m_calls < 32) {
        std::this_thread::yield();
    }
    EXPECT_EQ(defaultJobManager()->stall(), kErrorNone);
    EXPECT_TRUE(hasReturned || !isTaken);
    other.join();
    const TestJob a(32);
    const TestJob b(5);
    EXPECT_EQ(defaultJobManager()->submit(&a), kErrorNone);
    EXPECT_EQ(defaultJobManager()->submit(&b), kErrorNone);
    EXPECT_EQ(defaultJobManager()->stall(), kErrorNone);
    EXPECT_EQ(a.m_epilogues + b.m_epilogues, 2u);
}

TEST(JobManager, AFailedCallbackFailsTheJobAndSkipsTheEpilogue) {
    const auto failing = [](unsigned id) { return id == 3 ? kErrorAborted : kErrorNone; };
    for (const Manager& manager : kManagers) {
        const TestJob job(8, failing);
        EXPECT_EQ(manager.m_manager->submitAndStall(&job), kErrorFailed) << manager.m_name;
        EXPECT_EQ(job.m_calls, 8u);
        EXPECT_EQ(job.m_epilogues, 0u);
    }
    const TestJob job(8, failing);
    EXPECT_EQ(g_serial.submit(&job), kErrorFailed);
    EXPECT_EQ(g_serial.stall(&job), kErrorNone); // only submit shows it
    EXPECT_EQ(g_serial.stall(), kErrorNone);
}

TEST(JobManager, ExceptionsEndAtThePoolAndPassThroughTheSerialManager) {
    const auto throwing = [](unsigned id) { return id == 1 ? throw 1 : kErrorNone; };
    const TestJob job(8, throwing);
    EXPECT_EQ(defaultJobManager()->submitAndStall(&job), kErrorFailed);
    EXPECT_TRUE(job.allCallbacksCompleted());
    TestJob last(8);
    last.m_last = [] { throw 2; };
    EXPECT_EQ(defaultJobManager()->submitAndStall(&last), kErrorNone);
    last.reset();
    EXPECT_THROW(g_serial.submit(&last), int); // and leaves it complete
    const ReportRecorder recorder(ReportRecorder::kThrow);
    const auto abandon = [&] {
        const TestJob running(8, throwing);
        g_serial.submit(&running);
    };
    EXPECT_THROW(abandon(), int); // the destructor's report must not end the process
    EXPECT_EQ(
        recorder.texts(),
        "This Job object can't safely go out of scope - a JobManager may still be using it. Stall the Job or "
        "the JobManager before letting this Job go out of scope.\n");
}

// A client's manager, which runs each job on a thread of its own.
class ThreadJobManager : public JobManager {
public:
    bool m_refuses = false;

private:
    Error doSubmit(const Job* job) override {
        if (m_refuses) {
            return kErrorFailed;
        }
        m_thread = std::thread([job] {
            for (int i = 0; i < job->getCallbacks(); ++i) {
                JobCallback callback(job);
                callback.Execute();
            }
        });
        return kErrorNone;
    }
    Error doStall() override {
        m_thread.join();
        return kErrorNone;
    }
    Error doStall(const Job* job) override {
        m_thread.join();
        return job->allCallbacksSucceeded() ? kErrorNone : kErrorFailed;
    }

    std::thread m_thread;
};

TEST(JobManager, AClientsManagerMayRunJobsLater) {
    const ReportRecorder recorder;
    ThreadJobManager manager;
    {
        const TestJob job(4), other(4);
        EXPECT_EQ(manager.submitAndStall(&job), kErrorNone);
        manager.m_refuses = true;
        EXPECT_EQ(manager.submit(&other), kErrorFailed); // which leaves it idle
    }
    EXPECT_TRUE(recorder.empty()) << recorder.texts();
}

TEST(JobManager, AFaultInAnEpilogueCompletesTheJob) {
    const ReportRecorder recorder;
    MappedMemory pages;
    pages.resize(1);
    pages.setPermissions(kPermissionsReadOnly);
    {
        TestJob job(4);
        job.m_last = [&pages] { *static_cast<volatile std::uint8_t*>(pages.begin) = 1; };
        EXPECT_EQ(defaultJobManager()->submit(&job), kErrorNone);
        EXPECT_EQ(defaultJobManager()->stall(), kErrorNone);
    }
    EXPECT_TRUE(recorder.empty()) << recorder.texts();
}

TEST(JobManager, ACallbackWithoutMemoryIsReportedOnThePool) {
    const ReportRecorder recorder;
    const TestJob job(8, [](unsigned id) { return id == 3 ? throw std::bad_alloc() : kErrorNone; });
    EXPECT_EQ(defaultJobManager()->submitAndStall(&job), kErrorFailed);
    EXPECT_EQ(recorder.texts(), "There is not enough memory for this call.\n");
}

TEST(JobManager, AStrayWriteFailsTheJobOnThePool) {
    Bytes source = pattern(100000);
    MappedMemory pages;
    pages.resize(source.size());
    pages.setPermissions(kPermissionsReadOnly);
    MemcpyJob job(pages, regionOf(source), 100000, nullptr);
    EXPECT_EQ(defaultJobManager()->submitAndStall(&job), kErrorFailed);
    EXPECT_TRUE(job.allCallbacksCompleted());
    pages.setPermissions(kPermissionsReadWrite);
    EXPECT_EQ(multicoreMemcpy(pages, regionOf(source), 100000, defaultJobManager()), kErrorNone);
    EXPECT_EQ(std::memcmp(pages.begin, source.data(), source.size()), 0);
}

// The runs of the second submission get empty shares, so nothing is written behind the destination.
TEST(JobManager, ASecondSubmissionRunsAgainAndHarmsNothing) {
    for (const Manager& manager : kManagers) {
        Bytes source = pattern(164);
        Bytes destination(164, 0xEE);
        MemoryRegion inside = regionOf(destination);
        inside.begin += 32;
        inside.end -= 32;
        Bytes expected = destination;
        std::copy_n(source.begin(), 100, expected.begin() + 32);
        const ReportRecorder recorder;
        {
            MemcpyJob job(inside, regionOf(source), 100, nullptr);
            EXPECT_EQ(manager.m_manager->submit(&job), kErrorNone);
            manager.m_manager->submit(&job);
            manager.m_manager->stall(&job);
            manager.m_manager->stall(&job);
            EXPECT_FALSE(job.allCallbacksSucceeded());
        }
        EXPECT_EQ(destination, expected) << manager.m_name;
        EXPECT_EQ(
            recorder.texts().find("can't submit a job that is running, or which has been submitted already. "
                                  "make a new job object if you want to submit again.\n"),
            0u);
        EXPECT_NE(recorder.texts().find("Assertion '*end <= things' failed."), std::string::npos);
        EXPECT_EQ(recorder.texts().find("out of scope"), std::string::npos);
    }
}

TEST(JobManager, ReportsMisuse) {
    for (const Manager& manager : kManagers) {
        const ReportRecorder recorder;
        EXPECT_EQ(manager.m_manager->submit(nullptr), kErrorFailed);
        EXPECT_EQ(manager.m_manager->stall(nullptr), kErrorFailed);
        TestJob job(2);
        manager.m_manager->stall(&job);
        job.m_last = [&job] { job.reset(); };
        EXPECT_EQ(manager.m_manager->submitAndStall(&job), kErrorNone);
        EXPECT_TRUE(job.allCallbacksSucceeded()); // the counters were left alone
        EXPECT_EQ(recorder.texts(), "job must not be NULL.\njob must not be NULL.\n"
                                    "Can't stall on a job that was never submitted.\n"
                                    "can't reset a job while it is still running.\n");
        EXPECT_EQ(recorder.assertions().front().m_file, "raw\\job_manager");
    }
}

// A run that begins during the destructor must not reach the derived part, which is gone.
TEST(JobManager, NothingIsCalledOfAJobThatGoesWhileRunning) {
    static const Job* s_job;
    static unsigned s_reports;
    s_reports = 0;
    setAssertCallback([](const char*, int, const char*, ArgumentList*) {
        ++s_reports;
        JobCallback late(s_job);
        late.Execute();
    });
    {
        const TestJob job(2, [](unsigned) -> Error { throw 1; });
        s_job = &job;
        EXPECT_THROW(g_serial.submit(&job), int); // which leaves it running
    }
    setAssertCallback(static_cast<ListCallback>(nullptr));
    EXPECT_EQ(s_reports, 1u);
}

// The job is complete before them.
TEST(JobManager, ResetWaitsForTheRunsOfASecondSubmission) {
    ReportRecorder recorder;
    std::atomic<bool> released{false};
    std::atomic<unsigned> returned{0};
    TestJob job(32, [&](unsigned id) {
        while (id >= 32 && !released) {
            std::this_thread::yield();
        }
        ++returned;
        return kErrorNone;
    });
    defaultJobManager()->submit(&job);
    defaultJobManager()->submit(&job);
    std::thread release([&released] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        released = true;
    });
    do { // it reports while the job is running
        recorder.clear();
        job.reset();
    } while (!recorder.empty());
    EXPECT_EQ(returned, 64u);
    release.join();
}

// A count of items is a wish for as many callbacks, and goes before the configuration's.
TEST(MulticoreMemcpy, CopiesTheWorkItemsAndNoMore) {
    for (const Manager& manager : kManagers) {
        for (const unsigned perJob : {0u, 1u, 7u, 64u}) {
            for (const unsigned items : {0u, 5u, 31u, 32u, 33u, 100u, 10007u}) {
                Bytes source = pattern(items + 1u);
                Bytes destination(items + 1u, 0);
                Configuration configuration = configurationOf(manager.m_manager, perJob);
                const MemcpyJob job(regionOf(destination), regionOf(source), items, &configuration);
                const unsigned wish = items != 0 ? items : perJob != 0 ? perJob : 32;
                ASSERT_EQ(job.getCallbacks(), static_cast<int>(std::min(wish, 32u)))
                    << items << " " << perJob;
                ASSERT_EQ(multicoreMemcpy(regionOf(destination), regionOf(source), items, &configuration),
                          kErrorNone);
                source.back() = 0;
                ASSERT_EQ(destination, source) << manager.m_name << " " << perJob << " " << items;
            }
        }
    }
}

// What both regions have is copied, and nothing beyond.
TEST(MulticoreMemcpy, CutsEveryShareToBothRegions) {
    for (const Manager& manager : kManagers) {
        for (const auto& [to, from] : {std::pair<unsigned, unsigned>{40, 90}, {90, 40}, {0, 90}}) {
            Bytes source = pattern(100), destination(100, 0xEE), expected = destination;
            std::copy_n(source.begin(), std::min(to, from), expected.begin());
            MemoryRegion target = regionOf(destination), origin = regionOf(source);
            target.end = target.begin + to;
            origin.end = origin.begin + from;
            const ReportRecorder recorder;
            EXPECT_EQ(multicoreMemcpy(target, origin, 100, manager.m_manager), kErrorNone);
            EXPECT_EQ(destination, expected) << manager.m_name << to;
            EXPECT_NE(recorder.texts().find("can not copy more bytes"), std::string::npos);
        }
    }
}

TEST(AreBitwiseEqual, FindsOneDifferentByteAnywhere) {
    const ReportRecorder recorder;
    for (const Manager& manager : kManagers) {
        for (const unsigned perJob : {1u, 7u, 32u}) {
            Configuration configuration = configurationOf(manager.m_manager, perJob);
            Bytes a = pattern(300001);
            Bytes b = a;
            EXPECT_EQ(areBitwiseEqual(regionOf(a), regionOf(b), &configuration), kErrorNone);
            for (const std::size_t at : {0u, 4096u, 150000u, 300000u}) {
                b[at] ^= 0x40;
                EXPECT_EQ(areBitwiseEqual(regionOf(a), regionOf(b), &configuration), kErrorFailed) << at;
                b[at] = a[at];
            }
        }
    }
    EXPECT_TRUE(recorder.empty()) << recorder.texts();
}

// Equal as far as both go, but not equal.
TEST(AreBitwiseEqual, ReportsDifferentLengths) {
    const ReportRecorder recorder;
    Bytes a = pattern(10);
    Bytes b = pattern(12);
    Configuration configuration = configurationOf(defaultJobManager());
    EXPECT_EQ(areBitwiseEqual(regionOf(a), regionOf(b), &configuration), kErrorFailed);
    EXPECT_EQ(areBitwiseEqual(regionOf(b), regionOf(a), &configuration), kErrorFailed);
    EXPECT_EQ(recorder.texts(), "MemoryRegions have sizes 10 and 12, which should be equal.\n"
                                "MemoryRegions have sizes 12 and 10, which should be equal.\n");
}

class SlowStart : public Singleton {
public:
    std::atomic<int> m_starts{0};

private:
    Error doInitialize() override {
        ++m_starts;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        throw 1;
    }
};

TEST(Singleton, StartsOnceForAllThreadsEvenIfItThrows) {
    SlowStart singleton;
    std::atomic<int> thrown{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            try {
                EXPECT_EQ(singleton.initialize(), kErrorFailed);
            } catch (int) {
                ++thrown;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(singleton.m_starts, 1);
    EXPECT_EQ(thrown, 1);
}

} // namespace
