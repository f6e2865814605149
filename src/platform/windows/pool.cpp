// The pool of threads: the thread pool of Windows, with the order of effects that jobs rely on.

#include "platform/platform.h"
#include "platform/windows/win32.h"

#include <algorithm>
#include <atomic>
#include <new>

namespace qor::Texsmith::Platform {

namespace {

// About the time that the system needs to wake a thread.
constexpr int kSpins = 50;

struct Group;

// A work object of the system, as long as its group is the present one, or is being closed. Its callbacks
// refer to it; it goes when there can be none left.
struct Member {
    PoolWork* m_owner; // kept alive by this
    PTP_WORK m_work;
    Group* m_group;
    Member* m_next;
    Member* m_previous;
};

// A cleanup group, its members, and how many threads are in a call of the system with one of these.
struct Group {
    PTP_CLEANUP_GROUP m_group;
    Member* m_members;
    unsigned m_users;
};

} // namespace

// What is run, and its runs. Each callback that the system owes takes as many runs as are left, and so does
// whoever waits, so that there may be none for a later one: were all threads of the pool to wait, nobody else
// would take them.
struct PoolWork {
    void (*m_run)(void* context);
    void* m_context;
    Member* m_member;                    // under the lock; null once waitForAllWork has given its group up
    CONDITION_VARIABLE m_changed;        // all runs have returned, or there are new ones to take
    std::atomic<unsigned> m_claimable;   // runs that no thread has taken
    std::atomic<unsigned> m_outstanding; // runs that have not returned; reaches 0 under the lock only
    std::atomic<unsigned> m_references;  // the owner's, the members', those of threads that wait for all
};

namespace {

// One for the process; never destroyed, as its threads may outlive every static destructor.
struct Pool {
    TP_CALLBACK_ENVIRON m_environment;
    PTP_POOL m_pool;
    SRWLOCK m_lock; // of everything here, and in every Member and Group
    CONDITION_VARIABLE m_userLeft;
    Group* m_group;
};

constinit Pool s_pool = {};

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
    return group != nullptr ? new (std::nothrow) Group{group, nullptr, 0} : nullptr;
}

void enterGroup(Group* group) {
    s_pool.m_group = group;
    SetThreadpoolCallbackCleanupGroup(&s_pool.m_environment, group->m_group, nullptr);
}

// A thread fewer than there are processors, since whoever waits works too.
DWORD threadsWanted() {
    SYSTEM_INFO system = {};
    GetSystemInfo(&system);
    return std::max<DWORD>(system.dwNumberOfProcessors, 2) - 1;
}

bool makePool() {
    s_pool.m_pool = CreateThreadpool(nullptr);
    Group* const group = makeGroup();
    if (s_pool.m_pool == nullptr || group == nullptr) {
        return false;
    }
    SetThreadpoolThreadMaximum(s_pool.m_pool, threadsWanted());
    InitializeThreadpoolEnvironment(&s_pool.m_environment);
    SetThreadpoolCallbackPool(&s_pool.m_environment, s_pool.m_pool);
    enterGroup(group);
    return true;
}

void retain(PoolWork* work) { work->m_references.fetch_add(1, std::memory_order_relaxed); }

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

// Only those who return last need the lock. The owner may let the work go as soon as that is released.
void countReturned(PoolWork* work, unsigned runs) {
    unsigned left = work->m_outstanding.load(std::memory_order_relaxed);
    while (left > runs) {
        if (work->m_outstanding.compare_exchange_weak(left, left - runs, std::memory_order_acq_rel)) {
            return;
        }
    }
    const Lock lock;
    work->m_outstanding.fetch_sub(runs, std::memory_order_acq_rel);
    WakeAllConditionVariable(&work->m_changed);
}

void takeRuns(PoolWork* work) {
    if (work->m_claimable.load(std::memory_order_relaxed) == 0) {
        return;
    }
    unsigned runs = 0;
    for (; claimRun(work); ++runs) {
        work->m_run(work->m_context);
    }
    if (runs != 0) {
        countReturned(work, runs);
    }
}

void CALLBACK runMember(PTP_CALLBACK_INSTANCE, void* member, PTP_WORK) {
    takeRuns(static_cast<Member*>(member)->m_owner);
}

void link(Member* member) {
    Member*& first = member->m_group->m_members;
    member->m_next = first;
    if (first != nullptr) {
        first->m_previous = member;
    }
    first = member;
}

void unlink(Member* member) {
    (member->m_previous != nullptr ? member->m_previous->m_next : member->m_group->m_members) =
        member->m_next;
    if (member->m_next != nullptr) {
        member->m_next->m_previous = member->m_previous;
    }
}

// False when the system has no work object to give, or there is no memory.
bool joinGroup(PoolWork* work) {
    auto* const member = new (std::nothrow) Member{work, nullptr, s_pool.m_group, nullptr, nullptr};
    if (member == nullptr) {
        return false;
    }
    member->m_work = CreateThreadpoolWork(&runMember, member, &s_pool.m_environment);
    if (member->m_work == nullptr) {
        delete member;
        return false;
    }
    link(member);
    retain(work);
    work->m_member = member;
    return true;
}

// A member in use by the system without our lock: its group is not closed meanwhile. Made under the lock.
class Use {
public:
    explicit Use(Member* member) : m_member(member), m_group(member != nullptr ? member->m_group : nullptr) {
        if (m_group != nullptr) {
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
    Member* get() const { return m_member; } // null when there is none

private:
    Member* m_member;
    Group* m_group; // which the member may leave
};

// The member of `work`, made if need be, with `runs` more to take.
Use addRuns(PoolWork* work, unsigned runs) {
    const Lock lock;
    if (work->m_member != nullptr || joinGroup(work)) {
        work->m_outstanding += runs;
        work->m_claimable += runs;
        WakeAllConditionVariable(&work->m_changed);
    }
    return Use(work->m_member);
}

// The member of `work`, which is neither its nor the group's any more.
Use takeMember(PoolWork* work) {
    const Lock lock;
    Member* const member = work->m_member;
    if (member != nullptr) {
        unlink(member);
        work->m_member = nullptr;
    }
    return Use(member);
}

// Puts `next` in the place of the present group. The members of that one belong to it alone from now on.
Group* exchangeGroup(Group* next) {
    Lock lock;
    Group* const group = s_pool.m_group;
    for (Member* member = group->m_members; member != nullptr; member = member->m_next) {
        member->m_owner->m_member = nullptr;
    }
    enterGroup(next);
    while (group->m_users != 0) {
        lock.sleep(&s_pool.m_userLeft);
    }
    return group;
}

void deleteMember(Member* member) {
    release(member->m_owner);
    delete member;
}

PoolWork* workWithRuns() {
    Member* member = s_pool.m_group->m_members;
    while (member != nullptr && member->m_owner->m_outstanding == 0) {
        member = member->m_next;
    }
    return member != nullptr ? member->m_owner : nullptr;
}

void sleepUntilReturned(PoolWork* work, Lock& lock) {
    while (work->m_outstanding != 0) {
        lock.sleep(&work->m_changed);
    }
}

// The members of the present group, one after another. Each may go as soon as its last run has returned.
void waitForMembers() {
    Lock lock;
    while (PoolWork* const work = workWithRuns()) {
        retain(work);
        sleepUntilReturned(work, lock);
        release(work);
    }
}

// Runs that a waiting thread has taken are none of the system's callbacks.
void waitForTakenRuns(const Member* member) {
    Lock lock;
    sleepUntilReturned(member->m_owner, lock);
}

// Until all runs have returned, or there are new ones to take, which is true then.
bool sleepUntilChanged(PoolWork* work) {
    Lock lock;
    while (work->m_outstanding != 0 && work->m_claimable == 0) {
        lock.sleep(&work->m_changed);
    }
    return work->m_outstanding != 0;
}

} // namespace

bool startPool() {
    static const bool s_started = makePool();
    return s_started;
}

Work createWork(void (*run)(void* context), void* context) {
    auto* const work = new (std::nothrow) PoolWork{run, context, nullptr, {}, 0, 0, 1};
    if (work == nullptr || addRuns(work, 0).get() == nullptr) {
        delete work;
        return nullptr;
    }
    return work;
}

void submitWork(Work work, unsigned runs) {
    const Use use = addRuns(work, runs);
    for (unsigned run = 0; use.get() != nullptr && run < runs; ++run) {
        SubmitThreadpoolWork(use.get()->m_work);
    }
}

void waitForWork(Work work) {
    do {
        takeRuns(work);
        for (int i = 0; i < kSpins && work->m_outstanding != 0; ++i) {
            SwitchToThread();
        }
    } while (sleepUntilChanged(work));
}

// The wait before has seen the last run return. Callbacks that have not begun would find no run: they are
// taken back, as more of them could pile up than the pool gets done.
void closeWork(Work work) {
    if (const Use use = takeMember(work); use.get() != nullptr) {
        WaitForThreadpoolWorkCallbacks(use.get()->m_work, TRUE);
        CloseThreadpoolWork(use.get()->m_work);
        deleteMember(use.get());
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
    while (Member* const member = group->m_members) {
        waitForTakenRuns(member);
        group->m_members = member->m_next;
        deleteMember(member);
    }
    delete group;
}

} // namespace qor::Texsmith::Platform
