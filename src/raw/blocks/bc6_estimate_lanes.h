// The error to expect of each way to part a block, from sums over its texels alone. One partition is in each
// lane.
#pragma once

#include "raw/blocks/bc6_ramp_lanes.h"
#include "raw/blocks/bptc_tables.h"

#include <array>
#include <cstdint>

namespace qor::Texsmith::Raw {

// By texel and partition: all ones where the texel is in the second subset.
struct Bc6PartitionMasks {
    alignas(32) std::uint32_t m_masks[kBc6Texels][kBc6Partitions];
    // For each subset.
    alignas(32) float m_share[2][kBc6Partitions];
};

// Of the square of a line's length, by the texels of its subset: what indices cost.
static inline constexpr float bc6LineShare(unsigned count) {
    return count == 16 ? 0.013671875f : count > 2 ? static_cast<float>(count - 2) / 256.0f : 0.0f;
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

// Sums of the products of two channels' deviations from their means: of each with itself, and of 0 and 1, 0
// and 2, 1 and 2.
template <typename Lanes> struct Bc6Scatter {
    using Float = typename Lanes::Float;
    using Int = typename Lanes::Int;

    Float m_own[3];
    Float m_pair[3];

    void multiply(const Float (&v)[3], Float (&result)[3]) const {
        result[0] = m_own[0] * v[0] + m_pair[0] * v[1] + m_pair[1] * v[2];
        result[1] = m_pair[0] * v[0] + m_own[1] * v[1] + m_pair[2] * v[2];
        result[2] = m_pair[1] * v[0] + m_pair[2] * v[1] + m_own[2] * v[2];
    }

    // The direction of greatest scatter, or zero; and how much of the scatter lies along it. The eighth
    // power of the matrix turns any vector as eight rounds of iteration would; a column is one such.
    Float findAxis(Float (&axis)[3]) const {
        Bc6Scatter power = *this;
        for (unsigned doubling = 0; doubling < 3; ++doubling) {
            power.normalise();
            power.square();
        }
        const Float(&own)[3] = power.m_own, (&pair)[3] = power.m_pair;
        const Int second = less(own[0], own[1]);
        const Int third = less(maximum(own[1], own[0]), own[2]);
        axis[0] = pick(third, pair[1], pick(second, pair[0], own[0]));
        axis[1] = pick(third, pair[2], pick(second, own[1], pair[0]));
        axis[2] = pick(third, own[2], pick(second, pair[2], pair[1]));
        const Float largest = maximum(maximum(absolute(axis[0]), absolute(axis[1])), absolute(axis[2]));
        const Float scale = Lanes::splat(1.0f) / maximum(largest, Lanes::splat(0x1p-100f));
        for (Float& component : axis) {
            component = component * scale;
        }
        Float image[3];
        multiply(axis, image);
        const Float along = axis[0] * image[0] + axis[1] * image[1] + axis[2] * image[2];
        const Float length = axis[0] * axis[0] + axis[1] * axis[1] + axis[2] * axis[2];
        return along / maximum(length, Lanes::splat(1.0f)); // 1 where the axis is zero
    }

private:
    static Float pick(Int mask, Float a, Float b) { return floatsOf(select(mask, bitsOf(a), bitsOf(b))); }

    void normalise() {
        const Float trace = (m_own[0] + m_own[1]) + m_own[2];
        const Float scale = Lanes::splat(1.0f) / maximum(trace, Lanes::splat(0x1p-100f));
        for (unsigned i = 0; i < 3; ++i) {
            m_own[i] = m_own[i] * scale;
            m_pair[i] = m_pair[i] * scale;
        }
    }

    void square() {
        const Float xx = m_own[0], yy = m_own[1], zz = m_own[2];
        const Float xy = m_pair[0], xz = m_pair[1], yz = m_pair[2];
        m_own[0] = xx * xx + (xy * xy + xz * xz);
        m_own[1] = yy * yy + (xy * xy + yz * yz);
        m_own[2] = zz * zz + (xz * xz + yz * yz);
        m_pair[0] = xy * (xx + yy) + xz * yz;
        m_pair[1] = xz * (xx + zz) + xy * yz;
        m_pair[2] = yz * (yy + zz) + xy * xz;
    }
};

template <typename Lanes> class Bc6Estimate {
    using Float = typename Lanes::Float;
    using Int = typename Lanes::Int;
    using Sums = Bc6Sums<Lanes>;

public:
    static void estimate(const Bc6Planes& planes, Bc6Estimates* estimates) {
        Products products;
        products.fill(planes);
        estimates->m_squaredWeights =
            (products.m_sums[kWw] + products.m_sums[kWw + 1]) + products.m_sums[kWw + 2];
        estimateWhole(planes, products, estimates);
        for (unsigned at = 0; at < kBc6Partitions; at += Lanes::kCount) {
            Float sums[2][kProducts];
            products.loadSums(at, sums);
            const Line lines[2] = {findLine(sums[0], products, 0, at, estimates),
                                   findLine(sums[1], products, 1, at, estimates)};
            const auto second = [&](unsigned texel) {
                return Lanes::loadInts(&kBc6PartitionMasks.m_masks[texel][at]);
            };
            Float lengths[2];
            findLengths(planes, products, lines, second, lengths);
            Float error = lines[0].m_errorAcross + lines[1].m_errorAcross;
            for (unsigned subset = 0; subset < 2; ++subset) {
                error = error + Lanes::loadFloats(&kBc6PartitionMasks.m_share[subset][at]) * lengths[subset];
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

    struct Products {
        float m_sums[kProducts]; // of all texels
        float m_origin[3];       // positions are taken from here, so that their squares keep their bits

        void fill(const Bc6Planes& planes) {
            for (unsigned channel = 0; channel < 3; ++channel) {
                m_origin[channel] = sumOf(planes.m_position[channel]) * (1.0f / 16.0f);
            }
            for (unsigned at = 0; at < kBc6Texels; at += Lanes::kCount) {
                fillTexels(planes, at);
            }
            addRows();
            addPartitions();
        }

        // For the first and the second subset of as many partitions as there are lanes.
        void loadSums(unsigned partition, Float (&sums)[2][kProducts]) const {
            for (unsigned i = 0; i < kProducts; i += 4) {
                Float four[4];
                Lanes::loadTexels(four, &m_ofSecond[partition][i], kProducts);
                for (unsigned k = 0; k < 4; ++k) {
                    sums[1][i + k] = four[k];
                    sums[0][i + k] = Lanes::splat(m_sums[i + k]) - four[k];
                }
            }
        }

    private:
        static constexpr unsigned kSets = 16; // of the texels of a row
        alignas(32) float m_products[kBc6Texels][kProducts];
        alignas(32) float m_ofRows[4][kSets][kProducts]; // the first texel in the top bit of a set
        alignas(32) float m_ofSecond[kBc6Partitions][kProducts];

        static float sumOf(const float (&plane)[kBc6Texels]) {
            Float parts[Sums::kVectors];
            for (unsigned i = 0; i < Sums::kVectors; ++i) {
                parts[i] = Lanes::loadFloats(&plane[i * Lanes::kCount]);
            }
            return Sums::fold(parts);
        }

        void addRows() {
            for (unsigned row = 0; row < 4; ++row) {
                for (unsigned i = 0; i < kProducts; i += Lanes::kCount) {
                    Float sets[kSets];
                    sets[0] = Lanes::splat(0.0f);
                    store(&m_ofRows[row][0][i], sets[0]);
                    for (unsigned bit = 0; bit < 4; ++bit) {
                        const Float texel = Lanes::loadFloats(&m_products[4 * row + 3 - bit][i]);
                        for (unsigned set = 0; set < 1u << bit; ++set) {
                            sets[set | 1u << bit] = sets[set] + texel;
                            store(&m_ofRows[row][set | 1u << bit][i], sets[set | 1u << bit]);
                        }
                    }
                }
            }
        }

        Float sumOfMask(unsigned mask, unsigned i) const {
            const auto row = [&](unsigned number) {
                return Lanes::loadFloats(&m_ofRows[number][mask >> (12 - 4 * number) & 15][i]);
            };
            return (row(0) + row(1)) + (row(2) + row(3));
        }

        void addPartitions() {
            for (unsigned i = 0; i < kProducts; i += Lanes::kCount) {
                for (unsigned partition = 0; partition < kBc6Partitions; ++partition) {
                    store(&m_ofSecond[partition][i], sumOfMask(kBc7Partitions2[partition], i));
                }
                store(&m_sums[i], sumOfMask(0xFFFF, i));
            }
        }

        void fillTexels(const Bc6Planes& planes, unsigned at) {
            Float products[kProducts], weight[3], place[3];
            for (unsigned i = 0; i < 3; ++i) {
                weight[i] = Lanes::loadFloats(&planes.m_weight[i][at]);
                place[i] = Lanes::loadFloats(&planes.m_position[i][at]) - Lanes::splat(m_origin[i]);
                products[kWw + i] = weight[i] * weight[i];
                products[kWwp + i] = products[kWw + i] * place[i];
                products[kWwpp + i] = products[kWwp + i] * place[i];
            }
            const Float all = (products[kWw] + products[kWw + 1]) + products[kWw + 2];
            for (unsigned i = 0; i < 3; ++i) {
                const unsigned a = kPairs[i][0], b = kPairs[i][1];
                products[kMean + i] = all * place[i];
                products[kAb + i] = weight[a] * weight[b];
                products[kAbPa + i] = products[kAb + i] * place[a];
                products[kAbPb + i] = products[kAb + i] * place[b];
                products[kAbPaPb + i] = products[kAbPa + i] * place[b];
            }
            for (unsigned i = 0; i < kProducts; i += 4) {
                const Float four[4] = {products[i], products[i + 1], products[i + 2], products[i + 3]};
                Lanes::storeTexels(&m_products[at][i], kProducts, four);
            }
        }
    };

    static Float pick(Int mask, Float a, Float b) { return floatsOf(select(mask, bitsOf(a), bitsOf(b))); }

    // Of the weighted deviations from the mean.
    static Bc6Scatter<Lanes> scatterOf(const Float (&sums)[kProducts], const Float (&mean)[3]) {
        Bc6Scatter<Lanes> scatter;
        const Float zero = Lanes::splat(0.0f), two = Lanes::splat(2.0f);
        for (unsigned i = 0; i < 3; ++i) {
            const Float m = mean[i];
            scatter.m_own[i] =
                maximum(sums[kWwpp + i] - m * (two * sums[kWwp + i] - m * sums[kWw + i]), zero);
            const Float ma = mean[kPairs[i][0]], mb = mean[kPairs[i][1]];
            scatter.m_pair[i] =
                (sums[kAbPaPb + i] - ma * sums[kAbPb + i]) - mb * (sums[kAbPa + i] - ma * sums[kAb + i]);
        }
        return scatter;
    }

    struct Line {
        Float m_mean[3], m_axis[3]; // from the origin; of weighted deviations
        Float m_errorAcross;        // the scatter that is not along the line
    };

    // Finds the line of a subset, and stores it in positions.
    static Line findLine(const Float (&sums)[kProducts], const Products& products, unsigned subset,
                         unsigned at, Bc6Estimates* estimates) {
        const Float weight = (sums[kWw] + sums[kWw + 1]) + sums[kWw + 2];
        Line line;
        for (unsigned i = 0; i < 3; ++i) {
            line.m_mean[i] = sums[kMean + i] / weight;
            store(&estimates->m_mean[subset][i][at], line.m_mean[i] + Lanes::splat(products.m_origin[i]));
        }
        const Bc6Scatter<Lanes> scatter = scatterOf(sums, line.m_mean);
        const Float along = scatter.findAxis(line.m_axis);
        for (unsigned i = 0; i < 3; ++i) { // from weighted deviations back to positions
            const Float scale = squareRoot(weight / maximum(sums[kWw + i], Lanes::splat(0x1p-100f)));
            store(&estimates->m_axis[subset][i][at], line.m_axis[i] * scale);
        }
        const Float all = (scatter.m_own[0] + scatter.m_own[1]) + scatter.m_own[2];
        line.m_errorAcross = maximum(all - along, Lanes::splat(0.0f));
        return line;
    }

    // The squares of the lengths from the first texel to the last along each subset's line. `second(texel)`
    // tells the lanes where a texel is in the second subset.
    template <typename Second>
    static void findLengths(const Bc6Planes& planes, const Products& products, const Line (&lines)[2],
                            Second second, Float (&lengths)[2]) {
        const Float infinite = Lanes::splat(3.0e38f);
        Float low[2] = {infinite, infinite};
        Float high[2] = {Lanes::splat(-3.0e38f), Lanes::splat(-3.0e38f)};
        for (unsigned texel = 0; texel < kBc6Texels; ++texel) {
            const Int mask = second(texel);
            Float place = Lanes::splat(0.0f);
            for (unsigned i = 0; i < 3; ++i) {
                const Float mean = pick(mask, lines[1].m_mean[i], lines[0].m_mean[i]);
                const Float axis = pick(mask, lines[1].m_axis[i], lines[0].m_axis[i]);
                const Float offset = Lanes::splat(planes.m_position[i][texel] - products.m_origin[i]) - mean;
                place = place + Lanes::splat(planes.m_weight[i][texel]) * axis * offset;
            }
            low[0] = minimum(pick(mask, infinite, place), low[0]);
            low[1] = minimum(pick(mask, place, infinite), low[1]);
            high[0] = maximum(pick(mask, Lanes::splat(-3.0e38f), place), high[0]);
            high[1] = maximum(pick(mask, place, Lanes::splat(-3.0e38f)), high[1]);
        }
        for (unsigned subset = 0; subset < 2; ++subset) {
            const auto& axis = lines[subset].m_axis;
            const Float square = axis[0] * axis[0] + axis[1] * axis[1] + axis[2] * axis[2];
            const Float length = high[subset] - low[subset];
            lengths[subset] =
                length * length / maximum(square, Lanes::splat(1.0f)); // 1 where the axis is zero
        }
    }

    static void estimateWhole(const Bc6Planes& planes, const Products& products, Bc6Estimates* estimates) {
        Float sums[kProducts];
        for (unsigned i = 0; i < kProducts; ++i) {
            sums[i] = Lanes::splat(products.m_sums[i]);
        }
        const Line line = findLine(sums, products, 0, kBc6WholeBlock, estimates);
        const Line lines[2] = {line, line};
        Float lengths[2];
        findLengths(
            planes, products, lines, [](unsigned) { return Lanes::splat(0u); }, lengths);
        constexpr float kShare = bc6LineShare(kBc6Texels);
        store(&estimates->m_error[kBc6WholeBlock], line.m_errorAcross + Lanes::splat(kShare) * lengths[0]);
        for (unsigned channel = 0; channel < 3; ++channel) { // no second subset
            estimates->m_mean[1][channel][kBc6WholeBlock] = 0.0f;
            estimates->m_axis[1][channel][kBc6WholeBlock] = 0.0f;
        }
    }
};

} // namespace qor::Texsmith::Raw
