// The loops of the BC4 fit for SSE2: 16 words in two vectors.
#include "raw/blocks/bc4_kernels.h"

#if !defined(TEXSMITH_SCALAR) && (defined(__SSE2__) || defined(_M_X64))

#    include "raw/blocks/bc4_lanes.h"

#    include <emmintrin.h>

namespace qor::Texsmith::Raw {
namespace {

__m128i loadEight(const std::int16_t* words) {
    return _mm_load_si128(reinterpret_cast<const __m128i*>(words));
}

struct WordPairs {
    using Palette = __m128i;

    __m128i m_low, m_high;

    static WordPairs splat(short word) { return {_mm_set1_epi16(word), _mm_set1_epi16(word)}; }
    static WordPairs load(const std::int16_t* words) { return {loadEight(words), loadEight(words + 8)}; }
    static Palette makePalette(const Bc4Mode& mode, Bc4Endpoints ends) {
        const __m128i first = _mm_mullo_epi16(loadEight(mode.m_first), _mm_set1_epi16(ends.a));
        const __m128i second = _mm_mullo_epi16(loadEight(mode.m_second), _mm_set1_epi16(ends.b));
        return _mm_add_epi16(_mm_add_epi16(first, second), loadEight(mode.m_constant));
    }
    template <int kEntry> static WordPairs entry(Palette palette) {
        constexpr int kWord = kEntry % 4 * 0x55;
        const __m128i half =
            kEntry < 4 ? _mm_shufflelo_epi16(palette, kWord) : _mm_shufflehi_epi16(palette, kWord);
        const __m128i everywhere = _mm_shuffle_epi32(half, kEntry < 4 ? 0x00 : 0xAA);
        return {everywhere, everywhere};
    }
    static WordPairs lookUp(const std::int16_t* table, WordPairs codes) {
        WordPairs found = splat(table[0]);
        for (short code = 1; code < 8; ++code) {
            const __m128i sought = _mm_set1_epi16(code);
            const WordPairs here = {_mm_cmpeq_epi16(codes.m_low, sought),
                                    _mm_cmpeq_epi16(codes.m_high, sought)};
            found = select(here, splat(table[code]), found);
        }
        return found;
    }

    friend WordPairs operator-(WordPairs a, WordPairs b) {
        return {_mm_sub_epi16(a.m_low, b.m_low), _mm_sub_epi16(a.m_high, b.m_high)};
    }
    friend WordPairs minimumSigned(WordPairs a, WordPairs b) {
        return {_mm_min_epi16(a.m_low, b.m_low), _mm_min_epi16(a.m_high, b.m_high)};
    }
    friend WordPairs absolute(WordPairs a) {
        const __m128i zero = _mm_setzero_si128();
        return {_mm_max_epi16(a.m_low, _mm_sub_epi16(zero, a.m_low)),
                _mm_max_epi16(a.m_high, _mm_sub_epi16(zero, a.m_high))};
    }
    friend WordPairs greaterSigned(WordPairs a, WordPairs b) {
        return {_mm_cmpgt_epi16(a.m_low, b.m_low), _mm_cmpgt_epi16(a.m_high, b.m_high)};
    }
    static __m128i selectEight(__m128i mask, __m128i a, __m128i b) {
        return _mm_or_si128(_mm_and_si128(mask, a), _mm_andnot_si128(mask, b));
    }
    friend WordPairs select(WordPairs mask, WordPairs a, WordPairs b) {
        return {selectEight(mask.m_low, a.m_low, b.m_low), selectEight(mask.m_high, a.m_high, b.m_high)};
    }
    friend std::uint32_t dot(WordPairs a, WordPairs b) {
        const __m128i four =
            _mm_add_epi32(_mm_madd_epi16(a.m_low, b.m_low), _mm_madd_epi16(a.m_high, b.m_high));
        const __m128i two = _mm_add_epi32(four, _mm_shuffle_epi32(four, 0x4E));
        const __m128i one = _mm_add_epi32(two, _mm_shuffle_epi32(two, 0xB1));
        return static_cast<std::uint32_t>(_mm_cvtsi128_si32(one));
    }
    friend void store(std::uint16_t* words, WordPairs a) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(words), a.m_low);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(words + 8), a.m_high);
    }
};

constexpr Bc4Kernels kKernels = Bc4Lanes<WordPairs>::makeKernels();

} // namespace

const Bc4Kernels* bc4KernelsSse2() { return &kKernels; }

} // namespace qor::Texsmith::Raw

#else

namespace qor::Texsmith::Raw {

const Bc4Kernels* bc4KernelsSse2() { return nullptr; }

} // namespace qor::Texsmith::Raw

#endif
