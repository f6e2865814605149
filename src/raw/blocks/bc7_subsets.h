// The partitions of BC7 as its encoder walks them.
//
// Subsets are numbered as in the format. The tables are data alone, for files of any instruction set.
#pragma once

#include <cstdint>

namespace qor::Texsmith::Raw {

inline constexpr unsigned kBc7Partitions = 64;

// Which texels are summed for a partition: those of all subsets but the largest, which is what remains.
struct Bc7SubsetLists {
    struct List {
        std::uint8_t m_subset;
        std::uint8_t m_count;
        std::uint8_t m_texels[8];
    };
    List m_lists[2];
    std::uint8_t m_rest; // the largest subset
};

// For 2 or 3 subsets.
template <int kSubsets> struct Bc7Subsets {
    Bc7SubsetLists m_lists[kBc7Partitions];
    // Bit i: texel i lies in subset 1; in subset 2.
    std::uint32_t m_words[kSubsets - 1][kBc7Partitions];
    float m_counts[kSubsets][kBc7Partitions];
};

extern const Bc7Subsets<2> kBc7Pairs;
extern const Bc7Subsets<3> kBc7Triples;

template <int kSubsets> struct Bc7SubsetsOf;
template <> struct Bc7SubsetsOf<2> { static constexpr const Bc7Subsets<2>* kTable = &kBc7Pairs; };
template <> struct Bc7SubsetsOf<3> { static constexpr const Bc7Subsets<3>* kTable = &kBc7Triples; };

} // namespace qor::Texsmith::Raw
