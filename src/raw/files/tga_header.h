// The header of a TGA file.
#pragma once

#include "raw/files/tga_decode.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

inline constexpr unsigned kTgaHeaderBytes = 18;

inline constexpr std::uint8_t kTgaTypeMapped = 1;
inline constexpr std::uint8_t kTgaTypeColor = 2;
inline constexpr std::uint8_t kTgaTypeGrey = 3;
inline constexpr std::uint8_t kTgaTypeRunLength = 8; // added to the three above
inline constexpr std::uint8_t kTgaDescriptorRightToLeft = 0x10;
inline constexpr std::uint8_t kTgaDescriptorTopDown = 0x20;

//   0  u8  ID length          5  u16 map length            14  u16 height
//   1  u8  colour map type    7  u8  bits of a map entry   16  u8  bits of a pixel
//   2  u8  image type         8  2 x u16 origin            17  u8  descriptor
//   3  u16 first map entry   12  u16 width
struct TgaHeader {
    unsigned m_idLength;
    unsigned m_mapType;
    unsigned m_imageType;
    unsigned m_firstMapEntry;
    unsigned m_mapLength;
    unsigned m_mapEntryBits;
    unsigned m_width;
    unsigned m_height;
    unsigned m_pixelBits;
    unsigned m_descriptor;

    explicit TgaHeader(const std::uint8_t* bytes)
        : m_idLength(bytes[0]), m_mapType(bytes[1]), m_imageType(bytes[2]), m_firstMapEntry(word(bytes + 3)),
          m_mapLength(word(bytes + 5)), m_mapEntryBits(bytes[7]), m_width(word(bytes + 12)),
          m_height(word(bytes + 14)), m_pixelBits(bytes[16]), m_descriptor(bytes[17]) {}

    bool isRunLength() const { return (m_imageType & kTgaTypeRunLength) != 0; }
    bool isMapped() const { return (m_imageType & ~kTgaTypeRunLength) == kTgaTypeMapped; }
    bool isGrey() const { return (m_imageType & ~kTgaTypeRunLength) == kTgaTypeGrey; }
    unsigned elementBits() const { return isMapped() ? m_mapEntryBits : m_pixelBits; }
    unsigned attributeBits() const { return m_descriptor & 0xF; } // of a pixel, its alpha among them
    unsigned order() const {
        return ((m_descriptor & kTgaDescriptorTopDown) != 0 ? kTgaTopDown : 0) |
               ((m_descriptor & kTgaDescriptorRightToLeft) != 0 ? kTgaRightToLeft : 0);
    }
    // The pixels are the elements of an image, and its rows whole.
    bool isPlain() const { return !isRunLength() && !isMapped() && (order() & kTgaRightToLeft) == 0; }

private:
    static unsigned word(const std::uint8_t* bytes) { return bytes[0] | unsigned(bytes[1]) << 8; }
};

} // namespace qor::Texsmith::Raw
