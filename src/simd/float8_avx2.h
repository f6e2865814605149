// Eight floats or eight 32-bit integers, named as in float4.h. Only for files that are compiled for AVX2.
#pragma once

#include <cstdint>

#include <immintrin.h>

namespace qor::Texsmith::Simd::Avx2 {

struct Float8 {
    __m256 m_lanes;
};
struct Int8 {
    __m256i m_lanes;
};

inline Float8 splat(float value) { return {_mm256_set1_ps(value)}; }
inline Int8 splat(std::uint32_t value) { return {_mm256_set1_epi32(static_cast<int>(value))}; }

inline Float8 loadFloats(const void* source) { return {_mm256_loadu_ps(static_cast<const float*>(source))}; }
inline Int8 loadInts(const void* source) { return {_mm256_loadu_si256(static_cast<const __m256i*>(source))}; }
inline void store(void* destination, Float8 a) {
    _mm256_storeu_ps(static_cast<float*>(destination), a.m_lanes);
}
inline void store(void* destination, Int8 a) {
    _mm256_storeu_si256(static_cast<__m256i*>(destination), a.m_lanes);
}

inline Float8 operator+(Float8 a, Float8 b) { return {_mm256_add_ps(a.m_lanes, b.m_lanes)}; }
inline Float8 operator-(Float8 a, Float8 b) { return {_mm256_sub_ps(a.m_lanes, b.m_lanes)}; }
inline Float8 operator*(Float8 a, Float8 b) { return {_mm256_mul_ps(a.m_lanes, b.m_lanes)}; }
inline Float8 operator/(Float8 a, Float8 b) { return {_mm256_div_ps(a.m_lanes, b.m_lanes)}; }
inline Float8 squareRoot(Float8 a) { return {_mm256_sqrt_ps(a.m_lanes)}; }
inline Float8 minimum(Float8 a, Float8 b) { return {_mm256_min_ps(a.m_lanes, b.m_lanes)}; }
inline Float8 maximum(Float8 a, Float8 b) { return {_mm256_max_ps(a.m_lanes, b.m_lanes)}; }

inline Float8 absolute(Float8 a) {
    return {_mm256_and_ps(a.m_lanes, _mm256_castsi256_ps(_mm256_set1_epi32(0x7FFFFFFF)))};
}

inline Int8 less(Float8 a, Float8 b) {
    return {_mm256_castps_si256(_mm256_cmp_ps(a.m_lanes, b.m_lanes, _CMP_LT_OQ))};
}
inline Int8 lessOrEqual(Float8 a, Float8 b) {
    return {_mm256_castps_si256(_mm256_cmp_ps(a.m_lanes, b.m_lanes, _CMP_LE_OQ))};
}
inline Int8 equal(Float8 a, Float8 b) {
    return {_mm256_castps_si256(_mm256_cmp_ps(a.m_lanes, b.m_lanes, _CMP_EQ_OQ))};
}
inline float sumOfLanes(Float8 a) {
    const __m128 half = _mm_add_ps(_mm256_castps256_ps128(a.m_lanes), _mm256_extractf128_ps(a.m_lanes, 1));
    const __m128 pairs = _mm_add_ps(half, _mm_movehl_ps(half, half));
    return _mm_cvtss_f32(_mm_add_ss(pairs, _mm_shuffle_ps(pairs, pairs, 1)));
}
// Four floats from each place.
inline Float8 loadHalves(const void* low, const void* high) {
    const __m256 wide = _mm256_castps128_ps256(_mm_loadu_ps(static_cast<const float*>(low)));
    return {_mm256_insertf128_ps(wide, _mm_loadu_ps(static_cast<const float*>(high)), 1)};
}
// The two halves are squares of their own.
inline void transpose(Float8 (&rows)[4]) {
    const __m256 a = _mm256_unpacklo_ps(rows[0].m_lanes, rows[1].m_lanes);
    const __m256 b = _mm256_unpackhi_ps(rows[0].m_lanes, rows[1].m_lanes);
    const __m256 c = _mm256_unpacklo_ps(rows[2].m_lanes, rows[3].m_lanes);
    const __m256 d = _mm256_unpackhi_ps(rows[2].m_lanes, rows[3].m_lanes);
    rows[0].m_lanes = _mm256_shuffle_ps(a, c, 0x44);
    rows[1].m_lanes = _mm256_shuffle_ps(a, c, 0xEE);
    rows[2].m_lanes = _mm256_shuffle_ps(b, d, 0x44);
    rows[3].m_lanes = _mm256_shuffle_ps(b, d, 0xEE);
}

inline Int8 operator+(Int8 a, Int8 b) { return {_mm256_add_epi32(a.m_lanes, b.m_lanes)}; }
inline Int8 operator-(Int8 a, Int8 b) { return {_mm256_sub_epi32(a.m_lanes, b.m_lanes)}; }
inline Int8 operator*(Int8 a, Int8 b) { return {_mm256_mullo_epi32(a.m_lanes, b.m_lanes)}; }
inline Int8 operator&(Int8 a, Int8 b) { return {_mm256_and_si256(a.m_lanes, b.m_lanes)}; }
inline Int8 operator|(Int8 a, Int8 b) { return {_mm256_or_si256(a.m_lanes, b.m_lanes)}; }
inline Int8 operator^(Int8 a, Int8 b) { return {_mm256_xor_si256(a.m_lanes, b.m_lanes)}; }
inline Int8 operator~(Int8 a) { return {_mm256_xor_si256(a.m_lanes, _mm256_set1_epi32(-1))}; }
template <int kBits> inline Int8 shiftLeft(Int8 a) { return {_mm256_slli_epi32(a.m_lanes, kBits)}; }
template <int kBits> inline Int8 shiftRight(Int8 a) { return {_mm256_srli_epi32(a.m_lanes, kBits)}; }
template <int kBits> inline Int8 shiftRightSigned(Int8 a) { return {_mm256_srai_epi32(a.m_lanes, kBits)}; }
struct ShiftCount {
    __m256i m_bits;
};
inline ShiftCount shiftCount(unsigned bits) { return {_mm256_set1_epi32(static_cast<int>(bits))}; }
inline Int8 shiftLeft(Int8 a, ShiftCount count) { return {_mm256_sllv_epi32(a.m_lanes, count.m_bits)}; }
inline Int8 shiftRight(Int8 a, ShiftCount count) { return {_mm256_srlv_epi32(a.m_lanes, count.m_bits)}; }
inline Int8 shiftLeft(Int8 a, Int8 counts) { return {_mm256_sllv_epi32(a.m_lanes, counts.m_lanes)}; }
inline Int8 shiftRight(Int8 a, Int8 counts) { return {_mm256_srlv_epi32(a.m_lanes, counts.m_lanes)}; }
inline Int8 greaterSigned(Int8 a, Int8 b) { return {_mm256_cmpgt_epi32(a.m_lanes, b.m_lanes)}; }
inline Int8 equal(Int8 a, Int8 b) { return {_mm256_cmpeq_epi32(a.m_lanes, b.m_lanes)}; }
inline bool anyLane(Int8 mask) { return _mm256_movemask_epi8(mask.m_lanes) != 0; }
inline bool allLanes(Int8 mask) { return _mm256_movemask_epi8(mask.m_lanes) == -1; }
inline std::uint32_t laneBits(Int8 mask) {
    return static_cast<std::uint32_t>(_mm256_movemask_ps(_mm256_castsi256_ps(mask.m_lanes)));
}
inline Int8 select(Int8 mask, Int8 a, Int8 b) {
    return {_mm256_blendv_epi8(b.m_lanes, a.m_lanes, mask.m_lanes)};
}
inline Float8 select(Int8 mask, Float8 a, Float8 b) {
    return {_mm256_blendv_ps(b.m_lanes, a.m_lanes, _mm256_castsi256_ps(mask.m_lanes))};
}
inline Int8 minimumSigned(Int8 a, Int8 b) { return {_mm256_min_epi32(a.m_lanes, b.m_lanes)}; }
inline Int8 maximumSigned(Int8 a, Int8 b) { return {_mm256_max_epi32(a.m_lanes, b.m_lanes)}; }
inline std::uint32_t sumOfLanes(Int8 a) {
    const __m128i half =
        _mm_add_epi32(_mm256_castsi256_si128(a.m_lanes), _mm256_extracti128_si256(a.m_lanes, 1));
    const __m128i pairs = _mm_add_epi32(half, _mm_shuffle_epi32(half, 0x4E));
    return static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_add_epi32(pairs, _mm_shuffle_epi32(pairs, 1))));
}

template <int kX, int kY, int kZ, int kW> inline Float8 shuffle(Float8 a) {
    return {_mm256_permute_ps(a.m_lanes, kX | kY << 2 | kZ << 4 | kW << 6)};
}
template <int kX, int kY, int kZ, int kW> inline Int8 shuffle(Int8 a) {
    return {_mm256_shuffle_epi32(a.m_lanes, kX | kY << 2 | kZ << 4 | kW << 6)};
}

// The packs work within the halves of a vector, so their results are put in order. Signed in the first step,
// so that what is too large for 16 bits stays positive in the second.
inline Int8 packBytes(const Int8 (&parts)[4]) {
    const __m256i low = _mm256_packs_epi32(parts[0].m_lanes, parts[1].m_lanes);
    const __m256i high = _mm256_packs_epi32(parts[2].m_lanes, parts[3].m_lanes);
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    return {_mm256_permutevar8x32_epi32(_mm256_packus_epi16(low, high), order)};
}
inline Int8 packWords(Int8 low, Int8 high) {
    return {_mm256_permute4x64_epi64(_mm256_packus_epi32(low.m_lanes, high.m_lanes), 0xD8)};
}

inline Int8 bitsOf(Float8 a) { return {_mm256_castps_si256(a.m_lanes)}; }
inline Float8 floatsOf(Int8 a) { return {_mm256_castsi256_ps(a.m_lanes)}; }

inline Float8 toFloats(Int8 a) { return {_mm256_cvtepi32_ps(a.m_lanes)}; }
inline Int8 truncateToInts(Float8 a) { return {_mm256_cvttps_epi32(a.m_lanes)}; }
inline Int8 roundToInts(Float8 a) { return {_mm256_cvtps_epi32(a.m_lanes)}; }

} // namespace qor::Texsmith::Simd::Avx2
