// The ends of the lines of a block's subsets, for several ways to part it at once: one in each lane.
#pragma once

#include "raw/blocks/bc6_ramp_lanes.h"
#include "raw/blocks/bptc_tables.h"

namespace qor::Texsmith::Raw {

template <typename Lanes> class Bc6Fit {
    using Float = typename Lanes::Float;
    using Int = typename Lanes::Int;

public:
    static void fit(const Bc6Planes& planes, const Bc6Estimates& estimates, const std::uint8_t* entries,
                    unsigned count, Bc6Fits* fits) {
        for (unsigned lane = 0; lane < count; lane += Lanes::kCount) {
            Entries chosen(estimates, entries + lane, count - lane);
            fitEntries(planes, chosen, lane, fits);
        }
    }

private:
    static constexpr unsigned kRounds = 3;

    // The lines of the entries, and which texels are in the second subset. Lanes without an entry repeat the
    // last one.
    struct Entries {
        alignas(32) std::uint32_t m_masks[Lanes::kCount]; // texel 0 in the top bit
        alignas(32) std::uint32_t m_isWhole[Lanes::kCount];
        alignas(32) float m_mean[2][3][Lanes::kCount];
        alignas(32) float m_axis[2][3][Lanes::kCount];
        std::uint8_t m_secondAnchor[Lanes::kCount];

        Entries(const Bc6Estimates& estimates, const std::uint8_t* entries, unsigned count) {
            for (unsigned lane = 0; lane < Lanes::kCount; ++lane) {
                const unsigned entry = entries[lane < count ? lane : count - 1];
                const bool whole = entry == kBc6WholeBlock;
                m_masks[lane] = whole ? 0u : static_cast<std::uint32_t>(kBc7Partitions2[entry]) << 16;
                m_isWhole[lane] = whole ? 0xFFFFFFFFu : 0u;
                m_secondAnchor[lane] = whole ? std::uint8_t{0} : kBc7SecondAnchors2[entry];
                for (unsigned subset = 0; subset < 2; ++subset) {
                    for (unsigned channel = 0; channel < 3; ++channel) {
                        m_mean[subset][channel][lane] = estimates.m_mean[subset][channel][entry];
                        m_axis[subset][channel][lane] = estimates.m_axis[subset][channel][entry];
                    }
                }
            }
        }
    };

    static Float pick(Int mask, Float a, Float b) { return floatsOf(select(mask, bitsOf(a), bitsOf(b))); }
    static Float masked(Int mask, Float a) { return floatsOf(bitsOf(a) & mask); }

    // One number for each subset.
    struct Pair {
        Float m_of[2] = {Lanes::splat(0.0f), Lanes::splat(0.0f)};

        Float at(Int second) const { return pick(second, m_of[1], m_of[0]); }
        void add(Int second, Float value) {
            m_of[1] = m_of[1] + masked(second, value);
            m_of[0] = m_of[0] + masked(~second, value);
        }
    };

    struct Lines {
        Int m_second[kBc6Texels];
        Pair m_mean[3], m_axis[3];
        Float m_place[kBc6Texels];  // along the axis, each found by the texel's own weights
        Float m_weight[kBc6Texels]; // of an error there
        Pair m_weights, m_weightedPlaces;

        explicit Lines(const Entries& entries) {
            Int word = Lanes::loadInts(entries.m_masks);
            for (Int& second : m_second) {
                second = shiftRightSigned<31>(word);
                word = shiftLeft<1>(word);
            }
            for (unsigned channel = 0; channel < 3; ++channel) {
                for (unsigned subset = 0; subset < 2; ++subset) {
                    m_mean[channel].m_of[subset] = Lanes::loadFloats(entries.m_mean[subset][channel]);
                    m_axis[channel].m_of[subset] = Lanes::loadFloats(entries.m_axis[subset][channel]);
                }
            }
        }

        Float offset(const Bc6Planes& planes, unsigned channel, unsigned texel) const {
            return Lanes::splat(planes.m_position[channel][texel]) - m_mean[channel].at(m_second[texel]);
        }

        void findPlaces(const Bc6Planes& planes) {
            for (unsigned texel = 0; texel < kBc6Texels; ++texel) {
                Float along = Lanes::splat(0.0f), length = Lanes::splat(0.0f);
                for (unsigned channel = 0; channel < 3; ++channel) {
                    const Float axis = m_axis[channel].at(m_second[texel]);
                    const Float weighted = Lanes::splat(planes.m_squaredWeight[channel][texel]) * axis;
                    along = along + weighted * offset(planes, channel, texel);
                    length = length + weighted * axis;
                }
                m_place[texel] = along / maximum(length, Lanes::splat(0x1p-100f)); // 0 where the axis is
                m_weight[texel] = length;
            }
        }

        void sumPlaces() {
            for (unsigned texel = 0; texel < kBc6Texels; ++texel) {
                m_weights.add(m_second[texel], m_weight[texel]);
                m_weightedPlaces.add(m_second[texel], m_weight[texel] * m_place[texel]);
            }
        }

        // The axes of least error for these places.
        void turnAxes(const Bc6Planes& planes) {
            for (unsigned channel = 0; channel < 3; ++channel) {
                Pair along, length;
                for (unsigned texel = 0; texel < kBc6Texels; ++texel) {
                    const Float weighted =
                        Lanes::splat(planes.m_squaredWeight[channel][texel]) * m_place[texel];
                    along.add(m_second[texel], weighted * offset(planes, channel, texel));
                    length.add(m_second[texel], weighted * m_place[texel]);
                }
                for (unsigned subset = 0; subset < 2; ++subset) {
                    const Float turned = along.m_of[subset] / length.m_of[subset];
                    const Int exists = less(Lanes::splat(0.0f), length.m_of[subset]);
                    m_axis[channel].m_of[subset] = pick(exists, turned, m_axis[channel].m_of[subset]);
                }
            }
        }

        // The squared distances from the axes.
        Float errorAcross(const Bc6Planes& planes) const {
            Float error = Lanes::splat(0.0f);
            for (unsigned texel = 0; texel < kBc6Texels; ++texel) {
                for (unsigned channel = 0; channel < 3; ++channel) {
                    const Float along = m_place[texel] * m_axis[channel].at(m_second[texel]);
                    const Float rest = offset(planes, channel, texel) - along;
                    error = error + Lanes::splat(planes.m_squaredWeight[channel][texel]) * (rest * rest);
                }
            }
            return error;
        }
    };

    // The places of index 0 and of the top index.
    struct Extents {
        Pair m_low, m_high;
    };

    static Extents rangesOf(const Lines& lines) {
        const Float infinite = Lanes::splat(3.0e38f);
        Extents ranges;
        for (unsigned subset = 0; subset < 2; ++subset) {
            ranges.m_low.m_of[subset] = infinite;
            ranges.m_high.m_of[subset] = Lanes::splat(0.0f) - infinite;
        }
        for (unsigned texel = 0; texel < kBc6Texels; ++texel) {
            const Int second = lines.m_second[texel];
            const Float place = lines.m_place[texel];
            for (unsigned subset = 0; subset < 2; ++subset) {
                const Int member = subset == 1 ? second : ~second;
                Float& low = ranges.m_low.m_of[subset];
                Float& high = ranges.m_high.m_of[subset];
                low = pick(member, minimum(place, low), low);
                high = pick(member, maximum(place, high), high);
            }
        }
        return ranges;
    }

    // Of the texels' shares of the high end by their nearest indices.
    struct Sums {
        Pair m_error;
        Pair m_high, m_highHigh; // of weights, by the shares
        Pair m_highPlace;
    };

    static Sums sumsFor(const Lines& lines, const Bc6Ramp<Lanes>& ramp, const Extents& extents) {
        Pair length, scale;
        for (unsigned subset = 0; subset < 2; ++subset) {
            length.m_of[subset] = extents.m_high.m_of[subset] - extents.m_low.m_of[subset];
            scale.m_of[subset] = Lanes::splat(128.0f) / maximum(length.m_of[subset], Lanes::splat(0x1p-100f));
        }
        Sums sums;
        for (unsigned texel = 0; texel < kBc6Texels; ++texel) {
            const Int second = lines.m_second[texel];
            const Float place = lines.m_place[texel], weight = lines.m_weight[texel];
            const Float fromLow = place - extents.m_low.at(second);
            const Int index = ramp.nearest(ramp.roundPlace(fromLow * scale.at(second)));
            const Float share = ramp.weight(index) * Lanes::splat(1.0f / 64.0f);
            const Float rest = fromLow - share * length.at(second), weighted = weight * share;
            sums.m_error.add(second, weight * (rest * rest));
            sums.m_high.add(second, weighted);
            sums.m_highHigh.add(second, weighted * share);
            sums.m_highPlace.add(second, weighted * place);
        }
        return sums;
    }

    // The extents of least error for the indices that the sums are of.
    static void solve(const Lines& lines, const Sums& sums, Extents* extents) {
        for (unsigned subset = 0; subset < 2; ++subset) {
            const Float high = sums.m_high.m_of[subset], highHigh = sums.m_highHigh.m_of[subset];
            const Float lowHigh = high - highHigh, lowLow = (lines.m_weights.m_of[subset] - high) - lowHigh;
            const Float highPlace = sums.m_highPlace.m_of[subset];
            const Float lowPlace = lines.m_weightedPlaces.m_of[subset] - highPlace;
            const Float product = lowLow * highHigh, determinant = product - lowHigh * lowHigh;
            const Int exists = less(product * Lanes::splat(1e-6f), determinant);
            Float& first = extents->m_low.m_of[subset];
            Float& last = extents->m_high.m_of[subset];
            first = pick(exists, (highHigh * lowPlace - lowHigh * highPlace) / determinant, first);
            last = pick(exists, (lowLow * highPlace - lowHigh * lowPlace) / determinant, last);
        }
    }

    static Extents bestExtents(const Lines& lines, const Bc6Ramp<Lanes>& ramp, Float* error) {
        Extents extents = rangesOf(lines), best = extents;
        Pair least;
        for (unsigned round = 0; round < kRounds; ++round) {
            const Extents tried = extents;
            const Sums sums = sumsFor(lines, ramp, extents);
            for (unsigned subset = 0; subset < 2; ++subset) {
                const Float found = sums.m_error.m_of[subset];
                Int better = less(found, least.m_of[subset]);
                better = round == 0 ? equal(better, better) : better;
                least.m_of[subset] = pick(better, found, least.m_of[subset]);
                best.m_low.m_of[subset] = pick(better, tried.m_low.m_of[subset], best.m_low.m_of[subset]);
                best.m_high.m_of[subset] = pick(better, tried.m_high.m_of[subset], best.m_high.m_of[subset]);
            }
            if (round + 1 < kRounds) {
                solve(lines, sums, &extents);
            }
        }
        *error = least.m_of[0] + least.m_of[1];
        return best;
    }

    static void fitEntries(const Bc6Planes& planes, const Entries& entries, unsigned lane, Bc6Fits* fits) {
        Lines lines(entries);
        lines.findPlaces(planes);
        lines.turnAxes(planes);
        lines.findPlaces(planes);
        lines.sumPlaces();
        Float along;
        Extents extents = bestExtents(lines, Bc6Ramp<Lanes>(Lanes::loadInts(entries.m_isWhole)), &along);
        store(&fits->m_error[lane], along + lines.errorAcross(planes));
        turn(lines, entries, &extents);
        for (unsigned subset = 0; subset < 2; ++subset) {
            for (unsigned channel = 0; channel < 3; ++channel) {
                const Float mean = lines.m_mean[channel].m_of[subset],
                            axis = lines.m_axis[channel].m_of[subset];
                store(&fits->m_ends[subset][0][channel][lane], mean + extents.m_low.m_of[subset] * axis);
                store(&fits->m_ends[subset][1][channel][lane], mean + extents.m_high.m_of[subset] * axis);
            }
        }
    }

    // The anchors take the lower half of the indices.
    static void turn(const Lines& lines, const Entries& entries, Extents* extents) {
        alignas(32) float places[kBc6Texels][Lanes::kCount], anchors[Lanes::kCount];
        for (unsigned texel = 0; texel < kBc6Texels; ++texel) {
            store(places[texel], lines.m_place[texel]);
        }
        for (unsigned lane = 0; lane < Lanes::kCount; ++lane) {
            anchors[lane] = places[entries.m_secondAnchor[lane]][lane];
        }
        for (unsigned subset = 0; subset < 2; ++subset) {
            const Float anchor = subset == 0 ? lines.m_place[0] : Lanes::loadFloats(anchors);
            const Float low = extents->m_low.m_of[subset], high = extents->m_high.m_of[subset];
            const Int turns = less(high - anchor, anchor - low);
            extents->m_low.m_of[subset] = pick(turns, high, low);
            extents->m_high.m_of[subset] = pick(turns, low, high);
        }
    }
};

} // namespace qor::Texsmith::Raw
