// Sizes of a provider by mip and of the whole texture, in pixels, elements, blocks, tiles and bytes.
#include "qor/texsmith/raw/bithacks.h"
#include "qor/texsmith/raw/element_provider.h"
#include "raw/surfaces/extent.h"
#include "raw/texels/texture_format.h"

#include <algorithm>
#include <limits>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\surfaces\\element_provider";

// Reports a mip that the texture does not have; sizes are then those of its continued halving.
unsigned checkedMip(const SurfaceCount& count, unsigned mip) {
    if (mip >= count.mips) {
        toolsAssert(kSourcePath, __LINE__, "mip parameter must be smaller than number of mips.");
    }
    return mip;
}

unsigned areaOf(Extent extent) { return extent.m_wide * extent.m_tall; }

// Over the mips and slices of the view. A view that ends before it begins has nothing in it.
template <typename AreaOfMip>
unsigned long long sumOverView(const Vex::Texture& texture, const SurfaceCount& count, AreaOfMip areaOfMip) {
    const unsigned first = texture.getBaseArraySlice(), last = texture.getLastArraySlice();
    const unsigned slices = last >= first ? last - first + 1 : 0;
    unsigned long long sum = 0;
    for (unsigned mip = texture.getBaseMipLevel(); mip <= texture.getLastMipLevel(); ++mip) {
        sum += checkedSize(areaOfMip(mip), getDepthOfMip(texture, mip), count.fragments, slices);
    }
    return sum;
}

} // namespace

unsigned ElementProvider::getPixelsWide(unsigned mip) const {
    return pixelsOf(m_texture, checkedMip(m_surfaceCount, mip)).m_wide;
}

unsigned ElementProvider::getPixelsTall(unsigned mip) const {
    return pixelsOf(m_texture, checkedMip(m_surfaceCount, mip)).m_tall;
}

unsigned ElementProvider::getPixels(unsigned mip) const {
    return areaOf(pixelsOf(m_texture, checkedMip(m_surfaceCount, mip)));
}

unsigned ElementProvider::getElementsWide(unsigned mip) const {
    return elementsOf(m_texture, checkedMip(m_surfaceCount, mip)).m_wide;
}

unsigned ElementProvider::getElementsTall(unsigned mip) const {
    return elementsOf(m_texture, checkedMip(m_surfaceCount, mip)).m_tall;
}

unsigned ElementProvider::getElements(unsigned mip) const {
    return areaOf(elementsOf(m_texture, checkedMip(m_surfaceCount, mip)));
}

unsigned ElementProvider::getBlocksWide(unsigned mip) const {
    return blocksOf(m_texture, checkedMip(m_surfaceCount, mip)).m_wide;
}

unsigned ElementProvider::getBlocksTall(unsigned mip) const {
    return blocksOf(m_texture, checkedMip(m_surfaceCount, mip)).m_tall;
}

unsigned ElementProvider::getBlocks(unsigned mip) const {
    return areaOf(blocksOf(m_texture, checkedMip(m_surfaceCount, mip)));
}

unsigned ElementProvider::getTilesWide(unsigned mip) const {
    return tilesOf(m_texture, checkedMip(m_surfaceCount, mip)).m_wide;
}

unsigned ElementProvider::getTilesTall(unsigned mip) const {
    return tilesOf(m_texture, checkedMip(m_surfaceCount, mip)).m_tall;
}

unsigned ElementProvider::getTiles(unsigned mip) const {
    return areaOf(tilesOf(m_texture, checkedMip(m_surfaceCount, mip)));
}

unsigned ElementProvider::getDepth(unsigned mip) const {
    return getDepthOfMip(m_texture, checkedMip(m_surfaceCount, mip));
}

unsigned ElementProvider::getBytes(unsigned mip) const {
    const std::uint64_t bytes = checkedSize(getElements(mip), getBytesPerElement());
    return static_cast<unsigned>(std::min<std::uint64_t>(bytes, std::numeric_limits<unsigned>::max()));
}

unsigned ElementProvider::getBytesPerElement() const { return infoOf(getDataFormat()).bytesPerElement; }

unsigned long long ElementProvider::getElements() const {
    return sumOverView(m_texture, m_surfaceCount,
                       [&](unsigned mip) { return areaOf(elementsOf(m_texture, mip)); });
}

unsigned long long ElementProvider::getPixels() const {
    return sumOverView(m_texture, m_surfaceCount,
                       [&](unsigned mip) { return areaOf(pixelsOf(m_texture, mip)); });
}

unsigned long long ElementProvider::getBytes() const { return getElements() * getBytesPerElement(); }

} // namespace qor::Texsmith::Raw
