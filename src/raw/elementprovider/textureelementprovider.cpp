// Tiled textures in memory as providers: each access goes through the tiler of its surface.
#include "qor/texsmith/raw/view.h"

#include "raw/tiles/surface_rows.h"

#include <algorithm>
#include <cstring>

namespace qor::Texsmith::Raw {

namespace {

constexpr char kSourcePath[] = "raw\\elementprovider\\textureelementprovider";

// A strip as a region of its surface. Elements that share bytes, rows that are no whole number of elements
// apart, and providers whose format was exchanged are left to the walk by tiles.
struct StripMove {
    GpuAddress::SurfaceRegion m_region = {};
    unsigned m_pitch = 0; // elements
    bool m_isPossible = false;

    StripMove(const ElementProvider& provider, const Tilers& tilers, const SurfaceIndex& index,
              const ElementRows& strip, unsigned x, unsigned y) {
        if (!tilers.hasElementsOf(provider.getDataFormat())) {
            return;
        }
        const unsigned bytes = provider.getBytesPerElement();
        const unsigned left = x * provider.getElementsPerTileWide();
        const unsigned top = y * provider.getElementsPerTileTall();
        m_region = {left, top, index.depth, left + strip.m_wide, top + strip.m_tall, index.depth + 1};
        m_pitch = static_cast<unsigned>(strip.m_pitch / bytes);
        m_isPossible = strip.m_pitch % bytes == 0;
    }
};

} // namespace

TextureElementProvider::TextureElementProvider(const Texture* texture) {
    setupAsTexture(texture);
    if (texture == nullptr || !checkHasRoom(*texture, kSourcePath)) {
        return;
    }
    const unsigned slices = std::min(texture->getLastArraySlice() + 1, kSlices);
    for (unsigned mip = 0; mip < m_surfaceCount.mips; ++mip) {
        for (unsigned slice = 0; slice < slices; ++slice) {
            m_tilers[mip][slice].initFromTexture(texture, mip, slice);
        }
        computeSurfaceOffsetAndSize(&m_mipOffset[mip], &m_mipSize[mip], texture, mip, 0);
    }
}

const Tilers& TextureElementProvider::tilersFor(const SurfaceIndex* surfaceIndex) const {
    const unsigned slice = surfaceIndex->arrayEntry * m_surfaceCount.faces + surfaceIndex->face;
    return m_tilers[surfaceIndex->mip][slice % kSlices];
}

std::uint8_t* TextureElementProvider::surfaceAddress(const SurfaceIndex* surfaceIndex) const {
    const Tilers& tilers = tilersFor(surfaceIndex);
    // The view may name more slices than the texture has.
    if (tilers.getTilingMode() == kTilingModeNone ||
        surfaceIndex->arrayEntry >= m_surfaceCount.arrayEntries) {
        return nullptr;
    }
    const unsigned mip = surfaceIndex->mip;
    const std::uint64_t slice = surfaceIndex->arrayEntry * m_surfaceCount.faces + surfaceIndex->face;
    const std::uint64_t offset = m_mipOffset[mip] + m_mipSize[mip] * slice;
    return tiledBytesAt(m_texture.m_memoryRegion, offset, tilers.getTiledBytes());
}

void TextureElementProvider::getArea(const SurfaceIndex* surfaceIndex, void* buffer, const Area& area) const {
    const GpuAddress::SurfaceRegion& region = area.m_region;
    const unsigned elements = area.m_side * area.m_side;
    const std::uint8_t* tiled = surfaceAddress(surfaceIndex);
    const bool overhangs = (region.m_right - region.m_left) * (region.m_bottom - region.m_top) < elements;
    if (overhangs || tiled == nullptr) {
        std::memset(buffer, 0, area.m_bufferBytes);
    }
    if (tiled != nullptr) {
        tilersFor(surfaceIndex)
            .detileSurfaceRegion(buffer, tiled, &region, area.m_side, elements, surfaceIndex->fragment);
    }
}

void TextureElementProvider::putArea(const SurfaceIndex* surfaceIndex, const void* buffer,
                                     const Area& area) const {
    if (std::uint8_t* tiled = surfaceAddress(surfaceIndex)) {
        tilersFor(surfaceIndex)
            .tileSurfaceRegion(tiled, buffer, &area.m_region, area.m_side, area.m_side * area.m_side,
                               surfaceIndex->fragment);
    }
}

void TextureElementProvider::doGetBlock(const SurfaceIndex* surfaceIndex, Block* block, unsigned x,
                                        unsigned y) const {
    Area area = {{}, getElementsPerBlockTall(), sizeof *block};
    calculateSurfaceRegionForBlock(&area.m_region, surfaceIndex, x, y);
    getArea(surfaceIndex, block, area);
}

void TextureElementProvider::doPutBlock(const SurfaceIndex* surfaceIndex, const Block* block, unsigned x,
                                        unsigned y) const {
    Area area = {{}, getElementsPerBlockTall(), sizeof *block};
    calculateSurfaceRegionForBlock(&area.m_region, surfaceIndex, x, y);
    putArea(surfaceIndex, block, area);
}

void TextureElementProvider::doGetTile(const SurfaceIndex* surfaceIndex, Tile* tile, unsigned x,
                                       unsigned y) const {
    Area area = {{}, getElementsPerTileTall(), sizeof *tile};
    calculateSurfaceRegionForTile(&area.m_region, surfaceIndex, x, y);
    getArea(surfaceIndex, tile, area);
}

void TextureElementProvider::doPutTile(const SurfaceIndex* surfaceIndex, const Tile* tile, unsigned x,
                                       unsigned y) const {
    Area area = {{}, getElementsPerTileTall(), sizeof *tile};
    calculateSurfaceRegionForTile(&area.m_region, surfaceIndex, x, y);
    putArea(surfaceIndex, tile, area);
}

const std::type_info* TextureElementProvider::doGetRowsClass() const {
    return &typeid(TextureElementProvider);
}

bool TextureElementProvider::doGetStrip(const SurfaceIndex* surfaceIndex, const ElementRows& strip,
                                        unsigned x, unsigned y) const {
    const std::uint8_t* tiled = surfaceAddress(surfaceIndex);
    const StripMove move(*this, tilersFor(surfaceIndex), *surfaceIndex, strip, x, y);
    if (tiled == nullptr || !move.m_isPossible) {
        return false;
    }
    return strip.m_wide == 0 ||
           tilersFor(surfaceIndex)
                   .detileSurfaceRegion(strip.m_memory, tiled, &move.m_region, move.m_pitch,
                                        move.m_pitch * strip.m_tall,
                                        surfaceIndex->fragment) == GpuAddress::kStatusSuccess;
}

bool TextureElementProvider::doPutStrip(const SurfaceIndex* surfaceIndex, const ElementRows& strip,
                                        unsigned x, unsigned y) const {
    std::uint8_t* tiled = surfaceAddress(surfaceIndex);
    const StripMove move(*this, tilersFor(surfaceIndex), *surfaceIndex, strip, x, y);
    if (tiled == nullptr || !move.m_isPossible) {
        return false;
    }
    return strip.m_wide == 0 ||
           tilersFor(surfaceIndex)
                   .tileSurfaceRegion(tiled, strip.m_memory, &move.m_region, move.m_pitch,
                                      move.m_pitch * strip.m_tall,
                                      surfaceIndex->fragment) == GpuAddress::kStatusSuccess;
}

} // namespace qor::Texsmith::Raw
