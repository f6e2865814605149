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
inline Float4 operator/(Float4 a, Float4 b) { return {_mm_div_ps(a.m_lanes, b.m_lanes)}; }
inline Float4 squareRoot(Float4 a) { return {_mm_sqrt_ps(a.m_lanes)}; }
inline Float4 minimum(Float4 a, Float4 b) { return {_mm_min_ps(a.m_lanes, b.m_lanes)}; }
inline Float4 maximum(Float4 a, Float4 b) { return {_mm_max_ps(a.m_lanes, b.m_lanes)}; }

inline Float4 absolute(Float4 a) {
    return {_mm_and_ps(a.m_lanes, _mm_castsi128_ps(_mm_set1_epi32(0x7FFFFFFF)))};
}

inline Int4 less(Float4 a, Float4 b) { return {_mm_castps_si128(_mm_cmplt_ps(a.m_lanes, b.m_lanes))}; }
inline Int4 lessOrEqual(Float4 a, Float4 b) { return {_mm_castps_si128(_mm_cmple_ps(a.m_lanes, b.m_lanes))}; }
inline Int4 equal(Float4 a, Float4 b) { return {_mm_castps_si128(_mm_cmpeq_ps(a.m_lanes, b.m_lanes))}; }
inline float sumOfLanes(Float4 a) {
    const __m128 pairs = _mm_add_ps(a.m_lanes, _mm_movehl_ps(a.m_lanes, a.m_lanes));
    return _mm_cvtss_f32(_mm_add_ss(pairs, _mm_shuffle_ps(pairs, pairs, 1)));
}
inline void transpose(Float4 (&rows)[4]) {
    _MM_TRANSPOSE4_PS(rows[0].m_lanes, rows[1].m_lanes, rows[2].m_lanes, rows[3].m_lanes);
}

inline Int4 operator+(Int4 a, Int4 b) { return {_mm_add_epi32(a.m_lanes, b.m_lanes)}; }
inline Int4 operator-(Int4 a, Int4 b) { return {_mm_sub_epi32(a.m_lanes, b.m_lanes)}; }
// Even and odd lanes apart, as there are products of 64 bits only.
inline Int4 operator*(Int4 a, Int4 b) {
    const __m128i even = _mm_mul_epu32(a.m_lanes, b.m_lanes);
    const __m128i odd = _mm_mul_epu32(_mm_srli_epi64(a.m_lanes, 32), _mm_srli_epi64(b.m_lanes, 32));
    return {_mm_unpacklo_epi32(_mm_shuffle_epi32(even, 0x08), _mm_shuffle_epi32(odd, 0x08))};
}
inline Int4 operator&(Int4 a, Int4 b) { return {_mm_and_si128(a.m_lanes, b.m_lanes)}; }
inline Int4 operator|(Int4 a, Int4 b) { return {_mm_or_si128(a.m_lanes, b.m_lanes)}; }
inline Int4 operator^(Int4 a, Int4 b) { return {_mm_xor_si128(a.m_lanes, b.m_lanes)}; }
inline Int4 operator~(Int4 a) { return {_mm_xor_si128(a.m_lanes, _mm_set1_epi32(-1))}; }
template <int kBits> inline Int4 shiftLeft(Int4 a) { return {_mm_slli_epi32(a.m_lanes, kBits)}; }
template <int kBits> inline Int4 shiftRight(Int4 a) { return {_mm_srli_epi32(a.m_lanes, kBits)}; }
template <int kBits> inline Int4 shiftRightSigned(Int4 a) { return {_mm_srai_epi32(a.m_lanes, kBits)}; }
struct ShiftCount {
    __m128i m_bits;
};
inline ShiftCount shiftCount(unsigned bits) { return {_mm_cvtsi32_si128(static_cast<int>(bits))}; }
inline Int4 shiftLeft(Int4 a, ShiftCount count) { return {_mm_sll_epi32(a.m_lanes, count.m_bits)}; }
inline Int4 shiftRight(Int4 a, ShiftCount count) { return {_mm_srl_epi32(a.m_lanes, count.m_bits)}; }
// A product with a power of two, which is a float's exponent; the conversion of 2^31 gives its bits, too.
inline Int4 shiftLeft(Int4 a, Int4 counts) {
    const __m128i exponents = _mm_slli_epi32(_mm_add_epi32(counts.m_lanes, _mm_set1_epi32(127)), 23);
    return a * Int4{_mm_cvttps_epi32(_mm_castsi128_ps(exponents))};
}
// Four shifts, of which each gives one lane.
inline Int4 shiftRight(Int4 a, Int4 counts) {
    const __m128i low = _mm_and_si128(counts.m_lanes, _mm_set_epi32(0, -1, 0, -1));
    const __m128i high = _mm_srli_epi64(counts.m_lanes, 32);
    const __m128i first = _mm_srl_epi32(a.m_lanes, low), second = _mm_srl_epi32(a.m_lanes, high);
    const __m128i third = _mm_srl_epi32(a.m_lanes, _mm_unpackhi_epi64(low, low));
    const __m128i fourth = _mm_srl_epi32(a.m_lanes, _mm_unpackhi_epi64(high, high));
    const __m128i firstTwo = _mm_unpacklo_epi32(first, _mm_shuffle_epi32(second, 0x55));
    const __m128i lastTwo = _mm_unpackhi_epi32(third, _mm_shuffle_epi32(fourth, 0xFF));
    return {_mm_unpacklo_epi64(firstTwo, lastTwo)};
}
inline Int4 greaterSigned(Int4 a, Int4 b) { return {_mm_cmpgt_epi32(a.m_lanes, b.m_lanes)}; }
inline Int4 equal(Int4 a, Int4 b) { return {_mm_cmpeq_epi32(a.m_lanes, b.m_lanes)}; }
inline bool anyLane(Int4 mask) { return _mm_movemask_epi8(mask.m_lanes) != 0; }
inline bool allLanes(Int4 mask) { return _mm_movemask_epi8(mask.m_lanes) == 0xFFFF; }
inline std::uint32_t laneBits(Int4 mask) {
    return static_cast<std::uint32_t>(_mm_movemask_ps(_mm_castsi128_ps(mask.m_lanes)));
}
inline Int4 select(Int4 mask, Int4 a, Int4 b) {
    return {_mm_or_si128(_mm_and_si128(mask.m_lanes, a.m_lanes), _mm_andnot_si128(mask.m_lanes, b.m_lanes))};
}

inline Float4 select(Int4 mask, Float4 a, Float4 b) {
    return {_mm_castsi128_ps(
        select(mask, Int4{_mm_castps_si128(a.m_lanes)}, Int4{_mm_castps_si128(b.m_lanes)}).m_lanes)};
}
inline Int4 minimumSigned(Int4 a, Int4 b) { return select(greaterSigned(a, b), b, a); }
inline Int4 maximumSigned(Int4 a, Int4 b) { return select(greaterSigned(a, b), a, b); }
inline std::uint32_t sumOfLanes(Int4 a) {
    const __m128i pairs = _mm_add_epi32(a.m_lanes, _mm_shuffle_epi32(a.m_lanes, 0x4E));
    return static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_add_epi32(pairs, _mm_shuffle_epi32(pairs, 1))));
}

template <int kX, int kY, int kZ, int kW> inline Float4 shuffle(Float4 a) {
    return {_mm_shuffle_ps(a.m_lanes, a.m_lanes, kX | kY << 2 | kZ << 4 | kW << 6)};
}
template <int kX, int kY, int kZ, int kW> inline Int4 shuffle(Int4 a) {
    return {_mm_shuffle_epi32(a.m_lanes, kX | kY << 2 | kZ << 4 | kW << 6)};
}
inline Float4 makeFloats(float x, float y, float z, float w) { return {_mm_set_ps(w, z, y, x)}; }
inline Int4 makeInts(std::uint32_t x, std::uint32_t y, std::uint32_t z, std::uint32_t w) {
    return {
        _mm_set_epi32(static_cast<int>(w), static_cast<int>(z), static_cast<int>(y), static_cast<int>(x))};
}
inline Int4 fromBytes(std::uint32_t bytes) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i words = _mm_unpacklo_epi8(_mm_cvtsi32_si128(static_cast<int>(bytes)), zero);
    return {_mm_unpacklo_epi16(words, zero)};
}
inline Int4 fromWords(std::uint64_t words) {
    const __m128i loaded = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(&words));
    return {_mm_unpacklo_epi16(loaded, _mm_setzero_si128())};
}
inline std::uint32_t toBytes(Int4 a) {
    const __m128i words = _mm_packs_epi32(a.m_lanes, a.m_lanes);
    return static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_packus_epi16(words, words)));
}
// The pack saturates signed numbers, so the lanes are made signed first.
inline std::uint64_t toWords(Int4 a) {
    const __m128i extended = _mm_srai_epi32(_mm_slli_epi32(a.m_lanes, 16), 16);
    std::uint64_t words;
    _mm_storel_epi64(reinterpret_cast<__m128i*>(&words), _mm_packs_epi32(extended, extended));
    return words;
}

inline Int4 packBytes(const Int4 (&parts)[4]) {
    return {_mm_packus_epi16(_mm_packs_epi32(parts[0].m_lanes, parts[1].m_lanes),
                             _mm_packs_epi32(parts[2].m_lanes, parts[3].m_lanes))};
}
inline Int4 packWords(Int4 low, Int4 high) {
    return {_mm_packs_epi32(_mm_srai_epi32(_mm_slli_epi32(low.m_lanes, 16), 16),
                            _mm_srai_epi32(_mm_slli_epi32(high.m_lanes, 16), 16))};
}

inline Int4 bitsOf(Float4 a) { return {_mm_castps_si128(a.m_lanes)}; }
inline Float4 floatsOf(Int4 a) { return {_mm_castsi128_ps(a.m_lanes)}; }

inline Float4 toFloats(Int4 a) { return {_mm_cvtepi32_ps(a.m_lanes)}; }
inline Int4 truncateToInts(Float4 a) { return {_mm_cvttps_epi32(a.m_lanes)}; }
inline Int4 roundToInts(Float4 a) { return {_mm_cvtps_epi32(a.m_lanes)}; }

struct Backend {
    using Float = Float4;
    using Int = Int4;

    static Float splat(float value) { return Sse2::splat(value); }
    static Int splat(std::uint32_t value) { return Sse2::splat(value); }
    static ShiftCount shiftCount(unsigned bits) { return Sse2::shiftCount(bits); }
    static Float loadFloats(const void* source) { return Sse2::loadFloats(source); }
    static Int loadInts(const void* source) { return Sse2::loadInts(source); }
    static Float makeFloats(float x, float y, float z, float w) { return Sse2::makeFloats(x, y, z, w); }
    static Int makeInts(std::uint32_t x, std::uint32_t y, std::uint32_t z, std::uint32_t w) {
        return Sse2::makeInts(x, y, z, w);
    }
    static Int fromBytes(std::uint32_t bytes) { return Sse2::fromBytes(bytes); }
    static Int fromWords(std::uint64_t words) { return Sse2::fromWords(words); }
};

} // namespace qor::Texsmith::Simd::Sse2
