// The decoder of a plane whose channel is sRGB.
#pragma once

#include "raw/planes/plane_kernels.h"

namespace qor::Texsmith::Raw {

// For a channel of that many bits. Narrow ones are looked up.
void chooseSrgbDecoder(DecodePlane* run, PlaneChannel* channel, unsigned bits);

} // namespace qor::Texsmith::Raw
