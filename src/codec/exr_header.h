// The header of an EXR file, walked before its library sees it: that takes as much memory as a header asks
// for, and reads values of the types that it knows by their type, whatever size the file says they have.
#pragma once

#include "qor/texsmith/raw/memory_region.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

struct ExrHeader {
    std::int64_t m_width = 0, m_height = 0; // of the window of pixels
    std::uint64_t m_pixelBytes = 0;         // of all channels
    unsigned m_compression = 0;             // as the library numbers them
    std::uint64_t m_tilePixels = 0;         // of a tile, which may be larger than the window
    std::uint64_t m_tiles = 0;              // of the whole size; each has an entry of 8 bytes in a table

    // Null, or why the file is refused.
    const char* parse(const MemoryRegion& file);
};

} // namespace qor::Texsmith::Raw
