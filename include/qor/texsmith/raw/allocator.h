// IAllocator: where working memory comes from.
//
// A client that keeps account of memory, or has a heap of its own, gives two functions and a context:
//
//     void* allocate(void* context, unsigned long long size, unsigned long long alignment);
//     void release(void* context, void* p);
//     configuration.m_allocator = {&heap, &allocate, &release};
//
// `allocate` returns `size` bytes at a multiple of `alignment`, a power of two, or null when it has none: the
// call that asked then fails with one report. Sizes are in bytes and may be 0. Both functions are called from
// the threads that run the library's jobs, at the same time, and must be ready for it. Whether new memory is
// zeroed is up to them; the library relies on it nowhere. They outlive everything allocated through them.
#pragma once

#include "qor/texsmith/export.h"

namespace qor::Texsmith::Raw {

// A value of three words, copied freely. Both functions must be set.
struct IAllocator {
    using Allocate = void* (*)(void* context, unsigned long long size, unsigned long long alignment);
    using Release = void (*)(void* context, void* p);

    void* m_context;
    Allocate m_allocate;
    Release m_release;

    // `size` bytes at a multiple of `alignment` bytes (a power of two).
    void* allocate(unsigned long long size, unsigned long long alignment) const {
        return m_allocate(m_context, size, alignment);
    }

    // Does nothing for null, and does not call the client's function then.
    void release(void* p) const {
        if (p != nullptr) {
            m_release(m_context, p);
        }
    }
};

// The library's own pair: heap memory, filled with zero bytes; null when there is none. `context` is not
// used. Safe from any thread. What defaultAllocate gave goes back through defaultRelease only; null does
// nothing.
QOR_TEXSMITH_API void* defaultAllocate(void* context, unsigned long long size, unsigned long long alignment);
QOR_TEXSMITH_API void defaultRelease(void* context, void* p);

// Null context, defaultAllocate, defaultRelease. Constant-initialised.
QOR_TEXSMITH_API extern const IAllocator g_mallocAllocator;

} // namespace qor::Texsmith::Raw

namespace qor::Texsmith {

using Raw::IAllocator;

// Two process-wide allocators, g_mallocAllocator at first, that a client may replace at start-up, before
// other threads use them. The classic interface takes pixels, encoded pictures and files from the first; the
// rest of the library takes nothing from them.
QOR_TEXSMITH_API extern IAllocator g_systemAllocator;
QOR_TEXSMITH_API extern IAllocator g_gpuMappedAllocator;

// Replace the one and the other, which is copied.
QOR_TEXSMITH_API void setToolsSystemAllocator(IAllocator allocator);
QOR_TEXSMITH_API void setToolsGpuMappedAllocator(IAllocator allocator);
// Memory from the one or the other: `size` and `alignment` in bytes, null when there is none.
QOR_TEXSMITH_API void* toolsSystemAllocate(unsigned size, unsigned alignment);
QOR_TEXSMITH_API void toolsSystemRelease(void* p);
QOR_TEXSMITH_API void* toolsGpuMappedAllocate(unsigned size, unsigned alignment);
QOR_TEXSMITH_API void toolsGpuMappedRelease(void* p);

} // namespace qor::Texsmith
