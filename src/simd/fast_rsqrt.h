// 1 / sqrt(x) with 12 bits behind the point of the mantissa.
//
// The processors' own estimates of that precision differ from maker to maker. This one is the same
// everywhere: the root and the quotient, each rounded to single precision, then the last 11 bits rounded away
// to nearest, ties to even. 0 gives infinity, and infinity 0.
#pragma once

#include <cstdint>

namespace qor::Texsmith::Raw {

// Below 0 and a NaN give a NaN.
float fastRsqrt(float x);

// The same for lanes that hold no NaN and nothing below 0.
template <typename Lanes> typename Lanes::Float fastRsqrtLanes(typename Lanes::Float x) {
    const auto bits = bitsOf(Lanes::splat(1.0f) / squareRoot(x));
    const auto odd = shiftRight<11>(bits) & Lanes::splat(1u);
    return floatsOf((bits + odd + Lanes::splat(0x3FFu)) & Lanes::splat(0xFFFFF800u));
}

} // namespace qor::Texsmith::Raw
