// The eight values of a block of BC4, in each half of a register. Only for files that are compiled for AVX2.
#pragma once

#include "raw/blocks/bc4_weights.h"

#include <cstdint>

#include <immintrin.h>

namespace qor::Texsmith::Raw::Bc4Avx2 {

// The weights of both endpoints side by side, as bytes, for each index.
struct WeightPairs {
    std::int8_t m_bytes[16];
};
constexpr WeightPairs pairsOf(const Bc4Weights& weights) {
    WeightPairs pairs = {};
    for (int i = 0; i < 8; ++i) {
        pairs.m_bytes[2 * i] = static_cast<std::int8_t>(weights.m_first[i]);
        pairs.m_bytes[2 * i + 1] = static_cast<std::int8_t>(weights.m_second[i]);
    }
    return pairs;
}
inline constexpr WeightPairs kEightWeights = pairsOf(kBc4EightValues), kSixWeights = pairsOf(kBc4SixValues);

inline __m256i inBothHalves(const std::int8_t (&bytes)[16]) {
    return _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)));
}
inline __m256i loadHalves(const std::uint8_t* low, const std::uint8_t* high) {
    const __m128i first = _mm_loadu_si128(reinterpret_cast<const __m128i*>(low));
    return _mm256_inserti128_si256(_mm256_castsi128_si256(first),
                                   _mm_loadu_si128(reinterpret_cast<const __m128i*>(high)), 1);
}

// Eight entries as words, of the stored channel that begins at byte `at` of each half.
inline __m256i entriesOf(__m256i blocks, int at) {
    const __m256i ends =
        _mm256_shuffle_epi8(blocks, _mm256_set1_epi16(static_cast<short>(at | (at + 1) << 8)));
    const __m256i eight =
        _mm256_cmpgt_epi16(_mm256_and_si256(ends, _mm256_set1_epi16(255)), _mm256_srli_epi16(ends, 8));
    const __m256i weights =
        _mm256_blendv_epi8(inBothHalves(kSixWeights.m_bytes), inBothHalves(kEightWeights.m_bytes), eight);
    const __m256i sums = _mm256_add_epi16(_mm256_maddubs_epi16(ends, weights), _mm256_set1_epi16(32));
    const __m256i last = _mm256_set_epi64x(0x00FF000000000000, 0, 0x00FF000000000000, 0);
    return _mm256_or_si256(_mm256_srli_epi16(sums, 6), _mm256_andnot_si256(eight, last));
}

} // namespace qor::Texsmith::Raw::Bc4Avx2
