#include "qor/texsmith/raw/view.h"
#include "raw/frame/check.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\elementprovider\\assurfaceelementprovider";

} // namespace

AsSurfaceElementProvider::AsSurfaceElementProvider(const ElementProvider* target,
                                                   const SurfaceIndex* surfaceIndex) {
    setTarget(target, surfaceIndex);
}

void AsSurfaceElementProvider::setTarget(const ElementProvider* target, const SurfaceIndex* surfaceIndex) {
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

// A view whose format was exchanged for another size of element sees tiles only.
bool AsSurfaceElementProvider::hasElementsOfTarget() const {
    return getProxied() != nullptr && getProxied()->getBytesPerElement() == getBytesPerElement() &&
           getProxied()->getPixelsPerElementWide() == getPixelsPerElementWide();
}

ElementRows AsSurfaceElementProvider::doGetElementRows(const SurfaceIndex*) const {
    return hasElementsOfTarget() ? getProxied()->getElementRows(&m_surfaceIndex) : ElementRows{};
}

bool AsSurfaceElementProvider::doGetStrip(const SurfaceIndex*, const ElementRows& strip, unsigned x,
                                          unsigned y) const {
    return hasElementsOfTarget() && getProxied()->getStrip(&m_surfaceIndex, strip, x, y);
}

bool AsSurfaceElementProvider::doPutStrip(const SurfaceIndex*, const ElementRows& strip, unsigned x,
                                          unsigned y) const {
    return hasElementsOfTarget() && getProxied()->putStrip(&m_surfaceIndex, strip, x, y);
}

} // namespace qor::Texsmith::Raw
