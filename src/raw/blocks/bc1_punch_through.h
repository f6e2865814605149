// BC1 with transparency: three colours, and texels that are transparent where their alpha is below a
// threshold.
#pragma once

#include "qor/texsmith/raw/vector_math.h"

#include <cstddef>
#include <cstdint>

namespace qor::Texsmith::Raw {

void encodeBc1PunchThrough(void* destination, const ColorRGBA32F* block, float alphaThreshold);
// The same on each of `count` blocks.
void encodeBc1PunchThroughBlocks(void* destination, const ColorRGBA32F* points, std::size_t count,
                                 float alphaThreshold);
// And from four rows of pixels of four bytes, `pitch` bytes apart: what their bytes over 255 as texels give.
void encodeBc1PunchThroughRows(void* destination, const std::uint8_t* rows, std::size_t pitch,
                               std::size_t count, float alphaThreshold);

} // namespace qor::Texsmith::Raw
