// Where one element lies: the reference to which all faster ways are held.
#pragma once

#include "qor/gpu_address/gpu_address.h"

#include <cstdint>

namespace qor::GpuAddress {

// Bits of a number from 0 to 7, spread so that those of a second one fit between them.
inline constexpr std::uint8_t kSpread[8] = {0, 1, 4, 5, 16, 17, 20, 21};

// Of an element inside the padded box, from the start of the surface.
std::uint64_t elementBitOffset(const TilerBase& tiler, unsigned x, unsigned y, unsigned z, unsigned fragment);

// A row of micro tiles of one slice and fragment, cut to that slice: 8 x 8 planes.
struct MicroTileRow {
    std::uint64_t m_byteOffset;  // of the first plane, without the swizzle
    std::uint64_t m_microBytes;  // from one micro tile to the next
    std::uint32_t m_columnShift; // log2 of the micro tiles across a macro tile
    std::uint32_t m_macroCount;  // micro tiles of a macro tile
    std::uint32_t m_swizzle;     // applied to the column inside the macro tile

    std::uint64_t planeOffset(std::uint32_t column) const {
        const std::uint32_t mask = (std::uint32_t{1} << m_columnShift) - 1;
        const std::uint64_t first = std::uint64_t{column >> m_columnShift} * m_macroCount;
        return (first + ((column & mask) ^ m_swizzle)) * m_microBytes;
    }
};

// For tiled surfaces with elements of whole bytes. `row` counts micro tiles.
MicroTileRow locateMicroTileRow(const TilerBase& tiler, unsigned row, unsigned z, unsigned fragment);

} // namespace qor::GpuAddress
