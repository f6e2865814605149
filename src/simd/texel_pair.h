// Two texels at a time for the base line, with the operations that wider registers have: kernels are written
// once, over a class of lanes.
#pragma once

#include "simd/float4.h"

#include <cstdint>
#include <cstring>

namespace qor::Texsmith::Raw {

struct TexelPair {
    Simd::Float4 m_first, m_second;
};

inline TexelPair operator+(TexelPair a, TexelPair b) {
    return {a.m_first + b.m_first, a.m_second + b.m_second};
}
inline TexelPair operator-(TexelPair a, TexelPair b) {
    return {a.m_first - b.m_first, a.m_second - b.m_second};
}
inline TexelPair operator*(TexelPair a, TexelPair b) {
    return {a.m_first * b.m_first, a.m_second * b.m_second};
}
inline TexelPair minimum(TexelPair a, TexelPair b) {
    return {Simd::minimum(a.m_first, b.m_first), Simd::minimum(a.m_second, b.m_second)};
}
inline TexelPair maximum(TexelPair a, TexelPair b) {
    return {Simd::maximum(a.m_first, b.m_first), Simd::maximum(a.m_second, b.m_second)};
}

struct PairLanes {
    using Float = TexelPair;

    static Float load(const float* texels) {
        return {Simd::loadFloats(texels), Simd::loadFloats(texels + 4)};
    }
    static void store(float* texels, Float a) {
        Simd::store(texels, a.m_first);
        Simd::store(texels + 4, a.m_second);
    }
    // One texel, twice.
    static Float twice(const float* texel) { return {Simd::loadFloats(texel), Simd::loadFloats(texel)}; }
    static Float splat(float value) { return {Simd::splat(value), Simd::splat(value)}; }

    using Bits = struct { Simd::Int4 m_first, m_second; };
    static Bits noBits() { return {Simd::splat(0u), Simd::splat(0u)}; }
    static Bits truncate(Float a) { return {truncateToInts(a.m_first), truncateToInts(a.m_second)}; }
    static Float toFloat(Bits a) { return {toFloats(a.m_first), toFloats(a.m_second)}; }
    // `found` and the bits that differ between a and b.
    static Bits addDifference(Bits found, Float a, Float b) {
        return {found.m_first | (bitsOf(a.m_first) ^ bitsOf(b.m_first)),
                found.m_second | (bitsOf(a.m_second) ^ bitsOf(b.m_second))};
    }
    static bool any(Bits a) {
        const Simd::Int4 zero = equal(a.m_first | a.m_second, Simd::splat(0u));
        return anyLane(zero ^ Simd::splat(0xFFFFFFFFu));
    }
    // Eight texels whose lanes are below 256.
    static void storeBytes(std::uint8_t* bytes, const Bits (&pairs)[4]) {
        for (const Bits& pair : pairs) {
            const std::uint32_t texels[2] = {toBytes(pair.m_first), toBytes(pair.m_second)};
            std::memcpy(bytes, texels, sizeof texels);
            bytes += sizeof texels;
        }
    }
    // The fourth lane of each texel in all its lanes.
    static Float alphas(Float a) { return {alpha(a.m_first), alpha(a.m_second)}; }
    static Float withAlphas(Float colours, Float alphas) {
        return {withAlpha(colours.m_first, alphas.m_first), withAlpha(colours.m_second, alphas.m_second)};
    }

private:
    static Simd::Float4 alpha(Simd::Float4 a) { return floatsOf(Simd::shuffle<3, 3, 3, 3>(bitsOf(a))); }
    static Simd::Float4 withAlpha(Simd::Float4 colour, Simd::Float4 alpha) {
        const Simd::Int4 mask = Simd::makeInts(0, 0, 0, 0xFFFFFFFF);
        return floatsOf(select(mask, bitsOf(alpha), bitsOf(colour)));
    }
};

} // namespace qor::Texsmith::Raw
