// The format word and the enumerations of the graphics hardware.
#pragma once

#include "qor/texsmith/export.h"

#include <cstdint>

namespace qor::Vex {

// Names read from the most significant channel to the least significant one.
enum SurfaceFormat : std::uint32_t {
    kSurfaceFormatInvalid = 0,
    kSurfaceFormat8 = 1,
    kSurfaceFormat16 = 2,
    kSurfaceFormat8_8 = 3,
    kSurfaceFormat32 = 4,
    kSurfaceFormat16_16 = 5,
    kSurfaceFormat10_11_11 = 6,
    kSurfaceFormat11_11_10 = 7,
    kSurfaceFormat10_10_10_2 = 8,
    kSurfaceFormat2_10_10_10 = 9,
    kSurfaceFormat8_8_8_8 = 10,
    kSurfaceFormat32_32 = 11,
    kSurfaceFormat16_16_16_16 = 12,
    kSurfaceFormat32_32_32 = 13,
    kSurfaceFormat32_32_32_32 = 14,
    kSurfaceFormat5_6_5 = 16,
    kSurfaceFormat1_5_5_5 = 17,
    kSurfaceFormat5_5_5_1 = 18,
    kSurfaceFormat4_4_4_4 = 19,
    kSurfaceFormat8_24 = 20,
    kSurfaceFormat24_8 = 21,
    kSurfaceFormatX24_8_32 = 22,
    kSurfaceFormatGB_GR = 32,
    kSurfaceFormatBG_RG = 33,
    kSurfaceFormat5_9_9_9 = 34,
    kSurfaceFormatBc1 = 35,
    kSurfaceFormatBc2 = 36,
    kSurfaceFormatBc3 = 37,
    kSurfaceFormatBc4 = 38,
    kSurfaceFormatBc5 = 39,
    kSurfaceFormatBc6 = 40,
    kSurfaceFormatBc7 = 41,
    kSurfaceFormatFmask8_S2_F1 = 44,
    kSurfaceFormatFmask8_S4_F1 = 45,
    kSurfaceFormatFmask8_S8_F1 = 46,
    kSurfaceFormatFmask8_S2_F2 = 47,
    kSurfaceFormatFmask8_S4_F2 = 48,
    kSurfaceFormatFmask8_S4_F4 = 49,
    kSurfaceFormatFmask16_S16_F1 = 50,
    kSurfaceFormatFmask16_S8_F2 = 51,
    kSurfaceFormatFmask32_S16_F2 = 52,
    kSurfaceFormatFmask32_S8_F4 = 53,
    kSurfaceFormatFmask32_S8_F8 = 54,
    kSurfaceFormatFmask64_S16_F4 = 55,
    kSurfaceFormatFmask64_S16_F8 = 56,
    kSurfaceFormat4_4 = 57,
    kSurfaceFormat6_5_5 = 58,
};
inline constexpr unsigned kSurfaceFormatCount = 59;

enum TextureChannelType : std::uint32_t {
    kTextureChannelTypeUNorm = 0,
    kTextureChannelTypeSNorm = 1,
    kTextureChannelTypeUScaled = 2,
    kTextureChannelTypeSScaled = 3,
    kTextureChannelTypeUInt = 4,
    kTextureChannelTypeSInt = 5,
    kTextureChannelTypeSNormNoZero = 6,
    kTextureChannelTypeFloat = 7,
    kTextureChannelTypeSrgb = 9,
    kTextureChannelTypeUBNorm = 10,
    kTextureChannelTypeUBNormNoZero = 11,
    kTextureChannelTypeUBInt = 12,
    kTextureChannelTypeUBScaled = 13,
};

enum TextureChannel : std::uint32_t {
    kTextureChannel0 = 0,
    kTextureChannel1 = 1,
    kTextureChannelX = 4,
    kTextureChannelY = 5,
    kTextureChannelZ = 6,
    kTextureChannelW = 7,
};

// Bits and bytes of an element, by surface format: bits per texel of a compressed format (4 or 8), else bits
// of the element. Formats without texels, and numbers above the last, have 0.
QOR_TEXSMITH_API unsigned bitsPerElementFromSurfaceFormat(unsigned surfaceFormat);
QOR_TEXSMITH_API unsigned bytesPerElementFromSurfaceFormat(unsigned surfaceFormat);

// A 32-bit word, passed by value:
//
//   31      24 23 21 20 18 17 15 14 12 11        8 7               0
//   |  zero   |  W  |  Z  |  Y  |  X  | chan. type | surface format |
//
// X to W are the channel selects: what lane X to W of a texel is read from.
class QOR_TEXSMITH_API DataFormat {
public:
    std::uint32_t m_word;

    void init(SurfaceFormat surfaceFormat, TextureChannelType channelType, TextureChannel x, TextureChannel y,
              TextureChannel z, TextureChannel w);

    constexpr SurfaceFormat getSurfaceFormat() const { return SurfaceFormat(m_word & 0xFF); }
    constexpr TextureChannelType getTextureChannelType() const {
        return TextureChannelType(m_word >> 8 & 0xF);
    }
    // `index` 0 to 3 for the selects X to W.
    constexpr TextureChannel getChannel(unsigned index) const {
        return TextureChannel(m_word >> (12 + 3 * (index & 3)) & 7);
    }
    // All four selects, X in the lowest of the 12 bits.
    constexpr std::uint32_t getChannels() const { return m_word >> 12 & 0xFFF; }
    // Surface format and channel type, the 12 bits below the selects.
    constexpr std::uint32_t getLayoutAndType() const { return m_word & 0xFFF; }

    // The same format but for one thing.
    constexpr DataFormat withSurfaceFormat(SurfaceFormat surfaceFormat) const {
        return {(m_word & ~0xFFu) | (surfaceFormat & 0xFFu)};
    }
    constexpr DataFormat withTextureChannelType(TextureChannelType type) const {
        return {(m_word & ~0xF00u) | (std::uint32_t(type) & 0xF) << 8};
    }
    constexpr DataFormat withChannel(unsigned index, TextureChannel select) const {
        const unsigned shift = 12 + 3 * (index & 3);
        return {(m_word & ~(7u << shift)) | (select & 7u) << shift};
    }
    constexpr DataFormat withChannelsOf(DataFormat other) const {
        return {(m_word & ~0xFFF000u) | other.getChannels() << 12};
    }

    // Bits and bytes of an element, as the functions above tell them.
    unsigned getBitsPerElement() const;
    unsigned getBytesPerElement() const;

    constexpr bool isBlockCompressedFormat() const {
        return getSurfaceFormat() >= kSurfaceFormatBc1 && getSurfaceFormat() <= kSurfaceFormatBc7;
    }
    // Channels of the surface format; of the compressed ones Bc4 has 1, Bc5 2, Bc6 3 and the others 4.
    unsigned getNumComponents() const;

    friend constexpr bool operator==(DataFormat a, DataFormat b) { return a.m_word == b.m_word; }
    friend constexpr bool operator!=(DataFormat a, DataFormat b) { return a.m_word != b.m_word; }
};

static_assert(sizeof(DataFormat) == 4);

} // namespace qor::Vex
