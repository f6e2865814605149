// The search for a partition, in lanes.
//
// First the lines of all 64 partitions, a block in each lane: a subset's moments are sums over its texels,
// and those of the largest subset are what remains of the whole. What the texels miss of their lines is less
// than what any indices on them miss. Then, a partition in each lane, one block at a time, the spans of those
// partitions whose lines alone do not miss more than the best found so far. So the winner is that of a search
// through all of them.
#pragma once

#include "raw/blocks/bc7_refine_lanes.h"

#include <cstring>

namespace qor::Texsmith::Raw::Bc7Lanes {

struct FoundPartition {
    float m_error;
    unsigned m_partition;
};

// The line of one subset.
template <typename Lanes, int kChannels> struct SubsetLine {
    Axis<Lanes, kChannels> m_axis;
    typename Lanes::Float m_offset;
    typename Lanes::Float m_squares;
};

// Of the sums of its texels, then of their products; `inverse` is one over their number.
template <typename Lanes, int kChannels>
inline SubsetLine<Lanes, kChannels>
lineOf(const typename Lanes::Float (&moments)[kChannels + kTriangle<kChannels>],
       typename Lanes::Float inverse) {
    using Float = typename Lanes::Float;
    SubsetLine<Lanes, kChannels> line;
    Symmetric<Lanes, kChannels> about;
    line.m_squares = Lanes::splat(0.0f);
    unrolled<kChannels>([&](auto row) {
        constexpr int i = decltype(row)::value;
        const Float mean = moments[i] * inverse;
        unrolled<kChannels - i>([&](auto more) {
            constexpr int j = i + decltype(more)::value, at = triangleAt<kChannels>(i, j);
            about.m_upper[at] = moments[kChannels + at] - mean * moments[j];
        });
        Float& square = about.m_upper[triangleAt<kChannels>(i, i)];
        square = maximum(square, Lanes::splat(0.0f));
        line.m_squares = line.m_squares + square;
    });
    line.m_axis = findAxis(about);
    line.m_offset = line.m_axis.m_direction[0] * moments[0];
    unrolled<kChannels - 1>([&](auto before) {
        constexpr int i = decltype(before)::value + 1;
        line.m_offset = line.m_offset + line.m_axis.m_direction[i] * moments[i];
    });
    line.m_offset = line.m_offset * inverse;
    return line;
}

template <typename Lanes, int kSubsets>
Membership<Lanes, kSubsets> membershipOf(typename Lanes::Int partitions) {
    Membership<Lanes, kSubsets> membership;
    for (int i = 0; i + 1 < kSubsets; ++i) {
        membership.m_words[i] = Lanes::lookUp(Bc7SubsetsOf<kSubsets>::kTable->m_words[i], partitions);
    }
    return membership;
}

template <typename Lanes, int kChannels, int kSubsets> class PartitionLines {
public:
    using Float = typename Lanes::Float;
    using Int = typename Lanes::Int;
    static constexpr unsigned kCount = Lanes::kCount;
    using Lines = LineSet<Lanes, kChannels, kSubsets>;

    void findLines(const BlockTexels<Lanes>& blocks) {
        m_blocks = &blocks;
        Float moments[16][kMoments], whole[kMoments];
        for (unsigned i = 0; i < 16; ++i) {
            for (int channel = 0; channel < kChannels; ++channel) {
                moments[i][channel] = blocks.m_centred[i][channel];
                for (int other = channel; other < kChannels; ++other) {
                    moments[i][kChannels + triangleAt<kChannels>(channel, other)] =
                        blocks.m_centred[i][channel] * blocks.m_centred[i][other];
                }
            }
        }
        for (int k = 0; k < kMoments; ++k) {
            whole[k] = moments[0][k];
            for (unsigned i = 1; i < 16; ++i) {
                whole[k] = whole[k] + moments[i][k];
            }
        }
        for (unsigned partition = 0; partition < kBc7Partitions; ++partition) {
            findLinesOf(partition, moments, whole);
        }
    }

    // The best `wanted` of all for indices of kBits bits, for the block of one lane, best first; of equal
    // errors the lowest partition. Without pruning all are fitted, which tests compare with.
    template <int kBits>
    void search(unsigned lane, FoundPartition* best, unsigned wanted, bool prunes = true) const {
        constexpr float kAny = 1e30f;
        for (unsigned i = 0; i < wanted; ++i) {
            best[i] = {kAny, 0};
        }
        const float& worst = best[wanted - 1].m_error;
        // One of every eight to begin with, the most promising.
        std::uint32_t partitions[kBc7Partitions];
        for (unsigned i = 0; i < kColumns; ++i) {
            partitions[i] = m_columnKeys[i][lane] & (kBc7Partitions - 1);
        }
        for (unsigned i = 0; i < kColumns; i += kCount) {
            fit<kBits>(partitions + i, kCount, lane, best, wanted);
        }
        unsigned count = listRest(partitions, lane, prunes ? worst : kAny);
        for (unsigned i = 0; i < count; i += kCount) {
            const unsigned used = count - i < kCount ? count - i : kCount;
            std::uint32_t batch[kCount];
            for (unsigned k = 0; k < kCount; ++k) {
                batch[k] = partitions[k < used ? i + k : i] & (kBc7Partitions - 1);
            }
            fit<kBits>(batch, used, lane, best, wanted);
            count = dropHopeless(partitions, i + kCount, count, prunes ? worst : kAny);
        }
    }

    // The same among the first `count` partitions, a multiple of the lanes.
    template <int kBits>
    void searchFirst(unsigned lane, unsigned count, FoundPartition* best, unsigned wanted) const {
        for (unsigned i = 0; i < wanted; ++i) {
            best[i] = {1e30f, 0};
        }
        for (unsigned first = 0; first < count; first += kCount) {
            std::uint32_t batch[kCount];
            for (unsigned k = 0; k < kCount; ++k) {
                batch[k] = first + k;
            }
            fit<kBits>(batch, kCount, lane, best, wanted);
        }
    }

    // The lines of one partition in each lane, for the block of that lane.
    Lines gatherLines(Int partitions) const { return gather(partitions, Lanes::laneNumbers()); }

private:
    static constexpr int kMoments = kChannels + kTriangle<kChannels>;
    static constexpr int kPerSubset = kChannels + 2;
    static constexpr unsigned kColumns = 8;
    static constexpr const Bc7Subsets<kSubsets>* kTable = Bc7SubsetsOf<kSubsets>::kTable;

    const BlockTexels<Lanes>* m_blocks = nullptr;
    // By subset its axis, offset and spread; then the squares of all.
    alignas(32) float m_fields[kSubsets * kPerSubset + 1][kBc7Partitions][kCount];
    // What the lines miss, with the partition in the lowest six bits.
    alignas(32) std::uint32_t m_keys[kBc7Partitions][kCount];
    alignas(32) std::uint32_t m_columnKeys[kColumns][kCount]; // the least of every eighth

    void findLinesOf(unsigned partition, const Float (&moments)[16][kMoments],
                     const Float (&whole)[kMoments]) {
        const Bc7SubsetLists& lists = kTable->m_lists[partition];
        Float rest[kMoments], squares = Lanes::splat(0.0f);
        Float spreads[kSubsets];
        for (int k = 0; k < kMoments; ++k) {
            rest[k] = whole[k];
        }
        for (int i = 0; i + 1 < kSubsets; ++i) {
            const auto& list = lists.m_lists[i];
            Float sums[kMoments];
            for (int k = 0; k < kMoments; ++k) {
                sums[k] = moments[list.m_texels[0]][k];
            }
            for (unsigned texel = 1; texel < list.m_count; ++texel) {
                for (int k = 0; k < kMoments; ++k) {
                    sums[k] = sums[k] + moments[list.m_texels[texel]][k];
                }
            }
            for (int k = 0; k < kMoments; ++k) {
                rest[k] = rest[k] - sums[k];
            }
            storeLine(partition, list.m_subset, sums, squares, spreads[list.m_subset]);
        }
        storeLine(partition, lists.m_rest, rest, squares, spreads[lists.m_rest]);
        Float missed = squares;
        for (const Float& spread : spreads) {
            missed = missed - spread;
        }
        missed = maximum(missed, Lanes::splat(0.0f));
        store(m_fields[kSubsets * kPerSubset][partition], squares);
        const Int key = (bitsOf(missed) & Lanes::splat(~(kBc7Partitions - 1))) | Lanes::splat(partition);
        store(m_keys[partition], key);
        std::uint32_t* column = m_columnKeys[partition % kColumns];
        store(column, partition < kColumns ? key : minimumSigned(key, Lanes::loadInts(column)));
    }

    void storeLine(unsigned partition, unsigned subset, const Float (&moments)[kMoments], Float& squares,
                   Float& spread) {
        const auto line =
            lineOf<Lanes, kChannels>(moments, Lanes::splat(1.0f / kTable->m_counts[subset][partition]));
        const unsigned first = subset * kPerSubset;
        for (int channel = 0; channel < kChannels; ++channel) {
            store(m_fields[first + channel][partition], line.m_axis.m_direction[channel]);
        }
        store(m_fields[first + kChannels][partition], line.m_offset);
        store(m_fields[first + kChannels + 1][partition], line.m_axis.m_spread);
        squares = squares + line.m_squares;
        spread = line.m_axis.m_spread;
    }

    Lines gather(Int partitions, Int lanes) const {
        constexpr unsigned kShift = kCount == 8 ? 3 : 2;
        static_assert(kCount == 1u << kShift);
        const Int places = shiftLeft<kShift>(partitions) + lanes;
        Lines lines;
        for (int subset = 0; subset < kSubsets; ++subset) {
            const auto* fields = m_fields + subset * kPerSubset;
            for (int channel = 0; channel < kChannels; ++channel) {
                lines.m_axes[subset][channel] = Lanes::lookUp(fields[channel][0], places);
            }
            lines.m_offsets[subset] = Lanes::lookUp(fields[kChannels][0], places);
            lines.m_spreads[subset] = Lanes::lookUp(fields[kChannels + 1][0], places);
            lines.m_counts[subset] = Lanes::lookUp(kTable->m_counts[subset], partitions);
        }
        lines.m_squares = Lanes::lookUp(m_fields[kSubsets * kPerSubset][0], places);
        return lines;
    }

    template <int kBits>
    void fit(const std::uint32_t* partitions, unsigned used, unsigned lane, FoundPartition* best,
             unsigned wanted) const {
        const Int numbers = Lanes::loadInts(partitions);
        const Lines lines = gather(numbers, Lanes::splat(lane));
        const auto membership = membershipOf<Lanes, kSubsets>(numbers);
        const auto* centred = m_blocks->m_centred;
        const auto texels = [=](unsigned i, int channel) {
            return Lanes::splat(reinterpret_cast<const float*>(&centred[i][channel])[lane]);
        };
        const auto projection = project<Lanes, kChannels, kSubsets>(texels, membership, lines);
        const auto fitted = fitBc7Line<Lanes, kBits, kChannels, kSubsets>(projection, membership, lines);
        alignas(32) float errors[kCount];
        store(errors, lines.residual(fitted.m_gains));
        for (unsigned i = 0; i < used; ++i) {
            insert({errors[i], partitions[i]}, best, wanted);
        }
    }

    static bool isBefore(const FoundPartition& a, const FoundPartition& b) {
        return a.m_error < b.m_error || (a.m_error == b.m_error && a.m_partition < b.m_partition);
    }
    static void insert(const FoundPartition& found, FoundPartition* best, unsigned wanted) {
        if (isBefore(found, best[wanted - 1])) {
            unsigned at = wanted - 1;
            for (; at > 0 && isBefore(found, best[at - 1]); --at) {
                best[at] = best[at - 1];
            }
            best[at] = found;
        }
    }

    // A key that is larger stands for lines that miss more.
    static std::uint32_t keyLimit(float error) {
        std::uint32_t bits;
        std::memcpy(&bits, &error, sizeof bits);
        return bits | (kBc7Partitions - 1);
    }

    // The keys of all partitions that may be as good and were not looked at yet.
    unsigned listRest(std::uint32_t* keys, unsigned lane, float error) const {
        const std::uint32_t limit = keyLimit(error);
        unsigned count = 0;
        for (unsigned partition = 0; partition < kBc7Partitions; ++partition) {
            const std::uint32_t key = m_keys[partition][lane];
            keys[count] = key;
            const bool counts = (key <= limit) & (key != m_columnKeys[partition % kColumns][lane]);
            count += counts ? 1u : 0u;
        }
        return count;
    }

    static unsigned dropHopeless(std::uint32_t* keys, unsigned first, unsigned count, float error) {
        const std::uint32_t limit = keyLimit(error);
        unsigned kept = first;
        for (unsigned i = first; i < count; ++i) {
            const std::uint32_t key = keys[i];
            keys[kept] = key;
            kept += key <= limit ? 1u : 0u;
        }
        return kept;
    }
};

// The candidate of one partition for each lane, along its lines.
template <typename Lanes, int kMode, int kChannels, int kSubsets>
void fitBc7Partition(const BlockTexels<Lanes>& blocks, typename Lanes::Int partitions,
                     const LineSet<Lanes, kChannels, kSubsets>& lines, Pursuit pursuit,
                     Candidates<Lanes>& result) {
    using Float = typename Lanes::Float;
    constexpr int kBits = kBc7Modes[kMode].m_indexBits;
    const auto membership = membershipOf<Lanes, kSubsets>(partitions);
    const auto texels = [&](unsigned i, int channel) { return blocks.m_centred[i][channel]; };
    const auto projection = project<Lanes, kChannels, kSubsets>(texels, membership, lines);
    const auto fit = fitBc7Line<Lanes, kBits, kChannels, kSubsets>(projection, membership, lines);
    Course<Lanes, kSubsets> course;
    for (int channel = 0; channel < 4; ++channel) {
        SubsetSums<Lanes, kSubsets> sums;
        for (unsigned i = 0; i < 16; ++i) {
            sums.add(membership.at(i), blocks.m_centred[i][channel]);
        }
        Float means[kSubsets];
        sums.finish(means);
        for (int subset = 0; subset < kSubsets; ++subset) {
            course.m_means[subset][channel] =
                blocks.m_means[channel] + means[subset] / lines.m_counts[subset];
            course.m_directions[subset][channel] =
                channel < kChannels ? lines.m_axes[subset][channel % kChannels] : Lanes::splat(0.0f);
        }
    }
    result.setKind(kMode, partitions, Lanes::splat(0u), 0);
    SpanTrials<Lanes, kMode, kBits, 0, kChannels, kChannels == 4> trials(
        blocks.m_channels, membership, projection.m_positions, course, fit.m_spans);
    if (pursuit.measuresSpans()) {
        trials.search(kTrialSteps[kMode], pursuit.m_spanSteps);
    }
    finish<kBits>(trials, pursuit, result);
}

} // namespace qor::Texsmith::Raw::Bc7Lanes
