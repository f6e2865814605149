// Rows of files whose samples lie plainly, on their way into the elements of an image, and back.
#pragma once

#include "codec/channel_layout.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace qor::Texsmith::Raw {

// How pixels lie in a row. Samples of more than a byte are words of this machine; those of less lie from the
// highest bit down and are alone in their pixel.
struct PixelLayout {
    enum class Kind : std::uint8_t { kGrey, kPalette, kRgb, kBgr };
    Kind m_kind;
    unsigned m_bits;    // of a sample: 1, 2, 4, 8, 16 or 32
    unsigned m_samples; // of a pixel; those behind the colours and alpha are passed over
    bool m_hasAlpha;    // behind the colours; of a palette: in its entries
    bool m_isFloat;     // else samples have at most 16 bits
    bool m_isInverted;  // grey of integers whose zero is white

    unsigned colors() const { return m_kind == Kind::kRgb || m_kind == Kind::kBgr ? 3 : 1; }
    std::uint64_t rowBytes(unsigned width) const;
};

// As R8G8B8A8. Entries that the file lacks are opaque black.
class Palette {
public:
    Palette() { m_entries.fill({0, 0, 0, 255}); }
    void set(unsigned index, std::uint8_t red, std::uint8_t green, std::uint8_t blue) {
        m_entries[index & 255] = {red, green, blue, m_entries[index & 255][3]};
    }
    void setAlpha(unsigned index, std::uint8_t alpha) { m_entries[index & 255][3] = alpha; }
    const std::array<std::uint8_t, 4>& operator[](unsigned index) const { return m_entries[index & 255]; }

private:
    std::array<std::array<std::uint8_t, 4>, 256> m_entries;
};

// False for samples that are not read.
bool canUnpack(const PixelLayout& pixels);
// The channels that such rows have.
ChannelLayout layoutOf(const PixelLayout& pixels);

// A row into elements of formatOf(image), which is layoutToRead(layoutOf(pixels)) for some channel type.
using UnpackRow = void (*)(std::uint8_t* elements, const std::uint8_t* row, std::size_t pixels,
                           const PixelLayout& layout, const Palette& palette);
UnpackRow findUnpackRow(const PixelLayout& pixels, const ChannelLayout& image);

unsigned packedChannels(const ChannelLayout& layout);
std::size_t packedPixelBytes(const ChannelLayout& layout);
// The way back: a row of elements without the fourth channel where nothing reads it.
void packRow(std::uint8_t* to, const std::uint8_t* elements, std::size_t pixels, const ChannelLayout& layout);

} // namespace qor::Texsmith::Raw
