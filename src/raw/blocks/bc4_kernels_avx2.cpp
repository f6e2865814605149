// The loops of the BC4 fit for AVX2: 16 words in a vector.
#include "raw/blocks/bc4_kernels.h"

#if defined(__AVX2__)

#    include "raw/blocks/bc4_lanes.h"

#    include <immintrin.h>

namespace qor::Texsmith::Raw {
namespace {

__m128i loadEight(const std::int16_t* words) {
    return _mm_load_si128(reinterpret_cast<const __m128i*>(words));
}

struct SixteenWords {
    using Palette = __m256i; // the eight entries in both halves

    __m256i m_lanes;

    static SixteenWords splat(short word) { return {_mm256_set1_epi16(word)}; }
    static SixteenWords load(const std::int16_t* words) {
        return {_mm256_loadu_si256(reinterpret_cast<const __m256i*>(words))};
    }
    static Palette makePalette(const Bc4Mode& mode, Bc4Endpoints ends) {
        const __m128i first = _mm_mullo_epi16(loadEight(mode.m_first), _mm_set1_epi16(ends.a));
        const __m128i second = _mm_mullo_epi16(loadEight(mode.m_second), _mm_set1_epi16(ends.b));
        const __m128i entries = _mm_add_epi16(_mm_add_epi16(first, second), loadEight(mode.m_constant));
        return _mm256_broadcastsi128_si256(entries);
    }
    template <int kEntry> static SixteenWords entry(Palette palette) {
        constexpr short kBytes = (2 * kEntry + 1) << 8 | 2 * kEntry;
        return {_mm256_shuffle_epi8(palette, _mm256_set1_epi16(kBytes))};
    }
    // Both bytes of a word of the table, for each code.
    static SixteenWords lookUp(const std::int16_t* table, SixteenWords codes) {
        const __m256i selects = _mm256_add_epi16(_mm256_mullo_epi16(codes.m_lanes, _mm256_set1_epi16(0x0202)),
                                                 _mm256_set1_epi16(0x0100));
        return {_mm256_shuffle_epi8(_mm256_broadcastsi128_si256(loadEight(table)), selects)};
    }

    friend SixteenWords operator-(SixteenWords a, SixteenWords b) {
        return {_mm256_sub_epi16(a.m_lanes, b.m_lanes)};
    }
    friend SixteenWords minimumSigned(SixteenWords a, SixteenWords b) {
        return {_mm256_min_epi16(a.m_lanes, b.m_lanes)};
    }
    friend SixteenWords absolute(SixteenWords a) { return {_mm256_abs_epi16(a.m_lanes)}; }
    friend SixteenWords greaterSigned(SixteenWords a, SixteenWords b) {
        return {_mm256_cmpgt_epi16(a.m_lanes, b.m_lanes)};
    }
    friend SixteenWords select(SixteenWords mask, SixteenWords a, SixteenWords b) {
        return {_mm256_blendv_epi8(b.m_lanes, a.m_lanes, mask.m_lanes)};
    }
    friend std::uint32_t dot(SixteenWords a, SixteenWords b) {
        const __m256i eight = _mm256_madd_epi16(a.m_lanes, b.m_lanes);
        const __m128i four = _mm_add_epi32(_mm256_castsi256_si128(eight), _mm256_extracti128_si256(eight, 1));
        const __m128i two = _mm_add_epi32(four, _mm_shuffle_epi32(four, 0x4E));
        const __m128i one = _mm_add_epi32(two, _mm_shuffle_epi32(two, 0xB1));
        return static_cast<std::uint32_t>(_mm_cvtsi128_si32(one));
    }
    friend void store(std::uint16_t* words, SixteenWords a) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(words), a.m_lanes);
    }
};

constexpr Bc4Kernels kKernels = Bc4Lanes<SixteenWords>::makeKernels();

} // namespace

const Bc4Kernels* bc4KernelsAvx2() { return &kKernels; }

} // namespace qor::Texsmith::Raw

#else

namespace qor::Texsmith::Raw {

const Bc4Kernels* bc4KernelsAvx2() { return nullptr; }

} // namespace qor::Texsmith::Raw

#endif
