// Pages of memory, and their protection, by mmap.

#include "platform/platform.h"

#include <cerrno>
#include <cstdint>
#include <sys/mman.h>
#include <unistd.h>

namespace qor::Texsmith::Platform {

namespace {

constexpr std::uint64_t kHugePage = 2 << 20;

void* mapPages(std::uint64_t bytes) {
    void* pages = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return pages != MAP_FAILED ? pages : nullptr;
}

// Gives back what lies before the first huge page and behind `bytes` from there on.
void* trimToHugePage(void* pages, std::uint64_t mapped, std::uint64_t bytes) {
    auto* const begin = static_cast<std::uint8_t*>(pages);
    const std::uint64_t pageSize = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    const std::uint64_t head = (kHugePage - reinterpret_cast<std::uintptr_t>(begin) % kHugePage) % kHugePage;
    const std::uint64_t end = head + (bytes + pageSize - 1) / pageSize * pageSize;
    if (head != 0) {
        munmap(begin, head);
    }
    if (end < mapped) {
        munmap(begin + end, mapped - end);
    }
    return begin + head;
}

// Most of the time that it takes to fill a large picture goes into its first touch, page by page. A huge page
// is one touch; what the system has none for stays in small ones.
void* mapHugePages(std::uint64_t bytes) {
#if defined(MADV_HUGEPAGE)
    if (bytes >= 2 * kHugePage && bytes < UINT64_MAX - kHugePage) {
        if (void* const mapped = mapPages(bytes + kHugePage)) {
            void* const pages = trimToHugePage(mapped, bytes + kHugePage, bytes);
            madvise(pages, bytes, MADV_HUGEPAGE);
            return pages;
        }
    }
#endif
    return nullptr;
}

} // namespace

void* allocatePages(std::uint64_t bytes) {
    void* const huge = mapHugePages(bytes);
    return huge != nullptr ? huge : mapPages(bytes);
}

bool releasePages(void* pages, std::uint64_t bytes) { return munmap(pages, bytes) == 0; }

bool protectPages(void* pages, std::uint64_t bytes, bool writable) {
    if (pages == nullptr || bytes == 0) {
        errno = EINVAL; // the system would take it for success
        return false;
    }
    return mprotect(pages, bytes, writable ? PROT_READ | PROT_WRITE : PROT_READ) == 0;
}

} // namespace qor::Texsmith::Platform
