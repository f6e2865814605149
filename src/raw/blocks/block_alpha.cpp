// The loops over the 16 bytes of a block are written so that compilers make vectors of them.
#include "raw/blocks/block_alpha.h"

#include "raw/blocks/bc3_alpha_lanes.h"
#include "raw/blocks/bc4_weights.h"
#include "raw/texels/sides.h"
#include "simd/dispatch.h"
#include "simd/words.h"

#include <algorithm>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

struct Bytes {
    std::uint8_t m_texels[kTexelsPerBlock];
};

// To the whole numbers from 0 to `most`; a NaN gives 0.
Bytes quantizeAlpha(const ColorRGBA32F* block, float most) {
    float scaled[kTexelsPerBlock];
    for (unsigned texel = 0; texel < kTexelsPerBlock; ++texel) {
        scaled[texel] = block[texel].a * most + 0.5f;
    }
    std::int32_t whole[kTexelsPerBlock];
    for (unsigned texel = 0; texel < kTexelsPerBlock; ++texel) {
        const float positive = scaled[texel] > 0.0f ? scaled[texel] : 0.0f;
        whole[texel] = static_cast<std::int32_t>(positive < most ? positive : most);
    }
    Bytes alpha;
    for (unsigned texel = 0; texel < kTexelsPerBlock; ++texel) {
        alpha.m_texels[texel] = static_cast<std::uint8_t>(whole[texel]);
    }
    return alpha;
}

// The order of the two decides how many values they are mixed to: eight if the first is greater, else six.
struct Endpoints {
    std::uint8_t m_first;
    std::uint8_t m_second;
};

// Six values hold 0 and 255 besides the mixes: with many texels of these, the endpoints may leave them out.
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

struct Palette {
    std::uint8_t m_entries[8];

    explicit Palette(Endpoints ends) : m_entries{ends.m_first, ends.m_second} {
        const bool six = ends.m_first <= ends.m_second;
        const Bc4Weights& weights = six ? kBc3SixAlphas : kBc4EightValues;
        for (unsigned i = 2; i < (six ? 6u : 8u); ++i) {
            const int sum = weights.m_first[i] * ends.m_first + weights.m_second[i] * ends.m_second;
            m_entries[i] = static_cast<std::uint8_t>((sum + 32) >> 6);
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

// Eight codes of `bits` bits, the lowest texel lowest: neighbours join, then pairs, then fours.
std::uint64_t packHalf(const std::uint8_t* codes, unsigned bits) {
    std::uint64_t packed;
    std::memcpy(&packed, codes, sizeof packed);
    const auto ones = [](unsigned count) { return (std::uint64_t{1} << count) - 1; };
    packed = (packed | packed >> (8 - bits)) & 0x0001000100010001 * ones(2 * bits);
    packed = (packed | packed >> (16 - 2 * bits)) & 0x0000000100000001 * ones(4 * bits);
    return (packed | packed >> (32 - 4 * bits)) & ones(8 * bits);
}

std::uint64_t pack(const Bytes& codes, unsigned bits) {
    return packHalf(codes.m_texels, bits) | packHalf(codes.m_texels + 8, bits) << 8 * bits;
}

constexpr unsigned kAlpha = 3;

Bc3AlphaKernel chooseKernel() {
    const Bc3AlphaKernel wide = Simd::mayUseAvx2() ? getBc3AlphaKernelAvx2() : nullptr;
    return wide != nullptr ? wide : &Bc3AlphaLanes<Simd::Words8>::encode;
}

} // namespace

void encodeBc2Alpha(void* destination, const ColorRGBA32F* block) {
    const std::uint64_t packed = pack(quantizeAlpha(block, 15.0f), 4);
    std::memcpy(destination, &packed, sizeof packed);
}

void encodeBc3Alpha(void* destination, const ColorRGBA32F* block) {
    const Bytes alpha = quantizeAlpha(block, 255.0f);
    const Endpoints ends = chooseBc3AlphaEndpoints(alpha);
    const Bytes codes = nearestEntries(alpha, Palette(ends));
    const std::uint64_t packed =
        std::uint64_t{ends.m_first} | std::uint64_t{ends.m_second} << 8 | pack(codes, 3) << 16;
    std::memcpy(destination, &packed, sizeof packed);
}

void encodeBc3AlphaBlocks(void* destination, std::size_t stride, const ColorRGBA32F* texels,
                          std::size_t count) {
    chooseKernel()(static_cast<std::uint8_t*>(destination), stride, {&texels->r, nullptr, 0, kAlpha}, count);
}

void encodeBc3AlphaRows(void* destination, std::size_t stride, const std::uint8_t* rows, std::size_t pitch,
                        std::size_t count) {
    chooseKernel()(static_cast<std::uint8_t*>(destination), stride, {nullptr, rows, pitch, kAlpha}, count);
}

} // namespace qor::Texsmith::Raw
