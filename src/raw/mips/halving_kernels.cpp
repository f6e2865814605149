#include "raw/mips/halving_kernels.h"

#include "raw/texels/srgb_bytes.h"
#include "simd/canonical_nan.h"
#include "simd/lanes4.h"

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

HalveTexels halveTexelsKernel(TexelKind kind, bool isVolume) {
    switch (kind) {
    case TexelKind::kSrgb:
        return chooseKernel<SrgbTexels<false>>(isVolume);
    case TexelKind::kSrgbSwapped:
        return chooseKernel<SrgbTexels<true>>(isVolume);
    default:
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
