// Blocks of BC7 of more than a few colours, in lanes.
#pragma once

#include "raw/blocks/bc7_kernels.h"
#include "raw/blocks/bc7_partition_lanes.h"
#include "raw/blocks/bc7_single_lanes.h"

namespace qor::Texsmith::Raw::Bc7Lanes {

inline constexpr float kGoodEnough = 1e-5f;         // for one subset: nothing else is tried
inline constexpr float kGoodEnoughForTwo = 0.0025f; // three are not tried
inline constexpr float kNever = 1e30f;

template <typename Lanes, int kChannels> class GroupEncoder {
public:
    static constexpr unsigned kCount = Lanes::kCount;
    static constexpr bool kHasAlpha = kChannels == 4;

    // As many blocks as there are lanes, of which the first `used` matter.
    GroupEncoder(const float* blocks, unsigned used) : m_blocks(blocks, kHasAlpha), m_used(used) {}

    void encode(Bc7Fields* fields) {
        const Bc7ColourSet<Lanes> whole(m_blocks);
        alignas(32) float residuals[kCount];
        const auto together = fitTogether<Lanes, kHasAlpha>(whole, m_candidates[kTogether]);
        store(residuals, together);
        if (anyLane(whole.m_isApart)) {
            const auto apart = fitApart<Lanes>(whole, whole.m_separated, m_candidates[kApart]);
            store(residuals, select(whole.m_isApart, apart, together));
        }
        leaveOut(kTogether, whole.m_isApart);
        leaveOut(kApart, ~whole.m_isApart);
        m_pairs.findLines(m_blocks);
        bool wantsTriples = false;
        for (unsigned lane = 0; lane < m_used; ++lane) {
            m_isOpen[lane] = residuals[lane] > kGoodEnough;
            if (m_isOpen[lane]) {
                m_errors[lane] = searchPairs(lane);
                wantsTriples |= !kHasAlpha && m_errors[lane] > kGoodEnoughForTwo;
            }
        }
        fitBc7Partition<Lanes, kHasAlpha ? 7 : 3, kChannels>(m_blocks, m_pairs, m_partitions[0],
                                                             m_candidates[kPair2]);
        if constexpr (!kHasAlpha) {
            fitBc7Partition<Lanes, 1, 3>(m_blocks, m_pairs, m_partitions[1], m_candidates[kPair3]);
            if (wantsTriples) {
                tryTriples();
            }
        }
        for (unsigned lane = 0; lane < m_used; ++lane) {
            fields[lane] = m_candidates[selectBc7Candidate(lane, wantsTriples)].fieldsOf(lane);
        }
    }

private:
    // In the order in which they are preferred at equal scores.
    enum Place { kTogether, kApart, kPair2, kPair3, kTriple2, kTriple3, kPlaces };

    BlockTexels<Lanes> m_blocks;
    unsigned m_used;
    Candidates<Lanes> m_candidates[kPlaces];
    PartitionLines<Lanes, kChannels, 2> m_pairs;
    PartitionLines<Lanes, 3, 3> m_triples;
    alignas(32) std::uint32_t m_partitions[3][kCount] = {};
    bool m_isOpen[kCount] = {};
    float m_errors[kCount] = {};

    void leaveOut(Place place, typename Lanes::Int mask) {
        float* scores = m_candidates[place].m_scores;
        store(scores, select(mask, Lanes::splat(kNever), Lanes::loadFloats(scores)));
    }

    float searchPairs(unsigned lane) {
        const FoundPartition two = m_pairs.template search<2>(lane);
        m_partitions[0][lane] = two.m_partition;
        if constexpr (kHasAlpha) {
            return two.m_error;
        } else {
            const FoundPartition three = m_pairs.template search<3>(lane);
            m_partitions[1][lane] = three.m_partition;
            return three.m_error < two.m_error ? three.m_error : two.m_error;
        }
    }

    void tryTriples() {
        m_triples.findLines(m_blocks);
        for (unsigned lane = 0; lane < m_used; ++lane) {
            if (m_isOpen[lane] && m_errors[lane] > kGoodEnoughForTwo) {
                m_partitions[2][lane] = m_triples.template search<2>(lane).m_partition;
            }
        }
        fitBc7Partition<Lanes, 2, 3>(m_blocks, m_triples, m_partitions[2], m_candidates[kTriple2]);
        fitBc7Partition<Lanes, 0, 3>(m_blocks, m_triples, m_partitions[2], m_candidates[kTriple3]);
    }

    bool takesPart(unsigned place, unsigned lane, bool hasTriples) const {
        switch (place) {
        case kTogether:
        case kApart:
            return true;
        case kPair2:
            return m_isOpen[lane];
        case kPair3:
            return m_isOpen[lane] && !kHasAlpha;
        default:
            return m_isOpen[lane] && hasTriples && m_errors[lane] > kGoodEnoughForTwo &&
                   (place == kTriple2 || m_partitions[2][lane] < 16);
        }
    }

    unsigned selectBc7Candidate(unsigned lane, bool hasTriples) const {
        unsigned best = kTogether;
        for (unsigned place = kApart; place < kPlaces; ++place) {
            if (takesPart(place, lane, hasTriples) &&
                m_candidates[place].m_scores[lane] < m_candidates[best].m_scores[lane]) {
                best = place;
            }
        }
        return best;
    }
};

template <typename Lanes, int kChannels>
void encodeGroups(const float* blocks, unsigned count, Bc7Fields* fields) {
    for (unsigned i = 0; i < count; i += Lanes::kCount) {
        const unsigned used = count - i < Lanes::kCount ? count - i : Lanes::kCount;
        GroupEncoder<Lanes, kChannels>(blocks + 64 * i, used).encode(fields + i);
    }
}

template <typename Lanes>
void encodeAll(const float* blocks, unsigned count, bool hasAlpha, EncoderEffort, Bc7Fields* fields) {
    hasAlpha ? encodeGroups<Lanes, 4>(blocks, count, fields) : encodeGroups<Lanes, 3>(blocks, count, fields);
}

} // namespace qor::Texsmith::Raw::Bc7Lanes
