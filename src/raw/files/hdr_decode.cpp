#include "raw/files/hdr_decode.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

static_assert(std::endian::native == std::endian::little, "pixels are taken as words");

constexpr unsigned kLeastPlanarWidth = 8, kMostPlanarWidth = 32767;
constexpr int kExponentOffset = 114;
constexpr std::uint32_t kRunPixel = 0x010101; // 1, 1, 1 and a count
constexpr unsigned kMostShift = 24;

// A file's mantissa stands for the middle of its step, which is a number of one bit more. Zero stays.
inline std::uint32_t widenMantissa(std::uint32_t mantissa) { return mantissa != 0 ? 2 * mantissa + 1 : 0; }

inline std::uint32_t toSharedExponent(std::uint32_t r, std::uint32_t g, std::uint32_t b, std::uint32_t e) {
    const int exponent = std::clamp(static_cast<int>(e) - kExponentOffset, 0, 31);
    return widenMantissa(r) | widenMantissa(g) << 9 | widenMantissa(b) << 18 |
           static_cast<std::uint32_t>(exponent) << 27;
}

inline std::uint32_t toSharedExponent(std::uint32_t rgbe) {
    return toSharedExponent(rgbe & 0xFF, rgbe >> 8 & 0xFF, rgbe >> 16 & 0xFF, rgbe >> 24);
}

void convertPlanes(std::uint32_t* texels, const std::uint8_t* planes, std::size_t width) {
    const std::uint8_t *r = planes, *g = r + width, *b = g + width, *e = b + width;
    for (std::size_t i = 0; i < width; ++i) {
        texels[i] = toSharedExponent(r[i], g[i], b[i], e[i]);
    }
}

std::uint32_t loadPixel(const std::uint8_t* from) {
    std::uint32_t pixel;
    std::memcpy(&pixel, from, sizeof pixel);
    return pixel;
}

} // namespace

unsigned HdrLines::read(std::uint32_t* texels) {
    return isPlanar() ? readPlanes(texels) : readPixels(texels);
}

// Narrow and very wide lines have no runs by component, whatever they begin with.
bool HdrLines::isPlanar() const {
    return m_width >= kLeastPlanarWidth && m_width <= kMostPlanarWidth && bytesLeft() >= 4 && m_at[0] == 2 &&
           m_at[1] == 2 && m_at[2] < 128;
}

unsigned HdrLines::readPlanes(std::uint32_t* texels) {
    m_at += 4;
    for (unsigned component = 0; component < 4; ++component) {
        if (!readComponent(m_buffer + std::size_t(component) * m_width)) {
            m_at = m_end; // nothing behind this place is a line
            return 0;
        }
    }
    convertPlanes(texels, m_buffer, m_width);
    return m_width;
}

// The next component, or the end of the buffer, lies behind this one: what is written past a run's end is
// written again.
bool HdrLines::readComponent(std::uint8_t* to) {
    const std::uint8_t* const end = to + m_width;
    while (to != end) {
        if (!readPacket(to, static_cast<std::size_t>(end - to))) {
            return false;
        }
    }
    return true;
}

// A run beyond the line's end is cut, and its bytes are used up.
bool HdrLines::readPacket(std::uint8_t*& to, std::size_t left) {
    if (bytesLeft() == 0) {
        return false;
    }
    const std::size_t code = *m_at++;
    const bool isRun = code > kMostRun;
    const std::size_t bytes = isRun ? 1 : code;
    if (bytesLeft() < bytes) {
        return false;
    }
    const std::size_t count = std::min(isRun ? code & 127 : code, left);
    if (isRun) {
        for (std::size_t i = 0; i < count; i += kPiece) {
            std::memset(to + i, *m_at, kPiece);
        }
    } else if (bytesLeft() >= kMostRun + kPiece) {
        for (std::size_t i = 0; i < count; i += kPiece) {
            std::memcpy(to + i, m_at + i, kPiece);
        }
    } else {
        std::copy_n(m_at, count, to);
    }
    m_at += bytes;
    to += count;
    return true;
}

// Pixel by pixel. A run repeats the pixel before it; one directly behind another counts 256-fold.
unsigned HdrLines::readPixels(std::uint32_t* texels) {
    std::uint32_t previous = 0;
    unsigned shift = 0, x = 0;
    while (x < m_width && bytesLeft() >= 4) {
        const std::uint32_t pixel = loadPixel(m_at);
        m_at += 4;
        if ((pixel & 0xFFFFFF) != kRunPixel) {
            previous = toSharedExponent(pixel);
            texels[x++] = previous;
            shift = 0;
            continue;
        }
        const std::uint64_t left = m_width - x;
        const std::uint64_t count = shift > kMostShift ? left : std::uint64_t(pixel >> 24) << shift;
        const auto repeats = static_cast<unsigned>(std::min(count, left));
        std::fill_n(texels + x, repeats, previous);
        x += repeats;
        shift = std::min(shift + 8, kMostShift + 8);
    }
    return x;
}

std::uint64_t countPixels(HdrLines lines, unsigned width, unsigned height, std::uint32_t* line) {
    std::uint64_t pixels = 0;
    unsigned inLine = width;
    for (unsigned y = 0; y < height && inLine == width; ++y) {
        inLine = lines.read(line);
        pixels += inLine;
    }
    return pixels;
}

std::uint32_t packRgbe(std::uint32_t texel) {
    return (texel >> 1 & 0xFF) | (texel >> 10 & 0xFF) << 8 | (texel >> 19 & 0xFF) << 16 |
           ((texel >> 27) + kExponentOffset) << 24;
}

} // namespace qor::Texsmith::Raw
