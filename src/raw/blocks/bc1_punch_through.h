// BC1 with transparency: three colours, and texels that are transparent where their alpha is below a
// threshold.
#pragma once

#include "qor/texsmith/raw/vector_math.h"

namespace qor::Texsmith::Raw {

void encodeBc1PunchThrough(void* destination, const ColorRGBA32F* block, float alphaThreshold);
// The same on each of `count` blocks.
void encodeBc1PunchThroughBlocks(void* destination, const ColorRGBA32F* points, unsigned count,
                                 float alphaThreshold);

} // namespace qor::Texsmith::Raw
