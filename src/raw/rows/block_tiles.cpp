#include "raw/rows/block_tiles.h"

#include "raw/surfaces/extent.h"
#include "raw/surfaces/tile_rows.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr unsigned kTilesAtOnce = BlockRowConversion::kMostBlocks / 2;
static_assert(kTilesAtOnce * 8 <= StripBuffer::kElementsWide);

// Of the tiles x to x + count - 1 of row y.
StripPlace placeOf(const ElementProvider& side, unsigned x, unsigned y, unsigned count) {
    const unsigned wide = side.getElementsPerTileWide(), tall = side.getElementsPerTileTall();
    return {x * wide, y * tall, count * wide, tall};
}

// Where the lower blocks of a row of tiles begin.
ElementRows lowerHalf(const ElementRows& rows) {
    const unsigned half = rows.m_tall / 2;
    return {rows.row(half), rows.m_pitch, rows.m_wide, half};
}

} // namespace

OpenSurface openBlockTiles(const ElementProvider& source, const ElementProvider& destination,
                           const SurfaceIndex* surfaceIndex) {
    OpenSurface surface = openSides(source, destination, surfaceIndex);
    const Extent from = pixelsOf(source.getTexture(), surfaceIndex->mip);
    const Extent to = pixelsOf(destination.getTexture(), surfaceIndex->mip);
    surface.m_hasRows = surface.m_hasRows && from.m_wide == to.m_wide && from.m_tall == to.m_tall;
    return surface;
}

unsigned convertBlockTiles(const ElementProvider& source, const ElementProvider& destination,
                           const SurfaceIndex* surfaceIndex, const OpenSurface& surface, unsigned y,
                           const BlockRowConversion& conversion) {
    const ElementRows &from = surface.m_source, &to = surface.m_destination;
    StripBuffer fetched, toStore;
    return surface.forWholeTiles(source, surfaceIndex->mip, y, kTilesAtOnce, [&](unsigned x, unsigned count) {
        const ElementRows in =
            stripOf(from, source.getBytesPerElement(), placeOf(source, x, y, count), fetched);
        const ElementRows out =
            stripOf(to, destination.getBytesPerElement(), placeOf(destination, x, y, count), toStore);
        if (from.m_memory == nullptr && !source.getStrip(surfaceIndex, in, x, y)) {
            return false;
        }
        conversion.convert(out, in, 2 * count);
        conversion.convert(lowerHalf(out), lowerHalf(in), 2 * count);
        return to.m_memory != nullptr || destination.putStrip(surfaceIndex, out, x, y);
    });
}

} // namespace qor::Texsmith::Raw
