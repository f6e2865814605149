#include "codec/pixel_rows.h"

#include <bit>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

static_assert(std::endian::native == std::endian::little, "files of words are taken as they lie");

using Kind = PixelLayout::Kind;

template <unsigned kBits> unsigned indexAt(const std::uint8_t* row, std::size_t x) {
    const std::size_t bit = x * kBits;
    return row[bit / 8] >> (8 - kBits - bit % 8) & ((1u << kBits) - 1);
}

template <unsigned kBits, bool kHasAlpha>
void unpackIndices(std::uint8_t* to, const std::uint8_t* row, std::size_t pixels, const PixelLayout& layout,
                   const Palette& palette) {
    for (std::size_t x = 0; x < pixels; ++x, to += 4) {
        const auto& entry = palette[indexAt<kBits>(row, x * (kBits == 8 ? layout.m_samples : 1))];
        std::memcpy(to, entry.data(), 4);
        to[3] = kHasAlpha ? entry[3] : std::uint8_t{0};
    }
}

template <unsigned kBits>
void unpackFewGreys(std::uint8_t* to, const std::uint8_t* row, std::size_t pixels, const PixelLayout& layout,
                    const Palette&) {
    constexpr unsigned kMost = (1u << kBits) - 1;
    const unsigned flip = layout.m_isInverted ? kMost : 0;
    for (std::size_t x = 0; x < pixels; ++x) {
        to[x] = static_cast<std::uint8_t>((indexAt<kBits>(row, x) ^ flip) * (255 / kMost));
    }
}

// kTo: 1 grey, 2 grey with alpha, 3 colour with a zero behind it, 4 colour with alpha.
template <typename Word, Kind kKind, unsigned kTo>
void unpackWords(std::uint8_t* to, const std::uint8_t* row, std::size_t pixels, const PixelLayout& layout,
                 const Palette&) {
    constexpr unsigned kColors = kKind == Kind::kGrey ? 1 : 3, kOut = kTo == 3 ? 4 : kTo;
    constexpr unsigned kOutColors = kTo < 3 ? 1 : 3;
    const std::size_t step = layout.m_samples * sizeof(Word);
    const auto flip = static_cast<Word>(layout.m_isInverted ? ~Word{0} : Word{0});
    for (std::size_t x = 0; x < pixels; ++x, row += step, to += kOut * sizeof(Word)) {
        Word in[kColors + 1] = {}, out[kOut] = {};
        std::memcpy(in, row, (kColors + (kTo % 2 == 0)) * sizeof(Word));
        for (unsigned c = 0; c < kOutColors; ++c) {
            const unsigned from = kColors == 1 ? 0 : kKind == Kind::kBgr ? 2 - c : c;
            out[c] = static_cast<Word>(in[from] ^ flip);
        }
        if (kTo % 2 == 0) {
            out[kOut - 1] = in[kColors];
        }
        std::memcpy(to, out, sizeof out);
    }
}

template <typename Word, Kind kKind> UnpackRow findWords(const ChannelLayout& image) {
    if (kKind == Kind::kGrey && image.m_isGrey) {
        return image.m_hasAlpha ? &unpackWords<Word, kKind, 2> : &unpackWords<Word, kKind, 1>;
    }
    return image.m_hasAlpha ? &unpackWords<Word, kKind, 4> : &unpackWords<Word, kKind, 3>;
}

template <typename Word> UnpackRow findOfKind(const PixelLayout& pixels, const ChannelLayout& image) {
    switch (pixels.m_kind) {
    case Kind::kGrey:
        return findWords<Word, Kind::kGrey>(image);
    case Kind::kBgr:
        return findWords<Word, Kind::kBgr>(image);
    default:
        return findWords<Word, Kind::kRgb>(image);
    }
}

template <unsigned kBits> UnpackRow findIndices(bool hasAlpha) {
    return hasAlpha ? &unpackIndices<kBits, true> : &unpackIndices<kBits, false>;
}

template <typename Word, unsigned kFrom, unsigned kTo>
void packWords(std::uint8_t* to, const std::uint8_t* from, std::size_t pixels) {
    for (std::size_t x = 0; x < pixels; ++x, to += kTo * sizeof(Word), from += kFrom * sizeof(Word)) {
        std::memcpy(to, from, kTo * sizeof(Word));
    }
}

} // namespace

std::uint64_t PixelLayout::rowBytes(unsigned width) const {
    return (std::uint64_t{width} * m_samples * m_bits + 7) / 8;
}

bool canUnpack(const PixelLayout& pixels) {
    if (pixels.m_samples < pixels.colors() + (pixels.m_hasAlpha && pixels.m_kind != Kind::kPalette)) {
        return false;
    }
    switch (pixels.m_bits) {
    case 1:
    case 2:
    case 4:
        return pixels.m_samples == 1 && pixels.colors() == 1 && !pixels.m_isFloat;
    case 8:
        return !pixels.m_isFloat;
    case 16:
        return pixels.m_kind != Kind::kPalette && !(pixels.m_isFloat && pixels.m_isInverted);
    case 32:
        return pixels.m_kind != Kind::kPalette && pixels.m_isFloat && !pixels.m_isInverted;
    default:
        return false;
    }
}

ChannelLayout layoutOf(const PixelLayout& pixels) {
    const ChannelDepth depth = pixels.m_bits == 32   ? ChannelDepth::kFloat
                               : pixels.m_isFloat    ? ChannelDepth::kHalf
                               : pixels.m_bits == 16 ? ChannelDepth::k16
                                                     : ChannelDepth::k8;
    return {pixels.m_kind == Kind::kGrey, pixels.m_hasAlpha, depth};
}

UnpackRow findUnpackRow(const PixelLayout& pixels, const ChannelLayout& image) {
    const bool isPalette = pixels.m_kind == Kind::kPalette;
    switch (pixels.m_bits) {
    case 1:
        return isPalette ? findIndices<1>(pixels.m_hasAlpha) : &unpackFewGreys<1>;
    case 2:
        return isPalette ? findIndices<2>(pixels.m_hasAlpha) : &unpackFewGreys<2>;
    case 4:
        return isPalette ? findIndices<4>(pixels.m_hasAlpha) : &unpackFewGreys<4>;
    case 8:
        return isPalette ? findIndices<8>(pixels.m_hasAlpha) : findOfKind<std::uint8_t>(pixels, image);
    case 16:
        return findOfKind<std::uint16_t>(pixels, image);
    default:
        return findOfKind<std::uint32_t>(pixels, image);
    }
}

unsigned packedChannels(const ChannelLayout& layout) {
    return (layout.m_isGrey ? 1 : 3) + (layout.m_hasAlpha ? 1 : 0);
}

std::size_t packedPixelBytes(const ChannelLayout& layout) {
    constexpr std::size_t kBytes[] = {1, 2, 2, 4};
    return packedChannels(layout) * kBytes[static_cast<unsigned>(layout.m_depth)];
}

void packRow(std::uint8_t* to, const std::uint8_t* elements, std::size_t pixels,
             const ChannelLayout& layout) {
    if (packedChannels(layout) != 3) {
        std::memcpy(to, elements, pixels * packedPixelBytes(layout));
    } else if (layout.m_depth == ChannelDepth::k8) {
        packWords<std::uint8_t, 4, 3>(to, elements, pixels);
    } else if (layout.m_depth == ChannelDepth::kFloat) {
        packWords<std::uint32_t, 4, 3>(to, elements, pixels);
    } else {
        packWords<std::uint16_t, 4, 3>(to, elements, pixels);
    }
}

} // namespace qor::Texsmith::Raw
