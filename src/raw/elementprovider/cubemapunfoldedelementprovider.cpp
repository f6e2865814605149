// The faces of a cubemap laid out flat, in any layout and as a cross.
#include "qor/texsmith/raw/view.h"
#include "raw/frame/check.h"

#include <algorithm>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\elementprovider\\cubemapunfoldedelementprovider";
constexpr unsigned kFaces = 6;

bool isFace(std::uint32_t cell) { return cell >= 1 && cell <= kFaces; }

} // namespace

const CubemapUnfoldedElementProvider::Layout AsCrossElementProvider::s_crossLayout = {{
    {0, 3, 0, 0},
    {2, 5, 1, 6},
    {0, 4, 0, 0},
}};

CubemapUnfoldedElementProvider::CubemapUnfoldedElementProvider(const ElementProvider* target,
                                                               const SurfaceIndex* surfaceIndex,
                                                               const Layout* layout) {
    setTarget(target, surfaceIndex, layout);
}

void CubemapUnfoldedElementProvider::setTarget(const ElementProvider* target,
                                               const SurfaceIndex* surfaceIndex, const Layout* layout) {
    replaceProxied(nullptr);
    const bool hasTarget = checkNotNull(target, kSourcePath, "target must not be NULL.");
    const bool hasIndex = checkNotNull(surfaceIndex, kSourcePath, "surfaceIndex must not be NULL.");
    if (!checkNotNull(layout, kSourcePath, "layout must not be NULL.") || !hasTarget || !hasIndex) {
        return;
    }
    setProxied(target);
    m_surfaceIndex = *surfaceIndex;
    m_layout = *layout;
    m_tilesWide = target->getTilesWide(surfaceIndex->mip);
    m_tilesTall = target->getTilesTall(surfaceIndex->mip);
    m_columns = m_rows = 0;
    for (unsigned row = 0; row < Layout::kSide; ++row) {
        for (unsigned column = 0; column < Layout::kSide; ++column) {
            if (isFace(m_layout.m_cells[row][column])) {
                m_columns = std::max(m_columns, column + 1);
                m_rows = row + 1;
            }
        }
    }
    setupAsTiles(std::uint64_t{m_columns} * m_tilesWide, std::uint64_t{m_rows} * m_tilesTall);
}

bool CubemapUnfoldedElementProvider::doAdjustTileForTarget(SurfaceIndex* index, unsigned* x,
                                                           unsigned* y) const {
    const unsigned column = *x / m_tilesWide, row = *y / m_tilesTall;
    if (column >= m_columns || row >= m_rows || !isFace(m_layout.m_cells[row][column])) {
        return false;
    }
    index->face = m_layout.m_cells[row][column] - 1;
    index->arrayEntry = m_surfaceIndex.arrayEntry;
    index->mip = m_surfaceIndex.mip;
    *x %= m_tilesWide;
    *y %= m_tilesTall;
    return true;
}

unsigned CubemapUnfoldedElementProvider::doGetRun(unsigned x, unsigned) const {
    return m_tilesWide - x % m_tilesWide;
}

const std::type_info* CubemapUnfoldedElementProvider::doGetRowsClass() const {
    return &typeid(CubemapUnfoldedElementProvider);
}

AsCrossElementProvider::AsCrossElementProvider(const ElementProvider* target,
                                               const SurfaceIndex* surfaceIndex) {
    setTarget(target, surfaceIndex);
}

void AsCrossElementProvider::setTarget(const ElementProvider* target, const SurfaceIndex* surfaceIndex) {
    CubemapUnfoldedElementProvider::setTarget(target, surfaceIndex, &s_crossLayout);
}

const std::type_info* AsCrossElementProvider::doGetRowsClass() const {
    return &typeid(AsCrossElementProvider);
}

} // namespace qor::Texsmith::Raw
