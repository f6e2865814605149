// The slices of one mip in a grid.
#include "qor/texsmith/raw/view.h"
#include "raw/frame/check.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\elementprovider\\assliceselementprovider";
constexpr SurfaceIndex kFirst;

} // namespace

AsSlicesElementProvider::AsSlicesElementProvider(const ElementProvider* target, int columns)
    : AsSlicesElementProvider(target, &kFirst, columns) {}

AsSlicesElementProvider::AsSlicesElementProvider(const ElementProvider* target,
                                                 const SurfaceIndex* surfaceIndex, int columns) {
    initialize(target, surfaceIndex, columns);
}

void AsSlicesElementProvider::initialize(const ElementProvider* target, const SurfaceIndex* surfaceIndex,
                                         int columns) {
    replaceProxied(nullptr);
    const bool hasTarget = checkNotNull(target, kSourcePath, "target must not be NULL.");
    const bool hasIndex = checkNotNull(surfaceIndex, kSourcePath, "surfaceIndex must not be NULL.");
    if (!check(columns > 0, kSourcePath, "columns > 0") || !hasTarget || !hasIndex) {
        return;
    }
    setProxied(target);
    m_surfaceIndex = *surfaceIndex;
    m_columns = static_cast<unsigned>(columns);
    m_tilesWide = target->getTilesWide(surfaceIndex->mip);
    m_tilesTall = target->getTilesTall(surfaceIndex->mip);
    const SurfaceCount count = target->getSurfaceCount();
    const Vex::TextureType type = target->getTexture().getTextureType();
    m_slices = type == Vex::kTextureType3d        ? Slices::kDepth
               : type == Vex::kTextureTypeCubemap ? Slices::kFaces
                                                  : Slices::kArrayEntries;
    m_count = m_slices == Slices::kDepth   ? target->getDepth(surfaceIndex->mip)
              : m_slices == Slices::kFaces ? count.arrayEntries * count.faces
                                           : count.arrayEntries;
    const std::uint64_t rows = (m_count + std::uint64_t{m_columns} - 1) / m_columns;
    setupAsTiles(std::uint64_t{m_columns} * m_tilesWide, rows * m_tilesTall);
}

bool AsSlicesElementProvider::doAdjustTileForTarget(SurfaceIndex* index, unsigned* x, unsigned* y) const {
    const std::uint64_t number = std::uint64_t{*y / m_tilesTall} * m_columns + *x / m_tilesWide;
    if (number >= m_count) {
        return false;
    }
    const auto slice = static_cast<unsigned>(number);
    *x %= m_tilesWide;
    *y %= m_tilesTall;
    if (m_slices == Slices::kDepth) {
        index->depth = slice;
    } else if (m_slices == Slices::kFaces) {
        index->arrayEntry = slice / 6;
        index->face = slice % 6;
    } else {
        index->arrayEntry = slice;
    }
    index->mip = m_surfaceIndex.mip;
    return true;
}

unsigned AsSlicesElementProvider::doGetRun(unsigned x, unsigned) const {
    return m_tilesWide - x % m_tilesWide;
}

const std::type_info* AsSlicesElementProvider::doGetRowsClass() const {
    return &typeid(AsSlicesElementProvider);
}

} // namespace qor::Texsmith::Raw
