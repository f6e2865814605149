// Candidates of one subset, in lanes: one line for all channels (mode 6), or one channel apart (5 and 4).
#pragma once

#include "raw/blocks/bc7_refine_lanes.h"

namespace qor::Texsmith::Raw::Bc7Lanes {

// A channel whose squared correlations with the three others sum up to less is encoded apart. The value with
// the least error on pictures; docs/decisions.md has the figures.
inline constexpr float kSeparationLimit = 2.4f;
// Channels that range no further have no part in the axis of a block.
inline constexpr float kActiveRange = 0.003921569f;

// What the candidates of one subset share.
template <typename Lanes> struct Bc7ColourSet {
    using Float = typename Lanes::Float;
    using Int = typename Lanes::Int;

    const BlockTexels<Lanes>& m_blocks;
    Float m_squares[kTriangle<4>];
    Int m_isActive[4];
    Int m_separated; // the channel least tied to the others
    Int m_isApart;   // it is to be encoded apart

    explicit Bc7ColourSet(const BlockTexels<Lanes>& blocks) : m_blocks(blocks) {
        for (int i = 0; i < 4; ++i) {
            for (int j = i; j < 4; ++j) {
                Float sum = Lanes::splat(0.0f);
                for (const auto& texel : blocks.m_centred) {
                    sum = sum + texel[i] * texel[j];
                }
                m_squares[triangleAt<4>(i, j)] = sum;
            }
        }
        findActive();
        chooseSeparated();
    }

    Float squaresOf(int channel) const { return m_squares[triangleAt<4>(channel, channel)]; }

private:
    void findActive() {
        for (int channel = 0; channel < 4; ++channel) {
            Float low = m_blocks.m_channels[0][channel], high = low;
            for (const auto& texel : m_blocks.m_channels) {
                low = minimum(texel[channel], low);
                high = maximum(texel[channel], high);
            }
            m_isActive[channel] = less(Lanes::splat(kActiveRange), high - low);
        }
    }

    // The sum over the other channels; a pair without variance counts as tied.
    Float correlationOf(int channel) const {
        const Float zero = Lanes::splat(0.0f), one = Lanes::splat(1.0f);
        Float sum = zero;
        for (int other = 0; other < 4; ++other) {
            if (other != channel) {
                const Float shared = m_squares[triangleAt<4>(channel, other)];
                const Float product = squaresOf(channel) * squaresOf(other);
                const Int varies = less(zero, product);
                sum = sum + select(varies, shared * shared / select(varies, product, one), one);
            }
        }
        return sum;
    }

    void chooseSeparated() {
        Float least = correlationOf(0);
        m_separated = Lanes::splat(0u);
        for (int channel = 1; channel < 4; ++channel) {
            const Float sum = correlationOf(channel);
            m_separated =
                select(less(sum, least), Lanes::splat(static_cast<std::uint32_t>(channel)), m_separated);
            least = minimum(sum, least);
        }
        m_isApart = less(least, Lanes::splat(kSeparationLimit));
    }
};

// A line through whole blocks over the channels of a mask. What the others miss is not counted.
template <typename Lanes> struct WholeLine {
    LineSet<Lanes, 4, 1> m_lines;
    Membership<Lanes, 1> m_membership;
    Projection<Lanes, 1> m_projection;

    struct Mask {
        typename Lanes::Int m_channels[4];
    };

    static Mask allChannels() {
        const auto all = Lanes::splat(0xFFFFFFFFu);
        return {{all, all, all, all}};
    }

    WholeLine(const Bc7ColourSet<Lanes>& whole, const Mask& counted) : m_membership{{Lanes::splat(0u)}} {
        const auto zero = Lanes::splat(0.0f);
        Symmetric<Lanes, 4> squares;
        m_lines.m_squares = zero;
        for (int i = 0; i < 4; ++i) {
            m_lines.m_squares = m_lines.m_squares + select(counted.m_channels[i], whole.squaresOf(i), zero);
            for (int j = i; j < 4; ++j) {
                const auto mask =
                    counted.m_channels[i] & counted.m_channels[j] & whole.m_isActive[i] & whole.m_isActive[j];
                const int at = triangleAt<4>(i, j);
                squares.m_upper[at] = select(mask, whole.m_squares[at], zero);
            }
        }
        const Axis<Lanes, 4> axis = findAxis(squares);
        for (int channel = 0; channel < 4; ++channel) {
            m_lines.m_axes[0][channel] = axis.m_direction[channel];
        }
        m_lines.m_offsets[0] = zero;
        m_lines.m_spreads[0] = axis.m_spread;
        m_lines.m_counts[0] = Lanes::splat(16.0f);
        m_projection = project<Lanes, 4, 1>(
            [&](unsigned i, int channel) { return whole.m_blocks.m_centred[i][channel]; }, m_membership,
            m_lines);
    }

    Course<Lanes, 1> courseOf(const BlockTexels<Lanes>& blocks) const {
        Course<Lanes, 1> course;
        for (int channel = 0; channel < 4; ++channel) {
            course.m_means[0][channel] = blocks.m_means[channel];
            course.m_directions[0][channel] = m_lines.m_axes[0][channel];
        }
        return course;
    }
};

// Mode 6, along the line over all channels. Returns what the line misses before its ends are rounded.
template <typename Lanes, bool kHasAlpha>
typename Lanes::Float fitTogether(const BlockTexels<Lanes>& blocks, const WholeLine<Lanes>& line,
                                  Pursuit pursuit, Candidates<Lanes>& result) {
    const auto none = Lanes::splat(0u);
    const auto fit = fitBc7Line<Lanes, 4, 4, 1>(line.m_projection, line.m_membership, line.m_lines);
    const Course<Lanes, 1> course = line.courseOf(blocks);
    result.setKind(6, none, none, 0);
    SpanTrials<Lanes, 6, 4, 0, kHasAlpha ? 4 : 3, kHasAlpha> trials(
        blocks.m_channels, line.m_membership, line.m_projection.m_positions, course, fit.m_spans);
    if (pursuit.measuresSpans()) {
        trials.search(kTrialSteps[6], pursuit.m_spanSteps);
    }
    finish<4>(trials, pursuit, result);
    return line.m_lines.residual(fit.m_gains);
}

// The span of one channel, which is a number for each texel.
template <typename Lanes> struct ScalarLine {
    LineSet<Lanes, 1, 1> m_lines;
    Membership<Lanes, 1> m_membership;
    Projection<Lanes, 1> m_projection;

    ScalarLine(const typename Lanes::Float (&centred)[16]) : m_membership{{Lanes::splat(0u)}} {
        m_lines.m_axes[0][0] = Lanes::splat(1.0f);
        m_lines.m_offsets[0] = m_lines.m_squares = Lanes::splat(0.0f);
        m_lines.m_counts[0] = Lanes::splat(16.0f);
        for (const auto& value : centred) {
            m_lines.m_squares = m_lines.m_squares + value * value;
        }
        m_lines.m_spreads[0] = m_lines.m_squares;
        m_projection =
            project<Lanes, 1, 1>([&](unsigned i, int) { return centred[i]; }, m_membership, m_lines);
    }

    template <int kBits> FittedSpans<Lanes, 1> fit() const {
        return fitBc7Line<Lanes, kBits, 1, 1>(m_projection, m_membership, m_lines);
    }
};

// Channels with one of them exchanged for alpha, as modes 4 and 5 hold them.
template <typename Lanes> class Rotation {
public:
    using Float = typename Lanes::Float;
    explicit Rotation(typename Lanes::Int separated) {
        for (unsigned channel = 0; channel < 3; ++channel) {
            m_isSwapped[channel] = equal(separated, Lanes::splat(channel));
        }
    }
    // Works both ways.
    void apply(Float (&channels)[4]) const {
        const Float alpha = channels[3];
        for (int channel = 0; channel < 3; ++channel) {
            channels[3] = select(m_isSwapped[channel], channels[channel], channels[3]);
            channels[channel] = select(m_isSwapped[channel], alpha, channels[channel]);
        }
    }
    // As blocks store it.
    typename Lanes::Int code() const {
        auto code = Lanes::splat(0u);
        for (unsigned channel = 0; channel < 3; ++channel) {
            code = select(m_isSwapped[channel], Lanes::splat(channel + 1), code);
        }
        return code;
    }

private:
    typename Lanes::Int m_isSwapped[3];
};

// Blocks with one channel apart from the colours: two lines.
template <typename Lanes> class ApartBlocks {
public:
    using Float = typename Lanes::Float;
    using Int = typename Lanes::Int;

    ApartBlocks(const Bc7ColourSet<Lanes>& whole, Int separated)
        : m_blocks(whole.m_blocks), m_rotation(separated), m_colours(whole, allBut(separated)),
          m_scalar(rotate(whole.m_blocks)) {}

    // Mode 5, or 4 where the separated channel misses more than half of what the colours miss and so takes
    // indices of three bits; lanes outside the mask do not matter. Returns what the lines miss before their
    // ends are rounded.
    Float fit(Int mask, Pursuit pursuit, Candidates<Lanes>& result) const {
        const auto colours = colourFit<2>();
        const Float colourResidual = m_colours.m_lines.residual(colours.m_gains);
        const auto coarse = m_scalar.template fit<2>();
        const Float coarseResidual = m_scalar.m_lines.residual(coarse.m_gains);
        const Int isFine = less(colourResidual, coarseResidual + coarseResidual);
        set<5, 2, 2>(colours, coarse, pursuit, result);
        if (!anyLane(isFine & mask)) {
            return colourResidual + coarseResidual;
        }
        const auto fine = m_scalar.template fit<3>();
        Candidates<Lanes> other = {};
        set<4, 2, 3>(colours, fine, pursuit, other);
        result.take(other, isFine);
        return colourResidual + select(isFine, m_scalar.m_lines.residual(fine.m_gains), coarseResidual);
    }

    // One mode, with so many bits for the indices of the colours and of the channel apart.
    template <int kMode, int kColourBits, int kScalarBits>
    void fitAs(Pursuit pursuit, Candidates<Lanes>& result) const {
        set<kMode, kColourBits, kScalarBits>(colourFit<kColourBits>(), m_scalar.template fit<kScalarBits>(),
                                             pursuit, result);
    }

private:
    const BlockTexels<Lanes>& m_blocks;
    Rotation<Lanes> m_rotation;
    WholeLine<Lanes> m_colours;
    Float m_texels[16][4]; // rotated
    Float m_scalars[16];   // centred
    ScalarLine<Lanes> m_scalar;

    static typename WholeLine<Lanes>::Mask allBut(Int separated) {
        typename WholeLine<Lanes>::Mask mask;
        for (unsigned channel = 0; channel < 4; ++channel) {
            mask.m_channels[channel] = ~equal(separated, Lanes::splat(channel));
        }
        return mask;
    }

    const Float (&rotate(const BlockTexels<Lanes>& blocks))[16] {
        for (unsigned i = 0; i < 16; ++i) {
            Float centred[4];
            for (int channel = 0; channel < 4; ++channel) {
                m_texels[i][channel] = blocks.m_channels[i][channel];
                centred[channel] = blocks.m_centred[i][channel];
            }
            m_rotation.apply(m_texels[i]);
            m_rotation.apply(centred);
            m_scalars[i] = centred[3];
        }
        return m_scalars;
    }

    template <int kBits> FittedSpans<Lanes, 1> colourFit() const {
        return fitBc7Line<Lanes, kBits, 4, 1>(m_colours.m_projection, m_colours.m_membership,
                                              m_colours.m_lines);
    }

    // Of the rotated channels; positions are those on the colours' line, or of the scalar.
    Course<Lanes, 1> course() const {
        Course<Lanes, 1> course = m_colours.courseOf(m_blocks);
        m_rotation.apply(course.m_means[0]);
        m_rotation.apply(course.m_directions[0]);
        course.m_directions[0][3] = Lanes::splat(1.0f);
        return course;
    }

    template <int kMode, int kColourBits, int kScalarBits>
    void set(const FittedSpans<Lanes, 1>& colours, const FittedSpans<Lanes, 1>& scalar, Pursuit pursuit,
             Candidates<Lanes>& result) const {
        const auto course = this->course();
        SpanTrials<Lanes, kMode, kColourBits, 0, 3, true> colourTrials(
            m_texels, m_colours.m_membership, m_colours.m_projection.m_positions, course, colours.m_spans);
        SpanTrials<Lanes, kMode, kScalarBits, 3, 4, true> scalarTrials(
            m_texels, m_colours.m_membership, m_scalar.m_projection.m_positions, course, scalar.m_spans);
        if (pursuit.measuresSpans()) {
            colourTrials.search(kTrialSteps[kMode], pursuit.m_spanSteps);
            scalarTrials.search(kScalarTrialSteps[kMode], pursuit.m_spanSteps);
        }
        const auto colourResult = pursued(colourTrials, pursuit),
                   scalarResult = pursued(scalarTrials, pursuit);
        auto ends = colourResult.m_ends;
        for (int end = 0; end < 2; ++end) {
            ends.m_codes[0][end][3] = scalarResult.m_ends.m_codes[0][end][3];
        }
        result.setKind(kMode, Lanes::splat(0u), m_rotation.code(), kColourBits > kScalarBits ? 1 : 0);
        result.setEnds(ends);
        result.template setIndices<kColourBits>(colourResult.m_weights);
        result.template setScalarIndices<kScalarBits>(scalarResult.m_weights);
        store(result.m_scores, colourResult.m_error + scalarResult.m_error);
    }
};

} // namespace qor::Texsmith::Raw::Bc7Lanes
