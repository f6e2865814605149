// The header of a DDS file as it lies there, at any address and with the least significant bytes first.
#pragma once

#include <cstdint>

namespace qor::Texsmith::Dds {

inline constexpr std::uint32_t kMagic = 0x20534444;

constexpr std::uint32_t fourCc(const char (&text)[5]) {
    return std::uint32_t(std::uint8_t(text[0])) | std::uint32_t(std::uint8_t(text[1])) << 8 |
           std::uint32_t(std::uint8_t(text[2])) << 16 | std::uint32_t(std::uint8_t(text[3])) << 24;
}
inline constexpr std::uint32_t kFourCcDx10 = fourCc("DX10");

struct PixelFormat {
    std::uint32_t m_size;
    std::uint32_t m_flags; // PixelFormatFlags
    std::uint32_t m_fourCc;
    std::uint32_t m_rgbBitCount;
    std::uint32_t m_masks[4]; // red, green, blue, alpha
};

struct Header {
    std::uint32_t m_size;
    std::uint32_t m_flags; // HeaderFlags
    std::uint32_t m_height;
    std::uint32_t m_width;
    std::uint32_t m_pitchOrLinearSize;
    std::uint32_t m_depth;
    std::uint32_t m_mipMapCount;
    std::uint32_t m_reserved1[11];
    PixelFormat m_pixelFormat;
    std::uint32_t m_caps;  // Caps
    std::uint32_t m_caps2; // Caps2
    std::uint32_t m_caps3;
    std::uint32_t m_caps4;
    std::uint32_t m_reserved2;
};

struct HeaderDx10 {
    std::uint32_t m_dxgiFormat;
    std::uint32_t m_resourceDimension;
    std::uint32_t m_miscFlag;
    std::uint32_t m_arraySize;
    std::uint32_t m_miscFlags2;
};

static_assert(sizeof(PixelFormat) == 32 && sizeof(Header) == 124 && sizeof(HeaderDx10) == 20);

inline constexpr unsigned kHeaderOffset = 4; // behind the magic word
inline constexpr unsigned kBytesBefore = kHeaderOffset + sizeof(Header);
inline constexpr unsigned kBytesBeforeDx10 = kBytesBefore + sizeof(HeaderDx10);

enum HeaderFlags : std::uint32_t {
    kFlagsAlways = 0x1007, // caps, height, width and pixel format are there
    kFlagPitch = 1u << 3,
    kFlagMipMapCount = 1u << 17,
    kFlagLinearSize = 1u << 19,
    kFlagDepth = 1u << 23,
};

enum PixelFormatFlags : std::uint32_t {
    kPixelAlpha = 1u << 0,
    kPixelFourCc = 1u << 2,
    kPixelRgb = 1u << 6,
    kPixelLuminance = 1u << 17,
};

enum Caps : std::uint32_t {
    kCapsComplex = 1u << 3,
    kCapsTexture = 1u << 12,
    kCapsMipMap = 1u << 22,
};

enum Caps2 : std::uint32_t {
    kCaps2Cube = 1u << 9,
    kCaps2CubeAllFaces = 0xFE00,
    kCaps2Volume = 1u << 21,
};

enum ResourceDimension : std::uint32_t { kDimensionTexture2d = 3, kDimensionTexture3d = 4 };
inline constexpr std::uint32_t kMiscCube = 1u << 2;

} // namespace qor::Texsmith::Dds
