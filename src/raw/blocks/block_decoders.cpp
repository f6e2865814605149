#include "raw/blocks/block_decoders.h"

#include "qor/texsmith/raw/normalization_policy.h"
#include "raw/blocks/bc4_weights.h"
#include "raw/blocks/bc7_decoder.h"
#include "raw/blocks/block_decoders_avx2.h"
#include "raw/blocks/block_runs.h"
#include "raw/texels/sides.h"
#include "simd/dispatch.h"

#include <bit>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

static_assert(std::endian::native == std::endian::little);

std::uint64_t loadWord(const std::uint8_t* source, std::size_t bytes) {
    std::uint64_t word = 0;
    std::memcpy(&word, source, bytes);
    return word;
}

// A pixel's four bytes, spread over the words of 64 bits, so that all channels are mixed at once.
using Channels = std::uint64_t;
constexpr Channels kOnes = 0x0001000100010001;

constexpr Channels widen(std::uint32_t colour) {
    const Channels red = (colour >> 11 & 31) * 33 >> 2;
    const Channels green = (colour >> 5 & 63) * 65 >> 4;
    const Channels blue = (colour & 31) * 33 >> 2;
    return red | green << 16 | blue << 32 | Channels{255} << 48;
}

constexpr std::uint32_t pixelOf(Channels channels) {
    const Channels pairs = (channels | channels >> 8) & 0x0000FFFF0000FFFF;
    return static_cast<std::uint32_t>(pairs | pairs >> 16);
}

// No channel reaches into its neighbour: 64 * 255 + 32 takes 14 bits.
constexpr std::uint32_t mix(Channels heavy, Channels light) {
    return pixelOf((43 * heavy + 21 * light + 32 * kOnes) >> 6 & 255 * kOnes);
}

constexpr std::uint32_t midpoint(Channels a, Channels b) {
    return pixelOf((a + b + kOnes) >> 1 & 255 * kOnes);
}

struct Palette {
    std::uint32_t m_pixels[4];

    Palette(const std::uint8_t* endpoints, bool mayHaveThreeColours) {
        const auto word = static_cast<std::uint32_t>(loadWord(endpoints, 4));
        const std::uint32_t color0 = word & 0xFFFF, color1 = word >> 16;
        const Channels a = widen(color0), b = widen(color1);
        const bool three = mayHaveThreeColours && color0 <= color1;
        m_pixels[0] = pixelOf(a);
        m_pixels[1] = pixelOf(b);
        m_pixels[2] = three ? midpoint(a, b) : mix(a, b);
        m_pixels[3] = three ? 0 : mix(b, a);
    }
};

struct ValuePalette {
    std::int32_t m_values[8]; // 64 times the value

    ValuePalette(std::int32_t a, std::int32_t b, std::int32_t least, std::int32_t greatest) {
        const Bc4Weights& weights = a > b ? kBc4EightValues : kBc4SixValues;
        for (unsigned i = 0; i < 8; ++i) {
            m_values[i] = weights.m_first[i] * a + weights.m_second[i] * b;
        }
        if (a <= b) {
            m_values[6] = least * 64;
            m_values[7] = greatest * 64;
        }
    }
};

struct NoAlpha {
    static constexpr bool kMayHaveThreeColours = true;
    static constexpr std::size_t kColourAt = 0;

    explicit NoAlpha(const std::uint8_t*) {}
    std::uint32_t replace(std::uint32_t pixel, unsigned) const { return pixel; }
};

struct Opaque : NoAlpha {
    using NoAlpha::NoAlpha;
    std::uint32_t replace(std::uint32_t pixel, unsigned) const { return pixel | 0xFF000000; }
};

struct BesideColour {
    static constexpr bool kMayHaveThreeColours = false;
    static constexpr std::size_t kColourAt = 8;

    static std::uint32_t withAlpha(std::uint32_t pixel, std::uint32_t alpha) {
        return (pixel & 0x00FFFFFF) | alpha << 24;
    }
};

class PlainAlpha : public BesideColour {
public:
    explicit PlainAlpha(const std::uint8_t* block) : m_codes(loadWord(block, 8)) {}
    std::uint32_t replace(std::uint32_t pixel, unsigned texel) const {
        return withAlpha(pixel, static_cast<std::uint32_t>(m_codes >> 4 * texel & 15) * 17);
    }

private:
    std::uint64_t m_codes;
};

class MixedAlpha : public BesideColour {
public:
    explicit MixedAlpha(const std::uint8_t* block) : m_codes(loadWord(block, 8)) {
        const ValuePalette palette(block[0], block[1], 0, 255);
        for (unsigned i = 0; i < 8; ++i) {
            m_values[i] = static_cast<std::uint32_t>(palette.m_values[i] + 32) >> 6;
        }
    }
    std::uint32_t replace(std::uint32_t pixel, unsigned texel) const {
        return withAlpha(pixel, m_values[m_codes >> (16 + 3 * texel) & 7]);
    }

private:
    std::uint64_t m_codes;
    std::uint32_t m_values[8];
};

template <typename Alpha>
void decodeColours(std::uint8_t* destination, std::size_t pitch, const std::uint8_t* source) {
    const Palette palette(source + Alpha::kColourAt, Alpha::kMayHaveThreeColours);
    const Alpha alpha(source);
    std::uint64_t indices = loadWord(source + Alpha::kColourAt + 4, 4);
    for (unsigned row = 0; row < kBlockSide; ++row) {
        std::uint32_t pixels[kBlockSide];
        for (unsigned column = 0; column < kBlockSide; ++column, indices >>= 2) {
            pixels[column] = alpha.replace(palette.m_pixels[indices & 3], row * kBlockSide + column);
        }
        std::memcpy(destination + row * pitch, pixels, sizeof pixels);
    }
}

template <typename Alpha>
void decodeRun(std::uint8_t* destination, std::size_t pitch, const std::uint8_t* source, std::size_t count) {
    for (std::size_t block = 0; block < count; ++block) {
        decodeColours<Alpha>(destination + block * 16, pitch, source + block * (Alpha::kColourAt + 8));
    }
}

// Eights by the wide kernel, and the rest one by one.
template <typename Alpha, DecodeEights BlockKernelsAvx2::*kKernel>
void decodeRunAvx2(std::uint8_t* destination, std::size_t pitch, const std::uint8_t* source,
                   std::size_t count) {
    const std::size_t done = (blockKernelsAvx2()->*kKernel)(destination, pitch, source, count);
    decodeRun<Alpha>(destination + done * 16, pitch, source + done * (Alpha::kColourAt + 8), count - done);
}

// One channel of 16 texels; `texels` points at that channel of the first.
void decodeChannel(float* texels, const std::uint8_t* source, bool isSigned) {
    constexpr float kUnsignedScale = 6.127451e-5f, kSignedScale = 0.0001230315f;
    const auto endpoint = [&](unsigned i) -> std::int32_t {
        const auto value = static_cast<std::int8_t>(source[i]);
        return !isSigned ? source[i] : value == -128 ? -127 : value;
    };
    const ValuePalette palette(endpoint(0), endpoint(1), isSigned ? -127 : 0, isSigned ? 127 : 255);
    const bool remaps = isSigned && g_normalizationPolicy == kNormalizationPolicyUnit;
    float values[8];
    for (unsigned i = 0; i < 8; ++i) {
        const float value =
            static_cast<float>(palette.m_values[i]) * (isSigned ? kSignedScale : kUnsignedScale);
        values[i] = remaps ? value * 0.5f + 0.5f : value;
    }
    std::uint64_t codes = loadWord(source, 8) >> 16;
    for (unsigned texel = 0; texel < kTexelsPerBlock; ++texel, codes >>= 3) {
        texels[texel * 4] = values[codes & 7];
    }
}

} // namespace

void decodeBc1(std::uint8_t* destination, const std::uint8_t* source) {
    decodeColours<NoAlpha>(destination, 16, source);
}
void decodeBc2(std::uint8_t* destination, const std::uint8_t* source) {
    decodeColours<PlainAlpha>(destination, 16, source);
}
void decodeBc3(std::uint8_t* destination, const std::uint8_t* source) {
    decodeColours<MixedAlpha>(destination, 16, source);
}

void decodeBc1(std::uint8_t* destination, std::size_t pitch, const std::uint8_t* source) {
    decodeColours<NoAlpha>(destination, pitch, source);
}
void decodeBc2(std::uint8_t* destination, std::size_t pitch, const std::uint8_t* source) {
    decodeColours<PlainAlpha>(destination, pitch, source);
}
void decodeBc3(std::uint8_t* destination, std::size_t pitch, const std::uint8_t* source) {
    decodeColours<MixedAlpha>(destination, pitch, source);
}

DecodeBlockRun findBlockRunDecoder(Vex::SurfaceFormat format) {
    const bool wide = Simd::mayUseAvx2() && blockKernelsAvx2() != nullptr;
    switch (format) {
    case Vex::kSurfaceFormatBc1:
        return wide ? &decodeRunAvx2<NoAlpha, &BlockKernelsAvx2::m_bc1> : &decodeRun<NoAlpha>;
    case Vex::kSurfaceFormatBc2:
        return wide ? &decodeRunAvx2<PlainAlpha, &BlockKernelsAvx2::m_bc2> : &decodeRun<PlainAlpha>;
    case Vex::kSurfaceFormatBc3:
        return wide ? &decodeRunAvx2<MixedAlpha, &BlockKernelsAvx2::m_bc3> : &decodeRun<MixedAlpha>;
    case Vex::kSurfaceFormatBc7:
        return findBc7RunDecoder();
    default:
        return nullptr;
    }
}

DecodeBlockRun findOpaqueRunDecoder(Vex::SurfaceFormat format) {
    if (format != Vex::kSurfaceFormatBc1) {
        return nullptr;
    }
    const bool wide = Simd::mayUseAvx2() && blockKernelsAvx2() != nullptr;
    return wide ? &decodeRunAvx2<Opaque, &BlockKernelsAvx2::m_opaqueBc1> : &decodeRun<Opaque>;
}

void decodeBc4(ColorRGBA32F* destination, const std::uint8_t* source, bool isSigned) {
    decodeChannel(&destination->r, source, isSigned);
}

void decodeBc5(ColorRGBA32F* destination, const std::uint8_t* source, bool isSigned) {
    decodeChannel(&destination->r, source, isSigned);
    decodeChannel(&destination->g, source + 8, isSigned);
}

} // namespace qor::Texsmith::Raw
