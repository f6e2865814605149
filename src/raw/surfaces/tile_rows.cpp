#include "raw/surfaces/tile_rows.h"

#include "raw/surfaces/extent.h"

#include <cstdint>

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

bool overlap(const ElementRows& a, const ElementRows& b) {
    const auto begin = [](const ElementRows& rows) {
        return reinterpret_cast<std::uintptr_t>(rows.m_memory);
    };
    const auto end = [&](const ElementRows& rows) { return begin(rows) + rows.m_pitch * rows.m_tall; };
    return a.m_memory != nullptr && b.m_memory != nullptr && begin(a) < end(b) && begin(b) < end(a);
}

} // namespace

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
