// The accesses to elements, blocks and tiles: what is checked before a provider is asked, and the defaults
// that make one grain from another.
#include "qor/texsmith/raw/element_provider.h"
#include "raw/frame/check.h"
#include "raw/surfaces/extent.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\surfaces\\element_provider";
constexpr char kNeedsIndex[] = "surfaceIndex must not be NULL.";
constexpr char kNeedsElement[] = "element must not be NULL.";
constexpr char kNeedsBlock[] = "block must not be NULL.";
constexpr char kNeedsTile[] = "tile must not be NULL.";

// A rectangle of elements that lie packed in a Block or Tile.
struct Elements {
    unsigned m_left, m_top, m_wide, m_tall;
};

Elements elementsOfBlock(const ElementProvider& provider, unsigned x, unsigned y) {
    const unsigned wide = provider.getElementsPerBlockWide(), tall = provider.getElementsPerBlockTall();
    return {x * wide, y * tall, wide, tall};
}

Elements elementsOfTile(const ElementProvider& provider, unsigned x, unsigned y) {
    const unsigned wide = provider.getElementsPerTileWide(), tall = provider.getElementsPerTileTall();
    return {x * wide, y * tall, wide, tall};
}

void fetchElements(const ElementProvider& provider, const SurfaceIndex* surfaceIndex, void* buffer,
                   const Elements& elements) {
    const unsigned bytes = provider.getBytesPerElement();
    auto* position = static_cast<std::uint8_t*>(buffer);
    for (unsigned row = 0; row < elements.m_tall; ++row) {
        for (unsigned column = 0; column < elements.m_wide; ++column, position += bytes) {
            VectorFloat element = {};
            provider.getElement(surfaceIndex, &element, elements.m_left + column, elements.m_top + row);
            std::memcpy(position, &element, bytes);
        }
    }
}

void storeElements(const ElementProvider& provider, const SurfaceIndex* surfaceIndex, const void* buffer,
                   const Elements& elements) {
    const unsigned bytes = provider.getBytesPerElement();
    const auto* position = static_cast<const std::uint8_t*>(buffer);
    for (unsigned row = 0; row < elements.m_tall; ++row) {
        for (unsigned column = 0; column < elements.m_wide; ++column, position += bytes) {
            VectorFloat element = {};
            std::memcpy(&element, position, bytes);
            provider.putElement(surfaceIndex, &element, elements.m_left + column, elements.m_top + row);
        }
    }
}

// Where an element lies in the buffer of its tile.
std::size_t offsetInTile(const ElementProvider& provider, unsigned x, unsigned y) {
    const unsigned wide = provider.getElementsPerTileWide();
    return std::size_t{wide * (y % wide) + x % wide} * provider.getBytesPerElement();
}

} // namespace

bool ElementProvider::surfaceIsInside(const SurfaceIndex* surfaceIndex) const {
    if (surfaceIndex == nullptr) {
        return false;
    }
    const std::uint64_t slice =
        std::uint64_t{surfaceIndex->arrayEntry} * m_surfaceCount.faces + surfaceIndex->face;
    return slice >= m_texture.getBaseArraySlice() && slice <= m_texture.getLastArraySlice() &&
           surfaceIndex->face < m_surfaceCount.faces && surfaceIndex->mip >= m_texture.getBaseMipLevel() &&
           surfaceIndex->mip <= m_texture.getLastMipLevel() &&
           surfaceIndex->depth < getDepthOfMip(m_texture, surfaceIndex->mip) &&
           surfaceIndex->fragment < m_surfaceCount.fragments;
}

bool ElementProvider::pixelIsInside(const SurfaceIndex* surfaceIndex, unsigned x, unsigned y) const {
    return surfaceIsInside(surfaceIndex) && contains(pixelsOf(m_texture, surfaceIndex->mip), x, y);
}

bool ElementProvider::elementIsInside(const SurfaceIndex* surfaceIndex, unsigned x, unsigned y) const {
    return surfaceIsInside(surfaceIndex) && contains(elementsOf(m_texture, surfaceIndex->mip), x, y);
}

bool ElementProvider::blockIsInside(const SurfaceIndex* surfaceIndex, unsigned x, unsigned y) const {
    return surfaceIsInside(surfaceIndex) && contains(blocksOf(m_texture, surfaceIndex->mip), x, y);
}

bool ElementProvider::tileIsInside(const SurfaceIndex* surfaceIndex, unsigned x, unsigned y) const {
    return surfaceIsInside(surfaceIndex) && contains(tilesOf(m_texture, surfaceIndex->mip), x, y);
}

void ElementProvider::getElement(const SurfaceIndex* surfaceIndex, VectorFloat* element, unsigned x,
                                 unsigned y) const {
    checkNotNull(surfaceIndex, kSourcePath, kNeedsIndex);
    if (!checkNotNull(element, kSourcePath, kNeedsElement)) {
        return;
    }
    if (elementIsInside(surfaceIndex, x, y)) {
        doGetElement(surfaceIndex, element, x, y);
    } else {
        *element = {};
    }
}

void ElementProvider::getBlock(const SurfaceIndex* surfaceIndex, Block* block, unsigned x, unsigned y) const {
    checkNotNull(surfaceIndex, kSourcePath, kNeedsIndex);
    if (!checkNotNull(block, kSourcePath, kNeedsBlock)) {
        return;
    }
    if (blockIsInside(surfaceIndex, x, y)) {
        doGetBlock(surfaceIndex, block, x, y);
    } else {
        *block = {};
    }
}

void ElementProvider::getTile(const SurfaceIndex* surfaceIndex, Tile* tile, unsigned x, unsigned y) const {
    checkNotNull(surfaceIndex, kSourcePath, kNeedsIndex);
    if (!checkNotNull(tile, kSourcePath, kNeedsTile)) {
        return;
    }
    if (tileIsInside(surfaceIndex, x, y)) {
        doGetTile(surfaceIndex, tile, x, y);
    } else {
        *tile = {};
    }
}

void ElementProvider::putElement(const SurfaceIndex* surfaceIndex, const VectorFloat* element, unsigned x,
                                 unsigned y) const {
    checkNotNull(surfaceIndex, kSourcePath, kNeedsIndex);
    if (checkNotNull(element, kSourcePath, kNeedsElement) && elementIsInside(surfaceIndex, x, y)) {
        doPutElement(surfaceIndex, element, x, y);
    }
}

void ElementProvider::putBlock(const SurfaceIndex* surfaceIndex, const Block* block, unsigned x,
                               unsigned y) const {
    checkNotNull(surfaceIndex, kSourcePath, kNeedsIndex);
    if (checkNotNull(block, kSourcePath, kNeedsBlock) && blockIsInside(surfaceIndex, x, y)) {
        doPutBlock(surfaceIndex, block, x, y);
    }
}

void ElementProvider::putTile(const SurfaceIndex* surfaceIndex, const Tile* tile, unsigned x,
                              unsigned y) const {
    checkNotNull(surfaceIndex, kSourcePath, kNeedsIndex);
    if (checkNotNull(tile, kSourcePath, kNeedsTile) && tileIsInside(surfaceIndex, x, y)) {
        doPutTile(surfaceIndex, tile, x, y);
    }
}

// A class that its maker compiled without type information has a null one. Reading it through a volatile
// keeps compilers, which hold that impossible, from leaving the question out.
bool ElementProvider::hasShortcuts() const {
    const std::type_info* const rowsClass = doGetRowsClass();
    if (rowsClass == nullptr) {
        return false;
    }
    const std::type_info* const volatile ownClass = &typeid(*this);
    const std::type_info* const known = ownClass;
    return known != nullptr && *known == *rowsClass;
}

// A view whose target has changed its size since shows tiles only, each of which is checked.
ElementRows ElementProvider::getElementRows(const SurfaceIndex* surfaceIndex) const {
    checkNotNull(surfaceIndex, kSourcePath, kNeedsIndex);
    if (!surfaceIsInside(surfaceIndex) || !hasShortcuts()) {
        return {};
    }
    const ElementRows rows = doGetElementRows(surfaceIndex);
    const Extent surface = elementsOf(m_texture, surfaceIndex->mip);
    return rows.m_wide == surface.m_wide && rows.m_tall == surface.m_tall ? rows : ElementRows{};
}

bool ElementProvider::canMoveStrip(const SurfaceIndex* surfaceIndex, const ElementRows& strip, unsigned x,
                                   unsigned y) const {
    checkNotNull(surfaceIndex, kSourcePath, kNeedsIndex);
    const bool hasMemory = strip.m_memory != nullptr || strip.m_wide == 0;
    if (!surfaceIsInside(surfaceIndex) || !hasMemory || strip.m_tall > getElementsPerTileTall() ||
        !hasShortcuts()) {
        return false;
    }
    const Extent surface = elementsOf(m_texture, surfaceIndex->mip);
    const std::uint64_t left = std::uint64_t{x} * getElementsPerTileWide();
    const std::uint64_t top = std::uint64_t{y} * getElementsPerTileTall();
    return left + strip.m_wide <= surface.m_wide && top + strip.m_tall <= surface.m_tall;
}

bool ElementProvider::getStrip(const SurfaceIndex* surfaceIndex, const ElementRows& strip, unsigned x,
                               unsigned y) const {
    return canMoveStrip(surfaceIndex, strip, x, y) && doGetStrip(surfaceIndex, strip, x, y);
}

bool ElementProvider::putStrip(const SurfaceIndex* surfaceIndex, const ElementRows& strip, unsigned x,
                               unsigned y) const {
    return canMoveStrip(surfaceIndex, strip, x, y) && doPutStrip(surfaceIndex, strip, x, y);
}

ElementRows ElementProvider::getElementRun(const SurfaceIndex* surfaceIndex, unsigned x, unsigned y) const {
    checkNotNull(surfaceIndex, kSourcePath, kNeedsIndex);
    if (!tileIsInside(surfaceIndex, x, y) || !hasShortcuts()) {
        return {};
    }
    const ElementRows run = doGetElementRun(surfaceIndex, x, y);
    const Extent surface = elementsOf(m_texture, surfaceIndex->mip);
    const unsigned perTile = getElementsPerTileWide(), wide = surface.m_wide - x * perTile;
    const unsigned tall = std::min(perTile, surface.m_tall - y * perTile); // tiles are square
    const bool isWhole = run.m_wide == wide || (run.m_wide < wide && run.m_wide % perTile == 0);
    return run.m_wide != 0 && isWhole && run.m_tall == tall ? run : ElementRows{};
}

const std::type_info* ElementProvider::doGetRowsClass() const { return nullptr; }
ElementRows ElementProvider::doGetElementRun(const SurfaceIndex*, unsigned, unsigned) const { return {}; }
ElementRows ElementProvider::doGetElementRows(const SurfaceIndex*) const { return {}; }

bool ElementProvider::doGetStrip(const SurfaceIndex*, const ElementRows&, unsigned, unsigned) const {
    return false;
}

bool ElementProvider::doPutStrip(const SurfaceIndex*, const ElementRows&, unsigned, unsigned) const {
    return false;
}

void ElementProvider::doGetElement(const SurfaceIndex* surfaceIndex, VectorFloat* element, unsigned x,
                                   unsigned y) const {
    const unsigned wide = getElementsPerTileWide();
    Tile tile = {};
    getTile(surfaceIndex, &tile, x / wide, y / wide);
    *element = {};
    std::memcpy(element, reinterpret_cast<const std::uint8_t*>(&tile) + offsetInTile(*this, x, y),
                getBytesPerElement());
}

void ElementProvider::doPutElement(const SurfaceIndex* surfaceIndex, const VectorFloat* element, unsigned x,
                                   unsigned y) const {
    const unsigned wide = getElementsPerTileWide();
    Tile tile = {};
    getTile(surfaceIndex, &tile, x / wide, y / wide);
    std::memcpy(reinterpret_cast<std::uint8_t*>(&tile) + offsetInTile(*this, x, y), element,
                getBytesPerElement());
    putTile(surfaceIndex, &tile, x / wide, y / wide);
}

void ElementProvider::doGetBlock(const SurfaceIndex* surfaceIndex, Block* block, unsigned x,
                                 unsigned y) const {
    fetchElements(*this, surfaceIndex, block, elementsOfBlock(*this, x, y));
}

void ElementProvider::doPutBlock(const SurfaceIndex* surfaceIndex, const Block* block, unsigned x,
                                 unsigned y) const {
    storeElements(*this, surfaceIndex, block, elementsOfBlock(*this, x, y));
}

void ElementProvider::doGetTile(const SurfaceIndex* surfaceIndex, Tile* tile, unsigned x, unsigned y) const {
    fetchElements(*this, surfaceIndex, tile, elementsOfTile(*this, x, y));
}

void ElementProvider::doPutTile(const SurfaceIndex* surfaceIndex, const Tile* tile, unsigned x,
                                unsigned y) const {
    storeElements(*this, surfaceIndex, tile, elementsOfTile(*this, x, y));
}

} // namespace qor::Texsmith::Raw
