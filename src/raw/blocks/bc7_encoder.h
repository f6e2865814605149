// Encoder of BC7. A block's bytes depend on its texels and the effort alone.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/vector_math.h"

#include <cstddef>
#include <cstdint>

namespace qor::Texsmith::Raw {

// 16 texels to 16 bytes. What lies outside 0..1 is clamped, and a NaN is 0.
void encodeBc7(std::uint8_t* destination, const ColorRGBA32F* block);

// `count` times 16 texels to `count` blocks; with normal effort the bytes of encodeBc7. Blocks share the
// lanes of the vector registers, so that many in one call are faster.
void encodeBc7Blocks(std::uint8_t* destination, const ColorRGBA32F* texels, std::size_t count,
                     EncoderEffort effort);

} // namespace qor::Texsmith::Raw
