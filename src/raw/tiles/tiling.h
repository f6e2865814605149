// Tiling of whole images, and what it is made of.
#pragma once

#include "qor/gpu_address/gpu_address.h"
#include "qor/texsmith/raw/image.h"
#include "qor/texsmith/raw/tilers.h"
#include "raw/surfaces/row_order.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

// The tile mode that a mode becomes when its surface only gets `newArrayMode`. On failure `result` is
// untouched. A depth mode becomes Depth_1dThin, with success, also where that is not the array mode asked
// for, which is reported.
int degradeTileMode(Vex::TileMode* result, Vex::TileMode oldTileMode, Vex::ArrayMode newArrayMode);
TilingMode tilingModeFromParameters(const GpuAddress::TilingParameters* parameters);

// Move all surfaces of an image into tiled memory and back, through a job on the configuration's manager, or
// on this thread when `singleThreaded` is not 0. Surfaces that do not lie in `tiled` fail; an image without
// bytes does not. One of several surfaces in the linear general tile mode is reported and fails: they would
// all lie at offset 0.
Error detileImage(Image* image, const MemoryRegion* tiled, Configuration* configuration, int singleThreaded);
Error tileImage(MemoryRegion* tiled, const Image* image, Configuration* configuration, int singleThreaded);
// Through a job, of an image whose memory has its rows in that order: from the bottom up only elements of
// whole bytes.
Error tileImageRows(MemoryRegion* tiled, const Image* image, Configuration* configuration, RowOrder rowOrder);

} // namespace qor::Texsmith::Raw
