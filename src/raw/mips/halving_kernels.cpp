#include "raw/mips/halving_kernels.h"

#include "raw/texels/srgb_bytes.h"
#include "simd/canonical_nan.h"
#include "simd/dispatch.h"
#include "simd/lanes4.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

constexpr std::size_t kTexelBytes = 4, kLanes = 4;

// Byte by byte, rounding up.
constexpr std::uint32_t average(std::uint32_t a, std::uint32_t b) {
    return (a | b) - (((a ^ b) & 0xFEFEFEFE) >> 1);
}

// Signed bytes are averaged as if 128 had been added to each.
template <bool kVolume, bool kSigned>
std::uint32_t averageColumn(const std::uint8_t* const* rows, std::size_t x) {
    const auto texel = [=](unsigned row) {
        std::uint32_t bytes;
        std::memcpy(&bytes, rows[row] + x * kTexelBytes, sizeof bytes);
        return kSigned ? bytes ^ 0x80808080 : bytes;
    };
    if constexpr (kVolume) {
        return average(average(texel(0), texel(2)), average(texel(1), texel(3)));
    } else {
        return average(texel(0), texel(1));
    }
}

template <bool kVolume, bool kSigned>
void halveBytes(std::uint8_t* destination, const std::uint8_t* const* rows, std::size_t count) {
    const HalveBytes wide = halveBytesKernelSse2(kVolume, kSigned);
    std::size_t x = 0;
    if (wide != nullptr) {
        x = count / kBytesStep * kBytesStep;
        wide(destination, rows, x);
    }
    for (; x < count; ++x) {
        const std::uint32_t mean = average(averageColumn<kVolume, kSigned>(rows, 2 * x),
                                           averageColumn<kVolume, kSigned>(rows, 2 * x + 1));
        const std::uint32_t bytes = kSigned ? mean ^ 0x80808080 : mean;
        std::memcpy(destination + x * kTexelBytes, &bytes, sizeof bytes);
    }
}

struct FloatTexels {
    static Simd::Float4 load(const void* row, std::size_t x) {
        return Simd::loadFloats(static_cast<const float*>(row) + x * kLanes);
    }
    static Simd::Float4 result(Simd::Float4 mean) { return Simd::canonical<Simd::Lanes4>(mean); }
};

// Straight from the tables, without a row of floats in between.
template <bool kSwapped> struct SrgbTexels {
    static Simd::Float4 load(const void* row, std::size_t x) {
        std::uint32_t bytes;
        std::memcpy(&bytes, static_cast<const std::uint8_t*>(row) + x * kTexelBytes, sizeof bytes);
        const auto colour = [bytes](unsigned shift) { return g_srgbBytes.m_floats[bytes >> shift & 0xFF]; };
        return Simd::makeFloats(colour(kSwapped ? 16 : 0), colour(8), colour(kSwapped ? 0 : 16),
                                g_linearBytes.m_floats[bytes >> 24]);
    }
    static Simd::Float4 result(Simd::Float4 mean) { return mean; } // never a NaN
};

template <typename Texels> Simd::Float4 sumOfSquare(const void* upper, const void* lower, std::size_t x) {
    return (Texels::load(upper, 2 * x) + Texels::load(upper, 2 * x + 1)) +
           (Texels::load(lower, 2 * x) + Texels::load(lower, 2 * x + 1));
}

template <typename Texels, bool kVolume>
void halveTexels(float* destination, const void* const* rows, std::size_t count) {
    const Simd::Float4 scale = Simd::splat(kVolume ? 0.125f : 0.25f);
    for (std::size_t x = 0; x < count; ++x) {
        Simd::Float4 sum = sumOfSquare<Texels>(rows[0], rows[1], x);
        if constexpr (kVolume) {
            sum = sum + sumOfSquare<Texels>(rows[2], rows[3], x);
        }
        Simd::store(destination + x * kLanes, Texels::result(sum * scale));
    }
}

// By the wide kernel.
template <bool kVolume> void halveFloats(float* destination, const void* const* rows, std::size_t count) {
    const std::size_t whole = count / kFloatsStep * kFloatsStep;
    halveFloatsKernelAvx2(kVolume)(destination, rows, whole);
    const void* rest[4] = {};
    for (unsigned row = 0; row < (kVolume ? 4 : 2); ++row) {
        rest[row] = static_cast<const float*>(rows[row]) + 2 * whole * kLanes;
    }
    halveTexels<FloatTexels, kVolume>(destination + whole * kLanes, rest, count - whole);
}

template <typename Texels>
void halveTexelsInOrder(float* destination, const void* const* rows, std::size_t count) {
    for (std::size_t x = 0; x < count; ++x) {
        // A sum of negative zeros is a positive one.
        Simd::Float4 sum = Simd::splat(0.0f) + Texels::load(rows[0], 2 * x);
        sum = sum + Texels::load(rows[0], 2 * x + 1);
        sum = sum + Texels::load(rows[1], 2 * x);
        sum = sum + Texels::load(rows[1], 2 * x + 1);
        // Exactly a division by the count.
        Simd::store(destination + x * kLanes, Texels::result(sum * Simd::splat(0.25f)));
    }
}

// The byte of a mean from 0 to 1, as srgbByte finds it.
std::uint8_t srgbByteOfMean(float mean) {
    const auto bits = std::max(std::bit_cast<std::uint32_t>(mean), kSrgbStepsFirst << 16);
    return static_cast<std::uint8_t>((g_srgbSteps.m_words[(bits >> 16) - kSrgbStepsFirst] + bits) >> 16);
}

// The place of the left texel's byte above byte `place` of the destination.
std::size_t leftOf(std::size_t place) { return place + place / kTexelBytes * kTexelBytes; }

// Byte `place` of the destination. The four texels in pairs, or one after the other.
template <bool kInOrder>
std::uint8_t srgbMean(const std::uint8_t* upper, const std::uint8_t* lower, std::size_t place) {
    const std::size_t at = leftOf(place);
    const auto decoded = [](std::uint8_t byte) { return g_srgbBytes.m_floats[byte]; };
    const float top = decoded(upper[at]) + decoded(upper[at + kTexelBytes]);
    const float left = decoded(lower[at]), right = decoded(lower[at + kTexelBytes]);
    return srgbByteOfMean((kInOrder ? top + left + right : top + (left + right)) * 0.25f);
}

// Most squares are of bytes that lie near each other: their plain mean, rounded, is the byte of their mean as
// light, which was tried for all of them. Only the others are decoded.
template <bool kInOrder>
std::size_t halveSrgb(std::uint8_t* destination, const std::uint8_t* const* rows, std::size_t count) {
    constexpr std::size_t kChunk = 128;
    static_assert(kChunk % kBytesStep == 0);
    const MeanBytes meanBytes = meanBytesKernelSse2();
    std::uint16_t apart[kChunk * kLanes + kApartRoom];
    std::size_t allApart = 0;
    for (std::size_t x = 0; x < count; x += kChunk) {
        const std::size_t here = std::min(kChunk, count - x), whole = here / kBytesStep * kBytesStep;
        const std::uint8_t* upper = rows[0] + 2 * x * kTexelBytes;
        const std::uint8_t* lower = rows[1] + 2 * x * kTexelBytes;
        std::uint8_t* made = destination + x * kTexelBytes;
        const std::size_t apartCount = meanBytes(made, upper, lower, whole, apart);
        allApart += apartCount;
        for (std::size_t i = 0; i < apartCount; ++i) {
            made[apart[i]] = srgbMean<kInOrder>(upper, lower, apart[i]);
        }
        for (std::size_t place = whole * kTexelBytes; place < here * kTexelBytes; ++place) {
            const std::size_t at = leftOf(place);
            const unsigned sum = upper[at] + upper[at + kTexelBytes] + lower[at] + lower[at + kTexelBytes];
            made[place] = place % kTexelBytes == 3 ? static_cast<std::uint8_t>((sum + 2) / 4)
                                                   : srgbMean<kInOrder>(upper, lower, place);
        }
    }
    return allApart;
}

template <typename Texels> HalveTexels chooseKernel(bool isVolume) {
    return isVolume ? halveTexels<Texels, true> : halveTexels<Texels, false>;
}

} // namespace

HalveBytes halveBytesKernel(bool isVolume, bool isSigned) {
    if (isVolume) {
        return isSigned ? halveBytes<true, true> : halveBytes<true, false>;
    }
    return isSigned ? halveBytes<false, true> : halveBytes<false, false>;
}

HalveSrgb halveSrgbKernel(bool isInOrder) {
    if (meanBytesKernelSse2() == nullptr) {
        return nullptr;
    }
    return isInOrder ? halveSrgb<true> : halveSrgb<false>;
}

HalveTexels halveTexelsKernel(TexelKind kind, bool isVolume) {
    switch (kind) {
    case TexelKind::kSrgb:
        return chooseKernel<SrgbTexels<false>>(isVolume);
    case TexelKind::kSrgbSwapped:
        return chooseKernel<SrgbTexels<true>>(isVolume);
    default:
        if (Simd::mayUseAvx2() && halveFloatsKernelAvx2(isVolume) != nullptr) {
            return isVolume ? halveFloats<true> : halveFloats<false>;
        }
        return chooseKernel<FloatTexels>(isVolume);
    }
}

HalveTexels halveTexelsInOrderKernel(TexelKind kind) {
    switch (kind) {
    case TexelKind::kSrgb:
        return halveTexelsInOrder<SrgbTexels<false>>;
    case TexelKind::kSrgbSwapped:
        return halveTexelsInOrder<SrgbTexels<true>>;
    default:
        return halveTexelsInOrder<FloatTexels>;
    }
}

} // namespace qor::Texsmith::Raw
