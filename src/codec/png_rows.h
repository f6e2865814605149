// Rows on their way into a PNG file.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qor::Texsmith::Raw {

// Files have the high byte of deep samples first.
void swapBytes(std::uint8_t* words, std::size_t bytes);

// A row's filter and bytes behind it, by the first filter of the PNG standard: differences to the pixel
// on the left.
void filterByLeft(std::uint8_t* to, const std::uint8_t* row, std::size_t bytes, std::size_t pixelBytes);
// By that one of the standard's five whose differences, taken as signed bytes, are smallest in sum,
// which the standard recommends. `above` is the row before, or zeros.
void filterBySmallestSum(std::uint8_t* to, const std::uint8_t* row, const std::uint8_t* above,
                         std::size_t bytes, std::size_t pixelBytes);

} // namespace qor::Texsmith::Raw
