// Rows on their way into a PNG file: samples packed as the file has them, and filtered.
#pragma once

#include "codec/channel_layout.h"

#include <cstddef>
#include <cstdint>

namespace qor::Texsmith::Raw {

std::size_t packedPixelBytes(const ChannelLayout& layout);
// A row without the fourth channel where nothing reads it, the high byte of deep samples first.
void packRow(std::uint8_t* to, const std::uint8_t* elements, std::size_t pixels, const ChannelLayout& layout);

// A row's filter and bytes behind it, by the first filter of the PNG specification: differences to the pixel
// on the left.
void filterByLeft(std::uint8_t* to, const std::uint8_t* row, std::size_t bytes, std::size_t pixelBytes);
// By that one of the specification's five whose differences, taken as signed bytes, are smallest in sum,
// which the specification recommends. `above` is the row before, or zeros.
void filterBySmallestSum(std::uint8_t* to, const std::uint8_t* row, const std::uint8_t* above,
                         std::size_t bytes, std::size_t pixelBytes);

} // namespace qor::Texsmith::Raw
