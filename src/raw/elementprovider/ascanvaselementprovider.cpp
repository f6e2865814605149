// All surfaces of a provider side by side.
#include "qor/texsmith/raw/view.h"
#include "raw/frame/check.h"
#include "raw/surfaces/extent.h"

#include <algorithm>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\elementprovider\\ascanvaselementprovider";

} // namespace

CanvasLayout::CanvasLayout(const Vex::Texture& texture) {
    const SurfaceCount count(texture);
    m_mips = std::min(count.mips, kMips);
    m_faces = count.faces;
    m_arrayEntries = count.arrayEntries;
    for (unsigned mip = 0; mip < m_mips; ++mip) {
        const Extent tiles = tilesOf(texture, mip);
        Place& place = m_places[mip];
        place = {0, 0, tiles.m_wide, tiles.m_tall * getDepthOfMip(texture, mip), tiles.m_tall};
        if (mip != 0) {
            const Place& before = m_places[mip - 1];
            const unsigned below = before.m_y + before.m_tall;
            const bool goesBelow = mip > 1 && below + place.m_tall <= m_places[0].m_tall;
            place.m_x = goesBelow ? before.m_x : before.m_x + before.m_wide;
            place.m_y = goesBelow ? below : before.m_y;
        }
        m_wide = std::max(m_wide, place.m_x + place.m_wide);
        m_tall = std::max(m_tall, place.m_y + place.m_tall);
    }
}

bool CanvasLayout::isWhole() const {
    constexpr unsigned kMost = Vex::kMaxTextureSize / 8;
    return getTilesWide() <= kMost && getTilesTall() <= kMost;
}

bool CanvasLayout::find(SurfaceIndex* index, unsigned* x, unsigned* y) const {
    *index = {};
    const unsigned face = *y / m_tall;
    *y %= m_tall;
    index->arrayEntry = face / m_faces;
    index->face = face % m_faces;
    if (index->arrayEntry >= m_arrayEntries) {
        return false;
    }
    const Place* const end = m_places + m_mips;
    const Place* const place =
        std::find_if(m_places, end, [&](const Place& candidate) { return candidate.contains(*x, *y); });
    if (place == end) {
        return false;
    }
    index->mip = static_cast<unsigned>(place - m_places);
    *x -= place->m_x;
    *y -= place->m_y;
    index->depth = *y / place->m_sliceTall;
    *y %= place->m_sliceTall;
    return true;
}

// The places do not overlap: whatever follows one lies below it or to its right.
unsigned CanvasLayout::getRun(unsigned x, unsigned y) const {
    unsigned end = std::max(m_wide, x + 1);
    for (unsigned mip = 0; mip < m_mips; ++mip) {
        const Place& place = m_places[mip];
        if (place.contains(x, y % m_tall)) {
            return place.m_x + place.m_wide - x;
        }
        if (place.m_x > x && place.contains(place.m_x, y % m_tall)) {
            end = std::min(end, place.m_x);
        }
    }
    return end - x;
}

void CanvasLayout::locate(const SurfaceIndex& index, std::uint64_t* x, std::uint64_t* y) const {
    const Place& place = m_places[std::min(index.mip, kMips - 1)];
    const std::uint64_t face = std::uint64_t{index.arrayEntry} * m_faces + index.face;
    *x = place.m_x;
    *y = face * m_tall + place.m_y + std::uint64_t{index.depth} * place.m_sliceTall;
}

AsCanvasElementProvider::AsCanvasElementProvider(const ElementProvider* target) { setTarget(target); }

void AsCanvasElementProvider::setTarget(const ElementProvider* target) {
    replaceProxied(nullptr);
    if (checkNotNull(target, kSourcePath, "target must not be NULL.")) {
        setProxied(target);
        m_layout = CanvasLayout(target->getTexture());
        setupAsTiles(m_layout.getTilesWide(), m_layout.getTilesTall());
    }
}

bool AsCanvasElementProvider::doAdjustTileForTarget(SurfaceIndex* index, unsigned* x, unsigned* y) const {
    return m_layout.find(index, x, y);
}

unsigned AsCanvasElementProvider::doGetRun(unsigned x, unsigned y) const { return m_layout.getRun(x, y); }

const std::type_info* AsCanvasElementProvider::doGetRowsClass() const {
    return &typeid(AsCanvasElementProvider);
}

} // namespace qor::Texsmith::Raw
