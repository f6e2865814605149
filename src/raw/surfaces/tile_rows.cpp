#include "raw/surfaces/tile_rows.h"

#include "raw/memory/overlap.h"
#include "raw/surfaces/extent.h"

namespace qor::Texsmith::Raw {
namespace {

// One side: its rows, or the size of its surface where it hands out strips. False where it does neither.
template <typename HasStrips>
bool openSide(ElementRows* rows, const ElementProvider& provider, const SurfaceIndex* surfaceIndex,
              HasStrips hasStrips) {
    *rows = provider.getElementRows(surfaceIndex);
    if (rows->m_memory != nullptr) {
        return true;
    }
    const Extent surface = elementsOf(provider.getTexture(), surfaceIndex->mip);
    rows->m_wide = surface.m_wide;
    rows->m_tall = surface.m_tall;
    return hasStrips(ElementRows{});
}

MemoryRegion regionOf(const ElementRows& rows) {
    MemoryRegion region;
    region.begin = rows.m_memory;
    region.end = rows.m_memory != nullptr ? rows.row(rows.m_tall) : nullptr;
    return region;
}

} // namespace

bool overlap(const ElementRows& a, const ElementRows& b) { return overlap(regionOf(a), regionOf(b)); }

OpenSurface openSides(const ElementProvider& source, const ElementProvider& destination,
                      const SurfaceIndex* surfaceIndex) {
    OpenSurface surface;
    const bool opens =
        openSide(&surface.m_source, source, surfaceIndex,
                 [&](const ElementRows& none) { return source.getStrip(surfaceIndex, none, 0, 0); }) &&
        openSide(&surface.m_destination, destination, surfaceIndex,
                 [&](const ElementRows& none) { return destination.putStrip(surfaceIndex, none, 0, 0); });
    surface.m_hasRows = opens && !overlap(surface.m_source, surface.m_destination);
    return surface;
}

OpenSurface openTileRows(const ElementProvider& source, const ElementProvider& destination,
                         const SurfaceIndex* surfaceIndex) {
    OpenSurface surface = openSides(source, destination, surfaceIndex);
    surface.m_hasRows = surface.m_hasRows && surface.m_source.m_wide == surface.m_destination.m_wide &&
                        surface.m_source.m_tall == surface.m_destination.m_tall;
    return surface;
}

} // namespace qor::Texsmith::Raw
