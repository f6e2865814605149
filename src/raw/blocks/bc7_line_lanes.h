// Lines through the texels of subsets, in lanes: axes from moments, and spans of indices along an axis.
//
// A lane is a block, or a partition of one block. A texel's position on its line is a number whose mean over
// the subset is 0. A span (middle, half) stands for the ends middle - half and middle + half; the weights of
// the indices are counted from the middle, in 32nds of the half: -32 for the first end, 32 for the second.
#pragma once

#include "raw/blocks/bc7_subsets.h"

#include <utility>

namespace qor::Texsmith::Raw::Bc7Lanes {

// Calls `body` for 0, 1 ... kCount - 1 as constants, so that small arrays of vectors stay in registers.
template <typename Body, int... kAt> inline void callWithEach(Body body, std::integer_sequence<int, kAt...>) {
    (body(std::integral_constant<int, kAt>()), ...);
}
template <int kCount, typename Body> inline void unrolled(Body body) {
    callWithEach(body, std::make_integer_sequence<int, kCount>());
}

// The place of (i, j), i <= j, in the upper triangle of a matrix of kChannels rows.
// Static, so that objects compiled for AVX2 share it with no others.
template <int kChannels> static constexpr int triangleAt(int i, int j) {
    return i <= j ? i * kChannels - i * (i - 1) / 2 + j - i : triangleAt<kChannels>(j, i);
}
template <int kChannels> inline constexpr int kTriangle = kChannels*(kChannels + 1) / 2;

// Which texels lie in which subset.
template <typename Lanes, int kSubsets> struct Membership {
    using Float = typename Lanes::Float;
    using Int = typename Lanes::Int;
    static constexpr int kMasks = kSubsets > 1 ? kSubsets - 1 : 1;

    Int m_words[kMasks]; // bit i: texel i lies in subset 1; in subset 2

    struct OfTexel {
        Int m_isIn[kMasks];

        Float choose(const Float (&values)[kSubsets]) const {
            Float chosen = values[0];
            for (int subset = 1; subset < kSubsets; ++subset) {
                chosen = select(m_isIn[subset - 1], values[subset], chosen);
            }
            return chosen;
        }
    };
    OfTexel at(unsigned texel) const {
        OfTexel masks = {}; // of one subset nothing is asked
        const Int bit = Lanes::splat(1u << texel);
        for (int i = 0; i + 1 < kSubsets; ++i) {
            masks.m_isIn[i] = equal(m_words[i] & bit, bit);
        }
        return masks;
    }
};

// A sum over the texels of each subset. That of subset 0 is the rest of the whole.
template <typename Lanes, int kSubsets> class SubsetSums {
public:
    using Float = typename Lanes::Float;

    void add(const typename Membership<Lanes, kSubsets>::OfTexel& texel, Float value) {
        m_sums[0] = m_sums[0] + value;
        for (int subset = 1; subset < kSubsets; ++subset) {
            m_sums[subset] = m_sums[subset] + floatsOf(bitsOf(value) & texel.m_isIn[subset - 1]);
        }
    }
    void finish(Float (&sums)[kSubsets]) const {
        sums[0] = m_sums[0];
        for (int subset = 1; subset < kSubsets; ++subset) {
            sums[subset] = m_sums[subset];
            sums[0] = sums[0] - m_sums[subset];
        }
    }
    SubsetSums() {
        for (Float& sum : m_sums) {
            sum = Lanes::splat(0.0f);
        }
    }

private:
    Float m_sums[kSubsets];
};

template <typename Lanes, int kChannels> struct Axis {
    typename Lanes::Float m_direction[kChannels]; // unit length, or zero
    typename Lanes::Float m_spread;               // the sum of squares along it
};

// A power of two that brings a number into 1..2.
template <typename Lanes> inline typename Lanes::Float unitScale(typename Lanes::Float value) {
    return floatsOf(Lanes::splat(0x7F000000u) - (bitsOf(value) & Lanes::splat(0x7F800000u)));
}

template <typename Lanes, int kChannels>
inline typename Lanes::Float dot(const typename Lanes::Float (&a)[kChannels],
                                 const typename Lanes::Float (&b)[kChannels]) {
    auto sum = a[0] * b[0];
    unrolled<kChannels - 1>([&](auto before) {
        constexpr int i = decltype(before)::value + 1;
        sum = sum + a[i] * b[i];
    });
    return sum;
}

// A symmetric matrix, of which the upper triangle is kept.
template <typename Lanes, int kChannels> struct Symmetric {
    using Float = typename Lanes::Float;
    Float m_upper[kTriangle<kChannels>];

    template <int i, int j> Float at() const { return m_upper[triangleAt<kChannels>(i, j)]; }

    Symmetric squared() const {
        Symmetric result;
        unrolled<kChannels>([&](auto row) {
            constexpr int i = decltype(row)::value;
            unrolled<kChannels - i>([&](auto more) {
                constexpr int j = i + decltype(more)::value;
                Float sum = at<i, 0>() * at<0, j>();
                unrolled<kChannels - 1>([&](auto before) {
                    constexpr int k = decltype(before)::value + 1;
                    sum = sum + at<i, k>() * at<k, j>();
                });
                result.m_upper[triangleAt<kChannels>(i, j)] = sum;
            });
        });
        return result;
    }

    void multiply(const Float (&vector)[kChannels], Float (&product)[kChannels]) const {
        unrolled<kChannels>([&](auto row) {
            constexpr int i = decltype(row)::value;
            product[i] = at<i, 0>() * vector[0];
            unrolled<kChannels - 1>([&](auto before) {
                constexpr int j = decltype(before)::value + 1;
                product[i] = product[i] + at<i, j>() * vector[j];
            });
        });
    }

    // That with the largest element on the diagonal; the first of equals.
    void largestColumn(Float (&column)[kChannels]) const {
        Float best = m_upper[0];
        unrolled<kChannels>([&](auto row) { column[row] = m_upper[row]; });
        unrolled<kChannels - 1>([&](auto before) {
            constexpr int k = decltype(before)::value + 1;
            const auto isLarger = less(best, at<k, k>());
            best = maximum(at<k, k>(), best);
            unrolled<kChannels>([&](auto row) {
                constexpr int i = decltype(row)::value;
                column[i] = select(isLarger, at<i, k>(), column[i]);
            });
        });
    }

    Float largestOnDiagonal() const {
        Float largest = m_upper[0];
        unrolled<kChannels - 1>([&](auto before) {
            constexpr int k = decltype(before)::value + 1;
            largest = maximum(largest, at<k, k>());
        });
        return largest;
    }
};

// The principal axis of sums of squares about the mean: the largest column of their 16th power. The eighth
// power times its own largest column is the same vector.
template <typename Lanes, int kChannels>
inline Axis<Lanes, kChannels> findAxis(const Symmetric<Lanes, kChannels>& squares) {
    using Float = typename Lanes::Float;
    const Float scale = unitScale<Lanes>(squares.largestOnDiagonal());
    Symmetric<Lanes, kChannels> power;
    unrolled<kTriangle<kChannels>>([&](auto i) { power.m_upper[i] = squares.m_upper[i] * scale; });
    power = power.squared().squared().squared();
    Float column[kChannels];
    power.largestColumn(column);
    Axis<Lanes, kChannels> axis;
    power.multiply(column, axis.m_direction);
    const Float length = dot<Lanes, kChannels>(axis.m_direction, axis.m_direction);
    const Float zero = Lanes::splat(0.0f), one = Lanes::splat(1.0f);
    const auto hasAxis = less(zero, length);
    const Float inverse = select(hasAxis, one / squareRoot(select(hasAxis, length, one)), zero);
    unrolled<kChannels>([&](auto i) { axis.m_direction[i] = axis.m_direction[i] * inverse; });
    squares.multiply(axis.m_direction, column);
    axis.m_spread = maximum(dot<Lanes, kChannels>(column, axis.m_direction), zero);
    return axis;
}

// The weight of the index nearest to a position, itself on the scale of the weights. The thresholds are the
// midpoints between the published weights.
template <typename Lanes, int kBits>
inline typename Lanes::Float nearestWeight(typename Lanes::Float position) {
    const auto size = absolute(position);
    auto weight = Lanes::splat(0.0f);
    const auto from = [&](float threshold, float larger) {
        weight = select(less(size, Lanes::splat(threshold)), weight, Lanes::splat(larger));
    };
    if constexpr (kBits == 2) {
        weight = Lanes::splat(11.0f);
        from(21.5f, 32);
    } else if constexpr (kBits == 3) {
        weight = Lanes::splat(5.0f);
        from(9.5f, 14);
        from(18.5f, 23);
        from(27.5f, 32);
    } else {
        weight = Lanes::splat(2.0f);
        from(4.0f, 6);
        from(8.5f, 11);
        from(13.0f, 15);
        from(17.0f, 19);
        from(21.0f, 23);
        from(25.5f, 28);
        from(30.0f, 32);
    }
    return floatsOf(bitsOf(weight) | (bitsOf(position) & Lanes::splat(0x80000000u)));
}

// The number of the index that has a weight.
template <typename Lanes, int kBits> inline typename Lanes::Int indexOf(typename Lanes::Float weight) {
    constexpr float kPerWeight = ((1 << kBits) - 1) / 64.0f;
    return truncateToInts((weight + Lanes::splat(32.0f)) * Lanes::splat(kPerWeight) + Lanes::splat(0.5f));
}

// The lines of all subsets of a partition, through the means of their texels.
template <typename Lanes, int kChannels, int kSubsets> struct LineSet {
    using Float = typename Lanes::Float;
    Float m_axes[kSubsets][kChannels];
    Float m_offsets[kSubsets]; // of the mean, along the axis
    Float m_spreads[kSubsets]; // sums of squares along the axes
    Float m_counts[kSubsets];  // texels
    Float m_squares;           // of all distances from the means, over all subsets

    // Other lines in the lanes of a mask.
    void take(const LineSet& other, typename Lanes::Int mask) {
        for (int subset = 0; subset < kSubsets; ++subset) {
            for (int channel = 0; channel < kChannels; ++channel) {
                m_axes[subset][channel] =
                    select(mask, other.m_axes[subset][channel], m_axes[subset][channel]);
            }
            m_offsets[subset] = select(mask, other.m_offsets[subset], m_offsets[subset]);
            m_spreads[subset] = select(mask, other.m_spreads[subset], m_spreads[subset]);
            m_counts[subset] = select(mask, other.m_counts[subset], m_counts[subset]);
        }
        m_squares = select(mask, other.m_squares, m_squares);
    }

    // What is left of the squares. With m_spreads for gains it is what no span on these lines can better.
    Float residual(const Float (&gains)[kSubsets]) const {
        Float rest = m_squares;
        for (const Float& gain : gains) {
            rest = rest - gain;
        }
        return maximum(rest, Lanes::splat(0.0f));
    }
};

template <typename Lanes, int kSubsets> struct Spans {
    typename Lanes::Float m_middles[kSubsets];
    typename Lanes::Float m_halves[kSubsets];
};

// Texels' positions on their lines, and the spans from the first to the last.
template <typename Lanes, int kSubsets> struct Projection {
    typename Lanes::Float m_positions[16];
    Spans<Lanes, kSubsets> m_spans;
};

// `texels(i, channel)` gives vectors.
template <typename Lanes, int kChannels, int kSubsets, typename Texels>
inline Projection<Lanes, kSubsets> project(const Texels& texels,
                                           const Membership<Lanes, kSubsets>& membership,
                                           const LineSet<Lanes, kChannels, kSubsets>& lines) {
    using Float = typename Lanes::Float;
    Projection<Lanes, kSubsets> result;
    Float low[kSubsets], high[kSubsets];
    for (int subset = 0; subset < kSubsets; ++subset) {
        low[subset] = Lanes::splat(1e30f);
        high[subset] = Lanes::splat(-1e30f);
    }
    Float axes[kChannels][kSubsets];
    for (int channel = 0; channel < kChannels; ++channel) {
        for (int subset = 0; subset < kSubsets; ++subset) {
            axes[channel][subset] = lines.m_axes[subset][channel];
        }
    }
    for (unsigned i = 0; i < 16; ++i) {
        const auto texel = membership.at(i);
        Float position = texels(i, 0) * texel.choose(axes[0]);
        for (int channel = 1; channel < kChannels; ++channel) {
            position = position + texels(i, channel) * texel.choose(axes[channel]);
        }
        position = position - texel.choose(lines.m_offsets);
        result.m_positions[i] = position;
        if constexpr (kSubsets == 1) {
            low[0] = minimum(position, low[0]);
            high[0] = maximum(position, high[0]);
        } else if constexpr (kSubsets == 2) {
            const auto isIn = texel.m_isIn[0];
            low[0] = minimum(select(isIn, low[0], position), low[0]);
            high[0] = maximum(select(isIn, high[0], position), high[0]);
            low[1] = minimum(select(isIn, position, low[1]), low[1]);
            high[1] = maximum(select(isIn, position, high[1]), high[1]);
        } else {
            const auto isFirst = ~(texel.m_isIn[0] | texel.m_isIn[1]);
            low[0] = minimum(select(isFirst, position, low[0]), low[0]);
            high[0] = maximum(select(isFirst, position, high[0]), high[0]);
            for (int subset = 1; subset < kSubsets; ++subset) {
                const auto isIn = texel.m_isIn[subset - 1];
                low[subset] = minimum(select(isIn, position, low[subset]), low[subset]);
                high[subset] = maximum(select(isIn, position, high[subset]), high[subset]);
            }
        }
    }
    const Float half = Lanes::splat(0.5f);
    for (int subset = 0; subset < kSubsets; ++subset) {
        result.m_spans.m_middles[subset] = (high[subset] + low[subset]) * half;
        result.m_spans.m_halves[subset] = (high[subset] - low[subset]) * half;
    }
    return result;
}

// Positions on the scale of the weights.
template <typename Lanes, int kSubsets> class Scale {
public:
    using Float = typename Lanes::Float;

    explicit Scale(const Spans<Lanes, kSubsets>& spans) {
        for (int subset = 0; subset < kSubsets; ++subset) {
            const Float half = maximum(spans.m_halves[subset], Lanes::splat(1e-12f)); // of a single point
            m_factors[subset] = Lanes::splat(32.0f) / half;
            m_offsets[subset] = spans.m_middles[subset] * m_factors[subset];
        }
    }
    Float at(const typename Membership<Lanes, kSubsets>::OfTexel& texel, Float position) const {
        return position * texel.choose(m_factors) - texel.choose(m_offsets);
    }

private:
    Float m_factors[kSubsets];
    Float m_offsets[kSubsets];
};

// One step of the search for the best span: the weights nearest on the present spans, and the spans that are
// best for these weights by least squares. `gains` are the squares that these spans take away.
template <typename Lanes, int kBits, int kSubsets>
inline void
refineSpans(const Projection<Lanes, kSubsets>& projection, const Membership<Lanes, kSubsets>& membership,
            const typename Lanes::Float (&counts)[kSubsets], const typename Lanes::Float (&spreads)[kSubsets],
            Spans<Lanes, kSubsets>& spans, typename Lanes::Float (&gains)[kSubsets]) {
    using Float = typename Lanes::Float;
    const Scale<Lanes, kSubsets> scale(spans);
    SubsetSums<Lanes, kSubsets> weights, squares, products;
    for (unsigned i = 0; i < 16; ++i) {
        const auto texel = membership.at(i);
        const Float position = projection.m_positions[i];
        const Float weight = nearestWeight<Lanes, kBits>(scale.at(texel, position));
        weights.add(texel, weight);
        squares.add(texel, weight * weight);
        products.add(texel, weight * position);
    }
    Float w[kSubsets], ww[kSubsets], wp[kSubsets];
    weights.finish(w);
    squares.finish(ww);
    products.finish(wp);
    const Float zero = Lanes::splat(0.0f), one = Lanes::splat(1.0f);
    for (int subset = 0; subset < kSubsets; ++subset) {
        const Float determinant = counts[subset] * ww[subset] - w[subset] * w[subset];
        const auto isSolvable = less(zero, determinant);
        const Float perWeight = select(isSolvable, wp[subset] / select(isSolvable, determinant, one), zero);
        const Float slope = counts[subset] * perWeight;
        spans.m_halves[subset] = slope * Lanes::splat(32.0f);
        spans.m_middles[subset] = zero - w[subset] * perWeight;
        gains[subset] = minimum(slope * wp[subset], spreads[subset]);
    }
}

} // namespace qor::Texsmith::Raw::Bc7Lanes
