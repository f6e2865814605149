// The tile mode of textures that the library makes itself.
#pragma once

#include "qor/gpu_address/gpu_address.h"

namespace qor::Texsmith::Raw {

// What a format without texels is laid out as.
inline constexpr Vex::DataFormat kR8Unorm = {0x204001};

// `fragments` is a count.
Vex::TileMode defaultTileMode(GpuAddress::SurfaceType type, Vex::DataFormat format, unsigned fragments);

} // namespace qor::Texsmith::Raw
