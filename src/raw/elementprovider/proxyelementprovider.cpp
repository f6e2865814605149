// What all views made of tiles of another provider share: each access goes to its place in the target.
#include "qor/texsmith/raw/view.h"
#include "raw/frame/check.h"
#include "raw/memory/copy_rows.h"
#include "raw/surfaces/extent.h"
#include "raw/surfaces/tile_rows.h"

#include <algorithm>
#include <cstring>

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

void ProxyElementProvider::setupAsTiles(std::uint64_t wide, std::uint64_t tall) {
    constexpr unsigned kMost = Vex::kMaxTextureSize / 8;
    if (wide > kMost || tall > kMost) {
        toolsWarning(kSourcePath, __LINE__, "The view of %llu x %llu pixels is cut to %u pixels either way.",
                     static_cast<unsigned long long>(wide) * 8, static_cast<unsigned long long>(tall) * 8,
                     Vex::kMaxTextureSize);
    }
    setupAsTwoDimensional(m_proxied->getDataFormat(),
                          static_cast<unsigned>(std::min<std::uint64_t>(wide, kMost)) * 8,
                          static_cast<unsigned>(std::min<std::uint64_t>(tall, kMost)) * 8);
}

bool ProxyElementProvider::hasElementsOfTarget() const {
    return m_proxied != nullptr && m_proxied->getBytesPerElement() == getBytesPerElement() &&
           m_proxied->getPixelsPerElementWide() == getPixelsPerElementWide();
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

unsigned ProxyElementProvider::doGetRun(unsigned, unsigned) const { return 1; }

// Strips are moved in runs. Each run takes the rows or strips of its surface where there are any, and else
// goes tile by tile, so that whatever became of the target, the result is that of the tiles.

struct ProxyElementProvider::Run {
    ElementRows m_strip; // its part of the strip
    SurfaceIndex m_index;
    unsigned m_x, m_y; // the first tile, in the target
    bool m_isShown;    // false: nothing lies there

    Extent inside(const ElementProvider& target) const; // elements; none outside of the surface
};

namespace {

// Calls `use(tile, part)` for the tiles of a strip of elements from left to right, with the number of the
// tile and the part of the strip that it covers.
template <typename Use>
void forTiles(const ElementRows& strip, unsigned bytesPerElement, unsigned perTile, Use use) {
    for (unsigned left = 0; left < strip.m_wide; left += perTile) {
        const unsigned wide = std::min(perTile, strip.m_wide - left);
        use(left / perTile, partOf(strip, bytesPerElement, left, 0, wide, strip.m_tall));
    }
}

void copyElements(const ElementRows& to, const ElementRows& from, unsigned bytesPerElement) {
    copyRows({to.m_memory, to.m_pitch, from.m_memory, from.m_pitch, to.m_tall},
             std::size_t{to.m_wide} * bytesPerElement);
}

void clear(const ElementRows& rows, unsigned bytesPerElement) {
    for (unsigned y = 0; y < rows.m_tall; ++y) {
        std::memset(rows.row(y), 0, std::size_t{rows.m_wide} * bytesPerElement);
    }
}

// The elements of a tile in its buffer.
ElementRows elementsIn(Tile& tile, const ElementProvider& provider) {
    return {reinterpret_cast<std::uint8_t*>(&tile), getTilePitchInBytes(provider.getDataFormat()),
            provider.getElementsPerTileWide(), provider.getElementsPerTileTall()};
}

} // namespace

// The run from tile (x, y) of the view on, at most `strip` wide.
ProxyElementProvider::Run ProxyElementProvider::runAt(const ElementRows& strip, unsigned x,
                                                      unsigned y) const {
    const std::uint64_t most = std::uint64_t{std::max(doGetRun(x, y), 1u)} * getElementsPerTileWide();
    Run run = {strip, {}, x, y, false};
    run.m_strip.m_wide = static_cast<unsigned>(std::min<std::uint64_t>(most, strip.m_wide));
    run.m_isShown = adjust(&run.m_index, &run.m_x, &run.m_y);
    return run;
}

// The part of a run that lies in its surface.
Extent ProxyElementProvider::Run::inside(const ElementProvider& target) const {
    const std::uint64_t left = std::uint64_t{m_x} * target.getElementsPerTileWide();
    const std::uint64_t top = std::uint64_t{m_y} * target.getElementsPerTileTall();
    const Extent surface = elementsOf(target.getTexture(), m_index.mip);
    if (!m_isShown || target.surfaceIsOutside(&m_index) || left >= surface.m_wide || top >= surface.m_tall) {
        return {};
    }
    return {static_cast<unsigned>(std::min(surface.m_wide - left, std::uint64_t{m_strip.m_wide})),
            static_cast<unsigned>(std::min(surface.m_tall - top, std::uint64_t{m_strip.m_tall}))};
}

template <typename Use>
void ProxyElementProvider::forRuns(const ElementRows& strip, unsigned x, unsigned y, Use use) const {
    const unsigned bytes = getBytesPerElement(), perTile = getElementsPerTileWide();
    for (unsigned left = 0; left < strip.m_wide;) {
        const Run run =
            runAt(partOf(strip, bytes, left, 0, strip.m_wide - left, strip.m_tall), x + left / perTile, y);
        use(run);
        left += run.m_strip.m_wide;
    }
}

// Moves what lies in the surface at once; false, and nothing moved, where that cannot be.
bool ProxyElementProvider::moveRows(const Run& run, bool toStrip) const {
    const unsigned bytes = getBytesPerElement();
    const unsigned wide = run.m_strip.m_wide, tall = run.m_strip.m_tall;
    const Extent part = run.inside(*m_proxied);
    if (part.m_wide == 0) {
        return false;
    }
    const ElementRows inside = partOf(run.m_strip, bytes, 0, 0, part.m_wide, part.m_tall);
    const ElementRows rows = m_proxied->getElementRows(&run.m_index);
    if (rows.m_memory == nullptr) {
        if (!(toStrip ? m_proxied->getStrip(&run.m_index, inside, run.m_x, run.m_y)
                      : m_proxied->putStrip(&run.m_index, inside, run.m_x, run.m_y))) {
            return false;
        }
    } else if (overlap(rows, inside)) {
        return false;
    } else {
        const ElementRows there = partOf(rows, bytes, run.m_x * getElementsPerTileWide(),
                                         run.m_y * getElementsPerTileTall(), part.m_wide, part.m_tall);
        toStrip ? copyElements(inside, there, bytes) : copyElements(there, inside, bytes);
    }
    if (toStrip) { // the overhang of the surface's last tiles
        clear(partOf(run.m_strip, bytes, part.m_wide, 0, wide - part.m_wide, part.m_tall), bytes);
        clear(partOf(run.m_strip, bytes, 0, part.m_tall, wide, tall - part.m_tall), bytes);
    }
    return true;
}

// Of whole tiles: what overhangs is in no memory.
ElementRows ProxyElementProvider::doGetElementRun(const SurfaceIndex*, unsigned x, unsigned y) const {
    if (!hasElementsOfTarget()) {
        return {};
    }
    const unsigned perTile = getElementsPerTileWide();
    const ElementRows rest = {nullptr, 0, elementsOf(m_texture, 0).m_wide - x * perTile, perTile};
    const Run run = runAt(rest, x, y);
    if (!run.m_isShown) {
        return run.m_strip;
    }
    const Extent part = run.inside(*m_proxied);
    const unsigned wide = part.m_wide / perTile * perTile;
    if (wide == 0 || part.m_tall != perTile) {
        return {};
    }
    const ElementRows rows = m_proxied->getElementRows(&run.m_index);
    if (rows.m_memory != nullptr) {
        return partOf(rows, getBytesPerElement(), run.m_x * perTile, run.m_y * perTile, wide, perTile);
    }
    ElementRows nested = m_proxied->getElementRun(&run.m_index, run.m_x, run.m_y);
    nested.m_wide = std::min(nested.m_wide, wide);
    return nested;
}

void ProxyElementProvider::getRun(const Run& run) const {
    const unsigned bytes = getBytesPerElement();
    if (!run.m_isShown) {
        clear(run.m_strip, bytes);
    } else if (!moveRows(run, true)) {
        forTiles(run.m_strip, bytes, getElementsPerTileWide(), [&](unsigned i, const ElementRows& part) {
            Tile tile = {};
            m_proxied->getTile(&run.m_index, &tile, run.m_x + i, run.m_y);
            copyElements(part, elementsIn(tile, *this), bytes);
        });
    }
}

void ProxyElementProvider::putRun(const Run& run) const {
    if (!run.m_isShown || moveRows(run, false)) {
        return;
    }
    const unsigned bytes = getBytesPerElement();
    forTiles(run.m_strip, bytes, getElementsPerTileWide(), [&](unsigned i, const ElementRows& part) {
        Tile tile = {};
        ElementRows elements = elementsIn(tile, *this);
        if (part.m_wide < elements.m_wide || part.m_tall < elements.m_tall) {
            m_proxied->getTile(&run.m_index, &tile, run.m_x + i, run.m_y); // keeps the rest of it
        }
        elements.m_wide = part.m_wide;
        elements.m_tall = part.m_tall;
        copyElements(elements, part, bytes);
        m_proxied->putTile(&run.m_index, &tile, run.m_x + i, run.m_y);
    });
}

bool ProxyElementProvider::doGetStrip(const SurfaceIndex*, const ElementRows& strip, unsigned x,
                                      unsigned y) const {
    const bool canMove = hasElementsOfTarget();
    if (canMove) {
        forRuns(strip, x, y, [this](const Run& run) { getRun(run); });
    }
    return canMove;
}

bool ProxyElementProvider::doPutStrip(const SurfaceIndex*, const ElementRows& strip, unsigned x,
                                      unsigned y) const {
    const bool canMove = hasElementsOfTarget();
    if (canMove) {
        forRuns(strip, x, y, [this](const Run& run) { putRun(run); });
    }
    return canMove;
}

} // namespace qor::Texsmith::Raw
