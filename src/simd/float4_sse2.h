// The SSE2 back end of float4.h; float4_scalar.h tells what each operation means.
#pragma once

#include <cstdint>

#include <emmintrin.h>

namespace qor::Texsmith::Simd::Sse2 {

struct Float4 {
    __m128 m_lanes;
};
struct Int4 {
    __m128i m_lanes;
};

inline Float4 splat(float value) { return {_mm_set1_ps(value)}; }
inline Int4 splat(std::uint32_t value) { return {_mm_set1_epi32(static_cast<int>(value))}; }

inline Float4 loadFloats(const void* source) { return {_mm_loadu_ps(static_cast<const float*>(source))}; }
inline Int4 loadInts(const void* source) { return {_mm_loadu_si128(static_cast<const __m128i*>(source))}; }
inline void store(void* destination, Float4 a) { _mm_storeu_ps(static_cast<float*>(destination), a.m_lanes); }
inline void store(void* destination, Int4 a) {
    _mm_storeu_si128(static_cast<__m128i*>(destination), a.m_lanes);
}

inline Float4 operator+(Float4 a, Float4 b) { return {_mm_add_ps(a.m_lanes, b.m_lanes)}; }
inline Float4 operator-(Float4 a, Float4 b) { return {_mm_sub_ps(a.m_lanes, b.m_lanes)}; }
inline Float4 operator*(Float4 a, Float4 b) { return {_mm_mul_ps(a.m_lanes, b.m_lanes)}; }
inline Float4 squareRoot(Float4 a) { return {_mm_sqrt_ps(a.m_lanes)}; }
inline Float4 minimum(Float4 a, Float4 b) { return {_mm_min_ps(a.m_lanes, b.m_lanes)}; }
inline Float4 maximum(Float4 a, Float4 b) { return {_mm_max_ps(a.m_lanes, b.m_lanes)}; }

inline Int4 operator+(Int4 a, Int4 b) { return {_mm_add_epi32(a.m_lanes, b.m_lanes)}; }
inline Int4 operator-(Int4 a, Int4 b) { return {_mm_sub_epi32(a.m_lanes, b.m_lanes)}; }
inline Int4 operator&(Int4 a, Int4 b) { return {_mm_and_si128(a.m_lanes, b.m_lanes)}; }
inline Int4 operator|(Int4 a, Int4 b) { return {_mm_or_si128(a.m_lanes, b.m_lanes)}; }
inline Int4 operator^(Int4 a, Int4 b) { return {_mm_xor_si128(a.m_lanes, b.m_lanes)}; }
template <int kBits> inline Int4 shiftLeft(Int4 a) { return {_mm_slli_epi32(a.m_lanes, kBits)}; }
template <int kBits> inline Int4 shiftRight(Int4 a) { return {_mm_srli_epi32(a.m_lanes, kBits)}; }
template <int kBits> inline Int4 shiftRightSigned(Int4 a) { return {_mm_srai_epi32(a.m_lanes, kBits)}; }
inline Int4 greaterSigned(Int4 a, Int4 b) { return {_mm_cmpgt_epi32(a.m_lanes, b.m_lanes)}; }
inline Int4 equal(Int4 a, Int4 b) { return {_mm_cmpeq_epi32(a.m_lanes, b.m_lanes)}; }
inline Int4 select(Int4 mask, Int4 a, Int4 b) {
    return {_mm_or_si128(_mm_and_si128(mask.m_lanes, a.m_lanes), _mm_andnot_si128(mask.m_lanes, b.m_lanes))};
}

inline Int4 bitsOf(Float4 a) { return {_mm_castps_si128(a.m_lanes)}; }
inline Float4 floatsOf(Int4 a) { return {_mm_castsi128_ps(a.m_lanes)}; }

inline Float4 toFloats(Int4 a) { return {_mm_cvtepi32_ps(a.m_lanes)}; }
inline Int4 truncateToInts(Float4 a) { return {_mm_cvttps_epi32(a.m_lanes)}; }
inline Int4 roundToInts(Float4 a) { return {_mm_cvtps_epi32(a.m_lanes)}; }

} // namespace qor::Texsmith::Simd::Sse2
