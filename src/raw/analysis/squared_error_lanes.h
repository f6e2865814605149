// Sums of a term over pairs of texels, over eight lanes: two texels a vector.
//
// Texel i of a run goes to partial sum i mod 8. The eight are folded by halves, the upper onto the lower.
#pragma once

#include "raw/analysis/tile_kernels.h"

namespace qor::Texsmith::Raw {

template <typename Lanes> struct EightSums {
    typename Lanes::Float m_pairs[4] = {Lanes::splat(0.0f), Lanes::splat(0.0f), Lanes::splat(0.0f),
                                        Lanes::splat(0.0f)};

    void fold(float (&sums)[4]) const {
        float both[8];
        store(both, (m_pairs[0] + m_pairs[2]) + (m_pairs[1] + m_pairs[3]));
        for (unsigned i = 0; i < 4; ++i) {
            sums[i] = both[i] + both[i + 4];
        }
    }
};

// `count` is a multiple of 8.
template <typename Lanes, typename Term>
void addTerms(EightSums<Lanes>& sums, const float* a, const float* b, unsigned count, Term term) {
    EightSums<Lanes> own = sums;
    for (unsigned i = 0; i < count; i += 8, a += 32, b += 32) {
        for (unsigned pair = 0; pair < 4; ++pair) {
            own.m_pairs[pair] =
                own.m_pairs[pair] + term(Lanes::loadFloats(a + 8 * pair), Lanes::loadFloats(b + 8 * pair));
        }
    }
    sums = own;
}

template <typename Lanes> struct SquaredDifference {
    typename Lanes::Float operator()(typename Lanes::Float a, typename Lanes::Float b) const {
        const typename Lanes::Float difference = a - b;
        return difference * difference;
    }
};

// A row of a tile has eight texels: one for each of the partial sums.
template <typename Lanes>
void sumsOfFloatSquares(VectorFloat* sums, const FloatTiles& a, const FloatTiles& b, unsigned count) {
    constexpr std::size_t kRowBytes = 8 * 4 * sizeof(float);
    for (unsigned i = 0; i < count; ++i) {
        const std::uint8_t *rowA = a.m_source + i * kRowBytes, *rowB = b.m_source + i * kRowBytes;
        EightSums<Lanes> partial;
        for (unsigned row = 0; row < 8; ++row, rowA += a.m_pitch, rowB += b.m_pitch) {
            addTerms(partial, reinterpret_cast<const float*>(rowA), reinterpret_cast<const float*>(rowB), 8,
                     SquaredDifference<Lanes>());
        }
        partial.fold(sums[i].m_lanes);
    }
}

template <typename Lanes> void sumOfSquares(float (&sums)[4], const float* a, const float* b) {
    EightSums<Lanes> partial;
    addTerms(partial, a, b, 64, SquaredDifference<Lanes>());
    partial.fold(sums);
}

} // namespace qor::Texsmith::Raw
