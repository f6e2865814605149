// Endpoints of BC7 tried as they decode, in lanes: p-bits, indices on the decoded palette, least squares for
// these indices, and neighbouring codes. Used where more than the normal effort is asked for.
#pragma once

#include "raw/blocks/bc7_spans_lanes.h"

namespace qor::Texsmith::Raw::Bc7Lanes {

// Sets of texels that share one line over the channels kFirst to kEnd - 1 of one mode. `m_weights` are those
// of the indices nearest on the decoded palette.
template <typename Lanes, int kMode, int kBits, int kFirst, int kEnd, bool kHasAlpha> class Refiner {
public:
    using Float = typename Lanes::Float;
    using Int = typename Lanes::Int;
    using Quantise = Quantiser<Lanes, kMode, kHasAlpha>;
    static constexpr int kSubsets = Quantise::kSubsets;
    using Quantised = QuantisedEnds<Lanes, kSubsets>;

    Quantised m_ends = {};
    Float m_errors[kSubsets];
    Float m_weights[16];

    Refiner(const Float (&texels)[16][4], const Membership<Lanes, kSubsets>& membership)
        : m_texels(texels), m_membership(membership) {
        for (Float& error : m_errors) {
            error = Lanes::splat(1e30f);
        }
    }

    // Begins with the ends of a fit.
    void refine(const Ends<Lanes, kSubsets>& ends, Pursuit pursuit) {
        tryPBits(ends);
        Float errors[kSubsets];
        for (int round = 0; round < pursuit.m_rounds; ++round) {
            index(m_ends, m_weights, errors);
            tryPBits(leastSquares());
        }
        for (int round = 0; round < pursuit.m_nudges; ++round) {
            nudge();
        }
        index(m_ends, m_weights, errors);
    }

    Float error() const {
        Float sum = m_errors[0];
        for (int subset = 1; subset < kSubsets; ++subset) {
            sum = sum + m_errors[subset];
        }
        return sum;
    }

private:
    const Float (&m_texels)[16][4];
    const Membership<Lanes, kSubsets>& m_membership;

    // Weights and errors of given ends.
    void index(const Quantised& ends, Float (&weights)[16], Float (&errors)[kSubsets]) const {
        Float slopes[kEnd][kSubsets], bases[kEnd][kSubsets], factors[kEnd][kSubsets], offsets[kSubsets];
        for (int subset = 0; subset < kSubsets; ++subset) {
            Float squares = Lanes::splat(1e-12f);
            for (int channel = kFirst; channel < kEnd; ++channel) {
                const Mix<Lanes, kSubsets> mix(ends, channel);
                slopes[channel][subset] = mix.m_slope[subset];
                bases[channel][subset] = mix.m_base[subset];
                squares = squares + mix.m_slope[subset] * mix.m_slope[subset];
            }
            const Float scale = Lanes::splat(64.0f * 255.0f) / squares;
            offsets[subset] = Lanes::splat(0.0f);
            for (int channel = kFirst; channel < kEnd; ++channel) {
                const auto& levels = ends.m_levels[subset];
                const Float middle = (levels[0][channel] + levels[1][channel]) * Lanes::splat(0.5f / 255.0f);
                factors[channel][subset] = slopes[channel][subset] * scale;
                offsets[subset] = offsets[subset] + factors[channel][subset] * middle;
            }
        }
        SubsetSums<Lanes, kSubsets> sums;
        for (unsigned i = 0; i < 16; ++i) {
            const auto texel = m_membership.at(i);
            Float position = m_texels[i][kFirst] * texel.choose(factors[kFirst]);
            for (int channel = kFirst + 1; channel < kEnd; ++channel) {
                position = position + m_texels[i][channel] * texel.choose(factors[channel]);
            }
            const Float weight = nearestWeight<Lanes, kBits>(position - texel.choose(offsets));
            Float missed = Lanes::splat(0.0f);
            for (int channel = kFirst; channel < kEnd; ++channel) {
                const Float level =
                    mixedLevel<Lanes>(texel.choose(slopes[channel]), texel.choose(bases[channel]), weight);
                missed = missed + squaredMiss<Lanes>(level, m_texels[i][channel]);
            }
            weights[i] = weight;
            sums.add(texel, missed);
        }
        sums.finish(errors);
    }

    // Keeps them for the subsets where they miss less than what there is.
    void offer(const Quantised& ends) {
        Float weights[16], errors[kSubsets];
        index(ends, weights, errors);
        for (int subset = 0; subset < kSubsets; ++subset) {
            const Int isBetter = less(errors[subset], m_errors[subset]);
            m_errors[subset] = select(isBetter, errors[subset], m_errors[subset]);
            for (int end = 0; end < 2; ++end) {
                Int& pBit = m_ends.m_pBits[subset][end];
                pBit = select(isBetter, ends.m_pBits[subset][end], pBit);
                for (int channel = 0; channel < 4; ++channel) {
                    Int& code = m_ends.m_codes[subset][end][channel];
                    Float& level = m_ends.m_levels[subset][end][channel];
                    code = select(isBetter, ends.m_codes[subset][end][channel], code);
                    level = select(isBetter, ends.m_levels[subset][end][channel], level);
                }
            }
        }
    }

    void tryPBits(const Ends<Lanes, kSubsets>& ends) {
        constexpr Bc7PBits kPBits = Quantise::kLayout.m_pBits;
        if constexpr (kPBits == Bc7PBits::None || (kMode == 6 && !kHasAlpha)) {
            offer(Quantise::quantise(ends));
        } else {
            constexpr unsigned kTried = kPBits == Bc7PBits::OfSubset ? 2 : 4;
            for (unsigned tried = 0; tried < kTried; ++tried) {
                const unsigned second = kTried == 2 ? tried : tried >> 1;
                Quantised quantised;
                for (int subset = 0; subset < kSubsets; ++subset) {
                    Quantise::quantiseWith(Lanes::splat(tried & 1), ends.m_channels[subset][0], quantised,
                                           subset, 0);
                    Quantise::quantiseWith(Lanes::splat(second), ends.m_channels[subset][1], quantised,
                                           subset, 1);
                }
                offer(quantised);
            }
        }
    }

    // The ends that suit the weights best.
    Ends<Lanes, kSubsets> leastSquares() const {
        SubsetSums<Lanes, kSubsets> ones, weights, squares, values[kEnd], products[kEnd];
        for (unsigned i = 0; i < 16; ++i) {
            const auto texel = m_membership.at(i);
            ones.add(texel, Lanes::splat(1.0f));
            weights.add(texel, m_weights[i]);
            squares.add(texel, m_weights[i] * m_weights[i]);
            for (int channel = kFirst; channel < kEnd; ++channel) {
                values[channel].add(texel, m_texels[i][channel]);
                products[channel].add(texel, m_weights[i] * m_texels[i][channel]);
            }
        }
        Float n[kSubsets], w[kSubsets], ww[kSubsets], x[kSubsets], wx[kSubsets];
        ones.finish(n);
        weights.finish(w);
        squares.finish(ww);
        Ends<Lanes, kSubsets> ends;
        for (auto& subset : ends.m_channels) {
            for (auto& end : subset) {
                for (Float& channel : end) {
                    channel = Lanes::splat(1.0f); // those of other refiners, and alpha where there is none
                }
            }
        }
        for (int channel = kFirst; channel < kEnd; ++channel) {
            values[channel].finish(x);
            products[channel].finish(wx);
            for (int subset = 0; subset < kSubsets; ++subset) {
                const Float zero = Lanes::splat(0.0f), one = Lanes::splat(1.0f);
                const Float determinant = n[subset] * ww[subset] - w[subset] * w[subset];
                const Int isSolvable = less(zero, determinant);
                const Float slope = select(isSolvable,
                                           (n[subset] * wx[subset] - w[subset] * x[subset]) /
                                               select(isSolvable, determinant, one),
                                           zero);
                const Float middle = (x[subset] - slope * w[subset]) / n[subset];
                const Float half = slope * Lanes::splat(32.0f);
                ends.m_channels[subset][0][channel] = middle - half;
                ends.m_channels[subset][1][channel] = middle + half;
            }
        }
        return ends;
    }

    void nudge() {
        for (int end = 0; end < 2; ++end) {
            for (int channel = kFirst; channel < kEnd; ++channel) {
                for (const float step : {-1.0f, 1.0f}) {
                    Quantised moved = m_ends;
                    for (int subset = 0; subset < kSubsets; ++subset) {
                        Quantise::move(moved, subset, end, channel, step);
                    }
                    offer(moved);
                }
            }
        }
    }
};

// Ends and weights at last, with what they miss.
template <typename Lanes, int kSubsets> struct Pursued {
    QuantisedEnds<Lanes, kSubsets> m_ends;
    typename Lanes::Float m_weights[16];
    typename Lanes::Float m_error;
};

template <typename Lanes, int kMode, int kBits, int kFirst, int kEnd, bool kHasAlpha>
auto pursued(const SpanTrials<Lanes, kMode, kBits, kFirst, kEnd, kHasAlpha>& trials, Pursuit pursuit) {
    Pursued<Lanes, kBc7Modes[kMode].m_subsets> result;
    if (pursuit.m_rounds < 0) {
        result.m_ends = trials.ends();
        trials.weights(result.m_weights);
        result.m_error = trials.error();
    } else {
        Refiner<Lanes, kMode, kBits, kFirst, kEnd, kHasAlpha> refiner(trials.texels(), trials.membership());
        refiner.refine(trials.fittedEnds(), pursuit);
        result.m_ends = refiner.m_ends;
        for (unsigned i = 0; i < 16; ++i) {
            result.m_weights[i] = refiner.m_weights[i];
        }
        result.m_error = refiner.error();
    }
    return result;
}

// The same as a candidate whose kind is set.
template <int kBits, typename Lanes, typename Trials>
void finish(const Trials& trials, Pursuit pursuit, Candidates<Lanes>& candidate) {
    const auto result = pursued(trials, pursuit);
    candidate.setEnds(result.m_ends);
    candidate.template setIndices<kBits>(result.m_weights);
    store(candidate.m_scores, result.m_error);
}

} // namespace qor::Texsmith::Raw::Bc7Lanes
