// The default allocator: aligned, zeroed blocks of the heap; and the two that clients may replace.

#include "qor/texsmith/raw/allocator.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace qor::Texsmith::Raw {

namespace {

// The block's own address stands in the word before the aligned address.
void* alignInside(void* block, std::uintptr_t alignment) {
    const auto first = reinterpret_cast<std::uintptr_t>(block) + sizeof(void*);
    void** aligned = reinterpret_cast<void**>((first + alignment - 1) & ~(alignment - 1));
    aligned[-1] = block;
    return aligned;
}

} // namespace

// The zeroes come from calloc, which costs no page touches for large blocks.
void* defaultAllocate(void*, unsigned long long size, unsigned long long alignment) {
    const auto step = std::max<unsigned long long>(alignment, sizeof(void*));
    const unsigned long long extra = step - 1 + sizeof(void*);
    if (extra < step - 1 || size > SIZE_MAX - extra) {
        return nullptr;
    }
    void* block = std::calloc(static_cast<std::size_t>(size + extra), 1);
    return block != nullptr ? alignInside(block, static_cast<std::uintptr_t>(step)) : nullptr;
}

void defaultRelease(void*, void* p) {
    if (p != nullptr) {
        std::free(static_cast<void**>(p)[-1]);
    }
}

constinit const IAllocator g_mallocAllocator{nullptr, &defaultAllocate, &defaultRelease};

} // namespace qor::Texsmith::Raw

namespace qor::Texsmith {

constinit IAllocator g_systemAllocator{nullptr, &Raw::defaultAllocate, &Raw::defaultRelease};
constinit IAllocator g_gpuMappedAllocator{nullptr, &Raw::defaultAllocate, &Raw::defaultRelease};

void setToolsSystemAllocator(IAllocator allocator) { g_systemAllocator = allocator; }
void setToolsGpuMappedAllocator(IAllocator allocator) { g_gpuMappedAllocator = allocator; }

void* toolsSystemAllocate(unsigned size, unsigned alignment) {
    return g_systemAllocator.allocate(size, alignment);
}
void toolsSystemRelease(void* p) { g_systemAllocator.release(p); }

void* toolsGpuMappedAllocate(unsigned size, unsigned alignment) {
    return g_gpuMappedAllocator.allocate(size, alignment);
}
void toolsGpuMappedRelease(void* p) { g_gpuMappedAllocator.release(p); }

} // namespace qor::Texsmith
