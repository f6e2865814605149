// The tables of formats in DDS files, as the published numbers have them.
#pragma once

#include "qor/vex/data_format.h"
#include "raw/dds_layout/header.h"

#include <array>
#include <iterator>
#include <string_view>

namespace qor::Texsmith::Raw::DdsTables {

using namespace Vex;
using Dds::fourCc;

constexpr auto kUNorm = kTextureChannelTypeUNorm;
constexpr auto kSNorm = kTextureChannelTypeSNorm;
constexpr auto kUInt = kTextureChannelTypeUInt;
constexpr auto kSInt = kTextureChannelTypeSInt;
constexpr auto kFloat = kTextureChannelTypeFloat;
constexpr auto kSrgb = kTextureChannelTypeSrgb;

// Lanes X, Y, Z and W of a texel by what they read: a channel of the element, or 0 or 1.
constexpr std::uint32_t selects(std::string_view lanes) {
    constexpr std::string_view kLetters = "01??rgba"; // by number of the select
    std::uint32_t bits = 0;
    for (unsigned lane = 0; lane < 4; ++lane) {
        bits |= static_cast<std::uint32_t>(kLetters.find(lanes[lane])) << 3 * lane;
    }
    return bits;
}

constexpr std::uint32_t kRgba = selects("rgba");
constexpr std::uint32_t kRgb1 = selects("rgb1");
constexpr std::uint32_t kRgb0 = selects("rgb0");
constexpr std::uint32_t kRg01 = selects("rg01");
constexpr std::uint32_t kRg00 = selects("rg00");
constexpr std::uint32_t kR001 = selects("r001");
constexpr std::uint32_t kR000 = selects("r000");
constexpr std::uint32_t k000r = selects("000r");
constexpr std::uint32_t kBgr1 = selects("bgr1");
constexpr std::uint32_t kBgra = selects("bgra");
constexpr std::uint32_t kG00r = selects("g00r");
constexpr std::uint32_t kR00g = selects("r00g");
constexpr std::uint32_t kRrr1 = selects("rrr1");
constexpr std::uint32_t kRrrg = selects("rrrg");
constexpr std::uint32_t k0g01 = selects("0g01");

constexpr std::uint32_t word(SurfaceFormat surfaceFormat, TextureChannelType type, std::uint32_t selectBits) {
    return std::uint32_t(surfaceFormat) | std::uint32_t(type) << 8 | selectBits << 12;
}

constexpr std::uint32_t kNone = 0;

enum Typing : bool { kTyped, kCallersType };

struct DxgiRow {
    std::uint32_t m_dxgi;
    std::uint32_t m_word;
    Typing m_typing = kTyped; // typeless values take the channel type of the caller
};

// 18 is the value of signed integers, and is read as floats while the table below writes it for integers.
constexpr DxgiRow kDxgiRows[] = {
    {1, word(kSurfaceFormat32_32_32_32, kFloat, kRgba), kCallersType},
    {2, word(kSurfaceFormat32_32_32_32, kFloat, kRgba)},
    {3, word(kSurfaceFormat32_32_32_32, kUInt, kRgba)},
    {4, word(kSurfaceFormat32_32_32_32, kSInt, kRgba)},
    {5, word(kSurfaceFormat32_32_32, kFloat, kRgb1), kCallersType},
    {6, word(kSurfaceFormat32_32_32, kFloat, kRgb1)},
    {7, word(kSurfaceFormat32_32_32, kUInt, kRgb0)},
    {8, word(kSurfaceFormat32_32_32, kSInt, kRgb0)},
    {9, word(kSurfaceFormat16_16_16_16, kFloat, kRgba), kCallersType},
    {10, word(kSurfaceFormat16_16_16_16, kFloat, kRgba)},
    {11, word(kSurfaceFormat16_16_16_16, kUNorm, kRgba)},
    {12, word(kSurfaceFormat16_16_16_16, kUInt, kRgba)},
    {13, word(kSurfaceFormat16_16_16_16, kSNorm, kRgba)},
    {14, word(kSurfaceFormat16_16_16_16, kSInt, kRgba)},
    {15, word(kSurfaceFormat32_32, kFloat, kRg01), kCallersType},
    {16, word(kSurfaceFormat32_32, kFloat, kRg01)},
    {17, word(kSurfaceFormat32_32, kUInt, kRg00)},
    {18, word(kSurfaceFormat32_32, kFloat, kRg01)},
    {23, word(kSurfaceFormat2_10_10_10, kUNorm, kRgba), kCallersType},
    {24, word(kSurfaceFormat2_10_10_10, kUNorm, kRgba)},
    {25, word(kSurfaceFormat2_10_10_10, kUInt, kRgba)},
    {26, word(kSurfaceFormat10_11_11, kFloat, kRgb1)},
    {27, word(kSurfaceFormat8_8_8_8, kUNorm, kRgba), kCallersType},
    {28, word(kSurfaceFormat8_8_8_8, kUNorm, kRgba)},
    {29, word(kSurfaceFormat8_8_8_8, kSrgb, kRgba)},
    {30, word(kSurfaceFormat8_8_8_8, kUInt, kRgba)},
    {31, word(kSurfaceFormat8_8_8_8, kSNorm, kRgba)},
    {32, word(kSurfaceFormat8_8_8_8, kSInt, kRgba)},
    {33, word(kSurfaceFormat16_16, kFloat, kRg01), kCallersType},
    {34, word(kSurfaceFormat16_16, kFloat, kRg01)},
    {35, word(kSurfaceFormat16_16, kUNorm, kRg01)},
    {36, word(kSurfaceFormat16_16, kUInt, kRg00)},
    {37, word(kSurfaceFormat16_16, kSNorm, kRg01)},
    {38, word(kSurfaceFormat16_16, kSInt, kRg00)},
    {39, word(kSurfaceFormat32, kFloat, kR001), kCallersType},
    {40, word(kSurfaceFormat32, kFloat, kR001)},
    {41, word(kSurfaceFormat32, kFloat, kR001)},
    {42, word(kSurfaceFormat32, kUInt, kR000)},
    {43, word(kSurfaceFormat32, kSInt, kR000)},
    {44, word(kSurfaceFormat8_24, kUNorm, kRg01), kCallersType},
    {45, word(kSurfaceFormat8_24, kUNorm, kRg01)},
    {46, word(kSurfaceFormat8_24, kUNorm, kRg01), kCallersType},
    {47, word(kSurfaceFormat8_24, kUNorm, kRg01), kCallersType},
    {48, word(kSurfaceFormat8_8, kUNorm, kRg01), kCallersType},
    {49, word(kSurfaceFormat8_8, kUNorm, kRg01)},
    {50, word(kSurfaceFormat8_8, kUInt, kRg00)},
    {51, word(kSurfaceFormat8_8, kSNorm, kRg01)},
    {52, word(kSurfaceFormat8_8, kSInt, kRg00)},
    {53, word(kSurfaceFormat16, kFloat, kR001), kCallersType},
    {54, word(kSurfaceFormat16, kFloat, kR001)},
    {55, word(kSurfaceFormat16, kUNorm, kR001)},
    {56, word(kSurfaceFormat16, kUNorm, kR001)},
    {57, word(kSurfaceFormat16, kUInt, kR000)},
    {58, word(kSurfaceFormat16, kSNorm, kR001)},
    {59, word(kSurfaceFormat16, kSInt, kR000)},
    {60, word(kSurfaceFormat8, kUNorm, kR001), kCallersType},
    {61, word(kSurfaceFormat8, kUNorm, kR001)},
    {62, word(kSurfaceFormat8, kUInt, kR000)},
    {63, word(kSurfaceFormat8, kSNorm, kR001)},
    {64, word(kSurfaceFormat8, kSInt, kR000)},
    {65, word(kSurfaceFormat8, kUNorm, k000r)},
    {67, word(kSurfaceFormat5_9_9_9, kFloat, kRgb1)},
    {68, word(kSurfaceFormatGB_GR, kUNorm, kRgb1)},
    {69, word(kSurfaceFormatBG_RG, kUNorm, kRgb1)},
    {70, word(kSurfaceFormatBc1, kUNorm, kRgba), kCallersType},
    {71, word(kSurfaceFormatBc1, kUNorm, kRgba)},
    {72, word(kSurfaceFormatBc1, kSrgb, kRgba)},
    {73, word(kSurfaceFormatBc2, kUNorm, kRgba), kCallersType},
    {74, word(kSurfaceFormatBc2, kUNorm, kRgba)},
    {75, word(kSurfaceFormatBc2, kSrgb, kRgba)},
    {76, word(kSurfaceFormatBc3, kUNorm, kRgba), kCallersType},
    {77, word(kSurfaceFormatBc3, kUNorm, kRgba)},
    {78, word(kSurfaceFormatBc3, kSrgb, kRgba)},
    {79, word(kSurfaceFormatBc4, kUNorm, kR001), kCallersType},
    {80, word(kSurfaceFormatBc4, kUNorm, kR001)},
    {81, word(kSurfaceFormatBc4, kSNorm, kR001)},
    {82, word(kSurfaceFormatBc5, kUNorm, kRg01), kCallersType},
    {83, word(kSurfaceFormatBc5, kUNorm, kRg01)},
    {84, word(kSurfaceFormatBc5, kSNorm, kRg01)},
    {85, word(kSurfaceFormat5_6_5, kUNorm, kBgr1)},
    {86, word(kSurfaceFormat1_5_5_5, kUNorm, kBgra)},
    {87, word(kSurfaceFormat8_8_8_8, kUNorm, kBgra)},
    {88, word(kSurfaceFormat8_8_8_8, kUNorm, kBgr1)},
    {90, word(kSurfaceFormat8_8_8_8, kUNorm, kBgra), kCallersType},
    {91, word(kSurfaceFormat8_8_8_8, kSrgb, kBgra)},
    {92, word(kSurfaceFormat8_8_8_8, kUNorm, kBgr1), kCallersType},
    {93, word(kSurfaceFormat8_8_8_8, kSrgb, kBgr1)},
    {94, word(kSurfaceFormatBc6, kUNorm, kRgb1), kCallersType},
    {95, word(kSurfaceFormatBc6, kUNorm, kRgb1)},
    {96, word(kSurfaceFormatBc6, kSNorm, kRgb1)},
    {97, word(kSurfaceFormatBc7, kUNorm, kRgba), kCallersType},
    {98, word(kSurfaceFormatBc7, kUNorm, kRgba)},
    {99, word(kSurfaceFormatBc7, kSrgb, kRgba)},
    {111, word(kSurfaceFormat4_4, kUNorm, kG00r), kCallersType},
    {112, word(kSurfaceFormat4_4, kUNorm, kR00g), kCallersType},
    {113, word(kSurfaceFormat8, kUInt, kR000), kCallersType},
    {114, word(kSurfaceFormat8_8, kUNorm, kG00r), kCallersType},
    {115, word(kSurfaceFormat4_4_4_4, kUNorm, kBgra)},
};
static_assert(std::size(kDxgiRows) == 98);

constexpr std::uint32_t kDxgiValues = 116;

// By DXGI value; the values between have no format.
constexpr std::array<DxgiRow, kDxgiValues> kFormatOfDxgi = [] {
    std::array<DxgiRow, kDxgiValues> table{};
    for (const DxgiRow& row : kDxgiRows) {
        table[row.m_dxgi] = row;
    }
    return table;
}();

enum DxgiColumn { kColumnUNorm, kColumnSrgb, kColumnSNorm, kColumnUInt, kColumnSInt, kColumnFloat };

struct DxgiOfFormatRow {
    SurfaceFormat m_surfaceFormat;
    std::uint32_t m_selects;
    std::uint8_t m_dxgi[6]; // by DxgiColumn
};

// Unsigned integers of three channels get the value of four: the file is then too short for what it says.
constexpr DxgiOfFormatRow kDxgiOfFormat[] = {
    //                                     UNorm Srgb SNorm UInt SInt Float
    {kSurfaceFormat32_32_32_32, kRgba, {1, 1, 1, 3, 4, 2}},
    {kSurfaceFormat32_32_32, kRgb1, {5, 5, 5, 3, 8, 6}},
    {kSurfaceFormat16_16_16_16, kRgba, {11, 11, 13, 12, 14, 10}},
    {kSurfaceFormat32_32, kRg01, {15, 15, 15, 17, 18, 16}},
    {kSurfaceFormat2_10_10_10, kRgba, {24, 24, 23, 25, 23, 23}},
    {kSurfaceFormat10_11_11, kRgb1, {26, 26, 26, 26, 26, 26}},
    {kSurfaceFormat8_8_8_8, kRgba, {28, 29, 31, 30, 32, 27}},
    {kSurfaceFormat8_8_8_8, kBgra, {87, 91, 90, 90, 90, 90}},
    {kSurfaceFormat8_8_8_8, kBgr1, {88, 93, 92, 92, 92, 92}},
    {kSurfaceFormat16_16, kRg01, {35, 35, 37, 36, 38, 34}},
    {kSurfaceFormat32, kR001, {39, 39, 39, 42, 43, 41}},
    {kSurfaceFormat8_8, kRg01, {49, 49, 51, 50, 52, 48}},
    {kSurfaceFormat16, kR001, {56, 56, 58, 57, 59, 54}},
    {kSurfaceFormat8, kR001, {61, 61, 63, 62, 64, 60}},
    {kSurfaceFormat5_9_9_9, kRgba, {67, 67, 67, 67, 67, 67}},
    {kSurfaceFormatGB_GR, kRgba, {68, 68, 68, 68, 68, 68}},
    {kSurfaceFormatBG_RG, kRgba, {69, 69, 69, 69, 69, 69}},
    {kSurfaceFormatBc1, kRgba, {71, 72, 70, 70, 70, 70}},
    {kSurfaceFormatBc2, kRgba, {74, 75, 73, 73, 73, 73}},
    {kSurfaceFormatBc3, kRgba, {77, 78, 76, 76, 76, 76}},
    {kSurfaceFormatBc4, kR001, {80, 80, 81, 79, 79, 79}},
    {kSurfaceFormatBc5, kRg01, {83, 83, 84, 82, 82, 82}},
    {kSurfaceFormat5_6_5, kBgr1, {85, 85, 85, 85, 85, 85}},
    {kSurfaceFormat1_5_5_5, kBgra, {86, 86, 86, 86, 86, 86}},
    {kSurfaceFormatBc6, kRgb1, {95, 95, 96, 94, 94, 94}},
    {kSurfaceFormatBc7, kRgba, {98, 99, 97, 97, 97, 97}},
    {kSurfaceFormat4_4_4_4, kBgra, {115, 115, 115, 115, 115, 115}},
};
static_assert(std::size(kDxgiOfFormat) == 27);

struct FourCcRow {
    std::uint32_t m_fourCc;     // four characters, or a number of the time before DXGI
    std::uint32_t m_word;       // of type UNorm: takes the caller's
    unsigned m_bytesInFile = 0; // 0: those of the format
};

// Searched from the top.
constexpr FourCcRow kFormatOfFourCc[] = {
    {fourCc("DXT1"), word(kSurfaceFormatBc1, kUNorm, kRgba)},
    {fourCc("DXT2"), word(kSurfaceFormatBc2, kUNorm, kRgba)},
    {fourCc("DXT3"), word(kSurfaceFormatBc2, kUNorm, kRgba)},
    {fourCc("DXT4"), word(kSurfaceFormatBc3, kUNorm, kRgba)},
    {fourCc("DXT5"), word(kSurfaceFormatBc3, kUNorm, kRgba)},
    {fourCc("ATI1"), word(kSurfaceFormatBc4, kUNorm, kR001)},
    {fourCc("ATI2"), word(kSurfaceFormatBc5, kUNorm, kRg01)},
    {fourCc("BC1 "), word(kSurfaceFormatBc1, kUNorm, kRgba)},
    {fourCc("BC2 "), word(kSurfaceFormatBc2, kUNorm, kRgba)},
    {fourCc("BC3 "), word(kSurfaceFormatBc3, kUNorm, kRgba)},
    {fourCc("BC4 "), word(kSurfaceFormatBc4, kUNorm, kR001)},
    {fourCc("BC4U"), word(kSurfaceFormatBc4, kUNorm, kR001)},
    {fourCc("BC4S"), word(kSurfaceFormatBc4, kSNorm, kR001)},
    {fourCc("BC5 "), word(kSurfaceFormatBc5, kUNorm, kRg01)},
    {fourCc("BC5U"), word(kSurfaceFormatBc5, kUNorm, kRg01)},
    {fourCc("BC5S"), word(kSurfaceFormatBc5, kSNorm, kRg01)},
    {36, word(kSurfaceFormat16_16_16_16, kUNorm, kRgba)},
    {111, word(kSurfaceFormat16, kFloat, kR001)},
    {112, word(kSurfaceFormat16_16, kFloat, kRg01)},
    {113, word(kSurfaceFormat16_16_16_16, kFloat, kRgba)},
    {114, word(kSurfaceFormat32, kFloat, kR001)},
    {115, word(kSurfaceFormat32_32, kFloat, kRg01)},
    {116, word(kSurfaceFormat32_32_32_32, kFloat, kRgba)},
    {20, word(kSurfaceFormat8_8_8_8, kUNorm, kBgr1), 3},
    {21, word(kSurfaceFormat8_8_8_8, kUNorm, kBgra)},
    {22, word(kSurfaceFormat8_8_8_8, kUNorm, kBgr1)},
    {23, word(kSurfaceFormat5_6_5, kUNorm, kBgr1)},
    {24, word(kSurfaceFormat1_5_5_5, kUNorm, kBgr1)},
    {25, word(kSurfaceFormat1_5_5_5, kUNorm, kBgra)},
    {26, word(kSurfaceFormat4_4_4_4, kUNorm, kBgra)},
    {27, word(kSurfaceFormat8, kUInt, kR000)},
    {28, word(kSurfaceFormat8, kUNorm, k000r)},
    {29, word(kSurfaceFormat8_8, kUInt, kRg00)},
    {30, word(kSurfaceFormat4_4_4_4, kUNorm, kBgr1)},
    {31, word(kSurfaceFormat2_10_10_10, kUNorm, kRgba)},
    {32, word(kSurfaceFormat8_8_8_8, kUNorm, kRgba)},
    {33, word(kSurfaceFormat8_8_8_8, kUNorm, kRgb1)},
    {34, word(kSurfaceFormat16_16, kUNorm, kRg01)},
    {35, word(kSurfaceFormat2_10_10_10, kUNorm, kBgra)},
    {40, word(kSurfaceFormat8_8, kUNorm, kG00r)},
    {41, word(kSurfaceFormat8, kUInt, kR000)},
    {50, word(kSurfaceFormat8, kUNorm, kRrr1)},
    {51, word(kSurfaceFormat8_8, kUNorm, kRrrg)},
    {52, word(kSurfaceFormat4_4, kUNorm, kRrrg)},
    {60, word(kSurfaceFormat8_8, kSNorm, kRg01)},
    {61, word(kSurfaceFormat6_5_5, kSNorm, kRgb1)},
    {62, word(kSurfaceFormat8_8_8_8, kSNorm, kRgba)},
    {63, word(kSurfaceFormat8_8_8_8, kSNorm, kRgba)},
    {64, word(kSurfaceFormat16_16, kSNorm, kRg01)},
    {67, word(kSurfaceFormat2_10_10_10, kSNorm, kRgba)},
    {fourCc("UYVY"), word(kSurfaceFormatGB_GR, kUNorm, kRgb1)},
    {fourCc("RGBG"), word(kSurfaceFormatGB_GR, kUNorm, kRgb1)},
    {fourCc("YUY2"), word(kSurfaceFormatBG_RG, kUNorm, kRgb1)},
    {fourCc("GRGB"), word(kSurfaceFormatBG_RG, kUNorm, kRgb1)},
    {70, word(kSurfaceFormat16, kUNorm, kR001)},
    {71, word(kSurfaceFormat32, kUNorm, kR001)},
    {73, word(kSurfaceFormat16, kUInt, kR000)},
    {75, word(kSurfaceFormat24_8, kUNorm, kRg01)},
    {77, word(kSurfaceFormat24_8, kUNorm, k0g01)},
    {79, word(kSurfaceFormat32, kUInt, kR000)},
    {80, word(kSurfaceFormat16, kUNorm, kR001)},
    {82, word(kSurfaceFormat32, kFloat, kR001)},
    {83, word(kSurfaceFormat24_8, kUInt, kRg01)},
    {84, word(kSurfaceFormat32, kFloat, kR001)},
    {85, word(kSurfaceFormat8, kUNorm, kR001)},
    {81, word(kSurfaceFormat16, kUNorm, kRrr1)},
    {100, kNone},
    {101, word(kSurfaceFormat16, kUInt, kR000)},
    {102, word(kSurfaceFormat32, kUInt, kR000)},
    {110, word(kSurfaceFormat16_16_16_16, kSNorm, kRgba)},
    {fourCc("MET1"), kNone},
    {117, kNone},
    {118, kNone},
    {119, word(kSurfaceFormat2_10_10_10, kUNorm, kRgba)},
    {199, kNone},
};
static_assert(std::size(kFormatOfFourCc) == 75);

struct FourCcOfFormatRow {
    std::uint32_t m_word;
    std::uint32_t m_fourCc;
};

constexpr FourCcOfFormatRow kFourCcOfFormat[] = {
    {word(kSurfaceFormat32_32_32_32, kFloat, kRgba), 116},
    {word(kSurfaceFormat16_16_16_16, kFloat, kRgba), 113},
    {word(kSurfaceFormat32_32, kFloat, kRg01), 115},
    {word(kSurfaceFormat16_16, kFloat, kRg01), 112},
    {word(kSurfaceFormat32, kFloat, kR001), 114},
    {word(kSurfaceFormat16, kFloat, kR001), 111},
    {word(kSurfaceFormatGB_GR, kUNorm, kRgb1), fourCc("RGBG")},
    {word(kSurfaceFormatBG_RG, kUNorm, kRgb1), fourCc("GRGB")},
    {word(kSurfaceFormat16_16, kUNorm, kRg01), 34},
    {word(kSurfaceFormatBc1, kUNorm, kRgba), fourCc("DXT1")},
    {word(kSurfaceFormatBc1, kSrgb, kRgba), fourCc("DXT1")},
    {word(kSurfaceFormatBc2, kUNorm, kRgba), fourCc("DXT3")},
    {word(kSurfaceFormatBc2, kSrgb, kRgba), fourCc("DXT3")},
    {word(kSurfaceFormatBc3, kUNorm, kRgba), fourCc("DXT5")},
    {word(kSurfaceFormatBc3, kSrgb, kRgba), fourCc("DXT5")},
    {word(kSurfaceFormatBc4, kUNorm, kR001), fourCc("ATI1")},
    {word(kSurfaceFormatBc5, kUNorm, kRg01), fourCc("ATI2")},
    {word(kSurfaceFormatBc4, kSNorm, kR001), fourCc("BC4S")},
    {word(kSurfaceFormatBc5, kSNorm, kRg01), fourCc("BC5S")},
};
static_assert(std::size(kFourCcOfFormat) == 19);

} // namespace qor::Texsmith::Raw::DdsTables
