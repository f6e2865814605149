// The published layout of BC7: modes, partitions into three subsets and anchors.
//
// A block is 128 bits, filled from the lowest bit of byte 0 upward:
//
//   mode      as many zeros as its number, then a one; a byte of eight zeros is reserved
//   partition, rotation, index selection
//   endpoints channel by channel (R, G, B, then A where stored), subset by subset, first end before second
//   p-bits    one for each endpoint, or one for each subset
//   indices   of 16 texels, then the second set of 16; an anchor's index lacks its top bit, which is 0
#pragma once

#include "raw/blocks/bptc_tables.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

inline constexpr unsigned kBc7ModeCount = 8;
inline constexpr unsigned kBc7MaxSubsets = 3;

// The p-bit is the lowest bit of all channels of an endpoint, below the stored bits.
enum class Bc7PBits : std::uint8_t { None, OfSubset, OfEndpoint };

struct Bc7Mode {
    std::uint8_t m_subsets;
    std::uint8_t m_partitionBits;
    std::uint8_t m_rotationBits;  // which channel is swapped with alpha: 0 none, 1 red, 2 green, 3 blue
    std::uint8_t m_selectionBits; // set: colours use the second indices, alpha the first
    std::uint8_t m_colourBits;    // stored bits of a channel
    std::uint8_t m_alphaBits;     // 0: alpha is 255
    Bc7PBits m_pBits;
    std::uint8_t m_indexBits;
    std::uint8_t m_secondIndexBits; // 0: one set of indices for all channels

    constexpr unsigned pBitCount() const {
        return m_pBits == Bc7PBits::None ? 0 : m_pBits == Bc7PBits::OfSubset ? m_subsets : 2u * m_subsets;
    }
};

inline constexpr Bc7Mode kBc7Modes[kBc7ModeCount] = {
    // subsets, partition, rotation, selection, colour, alpha, p-bits, indices, second
    {3, 4, 0, 0, 4, 0, Bc7PBits::OfEndpoint, 3, 0}, {2, 6, 0, 0, 6, 0, Bc7PBits::OfSubset, 3, 0},
    {3, 6, 0, 0, 5, 0, Bc7PBits::None, 2, 0},       {2, 6, 0, 0, 7, 0, Bc7PBits::OfEndpoint, 2, 0},
    {1, 0, 2, 1, 5, 6, Bc7PBits::None, 2, 3},       {1, 0, 2, 0, 7, 8, Bc7PBits::None, 2, 2},
    {1, 0, 0, 0, 7, 7, Bc7PBits::OfEndpoint, 4, 0}, {2, 6, 0, 0, 5, 5, Bc7PBits::OfEndpoint, 2, 0},
};

// Two bits for each texel, texel 0 in the top two: its subset.
inline constexpr std::uint32_t kBc7Partitions3[64] = {
    0x050529AA, 0x0105A5A9, 0x0081A5A5, 0x2A0A0515, 0x00005A5A, 0x05050A0A, 0x0A0A5555, 0x0505A5A5,
    0x000055AA, 0x005555AA, 0x0055AAAA, 0x06060606, 0x16161616, 0x1A1A1A1A, 0x05165A6A, 0x0581A0A8,
    0x0105165A, 0x150581A0, 0x005A5A5A, 0x0A0A0A55, 0x15152A2A, 0x0101A9A9, 0x00051A1A, 0x0050A4A4,
    0x1A1A0500, 0x06065AAA, 0x14696914, 0x00146969, 0x0A52520A, 0x141482AA, 0x051A1A05, 0x0080A5A9,
    0x00025A6A, 0x2A0A0605, 0x05060A2A, 0x18181818, 0x0055AA00, 0x18618618, 0x18866118, 0x05A05A05,
    0x055AA005, 0x1111AAAA, 0x00009999, 0x0A5A0A5A, 0x0A050A05, 0x28692869, 0x11AAAA11, 0x00999999,
    0x111111AA, 0x2A152A15, 0x02560256, 0x00969696, 0x2A15152A, 0x02565602, 0x141414AA, 0x00009696,
    0x1414AAAA, 0x0A05050A, 0x0A5A5A0A, 0x00000096, 0x02010201, 0x2A6A2A6A, 0x11AAAAAA, 0x1585A1A8,
};

// Of the second and the third subset. The first subset's anchor is texel 0.
inline constexpr std::uint8_t kBc7SecondAnchors3[64] = {
    3,  3,  15, 15, 8, 3,  15, 15, 8,  8,  6, 6,  6, 5,  3, 3,  3,  3,  8,  15, 3,  3,
    6,  10, 5,  8,  8, 6,  8,  5,  15, 15, 8, 15, 3, 5,  6, 10, 8,  15, 15, 3,  15, 5,
    15, 15, 15, 15, 3, 15, 5,  5,  5,  8,  5, 10, 5, 10, 8, 13, 15, 12, 3,  3,
};

inline constexpr std::uint8_t kBc7ThirdAnchors3[64] = {
    15, 8, 8, 3,  15, 15, 3,  8,  15, 15, 15, 15, 15, 15, 15, 8,  15, 8,  15, 3,  15, 8,
    15, 8, 3, 15, 6,  10, 15, 15, 10, 8,  15, 3,  15, 10, 10, 8,  9,  10, 6,  15, 8,  15,
    3,  6, 6, 8,  15, 3,  15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 3,  15, 15, 8,
};

// 0, 1 or 2.
constexpr unsigned subsetOfThree(unsigned partition, unsigned texel) {
    return kBc7Partitions3[partition] >> 2 * (15 - texel) & 3u;
}

// For 1, 2 or 3 subsets.
constexpr unsigned bc7SubsetOf(unsigned subsets, unsigned partition, unsigned texel) {
    return subsets == 3 ? subsetOfThree(partition, texel) : subsets == 2 ? subsetOfTwo(partition, texel) : 0;
}

// The texel whose index lacks its top bit.
constexpr unsigned bc7AnchorOf(unsigned subsets, unsigned partition, unsigned subset) {
    if (subset == 0) {
        return 0;
    }
    if (subsets == 2) {
        return kBc7SecondAnchors2[partition];
    }
    return subset == 1 ? kBc7SecondAnchors3[partition] : kBc7ThirdAnchors3[partition];
}

} // namespace qor::Texsmith::Raw
