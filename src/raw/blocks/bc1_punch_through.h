// Runs of blocks of BC1 with transparency.
#pragma once

#include "qor/texsmith/raw/vector_math.h"

namespace qor::Texsmith::Raw {

// encodeBc1PunchThrough on each of `count` blocks.
void encodeBc1PunchThroughBlocks(void* destination, const ColorRGBA32F* points, unsigned count,
                                 float alphaThreshold);

} // namespace qor::Texsmith::Raw
