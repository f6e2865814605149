// The indices of a block of BC6H or BC7, made of equal width.
#pragma once

#include <cstdint>

namespace qor::Texsmith::Raw {

// Puts the top bit, a zero, to an anchor's index, and moves those above it up. Anchors are to be taken from
// the lowest texel on. `Build` is a type of the file that instantiates it, so that files for different
// instruction sets share no instance.
template <typename Build, unsigned kBits>
std::uint64_t withAnchorBit(std::uint64_t indices, unsigned anchor) {
    return indices + (indices & ~std::uint64_t{0} << (anchor * kBits + kBits - 1));
}

} // namespace qor::Texsmith::Raw
