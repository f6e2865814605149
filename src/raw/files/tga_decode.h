// Decoders of the pixels of a TGA file.
#pragma once

#include "qor/texsmith/raw/memory_region.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

// What a decoder reads. Both regions lie in the file and may be shorter than its header promises.
struct TgaPixels {
    MemoryRegion m_pixels;
    MemoryRegion m_map;
    unsigned m_firstMapEntry; // the pixel value that stands for the first entry of the map
    unsigned m_width;
    unsigned m_height;
    bool m_isRunLength;
};

// How a decoder is chosen. For an image without a map the entry has the size of the pixel.
struct TgaLayout {
    unsigned m_elementBytes;
    unsigned m_pixelBytes;
    unsigned m_entryBytes;
    bool m_isMapped;

    friend constexpr bool operator==(const TgaLayout&, const TgaLayout&) = default;
};

// Order of the pixels in the file: 0 from the bottom row upward and from left to right.
inline constexpr unsigned kTgaTopDown = 1;
inline constexpr unsigned kTgaRightToLeft = 2;

// Writes width x height elements, top row first, and zeros for pixels that the file lacks or that have no
// entry in the map. Returns the number of pixels that the file lacks.
using TgaDecoder = std::uint64_t (*)(std::uint8_t* elements, const TgaPixels& source);

// How many of its pixels the file has.
std::uint64_t countTgaPixels(const TgaPixels& source, unsigned pixelBytes);

// Null for a layout that no decoder reads.
TgaDecoder findTgaDecoder(const TgaLayout& layout, unsigned order);

} // namespace qor::Texsmith::Raw
