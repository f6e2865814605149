// Decoders of BC6H and BC7 straight from the published layouts: bit by bit, with tables of their own, written
// as the standards print them.
#pragma once

#include "support/block_oracle.h"

#include <array>
#include <cstdint>

namespace TestSupport::Oracle {

// R, G, B, A.
using ByteTexels = std::array<std::array<std::uint8_t, 4>, 16>;
using HalfTexels = std::array<std::array<std::uint16_t, 4>, 16>;

// Subsets by texel.
inline constexpr const char* kTwoSubsets[64] = {
    "0011001100110011", "0001000100010001", "0111011101110111", "0001001100110111", "0000000100010011",
    "0011011101111111", "0001001101111111", "0000000100110111", "0000000000010011", "0011011111111111",
    "0000000101111111", "0000000000010111", "0001011111111111", "0000000011111111", "0000111111111111",
    "0000000000001111", "0000100011101111", "0111000100000000", "0000000010001110", "0111001100010000",
    "0011000100000000", "0000100011001110", "0000000010001100", "0111001100110001", "0011000100010000",
    "0000100010001100", "0110011001100110", "0011011001101100", "0001011111101000", "0000111111110000",
    "0111000110001110", "0011100110011100", "0101010101010101", "0000111100001111", "0101101001011010",
    "0011001111001100", "0011110000111100", "0101010110101010", "0110100101101001", "0101101010100101",
    "0111001111001110", "0001001111001000", "0011001001001100", "0011101111011100", "0110100110010110",
    "0011110011000011", "0110011010011001", "0000011001100000", "0100111001000000", "0010011100100000",
    "0000001001110010", "0000010011100100", "0110110010010011", "0011011011001001", "0110001110011100",
    "0011100111000110", "0110110011001001", "0110001100111001", "0111111010000001", "0001100011100111",
    "0000111100110011", "0011001111110000", "0010001011101110", "0100010001110111"};

inline constexpr const char* kThreeSubsets[64] = {
    "0011001102212222", "0001001122112221", "0000200122112211", "0222002200110111", "0000000011221122",
    "0011001100220022", "0022002211111111", "0011001122112211", "0000000011112222", "0000111111112222",
    "0000111122222222", "0012001200120012", "0112011201120112", "0122012201220122", "0011011211221222",
    "0011200122002220", "0001001101121122", "0111001120012200", "0000112211221122", "0022002200221111",
    "0111011102220222", "0001000122212221", "0000001101220122", "0000110022102210", "0122012200110000",
    "0012001211222222", "0110122112210110", "0000011012211221", "0022110211020022", "0110011020022222",
    "0011012201220011", "0000200022112221", "0000000211221222", "0222002200120011", "0011001200220222",
    "0120012001200120", "0000111122220000", "0120120120120120", "0120201212010120", "0011220011220011",
    "0011112222000011", "0101010122222222", "0000000021212121", "0022112200221122", "0022001100220011",
    "0220122102201221", "0101222222220101", "0000212121212121", "0101010101012222", "0222011102220111",
    "0002111200021112", "0000211221122112", "0222011101110222", "0002111211120002", "0110011001102222",
    "0000000021122112", "0110011022222222", "0022001100110022", "0022112211220022", "0000000000002112",
    "0002000100020001", "0222122202221222", "0101222222222222", "0111201122012220"};

// Anchor texels by partition, as hexadecimal digits.
inline constexpr char kSecondOfTwo[] = "fffffffffffffffff282288f28228822ff6828ff28222ff66268ff22fffff22f";
inline constexpr char kSecondOfThree[] = "33ff83ff88666533338f336a588685ff8f356a8ff3f5ffff3f55585a5a8dfc33";
inline constexpr char kThirdOfThree[] = "f883ff38fffffff8f8f3f8f83f6affa8f3faa89a6f8f3668f3ffffffffff3ff8";

inline unsigned digit(char c) { return unsigned(c <= '9' ? c - '0' : c - 'a' + 10); }

inline unsigned subsetOf(unsigned subsets, unsigned partition, unsigned texel) {
    return subsets == 1   ? 0
           : subsets == 2 ? digit(kTwoSubsets[partition][texel])
                          : digit(kThreeSubsets[partition][texel]);
}

inline bool isAnchor(unsigned subsets, unsigned partition, unsigned texel) {
    return texel == 0 || (subsets == 2 && texel == digit(kSecondOfTwo[partition])) ||
           (subsets == 3 &&
            (texel == digit(kSecondOfThree[partition]) || texel == digit(kThirdOfThree[partition])));
}

inline int weightOf(unsigned bits, unsigned index) {
    constexpr int kTwo[] = {0, 21, 43, 64}, kThree[] = {0, 9, 18, 27, 37, 46, 55, 64},
                  kFour[] = {0, 4, 9, 13, 17, 21, 26, 30, 34, 38, 43, 47, 51, 55, 60, 64};
    return bits == 2 ? kTwo[index] : bits == 3 ? kThree[index] : kFour[index];
}

class BitReader {
public:
    explicit BitReader(const std::uint8_t* block, unsigned at = 0) : m_block(block), m_at(at) {}
    unsigned read(unsigned count) {
        m_at += count;
        return bitsAt(m_block, m_at - count, count);
    }
    unsigned at() const { return m_at; }

private:
    const std::uint8_t* m_block;
    unsigned m_at;
};

struct Bc7Layout {
    unsigned m_subsets, m_partitionBits, m_rotationBits, m_selectionBits, m_colourBits, m_alphaBits,
        m_bitsPerEnd, m_bitsPerSubset, m_indexBits, m_secondIndexBits;
};
inline constexpr Bc7Layout kBc7Layouts[8] = {{3, 4, 0, 0, 4, 0, 1, 0, 3, 0}, {2, 6, 0, 0, 6, 0, 0, 1, 3, 0},
                                             {3, 6, 0, 0, 5, 0, 0, 0, 2, 0}, {2, 6, 0, 0, 7, 0, 1, 0, 2, 0},
                                             {1, 0, 2, 1, 5, 6, 0, 0, 2, 3}, {1, 0, 2, 0, 7, 8, 0, 0, 2, 2},
                                             {1, 0, 0, 0, 7, 7, 1, 0, 4, 0}, {2, 6, 0, 0, 5, 5, 1, 0, 2, 0}};

// A value of `bits` bits, widened to eight by repeating it from the top.
inline unsigned widened(unsigned value, unsigned bits) {
    return bits == 8 ? value : (value << (8 - bits) | value >> (2 * bits - 8)) & 255;
}

inline ByteTexels decodeBc7(const std::uint8_t* block) {
    ByteTexels texels = {};
    unsigned mode = 0;
    BitReader reader(block);
    while (mode < 8 && reader.read(1) == 0) {
        ++mode;
    }
    if (mode == 8) {
        return texels;
    }
    const Bc7Layout& layout = kBc7Layouts[mode];
    const unsigned ends = layout.m_subsets * 2;
    const unsigned partition = reader.read(layout.m_partitionBits);
    const unsigned rotation = reader.read(layout.m_rotationBits);
    const unsigned selection = reader.read(layout.m_selectionBits);
    unsigned values[6][4];
    for (unsigned channel = 0; channel < 4; ++channel) {
        for (unsigned end = 0; end < ends; ++end) {
            values[end][channel] = reader.read(channel < 3 ? layout.m_colourBits : layout.m_alphaBits);
        }
    }
    const unsigned shared = layout.m_bitsPerEnd + layout.m_bitsPerSubset;
    for (unsigned end = 0; end < ends && shared != 0; end += layout.m_bitsPerSubset != 0 ? 2 : 1) {
        const unsigned bit = reader.read(1);
        for (unsigned channel = 0; channel < 4; ++channel) {
            values[end][channel] = values[end][channel] * 2 + bit;
            if (layout.m_bitsPerSubset != 0) {
                values[end + 1][channel] = values[end + 1][channel] * 2 + bit;
            }
        }
    }
    for (unsigned end = 0; end < ends; ++end) {
        for (unsigned channel = 0; channel < 4; ++channel) {
            const unsigned bits = channel < 3 ? layout.m_colourBits : layout.m_alphaBits;
            values[end][channel] = bits == 0 ? 255 : widened(values[end][channel], bits + shared);
        }
    }
    unsigned first[16], second[16];
    for (unsigned texel = 0; texel < 16; ++texel) {
        const bool anchor = isAnchor(layout.m_subsets, partition, texel);
        first[texel] = reader.read(layout.m_indexBits - (anchor ? 1 : 0));
    }
    for (unsigned texel = 0; texel < 16 && layout.m_secondIndexBits != 0; ++texel) {
        second[texel] = reader.read(layout.m_secondIndexBits - (texel == 0 ? 1 : 0));
    }
    for (unsigned texel = 0; texel < 16; ++texel) {
        const unsigned subset = subsetOf(layout.m_subsets, partition, texel);
        for (unsigned channel = 0; channel < 4; ++channel) {
            // Alpha goes by the second indices, or by the first where the selection bit is set.
            const bool bySecond = layout.m_secondIndexBits != 0 && (channel == 3) != (selection == 1);
            const int weight = bySecond ? weightOf(layout.m_secondIndexBits, second[texel])
                                        : weightOf(layout.m_indexBits, first[texel]);
            const int low = int(values[subset * 2][channel]), high = int(values[subset * 2 + 1][channel]);
            texels[texel][channel] = std::uint8_t(((64 - weight) * low + weight * high + 32) >> 6);
        }
        if (rotation != 0) {
            std::swap(texels[texel][rotation - 1], texels[texel][3]);
        }
    }
    return texels;
}

// Fields after the mode's bits: channel, endpoint, highest and lowest bit in hexadecimal, lowest first; a
// highest bit below the lowest stands for reversed order.
struct Bc6Layout {
    unsigned m_mode, m_modeBits, m_bits;
    std::array<unsigned, 3> m_deltaBits; // zeros: endpoints are stored in full
    const char* m_fields;
};
// clang-format off
inline constexpr Bc6Layout kBc6Layouts[14] = {
    {0x00, 2, 10, {5, 5, 5},
     "g244 b244 b344 r090 g090 b090 r140 g344 g230 g140 b300 g330 b140 b311 b230 r240 b322 r340 b333"},
    {0x01, 2, 7, {6, 6, 6},
     "g255 g344 g355 r060 b300 b311 b244 g060 b255 b322 g244 b060 b333 b355 b344 r150 g230 g150 g330 b150 b230 r250 r350"},
    {0x02, 5, 11, {5, 4, 4},
     "r090 g090 b090 r140 r0aa g230 g130 g0aa b300 g330 b130 b0aa b311 b230 r240 b322 r340 b333"},
    {0x06, 5, 11, {4, 5, 4},
     "r090 g090 b090 r130 r0aa g344 g230 g140 g0aa g330 b130 b0aa b311 b230 r230 b300 b322 r330 g244 b333"},
    {0x0A, 5, 11, {4, 4, 5},
     "r090 g090 b090 r130 r0aa b244 g230 g130 g0aa b300 g330 b140 b0aa b230 r230 b311 b322 r330 b344 b333"},
    {0x0E, 5, 9, {5, 5, 5},
     "r080 b244 g080 g244 b080 b344 r140 g344 g230 g140 b300 g330 b140 b311 b230 r240 b322 r340 b333"},
    {0x12, 5, 8, {6, 5, 5},
     "r070 g344 b244 g070 b322 g244 b070 b333 b344 r150 g230 g140 b300 g330 b140 b311 b230 r250 r350"},
    {0x16, 5, 8, {5, 6, 5},
     "r070 b300 b244 g070 g255 g244 b070 g355 b344 r140 g344 g230 g150 g330 b140 b311 b230 r240 b322 r340 b333"},
    {0x1A, 5, 8, {5, 5, 6},
     "r070 b311 b244 g070 b255 g244 b070 b355 b344 r140 g344 g230 g140 b300 g330 b150 b230 r240 b322 r340 b333"},
    {0x1E, 5, 6, {},
     "r050 g344 b300 b311 b244 g050 g255 b255 b322 g244 b050 g355 b333 b355 b344 r150 g230 g150 g330 b150 b230 r250 r350"},
    {0x03, 5, 10, {}, "r090 g090 b090 r190 g190 b190"},
    {0x07, 5, 11, {9, 9, 9}, "r090 g090 b090 r180 r0aa g180 g0aa b180 b0aa"},
    {0x0B, 5, 12, {8, 8, 8}, "r090 g090 b090 r170 r0ab g170 g0ab b170 b0ab"},
    {0x0F, 5, 16, {4, 4, 4}, "r090 g090 b090 r130 r0af g130 g0af b130 b0af"}};
// clang-format on

inline int signExtended(int value, unsigned bits) {
    return (value >> (bits - 1) & 1) != 0 ? value - (1 << bits) : value;
}

inline int unquantized(int value, unsigned bits, bool isSigned) {
    if (!isSigned) {
        return bits >= 15 || value == 0   ? value
               : value == (1 << bits) - 1 ? 0xFFFF
                                          : ((value << 15) + 0x4000) >> (bits - 1);
    }
    const int magnitude = value < 0 ? -value : value;
    const int result = bits >= 16 || magnitude == 0         ? magnitude
                       : magnitude >= (1 << (bits - 1)) - 1 ? 0x7FFF
                                                            : ((magnitude << 15) + 0x4000) >> (bits - 1);
    return value < 0 ? -result : result;
}

inline std::uint16_t finished(int value, bool isSigned) {
    if (!isSigned) {
        return std::uint16_t(value * 31 >> 6);
    }
    const int magnitude = (value < 0 ? -value : value) * 31 >> 5;
    return std::uint16_t(magnitude | (value < 0 && magnitude != 0 ? 0x8000 : 0));
}

// The blocks of the reserved modes are black, with an alpha of one.
inline HalfTexels decodeBc6(const std::uint8_t* block, bool isSigned) {
    HalfTexels texels;
    texels.fill({0, 0, 0, 0x3C00});
    const Bc6Layout* layout = nullptr;
    for (const Bc6Layout& candidate : kBc6Layouts) {
        if (bitsAt(block, 0, candidate.m_modeBits) == candidate.m_mode) {
            layout = &candidate;
        }
    }
    if (layout == nullptr) {
        return texels;
    }
    int ends[4][3] = {};
    BitReader reader(block, layout->m_modeBits);
    for (const char* field = layout->m_fields; *field != 0; field += field[4] == ' ' ? 5 : 4) {
        const unsigned channel = field[0] == 'r' ? 0 : field[0] == 'g' ? 1 : 2;
        const unsigned high = digit(field[2]), low = digit(field[3]);
        for (unsigned i = 0; i <= (high > low ? high - low : low - high); ++i) {
            ends[digit(field[1])][channel] |= int(reader.read(1) << (high >= low ? low + i : low - i));
        }
    }
    const unsigned subsets = reader.at() == 77 ? 2 : 1;
    const unsigned partition = subsets == 2 ? reader.read(5) : 0;
    for (unsigned end = 0; end < 4; ++end) {
        for (unsigned channel = 0; channel < 3; ++channel) {
            int& value = ends[end][channel];
            const unsigned deltaBits = layout->m_deltaBits[channel];
            if (end != 0 && deltaBits != 0) {
                value = (ends[0][channel] + signExtended(value, deltaBits)) & ((1 << layout->m_bits) - 1);
            }
            if (isSigned) {
                value = signExtended(value, layout->m_bits);
            }
        }
    }
    const unsigned indexBits = subsets == 2 ? 3 : 4;
    for (unsigned texel = 0; texel < 16; ++texel) {
        const unsigned subset = subsetOf(subsets, partition, texel);
        const unsigned index = reader.read(indexBits - (isAnchor(subsets, partition, texel) ? 1 : 0));
        const int weight = weightOf(indexBits, index);
        for (unsigned channel = 0; channel < 3; ++channel) {
            const int low = unquantized(ends[subset * 2][channel], layout->m_bits, isSigned);
            const int high = unquantized(ends[subset * 2 + 1][channel], layout->m_bits, isSigned);
            texels[texel][channel] = finished((low * (64 - weight) + high * weight + 32) >> 6, isSigned);
        }
    }
    return texels;
}

} // namespace TestSupport::Oracle
