// The lines of an HDR file as R9G9B9E5Float.
#pragma once

#include "qor/texsmith/raw/memory_region.h"

#include <cstddef>
#include <cstdint>

namespace qor::Texsmith::Raw {

class HdrLines {
public:
    // `pixels` and `buffer`, of bufferBytes(width), stay the caller's.
    HdrLines(MemoryRegion pixels, unsigned width, std::uint8_t* buffer)
        : m_at(pixels.begin), m_end(pixels.end), m_width(width), m_buffer(buffer) {}

    static constexpr std::size_t bufferBytes(unsigned width) { return 4 * std::size_t(width) + kOverhang; }

    // Writes the next line from its first pixel on. Returns how many pixels the file had.
    unsigned read(std::uint32_t* texels);

private:
    // Short runs are written in pieces of this size, past their end.
    static constexpr std::size_t kPiece = 16, kMostRun = 128, kOverhang = kMostRun + kPiece;

    std::size_t bytesLeft() const { return static_cast<std::size_t>(m_end - m_at); }
    bool isPlanar() const;
    bool readComponent(std::uint8_t* to);
    bool readPacket(std::uint8_t*& to, std::size_t left);
    unsigned readPlanes(std::uint32_t* texels);
    unsigned readPixels(std::uint32_t* texels);

    const std::uint8_t* m_at;
    const std::uint8_t* m_end;
    unsigned m_width;
    std::uint8_t* m_buffer; // the four components of a line, one after another
};

// How many pixels of an image of that size the lines have. `line` has room for `width` texels.
std::uint64_t countPixels(HdrLines lines, unsigned width, unsigned height, std::uint32_t* line);

// Four bytes of mantissas and exponent, as the file has them.
std::uint32_t packRgbe(std::uint32_t texel);

} // namespace qor::Texsmith::Raw
