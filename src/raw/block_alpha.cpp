// The alpha halves of BC2 and BC3. The loops over 16 bytes are written so that compilers make vectors of
// them.
#include "raw/block_encoders.h"

#include <algorithm>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

// Of the whole numbers from 0 to `most`; a NaN gives 0.
std::uint8_t quantize(float value, float most) {
    const float scaled = value * most + 0.5f;
    const float positive = scaled > 0.0f ? scaled : 0.0f;
    return static_cast<std::uint8_t>(static_cast<std::int32_t>(positive < most ? positive : most));
}

struct Bytes {
    std::uint8_t m_texels[kTexelsPerBlock];
};

Bytes quantizeAlpha(const ColorRGBA32F* block) {
    Bytes alpha;
    for (unsigned texel = 0; texel < kTexelsPerBlock; ++texel) {
        alpha.m_texels[texel] = quantize(block[texel].a, 255.0f);
    }
    return alpha;
}

// The order of the two decides how many values they are mixed to: eight if the first is greater, else six.
struct Endpoints {
    std::uint8_t m_first;
    std::uint8_t m_second;
};

// Texels at the very ends cost no endpoint where there are six values, for these hold both ends.
Endpoints chooseBc3AlphaEndpoints(const Bytes& alpha) {
    std::uint8_t least = 255, greatest = 0;
    unsigned extremes = 0;
    for (const std::uint8_t value : alpha.m_texels) {
        const bool isExtreme = value == 0 || value == 255;
        extremes += isExtreme;
        least = std::min<std::uint8_t>(least, isExtreme ? 255 : value);
        greatest = std::max<std::uint8_t>(greatest, isExtreme ? 0 : value);
    }
    if (extremes == kTexelsPerBlock) {
        return {0, 255};
    }
    return extremes >= 4 ? Endpoints{least, greatest} : Endpoints{greatest, least};
}

// Entry 4 of the six values is not the mirror of entry 3, and not what a decoder makes of it.
struct Palette {
    std::uint8_t m_entries[8];

    explicit Palette(Endpoints ends) : m_entries{ends.m_first, ends.m_second} {
        static constexpr std::uint8_t kEight[6][2] = {{55, 9},  {46, 18}, {37, 27},
                                                      {27, 37}, {18, 46}, {9, 55}};
        static constexpr std::uint8_t kSix[4][2] = {{51, 13}, {38, 26}, {27, 37}, {13, 51}};
        const bool six = ends.m_first <= ends.m_second;
        for (unsigned i = 0; i < (six ? 4u : 6u); ++i) {
            const std::uint8_t* weights = six ? kSix[i] : kEight[i];
            m_entries[2 + i] =
                static_cast<std::uint8_t>((weights[0] * ends.m_first + weights[1] * ends.m_second + 32) >> 6);
        }
        if (six) {
            m_entries[6] = 0;
            m_entries[7] = 255;
        }
    }
};

// Entries are compared in order, and a later one has to be strictly nearer.
Bytes nearestEntries(const Bytes& alpha, const Palette& palette) {
    Bytes best, codes = {};
    std::memset(best.m_texels, 255, sizeof best.m_texels);
    for (std::uint8_t entry = 0; entry < 8; ++entry) {
        const std::uint8_t value = palette.m_entries[entry];
        for (unsigned texel = 0; texel < kTexelsPerBlock; ++texel) {
            const std::uint8_t at = alpha.m_texels[texel];
            const auto distance = static_cast<std::uint8_t>(std::max(at, value) - std::min(at, value));
            const bool isNearer = distance < best.m_texels[texel];
            codes.m_texels[texel] = isNearer ? entry : codes.m_texels[texel];
            best.m_texels[texel] = isNearer ? distance : best.m_texels[texel];
        }
    }
    return codes;
}

// Sixteen codes of a few bits each, the lowest texel lowest.
std::uint64_t pack(const Bytes& codes, unsigned bits) {
    std::uint64_t packed = 0;
    for (unsigned texel = 0; texel < kTexelsPerBlock; ++texel) {
        packed |= std::uint64_t{codes.m_texels[texel]} << bits * texel;
    }
    return packed;
}

} // namespace

void encodeBc2Alpha(void* destination, const ColorRGBA32F* block) {
    Bytes codes;
    for (unsigned texel = 0; texel < kTexelsPerBlock; ++texel) {
        codes.m_texels[texel] = quantize(block[texel].a, 15.0f);
    }
    const std::uint64_t packed = pack(codes, 4);
    std::memcpy(destination, &packed, sizeof packed);
}

void encodeBc3Alpha(void* destination, const ColorRGBA32F* block) {
    const Bytes alpha = quantizeAlpha(block);
    const Endpoints ends = chooseBc3AlphaEndpoints(alpha);
    const Bytes codes = nearestEntries(alpha, Palette(ends));
    const std::uint64_t packed =
        std::uint64_t{ends.m_first} | std::uint64_t{ends.m_second} << 8 | pack(codes, 3) << 16;
    std::memcpy(destination, &packed, sizeof packed);
}

} // namespace qor::Texsmith::Raw
