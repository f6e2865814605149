// fastRsqrt for lanes.
#pragma once

namespace qor::Texsmith::Simd {

// Has the bits of fastRsqrt in each lane that holds no NaN and nothing below 0.
template <typename Lanes> typename Lanes::Float fastRsqrtLanes(typename Lanes::Float x) {
    const auto bits = bitsOf(Lanes::splat(1.0f) / squareRoot(x));
    const auto odd = shiftRight<11>(bits) & Lanes::splat(1u);
    return floatsOf((bits + odd + Lanes::splat(0x3FFu)) & Lanes::splat(0xFFFFF800u));
}

} // namespace qor::Texsmith::Simd
