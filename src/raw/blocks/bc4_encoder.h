// Channels of 16 texels as blocks of BC4, which has one of them, and BC5, which has two.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/vector_math.h"

#include <cstddef>

namespace qor::Texsmith::Raw {

// Writes 8 bytes. Clamps to 0..1, or to -1..1 when signed, after the policy's mapping.
void encodeBc4Channel(void* destination, const ColorRGBA32F* block, unsigned channel, bool isSigned);
// The same on each of `count` blocks of 16 texels; the results begin `stride` bytes apart.
void encodeBc4Blocks(void* destination, std::size_t stride, const ColorRGBA32F* texels, unsigned channel,
                     bool isSigned, std::size_t count, EncoderEffort effort);
// The same of unsigned channels, from four rows of pixels of four bytes, `pitch` bytes apart: what their
// bytes over 255 as texels give.
void encodeBc4Rows(void* destination, std::size_t stride, const std::uint8_t* rows, std::size_t pitch,
                   unsigned channel, std::size_t count, EncoderEffort effort);

} // namespace qor::Texsmith::Raw
