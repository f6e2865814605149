// Sixteen words at once, named as in words.h. Only for files that are compiled for AVX2.
#pragma once

#include "simd/lanes8_avx2.h"

namespace qor::Texsmith::Simd::Avx2 {

struct Word16 {
    __m256i m_lanes;
};
struct Wide16 {
    Int8 m_low, m_high; // lanes 0 to 3 and 8 to 11, and the others
};

inline Word16 operator+(Word16 a, Word16 b) { return {_mm256_add_epi16(a.m_lanes, b.m_lanes)}; }
inline Word16 operator-(Word16 a, Word16 b) { return {_mm256_sub_epi16(a.m_lanes, b.m_lanes)}; }
inline Word16 operator*(Word16 a, Word16 b) { return {_mm256_mullo_epi16(a.m_lanes, b.m_lanes)}; }
inline Word16 operator&(Word16 a, Word16 b) { return {_mm256_and_si256(a.m_lanes, b.m_lanes)}; }
inline Word16 operator|(Word16 a, Word16 b) { return {_mm256_or_si256(a.m_lanes, b.m_lanes)}; }
inline Word16 operator^(Word16 a, Word16 b) { return {_mm256_xor_si256(a.m_lanes, b.m_lanes)}; }
inline Word16 multiplyHigh(Word16 a, Word16 b) { return {_mm256_mulhi_epi16(a.m_lanes, b.m_lanes)}; }
inline Word16 minimumSigned(Word16 a, Word16 b) { return {_mm256_min_epi16(a.m_lanes, b.m_lanes)}; }
inline Word16 maximumSigned(Word16 a, Word16 b) { return {_mm256_max_epi16(a.m_lanes, b.m_lanes)}; }
inline Word16 greaterSigned(Word16 a, Word16 b) { return {_mm256_cmpgt_epi16(a.m_lanes, b.m_lanes)}; }
inline Word16 equal(Word16 a, Word16 b) { return {_mm256_cmpeq_epi16(a.m_lanes, b.m_lanes)}; }
inline Word16 select(Word16 mask, Word16 a, Word16 b) {
    return {_mm256_blendv_epi8(b.m_lanes, a.m_lanes, mask.m_lanes)};
}
inline bool anyLane(Word16 mask) { return _mm256_movemask_epi8(mask.m_lanes) != 0; }
template <int kBits> inline Word16 shiftLeft(Word16 a) { return {_mm256_slli_epi16(a.m_lanes, kBits)}; }
template <int kBits> inline Word16 shiftRight(Word16 a) { return {_mm256_srli_epi16(a.m_lanes, kBits)}; }
template <int kBits> inline Word16 shiftRightSigned(Word16 a) {
    return {_mm256_srai_epi16(a.m_lanes, kBits)};
}

inline Wide16 interleave(Word16 a, Word16 b) {
    return {{_mm256_unpacklo_epi16(a.m_lanes, b.m_lanes)}, {_mm256_unpackhi_epi16(a.m_lanes, b.m_lanes)}};
}
inline Wide16 widen(Word16 a) {
    const Wide16 twice = interleave(a, a);
    return {shiftRightSigned<16>(twice.m_low), shiftRightSigned<16>(twice.m_high)};
}
inline Wide16 sumOfProducts(Word16 a, Word16 b, Word16 c, Word16 d) {
    const Wide16 left = interleave(a, c), right = interleave(b, d);
    return {{_mm256_madd_epi16(left.m_low.m_lanes, right.m_low.m_lanes)},
            {_mm256_madd_epi16(left.m_high.m_lanes, right.m_high.m_lanes)}};
}
inline Word16 narrow(Wide16 a) { return {_mm256_packs_epi32(a.m_low.m_lanes, a.m_high.m_lanes)}; }
inline void store(void* destination, Word16 a) {
    _mm256_storeu_si256(static_cast<__m256i*>(destination), a.m_lanes);
}
inline void storeWide(void* destination, Wide16 a) {
    auto* to = static_cast<__m256i*>(destination);
    _mm256_storeu_si256(to, _mm256_permute2x128_si256(a.m_low.m_lanes, a.m_high.m_lanes, 0x20));
    _mm256_storeu_si256(to + 1, _mm256_permute2x128_si256(a.m_low.m_lanes, a.m_high.m_lanes, 0x31));
}

struct Words16 {
    using Word = Word16;
    using Wide = Wide16;
    using Lanes = Lanes8;
    static constexpr unsigned kCount = 16;

    static Word splat(int value) { return {_mm256_set1_epi16(static_cast<short>(value))}; }
    static Word load(const void* source) { return {_mm256_loadu_si256(static_cast<const __m256i*>(source))}; }
    static Wide loadWide(const void* source) {
        const auto* from = static_cast<const __m256i*>(source);
        const __m256i first = _mm256_loadu_si256(from), second = _mm256_loadu_si256(from + 1);
        return {{_mm256_permute2x128_si256(first, second, 0x20)},
                {_mm256_permute2x128_si256(first, second, 0x31)}};
    }
};

} // namespace qor::Texsmith::Simd::Avx2
