// Block encoders: 4 x 4 texels to blocks of BC1 to BC5 and BC7.
//
// Texels are in row order (index = 4 * row + column). All encoders of this room may run at once on different
// blocks, write only their own output, allocate nothing but the population of searchBc1Pair, and take any
// texel values, NaN and infinity included.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/vector_math.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

// Entry points with a configuration, as the rows of the format table and the block jobs call them. Texels are
// linear where the configuration's channel type is sRGB. Formats whose selects take W have alpha:
// encodeBc1Block then encodes the first block alone and writes 8 bytes.
void encodeBc1Block(std::uint8_t* destination, const ColorRGBA32F* source,
                    const EncoderConfiguration& configuration, unsigned blockCount);
void encodeBc2Block(std::uint8_t* destination, const ColorRGBA32F* source,
                    const EncoderConfiguration& configuration);
void encodeBc3Block(std::uint8_t* destination, const ColorRGBA32F* source,
                    const EncoderConfiguration& configuration);
void encodeBc4Block(std::uint8_t* destination, const ColorRGBA32F* source,
                    const EncoderConfiguration& configuration);
void encodeBc5Block(std::uint8_t* destination, const ColorRGBA32F* source,
                    const EncoderConfiguration& configuration);
void encodeBc7Block(std::uint8_t* destination, const ColorRGBA32F* source,
                    const EncoderConfiguration& configuration);

} // namespace qor::Texsmith::Raw
