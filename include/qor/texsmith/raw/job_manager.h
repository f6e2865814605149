// Jobs: work cut into at most 32 callbacks, run by a manager.
//
// A client derives from Job, gives it what it works on, and has it run:
//
//     class SumJob : public Raw::Job {
//     public:
//         SumJob(const float* values, unsigned count) : Job(0), m_values(values), m_count(count) {}
//         mutable double m_sums[kMaxCallbacks] = {};
//     private:
//         Raw::Error doCallback(unsigned id) const override {
//             const Raw::WorkItems mine = getWorkItems(id, m_count);
//             for (unsigned i = mine.m_begin; i < mine.m_end; ++i) { m_sums[id] += m_values[i]; }
//             return Raw::kErrorNone;
//         }
//         ...
//     };
//     SumJob job(values, count);
//     Raw::Error error = configuration.m_jobManager->submitAndStall(&job);
//
// A job lives on the stack of the function that runs it, and its manager keeps no list. It goes from idle
// through running to complete: submit takes it out of idle, the return of its last callback completes it.
// Callbacks of one job may run at the same time, so they are const and write only what they share on purpose;
// an accumulator for each callback, merged in doEpilogue, needs no lock. After stall returns, all their
// effects are visible to the caller, and the job may go. A callback may run jobs of its own and wait for
// them.
//
// In a child of fork the pool starts anew, and a job that its parent had submitted fails when it is stalled.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/error.h"
#include "qor/texsmith/raw/memory_region.h"

#include <atomic>
#include <cstdint>

namespace qor::Texsmith::Raw {

struct Configuration;
class JobManager;
class JobCallback;

// A half-open range of things for one callback: m_begin is the first, m_end one past the last.
struct WorkItems {
    unsigned m_begin = 0;
    unsigned m_end = 0;
};

enum JobState : unsigned { kJobStateIdle = 0, kJobStateRunning = 1, kJobStateComplete = 2 };

// Work in up to 32 parts, called callbacks. Derive, override doCallback, and hand an object on the stack to
// JobManager::submitAndStall.
class QOR_TEXSMITH_API Job {
public:
    static constexpr int kMaxCallbacks = 32;

    Job(const Job&) = delete;
    Job& operator=(const Job&) = delete;
    // Reports when the job is still running, and waits for a pool that still runs it: stall first.
    virtual ~Job() noexcept(false);

    int getCallbacks() const { return m_callbacks; } // 1 to kMaxCallbacks
    const char* getName() const { return m_name; }
    // Of the run under way or, after it, of the last one. Succeeded: all returned kErrorNone.
    bool allCallbacksCompleted() const;
    bool allCallbacksSucceeded() const;
    // Returns a finished job to idle, so that it can be submitted again. Reports and does nothing when
    // running.
    void reset();

protected:
    // `callbacks` of 0 states no wish: 32, or the configuration's m_callbacksPerJob. Never above 32.
    explicit Job(unsigned callbacks);
    Job(Configuration* configuration, unsigned callbacks);

    Error callback(unsigned id) const { return doCallback(id); }
    Error epilogue() const { return doEpilogue(); }
    // The near-equal share of `callbackId`, the remainder going to the first callbacks.
    WorkItems getWorkItems(unsigned callbackId, unsigned things) const;
    // What getName gives from now on; `name` must outlive the job.
    void setName(const char* name) { m_name = name; }
    bool isAborted() const; // the caller's abort word is set

private:
    friend class JobManager;
    friend class JobCallback;
    friend class SerialJobManager;
    friend class ThreadpoolJobManager;

    // Once for each id below getCallbacks(), in any order and on any thread. What is not kErrorNone, or
    // leaves by an exception, makes the job fail; it stops no other callback.
    virtual Error doCallback(unsigned callbackId) const = 0;
    // Runs once, on the thread of the last finisher, and only if every callback succeeded. Its result is
    // dropped.
    virtual Error doEpilogue() const { return kErrorNone; }

    void init(Configuration* configuration, unsigned callbacks);
    void clearCounters();
    void releaseWork() const;
    void completeIfAllReturned() const;
    long allocateCallbackId() const;
    void handleResultOfCallback(long id, Error result) const;

    const char* m_name;
    int m_callbacks;
    mutable std::atomic<unsigned> m_nextCallbackId;
    mutable std::atomic<unsigned> m_completed;
    mutable std::atomic<unsigned> m_succeeded;
    mutable std::atomic<unsigned> m_state;
    mutable void* m_work; // the pool's work object while submitted to a ThreadpoolJobManager
    volatile unsigned* m_abort;
};

// Scope guard for one callback run: takes the next id, runs the callback in Execute, and counts the result.
// A run that leaves by an exception counts as failed.
class QOR_TEXSMITH_API JobCallback {
public:
    explicit JobCallback(const Job* job);
    ~JobCallback() noexcept(false);
    JobCallback(const JobCallback&) = delete;
    JobCallback& operator=(const JobCallback&) = delete;
    void Execute();

private:
    const Job* m_job;
    int m_callbackId;
    Error m_result;
};

// Divides a count of work items among the callbacks.
class QOR_TEXSMITH_API ConstantWorkItemsJob : public Job {
public:
    explicit ConstantWorkItemsJob(unsigned workItems);
    ConstantWorkItemsJob(unsigned workItems, Configuration* configuration);

private:
    Error doCallback(unsigned callbackId) const final;
    virtual Error doWorkItemsCallback(WorkItems items) const = 0;

    unsigned m_workItems;
};

// Work items are bytes.
class QOR_TEXSMITH_API MemcpyJob : public ConstantWorkItemsJob {
public:
    MemcpyJob(MemoryRegion destination, MemoryRegion source, unsigned workItems,
              Configuration* configuration);

private:
    Error doWorkItemsCallback(WorkItems items) const override;

    MemoryRegion m_destination;
    MemoryRegion m_source;
};

// Compares two regions; the callbacks stop early once one has found a difference.
class QOR_TEXSMITH_API MemoryIsEqualJob : public Job {
public:
    MemoryIsEqualJob(MemoryRegion a, MemoryRegion b, Configuration* configuration);
    bool isEqual() const { return m_equal.load(std::memory_order_relaxed); }

private:
    Error doCallback(unsigned callbackId) const override;

    MemoryRegion m_a;
    MemoryRegion m_b;
    mutable std::atomic<bool> m_equal;
};

// Runs jobs. All operations report a null job. A job that did not succeed whole gives kErrorFailed, whatever
// the callback's own code was. Any thread may use a manager; a job belongs to the one that submitted it.
//
// A manager of a client's own derives from this. Its doSubmit sees to it that as many JobCallback objects are
// made for the job, executed and destroyed, one after another or at the same time, as getCallbacks() says,
// now or later; both doStall return when that is done. When doSubmit fails before it has made any, the job is
// idle again.
class QOR_TEXSMITH_API JobManager {
public:
    virtual ~JobManager() = default;
    // Begins to run the job. A job that is not idle is reported, and runs again with empty shares.
    Error submit(const Job* job);
    // Waits for the job, once per submission. One that was never submitted is reported.
    Error stall(const Job* job);
    // Everything submitted so far. Not from inside a callback. The jobs must not be stalled on again.
    Error stall();
    // Both, when the first succeeds.
    Error submitAndStall(const Job* job);

private:
    virtual Error doSubmit(const Job* job) = 0;
    virtual Error doStall() = 0;
    virtual Error doStall(const Job* job) = 0;
};

// Runs callbacks on the calling thread, in id order, inside submit; a callback's exception reaches the
// caller. Its stall has nothing to do and succeeds: only submit shows a failure.
class QOR_TEXSMITH_API SerialJobManager : public JobManager {
private:
    Error doSubmit(const Job* job) override;
    Error doStall() override;
    Error doStall(const Job* job) override;
};

// Runs callbacks on one process-wide pool, made on first use and never destroyed, and on the thread that
// stalls on the job: it would wait for a processor otherwise. So the pool has a thread fewer than there are
// processors, and at least one. An exception or a fault of the operating system in a callback ends that
// callback, which counts as failed, on whichever thread it runs; a callback must not end its thread. Each
// begins with the default floating-point mode, and the stalling thread has its own again afterwards. Where no
// thread can be started, which is reported once, the thread that submits does the work.
class QOR_TEXSMITH_API ThreadpoolJobManager : public JobManager {
private:
    friend Error runJob(JobManager* manager, const Job* job, std::uint64_t bytes);

    static void runOnPool(void* job);
    static void run(const Job* job, int count);
    static Error runHere(const Job* job);
    Error doSubmit(const Job* job) override;
    Error doStall() override;
    Error doStall(const Job* job) override;
};

// Copies `workItems` bytes on the manager of `configuration`. What is more than a region holds is reported,
// and what both have is copied. The regions must not overlap. Reports null arguments, and fails then.
QOR_TEXSMITH_API Error multicoreMemcpy(MemoryRegion destination, MemoryRegion source, unsigned workItems,
                                       Configuration* configuration);
QOR_TEXSMITH_API Error multicoreMemcpy(MemoryRegion destination, MemoryRegion source, unsigned workItems,
                                       JobManager* jobManager);
// kErrorNone when the bytes are equal, kErrorFailed when they differ. Different lengths are reported, and are
// not equal.
QOR_TEXSMITH_API Error areBitwiseEqual(MemoryRegion a, MemoryRegion b, Configuration* configuration);

} // namespace qor::Texsmith::Raw

namespace qor::Texsmith {
using Raw::JobManager;
}
