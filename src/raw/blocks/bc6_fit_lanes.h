// The ends of a subset's line.
#pragma once

#include "raw/blocks/bc6_sums_lanes.h"

#include <limits>

namespace qor::Texsmith::Raw {

template <typename Lanes> class Bc6Fit {
    using Float = typename Lanes::Float;
    using Int = typename Lanes::Int;
    using Sums = Bc6Sums<Lanes>;

public:
    static void fit(const Bc6Subset& subset, const float (&mean)[3], const float (&axis)[3],
                    unsigned indexBits, Bc6Line* line) {
        Places places = {};
        places.m_axis[0] = axis[0], places.m_axis[1] = axis[1], places.m_axis[2] = axis[2];
        Extent extent = {0.0f, 0.0f};
        if (axis[0] != 0.0f || axis[1] != 0.0f || axis[2] != 0.0f) {
            places.find(subset, mean);
            places.turnAxis(subset, mean);
            places.find(subset, mean);
            extent = indexBits == 4 ? bestExtent<4>(subset, places) : bestExtent<3>(subset, places);
        }
        for (unsigned channel = 0; channel < 3; ++channel) {
            line->m_ends[0][channel] = mean[channel] + extent.m_low * places.m_axis[channel];
            line->m_ends[1][channel] = mean[channel] + extent.m_high * places.m_axis[channel];
        }
    }

private:
    static constexpr unsigned kRounds = 3;

    struct Extent {
        float m_low, m_high;
    };

    // Where the texels lie along the axis, each found by its own weights, and what an error there weighs.
    struct Places {
        float m_axis[3];
        alignas(32) float m_place[kBc6Texels];
        alignas(32) float m_weight[kBc6Texels];

        void find(const Bc6Subset& subset, const float (&mean)[3]) {
            for (unsigned at = 0; at < subset.m_count; at += Lanes::kCount) {
                Float along = Lanes::splat(0.0f), length = Lanes::splat(0.0f);
                for (unsigned channel = 0; channel < 3; ++channel) {
                    const Float axis = Lanes::splat(m_axis[channel]);
                    const Float weighted = Lanes::loadFloats(&subset.m_squaredWeight[channel][at]) * axis;
                    along = along + weighted * offset(subset, mean, channel, at);
                    length = length + weighted * axis;
                }
                store(&m_place[at], along / length);
                store(&m_weight[at], length);
            }
        }

        // The axis of least error for these places.
        void turnAxis(const Bc6Subset& subset, const float (&mean)[3]) {
            for (unsigned channel = 0; channel < 3; ++channel) {
                const auto weighted = [&](unsigned at) {
                    return Lanes::loadFloats(&subset.m_squaredWeight[channel][at]) *
                           Lanes::loadFloats(&m_place[at]);
                };
                const float along = Sums::sum(
                    subset, [&](unsigned at) { return weighted(at) * offset(subset, mean, channel, at); });
                const float length = Sums::sum(
                    subset, [&](unsigned at) { return weighted(at) * Lanes::loadFloats(&m_place[at]); });
                m_axis[channel] = length > 0.0f ? along / length : m_axis[channel];
            }
        }

        static Float offset(const Bc6Subset& subset, const float (&mean)[3], unsigned channel, unsigned at) {
            return Lanes::loadFloats(&subset.m_position[channel][at]) - Lanes::splat(mean[channel]);
        }
    };

    static Extent rangeOf(const Bc6Subset& subset, const Places& places) {
        Extent range = {places.m_place[0], places.m_place[0]};
        for (unsigned i = 1; i < subset.m_count; ++i) {
            const float place = places.m_place[i];
            range.m_low = place < range.m_low ? place : range.m_low;
            range.m_high = place > range.m_high ? place : range.m_high;
        }
        return range;
    }

    // Along the line from end to end, in 128ths.
    static Float along(const Extent& extent, const Places& places, unsigned at) {
        const Float scale = Lanes::splat(128.0f / (extent.m_high - extent.m_low));
        return (Lanes::loadFloats(&places.m_place[at]) - Lanes::splat(extent.m_low)) * scale;
    }

    // Takes the nearest indices for an extent, gives their error, and changes the extent to the best one for
    // these indices.
    template <unsigned kIndexBits>
    static float improve(const Bc6Subset& subset, const Places& places, Extent* extent) {
        using Ramp = Bc6Ramp<Lanes, kIndexBits>;
        alignas(32) float shares[kBc6Texels];
        for (unsigned at = 0; at < subset.m_count; at += Lanes::kCount) {
            const Int index = Ramp::nearest(Ramp::roundPlace(along(*extent, places, at)));
            store(&shares[at], Ramp::weight(index) * Lanes::splat(1.0f / 64.0f));
        }
        const auto weight = [&](unsigned at) { return Lanes::loadFloats(&places.m_weight[at]); };
        const auto place = [&](unsigned at) { return Lanes::loadFloats(&places.m_place[at]); };
        const auto share = [&](unsigned at) { return Lanes::loadFloats(&shares[at]); };
        const Float low = Lanes::splat(extent->m_low), length = Lanes::splat(extent->m_high - extent->m_low);
        const float error = Sums::sum(subset, [&](unsigned at) {
            const Float rest = place(at) - (share(at) * length + low);
            return weight(at) * rest * rest;
        });
        const float all = Sums::sum(subset, weight);
        const float high = Sums::sum(subset, [&](unsigned at) { return weight(at) * share(at); });
        const float highHigh =
            Sums::sum(subset, [&](unsigned at) { return weight(at) * share(at) * share(at); });
        const float places1 = Sums::sum(subset, [&](unsigned at) { return weight(at) * place(at); });
        const float highPlaces =
            Sums::sum(subset, [&](unsigned at) { return weight(at) * share(at) * place(at); });
        const float lowLow = all - 2.0f * high + highHigh, lowHigh = high - highHigh;
        const float lowPlaces = places1 - highPlaces;
        const float determinant = lowLow * highHigh - lowHigh * lowHigh;
        if (determinant > 1e-6f * (lowLow * highHigh)) {
            *extent = {(highHigh * lowPlaces - lowHigh * highPlaces) / determinant,
                       (lowLow * highPlaces - lowHigh * lowPlaces) / determinant};
        }
        return error;
    }

    template <unsigned kIndexBits> static Extent bestExtent(const Bc6Subset& subset, const Places& places) {
        Extent extent = rangeOf(subset, places), best = extent;
        float bestError = std::numeric_limits<float>::max();
        for (unsigned round = 0; round <= kRounds && extent.m_high > extent.m_low; ++round) {
            const Extent tried = extent;
            const float error = improve<kIndexBits>(subset, places, &extent);
            if (error < bestError) {
                bestError = error;
                best = tried;
            }
        }
        const float anchor = places.m_place[subset.m_anchor];
        const bool turns = anchor - best.m_low > best.m_high - anchor;
        return turns ? Extent{best.m_high, best.m_low} : best;
    }
};

} // namespace qor::Texsmith::Raw
