// The view of one surface of another provider.
#include "qor/texsmith/raw/view.h"
#include "raw/frame/check.h"
#include "raw/surfaces/extent.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\elementprovider\\assurfaceelementprovider";

} // namespace

AsSurfaceElementProvider::AsSurfaceElementProvider(const ElementProvider* target,
                                                   const SurfaceIndex* surfaceIndex) {
    setTarget(target, surfaceIndex);
}

void AsSurfaceElementProvider::setTarget(const ElementProvider* target, const SurfaceIndex* surfaceIndex) {
    replaceProxied(nullptr);
    const bool hasTarget = checkNotNull(target, kSourcePath, "target must not be NULL.");
    if (!checkNotNull(surfaceIndex, kSourcePath, "surfaceIndex must not be NULL.") || !hasTarget) {
        return;
    }
    m_surfaceIndex = *surfaceIndex;
    setProxied(target);
    setupAsTwoDimensional(target->getDataFormat(), target->getPixelsWide(surfaceIndex->mip),
                          target->getPixelsTall(surfaceIndex->mip));
}

bool AsSurfaceElementProvider::doAdjustTileForTarget(SurfaceIndex* index, unsigned*, unsigned*) const {
    *index = m_surfaceIndex;
    return true;
}

const std::type_info* AsSurfaceElementProvider::doGetRowsClass() const {
    return &typeid(AsSurfaceElementProvider);
}

// Since the view was made, its own format or the target may have changed: it then sees tiles only.
bool AsSurfaceElementProvider::hasShapeOfTarget() const {
    if (!hasElementsOfTarget()) {
        return false;
    }
    const Extent own = pixelsOf(m_texture, 0);
    const Extent shown = pixelsOf(getProxied()->getTexture(), m_surfaceIndex.mip);
    return own.m_wide == shown.m_wide && own.m_tall == shown.m_tall;
}

ElementRows AsSurfaceElementProvider::doGetElementRows(const SurfaceIndex*) const {
    return hasShapeOfTarget() ? getProxied()->getElementRows(&m_surfaceIndex) : ElementRows{};
}

ElementRows AsSurfaceElementProvider::doGetElementRun(const SurfaceIndex*, unsigned x, unsigned y) const {
    return hasShapeOfTarget() ? getProxied()->getElementRun(&m_surfaceIndex, x, y) : ElementRows{};
}

bool AsSurfaceElementProvider::doGetStrip(const SurfaceIndex*, const ElementRows& strip, unsigned x,
                                          unsigned y) const {
    return hasShapeOfTarget() && getProxied()->getStrip(&m_surfaceIndex, strip, x, y);
}

bool AsSurfaceElementProvider::doPutStrip(const SurfaceIndex*, const ElementRows& strip, unsigned x,
                                          unsigned y) const {
    return hasShapeOfTarget() && getProxied()->putStrip(&m_surfaceIndex, strip, x, y);
}

} // namespace qor::Texsmith::Raw
