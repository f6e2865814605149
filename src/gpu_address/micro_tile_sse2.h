// Planes in Morton order, gathered by the unpack instructions of SSE2.
#pragma once

#include "gpu_address/micro_tile.h"

#if !defined(TEXSMITH_SCALAR) && (defined(__SSE2__) || defined(_M_X64))
#    define TEXSMITH_MICRO_TILE_SSE2

namespace qor::GpuAddress {

// For elements of 1, 2 or 4 bytes; null for others, whose runs are wide enough by themselves.
template <typename Direction> MovePlanes<Direction> mortonPlanesSse2(unsigned elementBytes);

} // namespace qor::GpuAddress

#endif
