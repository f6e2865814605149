// The two managers of jobs, on the calling thread and on the pool, and the public functions that run one job.

#include "qor/texsmith/raw/job_manager.h"

#include "platform/platform.h"
#include "qor/texsmith/raw/singleton.h"
#include "raw/configuration/check_configuration.h"
#include "raw/configuration/default_job_manager.h"
#include "raw/frame/never_destroyed.h"
#include "raw/frame/out_of_memory.h"
#include "raw/frame/system_report.h"
#include "raw/job_manager/run_job.h"

#include <new>
#include <typeinfo>

namespace qor::Texsmith::Raw {

namespace {

constexpr char kSourcePath[] = "raw\\job_manager";

// What a thread moves in about the time that another one needs to wake and to take its share.
constexpr std::uint64_t kBytesWorthAThread = 512 * 1024;

class ThreadpoolSingleton : public Singleton {
private:
    Error doInitialize() override {
        if (Platform::startPool()) {
            return kErrorNone;
        }
        toolsAssert(kSourcePath, __LINE__,
                    "No thread of the pool could be started: %s. Jobs run on the threads that submit them.",
                    SystemReport().c_str());
        return kErrorFailed;
    }
};

constinit NeverDestroyed<ThreadpoolSingleton> g_threadpool;

bool checkSubmitted(const Job* job, unsigned state) {
    if (!checkNotNull(job, kSourcePath, "job must not be NULL.")) {
        return false;
    }
    if (state != kJobStateIdle) {
        toolsAssert(kSourcePath, __LINE__,
                    "can't submit a job that is running, or which has been submitted already. make a new "
                    "job object if you want to submit again.");
    }
    return true;
}

void checkStalled(unsigned state) {
    if (state == kJobStateIdle) {
        toolsAssert(kSourcePath, __LINE__, "Can't stall on a job that was never submitted.");
    }
}

// Runs of a job on this thread, in one frame for as many as return: a frame takes as long as a small run.
//
// A fault leaves by a jump that runs no destructors, so the guard of a callback lies outside the frame, and
// is destroyed, which counts the callback, in a second one.
class Runs {
public:
    Runs(const Job* job, int count) : m_job(job), m_left(count) {}
    ~Runs() { finishAfterAll(); } // of a thread that a callback ends
    Runs(const Runs&) = delete;
    Runs& operator=(const Runs&) = delete;

    bool areDone() const { return m_left == 0; }
    // Runs what is left, up to the first callback that does not return. False if the epilogue did not.
    bool goOn() { return Platform::guardedCall(&runRest, this) || finishAfterAll(); }

private:
    static void runRest(void* context) {
        Runs& runs = *static_cast<Runs*>(context);
        while (runs.m_left != 0) {
            const Platform::DefaultFloatingPoint mode;
            runs.m_left = runs.m_left - 1;
            JobCallback* const callback = new (runs.m_place) JobCallback(runs.m_job);
            runs.m_current = callback;
            // Nobody else tells why a callback failed that ran out of memory.
            failWithoutMemory(kSourcePath, [callback] {
                callback->Execute();
                return kErrorNone;
            });
            finish(context);
        }
    }
    static void finish(void* context) {
        Runs& runs = *static_cast<Runs*>(context);
        JobCallback* const callback = runs.m_current;
        runs.m_current = nullptr;
        callback->~JobCallback();
    }
    bool finishAfterAll() { return m_current != nullptr && Platform::guardedCall(&finish, this); }

    const Job* const m_job;
    // Volatile: they are read after a jump.
    volatile int m_left;
    JobCallback* volatile m_current = nullptr;
    alignas(JobCallback) unsigned char m_place[sizeof(JobCallback)];
};

} // namespace

// Never destroyed: static destructors of clients may still run jobs.
JobManager* defaultJobManager() {
    static NeverDestroyed<ThreadpoolJobManager> s_manager;
    return &s_manager.m_object;
}

Error JobManager::submit(const Job* job) {
    if (!checkSubmitted(job, job != nullptr ? job->m_state.load() : kJobStateIdle)) {
        return kErrorFailed;
    }
    struct IdleUnlessBegun { // for a manager that fails, or throws, before the first callback
        const Job& m_job;
        bool m_wasIdle;
        Error m_submitted = kErrorFailed;
        ~IdleUnlessBegun() {
            if (m_wasIdle && m_submitted != kErrorNone && m_job.m_nextCallbackId.load() == 0) {
                m_job.m_state.store(kJobStateIdle);
            }
        }
    };
    unsigned state = kJobStateIdle; // running before the first callback can make it complete
    IdleUnlessBegun guard{*job, job->m_state.compare_exchange_strong(state, kJobStateRunning)};
    guard.m_submitted = doSubmit(job);
    return guard.m_submitted;
}

Error JobManager::stall(const Job* job) {
    if (!checkNotNull(job, kSourcePath, "job must not be NULL.")) {
        return kErrorFailed;
    }
    checkStalled(job->m_state.load());
    return doStall(job);
}

Error JobManager::stall() { return doStall(); }

Error JobManager::submitAndStall(const Job* job) {
    const Error submitted = submit(job);
    return submitted == kErrorNone ? stall(job) : submitted;
}

Error SerialJobManager::doSubmit(const Job* job) {
    for (int i = 0; i < job->getCallbacks(); ++i) {
        JobCallback callback(job);
        callback.Execute();
    }
    job->m_state.store(kJobStateComplete); // a second submission's callbacks are past the count that sets it
    return job->allCallbacksSucceeded() ? kErrorNone : kErrorFailed;
}

Error SerialJobManager::doStall() { return kErrorNone; }

Error SerialJobManager::doStall(const Job*) { return kErrorNone; }

void ThreadpoolJobManager::runOnPool(void* job) { run(static_cast<const Job*>(job), 1); }

// What happens in a callback goes no further than this; the callback then counts as failed. Nor does the
// floating-point mode, of the thread that stalls or of the callback before, past which a fault jumps.
void ThreadpoolJobManager::run(const Job* job, int count) {
    const Platform::DefaultFloatingPoint mode;
    Runs runs(job, count);
    while (!runs.areDone()) {
        if (!runs.goOn()) {
            job->completeIfAllReturned();
        }
    }
}

// A job submitted twice keeps its work object, so that one stall waits for all its runs. Where the pool has
// no threads, or no memory for the work object, the calling thread does the work.
Error ThreadpoolJobManager::doSubmit(const Job* job) {
    void* const context = const_cast<Job*>(job);
    const auto runs = static_cast<unsigned>(job->getCallbacks());
    const bool hasPool = g_threadpool.m_object.initialize() == kErrorNone;
    if (hasPool && job->m_work == nullptr) {
        job->m_work = Platform::createWork(&runOnPool, context);
    }
    if (job->m_work != nullptr) {
        Platform::submitWork(static_cast<Platform::Work>(job->m_work), runs);
        return kErrorNone;
    }
    run(job, job->getCallbacks());
    return kErrorNone;
}

// Its counters are those of a job that the pool has run.
Error ThreadpoolJobManager::runHere(const Job* job) {
    job->m_state.store(kJobStateRunning);
    run(job, job->getCallbacks());
    return job->allCallbacksSucceeded() ? kErrorNone : kErrorFailed;
}

Error runJob(JobManager* manager, const Job* job, std::uint64_t bytes) {
    const bool isShort = job->getCallbacks() == 1 || bytes <= kBytesWorthAThread;
    const bool isPool = typeid(*manager) == typeid(ThreadpoolJobManager);
    return isShort && isPool ? ThreadpoolJobManager::runHere(job) : manager->submitAndStall(job);
}

Error ThreadpoolJobManager::doStall() {
    if (g_threadpool.m_object.initialize() == kErrorNone) {
        Platform::waitForAllWork();
    }
    return kErrorNone;
}

// Waits for returned runs and not for the job's counters: a run touches the job until it returns.
Error ThreadpoolJobManager::doStall(const Job* job) {
    if (job->m_work != nullptr) {
        job->releaseWork();
        job->m_state.store(kJobStateComplete);
    }
    return job->allCallbacksSucceeded() ? kErrorNone : kErrorFailed;
}

Error multicoreMemcpy(MemoryRegion destination, MemoryRegion source, unsigned workItems,
                      Configuration* configuration) {
    if (!checkJobManager(configuration, kSourcePath)) {
        return kErrorFailed;
    }
    MemcpyJob job(destination, source, workItems, configuration);
    return configuration->m_jobManager->submitAndStall(&job);
}

Error multicoreMemcpy(MemoryRegion destination, MemoryRegion source, unsigned workItems,
                      JobManager* jobManager) {
    Configuration configuration;
    configuration.m_jobManager = jobManager;
    return multicoreMemcpy(destination, source, workItems, &configuration);
}

Error areBitwiseEqual(MemoryRegion a, MemoryRegion b, Configuration* configuration) {
    if (!checkJobManager(configuration, kSourcePath)) {
        return kErrorFailed;
    }
    if (a.length() != b.length()) {
        toolsAssert(kSourcePath, __LINE__, "MemoryRegions have sizes %d and %d, which should be equal.",
                    static_cast<int>(a.length()), static_cast<int>(b.length()));
        return kErrorFailed; // whatever the bytes are that both have
    }
    MemoryIsEqualJob job(a, b, configuration);
    configuration->m_jobManager->submitAndStall(&job); // its failure means "different"
    return job.isEqual() ? kErrorNone : kErrorFailed;
}

} // namespace qor::Texsmith::Raw
