// Rows of tiles as rows of elements: straight on the memory of both sides where they have it, through strips
// in a buffer where a side is tiled.
#pragma once

#include "qor/texsmith/raw/per_tile.h"
#include "raw/row_stores.h"

#include <algorithm>

namespace qor::Texsmith::Raw {

// Has rows when both sides have rows or strips, their surfaces are of the same size in elements, and their
// memory does not overlap.
OpenSurface openTileRows(const ElementProvider& source, const ElementProvider& destination,
                         const SurfaceIndex* surfaceIndex);

// The part of `rows` that starts at element (x, y).
inline ElementRows partOf(const ElementRows& rows, unsigned bytesPerElement, unsigned x, unsigned y,
                          unsigned wide, unsigned tall) {
    return {rows.row(y) + std::size_t{x} * bytesPerElement, rows.m_pitch, wide, tall};
}

// How to write a surface.
inline RowStores storesFor(const ElementRows& surface) {
    return storesFor(std::uint64_t{surface.m_pitch} * surface.m_tall);
}

// A strip's buffer: as many elements of up to 16 bytes as it takes to pay for the calls, and no more than
// stays in the nearest cache.
struct alignas(64) StripBuffer {
    static constexpr unsigned kElementsWide = 128;
    static constexpr unsigned kElementsTall = 8;

    std::uint8_t m_bytes[kElementsWide * kElementsTall * 16];

    ElementRows rows(unsigned bytesPerElement, unsigned wide, unsigned tall) {
        return {m_bytes, std::size_t{wide} * bytesPerElement, wide, tall};
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
    const bool isPlain = from.m_memory != nullptr && to.m_memory != nullptr;
    const unsigned step = isPlain ? from.m_wide : StripBuffer::kElementsWide;
    const unsigned fromBytes = source.getBytesPerElement(), toBytes = destination.getBytesPerElement();
    StripBuffer fromBuffer, toBuffer;
    for (unsigned left = 0; left < from.m_wide; left += step) {
        const unsigned wide = std::min(step, from.m_wide - left), x = left / tileWide;
        const ElementRows in = from.m_memory != nullptr ? partOf(from, fromBytes, left, top, wide, tall)
                                                        : fromBuffer.rows(fromBytes, wide, tall);
        const ElementRows out = to.m_memory != nullptr ? partOf(to, toBytes, left, top, wide, tall)
                                                       : toBuffer.rows(toBytes, wide, tall);
        if (from.m_memory == nullptr && !source.getStrip(surfaceIndex, in, x, y)) {
            return x;
        }
        const RowStores stores = to.m_memory != nullptr ? storesFor(to) : RowStores::kCached;
        for (unsigned row = 0; row < tall; ++row) {
            convert(out.row(row), in.row(row), wide, stores);
        }
        if (to.m_memory == nullptr && !destination.putStrip(surfaceIndex, out, x, y)) {
            return x;
        }
    }
    return (from.m_wide + tileWide - 1) / tileWide;
}

} // namespace qor::Texsmith::Raw
