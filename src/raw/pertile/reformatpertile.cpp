#include "raw/pertile/reformatpertile.h"

#include "raw/rows/block_tiles.h"
#include "raw/rows/steps.h"
#include "raw/surfaces/tile_rows.h"
#include "raw/texels/texture_format.h"

namespace qor::Texsmith::Raw {
ReformatPerTile::ReformatPerTile(const ElementProvider* source, const ElementProvider* destination,
                                 const Configuration* configuration)
    : m_source(source), m_destination(destination),
      m_tiles(stepsBetween<TileConversion>(*source, *destination, *configuration)), m_rows(m_tiles),
      m_blocks(m_tiles),
      m_byRows(RowConversion::canConvert(source->getDataFormat(), destination->getDataFormat())),
      m_sourcePitch(getTilePitchInBytes(source->getDataFormat())),
      m_destinationPitch(getTilePitchInBytes(destination->getDataFormat())) {}

bool ReformatPerTile::canReformat(const ElementProvider* source, const ElementProvider* destination) {
    return TileConversion::canConvert(source->getDataFormat(), destination->getDataFormat());
}

Error ReformatPerTile::doPerTileCallback(unsigned, const SurfaceIndex* surfaceIndex, unsigned x,
                                         unsigned y) const {
    Tile raw = {}, encoded = {};
    m_source->getTile(surfaceIndex, &raw, x, y);
    m_tiles.convert(&encoded, m_destinationPitch, &raw, m_sourcePitch);
    m_destination->putTile(surfaceIndex, &encoded, x, y);
    return kErrorNone;
}

OpenSurface ReformatPerTile::doOpenSurface(const SurfaceIndex* surfaceIndex) const {
    if (m_blocks.isUsable()) {
        return openBlockTiles(*m_source, *m_destination, surfaceIndex);
    }
    return m_byRows ? openTileRows(*m_source, *m_destination, surfaceIndex) : OpenSurface{};
}

unsigned ReformatPerTile::doLeadingTiles(unsigned, const SurfaceIndex* surfaceIndex,
                                         const OpenSurface& surface, unsigned y) const {
    if (m_blocks.isUsable()) {
        return convertBlockTiles(*m_source, *m_destination, surfaceIndex, surface, y, m_blocks);
    }
    return convertTileRow(
        *m_source, *m_destination, surfaceIndex, surface, y,
        [this](void* destination, const void* source, std::size_t elements, RowStores stores) {
            m_rows.convert(destination, source, elements, stores);
        });
}

} // namespace qor::Texsmith::Raw
