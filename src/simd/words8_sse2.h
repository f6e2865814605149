// The SSE2 back end of words.h; words8_scalar.h tells what each operation means.
#pragma once

#include "simd/float4_sse2.h"

namespace qor::Texsmith::Simd::Sse2 {

struct Word8 {
    __m128i m_lanes;
};
struct Wide8 {
    Int4 m_low, m_high;
};

inline Word8 operator+(Word8 a, Word8 b) { return {_mm_add_epi16(a.m_lanes, b.m_lanes)}; }
inline Word8 operator-(Word8 a, Word8 b) { return {_mm_sub_epi16(a.m_lanes, b.m_lanes)}; }
inline Word8 operator*(Word8 a, Word8 b) { return {_mm_mullo_epi16(a.m_lanes, b.m_lanes)}; }
inline Word8 operator&(Word8 a, Word8 b) { return {_mm_and_si128(a.m_lanes, b.m_lanes)}; }
inline Word8 operator|(Word8 a, Word8 b) { return {_mm_or_si128(a.m_lanes, b.m_lanes)}; }
inline Word8 operator^(Word8 a, Word8 b) { return {_mm_xor_si128(a.m_lanes, b.m_lanes)}; }
inline Word8 multiplyHigh(Word8 a, Word8 b) { return {_mm_mulhi_epi16(a.m_lanes, b.m_lanes)}; }
inline Word8 minimumSigned(Word8 a, Word8 b) { return {_mm_min_epi16(a.m_lanes, b.m_lanes)}; }
inline Word8 maximumSigned(Word8 a, Word8 b) { return {_mm_max_epi16(a.m_lanes, b.m_lanes)}; }
inline Word8 greaterSigned(Word8 a, Word8 b) { return {_mm_cmpgt_epi16(a.m_lanes, b.m_lanes)}; }
inline Word8 equal(Word8 a, Word8 b) { return {_mm_cmpeq_epi16(a.m_lanes, b.m_lanes)}; }
inline Word8 select(Word8 mask, Word8 a, Word8 b) {
    return {_mm_or_si128(_mm_and_si128(mask.m_lanes, a.m_lanes), _mm_andnot_si128(mask.m_lanes, b.m_lanes))};
}
inline bool anyLane(Word8 mask) { return _mm_movemask_epi8(mask.m_lanes) != 0; }
template <int kBits> inline Word8 shiftLeft(Word8 a) { return {_mm_slli_epi16(a.m_lanes, kBits)}; }
template <int kBits> inline Word8 shiftRight(Word8 a) { return {_mm_srli_epi16(a.m_lanes, kBits)}; }
template <int kBits> inline Word8 shiftRightSigned(Word8 a) { return {_mm_srai_epi16(a.m_lanes, kBits)}; }

inline Wide8 interleave(Word8 a, Word8 b) {
    return {{_mm_unpacklo_epi16(a.m_lanes, b.m_lanes)}, {_mm_unpackhi_epi16(a.m_lanes, b.m_lanes)}};
}
inline Wide8 widen(Word8 a) {
    const Wide8 twice = interleave(a, a);
    return {shiftRightSigned<16>(twice.m_low), shiftRightSigned<16>(twice.m_high)};
}
inline Wide8 sumOfProducts(Word8 a, Word8 b, Word8 c, Word8 d) {
    const Wide8 left = interleave(a, c), right = interleave(b, d);
    return {{_mm_madd_epi16(left.m_low.m_lanes, right.m_low.m_lanes)},
            {_mm_madd_epi16(left.m_high.m_lanes, right.m_high.m_lanes)}};
}
inline Word8 narrow(Wide8 a) { return {_mm_packs_epi32(a.m_low.m_lanes, a.m_high.m_lanes)}; }
inline void store(void* destination, Word8 a) {
    _mm_storeu_si128(static_cast<__m128i*>(destination), a.m_lanes);
}
inline void storeWide(void* destination, Wide8 a) {
    auto* to = static_cast<__m128i*>(destination);
    _mm_storeu_si128(to, a.m_low.m_lanes);
    _mm_storeu_si128(to + 1, a.m_high.m_lanes);
}

struct WordBackend {
    using Word = Word8;
    using Wide = Wide8;
    static constexpr unsigned kCount = 8;

    static Word splat(int value) { return {_mm_set1_epi16(static_cast<short>(value))}; }
    static Word load(const void* source) { return {_mm_loadu_si128(static_cast<const __m128i*>(source))}; }
    static Wide loadWide(const void* source) {
        const auto* from = static_cast<const __m128i*>(source);
        return {{_mm_loadu_si128(from)}, {_mm_loadu_si128(from + 1)}};
    }
};

} // namespace qor::Texsmith::Simd::Sse2
