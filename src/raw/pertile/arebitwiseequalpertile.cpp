// The pass that compares the stored elements of two surfaces.
#include "qor/texsmith/raw/comparison.h"
#include "raw/frame/check.h"

#include <algorithm>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\pertile\\arebitwiseequalpertile";

bool checkComparable(const ElementProvider* a, const ElementProvider* b) {
    const bool comparable = areBitwiseComparableForEquality(a, b);
    if (!comparable) {
        toolsAssert(kSourcePath, __LINE__,
                    "ElementProviders a and b must be bitwise comparable for equality.");
    }
    return comparable;
}

} // namespace

AreBitwiseEqualPerTile::AreBitwiseEqualPerTile(const ElementProvider* a, const ElementProvider* b)
    : m_a(a), m_b(b), m_bytesPerTile(0), m_areEqual(true) {
    const bool hasA = checkNotNull(a, kSourcePath, "a must not be NULL.");
    const bool hasB = checkNotNull(b, kSourcePath, "b must not be NULL.");
    m_isUsable = hasA && hasB && checkComparable(a, b);
    if (m_isUsable) {
        m_bytesPerTile = a->getBytesPerElement() * a->getElementsPerTile();
    }
}

// What a provider leaves unwritten of a tile is zero on both sides.
Error AreBitwiseEqualPerTile::doPerTileCallback(unsigned, const SurfaceIndex* surfaceIndex, unsigned x,
                                                unsigned y) const {
    if (!m_isUsable || !areEqual()) {
        return kErrorFailed;
    }
    Tile a = {}, b = {};
    m_a->getTile(surfaceIndex, &a, x, y);
    m_b->getTile(surfaceIndex, &b, x, y);
    if (std::memcmp(&a, &b, m_bytesPerTile) != 0) {
        m_areEqual.store(false, std::memory_order_relaxed);
        return kErrorFailed;
    }
    return kErrorNone;
}

OpenSurface AreBitwiseEqualPerTile::doOpenSurface(const SurfaceIndex* surfaceIndex) const {
    OpenSurface surface;
    if (m_isUsable) {
        surface.m_source = m_a->getElementRows(surfaceIndex);
        surface.m_destination = m_b->getElementRows(surfaceIndex);
        surface.m_hasRows = surface.m_source.m_memory != nullptr && surface.m_destination.m_memory != nullptr;
    }
    return surface;
}

// On a difference all tiles are left to the callback for single ones, which fails.
unsigned AreBitwiseEqualPerTile::doLeadingTiles(unsigned, const SurfaceIndex* surfaceIndex,
                                                const OpenSurface& surface, unsigned y) const {
    if (!surface.m_hasRows || !areEqual()) {
        return 0;
    }
    const ElementRows &a = surface.m_source, &b = surface.m_destination;
    const unsigned perTile = m_a->getElementsPerTileTall(), bottom = std::min(a.m_tall, (y + 1) * perTile);
    const std::size_t bytes = std::size_t{a.m_wide} * m_a->getBytesPerElement();
    for (unsigned row = y * perTile; row < bottom; ++row) {
        if (std::memcmp(a.row(row), b.row(row), bytes) != 0) {
            m_areEqual.store(false, std::memory_order_relaxed);
            return 0;
        }
    }
    return m_a->getTilesWide(surfaceIndex->mip);
}

} // namespace qor::Texsmith::Raw
