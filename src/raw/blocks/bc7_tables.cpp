// The tables of BC6H and BC7, checked against what the layout demands of them.
#include "raw/blocks/bc7_tables.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr unsigned bitsOf(unsigned number) {
    const Bc7Mode& mode = kBc7Modes[number];
    const unsigned head =
        number + 1 + mode.m_partitionBits + mode.m_rotationBits + mode.m_selectionBits + mode.pBitCount();
    const unsigned endpoints = 2u * mode.m_subsets * (3u * mode.m_colourBits + mode.m_alphaBits);
    const unsigned indices = 16u * mode.m_indexBits - mode.m_subsets;
    const unsigned second = mode.m_secondIndexBits == 0 ? 0 : 16u * mode.m_secondIndexBits - 1;
    return head + endpoints + indices + second;
}

constexpr bool allModesFillTheBlock() {
    for (unsigned number = 0; number < kBc7ModeCount; ++number) {
        if (bitsOf(number) != 128) {
            return false;
        }
    }
    return true;
}
static_assert(allModesFillTheBlock());

constexpr bool allAnchorsLieInTheirSubsets(unsigned subsets) {
    for (unsigned partition = 0; partition < 64; ++partition) {
        for (unsigned subset = 0; subset < subsets; ++subset) {
            if (bc7SubsetOf(subsets, partition, bc7AnchorOf(subsets, partition, subset)) != subset) {
                return false;
            }
        }
    }
    return true;
}
static_assert(allAnchorsLieInTheirSubsets(2) && allAnchorsLieInTheirSubsets(3));

} // namespace
} // namespace qor::Texsmith::Raw
