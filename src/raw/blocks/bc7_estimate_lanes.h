// Guesses at the best partition into two subsets, in lanes, without fitting any.
#pragma once

#include "raw/blocks/bc7_partition_lanes.h"

namespace qor::Texsmith::Raw::Bc7Lanes {

// The two partitions whose subsets' means lie farthest apart across a given axis: two lines along it would
// miss least.
template <typename Lanes> struct EstimatedPartitions { typename Lanes::Int m_first, m_second; };
template <typename Lanes, int kChannels>
EstimatedPartitions<Lanes> estimatePartitions(const BlockTexels<Lanes>& blocks,
                                              const typename Lanes::Float (&axis)[4]) {
    using Float = typename Lanes::Float;
    Float across[16][kChannels];
    for (unsigned i = 0; i < 16; ++i) {
        const auto& texel = blocks.m_centred[i];
        Float along = texel[0] * axis[0];
        for (int channel = 1; channel < kChannels; ++channel) {
            along = along + texel[channel] * axis[channel];
        }
        for (int channel = 0; channel < kChannels; ++channel) {
            across[i][channel] = texel[channel] - along * axis[channel];
        }
    }
    Float best = Lanes::splat(-1.0f), second = best;
    EstimatedPartitions<Lanes> found = {Lanes::splat(0u), Lanes::splat(0u)};
    for (unsigned partition = 0; partition < kBc7Partitions; ++partition) {
        const auto& list = kBc7Pairs.m_lists[partition].m_lists[0];
        Float sums[kChannels];
        unrolled<kChannels>([&](auto channel) { sums[channel] = across[list.m_texels[0]][channel]; });
        for (unsigned k = 1; k < list.m_count; ++k) {
            const auto& texel = across[list.m_texels[k]];
            unrolled<kChannels>([&](auto channel) { sums[channel] = sums[channel] + texel[channel]; });
        }
        const float pairs = static_cast<float>(list.m_count * (16 - list.m_count));
        const Float apart = dot<Lanes, kChannels>(sums, sums) * Lanes::splat(1.0f / pairs);
        const auto number = Lanes::splat(partition);
        const auto isBest = less(best, apart), isSecond = less(second, apart);
        found.m_second = select(isBest, found.m_first, select(isSecond, number, found.m_second));
        second = select(isBest, best, maximum(apart, second));
        found.m_first = select(isBest, number, found.m_first);
        best = maximum(apart, best);
    }
    return found;
}

// The lines of one partition in each lane.
template <typename Lanes, int kChannels>
LineSet<Lanes, kChannels, 2> findLinesOf(const BlockTexels<Lanes>& blocks, typename Lanes::Int partitions) {
    using Float = typename Lanes::Float;
    constexpr int kPairsOfChannels = kTriangle<kChannels>;
    const auto membership = membershipOf<Lanes, 2>(partitions);
    SubsetSums<Lanes, 2> first[kChannels], second[kPairsOfChannels];
    for (unsigned i = 0; i < 16; ++i) {
        const auto texel = membership.at(i);
        const auto& channels = blocks.m_centred[i];
        for (int channel = 0; channel < kChannels; ++channel) {
            first[channel].add(texel, channels[channel]);
            for (int other = channel; other < kChannels; ++other) {
                second[triangleAt<kChannels>(channel, other)].add(texel, channels[channel] * channels[other]);
            }
        }
    }
    Float means[kChannels][2], products[kPairsOfChannels][2];
    for (int channel = 0; channel < kChannels; ++channel) {
        first[channel].finish(means[channel]);
    }
    for (int pair = 0; pair < kPairsOfChannels; ++pair) {
        second[pair].finish(products[pair]);
    }
    LineSet<Lanes, kChannels, 2> lines;
    lines.m_squares = Lanes::splat(0.0f);
    for (int subset = 0; subset < 2; ++subset) {
        Float moments[kChannels + kPairsOfChannels];
        for (int channel = 0; channel < kChannels; ++channel) {
            moments[channel] = means[channel][subset];
        }
        for (int pair = 0; pair < kPairsOfChannels; ++pair) {
            moments[kChannels + pair] = products[pair][subset];
        }
        lines.m_counts[subset] = Lanes::lookUp(kBc7Pairs.m_counts[subset], partitions);
        const auto line = lineOf<Lanes, kChannels>(moments, Lanes::splat(1.0f) / lines.m_counts[subset]);
        for (int channel = 0; channel < kChannels; ++channel) {
            lines.m_axes[subset][channel] = line.m_axis.m_direction[channel];
        }
        lines.m_offsets[subset] = line.m_offset;
        lines.m_spreads[subset] = line.m_axis.m_spread;
        lines.m_squares = lines.m_squares + line.m_squares;
    }
    return lines;
}

} // namespace qor::Texsmith::Raw::Bc7Lanes
