#include "raw/blocks/bc7_subsets.h"

#include "raw/blocks/bc7_tables.h"

namespace qor::Texsmith::Raw {
namespace {

// The largest subset; the lowest of equals.
constexpr unsigned findRest(const unsigned* counts, unsigned subsets) {
    unsigned rest = 0;
    for (unsigned subset = 1; subset < subsets; ++subset) {
        rest = counts[subset] > counts[rest] ? subset : rest;
    }
    return rest;
}

template <int kSubsets> constexpr Bc7SubsetLists makeLists(unsigned partition, const unsigned* counts) {
    Bc7SubsetLists lists = {};
    lists.m_rest = static_cast<std::uint8_t>(findRest(counts, kSubsets));
    unsigned next = 0;
    for (unsigned subset = 0; subset < kSubsets; ++subset) {
        if (subset == lists.m_rest) {
            continue;
        }
        Bc7SubsetLists::List& list = lists.m_lists[next++];
        list.m_subset = static_cast<std::uint8_t>(subset);
        for (unsigned texel = 0; texel < 16; ++texel) {
            if (bc7SubsetOf(kSubsets, partition, texel) == subset) {
                list.m_texels[list.m_count++] = static_cast<std::uint8_t>(texel);
            }
        }
    }
    return lists;
}

template <int kSubsets> constexpr Bc7Subsets<kSubsets> makeSubsets() {
    Bc7Subsets<kSubsets> table = {};
    for (unsigned partition = 0; partition < kBc7Partitions; ++partition) {
        unsigned counts[kSubsets] = {};
        for (unsigned texel = 0; texel < 16; ++texel) {
            const unsigned subset = bc7SubsetOf(kSubsets, partition, texel);
            ++counts[subset];
            if (subset != 0) {
                table.m_words[subset - 1][partition] |= 1u << texel;
            }
        }
        for (unsigned subset = 0; subset < kSubsets; ++subset) {
            table.m_counts[subset][partition] = static_cast<float>(counts[subset]);
        }
        table.m_lists[partition] = makeLists<kSubsets>(partition, counts);
    }
    return table;
}

} // namespace

constinit const Bc7Subsets<2> kBc7Pairs = makeSubsets<2>();
constinit const Bc7Subsets<3> kBc7Triples = makeSubsets<3>();

} // namespace qor::Texsmith::Raw
