// Planes in Morton order, gathered by the wide moves of AVX2.
#pragma once

#include "gpu_address/micro_tile_row.h"

#include <cstddef>
#include <cstdint>

namespace qor::GpuAddress {

// For elements of 4, 8 or 16 bytes; null for others, and where the build has none. Streamed stores go past
// the caches: every plane, or every row of a plane on the linear side, must then start at a multiple of 32,
// and rows are slow that do not start at one of 64. Other threads may read what was streamed once
// finishStreamedPlanes has been called.
using TilePlanes = void (*)(std::uint8_t* tiled, const std::uint8_t* linear, std::size_t pitch,
                            const MicroTileRow& row, std::uint32_t first, std::uint32_t columns);
using DetilePlanes = void (*)(const std::uint8_t* tiled, std::uint8_t* linear, std::size_t pitch,
                              const MicroTileRow& row, std::uint32_t first, std::uint32_t columns);
TilePlanes tilePlanesAvx2(unsigned elementBytes, bool streamed);
DetilePlanes detilePlanesAvx2(unsigned elementBytes, bool streamed);
void finishStreamedPlanes();

} // namespace qor::GpuAddress
