// The errors of many pairs of BC1 endpoints on one block, in three-colour mode.
//
// The bits are those of the search that tries a pair at a time: a texel's distances to the ends of the pairs
// are the same in every pair and are computed once, only those to the middle anew.
#pragma once

namespace qor::Texsmith::Raw {

struct PairProblem {
    // Red, green and blue, scaled by their weights.
    float m_texels[3][16];
    float m_ends[3][16]; // m_endCount different ones
    unsigned m_endCount;
    // Of two ends each, in the order in which they are tried.
    unsigned char m_pairs[120][2];
    unsigned m_pairCount;
};

// The number of the first pair of the smallest error; 0 where errors are no numbers.
using BestPairKernel = unsigned (*)(const PairProblem& problem);
// Null where the build has none.
BestPairKernel getBestPairAvx2();

template <typename Lanes> class PairLanes {
public:
    static unsigned findBest(const PairProblem& problem) { return PairLanes(problem).search(); }

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
            const Float r = Lanes::splat(problem.m_ends[0][end]);
            const Float g = Lanes::splat(problem.m_ends[1][end]);
            const Float b = Lanes::splat(problem.m_ends[2][end]);
            for (unsigned v = 0; v < kVectors; ++v) {
                m_distances[end][v] = squaredDistance(v, r, g, b);
            }
        }
    }

    Float squaredDistance(unsigned v, Float r, Float g, Float b) const {
        const Float dr = m_texels[0][v] - r, dg = m_texels[1][v] - g, db = m_texels[2][v] - b;
        return dr * dr + dg * dg + db * db;
    }

    Float middle(int channel, unsigned first, unsigned second) const {
        const float* ends = m_problem.m_ends[channel];
        return Lanes::splat((ends[first] + ends[second]) * 0.5f);
    }

    float errorOf(unsigned first, unsigned second) const {
        const Float r = middle(0, first, second), g = middle(1, first, second), b = middle(2, first, second);
        Float errors[kVectors];
        for (unsigned v = 0; v < kVectors; ++v) {
            const Float ends = minimum(m_distances[first][v], m_distances[second][v]);
            errors[v] = minimum(ends, squaredDistance(v, r, g, b));
        }
        for (unsigned half = kVectors / 2; half > 0; half /= 2) {
            for (unsigned v = 0; v < half; ++v) {
                errors[v] = errors[v] + errors[v + half];
            }
        }
        return sumOfLanes(errors[0]);
    }

    unsigned search() const {
        float least = errorOf(m_problem.m_pairs[0][0], m_problem.m_pairs[0][1]);
        unsigned best = 0;
        for (unsigned pair = 1; pair < m_problem.m_pairCount; ++pair) {
            const float error = errorOf(m_problem.m_pairs[pair][0], m_problem.m_pairs[pair][1]);
            if (error < least) {
                least = error;
                best = pair;
            }
        }
        return best;
    }

    const PairProblem& m_problem;
    Float m_texels[3][kVectors];
    Float m_distances[16][kVectors]; // of the texels to each end
};

} // namespace qor::Texsmith::Raw
