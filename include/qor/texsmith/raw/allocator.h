// IAllocator: where working memory comes from.
#pragma once

#include "qor/texsmith/export.h"

namespace qor::Texsmith::Raw {

// A value of three words, copied freely. Thread safety is that of the two functions.
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

// Heap memory, filled with zero bytes. `context` is not used. Safe from any thread.
QOR_TEXSMITH_API void* defaultAllocate(void* context, unsigned long long size, unsigned long long alignment);
QOR_TEXSMITH_API void defaultRelease(void* context, void* p);

// Null context, defaultAllocate, defaultRelease. Constant-initialised.
QOR_TEXSMITH_API extern const IAllocator g_mallocAllocator;

} // namespace qor::Texsmith::Raw

namespace qor::Texsmith {

using Raw::IAllocator;

// Two process-wide allocators that a client may replace at start-up, before other threads use them.
QOR_TEXSMITH_API extern IAllocator g_systemAllocator;
QOR_TEXSMITH_API extern IAllocator g_gpuMappedAllocator;

QOR_TEXSMITH_API void setToolsSystemAllocator(IAllocator allocator);
QOR_TEXSMITH_API void setToolsGpuMappedAllocator(IAllocator allocator);
QOR_TEXSMITH_API void* toolsSystemAllocate(unsigned size, unsigned alignment);
QOR_TEXSMITH_API void toolsSystemRelease(void* p);
QOR_TEXSMITH_API void* toolsGpuMappedAllocate(unsigned size, unsigned alignment);
QOR_TEXSMITH_API void toolsGpuMappedRelease(void* p);

} // namespace qor::Texsmith
