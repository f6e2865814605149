// A pool of threads for the whole process, with a queue of work that is run several times.

#include "platform/platform.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <new>
#include <pthread.h>
#include <system_error>
#include <thread>

namespace qor::Texsmith::Platform {

namespace {
class Pool;

// The present pool; null before it is first asked for, and again in a child of fork, which has none of its
// parent's threads. Leaked on purpose: its threads run until the process ends, past every static destructor.
constinit std::atomic<Pool*> g_pool{nullptr};

} // namespace

// Referred to by its owner, by the queue while it stands there, and by every thread that runs it.
struct PoolWork {
    PoolWork(Pool* pool, void (*run)(void*), void* context) : m_pool(pool), m_run(run), m_context(context) {}

    Pool* const m_pool;
    void (*const m_run)(void* context);
    void* const m_context;
    std::atomic<unsigned> m_references{1};
    std::atomic<unsigned> m_claimable{0}; // runs that no thread has taken; grows under the pool's mutex only

    std::atomic<std::uint64_t> m_outstanding{0}; // runs that have not returned; changes under the mutex only

    // Under the pool's mutex.
    unsigned m_waiters = 0;
    bool m_isQueued = false;
    PoolWork* m_next = nullptr;
    std::condition_variable m_changed; // all runs have returned, or there are new ones to take
};

namespace {

// About the time that the system needs to wake a thread.
constexpr int kSpins = 50;

using Lock = std::unique_lock<std::mutex>;

// A short wait without the mutex, to go before a long one in the system: a job of small runs is over sooner
// than a thread can be put to sleep and woken.
template <class Ready> void spin(Lock& lock, Ready ready) {
    lock.unlock();
    for (int i = 0; i < kSpins && !ready(); ++i) {
        std::this_thread::yield();
    }
    lock.lock();
}

void retain(Work work) { work->m_references.fetch_add(1, std::memory_order_relaxed); }

void release(Work work) {
    if (work->m_references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        delete work;
    }
}

bool claimRun(Work work) {
    unsigned left = work->m_claimable.load(std::memory_order_acquire);
    while (left != 0 && !work->m_claimable.compare_exchange_weak(left, left - 1, std::memory_order_acq_rel)) {
    }
    return left != 0;
}

// Threads take runs without the mutex and count the whole batch as returned under it, so that a job of many
// small runs costs one lock for each thread. The owner may free what the runs touch once it has seen the
// count at zero.
class Pool {
public:
    void start(unsigned threads);
    bool hasThreads() const { return m_threads != 0; }
    // Around a fork, so that the child finds the mutex in order.
    void lock() { m_mutex.lock(); }
    void unlock() { m_mutex.unlock(); }
    void submit(Work work, unsigned runs);
    void wait(Work work);
    void waitForAll();

private:
    bool startThread();
    void serve();
    Work nextWork(Lock& lock);
    Work frontOfQueue();
    void enqueue(Work work);
    void dequeue(Work work);
    void takeRuns(Work work, Lock& lock);
    void countReturned(Work work, unsigned runs);

    std::atomic<unsigned> m_threads{0};
    std::mutex m_mutex;
    std::condition_variable m_submitted;
    std::condition_variable m_allReturned;
    std::atomic<Work> m_first{nullptr}; // changes under the mutex only
    Work m_last = nullptr;
    unsigned m_idle = 0;
    std::uint64_t m_outstanding = 0;
};

// Fewer threads will do.
void Pool::start(unsigned threads) {
    while (m_threads < threads && startThread()) {
    }
}

bool Pool::startThread() {
    try {
        ++m_threads;
        std::thread([this] { serve(); }).detach();
        return true;
    } catch (const std::system_error& error) {
        errno = error.code().value();
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
    }
    --m_threads;
    return false;
}

void Pool::submit(Work work, unsigned runs) {
    if (runs == 0) {
        return;
    }
    unsigned woken = 0;
    {
        const Lock lock(m_mutex);
        work->m_outstanding += runs;
        m_outstanding += runs;
        work->m_claimable.fetch_add(runs, std::memory_order_release);
        enqueue(work);
        if (work->m_waiters != 0) {
            work->m_changed.notify_all();
        }
        woken = std::min(runs, m_idle);
    }
    for (; woken != 0; --woken) {
        m_submitted.notify_one();
    }
}

// Whoever waits takes runs of that work: it would have to wait for a processor otherwise, and were all
// threads of the pool to wait, nobody else would take them. In a child of fork the other threads are gone.
void Pool::wait(Work work) {
    Lock lock(m_mutex);
    bool hasSpun = false;
    while (work->m_outstanding != 0 && this == g_pool) {
        if (work->m_claimable != 0) {
            takeRuns(work, lock);
        } else if (!hasSpun) {
            spin(lock, [work] { return work->m_outstanding == 0; });
            hasSpun = true;
        } else {
            ++work->m_waiters;
            work->m_changed.wait(lock);
            --work->m_waiters;
        }
    }
    dequeue(work); // while the threads are busy elsewhere, nobody else would
}

void Pool::waitForAll() {
    Lock lock(m_mutex);
    m_allReturned.wait(lock, [this] { return m_outstanding == 0; });
}

void Pool::serve() {
    struct Replacement { // for a thread that a run ends, by cancellation or pthread_exit
        Pool& m_pool;
        ~Replacement() {
            --m_pool.m_threads;
            m_pool.startThread();
        }
    } const replacement{*this};
    Lock lock(m_mutex);
    for (;;) {
        takeRuns(nextWork(lock), lock);
    }
}

Work Pool::nextWork(Lock& lock) {
    if (frontOfQueue() == nullptr) {
        spin(lock, [this] { return m_first != nullptr; });
    }
    while (frontOfQueue() == nullptr) {
        ++m_idle;
        m_submitted.wait(lock);
        --m_idle;
    }
    return m_first;
}

// The first work with runs to take; drops those before it.
Work Pool::frontOfQueue() {
    while (m_first != nullptr && m_first.load()->m_claimable == 0) {
        dequeue(m_first);
    }
    return m_first;
}

void Pool::enqueue(Work work) {
    if (work->m_isQueued) {
        return;
    }
    retain(work);
    work->m_isQueued = true;
    if (m_first != nullptr) {
        m_last->m_next = work;
    } else {
        m_first = work;
    }
    m_last = work;
}

void Pool::dequeue(Work work) {
    if (!work->m_isQueued) {
        return;
    }
    Work before = nullptr;
    for (Work other = m_first; other != work; other = other->m_next) {
        before = other;
    }
    if (before != nullptr) {
        before->m_next = work->m_next;
    } else {
        m_first = work->m_next;
    }
    m_last = m_last == work ? before : m_last;
    work->m_next = nullptr;
    work->m_isQueued = false;
    release(work);
}

void Pool::takeRuns(Work work, Lock& lock) {
    struct Batch { // returns also when a run ends the thread
        Pool& m_pool;
        Work m_work;
        Lock& m_lock;
        unsigned m_runs;
        ~Batch() {
            m_lock.lock();
            m_pool.countReturned(m_work, m_runs);
            release(m_work);
        }
    } batch{*this, work, lock, 0};
    retain(work);
    lock.unlock();
    while (claimRun(work)) {
        ++batch.m_runs;
        work->m_run(work->m_context);
    }
}

void Pool::countReturned(Work work, unsigned runs) {
    work->m_outstanding -= runs;
    m_outstanding -= runs;
    if (work->m_outstanding == 0 && work->m_waiters != 0) {
        work->m_changed.notify_all();
    }
    if (m_outstanding == 0) {
        m_allReturned.notify_all();
    }
}

constinit std::mutex g_makingPool;

void beforeFork() {
    g_makingPool.lock();
    if (Pool* const pool = g_pool) {
        pool->lock();
    }
}

void afterForkInParent() {
    if (Pool* const pool = g_pool) {
        pool->unlock();
    }
    g_makingPool.unlock();
}

// The thread that forked may belong to the old pool, and goes on to serve it.
void afterForkInChild() {
    if (Pool* const pool = g_pool.exchange(nullptr)) {
        pool->unlock();
    }
    g_makingPool.unlock();
}

Pool* makePool() {
    const std::lock_guard lock(g_makingPool);
    static const int s_registered = pthread_atfork(&beforeFork, &afterForkInParent, &afterForkInChild);
    static_cast<void>(s_registered);
    if (g_pool == nullptr) {
        Pool* const pool = new (std::nothrow) Pool;
        if (pool != nullptr) {
            pool->start(std::max(2u, std::thread::hardware_concurrency()) - 1); // and the one that waits
        }
        g_pool = pool;
    }
    return g_pool;
}

Pool* thePool() {
    Pool* const pool = g_pool;
    return pool != nullptr ? pool : makePool();
}

} // namespace

bool startPool() {
    const Pool* const pool = thePool();
    return pool != nullptr && pool->hasThreads();
}

Work createWork(void (*run)(void* context), void* context) {
    return startPool() ? new (std::nothrow) PoolWork(thePool(), run, context) : nullptr;
}

void submitWork(Work work, unsigned runs) { work->m_pool->submit(work, runs); }

void waitForWork(Work work) { work->m_pool->wait(work); }

void closeWork(Work work) { release(work); }

void waitForAllWork() {
    if (Pool* const pool = g_pool) {
        pool->waitForAll();
    }
}

} // namespace qor::Texsmith::Platform
