#pragma once

#include <cstdint>

namespace qor::GpuAddress {

// A row of micro tiles of one slice and fragment, cut to that slice: 8 x 8 planes.
struct MicroTileRow {
    std::uint64_t m_byteOffset;     // of the first plane, without the swizzle
    std::uint64_t m_microBytes;     // from one micro tile to the next
    std::uint32_t m_columnShift;    // log2 of the micro tiles across a macro tile
    std::uint32_t m_macroCount;     // micro tiles of a macro tile
    std::uint32_t m_swizzle;        // applied to the column inside the macro tile
    std::uint64_t m_bytesAhead = 0; // from a plane to one that is moved some time after it
};

} // namespace qor::GpuAddress
