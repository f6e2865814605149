#include "platform/platform.h"
#include "platform/windows/win32.h"

#include <atomic>

namespace qor::Texsmith::Platform {

// A work object of the system, and what must outlive it. Runs are counted here, since the cleanup group may
// take the work object away while somebody waits for its runs.
struct PoolWork {
    void (*m_run)(void* context);
    void* m_context;
    PTP_WORK m_work;              // null once the cleanup group has taken it
    std::atomic<unsigned> m_runs; // submitted and not returned; reaches 0 under the lock only
    bool m_closed;                // the last run deletes this
    CONDITION_VARIABLE m_returned;
    PoolWork* m_next; // among the members of the present group
    PoolWork* m_previous;
};

namespace {

// One for the process; never destroyed, as its threads may outlive every static destructor.
struct Pool {
    TP_CALLBACK_ENVIRON m_environment;
    PTP_POOL m_pool;
    PTP_CLEANUP_GROUP m_group;
    SRWLOCK m_lock; // of everything here and in every PoolWork
    PoolWork* m_members;
};

constinit Pool s_pool = {};

class Lock {
public:
    Lock() { AcquireSRWLockExclusive(&s_pool.m_lock); }
    ~Lock() { ReleaseSRWLockExclusive(&s_pool.m_lock); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
};

bool makePool() {
    s_pool.m_pool = CreateThreadpool(nullptr);
    s_pool.m_group = CreateThreadpoolCleanupGroup();
    if (s_pool.m_pool == nullptr || s_pool.m_group == nullptr) {
        return false;
    }
    InitializeThreadpoolEnvironment(&s_pool.m_environment);
    SetThreadpoolCallbackPool(&s_pool.m_environment, s_pool.m_pool);
    SetThreadpoolCallbackCleanupGroup(&s_pool.m_environment, s_pool.m_group, nullptr);
    return true;
}

void link(PoolWork* work) {
    work->m_previous = nullptr;
    work->m_next = s_pool.m_members;
    if (work->m_next != nullptr) {
        work->m_next->m_previous = work;
    }
    s_pool.m_members = work;
}

void unlink(PoolWork* work) {
    (work->m_previous != nullptr ? work->m_previous->m_next : s_pool.m_members) = work->m_next;
    if (work->m_next != nullptr) {
        work->m_next->m_previous = work->m_previous;
    }
}

// True when other runs are left, and the count is down. The lock is for the last run alone: runs are short,
// and submitWork holds it for as long as it submits.
bool countUnlessLast(PoolWork* work) {
    unsigned runs = work->m_runs.load(std::memory_order_relaxed);
    while (runs > 1) {
        if (work->m_runs.compare_exchange_weak(runs, runs - 1, std::memory_order_acq_rel)) {
            return true;
        }
    }
    return false;
}

// Nothing of the work is touched after the count is down and the lock is free.
void countReturn(PoolWork* work) {
    if (countUnlessLast(work)) {
        return;
    }
    bool unused = false;
    {
        const Lock lock;
        const bool last = work->m_runs.fetch_sub(1, std::memory_order_acq_rel) == 1;
        unused = last && work->m_closed;
        WakeAllConditionVariable(&work->m_returned);
    }
    if (unused) {
        delete work;
    }
}

void CALLBACK runWork(PTP_CALLBACK_INSTANCE, void* context, PTP_WORK) {
    auto* const work = static_cast<PoolWork*>(context);
    work->m_run(work->m_context);
    countReturn(work);
}

bool joinGroup(PoolWork* work) {
    work->m_work = CreateThreadpoolWork(&runWork, work, &s_pool.m_environment);
    if (work->m_work != nullptr) {
        link(work);
    }
    return work->m_work != nullptr;
}

// Gives every member to the group it is in and puts an empty group in its place.
PTP_CLEANUP_GROUP detachGroup(PTP_CLEANUP_GROUP next) {
    const Lock lock;
    for (PoolWork* work = s_pool.m_members; work != nullptr; work = work->m_next) {
        work->m_work = nullptr;
    }
    s_pool.m_members = nullptr;
    const PTP_CLEANUP_GROUP group = s_pool.m_group;
    s_pool.m_group = next;
    SetThreadpoolCallbackCleanupGroup(&s_pool.m_environment, next, nullptr);
    return group;
}

} // namespace

bool startPool() {
    static const bool s_started = makePool();
    return s_started;
}

Work createWork(void (*run)(void* context), void* context) {
    auto* const work =
        new PoolWork{run, context, nullptr, 0, false, CONDITION_VARIABLE_INIT, nullptr, nullptr};
    const Lock lock;
    if (!joinGroup(work)) {
        delete work;
        return nullptr;
    }
    return work;
}

void submitWork(Work work, unsigned runs) {
    const Lock lock;
    if (work->m_work == nullptr && !joinGroup(work)) {
        return;
    }
    work->m_runs += runs;
    for (unsigned run = 0; run < runs; ++run) {
        SubmitThreadpoolWork(work->m_work);
    }
}

// With no run left to count, the callbacks only have to leave this library's code; that needs no lock of
// ours, so waiting for it inside the lock is brief, and keeps the group from taking the work object
// meanwhile.
void waitForWork(Work work) {
    const Lock lock;
    while (work->m_runs != 0) {
        SleepConditionVariableSRW(&work->m_returned, &s_pool.m_lock, INFINITE, 0);
    }
    if (work->m_work != nullptr) {
        WaitForThreadpoolWorkCallbacks(work->m_work, FALSE);
    }
}

void closeWork(Work work) {
    bool unused = false;
    {
        const Lock lock;
        if (work->m_work != nullptr) {
            unlink(work);
            CloseThreadpoolWork(work->m_work);
        }
        work->m_work = nullptr;
        work->m_closed = true;
        unused = work->m_runs == 0;
    }
    if (unused) {
        delete work;
    }
}

// The group's members are fixed first, so that work made meanwhile, by the very callbacks that are waited
// for, keeps a work object of its own.
void waitForAllWork() {
    const PTP_CLEANUP_GROUP next = CreateThreadpoolCleanupGroup();
    if (next == nullptr) {
        return;
    }
    const PTP_CLEANUP_GROUP group = detachGroup(next);
    CloseThreadpoolCleanupGroupMembers(group, FALSE, nullptr);
    CloseThreadpoolCleanupGroup(group);
}

} // namespace qor::Texsmith::Platform
