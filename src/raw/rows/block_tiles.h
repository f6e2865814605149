// Rows of tiles as rows of blocks, where a side is compressed: straight on the memory of both sides where
// they have it, through strips in a buffer where a side is tiled.
#pragma once

#include "qor/texsmith/raw/per_tile.h"
#include "raw/rows/block_row_conversion.h"

namespace qor::Texsmith::Raw {

// Has rows when both sides have rows or strips and their memory does not overlap.
OpenSurface openBlockTiles(const ElementProvider& source, const ElementProvider& destination,
                           const SurfaceIndex* surfaceIndex);

// Converts those tiles of row `y` that lie wholly inside the surface, and returns how many were done.
unsigned convertBlockTiles(const ElementProvider& source, const ElementProvider& destination,
                           const SurfaceIndex* surfaceIndex, const OpenSurface& surface, unsigned y,
                           const BlockRowConversion& conversion);

} // namespace qor::Texsmith::Raw
