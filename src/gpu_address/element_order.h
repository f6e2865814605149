// Where one element lies: the reference to which all faster ways are held.
#pragma once

#include "gpu_address/micro_tile_row.h"
#include "qor/gpu_address/gpu_address.h"

#include <cstdint>

namespace qor::GpuAddress {

// Bits of a number from 0 to 7, spread so that those of a second one fit between them.
inline constexpr std::uint8_t kSpread[8] = {0, 1, 4, 5, 16, 17, 20, 21};

// Of an element inside the padded box, from the start of the surface.
std::uint64_t elementBitOffset(const TilerBase& tiler, unsigned x, unsigned y, unsigned z, unsigned fragment);

// Of the plane of a micro tile, from its row's first plane on.
inline std::uint64_t planeOffset(const MicroTileRow& row, std::uint32_t column) {
    const std::uint32_t mask = (std::uint32_t{1} << row.m_columnShift) - 1;
    const std::uint64_t first = std::uint64_t{column >> row.m_columnShift} * row.m_macroCount;
    return (first + ((column & mask) ^ row.m_swizzle)) * row.m_microBytes;
}

// For tiled surfaces with elements of whole bytes. `row` counts micro tiles.
MicroTileRow locateMicroTileRow(const TilerBase& tiler, unsigned row, unsigned z, unsigned fragment);

} // namespace qor::GpuAddress
