// The errors of many pairs of BC1 endpoints on one block, in three-colour mode.
//
// The bits are those of the search that tries a pair at a time: a texel's distances to the ends of the pairs
// are the same in every pair and are computed once, only those to the middle anew.
#pragma once

#include <cstdint>
#include <cstring>

namespace qor::Texsmith::Raw {

struct PairProblem {
    float m_texels[3][16]; // red, green and blue, scaled by their weights
    float m_halves[16][4]; // half of each texel's colour once it is quantised, scaled as well
    unsigned m_places[16]; // the texels with different ones, of which two make a pair
    unsigned m_endCount;   // how many these are, 2 to 16
};

// The best pair of different ends, of equal ones the first in the order (0, 1), (0, 2) ... (1, 2) ...
struct BestPair {
    unsigned m_first, m_second;
    // Two times end 0 would be no worse than the best pair, or the errors are NaNs.
    bool m_firstSuffices;
};
using BestPairKernel = BestPair (*)(const PairProblem& problem);
// Null where the build has none.
BestPairKernel getBestPairAvx2();

// The pairs of 16 ends, ordered by their second end: those of the first n ends are the first n (n - 1) / 2.
// The second end is in the low byte.
struct PairOrder {
    std::uint16_t m_pairs[120];
};
constexpr PairOrder makePairOrder() {
    PairOrder order = {};
    unsigned count = 0;
    for (unsigned second = 1; second < 16; ++second) {
        for (unsigned first = 0; first < second; ++first) {
            order.m_pairs[count++] = static_cast<std::uint16_t>(first << 8 | second);
        }
    }
    return order;
}
inline constexpr PairOrder kPairOrder = makePairOrder();

template <typename Lanes> class BestPairSearch {
public:
    static BestPair findBest(const PairProblem& problem) { return BestPairSearch(problem).search(); }

private:
    using Float = typename Lanes::Float;
    static constexpr unsigned kVectors = 16 / Lanes::kCount;

    explicit BestPairSearch(const PairProblem& problem)
        : m_pairCount(problem.m_endCount * (problem.m_endCount - 1) / 2) {
        for (int channel = 0; channel < 3; ++channel) {
            for (unsigned v = 0; v < kVectors; ++v) {
                m_texels[channel][v] = Lanes::loadFloats(problem.m_texels[channel] + Lanes::kCount * v);
            }
        }
        for (unsigned i = 0; i < problem.m_endCount; ++i) {
            End& end = m_ends[i];
            end.m_half = Lanes::repeatFloats(problem.m_halves[problem.m_places[i]]);
            const Float colour = end.m_half + end.m_half;
            for (unsigned v = 0; v < kVectors; ++v) {
                end.m_distances[v] = squaredDistance(v, colour);
            }
        }
    }

    struct End {
        Float m_distances[kVectors]; // of the texels
        Float m_half;                // red, green, blue and 0, over and over
    };

    Float squaredDistance(unsigned v, Float colour) const {
        const Float dr = m_texels[0][v] - shuffle<0, 0, 0, 0>(colour);
        const Float dg = m_texels[1][v] - shuffle<1, 1, 1, 1>(colour);
        const Float db = m_texels[2][v] - shuffle<2, 2, 2, 2>(colour);
        return dr * dr + dg * dg + db * db;
    }

    static float sum(Float (&errors)[kVectors]) {
        for (unsigned upper = kVectors / 2; upper > 0; upper /= 2) {
            for (unsigned v = 0; v < upper; ++v) {
                errors[v] = errors[v] + errors[v + upper];
            }
        }
        return sumOfLanes(errors[0]);
    }

    // Halving and doubling are exact: the sum of two halves has the bits of half the sum.
    float errorOf(const End& first, const End& second) const {
        const Float middle = first.m_half + second.m_half;
        Float errors[kVectors];
        for (unsigned v = 0; v < kVectors; ++v) {
            const Float ends = minimum(first.m_distances[v], second.m_distances[v]);
            errors[v] = minimum(ends, squaredDistance(v, middle));
        }
        return sum(errors);
    }
    float errorOfFirst() const {
        Float errors[kVectors];
        for (unsigned v = 0; v < kVectors; ++v) {
            errors[v] = m_ends[0].m_distances[v];
        }
        return sum(errors);
    }

    // Errors are not negative, so that their bits are in the same order as they. If one is a NaN, all are,
    // with the same bits, and the first pair stays.
    BestPair search() const {
        std::uint64_t best = ~std::uint64_t(0);
        for (unsigned i = 0; i < m_pairCount; ++i) {
            const unsigned pair = kPairOrder.m_pairs[i];
            const float error = errorOf(m_ends[pair >> 8], m_ends[pair & 0xFF]);
            std::uint32_t bits;
            std::memcpy(&bits, &error, sizeof bits);
            const std::uint64_t rank = std::uint64_t(bits) << 16 | pair;
            best = rank < best ? rank : best;
        }
        const auto bits = static_cast<std::uint32_t>(best >> 16);
        float error;
        std::memcpy(&error, &bits, sizeof error);
        return {static_cast<unsigned>(best >> 8 & 0xFF), static_cast<unsigned>(best & 0xFF),
                !(errorOfFirst() > error)};
    }

    unsigned m_pairCount;
    Float m_texels[3][kVectors];
    End m_ends[16];
};

} // namespace qor::Texsmith::Raw
