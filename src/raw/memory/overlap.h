#pragma once

#include "qor/texsmith/raw/memory_region.h"

#include <functional>

namespace qor::Texsmith::Raw {

inline bool overlap(const MemoryRegion& a, const MemoryRegion& b) {
    const std::less<const void*> isBefore;
    return isBefore(a.begin, b.end) && isBefore(b.begin, a.end);
}

} // namespace qor::Texsmith::Raw
