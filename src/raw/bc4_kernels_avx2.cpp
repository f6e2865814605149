#include "raw/bc4_kernels.h"

#if defined(__AVX2__)

#    include <immintrin.h>

namespace qor::Texsmith::Raw {
namespace {

__m128i loadWords(const std::int16_t* words) {
    return _mm_load_si128(reinterpret_cast<const __m128i*>(words));
}

__m256i loadValues(const Bc4Values& values) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(values.m_texels));
}

// The eight entries in both halves.
__m256i makePalette(const Bc4Mode& mode, Bc4Endpoints ends) {
    const __m128i first = _mm_mullo_epi16(loadWords(mode.m_first), _mm_set1_epi16(ends.a));
    const __m128i second = _mm_mullo_epi16(loadWords(mode.m_second), _mm_set1_epi16(ends.b));
    const __m128i entries = _mm_add_epi16(_mm_add_epi16(first, second), loadWords(mode.m_constant));
    return _mm256_broadcastsi128_si256(entries);
}

__m256i distanceTo(__m256i values, __m256i palette, int entry) {
    const __m256i everywhere =
        _mm256_shuffle_epi8(palette, _mm256_set1_epi16(static_cast<short>((2 * entry + 1) << 8 | 2 * entry)));
    return _mm256_abs_epi16(_mm256_sub_epi16(values, everywhere));
}

__m256i nearestDistances(__m256i values, __m256i palette) {
    __m256i best = distanceTo(values, palette, 0);
    for (int entry = 1; entry < 8; ++entry) {
        best = _mm256_min_epi16(best, distanceTo(values, palette, entry));
    }
    return best;
}

__m256i nearestCodes(__m256i values, __m256i palette) {
    __m256i best = distanceTo(values, palette, 0), codes = _mm256_setzero_si256();
    for (int entry = 1; entry < 8; ++entry) {
        const __m256i distance = distanceTo(values, palette, entry);
        const __m256i isNearer = _mm256_cmpgt_epi16(best, distance);
        codes = _mm256_blendv_epi8(codes, _mm256_set1_epi16(static_cast<short>(entry)), isNearer);
        best = _mm256_min_epi16(best, distance);
    }
    return codes;
}

std::uint32_t sumOf(__m256i lanes) {
    const __m128i four = _mm_add_epi32(_mm256_castsi256_si128(lanes), _mm256_extracti128_si256(lanes, 1));
    const __m128i two = _mm_add_epi32(four, _mm_shuffle_epi32(four, 0x4E));
    const __m128i one = _mm_add_epi32(two, _mm_shuffle_epi32(two, 0xB1));
    return static_cast<std::uint32_t>(_mm_cvtsi128_si32(one));
}

std::int32_t dotOf(__m256i a, __m256i b) { return static_cast<std::int32_t>(sumOf(_mm256_madd_epi16(a, b))); }

void errorsAvx2(const Bc4Values& values, const Bc4Mode& mode, const Bc4Endpoints* ends, unsigned count,
                std::uint32_t* errors) {
    const __m256i texels = loadValues(values);
    for (unsigned i = 0; i < count; ++i) {
        const __m256i distances = nearestDistances(texels, makePalette(mode, ends[i]));
        errors[i] = sumOf(_mm256_madd_epi16(distances, distances));
    }
}

// Both bytes of a word of the table, for each code.
__m256i lookUp(const std::int16_t* table, __m256i codes) {
    const __m256i selects =
        _mm256_add_epi16(_mm256_mullo_epi16(codes, _mm256_set1_epi16(0x0202)), _mm256_set1_epi16(0x0100));
    return _mm256_shuffle_epi8(_mm256_broadcastsi128_si256(loadWords(table)), selects);
}

Bc4Sums sumsAvx2(const Bc4Values& values, const Bc4Mode& mode, Bc4Endpoints ends) {
    const __m256i texels = loadValues(values);
    const __m256i codes = nearestCodes(texels, makePalette(mode, ends));
    const __m256i first = lookUp(mode.m_first, codes), second = lookUp(mode.m_second, codes);
    return {dotOf(first, first), dotOf(first, second), dotOf(second, second), dotOf(first, texels),
            dotOf(second, texels)};
}

void codesAvx2(const Bc4Values& values, const Bc4Mode& mode, Bc4Endpoints ends, std::uint16_t* codes) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(codes),
                        nearestCodes(loadValues(values), makePalette(mode, ends)));
}

constexpr Bc4Kernels kKernels = {&errorsAvx2, &sumsAvx2, &codesAvx2};

} // namespace

const Bc4Kernels* bc4KernelsAvx2() { return &kKernels; }

} // namespace qor::Texsmith::Raw

#else

namespace qor::Texsmith::Raw {

const Bc4Kernels* bc4KernelsAvx2() { return nullptr; }

} // namespace qor::Texsmith::Raw

#endif
