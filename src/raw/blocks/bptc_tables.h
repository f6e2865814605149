// What the standards of BC6H and BC7 have in common: partitions into two subsets and interpolation weights.
//
// Texels are numbered in row order. BC6H uses the first 32 partitions only.
#pragma once

#include <cstdint>

namespace qor::Texsmith::Raw {

// Weights of the second endpoint in 64ths, by index, for indices of 2, 3 and 4 bits. A texel is
// ((64 - weight) * first + weight * second + 32) >> 6.
inline constexpr std::uint8_t kBptcWeights2[4] = {0, 21, 43, 64};
inline constexpr std::uint8_t kBptcWeights3[8] = {0, 9, 18, 27, 37, 46, 55, 64};
inline constexpr std::uint8_t kBptcWeights4[16] = {0,  4,  9,  13, 17, 21, 26, 30,
                                                   34, 38, 43, 47, 51, 55, 60, 64};

// Masks of 16 bits, texel 0 in the top bit: a set bit puts its texel into the second subset.
inline constexpr std::uint16_t kBc7Partitions2[64] = {
    0x3333, 0x1111, 0x7777, 0x1337, 0x0113, 0x377F, 0x137F, 0x0137, 0x0013, 0x37FF, 0x017F, 0x0017, 0x17FF,
    0x00FF, 0x0FFF, 0x000F, 0x08EF, 0x7100, 0x008E, 0x7310, 0x3100, 0x08CE, 0x008C, 0x7331, 0x3110, 0x088C,
    0x6666, 0x366C, 0x17E8, 0x0FF0, 0x718E, 0x399C, 0x5555, 0x0F0F, 0x5A5A, 0x33CC, 0x3C3C, 0x55AA, 0x6969,
    0x5AA5, 0x73CE, 0x13C8, 0x324C, 0x3BDC, 0x6996, 0x3CC3, 0x6699, 0x0660, 0x4E40, 0x2720, 0x0272, 0x04E4,
    0x6C93, 0x36C9, 0x639C, 0x39C6, 0x6CC9, 0x6339, 0x7E81, 0x18E7, 0x0F33, 0x33F0, 0x22EE, 0x4477,
};

// Where the second subset's index lacks its top bit. The first subset's anchor is texel 0.
inline constexpr std::uint8_t kBc7SecondAnchors2[64] = {
    15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 2,  8, 2,  2, 8,
    8,  15, 2,  8,  2,  2,  8,  8,  2,  2,  15, 15, 6,  8,  2,  8,  15, 15, 2, 8,  2, 2,
    2,  15, 15, 6,  6,  2,  6,  8,  15, 15, 2,  2,  15, 15, 15, 15, 15, 2,  2, 15,
};

// 0 or 1.
constexpr unsigned subsetOfTwo(unsigned partition, unsigned texel) {
    return kBc7Partitions2[partition] >> (15 - texel) & 1u;
}

} // namespace qor::Texsmith::Raw
