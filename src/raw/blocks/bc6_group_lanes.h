// Blocks in one piece, one in each lane: their lines, and the indices for rounded ends. Errors are measured
// on positions, so that all texels weigh the same.
#pragma once

#include "raw/blocks/bc6_estimate_lanes.h"
#include "raw/blocks/bc6_prepare_lanes.h"
#include "raw/blocks/bc6_ramp_lanes.h"

namespace qor::Texsmith::Raw {

template <typename Lanes> class Bc6GroupFit {
    using Float = typename Lanes::Float;
    using Int = typename Lanes::Int;

public:
    static void fit(const ColorRGBA32F* blocks, bool isSigned, Bc6Group* group) {
        for (unsigned lane = 0; lane < Bc6Group::kBlocks; lane += Lanes::kCount) {
            fitLanes(&blocks[kBc6Texels * lane].r, isSigned, lane, group);
        }
    }

    static void findIndices(Bc6Group* group) {
        for (unsigned lane = 0; lane < Bc6Group::kBlocks; lane += Lanes::kCount) {
            findIndicesOfLanes(lane, group);
        }
    }

private:
    static constexpr unsigned kRounds = 2;

    static Float pick(Int mask, Float a, Float b) { return floatsOf(select(mask, bitsOf(a), bitsOf(b))); }
    static Float zero() { return Lanes::splat(0.0f); }

    // Positions less the mean, which is that of the middle of the block's lanes.
    struct Texels {
        Float m_mean[3];
        Float m_offset[kBc6Texels][3];
    };

    static void load(const float* texels, bool isSigned, unsigned lane, Bc6Group* group, Texels* result) {
        Float sums[3] = {zero(), zero(), zero()};
        Int first[3], changes = Lanes::splat(0u);
        for (unsigned texel = 0; texel < kBc6Texels; ++texel) {
            Float channels[4];
            Lanes::loadTexels(channels, texels + 4 * texel, 4 * kBc6Texels);
            for (unsigned channel = 0; channel < 3; ++channel) {
                const Bc6Position<Lanes> position(channels[channel], isSigned);
                first[channel] = texel == 0 ? position.m_pattern : first[channel];
                changes = changes | (position.m_pattern ^ first[channel]);
                result->m_offset[texel][channel] = position.m_position;
                sums[channel] = sums[channel] + position.m_position;
                store(&group->m_position[texel][channel][lane], position.m_position);
            }
        }
        store(&group->m_changes[lane], changes);
        for (unsigned channel = 0; channel < 3; ++channel) {
            store(&group->m_firstPattern[channel][lane], first[channel]);
            result->m_mean[channel] = sums[channel] * Lanes::splat(1.0f / 16.0f);
            for (auto& offset : result->m_offset) {
                offset[channel] = offset[channel] - result->m_mean[channel];
            }
        }
    }

    static void findAxis(const Texels& texels, Float (&axis)[3]) {
        Bc6Scatter<Lanes> scatter;
        for (unsigned i = 0; i < 3; ++i) {
            scatter.m_own[i] = scatter.m_pair[i] = zero();
        }
        for (const auto& offset : texels.m_offset) {
            for (unsigned i = 0; i < 3; ++i) {
                scatter.m_own[i] = scatter.m_own[i] + offset[i] * offset[i];
            }
            scatter.m_pair[0] = scatter.m_pair[0] + offset[0] * offset[1];
            scatter.m_pair[1] = scatter.m_pair[1] + offset[0] * offset[2];
            scatter.m_pair[2] = scatter.m_pair[2] + offset[1] * offset[2];
        }
        scatter.findAxis(axis);
    }

    struct Extent {
        Float m_low, m_high;
    };

    // The extent of least error for the nearest indices to an extent.
    static Extent improve(const Float (&places)[kBc6Texels], const Extent& extent) {
        const Bc6Ramp<Lanes> ramp(4);
        const Float length = maximum(extent.m_high - extent.m_low, Lanes::splat(0x1p-100f));
        const Float scale = Lanes::splat(128.0f) / length;
        Float high = zero(), highHigh = zero(), sum = zero(), highPlace = zero();
        for (const Float place : places) {
            const Int index = ramp.nearest(ramp.roundPlace((place - extent.m_low) * scale));
            const Float share = ramp.weight(index) * Lanes::splat(1.0f / 64.0f);
            high = high + share;
            highHigh = highHigh + share * share;
            sum = sum + place;
            highPlace = highPlace + share * place;
        }
        const Float lowHigh = high - highHigh, lowLow = (Lanes::splat(16.0f) - high) - lowHigh;
        const Float lowPlace = sum - highPlace;
        const Float product = lowLow * highHigh, determinant = product - lowHigh * lowHigh;
        const Int exists = less(product * Lanes::splat(1e-6f), determinant);
        return {pick(exists, (highHigh * lowPlace - lowHigh * highPlace) / determinant, extent.m_low),
                pick(exists, (lowLow * highPlace - lowHigh * lowPlace) / determinant, extent.m_high)};
    }

    static void fitLanes(const float* texels, bool isSigned, unsigned lane, Bc6Group* group) {
        Texels block;
        load(texels, isSigned, lane, group, &block);
        Float axis[3], places[kBc6Texels];
        findAxis(block, axis);
        const Float square = axis[0] * axis[0] + axis[1] * axis[1] + axis[2] * axis[2];
        const Float inverse = Lanes::splat(1.0f) / maximum(square, Lanes::splat(1.0f));
        Extent extent = {Lanes::splat(3.0e38f), Lanes::splat(-3.0e38f)};
        for (unsigned texel = 0; texel < kBc6Texels; ++texel) {
            const auto& offset = block.m_offset[texel];
            places[texel] = (offset[0] * axis[0] + offset[1] * axis[1] + offset[2] * axis[2]) * inverse;
            extent.m_low = minimum(places[texel], extent.m_low);
            extent.m_high = maximum(places[texel], extent.m_high);
        }
        for (unsigned round = 0; round < kRounds; ++round) {
            extent = improve(places, extent);
        }
        // The first texel takes the lower half of the indices.
        const Int turns = less(extent.m_high - places[0], places[0] - extent.m_low);
        const Float ends[2] = {pick(turns, extent.m_high, extent.m_low),
                               pick(turns, extent.m_low, extent.m_high)};
        for (unsigned end = 0; end < 2; ++end) {
            for (unsigned channel = 0; channel < 3; ++channel) {
                store(&group->m_ends[end][channel][lane], block.m_mean[channel] + ends[end] * axis[channel]);
            }
        }
    }

    static void findIndicesOfLanes(unsigned lane, Bc6Group* group) {
        const Bc6Ramp<Lanes> ramp(4);
        Float first[3], step[3], square = zero();
        for (unsigned channel = 0; channel < 3; ++channel) {
            first[channel] = Lanes::loadFloats(&group->m_decoded[0][channel][lane]);
            step[channel] = Lanes::loadFloats(&group->m_decoded[1][channel][lane]) - first[channel];
            square = square + step[channel] * step[channel];
        }
        const Float scale = Lanes::splat(128.0f) / maximum(square, Lanes::splat(1.0f));
        Int words[2] = {Lanes::splat(0u), Lanes::splat(0u)};
        for (unsigned texel = kBc6Texels; texel-- > 0;) {
            Float along = zero();
            for (unsigned channel = 0; channel < 3; ++channel) {
                const Float position = Lanes::loadFloats(&group->m_position[texel][channel][lane]);
                along = along + (position - first[channel]) * step[channel];
            }
            Int index = ramp.nearest(ramp.roundPlace(along * scale));
            index = texel == 0 ? minimumSigned(index, Lanes::splat(7u)) : index;
            words[texel / 8] = shiftLeft<4>(words[texel / 8]) | index;
        }
        store(&group->m_indices[0][lane], words[0]);
        store(&group->m_indices[1][lane], words[1]);
    }
};

} // namespace qor::Texsmith::Raw
