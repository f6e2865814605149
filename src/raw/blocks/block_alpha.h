// The alpha halves of blocks of BC2 and BC3, 8 bytes each.
#pragma once

#include "qor/texsmith/raw/vector_math.h"

#include <cstddef>

namespace qor::Texsmith::Raw {

void encodeBc2Alpha(void* destination, const ColorRGBA32F* block);
void encodeBc3Alpha(void* destination, const ColorRGBA32F* block);
// What encodeBc3Alpha gives on each of `count` blocks; the results begin `stride` bytes apart.
void encodeBc3AlphaBlocks(void* destination, std::size_t stride, const ColorRGBA32F* texels,
                          std::size_t count);
// The same from four rows of pixels of four bytes, `pitch` bytes apart: what their bytes over 255 as texels
// give.
void encodeBc3AlphaRows(void* destination, std::size_t stride, const std::uint8_t* rows, std::size_t pitch,
                        std::size_t count);

} // namespace qor::Texsmith::Raw
