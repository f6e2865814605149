// What all views made of tiles of another provider share: each access goes to its place in the target.
#include "qor/texsmith/raw/view.h"
#include "raw/frame/check.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\elementprovider\\proxyelementprovider";

} // namespace

void ProxyElementProvider::setProxied(const ElementProvider* target) {
    m_proxied = target;
    if (checkNotNull(target, kSourcePath, "target must not be NULL.")) {
        setModifiers(target->getModifiers());
    }
}

bool ProxyElementProvider::adjust(SurfaceIndex* index, unsigned* x, unsigned* y) const {
    return m_proxied != nullptr && doAdjustTileForTarget(index, x, y);
}

// Each access finds the tile that it falls into and keeps its place in that tile. The caller's index has been
// checked and says nothing more: a view has one surface.

void ProxyElementProvider::doGetElement(const SurfaceIndex*, VectorFloat* element, unsigned x,
                                        unsigned y) const {
    const unsigned wide = getElementsPerTileWide(), tall = getElementsPerTileTall();
    SurfaceIndex index;
    unsigned tileX = x / wide, tileY = y / tall;
    if (adjust(&index, &tileX, &tileY)) {
        m_proxied->getElement(&index, element, tileX * wide + x % wide, tileY * tall + y % tall);
    } else {
        *element = {};
    }
}

void ProxyElementProvider::doPutElement(const SurfaceIndex*, const VectorFloat* element, unsigned x,
                                        unsigned y) const {
    const unsigned wide = getElementsPerTileWide(), tall = getElementsPerTileTall();
    SurfaceIndex index;
    unsigned tileX = x / wide, tileY = y / tall;
    if (adjust(&index, &tileX, &tileY)) {
        m_proxied->putElement(&index, element, tileX * wide + x % wide, tileY * tall + y % tall);
    }
}

void ProxyElementProvider::doGetBlock(const SurfaceIndex*, Block* block, unsigned x, unsigned y) const {
    SurfaceIndex index;
    unsigned tileX = x >> 1, tileY = y >> 1;
    if (adjust(&index, &tileX, &tileY)) {
        m_proxied->getBlock(&index, block, tileX * 2 + (x & 1), tileY * 2 + (y & 1));
    } else {
        *block = {};
    }
}

void ProxyElementProvider::doPutBlock(const SurfaceIndex*, const Block* block, unsigned x, unsigned y) const {
    SurfaceIndex index;
    unsigned tileX = x >> 1, tileY = y >> 1;
    if (adjust(&index, &tileX, &tileY)) {
        m_proxied->putBlock(&index, block, tileX * 2 + (x & 1), tileY * 2 + (y & 1));
    }
}

void ProxyElementProvider::doGetTile(const SurfaceIndex*, Tile* tile, unsigned x, unsigned y) const {
    SurfaceIndex index;
    if (adjust(&index, &x, &y)) {
        m_proxied->getTile(&index, tile, x, y);
    } else {
        *tile = {};
    }
}

void ProxyElementProvider::doPutTile(const SurfaceIndex*, const Tile* tile, unsigned x, unsigned y) const {
    SurfaceIndex index;
    if (adjust(&index, &x, &y)) {
        m_proxied->putTile(&index, tile, x, y);
    }
}

void ProxyElementProvider::doGetTexel(const SurfaceIndex*, Properties* properties, unsigned x,
                                      unsigned y) const {
    SurfaceIndex index;
    unsigned tileX = x >> 3, tileY = y >> 3;
    if (adjust(&index, &tileX, &tileY)) {
        m_proxied->getTexel(&index, properties, tileX * 8 + (x & 7), tileY * 8 + (y & 7));
    }
}

} // namespace qor::Texsmith::Raw
