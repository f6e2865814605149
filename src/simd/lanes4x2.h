// Eight lanes without AVX2, in the words of lanes4.h: two vectors of four.
//
// For kernels over eight lanes whose sums are laid out for eight. It has the operations that these need.
#pragma once

#include "simd/lanes4.h"

namespace qor::Texsmith::Simd {

template <typename Vector> struct TwoVectors { Vector m_first, m_second; };

template <typename Vector> TwoVectors<Vector> operator+(TwoVectors<Vector> a, TwoVectors<Vector> b) {
    return {a.m_first + b.m_first, a.m_second + b.m_second};
}
template <typename Vector> TwoVectors<Vector> operator-(TwoVectors<Vector> a, TwoVectors<Vector> b) {
    return {a.m_first - b.m_first, a.m_second - b.m_second};
}
template <typename Vector> TwoVectors<Vector> operator*(TwoVectors<Vector> a, TwoVectors<Vector> b) {
    return {a.m_first * b.m_first, a.m_second * b.m_second};
}
template <typename Vector> TwoVectors<Vector> operator|(TwoVectors<Vector> a, TwoVectors<Vector> b) {
    return {a.m_first | b.m_first, a.m_second | b.m_second};
}
template <typename Vector> TwoVectors<Vector> operator^(TwoVectors<Vector> a, TwoVectors<Vector> b) {
    return {a.m_first ^ b.m_first, a.m_second ^ b.m_second};
}
template <typename Vector> TwoVectors<Vector> minimum(TwoVectors<Vector> a, TwoVectors<Vector> b) {
    return {minimum(a.m_first, b.m_first), minimum(a.m_second, b.m_second)};
}
template <typename Vector> TwoVectors<Vector> maximum(TwoVectors<Vector> a, TwoVectors<Vector> b) {
    return {maximum(a.m_first, b.m_first), maximum(a.m_second, b.m_second)};
}
template <int kX, int kY, int kZ, int kW, typename Vector> TwoVectors<Vector> shuffle(TwoVectors<Vector> a) {
    return {shuffle<kX, kY, kZ, kW>(a.m_first), shuffle<kX, kY, kZ, kW>(a.m_second)};
}
template <typename Vector> void store(void* destination, TwoVectors<Vector> a) {
    store(destination, a.m_first);
    store(static_cast<std::uint8_t*>(destination) + 16, a.m_second);
}

using Float4x2 = TwoVectors<Float4>;
using Int4x2 = TwoVectors<Int4>;

inline Int4x2 equal(Int4x2 a, Int4x2 b) {
    return {equal(a.m_first, b.m_first), equal(a.m_second, b.m_second)};
}
inline bool allLanes(Int4x2 mask) { return allLanes(mask.m_first & mask.m_second); }
inline Float4x2 select(Int4x2 mask, Float4x2 a, Float4x2 b) {
    return {select(mask.m_first, a.m_first, b.m_first), select(mask.m_second, a.m_second, b.m_second)};
}
inline Int4x2 bitsOf(Float4x2 a) { return {bitsOf(a.m_first), bitsOf(a.m_second)}; }
inline Float4x2 toFloats(Int4x2 a) { return {toFloats(a.m_first), toFloats(a.m_second)}; }
inline Int4x2 truncateToInts(Float4x2 a) { return {truncateToInts(a.m_first), truncateToInts(a.m_second)}; }
inline Int4x2 packBytes(const Int4x2 (&parts)[4]) {
    const Int4 first[4] = {parts[0].m_first, parts[0].m_second, parts[1].m_first, parts[1].m_second};
    const Int4 second[4] = {parts[2].m_first, parts[2].m_second, parts[3].m_first, parts[3].m_second};
    return {packBytes(first), packBytes(second)};
}

struct Lanes4x2 {
    using Float = Float4x2;
    using Int = Int4x2;
    static constexpr unsigned kCount = 8;

    static Float splat(float value) { return {Lanes4::splat(value), Lanes4::splat(value)}; }
    static Int splat(std::uint32_t value) { return {Lanes4::splat(value), Lanes4::splat(value)}; }
    static Float loadFloats(const float* source) {
        return {Lanes4::loadFloats(source), Lanes4::loadFloats(source + 4)};
    }
    static Float repeatFloats(const float* four) {
        return {Lanes4::loadFloats(four), Lanes4::loadFloats(four)};
    }
    static Int repeatInts(const std::uint32_t* four) {
        return {Lanes4::loadInts(four), Lanes4::loadInts(four)};
    }
};

} // namespace qor::Texsmith::Simd
