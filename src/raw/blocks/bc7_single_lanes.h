// Candidates of one subset, in lanes: one line for all channels (mode 6), or one channel apart (5 and 4).
#pragma once

#include "raw/blocks/bc7_blocks_lanes.h"

namespace qor::Texsmith::Raw::Bc7Lanes {

// A channel whose squared correlations with the three others sum up to less is encoded apart. The value with
// the least error on photographs; docs/decisions.md has the figures.
inline constexpr float kSeparationLimit = 1.25f;
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

    WholeLine(const Bc7ColourSet<Lanes>& whole, const typename Lanes::Int (&isCounted)[4])
        : m_membership{{Lanes::splat(0u)}} {
        const auto zero = Lanes::splat(0.0f);
        Symmetric<Lanes, 4> squares;
        m_lines.m_squares = zero;
        for (int i = 0; i < 4; ++i) {
            m_lines.m_squares = m_lines.m_squares + select(isCounted[i], whole.squaresOf(i), zero);
            for (int j = i; j < 4; ++j) {
                const auto mask = isCounted[i] & isCounted[j] & whole.m_isActive[i] & whole.m_isActive[j];
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

    Ends<Lanes, 1> endsOf(const BlockTexels<Lanes>& blocks, const Spans<Lanes, 1>& spans) const {
        Ends<Lanes, 1> ends;
        for (int channel = 0; channel < 4; ++channel) {
            const auto direction = m_lines.m_axes[0][channel];
            ends.m_channels[0][0][channel] =
                blocks.m_means[channel] + direction * (spans.m_middles[0] - spans.m_halves[0]);
            ends.m_channels[0][1][channel] =
                blocks.m_means[channel] + direction * (spans.m_middles[0] + spans.m_halves[0]);
        }
        return ends;
    }
};

template <typename Lanes, int kBits>
inline void storeIndices(std::uint32_t (&indices)[16][Lanes::kCount],
                         const typename Lanes::Float (&weights)[16]) {
    for (unsigned i = 0; i < 16; ++i) {
        store(indices[i], indexOf<Lanes, kBits>(weights[i]));
    }
}

// Mode 6. Returns what the line misses before its ends are rounded.
template <typename Lanes, bool kHasAlpha>
inline typename Lanes::Float fitTogether(const Bc7ColourSet<Lanes>& whole, Candidates<Lanes>& result) {
    const auto all = Lanes::splat(0xFFFFFFFFu);
    const WholeLine<Lanes> line(whole, {all, all, all, all});
    const auto fit = fitBc7Line<Lanes, 4, 4, 1>(line.m_projection, line.m_membership, line.m_lines);
    const auto ends = Quantiser<Lanes, 6, kHasAlpha>::quantise(line.endsOf(whole.m_blocks, fit.m_spans));
    result.setEnds(ends);
    store(result.m_modes, Lanes::splat(6u));
    store(result.m_partitions, Lanes::splat(0u));
    store(result.m_rotations, Lanes::splat(0u));
    storeIndices<Lanes, 4>(result.m_indices, fit.m_weights);
    store(result.m_scores,
          scoreOf<Lanes, 1>(ends, whole.m_blocks.m_channels, line.m_membership, fit.m_weights, 0, 4));
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

// Mode 5, or 4 where the separated channel misses more than half of what the colours miss and so takes
// indices of three bits. Returns what the lines miss before their ends are rounded.
template <typename Lanes>
inline typename Lanes::Float fitApart(const Bc7ColourSet<Lanes>& whole, typename Lanes::Int separated,
                                      Candidates<Lanes>& result) {
    using Float = typename Lanes::Float;
    using Int = typename Lanes::Int;
    const BlockTexels<Lanes>& blocks = whole.m_blocks;
    const Rotation<Lanes> rotation(separated);
    Int isCounted[4];
    for (unsigned channel = 0; channel < 4; ++channel) {
        isCounted[channel] = ~equal(separated, Lanes::splat(channel));
    }
    Float texels[16][4], scalars[16];
    for (unsigned i = 0; i < 16; ++i) {
        Float centred[4];
        for (int channel = 0; channel < 4; ++channel) {
            texels[i][channel] = blocks.m_channels[i][channel];
            centred[channel] = blocks.m_centred[i][channel];
        }
        rotation.apply(texels[i]);
        rotation.apply(centred);
        scalars[i] = centred[3];
    }
    const WholeLine<Lanes> line(whole, isCounted);
    const auto fit = fitBc7Line<Lanes, 2, 4, 1>(line.m_projection, line.m_membership, line.m_lines);
    const Float colourResidual = line.m_lines.residual(fit.m_gains);
    const ScalarLine<Lanes> scalar(scalars);
    const auto coarse = fitBc7Line<Lanes, 2, 1, 1>(scalar.m_projection, scalar.m_membership, scalar.m_lines);
    const auto fine = fitBc7Line<Lanes, 3, 1, 1>(scalar.m_projection, scalar.m_membership, scalar.m_lines);
    const Float coarseResidual = scalar.m_lines.residual(coarse.m_gains);
    const Int isFine = less(colourResidual, coarseResidual + coarseResidual);

    Ends<Lanes, 1> ends = line.endsOf(blocks, fit.m_spans);
    Float means[4] = {blocks.m_means[0], blocks.m_means[1], blocks.m_means[2], blocks.m_means[3]};
    rotation.apply(means);
    for (int end = 0; end < 2; ++end) {
        rotation.apply(ends.m_channels[0][end]);
    }
    const auto quantised = [&](auto quantiser, const auto& scalarFit) {
        const auto half = scalarFit.m_spans.m_halves[0];
        const auto middle = means[3] + scalarFit.m_spans.m_middles[0];
        ends.m_channels[0][0][3] = middle - half;
        ends.m_channels[0][1][3] = middle + half;
        return decltype(quantiser)::quantise(ends);
    };
    auto chosen = quantised(Quantiser<Lanes, 5, true>(), coarse);
    const auto other = quantised(Quantiser<Lanes, 4, true>(), fine);
    Float weights[16];
    for (unsigned i = 0; i < 16; ++i) {
        weights[i] = select(isFine, fine.m_weights[i], coarse.m_weights[i]);
        store(result.m_scalarIndices[i],
              select(isFine, indexOf<Lanes, 3>(fine.m_weights[i]), indexOf<Lanes, 2>(coarse.m_weights[i])));
    }
    for (int end = 0; end < 2; ++end) {
        for (int channel = 0; channel < 4; ++channel) {
            chosen.m_codes[0][end][channel] =
                select(isFine, other.m_codes[0][end][channel], chosen.m_codes[0][end][channel]);
            chosen.m_levels[0][end][channel] =
                select(isFine, other.m_levels[0][end][channel], chosen.m_levels[0][end][channel]);
        }
    }
    result.setEnds(chosen);
    store(result.m_modes, select(isFine, Lanes::splat(4u), Lanes::splat(5u)));
    store(result.m_partitions, Lanes::splat(0u));
    store(result.m_rotations, rotation.code());
    storeIndices<Lanes, 2>(result.m_indices, fit.m_weights);
    store(result.m_scores, scoreOf<Lanes, 1>(chosen, texels, line.m_membership, fit.m_weights, 0, 3) +
                               scoreOf<Lanes, 1>(chosen, texels, line.m_membership, weights, 3, 4));
    return colourResidual + select(isFine, scalar.m_lines.residual(fine.m_gains), coarseResidual);
}

} // namespace qor::Texsmith::Raw::Bc7Lanes
