// Rows of tiles as rows of elements: straight on the memory of both sides where they have it, through strips
// in a buffer where a side is tiled.
#pragma once

#include "qor/texsmith/raw/per_tile.h"
#include "raw/memory/row_stores.h"

#include <algorithm>
#include <cstring>

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

// One side of a row of tiles from element `m_left` on: where the elements of a strip lie, or pass through.
struct StripSide {
    const ElementProvider& m_provider;
    const ElementRows& m_surface;
    StripBuffer& m_buffer;

    // Straight in memory, as far as that goes; empty where the elements pass through the buffer.
    ElementRows inMemory(const SurfaceIndex* surfaceIndex, const StripPlace& place) const {
        const unsigned bytes = m_provider.getBytesPerElement();
        if (m_surface.m_memory != nullptr) {
            return partOf(m_surface, bytes, place.m_left, place.m_top, place.m_wide, place.m_tall);
        }
        return m_provider.getElementRun(surfaceIndex, place.m_left / m_provider.getElementsPerTileWide(),
                                        place.m_top / m_provider.getElementsPerTileTall());
    }
    // For reading: where nothing is shown, zeros, the same row of them for all, of whole tiles.
    ElementRows inMemoryOrZeros(const SurfaceIndex* surfaceIndex, const StripPlace& place) const {
        ElementRows run = inMemory(surfaceIndex, place);
        if (run.m_memory == nullptr && run.m_wide != 0) {
            const unsigned bytes = m_provider.getBytesPerElement(); // none in an empty format
            const unsigned perTile = m_provider.getElementsPerTileWide();
            const auto most =
                static_cast<unsigned>(sizeof m_buffer.m_bytes / std::max(bytes, 1u) / perTile * perTile);
            run = {m_buffer.m_bytes, 0, std::min(run.m_wide, most), place.m_tall};
            std::memset(m_buffer.m_bytes, 0, std::size_t{run.m_wide} * bytes);
        }
        return run;
    }
    ElementRows inBuffer(unsigned wide, unsigned tall) const {
        return {m_buffer.m_bytes, std::size_t{wide} * m_provider.getBytesPerElement(), wide, tall};
    }
};

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
    const unsigned tileWide = source.getElementsPerTileWide(), top = y * source.getElementsPerTileTall();
    const unsigned tall = std::min(from.m_tall - top, source.getElementsPerTileTall());
    const RowStores stores = to.m_memory != nullptr ? storesFor(to) : RowStores::kCached;
    StripBuffer fetched, toStore;
    const StripSide sourceSide = {source, from, fetched}, destinationSide = {destination, to, toStore};
    for (unsigned left = 0; left < from.m_wide;) {
        const StripPlace rest = {left, top, from.m_wide - left, tall};
        ElementRows in = sourceSide.inMemoryOrZeros(surfaceIndex, rest);
        ElementRows out = destinationSide.inMemory(surfaceIndex, rest);
        if (overlap(in, out)) {
            return left / tileWide;
        }
        const bool fetches = in.m_memory == nullptr, puts = out.m_memory == nullptr;
        unsigned wide = fetches || puts ? std::min(StripBuffer::kElementsWide, rest.m_wide) : rest.m_wide;
        wide = std::min({wide, fetches ? wide : in.m_wide, puts ? wide : out.m_wide});
        in = fetches ? sourceSide.inBuffer(wide, tall) : in;
        out = puts ? destinationSide.inBuffer(wide, tall) : out;
        if (fetches && !source.getStrip(surfaceIndex, in, left / tileWide, y)) {
            return left / tileWide;
        }
        for (unsigned row = 0; row < tall; ++row) {
            convert(out.row(row), in.row(row), wide, stores);
        }
        if (puts && !destination.putStrip(surfaceIndex, out, left / tileWide, y)) {
            return left / tileWide;
        }
        left += wide;
    }
    return (from.m_wide + tileWide - 1) / tileWide;
}

} // namespace qor::Texsmith::Raw
