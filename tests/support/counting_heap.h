// An allocator that keeps what it was asked for, and refuses blocks above a limit or beyond a number.
#pragma once

#include "qor/texsmith/raw/allocator.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace TestSupport {

struct CountingHeap {
    std::vector<std::pair<unsigned long long, unsigned long long>> m_asked; // sizes and alignments
    unsigned long long m_limit = ~0ull;
    std::size_t m_most = ~std::size_t{0}; // blocks
    int m_live = 0;

    qor::Texsmith::IAllocator allocator() { return {this, &allocate, &release}; }

private:
    static void* allocate(void* context, unsigned long long size, unsigned long long alignment) {
        auto* heap = static_cast<CountingHeap*>(context);
        heap->m_asked.emplace_back(size, alignment);
        if (size > heap->m_limit || heap->m_asked.size() > heap->m_most) {
            return nullptr;
        }
        ++heap->m_live;
        return qor::Texsmith::Raw::defaultAllocate(nullptr, size, alignment);
    }
    static void release(void* context, void* p) {
        --static_cast<CountingHeap*>(context)->m_live;
        qor::Texsmith::Raw::defaultRelease(nullptr, p);
    }
};

} // namespace TestSupport
