// The error to expect of each way to part a block, from sums over its texels alone. One partition is in each
// lane.
#pragma once

#include "raw/blocks/bc6_sums_lanes.h"
#include "raw/blocks/bptc_tables.h"

#include <array>
#include <cstdint>

namespace qor::Texsmith::Raw {

// By texel and partition: all ones where the texel is in the second subset.
struct Bc6PartitionMasks {
    alignas(32) std::uint32_t m_masks[kBc6Texels][kBc6Partitions];
    // Of the scatter along each subset's line: what its indices cost.
    alignas(32) float m_share[2][kBc6Partitions];
};

// Of a subset's squared length, by its texels. The length is guessed from the mean squared distance from the
// middle, of which the square of the length is some eightfold.
constexpr float bc6LineShare(unsigned count) {
    const float share = count == 16 ? 0.013671875f
                        : count > 2 ? static_cast<float>(count - 2) / 256.0f
                                    : 0.0f;
    return share * 8.0f / static_cast<float>(count);
}

constexpr Bc6PartitionMasks makeBc6PartitionMasks() {
    Bc6PartitionMasks result = {};
    for (unsigned partition = 0; partition < kBc6Partitions; ++partition) {
        unsigned counts[2] = {};
        for (unsigned texel = 0; texel < kBc6Texels; ++texel) {
            const unsigned subset = subsetOfTwo(partition, texel);
            result.m_masks[texel][partition] = subset != 0 ? 0xFFFFFFFF : 0;
            ++counts[subset];
        }
        for (unsigned subset = 0; subset < 2; ++subset) {
            result.m_share[subset][partition] = bc6LineShare(counts[subset]);
        }
    }
    return result;
}
inline constexpr Bc6PartitionMasks kBc6PartitionMasks = makeBc6PartitionMasks();

template <typename Lanes> class Bc6Estimate {
    using Float = typename Lanes::Float;
    using Int = typename Lanes::Int;
    using Sums = Bc6Sums<Lanes>;

public:
    static void estimate(const Bc6Planes& planes, Bc6Estimates* estimates) {
        Products products;
        products.fill(planes);
        estimateWhole(products, estimates);
        for (unsigned at = 0; at < kBc6Partitions; at += Lanes::kCount) {
            Float sums[2][kProducts];
            for (unsigned i = 0; i < kProducts; ++i) {
                sums[1][i] = products.sumOfSecond(i, at);
                sums[0][i] = Lanes::splat(products.m_sums[i]) - sums[1][i];
            }
            Float error = Lanes::splat(0.0f);
            for (unsigned subset = 0; subset < 2; ++subset) {
                const Float share = Lanes::loadFloats(&kBc6PartitionMasks.m_share[subset][at]);
                error = error + findLine(sums[subset], products, share, subset, at, estimates);
            }
            store(&estimates->m_error[at], error);
        }
    }

private:
    // Sums over texels, of the weights w and the positions p: for each channel w w, w w p, w w p p and the
    // position by the weight of all channels; for each pair of channels a, b: wa wb, wa wb pa, wa wb pb and
    // wa wb pa pb.
    enum : unsigned {
        kWw = 0,
        kWwp = 3,
        kWwpp = 6,
        kMean = 9,
        kAb = 12,
        kAbPa = 15,
        kAbPb = 18,
        kAbPaPb = 21
    };
    static constexpr unsigned kProducts = 24;
    static constexpr unsigned kPairs[3][2] = {{0, 1}, {0, 2}, {1, 2}};
    static constexpr unsigned kRounds = 8;

    struct Products {
        alignas(32) float m_products[kProducts][kBc6Texels];
        float m_sums[kProducts];
        float m_origin[3]; // positions are taken from here, so that their squares keep their bits

        void fill(const Bc6Planes& planes) {
            for (unsigned channel = 0; channel < 3; ++channel) {
                m_origin[channel] = sumOf(planes.m_position[channel]) * (1.0f / 16.0f);
            }
            for (unsigned at = 0; at < kBc6Texels; at += Lanes::kCount) {
                fillTexels(planes, at);
            }
            for (unsigned i = 0; i < kProducts; ++i) {
                m_sums[i] = sumOf(m_products[i]);
            }
        }

        Float sumOfSecond(unsigned product, unsigned partition) const {
            Float sum = Lanes::splat(0.0f);
            for (unsigned texel = 0; texel < kBc6Texels; ++texel) {
                const Int mask = Lanes::loadInts(&kBc6PartitionMasks.m_masks[texel][partition]);
                sum = sum + floatsOf(bitsOf(Lanes::splat(m_products[product][texel])) & mask);
            }
            return sum;
        }

    private:
        static float sumOf(const float (&plane)[kBc6Texels]) {
            Float parts[Sums::kVectors];
            for (unsigned i = 0; i < Sums::kVectors; ++i) {
                parts[i] = Lanes::loadFloats(&plane[i * Lanes::kCount]);
            }
            return Sums::fold(parts);
        }

        void fillTexels(const Bc6Planes& planes, unsigned at) {
            Float weight[3], place[3], squared[3];
            for (unsigned i = 0; i < 3; ++i) {
                weight[i] = Lanes::loadFloats(&planes.m_weight[i][at]);
                place[i] = Lanes::loadFloats(&planes.m_position[i][at]) - Lanes::splat(m_origin[i]);
                squared[i] = weight[i] * weight[i];
                store(&m_products[kWw + i][at], squared[i]);
                store(&m_products[kWwp + i][at], squared[i] * place[i]);
                store(&m_products[kWwpp + i][at], squared[i] * place[i] * place[i]);
            }
            const Float all = (squared[0] + squared[1]) + squared[2];
            for (unsigned i = 0; i < 3; ++i) {
                const unsigned a = kPairs[i][0], b = kPairs[i][1];
                const Float both = weight[a] * weight[b];
                store(&m_products[kMean + i][at], all * place[i]);
                store(&m_products[kAb + i][at], both);
                store(&m_products[kAbPa + i][at], both * place[a]);
                store(&m_products[kAbPb + i][at], both * place[b]);
                store(&m_products[kAbPaPb + i][at], both * place[a] * place[b]);
            }
        }
    };

    // Of the weighted deviations from the mean.
    struct Scatter {
        Float m_own[3];
        Float m_pair[3];

        Scatter(const Float (&sums)[kProducts], const Float (&mean)[3]) {
            const Float zero = Lanes::splat(0.0f), two = Lanes::splat(2.0f);
            for (unsigned i = 0; i < 3; ++i) {
                const Float m = mean[i];
                m_own[i] = maximum(sums[kWwpp + i] - m * (two * sums[kWwp + i] - m * sums[kWw + i]), zero);
                const Float ma = mean[kPairs[i][0]], mb = mean[kPairs[i][1]];
                m_pair[i] =
                    (sums[kAbPaPb + i] - ma * sums[kAbPb + i]) - mb * (sums[kAbPa + i] - ma * sums[kAb + i]);
            }
        }

        void multiply(const Float (&v)[3], Float (&result)[3]) const {
            result[0] = m_own[0] * v[0] + m_pair[0] * v[1] + m_pair[1] * v[2];
            result[1] = m_pair[0] * v[0] + m_own[1] * v[1] + m_pair[2] * v[2];
            result[2] = m_pair[1] * v[0] + m_pair[2] * v[1] + m_own[2] * v[2];
        }

        // The direction of greatest scatter, with a greatest component of 1 or -1, or zero; and how much of
        // the scatter lies along it.
        Float findAxis(Float (&axis)[3]) const {
            const Int second = less(m_own[0], m_own[1]);
            const Float greater = maximum(m_own[1], m_own[0]);
            const Int third = less(greater, m_own[2]);
            axis[0] = pick(third, m_pair[1], pick(second, m_pair[0], m_own[0]));
            axis[1] = pick(third, m_pair[2], pick(second, m_own[1], m_pair[0]));
            axis[2] = pick(third, m_own[2], pick(second, m_pair[2], m_pair[1]));
            normalise(axis);
            for (unsigned round = 0; round < kRounds; ++round) {
                Float next[3];
                multiply(axis, next);
                normalise(next);
                axis[0] = next[0], axis[1] = next[1], axis[2] = next[2];
            }
            Float image[3];
            multiply(axis, image);
            const Float along = axis[0] * image[0] + axis[1] * image[1] + axis[2] * image[2];
            const Float length = axis[0] * axis[0] + axis[1] * axis[1] + axis[2] * axis[2];
            return along / maximum(length, Lanes::splat(1.0f)); // 1 where the axis is zero
        }
    };

    static Float pick(Int mask, Float a, Float b) { return floatsOf(select(mask, bitsOf(a), bitsOf(b))); }

    // By the largest component. A zero vector stays zero.
    static void normalise(Float (&v)[3]) {
        const Float largest = maximum(maximum(absolute(v[0]), absolute(v[1])), absolute(v[2]));
        const Float scale = Lanes::splat(1.0f) / maximum(largest, Lanes::splat(0x1p-120f));
        for (Float& component : v) {
            component = component * scale;
        }
    }

    // Stores the line of a subset and gives the error about it: the scatter that is not along the line, and a
    // share of what is.
    static Float findLine(const Float (&sums)[kProducts], const Products& products, Float share,
                          unsigned subset, unsigned at, Bc6Estimates* estimates) {
        const Float weight = (sums[kWw] + sums[kWw + 1]) + sums[kWw + 2];
        Float mean[3], axis[3];
        for (unsigned i = 0; i < 3; ++i) {
            mean[i] = sums[kMean + i] / weight;
            store(&estimates->m_mean[subset][i][at], mean[i] + Lanes::splat(products.m_origin[i]));
        }
        const Scatter scatter(sums, mean);
        const Float along = scatter.findAxis(axis);
        for (unsigned i = 0; i < 3; ++i) { // from weighted deviations back to positions
            const Float scale = squareRoot(weight / maximum(sums[kWw + i], Lanes::splat(0x1p-100f)));
            store(&estimates->m_axis[subset][i][at], axis[i] * scale);
        }
        const Float all = (scatter.m_own[0] + scatter.m_own[1]) + scatter.m_own[2];
        return maximum(all - along, Lanes::splat(0.0f)) + share * along;
    }

    static void estimateWhole(const Products& products, Bc6Estimates* estimates) {
        Float sums[kProducts];
        for (unsigned i = 0; i < kProducts; ++i) {
            sums[i] = Lanes::splat(products.m_sums[i]);
        }
        const Float share = Lanes::splat(bc6LineShare(kBc6Texels));
        store(&estimates->m_error[kBc6WholeBlock],
              findLine(sums, products, share, 0, kBc6WholeBlock, estimates));
    }
};

} // namespace qor::Texsmith::Raw
