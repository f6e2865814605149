// The wide kernels of measures, and what they share with the code that calls them.
//
// Each gives the bits of its plain version.
#pragma once

#include "qor/texsmith/raw/vector_math.h"

#include <cstddef>
#include <cstdint>

namespace qor::Texsmith::Raw {

// How texels of four bytes become lanes: lane i is byte m_byte[i] times 1/255, or a constant.
struct ByteLanes {
    static constexpr std::uint8_t kNoByte = 0x80;

    std::uint8_t m_byte[4];   // kNoByte: the constant
    std::uint32_t m_whole[4]; // 255 for the constant one, else 0
};

// Tiles side by side whose texels have four bytes.
struct ByteTiles {
    const std::uint8_t* m_source;
    std::size_t m_pitch; // from row to row of texels
    ByteLanes m_lanes;
};
// The same for texels of four floats, at addresses of any kind.
struct FloatTiles {
    const std::uint8_t* m_source;
    std::size_t m_pitch;
};
using DecodeByteTiles = void (*)(Tile* tiles, const ByteTiles& source, unsigned count);

// What stands in a MinMaxMean, without its count.
struct RangeAndSum {
    float m_min[4], m_max[4], m_sum[4];
};
// Adds `count` tiles, one after the other.
using AddRangeAndSum = void (*)(RangeAndSum& total, const float* tiles, unsigned count);

// What values between 0 and 1 look like as bytes.
struct ByteRange {
    float m_min[4], m_max[4];
    bool m_isOutside; // some value was not in 0..1
    bool m_isNoByte;  // some value times 255 was not a whole number
};
// Rounds `count` texels, a multiple of 8, to four bytes each, and adds to `range`.
using RoundToBytes = void (*)(ByteRange& range, std::uint8_t* bytes, const float* texels, unsigned count);

// The sums over 64 pairs of texels of their squared differences.
using SumOfSquares = void (*)(float (&sums)[4], const float* a, const float* b);

// The same, straight from the bytes of `count` tiles: sums[i] is of tile i.
using SumsOfByteSquares = void (*)(VectorFloat* sums, const ByteTiles& a, const ByteTiles& b, unsigned count);

// And straight from floats.
using SumsOfFloatSquares = void (*)(VectorFloat* sums, const FloatTiles& a, const FloatTiles& b,
                                    unsigned count);

struct TileKernels {
    DecodeByteTiles m_decodeBytes;
    AddRangeAndSum m_addRangeAndSum;
    RoundToBytes m_roundToBytes;
    SumOfSquares m_sumOfSquares;
    SumsOfByteSquares m_sumsOfByteSquares;
    SumsOfFloatSquares m_sumsOfFloatSquares;
};

// Null where the build has none.
const TileKernels* getTileKernelsAvx2();

} // namespace qor::Texsmith::Raw
