#include "raw/pertile/copypertile.h"

namespace qor::Texsmith::Raw {

Error CopyPerTile::doPerTileCallback(unsigned, const SurfaceIndex* surfaceIndex, unsigned x,
                                     unsigned y) const {
    Tile tile = {}; // a source need not write the part of a tile that overhangs its surface
    m_source->getTile(surfaceIndex, &tile, x, y);
    m_destination->putTile(surfaceIndex, &tile, x, y);
    return kErrorNone;
}

} // namespace qor::Texsmith::Raw
