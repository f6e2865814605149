#include "simd/fast_rsqrt.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

namespace qor::Texsmith::Simd {

float fastRsqrt(float x) {
    if (!(x >= 0.0f)) {
        return std::numeric_limits<float>::quiet_NaN();
    }
    const std::uint32_t bits = std::bit_cast<std::uint32_t>(1.0f / std::sqrt(x));
    return std::bit_cast<float>((bits + (bits >> 11 & 1) + 0x3FF) & 0xFFFFF800);
}

} // namespace qor::Texsmith::Simd
