// The pool of threads: the thread pool of Windows, with the order of effects that jobs rely on.

#include "platform/platform.h"
#include "platform/windows/win32.h"

#include <atomic>
#include <new>

namespace qor::Texsmith::Platform {

namespace {

// A cleanup group, and how many threads are in a call of the system with a work object that belongs to it.
struct Group {
    PTP_CLEANUP_GROUP m_group;
    unsigned m_users;
};

} // namespace

// A work object of the system and its runs. Each callback that the system owes takes as many runs as are
// left, so that there may be none for a later one; and a waiting thread of the pool takes runs itself: the
// system does not make threads without end, and were all of them to wait, nobody else would.
struct PoolWork {
    void (*m_run)(void* context);
    void* m_context;
    PTP_WORK m_work; // null, as the group, once waitForAllWork has given the group up
    Group* m_group;
    PoolWork* m_next; // among the members of the present group
    PoolWork* m_previous;
    CONDITION_VARIABLE m_returned;
    std::atomic<unsigned> m_claimable;   // runs that no thread has taken
    std::atomic<unsigned> m_outstanding; // runs that have not returned; reaches 0 under the lock only
    std::atomic<unsigned> m_references;  // the owner's, and one for each callback
};

namespace {

// One for the process; never destroyed, as its threads may outlive every static destructor.
struct Pool {
    TP_CALLBACK_ENVIRON m_environment;
    PTP_POOL m_pool;
    SRWLOCK m_lock; // of everything here, and in every PoolWork and Group
    CONDITION_VARIABLE m_userLeft;
    Group* m_group;
    PoolWork* m_members;
};

constinit Pool s_pool = {};
thread_local bool t_isPoolThread = false;

class Lock {
public:
    Lock() { AcquireSRWLockExclusive(&s_pool.m_lock); }
    ~Lock() { ReleaseSRWLockExclusive(&s_pool.m_lock); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

    void sleep(CONDITION_VARIABLE* condition) {
        SleepConditionVariableSRW(condition, &s_pool.m_lock, INFINITE, 0);
    }
};

Group* makeGroup() {
    const PTP_CLEANUP_GROUP group = CreateThreadpoolCleanupGroup();
    return group != nullptr ? new (std::nothrow) Group{group, 0} : nullptr;
}

void enterGroup(Group* group) {
    s_pool.m_group = group;
    s_pool.m_members = nullptr;
    SetThreadpoolCallbackCleanupGroup(&s_pool.m_environment, group->m_group, nullptr);
}

bool makePool() {
    s_pool.m_pool = CreateThreadpool(nullptr);
    Group* const group = makeGroup();
    if (s_pool.m_pool == nullptr || group == nullptr) {
        return false;
    }
    InitializeThreadpoolEnvironment(&s_pool.m_environment);
    SetThreadpoolCallbackPool(&s_pool.m_environment, s_pool.m_pool);
    enterGroup(group);
    return true;
}

void release(PoolWork* work) {
    if (work->m_references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        delete work;
    }
}

bool claimRun(PoolWork* work) {
    unsigned left = work->m_claimable.load(std::memory_order_acquire);
    while (left != 0 && !work->m_claimable.compare_exchange_weak(left, left - 1, std::memory_order_acq_rel)) {
    }
    return left != 0;
}

// Only those who return last need the lock.
void countReturned(PoolWork* work, unsigned runs) {
    unsigned left = work->m_outstanding.load(std::memory_order_relaxed);
    while (left > runs) {
        if (work->m_outstanding.compare_exchange_weak(left, left - runs, std::memory_order_acq_rel)) {
            return;
        }
    }
    const Lock lock;
    work->m_outstanding.fetch_sub(runs, std::memory_order_acq_rel);
    WakeAllConditionVariable(&work->m_returned);
}

void takeRuns(PoolWork* work) {
    unsigned runs = 0;
    for (; claimRun(work); ++runs) {
        work->m_run(work->m_context);
    }
    if (runs != 0) {
        countReturned(work, runs);
    }
}

void CALLBACK runWork(PTP_CALLBACK_INSTANCE, void* context, PTP_WORK) {
    t_isPoolThread = true;
    auto* const work = static_cast<PoolWork*>(context);
    takeRuns(work);
    release(work);
}

void link(PoolWork* work) {
    work->m_group = s_pool.m_group;
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

bool joinGroup(PoolWork* work) {
    work->m_work = CreateThreadpoolWork(&runWork, work, &s_pool.m_environment);
    if (work->m_work != nullptr) {
        link(work);
    }
    return work->m_work != nullptr;
}

// A work object in use by the system without our lock: its group is not given up meanwhile.
class Use {
public:
    explicit Use(PoolWork* work) : m_group(nullptr), m_work(nullptr) {
        const Lock lock;
        if (work->m_work != nullptr || joinGroup(work)) {
            m_group = work->m_group;
            m_work = work->m_work;
            ++m_group->m_users;
        }
    }
    ~Use() {
        if (m_group != nullptr) {
            const Lock lock;
            --m_group->m_users;
            WakeAllConditionVariable(&s_pool.m_userLeft);
        }
    }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;
    PTP_WORK get() const { return m_work; } // null when the system had none to give

private:
    Group* m_group;
    PTP_WORK m_work;
};

// Puts `next` in the place of the present group. The members of that one belong to it alone from now on.
Group* exchangeGroup(Group* next) {
    Lock lock;
    Group* const group = s_pool.m_group;
    for (PoolWork* work = s_pool.m_members; work != nullptr; work = work->m_next) {
        work->m_work = nullptr;
        work->m_group = nullptr;
    }
    enterGroup(next);
    while (group->m_users != 0) {
        lock.sleep(&s_pool.m_userLeft);
    }
    return group;
}

PoolWork* memberWithRuns() {
    PoolWork* work = s_pool.m_members;
    while (work != nullptr && work->m_outstanding == 0) {
        work = work->m_next;
    }
    return work;
}

// The members of the present group, one after another. Each may go as soon as its last run has returned.
void waitForMembers() {
    Lock lock;
    while (PoolWork* const work = memberWithRuns()) {
        ++work->m_references;
        while (work->m_outstanding != 0) {
            lock.sleep(&work->m_returned);
        }
        release(work);
    }
}

} // namespace

bool startPool() {
    static const bool s_started = makePool();
    return s_started;
}

Work createWork(void (*run)(void* context), void* context) {
    auto* const work =
        new (std::nothrow) PoolWork{run, context, nullptr, nullptr, nullptr, nullptr, {}, 0, 0, 1};
    if (work == nullptr || Use(work).get() == nullptr) {
        delete work;
        return nullptr;
    }
    return work;
}

void submitWork(Work work, unsigned runs) {
    const Use use(work);
    if (use.get() == nullptr) {
        return;
    }
    work->m_references += runs;
    work->m_outstanding += runs;
    work->m_claimable += runs;
    for (unsigned run = 0; run < runs; ++run) {
        SubmitThreadpoolWork(use.get());
    }
}

// From outside the pool the wait is the system's.
void waitForWork(Work work) {
    if (t_isPoolThread) {
        takeRuns(work);
    } else if (const Use use(work); use.get() != nullptr) {
        WaitForThreadpoolWorkCallbacks(use.get(), FALSE);
    }
    Lock lock;
    while (work->m_outstanding != 0) {
        lock.sleep(&work->m_returned);
    }
}

void closeWork(Work work) {
    {
        const Lock lock;
        if (work->m_work != nullptr) {
            unlink(work);
            CloseThreadpoolWork(work->m_work);
            work->m_work = nullptr;
        }
    }
    release(work);
}

// The group's members are fixed first, so that work made meanwhile, by the very runs that are waited for,
// keeps a work object of its own.
void waitForAllWork() {
    Group* const next = makeGroup();
    if (next == nullptr) {
        waitForMembers();
        return;
    }
    Group* const group = exchangeGroup(next);
    CloseThreadpoolCleanupGroupMembers(group->m_group, FALSE, nullptr);
    CloseThreadpoolCleanupGroup(group->m_group);
    delete group;
}

} // namespace qor::Texsmith::Platform
