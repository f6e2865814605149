// Block encoders: 4 x 4 texels to blocks of BC1 to BC5.
//
// Texels are in row order (index = 4 * row + column). All of them may run at once on different blocks, write
// only their own output, allocate nothing but the population of searchBc1Pair, and take any texel values, NaN
// and infinity included. None of these is exported.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/vector_math.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

inline constexpr unsigned kTexelsPerBlock = 16;
inline constexpr unsigned kMaxBlocksPerGroup = 24;

// What encodeBc1Group writes: a pair of endpoints that N blocks share, and an index word for each block. 4 +
// 4N bytes; for N = 1 it is a block of BC1.
struct Bc1GroupResult {
    std::uint16_t color0; // 5:6:5, red on top
    std::uint16_t color1;
    std::uint32_t indices[kMaxBlocksPerGroup]; // texel t in bits 2t and 2t + 1
};

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

// Clamps all channels to 0..1, and encodes red, green and blue where the channel type is sRGB. In place is
// fine.
void prepareBlockForEncoding(ColorRGBA32F* output, const ColorRGBA32F* source,
                             Vex::TextureChannelType channelType, unsigned blockCount);

// One pair of endpoints for all blocks of a group. A count outside 1..24 writes nothing.
void encodeBc1Group(void* destination, const ColorRGBA32F* points, unsigned blockCount);
// Many groups of one block each: `count` blocks of 16 texels to as many blocks of 8 bytes. The result is that
// of encodeBc1Group on each; blocks share the lanes of the vector registers.
void encodeBc1Blocks(void* destination, const ColorRGBA32F* points, unsigned count);
// Three colours and transparency. A texel is transparent where its alpha is below the threshold.
void encodeBc1PunchThrough(void* destination, const ColorRGBA32F* block, float alphaThreshold);

// 8 bytes each.
void encodeBc2Alpha(void* destination, const ColorRGBA32F* block);
void encodeBc3Alpha(void* destination, const ColorRGBA32F* block);
// One channel as a block of BC4. Clamps to 0..1, or to -1..1 when signed, after the policy's mapping.
void encodeBc4Channel(void* destination, const ColorRGBA32F* block, unsigned channel, bool isSigned);

} // namespace qor::Texsmith::Raw
