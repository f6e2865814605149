// Rows of tiles as rows of elements: straight on the memory of both sides where they have it, through strips
// in a buffer where a side is tiled.
#pragma once

#include "qor/texsmith/raw/per_tile.h"
#include "raw/memory/row_stores.h"

#include <algorithm>

namespace qor::Texsmith::Raw {

// Has rows when both sides have rows or strips and their memory does not overlap.
OpenSurface openSides(const ElementProvider& source, const ElementProvider& destination,
                      const SurfaceIndex* surfaceIndex);
// And when their surfaces are of the same size in elements.
OpenSurface openTileRows(const ElementProvider& source, const ElementProvider& destination,
                         const SurfaceIndex* surfaceIndex);

// The part of `rows` that starts at element (x, y).
inline ElementRows partOf(const ElementRows& rows, unsigned bytesPerElement, unsigned x, unsigned y,
                          unsigned wide, unsigned tall) {
    return {rows.row(y) + std::size_t{x} * bytesPerElement, rows.m_pitch, wide, tall};
}

// Whether two surfaces in memory share bytes. One without memory shares none.
bool overlap(const ElementRows& a, const ElementRows& b);

// How to write a surface.
inline RowStores storesFor(const ElementRows& surface) {
    return storesFor(std::uint64_t{surface.m_pitch} * surface.m_tall);
}

// A part of a row of tiles, in elements of the surface.
struct StripPlace {
    unsigned m_left, m_top, m_wide, m_tall;
};

// Where the elements of a strip pass through when a side has no rows: as many as it takes to pay for the
// calls, and no more than stays in the nearest cache.
struct alignas(64) StripBuffer {
    static constexpr unsigned kElementsWide = 128;
    static constexpr unsigned kElementsTall = 8;

    std::uint8_t m_bytes[kElementsWide * kElementsTall * 16];
};

// The memory of a strip: the surface's own rows, or the buffer.
inline ElementRows stripOf(const ElementRows& surface, unsigned bytesPerElement, const StripPlace& place,
                           StripBuffer& buffer) {
    if (surface.m_memory != nullptr) {
        return partOf(surface, bytesPerElement, place.m_left, place.m_top, place.m_wide, place.m_tall);
    }
    return {buffer.m_bytes, std::size_t{place.m_wide} * bytesPerElement, place.m_wide, place.m_tall};
}

// Converts row `y` of tiles by `convert(destination, source, elements, stores)`, a row of elements at a time,
// and returns how many tiles were done.
template <typename Convert>
unsigned convertTileRow(const ElementProvider& source, const ElementProvider& destination,
                        const SurfaceIndex* surfaceIndex, const OpenSurface& surface, unsigned y,
                        Convert convert) {
    if (!surface.m_hasRows) {
        return 0;
    }
    const ElementRows &from = surface.m_source, &to = surface.m_destination;
    const bool fetches = from.m_memory == nullptr, stores = to.m_memory == nullptr;
    const unsigned tileWide = source.getElementsPerTileWide(), top = y * source.getElementsPerTileTall();
    const unsigned tall = std::min(from.m_tall - top, source.getElementsPerTileTall());
    const unsigned step = fetches || stores ? StripBuffer::kElementsWide : from.m_wide;
    const RowStores how = stores ? RowStores::kCached : storesFor(to);
    StripBuffer fetched, toStore;
    for (unsigned left = 0; left < from.m_wide; left += step) {
        const StripPlace place = {left, top, std::min(step, from.m_wide - left), tall};
        const ElementRows in = stripOf(from, source.getBytesPerElement(), place, fetched);
        const ElementRows out = stripOf(to, destination.getBytesPerElement(), place, toStore);
        if (fetches && !source.getStrip(surfaceIndex, in, left / tileWide, y)) {
            return left / tileWide;
        }
        for (unsigned row = 0; row < tall; ++row) {
            convert(out.row(row), in.row(row), place.m_wide, how);
        }
        if (stores && !destination.putStrip(surfaceIndex, out, left / tileWide, y)) {
            return left / tileWide;
        }
    }
    return (from.m_wide + tileWide - 1) / tileWide;
}

} // namespace qor::Texsmith::Raw
