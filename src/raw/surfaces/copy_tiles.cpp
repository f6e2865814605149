#include "raw/surfaces/copy_tiles.h"

#include "raw/surfaces/tile_rows.h"

#include <algorithm>

namespace qor::Texsmith::Raw {
namespace {

// Row `y` of tiles of a surface in memory.
ElementRows bandOf(const ElementRows& rows, const ElementProvider& provider, unsigned y) {
    const unsigned perTile = provider.getElementsPerTileTall(), top = y * perTile;
    return partOf(rows, 0, 0, top, rows.m_wide, std::min(perTile, rows.m_tall - top));
}

bool isContiguous(const ElementRows& rows, unsigned bytesPerElement) {
    return rows.m_pitch == std::size_t{rows.m_wide} * bytesPerElement;
}

} // namespace

Error CopyPerTile::doPerTileCallback(unsigned, const SurfaceIndex* surfaceIndex, unsigned x,
                                     unsigned y) const {
    Tile tile = {}; // a source need not write the part of a tile that overhangs its surface
    m_source->getTile(surfaceIndex, &tile, x, y);
    m_destination->putTile(surfaceIndex, &tile, x, y);
    return kErrorNone;
}

OpenSurface CopyPerTile::doOpenSurface(const SurfaceIndex* surfaceIndex) const {
    const bool alike = m_source->getBytesPerElement() == m_destination->getBytesPerElement();
    return alike ? openTileRows(*m_source, *m_destination, surfaceIndex) : OpenSurface{};
}

// Where one side is tiled and the other is not, the elements go straight from the one to the other.
unsigned CopyPerTile::doLeadingTiles(unsigned, const SurfaceIndex* surfaceIndex, const OpenSurface& surface,
                                     unsigned y) const {
    if (!surface.m_hasRows) {
        return 0;
    }
    const ElementRows &from = surface.m_source, &to = surface.m_destination;
    const unsigned bytes = m_source->getBytesPerElement(), tiles = m_source->getTilesWide(surfaceIndex->mip);
    if (from.m_memory == nullptr && to.m_memory != nullptr) {
        return m_source->getStrip(surfaceIndex, bandOf(to, *m_source, y), 0, y) ? tiles : 0;
    }
    if (from.m_memory != nullptr && to.m_memory == nullptr) {
        return m_destination->putStrip(surfaceIndex, bandOf(from, *m_source, y), 0, y) ? tiles : 0;
    }
    if (from.m_memory != nullptr && isContiguous(from, bytes) && isContiguous(to, bytes)) {
        const ElementRows band = bandOf(from, *m_source, y);
        copyRow(bandOf(to, *m_source, y).m_memory, band.m_memory, band.m_pitch * band.m_tall, storesFor(to));
        return tiles;
    }
    return convertTileRow(
        *m_source, *m_destination, surfaceIndex, surface, y,
        [bytes](void* destination, const void* source, std::size_t elements, RowStores stores) {
            copyRow(destination, source, elements * bytes, stores);
        });
}

} // namespace qor::Texsmith::Raw
