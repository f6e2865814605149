// Blocks of BC7 of more than a few colours, in lanes: which candidates are made, and which is kept.
#pragma once

#include "raw/blocks/bc7_estimate_lanes.h"
#include "raw/blocks/bc7_kernels.h"
#include "raw/blocks/bc7_single_lanes.h"

namespace qor::Texsmith::Raw::Bc7Lanes {

inline constexpr float kGoodEnough = 1e-5f;         // for one subset: nothing else is tried
inline constexpr float kGoodEnoughForTwo = 0.0025f; // three are not tried
inline constexpr unsigned kMaxPartitions = 4;
inline constexpr unsigned kShortPartitions = 16; // of mode 0

// Which channels are encoded apart, in modes 5 and 4.
enum class Apart { ByCorrelation, LeastTied, Each };

// How candidates are made at each effort but the fast one. Only correlations may end a search early.
struct Plan {
    Pursuit m_pursuit;
    unsigned m_partitions; // of each kind of index, the most promising
    Apart m_apart;
    bool m_triesTriples; // three subsets whatever two miss
};
inline constexpr Plan kNormalPlan = {{1, -1, 0}, 1, Apart::ByCorrelation, false};
inline constexpr Plan kNormalAlphaPlan = {{3, -1, 0}, 1, Apart::ByCorrelation, false};
inline constexpr Plan kHighPlan = {{3, 1, 0}, 2, Apart::LeastTied, false};
inline constexpr Plan kHighAlphaPlan = {{3, 1, 0}, 1, Apart::Each, false};
inline constexpr Plan kBestPlan = {{3, 2, 1}, kMaxPartitions, Apart::Each, true};

inline const Plan& planOf(EncoderEffort effort, bool hasAlpha) {
    return effort == kEncoderEffortBest   ? kBestPlan
           : effort == kEncoderEffortHigh ? (hasAlpha ? kHighAlphaPlan : kHighPlan)
                                          : (hasAlpha ? kNormalAlphaPlan : kNormalPlan);
}

// Blocks that wait until there are enough for the lanes, with what was best for them so far.
template <typename Lanes> struct WaitingBlocks {
    alignas(32) float m_blocks[Lanes::kCount][64] = {};
    alignas(32) float m_scores[Lanes::kCount] = {};
    Bc7Fields* m_fields[Lanes::kCount];
    unsigned m_count = 0;

    bool isFull() const { return m_count == Lanes::kCount; }
    void add(const float* block, float score, Bc7Fields* fields) {
        for (unsigned i = 0; i < 64; ++i) {
            m_blocks[m_count][i] = block[i];
        }
        m_scores[m_count] = score;
        m_fields[m_count++] = fields;
    }
};

template <typename Lanes, int kChannels> class GroupEncoder {
public:
    using Float = typename Lanes::Float;
    using Int = typename Lanes::Int;
    static constexpr unsigned kCount = Lanes::kCount;
    static constexpr bool kHasAlpha = kChannels == 4;

    explicit GroupEncoder(const Plan& plan) : m_plan(plan) {}

    // As many blocks as there are lanes, of which the first `used` matter.
    void encode(const float* texels, unsigned used, Bc7Fields* fields) {
        const BlockTexels<Lanes> blocks(texels, kHasAlpha);
        const Int isOpen = trySingle(blocks);
        float errors[kCount] = {};
        tryPairs(blocks, isOpen, used, errors);
        alignas(32) float scores[kCount]; // m_best is in use again below
        store(scores, Lanes::loadFloats(m_best.m_scores));
        const std::uint32_t open = laneBits(isOpen);
        for (unsigned lane = 0; lane < used; ++lane) {
            fields[lane] = m_best.fieldsOf(lane);
        }
        for (unsigned lane = 0; lane < used; ++lane) {
            const bool wantsMore = m_plan.m_triesTriples || errors[lane] > kGoodEnoughForTwo;
            if (!kHasAlpha && (open >> lane & 1) != 0 && wantsMore) {
                m_waiting.add(texels + 64 * lane, scores[lane], fields + lane);
                if (m_waiting.isFull()) {
                    tryTriples();
                }
            }
        }
    }

    // The blocks that still wait.
    void finish() {
        if (m_waiting.m_count != 0) {
            tryTriples();
        }
    }

private:
    const Plan& m_plan;
    Candidates<Lanes> m_best = {}; // the first of equally good ones
    Candidates<Lanes> m_candidate = {};
    PartitionLines<Lanes, kChannels, 2> m_pairs;
    PartitionLines<Lanes, 3, 3> m_triples;
    WaitingBlocks<Lanes> m_waiting;
    // By rank, for each lane.
    alignas(32) std::uint32_t m_partitions[2][kMaxPartitions][kCount] = {};

    static Int everywhere() { return Lanes::splat(0xFFFFFFFFu); }
    void selectBc7Candidate(Int mask) { m_best.takeBetter(m_candidate, mask); }

    // One subset. Returns for which lanes more is to be tried.
    Int trySingle(const BlockTexels<Lanes>& blocks) {
        const Bc7ColourSet<Lanes> whole(blocks);
        const WholeLine<Lanes> line(whole, WholeLine<Lanes>::allChannels());
        Float residual = fitTogether<Lanes, kHasAlpha>(blocks, line, m_plan.m_pursuit, m_best);
        if (m_plan.m_apart == Apart::Each) {
            for (unsigned separated = 0; separated < 4; ++separated) {
                tryApart(ApartBlocks<Lanes>(whole, Lanes::splat(separated)));
            }
        } else if (m_plan.m_apart == Apart::LeastTied) {
            tryApart(ApartBlocks<Lanes>(whole, whole.m_separated));
        } else if (anyLane(whole.m_isApart)) {
            const Float apart = ApartBlocks<Lanes>(whole, whole.m_separated)
                                    .fit(whole.m_isApart, m_plan.m_pursuit, m_candidate);
            m_best.take(m_candidate, whole.m_isApart);
            residual = select(whole.m_isApart, apart, residual);
        }
        return m_plan.m_apart != Apart::ByCorrelation ? everywhere()
                                                      : less(Lanes::splat(kGoodEnough), residual);
    }

    void tryApart(const ApartBlocks<Lanes>& blocks) {
        blocks.template fitAs<5, 2, 2>(m_plan.m_pursuit, m_candidate);
        selectBc7Candidate(everywhere());
        blocks.template fitAs<4, 2, 3>(m_plan.m_pursuit, m_candidate);
        selectBc7Candidate(everywhere());
        if (m_plan.m_apart == Apart::Each) {
            blocks.template fitAs<4, 3, 2>(m_plan.m_pursuit, m_candidate);
            selectBc7Candidate(everywhere());
        }
    }

    // `errors` are those of the best line fits, for open lanes.
    void tryPairs(const BlockTexels<Lanes>& blocks, Int isOpen, unsigned used, float (&errors)[kCount]) {
        if (!anyLane(isOpen)) {
            return;
        }
        m_pairs.findLines(blocks);
        const std::uint32_t open = laneBits(isOpen);
        for (unsigned lane = 0; lane < used; ++lane) {
            if ((open >> lane & 1) != 0) {
                errors[lane] = search<2>(m_pairs, lane, m_partitions[0]);
                if constexpr (!kHasAlpha) {
                    const float fine = search<3>(m_pairs, lane, m_partitions[1]);
                    errors[lane] = fine < errors[lane] ? fine : errors[lane];
                }
            }
        }
        for (unsigned rank = 0; rank < m_plan.m_partitions; ++rank) {
            tryPartition<kHasAlpha ? 7 : 3>(blocks, m_pairs, m_partitions[0][rank], isOpen);
        }
        for (unsigned rank = 0; !kHasAlpha && rank < m_plan.m_partitions; ++rank) {
            tryPartition<kHasAlpha ? 7 : 1>(blocks, m_pairs, m_partitions[1][rank], isOpen);
        }
    }

    void tryTriples() {
        const BlockTexels<Lanes> blocks(m_waiting.m_blocks[0], false);
        m_triples.findLines(blocks);
        for (unsigned lane = 0; lane < m_waiting.m_count; ++lane) {
            search<2>(m_triples, lane, m_partitions[0]);
        }
        store(m_best.m_scores, Lanes::loadFloats(m_waiting.m_scores));
        for (unsigned rank = 0; rank < m_plan.m_partitions; ++rank) {
            tryPartition<2>(blocks, m_triples, m_partitions[0][rank], everywhere());
        }
        if (m_plan.m_triesTriples) {
            searchShort();
        }
        for (unsigned rank = 0; rank < m_plan.m_partitions; ++rank) {
            const auto& partitions = m_partitions[m_plan.m_triesTriples ? 1 : 0][rank];
            const Int isShort = greaterSigned(Lanes::splat(kShortPartitions), Lanes::loadInts(partitions));
            if (anyLane(isShort)) {
                tryPartition<0>(blocks, m_triples, partitions, isShort);
            }
        }
        for (unsigned lane = 0; lane < m_waiting.m_count; ++lane) {
            if (m_best.m_scores[lane] < m_waiting.m_scores[lane]) {
                *m_waiting.m_fields[lane] = m_best.fieldsOf(lane);
            }
        }
        m_waiting.m_count = 0;
    }

    // For mode 0, which has the first sixteen partitions only, of its own.
    void searchShort() {
        for (unsigned lane = 0; lane < m_waiting.m_count; ++lane) {
            FoundPartition found[kMaxPartitions];
            m_triples.template searchFirst<3>(lane, kShortPartitions, found, m_plan.m_partitions);
            note(found, lane, m_partitions[1]);
        }
    }

    // Notes the partitions by rank, and returns the error of the first.
    template <int kBits, typename Lines>
    float search(const Lines& lines, unsigned lane, std::uint32_t (&partitions)[kMaxPartitions][kCount]) {
        FoundPartition found[kMaxPartitions];
        lines.template search<kBits>(lane, found, m_plan.m_partitions);
        note(found, lane, partitions);
        return found[0].m_error;
    }

    void note(const FoundPartition (&found)[kMaxPartitions], unsigned lane,
              std::uint32_t (&partitions)[kMaxPartitions][kCount]) const {
        for (unsigned rank = 0; rank < m_plan.m_partitions; ++rank) {
            partitions[rank][lane] = found[rank].m_partition;
        }
    }

    template <int kMode, typename Lines>
    void tryPartition(const BlockTexels<Lanes>& blocks, const Lines& lines,
                      const std::uint32_t (&partitions)[kCount], Int mask) {
        const Int numbers =
            Lanes::loadInts(partitions) & Lanes::splat((1u << kBc7Modes[kMode].m_partitionBits) - 1);
        fitBc7Partition<Lanes, kMode>(blocks, numbers, lines.gatherLines(numbers), m_plan.m_pursuit,
                                      m_candidate);
        selectBc7Candidate(mask);
    }
};

// With fast effort: the ends rounded once, or with every p-bit and the indices nearest on the decoded
// palette.
inline constexpr Pursuit kOnce = {0, -1, 0};
inline constexpr Pursuit kOnPalette = {0, 0, 0};

// Of two guessed partitions the one whose lines miss less.
template <typename Lanes, int kChannels>
void tryEstimated(const BlockTexels<Lanes>& blocks, const typename Lanes::Float (&axis)[4],
                  Candidates<Lanes>& result) {
    const auto partitions = estimatePartitions<Lanes, kChannels>(blocks, axis);
    auto lines = findLinesOf<Lanes, kChannels>(blocks, partitions.m_first);
    const auto others = findLinesOf<Lanes, kChannels>(blocks, partitions.m_second);
    const auto takesOther = less(others.residual(others.m_spreads), lines.residual(lines.m_spreads));
    lines.take(others, takesOther);
    fitBc7Partition<Lanes, kChannels == 4 ? 7 : 1>(
        blocks, select(takesOther, partitions.m_second, partitions.m_first), lines, kOnPalette, result);
}

// Mode 6, mode 5 (or 4, and 4 with finer indices for the colours, in blocks with alpha), and a guessed
// partition.
template <typename Lanes, bool kHasAlpha>
void encodeFast(const float* texels, unsigned used, Bc7Fields* fields) {
    const BlockTexels<Lanes> blocks(texels, kHasAlpha);
    const Bc7ColourSet<Lanes> whole(blocks);
    const auto all = Lanes::splat(0xFFFFFFFFu);
    Candidates<Lanes> best = {}, candidate = {};
    const WholeLine<Lanes> line(whole, WholeLine<Lanes>::allChannels());
    fitTogether<Lanes, kHasAlpha>(blocks, line, kOnce, best);
    const ApartBlocks<Lanes> apart(whole, whole.m_separated);
    if constexpr (kHasAlpha) {
        apart.fit(all, kOnce, candidate);
        best.takeBetter(candidate, all);
        apart.template fitAs<4, 3, 2>(kOnce, candidate);
    } else {
        apart.template fitAs<5, 2, 2>(kOnPalette, candidate);
    }
    best.takeBetter(candidate, all);
    tryEstimated<Lanes, kHasAlpha ? 4 : 3>(blocks, line.m_lines.m_axes[0], candidate);
    best.takeBetter(candidate, all);
    for (unsigned lane = 0; lane < used; ++lane) {
        fields[lane] = best.fieldsOf(lane);
    }
}

template <typename Lanes, bool kHasAlpha>
void encodeGroups(const float* blocks, unsigned count, EncoderEffort effort, Bc7Fields* fields) {
    GroupEncoder<Lanes, kHasAlpha ? 4 : 3> encoder(planOf(effort, kHasAlpha));
    for (unsigned i = 0; i < count; i += Lanes::kCount) {
        const unsigned used = count - i < Lanes::kCount ? count - i : Lanes::kCount;
        if (effort == kEncoderEffortFast) {
            encodeFast<Lanes, kHasAlpha>(blocks + 64 * i, used, fields + i);
        } else {
            encoder.encode(blocks + 64 * i, used, fields + i);
        }
    }
    encoder.finish();
}

template <typename Lanes>
void encodeAll(const float* blocks, unsigned count, bool hasAlpha, EncoderEffort effort, Bc7Fields* fields) {
    (hasAlpha ? encodeGroups<Lanes, true> : encodeGroups<Lanes, false>)(blocks, count, effort, fields);
}

} // namespace qor::Texsmith::Raw::Bc7Lanes
