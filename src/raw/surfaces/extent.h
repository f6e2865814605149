// Sizes of a mip, unchecked: a mip past the last has sizes too, of 1 in the end.
#pragma once

#include "qor/texsmith/raw/element_provider.h"
#include "qor/vex/texture.h"

#include <algorithm>
#include <cstdint>

namespace qor::Texsmith::Raw {

struct Extent {
    unsigned m_wide;
    unsigned m_tall;
};

inline Extent pixelsOf(const Vex::Texture& texture, unsigned mip) {
    const unsigned shift = std::min(mip, 31u);
    return {std::max(1u, texture.getWidth() >> shift), std::max(1u, texture.getHeight() >> shift)};
}

inline Extent blocksOf(const Vex::Texture& texture, unsigned mip) {
    const Extent pixels = pixelsOf(texture, mip);
    return {(pixels.m_wide + 3) >> 2, (pixels.m_tall + 3) >> 2};
}

inline Extent tilesOf(const Vex::Texture& texture, unsigned mip) {
    const Extent pixels = pixelsOf(texture, mip);
    return {(pixels.m_wide + 7) >> 3, (pixels.m_tall + 7) >> 3};
}

inline Extent elementsOf(const Vex::Texture& texture, unsigned mip) {
    const bool isCompressed = texture.getDataFormat().isBlockCompressedFormat();
    return isCompressed ? blocksOf(texture, mip) : pixelsOf(texture, mip);
}

// Of all surfaces as they are stored in rows, the smaller mips at most as much again as they need.
inline std::uint64_t bytesOf(const ElementProvider& provider) {
    const SurfaceCount count = provider.getSurfaceCount();
    const Extent top = elementsOf(provider.getTexture(), 0);
    return std::uint64_t{top.m_wide} * top.m_tall * provider.getBytesPerElement() * provider.getDepth(0) *
           count.arrayEntries * count.faces * count.fragments * (count.mips > 1 ? 2 : 1);
}

inline bool contains(Extent extent, unsigned x, unsigned y) { return x < extent.m_wide && y < extent.m_tall; }

} // namespace qor::Texsmith::Raw
