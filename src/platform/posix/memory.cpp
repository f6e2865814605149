// Pages of memory, and their protection, by mmap.

#include "platform/platform.h"

#include <cerrno>
#include <sys/mman.h>

namespace qor::Texsmith::Platform {

void* allocatePages(std::uint64_t bytes) {
    void* pages = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return pages != MAP_FAILED ? pages : nullptr;
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
