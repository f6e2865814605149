// log2 and exp2 by polynomials, the same bits on every machine.
//
// They check for no zero, negative or non-finite input. Files are made with them, so neither a constant nor
// the order of a sum may change.
#pragma once

#include "simd/float4.h"

namespace qor::Texsmith::Simd {

inline Float4 log2Approximately(Float4 a) {
    const Int4 bits = bitsOf(a);
    const Int4 exponent = (bits & splat(0x7F800000u)) - splat(0x3F800000u);
    const Float4 m = floatsOf(bits - exponent) - splat(1.0f);
    const Float4 m2 = m * m;
    Float4 high = splat(-0.009310496f) * m + splat(0.05206469f);
    high = high * m - splat(0.13753124f);
    high = high * m + splat(0.2418737f);
    high = high * m - splat(0.34730548f);
    Float4 low = splat(0.4786848f) * m - splat(0.7211659f);
    low = low * m + splat(1.4426899f);
    low = low * m + toFloats(shiftRightSigned<23>(exponent));
    return high * (m2 * m2) + low;
}

inline Float4 exp2Approximately(Float4 a) {
    const Int4 n = roundToInts(a);
    const Float4 t = (toFloats(n) - a) * splat(0.6931472f);
    const Float4 t2 = t * t;
    Float4 high = splat(-0.0001413161f) * t + splat(0.001329882f);
    high = high * t - splat(0.00830136f);
    high = high * t + splat(0.041657347f);
    Float4 low = splat(-0.1666653f) * t + splat(0.4999999f);
    low = low * t - splat(1.0f);
    low = low * t + splat(1.0f);
    const Int4 least = splat(static_cast<std::uint32_t>(-127));
    const Int4 clamped = select(greaterSigned(n, least), n, least);
    const Float4 scale = floatsOf(shiftLeft<23>(clamped) + splat(0x3F800000u));
    return (high * (t2 * t2) + low) * scale;
}

} // namespace qor::Texsmith::Simd
