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
    float m_halves[16][4]; // of the colours of which two make a pair, scaled as well; they are all different
    unsigned m_endCount;   // 2 to 16
};

// The best pair of different ends, of equal ones the first in the order (0, 1), (0, 2) ... (1, 2) ...
struct BestPair {
    unsigned m_first, m_second;
    // End 0 alone is as good, or nothing is a number.
    bool m_firstSuffices;
};
using BestPairKernel = BestPair (*)(const PairProblem& problem);
// Null where the build has none.
BestPairKernel getBestPairAvx2();

// All pairs of the ends below n stand before those with end n. The second end is in the low byte.
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

template <typename Lanes> class PairLanes {
public:
    static BestPair findBest(const PairProblem& problem) { return PairLanes(problem).search(); }

private:
    using Float = typename Lanes::Float;
    static constexpr unsigned kVectors = 16 / Lanes::kCount;

    explicit PairLanes(const PairProblem& problem) : m_problem(problem) {
        for (int channel = 0; channel < 3; ++channel) {
            for (unsigned v = 0; v < kVectors; ++v) {
                m_texels[channel][v] = Lanes::loadFloats(problem.m_texels[channel] + Lanes::kCount * v);
            }
        }
        for (unsigned end = 0; end < problem.m_endCount; ++end) {
            const Float r = twice(half(end, 0)), g = twice(half(end, 1)), b = twice(half(end, 2));
            for (unsigned v = 0; v < kVectors; ++v) {
                m_distances[end][v] = squaredDistance(v, r, g, b);
            }
        }
    }

    static Float twice(Float x) { return x + x; }
    Float half(unsigned end, int channel) const { return Lanes::splat(m_problem.m_halves[end][channel]); }

    Float squaredDistance(unsigned v, Float r, Float g, Float b) const {
        const Float dr = m_texels[0][v] - r, dg = m_texels[1][v] - g, db = m_texels[2][v] - b;
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

    // Halving and doubling round nothing away.
    float errorOf(unsigned first, unsigned second) const {
        const Float r = half(first, 0) + half(second, 0);
        const Float g = half(first, 1) + half(second, 1);
        const Float b = half(first, 2) + half(second, 2);
        Float errors[kVectors];
        for (unsigned v = 0; v < kVectors; ++v) {
            const Float ends = minimum(m_distances[first][v], m_distances[second][v]);
            errors[v] = minimum(ends, squaredDistance(v, r, g, b));
        }
        return sum(errors);
    }
    float errorOfFirst() const {
        Float errors[kVectors];
        for (unsigned v = 0; v < kVectors; ++v) {
            errors[v] = m_distances[0][v];
        }
        return sum(errors);
    }

    // An error is not negative, so its bits grow with it. Those of a NaN are the same in all pairs.
    BestPair search() const {
        const unsigned pairCount = m_problem.m_endCount * (m_problem.m_endCount - 1) / 2;
        std::uint64_t best = ~std::uint64_t(0);
        for (unsigned i = 0; i < pairCount; ++i) {
            const unsigned pair = kPairOrder.m_pairs[i];
            const float error = errorOf(pair >> 8, pair & 0xFF);
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

    const PairProblem& m_problem;
    Float m_texels[3][kVectors];
    Float m_distances[16][kVectors]; // of the texels to each end
};

} // namespace qor::Texsmith::Raw
