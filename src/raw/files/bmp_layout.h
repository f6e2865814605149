// What the headers of a bitmap say about its texels.
#pragma once

#include "qor/texsmith/raw/memory_region.h"

#include <array>
#include <cstdint>

namespace qor::Texsmith::Raw {

enum BmpCompression : std::uint32_t {
    kBmpPlain = 0,
    kBmpRuns8 = 1,
    kBmpRuns4 = 2,
    kBmpFields = 3,
    kBmpJpeg = 4, // or runs of pixels of 24 bits
    kBmpPng = 5,
    kBmpFieldsWithAlpha = 6,
    kBmpCmyk = 11,
    kBmpCmykRuns8 = 12,
    kBmpCmykRuns4 = 13,
};

// A channel of a pixel word, and how it comes to eight bits.
class BmpField {
public:
    explicit BmpField(std::uint32_t mask = 0);
    std::uint8_t toByte(std::uint32_t word) const { return m_bytes[(word & m_mask) >> m_shift & 0xFF]; }

private:
    std::uint32_t m_mask;
    unsigned m_shift;                      // drops the bits of a channel beyond eight as well
    std::array<std::uint8_t, 256> m_bytes; // rounded to the nearest
};

struct BmpLayout {
    std::int64_t m_width = 0;
    std::int64_t m_height = 0;
    bool m_isTopDown = false;
    bool m_hasAlpha = false; // else the last field is filler
    unsigned m_bits = 0;     // of a pixel
    std::uint32_t m_compression = kBmpPlain;
    MemoryRegion m_texels;                      // from their place to the end of the file
    std::array<BmpField, 4> m_fields;           // B, G, R, A of pixels of 16 and more bits
    std::array<std::uint32_t, 256> m_palette{}; // as B8G8R8X8; zeros where the file has no entry

    // Null, or why the file cannot be read: it is none, or of a kind that is declined. Sizes and bits are
    // known all the same where there is a header.
    const char* parse(const MemoryRegion& file);
    bool isRuns() const { return m_compression == kBmpRuns8 || m_compression == kBmpRuns4; }

private:
    void parseSizes(const std::uint8_t* bytes);
    void parseFields(const MemoryRegion& file);
    void parsePalette(const MemoryRegion& file);
    bool isKnown() const;
    const char* reasonToDecline() const;

    std::uint32_t m_headerBytes = 0; // of the second header
    std::uint32_t m_colors = 0;      // of the palette; 0 for as many as there can be
};

} // namespace qor::Texsmith::Raw
