// The tile mode of textures that the library makes itself.
#pragma once

#include "qor/gpu_address/gpu_address.h"

namespace qor::Texsmith::Raw {

// `fragments` is a count.
Vex::TileMode defaultTileMode(GpuAddress::SurfaceType type, Vex::DataFormat format, unsigned fragments);

} // namespace qor::Texsmith::Raw
