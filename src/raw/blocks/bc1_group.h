// BC1 without transparency: the endpoints of one block, or of a group of blocks that share them.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/vector_math.h"

#include <cstddef>
#include <cstdint>

namespace qor::Texsmith::Raw {

inline constexpr unsigned kMaxBlocksPerGroup = 24;

// What encodeBc1Group writes: a pair of endpoints that N blocks share, and an index word for each block. 4 +
// 4N bytes; for N = 1 it is a block of BC1.
struct Bc1GroupResult {
    std::uint16_t color0; // 5:6:5, red on top
    std::uint16_t color1;
    std::uint32_t indices[kMaxBlocksPerGroup]; // texel t in bits 2t and 2t + 1
};

// One pair of endpoints for all blocks of a group. A count outside 1..24 writes nothing.
void encodeBc1Group(void* destination, const ColorRGBA32F* points, unsigned blockCount);
// Many groups of one block each: `count` blocks of 16 texels to as many blocks of 8 bytes, which begin
// `stride` bytes apart. At the efforts normal and fast the result is that of encodeBc1Group on each, at the
// others that of a longer search; blocks share the lanes of the vector registers.
void encodeBc1Blocks(void* destination, std::size_t stride, const ColorRGBA32F* points, std::size_t count,
                     EncoderEffort effort);
// The same from four rows of pixels of four bytes, `pitch` bytes apart: what their bytes over 255 as texels
// give.
void encodeBc1Rows(void* destination, std::size_t stride, const std::uint8_t* rows, std::size_t pitch,
                   std::size_t count, EncoderEffort effort);

} // namespace qor::Texsmith::Raw
