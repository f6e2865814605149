// Eight lanes at once, in the words of lanes4.h. Only for files that are compiled for AVX2.
#pragma once

#include "simd/float8_avx2.h"

namespace qor::Texsmith::Simd::Avx2 {

struct Lanes8 {
    using Float = Float8;
    using Int = Int8;
    static constexpr unsigned kCount = 8;

    static Float splat(float value) { return Avx2::splat(value); }
    static Int splat(std::uint32_t value) { return Avx2::splat(value); }
    static Int laneNumbers() { return {_mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7)}; }
    static auto shiftCount(unsigned bits) { return Avx2::shiftCount(bits); }

    static Float loadFloats(const void* source) { return Avx2::loadFloats(source); }
    static Int loadInts(const void* source) { return Avx2::loadInts(source); }
    static Int loadBytes(const void* source) {
        return {_mm256_cvtepu8_epi32(_mm_loadl_epi64(static_cast<const __m128i*>(source)))};
    }
    static Int loadWords(const void* source) { return {_mm256_cvtepu16_epi32(loadHalf(source))}; }
    static void storeBytes(void* destination, Int values) {
        const __m128i words = wordsOf(values);
        _mm_storel_epi64(static_cast<__m128i*>(destination), _mm_packus_epi16(words, words));
    }
    static void storeWords(void* destination, Int values) {
        _mm_storeu_si128(static_cast<__m128i*>(destination), wordsOf(values));
    }
    static Float repeatFloats(const float* four) { return loadHalves(four, four); }
    static Int repeatInts(const std::uint32_t* four) { return {_mm256_broadcastsi128_si256(loadHalf(four))}; }

    static Int lookUp(const std::uint32_t* table, Int places) {
        return {_mm256_i32gather_epi32(reinterpret_cast<const int*>(table), places.m_lanes, 4)};
    }
    static Float lookUp(const float* table, Int places) {
        return {_mm256_i32gather_ps(table, places.m_lanes, 4)};
    }

    static void loadTexels(Float (&channels)[4], const float* texels, unsigned stride) {
        for (unsigned i = 0; i < 4; ++i) {
            channels[i] = loadHalves(texels + stride * i, texels + stride * (i + 4));
        }
        transpose(channels);
    }
    static void storeTexels(float* texels, unsigned stride, const Float (&channels)[4]) {
        Float rows[4] = {channels[0], channels[1], channels[2], channels[3]};
        transpose(rows);
        for (unsigned i = 0; i < 4; ++i) {
            _mm_storeu_ps(texels + stride * i, _mm256_castps256_ps128(rows[i].m_lanes));
            _mm_storeu_ps(texels + stride * (i + 4), _mm256_extractf128_ps(rows[i].m_lanes, 1));
        }
    }

private:
    static __m128i loadHalf(const void* source) {
        return _mm_loadu_si128(static_cast<const __m128i*>(source));
    }
    static __m128i wordsOf(Int values) {
        return _mm_packus_epi32(_mm256_castsi256_si128(values.m_lanes),
                                _mm256_extracti128_si256(values.m_lanes, 1));
    }
};

} // namespace qor::Texsmith::Simd::Avx2
