// Pages of memory, and their protection, by VirtualAlloc.

#include "platform/platform.h"
#include "platform/windows/win32.h"

namespace qor::Texsmith::Platform {

void* allocatePages(std::uint64_t bytes) {
    return VirtualAlloc(nullptr, bytes, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
}

// The system releases the whole reservation, and wants a size of zero for that.
bool releasePages(void* pages, std::uint64_t) { return VirtualFree(pages, 0, MEM_RELEASE) != 0; }

bool protectPages(void* pages, std::uint64_t bytes, bool writable) {
    DWORD before = 0;
    return VirtualProtect(pages, bytes, writable ? PAGE_READWRITE : PAGE_READONLY, &before) != 0;
}

} // namespace qor::Texsmith::Platform
