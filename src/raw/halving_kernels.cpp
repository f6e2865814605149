#include "raw/halving_kernels.h"

#include "simd/float4.h"

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

Simd::Float4 sumOfSquare(const float* upper, const float* lower) {
    using namespace Simd;
    return (loadFloats(upper) + loadFloats(upper + kLanes)) +
           (loadFloats(lower) + loadFloats(lower + kLanes));
}

template <bool kVolume> void halveFloats(float* destination, const float* const* rows, std::size_t count) {
    const Simd::Float4 scale = Simd::splat(kVolume ? 0.125f : 0.25f);
    for (std::size_t x = 0; x < count * kLanes; x += kLanes) {
        Simd::Float4 sum = sumOfSquare(rows[0] + 2 * x, rows[1] + 2 * x);
        if constexpr (kVolume) {
            sum = sum + sumOfSquare(rows[2] + 2 * x, rows[3] + 2 * x);
        }
        Simd::store(destination + x, sum * scale);
    }
}

void halveFloatsInOrder(float* destination, const float* const* rows, std::size_t count) {
    using namespace Simd;
    for (std::size_t x = 0; x < count * kLanes; x += kLanes) {
        const float *upper = rows[0] + 2 * x, *lower = rows[1] + 2 * x;
        Float4 sum = splat(0.0f) + loadFloats(upper); // a sum of negative zeros is a positive one
        sum = sum + loadFloats(upper + kLanes);
        sum = sum + loadFloats(lower);
        sum = sum + loadFloats(lower + kLanes);
        store(destination + x, sum * splat(0.25f)); // exactly a division by the count
    }
}

} // namespace

HalveBytes halveBytesKernel(bool isVolume, bool isSigned) {
    if (isVolume) {
        return isSigned ? halveBytes<true, true> : halveBytes<true, false>;
    }
    return isSigned ? halveBytes<false, true> : halveBytes<false, false>;
}

HalveFloats halveFloatsKernel(bool isVolume) { return isVolume ? halveFloats<true> : halveFloats<false>; }

HalveFloats halveFloatsInOrderKernel() { return halveFloatsInOrder; }

} // namespace qor::Texsmith::Raw
