// Memory of the tools' system allocator that releases itself.
#pragma once

#include "qor/texsmith/raw/allocator.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>

namespace qor::Texsmith {

struct ReleaseToolsMemory {
    void operator()(void* p) const { toolsSystemRelease(p); }
};
using ToolsBytes = std::unique_ptr<std::uint8_t, ReleaseToolsMemory>;

// Null when memory is short; the allocator counts in 32 bits.
inline ToolsBytes allocateToolsBytes(std::uint64_t bytes, unsigned alignment) {
    const bool fits = bytes <= std::numeric_limits<unsigned>::max();
    const unsigned size = static_cast<unsigned>(std::max<std::uint64_t>(bytes, 1));
    return ToolsBytes(fits ? static_cast<std::uint8_t*>(toolsSystemAllocate(size, alignment)) : nullptr);
}

} // namespace qor::Texsmith
