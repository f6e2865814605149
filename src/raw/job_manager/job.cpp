// Jobs: their counters and shares, the guard of one callback, copies and comparisons as jobs.

#include "platform/platform.h"
#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/job_manager.h"
#include "raw/frame/check.h"
#include "raw/frame/destructor_report.h"
#include "raw/frame/shared_word.h"
#include "raw/memory/check_copy.h"
#include "raw/memory/row_stores.h"

#include <algorithm>
#include <cstring>

namespace qor::Texsmith::Raw {

namespace {

constexpr char kSourcePath[] = "raw\\job_manager";
constexpr std::uint64_t kCompareChunk = 4096;
constexpr unsigned kNoCallbackIds = 0x80000000; // as a signed number, this and the next ones are negative

struct Share {
    std::uint64_t m_begin;
    std::uint64_t m_end;
};

// Ids at or above `callbacks` come from a job that was submitted twice: they get an empty share.
Share shareOut(unsigned callbackId, unsigned callbacks, std::uint64_t things) {
    const std::uint64_t id = callbackId;
    const std::uint64_t base = things / callbacks;
    const std::uint64_t extra = things % callbacks;
    const Share share{id * base + std::min(id, extra), (id + 1) * base + std::min(id + 1, extra)};
    check(share.m_begin <= share.m_end, kSourcePath, "*begin <= *end");
    check(share.m_end <= things, kSourcePath, "*end <= things");
    return {std::min(share.m_begin, things), std::min(share.m_end, things)};
}

// The region from `offset` on. A null region stays null, so that the copy can tell.
MemoryRegion skip(MemoryRegion region, unsigned offset) {
    if (region.begin != nullptr) {
        region.begin =
            reinterpret_cast<std::uint8_t*>(reinterpret_cast<std::uintptr_t>(region.begin) + offset);
    }
    return region;
}

} // namespace

Job::Job(unsigned callbacks) { init(nullptr, callbacks); }

Job::Job(Configuration* configuration, unsigned callbacks) { init(configuration, callbacks); }

// The derived class is gone already: runs to come get ids that call nothing, and those under way are waited
// for, whatever the report does.
Job::~Job() noexcept(false) {
    struct Release {
        const Job& m_job;
        ~Release() { m_job.releaseWork(); }
    } const release{*this};
    m_nextCallbackId.store(kNoCallbackIds, std::memory_order_relaxed);
    if (m_state.load(std::memory_order_acquire) == kJobStateRunning) {
        reportFromDestructor([] {
            toolsAssert(kSourcePath, __LINE__,
                        "This Job object can't safely go out of scope - a JobManager may still be using it. "
                        "Stall the Job or the JobManager before letting this Job go out of scope.");
        });
    }
}

void Job::init(Configuration* configuration, unsigned callbacks) {
    m_name = "unknown";
    unsigned count = kMaxCallbacks;
    if (configuration != nullptr && configuration->m_callbacksPerJob != 0) {
        count = configuration->m_callbacksPerJob;
    }
    if (callbacks != 0) {
        count = callbacks;
    }
    m_callbacks = static_cast<int>(std::clamp<unsigned>(count, 1, kMaxCallbacks));
    m_work = nullptr;
    m_abort = configuration != nullptr ? configuration->m_abort : nullptr;
    clearCounters();
}

void Job::clearCounters() {
    m_nextCallbackId.store(0, std::memory_order_relaxed);
    m_completed.store(0, std::memory_order_relaxed);
    m_succeeded.store(0, std::memory_order_relaxed);
    m_state.store(kJobStateIdle, std::memory_order_release);
}

void Job::reset() {
    if (m_state.load(std::memory_order_acquire) == kJobStateRunning) {
        toolsAssert(kSourcePath, __LINE__, "can't reset a job while it is still running.");
        return; // zeroed in flight, the counters would never reach their ends
    }
    releaseWork();
    clearCounters();
}

// Waits also when the job is complete: one that was submitted twice is so before its last run has returned.
void Job::releaseWork() const {
    if (m_work != nullptr) {
        const auto work = static_cast<Platform::Work>(m_work);
        Platform::waitForWork(work);
        Platform::closeWork(work);
        m_work = nullptr;
    }
}

// A fault in the epilogue leaves by a jump, past what would have done this.
void Job::completeIfAllReturned() const {
    if (allCallbacksCompleted()) {
        m_state.store(kJobStateComplete, std::memory_order_release);
    }
}

bool Job::allCallbacksCompleted() const {
    return m_completed.load(std::memory_order_acquire) == static_cast<unsigned>(m_callbacks);
}

bool Job::allCallbacksSucceeded() const {
    return m_succeeded.load(std::memory_order_acquire) == static_cast<unsigned>(m_callbacks);
}

bool Job::isAborted() const { return asksForAbort(m_abort); }

WorkItems Job::getWorkItems(unsigned callbackId, unsigned things) const {
    const Share share = shareOut(callbackId, static_cast<unsigned>(m_callbacks), things);
    return {static_cast<unsigned>(share.m_begin), static_cast<unsigned>(share.m_end)};
}

long Job::allocateCallbackId() const {
    return static_cast<long>(m_nextCallbackId.fetch_add(1, std::memory_order_relaxed));
}

void Job::handleResultOfCallback(long, Error result) const {
    const auto callbacks = static_cast<unsigned>(m_callbacks);
    if (result == kErrorNone) {
        m_succeeded.fetch_add(1, std::memory_order_acq_rel);
    }
    // The value that the increment returns names one last finisher; two could read the final counts.
    if (m_completed.fetch_add(1, std::memory_order_acq_rel) + 1 != callbacks) {
        return;
    }
    struct Completion {
        std::atomic<unsigned>& m_state;
        ~Completion() { m_state.store(kJobStateComplete, std::memory_order_release); }
    } completion{m_state}; // the epilogue may throw
    if (m_succeeded.load(std::memory_order_acquire) == callbacks) {
        epilogue();
    }
}

JobCallback::JobCallback(const Job* job) : m_job(job), m_callbackId(-1), m_result(kErrorFailed) {
    if (checkNotNull(job, kSourcePath, "job must not be NULL.")) {
        m_callbackId = static_cast<int>(job->allocateCallbackId());
    }
}

JobCallback::~JobCallback() noexcept(false) {
    if (m_job != nullptr) {
        m_job->handleResultOfCallback(m_callbackId, m_result);
    }
}

void JobCallback::Execute() {
    if (m_callbackId >= 0) {
        m_result = m_job->callback(static_cast<unsigned>(m_callbackId));
    }
}

ConstantWorkItemsJob::ConstantWorkItemsJob(unsigned workItems) : Job(workItems), m_workItems(workItems) {}

ConstantWorkItemsJob::ConstantWorkItemsJob(unsigned workItems, Configuration* configuration)
    : Job(configuration, workItems), m_workItems(workItems) {}

Error ConstantWorkItemsJob::doCallback(unsigned callbackId) const {
    return doWorkItemsCallback(getWorkItems(callbackId, m_workItems));
}

MemcpyJob::MemcpyJob(MemoryRegion destination, MemoryRegion source, unsigned workItems,
                     Configuration* configuration)
    : ConstantWorkItemsJob(workItems, configuration), m_destination(destination), m_source(source) {
    setName("MemcpyJob");
}

// Past the caches when the whole is larger than they are, which a share alone does not show.
Error MemcpyJob::doWorkItemsCallback(WorkItems items) const {
    const MemoryRegion destination = skip(m_destination, items.m_begin),
                       source = skip(m_source, items.m_begin);
    const unsigned long long bytes = checkCopy(destination, source, items.m_end - items.m_begin);
    copyRow(destination.begin, source.begin, static_cast<std::size_t>(bytes),
            storesFor(m_destination.length()));
    return kErrorNone;
}

// When b is the shorter one, the regions differ whatever their bytes are.
MemoryIsEqualJob::MemoryIsEqualJob(MemoryRegion a, MemoryRegion b, Configuration* configuration)
    : Job(configuration, 0), m_a(a), m_b(b), m_equal(a.length() <= b.length()) {
    setName("MemoryIsEqualJob");
}

Error MemoryIsEqualJob::doCallback(unsigned callbackId) const {
    const std::uint64_t length = std::min(m_a.length(), m_b.length());
    const Share share = shareOut(callbackId, static_cast<unsigned>(getCallbacks()), length);
    for (std::uint64_t position = share.m_begin; position < share.m_end; position += kCompareChunk) {
        if (!isEqual()) {
            return kErrorFailed;
        }
        const std::uint64_t bytes = std::min(kCompareChunk, share.m_end - position);
        if (std::memcmp(m_a.begin + position, m_b.begin + position, static_cast<std::size_t>(bytes)) != 0) {
            m_equal.store(false, std::memory_order_relaxed);
            return kErrorFailed;
        }
    }
    return kErrorNone;
}

} // namespace qor::Texsmith::Raw
