#include "qor/texsmith/texsmith.h"
#include "raw/default_job_manager.h"
#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <numeric>
#include <thread>
#include <vector>

namespace {

using namespace qor::Texsmith::Raw;
using TestSupport::ReportRecorder;

constexpr char kSubmittedTwice[] =
    "can't submit a job that is running, or which has been submitted already. make a new job object if you "
    "want to submit again.\n";
constexpr char kOutOfScope[] =
    "This Job object can't safely go out of scope - a JobManager may still be using it. Stall the Job or the "
    "JobManager before letting this Job go out of scope.\n";

SerialJobManager g_serial;

struct Manager {
    const char* m_name;
    JobManager* m_manager;
};

const std::vector<Manager>& managers() {
    static const std::vector<Manager> all = {{"serial", &g_serial}, {"pool", defaultJobManager()}};
    return all;
}

// Counts its callbacks and epilogues, and does in each callback what the test says.
class TestJob : public Job {
public:
    using Body = std::function<Error(unsigned)>;

    explicit TestJob(unsigned callbacks, Body body = {}) : Job(callbacks), m_body(std::move(body)) {}
    TestJob(Configuration* configuration, unsigned callbacks) : Job(configuration, callbacks) {}

    using Job::getWorkItems;
    using Job::isAborted;

    mutable std::atomic<unsigned> m_calls{0};
    mutable std::atomic<std::uint64_t> m_ids{0};
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

class ShareRecorder : public ConstantWorkItemsJob {
public:
    ShareRecorder(unsigned workItems, Configuration* configuration)
        : ConstantWorkItemsJob(workItems, configuration) {}
    mutable std::vector<unsigned> m_lengths;

private:
    Error doWorkItemsCallback(WorkItems items) const override {
        m_lengths.push_back(items.m_end - items.m_begin);
        return kErrorNone;
    }
};

MemoryRegion regionOf(std::vector<std::uint8_t>& bytes) {
    MemoryRegion region;
    region.build(bytes.data(), static_cast<unsigned>(bytes.size()));
    return region;
}

std::vector<std::uint8_t> pattern(std::size_t bytes) {
    std::vector<std::uint8_t> all(bytes);
    for (std::size_t i = 0; i < bytes; ++i) {
        all[i] = static_cast<std::uint8_t>(i * 31 + i / 251 + 1);
    }
    return all;
}

Configuration configurationOf(JobManager* manager, unsigned callbacksPerJob = 0) {
    Configuration configuration;
    configuration.m_jobManager = manager;
    configuration.m_callbacksPerJob = callbacksPerJob;
    return configuration;
}

TEST(Job, SharesCoverEverythingWithTheLargerOnesFirst) {
    const unsigned kThings[] = {0, 1, 31, 32, 33, 100, 4097, 0xFFFFFFFF};
    for (unsigned callbacks = 1; callbacks <= 32; ++callbacks) {
        const TestJob job(callbacks);
        for (const unsigned things : kThings) {
            unsigned next = 0;
            for (unsigned id = 0; id < callbacks; ++id) {
                const WorkItems items = job.getWorkItems(id, things);
                const unsigned expected = things / callbacks + (id < things % callbacks ? 1 : 0);
                ASSERT_EQ(items.m_begin, next) << callbacks << " " << things << " " << id;
                ASSERT_EQ(items.m_end - items.m_begin, expected) << callbacks << " " << things << " " << id;
                next = items.m_end;
            }
            ASSERT_EQ(next, things);
        }
    }
}

TEST(Job, NumberOfCallbacksFollowsTheWishThenTheConfiguration) {
    const struct {
        unsigned m_wish, m_perJob;
        int m_callbacks;
    } kCases[] = {{0, 0, 32}, {0, 1, 1}, {0, 64, 32}, {5, 1, 5}, {100, 1, 32}, {7, 64, 7}};
    for (const auto& c : kCases) {
        Configuration configuration = configurationOf(nullptr, c.m_perJob);
        EXPECT_EQ(TestJob(&configuration, c.m_wish).getCallbacks(), c.m_callbacks)
            << c.m_wish << " " << c.m_perJob;
    }
}

TEST(Job, WorkItemsBecomeCallbacks) {
    const struct {
        unsigned m_items;
        std::size_t m_callbacks; // with m_callbacksPerJob at 1; only 0 items leave it the choice
        unsigned m_first, m_last;
    } kCases[] = {{0, 1, 0, 0},   {5, 5, 1, 1},   {31, 31, 1, 1},
                  {32, 32, 1, 1}, {33, 32, 2, 1}, {100, 32, 4, 3}};
    for (const auto& c : kCases) {
        for (const unsigned perJob : {1u, 64u}) {
            Configuration configuration = configurationOf(&g_serial, perJob);
            const ShareRecorder job(c.m_items, &configuration);
            ASSERT_EQ(g_serial.submitAndStall(&job), kErrorNone);
            const std::size_t callbacks = c.m_items == 0 && perJob == 64 ? 32 : c.m_callbacks;
            ASSERT_EQ(job.m_lengths.size(), callbacks) << c.m_items << " " << perJob;
            EXPECT_EQ(job.m_lengths.front(), c.m_first) << c.m_items;
            EXPECT_EQ(job.m_lengths.back(), c.m_last) << c.m_items;
            EXPECT_EQ(std::accumulate(job.m_lengths.begin(), job.m_lengths.end(), 0u), c.m_items);
        }
    }
}

TEST(JobManager, EveryCallbackRunsOnceAndThenTheEpilogue) {
    for (const Manager& manager : managers()) {
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

// Each job is gone as soon as its stall returns, with its memory used anew by the next.
TEST(JobManager, ManyShortLivedJobsOnThePool) {
    JobManager* pool = defaultJobManager();
    const unsigned jobs = std::getenv("TEXSMITH_SLOW") != nullptr ? 1000000 : 100000;
    for (unsigned i = 0; i < jobs; ++i) {
        TestJob job(2 + i % 31);
        ASSERT_EQ(pool->submitAndStall(&job), kErrorNone);
        ASSERT_EQ(job.m_epilogues, 1u);
        ASSERT_EQ(job.m_calls, 2 + i % 31);
    }
}

TEST(JobManager, JobsOfSeveralCallersShareThePool) {
    std::atomic<unsigned> wrong{0};
    std::vector<std::thread> callers;
    for (int caller = 0; caller < 4; ++caller) {
        callers.emplace_back([&wrong] {
            for (unsigned i = 0; i < 500; ++i) {
                const TestJob job(1 + i % 32);
                const Error error = defaultJobManager()->submitAndStall(&job);
                wrong += error != kErrorNone || job.m_calls != 1 + i % 32 || job.m_epilogues != 1;
            }
        });
    }
    for (std::thread& caller : callers) {
        caller.join();
    }
    EXPECT_EQ(wrong, 0u);
}

// All 32 callbacks, and so all threads of the pool, wait for jobs of their own, which do the same once more.
TEST(JobManager, CallbacksMayRunJobs) {
    std::atomic<unsigned> leaves{0};
    const auto runInner = [](unsigned callbacks, const TestJob::Body& body) {
        const TestJob inner(callbacks, body);
        return defaultJobManager()->submitAndStall(&inner);
    };
    const TestJob job(32, [&](unsigned) {
        return runInner(8, [&](unsigned) {
            return runInner(4, [&leaves](unsigned) {
                ++leaves;
                return kErrorNone;
            });
        });
    });
    EXPECT_EQ(defaultJobManager()->submitAndStall(&job), kErrorNone);
    EXPECT_EQ(leaves, 32u * 8 * 4);
}

TEST(JobManager, StallWithoutAJobWaitsForAll) {
    JobManager* pool = defaultJobManager();
    const TestJob a(32);
    const TestJob b(5);
    ASSERT_EQ(pool->submit(&a), kErrorNone);
    ASSERT_EQ(pool->submit(&b), kErrorNone);
    EXPECT_EQ(pool->stall(), kErrorNone);
    EXPECT_EQ(a.m_epilogues + b.m_epilogues, 2u);
}

TEST(JobManager, AFailedCallbackFailsTheJobAndSkipsTheEpilogue) {
    const auto failing = [](unsigned id) { return id == 3 ? kErrorAborted : kErrorNone; };
    for (const Manager& manager : managers()) {
        const TestJob job(8, failing);
        EXPECT_EQ(manager.m_manager->submitAndStall(&job), kErrorFailed) << manager.m_name;
        EXPECT_EQ(job.m_calls, 8u);
        EXPECT_EQ(job.m_epilogues, 0u);
    }
    const TestJob job(8, failing);
    EXPECT_EQ(g_serial.submit(&job), kErrorFailed);
    EXPECT_EQ(g_serial.stall(&job), kErrorNone); // only submit shows it
}

TEST(JobManager, ThePoolAbsorbsWhatCallbacksAndEpiloguesThrow) {
    const TestJob job(8, [](unsigned id) { return id == 7 ? throw 1 : kErrorNone; });
    EXPECT_EQ(defaultJobManager()->submitAndStall(&job), kErrorFailed);
    EXPECT_TRUE(job.allCallbacksCompleted());
    EXPECT_EQ(job.m_epilogues, 0u);

    TestJob last(8);
    last.m_last = [] { throw 2; };
    EXPECT_EQ(defaultJobManager()->submitAndStall(&last), kErrorNone);
    EXPECT_EQ(last.m_epilogues, 1u);
}

TEST(JobManager, SerialExceptionsReachTheCaller) {
    TestJob last(8);
    last.m_last = [] { throw 2; };
    EXPECT_THROW(g_serial.submit(&last), int); // and leaves it complete: nothing is reported below
    const ReportRecorder recorder(ReportRecorder::kThrow);
    // The job is destroyed while running and while the exception unwinds: its report must not end the
    // process.
    EXPECT_THROW(
        {
            const TestJob job(8, [](unsigned id) { return id == 1 ? throw 1 : kErrorNone; });
            g_serial.submit(&job);
        },
        int);
    EXPECT_EQ(recorder.texts(), kOutOfScope);
}

TEST(JobManager, AStrayWriteFailsTheJobOnThePool) {
    std::vector<std::uint8_t> source = pattern(100000);
    MappedMemory pages;
    pages.resize(source.size());
    pages.setPermissions(kPermissionsReadOnly);
    const auto bytes = static_cast<unsigned>(source.size());
    EXPECT_EQ(multicoreMemcpy(pages, regionOf(source), bytes, defaultJobManager()), kErrorFailed);
    pages.setPermissions(kPermissionsReadWrite);
    EXPECT_EQ(multicoreMemcpy(pages, regionOf(source), bytes, defaultJobManager()), kErrorNone);
    EXPECT_EQ(std::memcmp(pages.begin, source.data(), source.size()), 0);
}

// The runs of the second submission get empty shares, so nothing is written behind the destination.
TEST(JobManager, ASecondSubmissionRunsAgainAndHarmsNothing) {
    for (const Manager& manager : managers()) {
        std::vector<std::uint8_t> source = pattern(164);
        std::vector<std::uint8_t> destination(164, 0xEE);
        MemoryRegion inside = regionOf(destination);
        inside.begin += 32;
        inside.end -= 32;
        std::string texts;
        {
            const ReportRecorder recorder;
            Configuration configuration = configurationOf(manager.m_manager);
            MemcpyJob job(inside, regionOf(source), 100, &configuration);
            EXPECT_EQ(manager.m_manager->submit(&job), kErrorNone);
            manager.m_manager->submit(&job);
            manager.m_manager->stall(&job);
            EXPECT_EQ(manager.m_manager->stall(&job),
                      manager.m_manager == &g_serial ? kErrorNone : kErrorFailed);
            texts = recorder.texts();
        }
        EXPECT_EQ(texts.find(kSubmittedTwice), 0u) << texts;
        EXPECT_NE(texts.find("Assertion '*end <= things' failed."), std::string::npos);
        EXPECT_EQ(texts.find("out of scope"), std::string::npos);
        EXPECT_EQ(std::vector<std::uint8_t>(32, 0xEE),
                  std::vector<std::uint8_t>(destination.begin(), destination.begin() + 32));
        EXPECT_EQ(std::vector<std::uint8_t>(32, 0xEE),
                  std::vector<std::uint8_t>(destination.end() - 32, destination.end()));
        EXPECT_EQ(std::memcmp(inside.begin, source.data(), 100), 0) << manager.m_name;
    }
}

TEST(JobManager, ReportsMisuse) {
    const ReportRecorder recorder;
    for (const Manager& manager : managers()) {
        EXPECT_EQ(manager.m_manager->submit(nullptr), kErrorFailed);
        EXPECT_EQ(manager.m_manager->stall(nullptr), kErrorFailed);
        const TestJob job(1);
        manager.m_manager->stall(&job);
    }
    std::string expected;
    for (int i = 0; i < 2; ++i) {
        expected +=
            "job must not be NULL.\njob must not be NULL.\nCan't stall on a job that was never submitted.\n";
    }
    EXPECT_EQ(recorder.texts(), expected);
    EXPECT_EQ(recorder.assertions().front().m_file, "raw\\job_manager");
}

TEST(JobManager, ARunningJobIsNotReset) {
    const ReportRecorder recorder;
    TestJob job(2);
    job.m_last = [&job] { job.reset(); };
    g_serial.submit(&job);
    EXPECT_EQ(recorder.texts(), "can't reset a job while it is still running.\n");
    EXPECT_TRUE(job.allCallbacksSucceeded());
}

TEST(Job, SeesTheAbortWord) {
    volatile unsigned word = 0;
    Configuration configuration = configurationOf(&g_serial);
    EXPECT_FALSE(TestJob(&configuration, 1).isAborted());
    configuration.m_abort = &word;
    const TestJob job(&configuration, 1);
    EXPECT_FALSE(job.isAborted());
    word = 1;
    EXPECT_TRUE(job.isAborted());
}

TEST(MulticoreMemcpy, CopiesTheWorkItemsAndNoMore) {
    for (const Manager& manager : managers()) {
        for (const unsigned perJob : {0u, 1u, 7u, 64u}) {
            for (const unsigned items : {0u, 5u, 31u, 32u, 33u, 100u, 10007u}) {
                std::vector<std::uint8_t> source = pattern(items + 1u);
                std::vector<std::uint8_t> destination(items + 1u, 0);
                Configuration configuration = configurationOf(manager.m_manager, perJob);
                ASSERT_EQ(multicoreMemcpy(regionOf(destination), regionOf(source), items, &configuration),
                          kErrorNone);
                source.back() = 0;
                ASSERT_EQ(destination, source) << manager.m_name << " " << perJob << " " << items;
            }
        }
    }
}

TEST(MulticoreMemcpy, ReportsAMissingConfigurationOrManager) {
    const ReportRecorder recorder;
    const MemoryRegion none;
    Configuration empty = configurationOf(nullptr);
    EXPECT_EQ(multicoreMemcpy(none, none, 0, static_cast<Configuration*>(nullptr)), kErrorFailed);
    EXPECT_EQ(multicoreMemcpy(none, none, 0, &empty), kErrorFailed);
    EXPECT_EQ(multicoreMemcpy(none, none, 0, static_cast<JobManager*>(nullptr)), kErrorFailed);
    EXPECT_EQ(areBitwiseEqual(none, none, nullptr), kErrorFailed);
    EXPECT_EQ(areBitwiseEqual(none, none, &empty), kErrorFailed);
    const std::string noConfiguration = "configuration must not be NULL.\n";
    const std::string noManager =
        "configuration->m_jobManager parameter must not be NULL - this function runs jobs.\n";
    EXPECT_EQ(recorder.texts(), noConfiguration + noManager + noManager + noConfiguration + noManager);
}

TEST(AreBitwiseEqual, FindsOneDifferentByteAnywhere) {
    const ReportRecorder recorder;
    for (const Manager& manager : managers()) {
        for (const std::size_t length : {std::size_t{1}, std::size_t{4096}, std::size_t{300001}}) {
            std::vector<std::uint8_t> a = pattern(length);
            std::vector<std::uint8_t> b = a;
            for (const unsigned perJob : {1u, 7u, 32u}) {
                Configuration configuration = configurationOf(manager.m_manager, perJob);
                EXPECT_EQ(areBitwiseEqual(regionOf(a), regionOf(b), &configuration), kErrorNone);
                for (const std::size_t at : {std::size_t{0}, length / 2, length - 1}) {
                    b[at] ^= 0x40;
                    EXPECT_EQ(areBitwiseEqual(regionOf(a), regionOf(b), &configuration), kErrorFailed)
                        << manager.m_name << " " << length << " " << at;
                    b[at] = a[at];
                }
            }
        }
    }
    EXPECT_TRUE(recorder.empty()) << recorder.texts();
}

// The shorter one's bytes decide, but a longer first region is never equal.
TEST(AreBitwiseEqual, ReportsDifferentLengths) {
    const ReportRecorder recorder;
    std::vector<std::uint8_t> a = pattern(10);
    std::vector<std::uint8_t> b = pattern(12);
    Configuration configuration = configurationOf(defaultJobManager());
    EXPECT_EQ(areBitwiseEqual(regionOf(a), regionOf(b), &configuration), kErrorNone);
    EXPECT_EQ(areBitwiseEqual(regionOf(b), regionOf(a), &configuration), kErrorFailed);
    EXPECT_EQ(recorder.texts(), "MemoryRegions have sizes 10 and 12, which should be equal.\n"
                                "MemoryRegions have sizes 12 and 10, which should be equal.\n");
}

class SlowStart : public Singleton {
public:
    std::atomic<int> m_starts{0};
    bool m_throws = false;

private:
    Error doInitialize() override {
        ++m_starts;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        return m_throws ? throw 1 : kErrorAborted;
    }
};

TEST(Singleton, StartsOnceForAllThreads) {
    SlowStart singleton;
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] { wrong += singleton.initialize() != kErrorAborted; });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(singleton.m_starts, 1);
    EXPECT_EQ(wrong, 0);
}

TEST(Singleton, AStartThatThrowsHasFailedForGood) {
    SlowStart singleton;
    singleton.m_throws = true;
    EXPECT_THROW(singleton.initialize(), int);
    EXPECT_EQ(singleton.initialize(), kErrorFailed);
    EXPECT_EQ(singleton.m_starts, 1);
}

} // namespace
