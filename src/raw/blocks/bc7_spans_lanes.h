// Spans of lines, in lanes: the search for them, and what they decode to in a mode.
#pragma once

#include "raw/blocks/bc7_blocks_lanes.h"
#include <cstdlib>

namespace qor::Texsmith::Raw::Bc7Lanes {

// The span of a projection after the search, with the squares that it takes away.
template <typename Lanes, int kSubsets> struct FittedSpans {
    using Float = typename Lanes::Float;
    Spans<Lanes, kSubsets> m_spans;
    Float m_gains[kSubsets];

    void takeBetter(const FittedSpans& other) {
        for (int subset = 0; subset < kSubsets; ++subset) {
            const auto isBetter = less(m_gains[subset], other.m_gains[subset]);
            const auto keep = [&](Float& kept, Float better) { kept = select(isBetter, better, kept); };
            keep(m_gains[subset], other.m_gains[subset]);
            keep(m_spans.m_middles[subset], other.m_spans.m_middles[subset]);
            keep(m_spans.m_halves[subset], other.m_spans.m_halves[subset]);
        }
    }
};

// What is cut off the outermost span at its first and its second end, as shares of its half, where another
// search of it begins.
inline constexpr float kCuts[3][2] = {{0.2f, 0.2f}, {0.3f, 0.0f}, {0.0f, 0.3f}};

// Begins with the span of the outermost texels. Over four channels, where few texels lie on any line, also
// with shorter ones.
template <typename Lanes, int kBits, int kChannels, int kSubsets>
inline FittedSpans<Lanes, kSubsets> fitBc7Line(const Projection<Lanes, kSubsets>& projection,
                                               const Membership<Lanes, kSubsets>& membership,
                                               const LineSet<Lanes, kChannels, kSubsets>& lines) {
    constexpr int kRefinements = 2;
    const auto refine = [&](FittedSpans<Lanes, kSubsets>& fit) {
        for (int i = 0; i < kRefinements; ++i) {
            refineSpans<Lanes, kBits>(projection, membership, lines.m_counts, lines.m_spreads, fit.m_spans,
                                      fit.m_gains);
        }
    };
    FittedSpans<Lanes, kSubsets> fit;
    fit.m_spans = projection.m_spans;
    refine(fit);
    if constexpr (kChannels == 4) {
        for (const auto& cuts : kCuts) {
            FittedSpans<Lanes, kSubsets> other;
            for (int subset = 0; subset < kSubsets; ++subset) {
                const auto half = projection.m_spans.m_halves[subset];
                other.m_spans.m_halves[subset] = half * Lanes::splat(1.0f - 0.5f * (cuts[0] + cuts[1]));
                other.m_spans.m_middles[subset] =
                    projection.m_spans.m_middles[subset] + half * Lanes::splat(0.5f * (cuts[0] - cuts[1]));
            }
            refine(other);
            fit.takeBetter(other);
        }
    }
    return fit;
}

// Where positions on the lines of all subsets lie among the colours: a mean and a direction for each.
template <typename Lanes, int kSubsets> struct Course {
    typename Lanes::Float m_means[kSubsets][4];
    typename Lanes::Float m_directions[kSubsets][4];

    Ends<Lanes, kSubsets> endsOf(const Spans<Lanes, kSubsets>& spans) const {
        Ends<Lanes, kSubsets> ends;
        for (int subset = 0; subset < kSubsets; ++subset) {
            const auto low = spans.m_middles[subset] - spans.m_halves[subset];
            const auto high = spans.m_middles[subset] + spans.m_halves[subset];
            for (int channel = 0; channel < 4; ++channel) {
                const auto mean = m_means[subset][channel], direction = m_directions[subset][channel];
                ends.m_channels[subset][0][channel] = mean + direction * low;
                ends.m_channels[subset][1][channel] = mean + direction * high;
            }
        }
        return ends;
    }
};

// How far candidates are pursued.
struct Pursuit {
    int m_spanSteps; // of the trial of spans
    int m_rounds; // of least squares on the chosen indices; negative: the ends of the span are rounded once,
                  // and that is it
    int m_nudges; // rounds of steps of each code to its neighbours

    bool measuresSpans() const { return m_spanSteps > 0 || m_rounds < 0; }
};

// How far the ends of a span are moved, in levels, in search of ends that suit a mode's precision.
inline constexpr int kMaxTrialSteps = 3;
struct TrialSteps {
    float m_levels[kMaxTrialSteps];
};
inline constexpr TrialSteps kTrialSteps[kBc7ModeCount] = {
    {{5, 2}}, {{2, 1}}, {{5, 2}}, {{1, 0.5f}}, {{5, 2.5f}}, {{2, 1}}, {{1, 0.5f}}, {{20, 8, 4}},
};
inline constexpr TrialSteps kScalarTrialSteps[kBc7ModeCount] = {{}, {}, {}, {}, {{4}}, {{1}}, {}, {}};

// Spans tried as they decode: ends rounded to a mode's precision, and the indices that are nearest on the
// lines. What the channels kFirst to kEnd - 1 miss is counted.
template <typename Lanes, int kMode, int kBits, int kFirst, int kEnd, bool kHasAlpha> class SpanTrials {
public:
    using Float = typename Lanes::Float;
    using Quantise = Quantiser<Lanes, kMode, kHasAlpha>;
    static constexpr int kSubsets = Quantise::kSubsets;

    SpanTrials(const Float (&texels)[16][4], const Membership<Lanes, kSubsets>& membership,
               const Float (&positions)[16], const Course<Lanes, kSubsets>& course,
               const Spans<Lanes, kSubsets>& fitted)
        : m_texels(texels), m_membership(membership), m_positions(positions), m_course(course),
          m_best(fitted) {}

    // To be called before error(), with any number of steps.
    void search(const TrialSteps& steps, int count) {
        errorsOf(m_best, m_errors);
        for (int i = 0; i < count && steps.m_levels[i] != 0.0f; ++i) {
            moveEnds(steps.m_levels[i]);
        }
    }

    const auto& texels() const { return m_texels; }
    const Membership<Lanes, kSubsets>& membership() const { return m_membership; }
    Ends<Lanes, kSubsets> fittedEnds() const { return m_course.endsOf(m_best); }
    QuantisedEnds<Lanes, kSubsets> ends() const { return Quantise::quantise(fittedEnds()); }
    void weights(Float (&result)[16]) const { weightsOf(m_best, result); }
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
    const Float (&m_positions)[16];
    const Course<Lanes, kSubsets>& m_course;
    Spans<Lanes, kSubsets> m_best;
    Float m_errors[kSubsets];

    void weightsOf(const Spans<Lanes, kSubsets>& spans, Float (&weights)[16]) const {
        const Scale<Lanes, kSubsets> scale(spans);
        for (unsigned i = 0; i < 16; ++i) {
            weights[i] = nearestWeight<Lanes, kBits>(scale.at(m_membership.at(i), m_positions[i]));
        }
    }

    void errorsOf(const Spans<Lanes, kSubsets>& spans, Float (&errors)[kSubsets]) const {
        const auto ends = Quantise::quantise(m_course.endsOf(spans));
        Float slopes[kEnd][kSubsets], bases[kEnd][kSubsets];
        for (int channel = kFirst; channel < kEnd; ++channel) {
            const Mix<Lanes, kSubsets> mix(ends, channel);
            for (int subset = 0; subset < kSubsets; ++subset) {
                slopes[channel][subset] = mix.m_slope[subset];
                bases[channel][subset] = mix.m_base[subset];
            }
        }
        const Scale<Lanes, kSubsets> scale(spans);
        SubsetSums<Lanes, kSubsets> sums;
        for (unsigned i = 0; i < 16; ++i) {
            const auto texel = m_membership.at(i);
            const Float weight = nearestWeight<Lanes, kBits>(scale.at(texel, m_positions[i]));
            Float missed = Lanes::splat(0.0f);
            for (int channel = kFirst; channel < kEnd; ++channel) {
                const Float level =
                    mixedLevel<Lanes>(texel.choose(slopes[channel]), texel.choose(bases[channel]), weight);
                missed = missed + squaredMiss<Lanes>(level, m_texels[i][channel]);
            }
            sums.add(texel, missed);
        }
        sums.finish(errors);
    }

    // The eight neighbours of the best span so far.
    void moveEnds(float levels) {
        const Spans<Lanes, kSubsets> from = m_best;
        const float half = levels * (0.5f / 255.0f);
        for (int first = -1; first <= 1; ++first) {
            for (int second = -1; second <= 1; ++second) {
                if (first == 0 && second == 0) {
                    continue;
                }
                const Float shift = Lanes::splat(half * static_cast<float>(second + first));
                const Float growth = Lanes::splat(half * static_cast<float>(second - first));
                Spans<Lanes, kSubsets> moved;
                for (int subset = 0; subset < kSubsets; ++subset) {
                    moved.m_middles[subset] = from.m_middles[subset] + shift;
                    moved.m_halves[subset] = from.m_halves[subset] + growth;
                }
                offer(moved);
            }
        }
    }

    // Keeps them for the subsets where they decode better than what there is.
    void offer(const Spans<Lanes, kSubsets>& spans) {
        Float errors[kSubsets];
        errorsOf(spans, errors);
        for (int subset = 0; subset < kSubsets; ++subset) {
            const auto isBetter = less(errors[subset], m_errors[subset]);
            const auto keep = [&](Float& kept, Float better) { kept = select(isBetter, better, kept); };
            keep(m_errors[subset], errors[subset]);
            keep(m_best.m_middles[subset], spans.m_middles[subset]);
            keep(m_best.m_halves[subset], spans.m_halves[subset]);
        }
    }
};

} // namespace qor::Texsmith::Raw::Bc7Lanes
