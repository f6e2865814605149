// Jobs: work cut into at most 32 callbacks, run by a manager.
//
// A job lives on the stack of the function that runs it, and its manager keeps no list. It goes from idle
// through running to complete. Callbacks of one job may run at the same time, so they are const and write
// only what they share on purpose. After stall returns, all their effects are visible to the caller.
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

// A half-open range of things for one callback.
struct WorkItems {
    unsigned m_begin = 0;
    unsigned m_end = 0;
};

enum JobState : unsigned { kJobStateIdle = 0, kJobStateRunning = 1, kJobStateComplete = 2 };

class QOR_TEXSMITH_API Job {
public:
    static constexpr int kMaxCallbacks = 32;

    Job(const Job&) = delete;
    Job& operator=(const Job&) = delete;
    // Reports when the job is still running, and waits for a pool that still runs it: stall first.
    virtual ~Job() noexcept(false);

    int getCallbacks() const { return m_callbacks; }
    const char* getName() const { return m_name; }
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
    void setName(const char* name) { m_name = name; }
    bool isAborted() const; // the caller's abort word is set

private:
    friend class JobManager;
    friend class JobCallback;
    friend class SerialJobManager;
    friend class ThreadpoolJobManager;

    virtual Error doCallback(unsigned callbackId) const = 0;
    // Runs once, on the thread of the last finisher, and only if every callback succeeded.
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

// All operations report a null job. A job that did not succeed whole gives kErrorFailed, whatever the
// callback's own code was.
class QOR_TEXSMITH_API JobManager {
public:
    virtual ~JobManager() = default;
    Error submit(const Job* job);
    Error stall(const Job* job); // once per submission
    // Everything submitted so far. Not from inside a callback. The jobs must not be stalled on again.
    Error stall();
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

// Runs callbacks on one process-wide pool, made on first use and never destroyed. An exception or a fault of
// the operating system on a pool thread ends that callback, which counts as failed.
class QOR_TEXSMITH_API ThreadpoolJobManager : public JobManager {
private:
    static void runOnPool(void* job);
    Error doSubmit(const Job* job) override;
    Error doStall() override;
    Error doStall(const Job* job) override;
};

// Copies `workItems` bytes on the manager of `configuration`. Reports null arguments.
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
