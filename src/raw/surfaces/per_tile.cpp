// Walks over surfaces as jobs: who visits which surface, row and tile, and in which order.
#include "qor/texsmith/raw/per_tile.h"

#include "raw/frame/check.h"
#include "raw/surfaces/walk.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\surfaces\\per_tile";

} // namespace

PerSurfaceJob::PerSurfaceJob(const ElementProvider* elementProvider)
    : PerSurfaceJob(elementProvider, nullptr) {}

PerSurfaceJob::PerSurfaceJob(const ElementProvider* elementProvider, Configuration* configuration)
    : Job(configuration, 0), m_elementProvider(elementProvider) {
    if (checkNotNull(elementProvider, kSourcePath, "elementProvider must not be NULL.")) {
        m_surfaceCount = elementProvider->getSurfaceCount();
    }
}

Error PerSurfaceJob::doCallback(unsigned callbackId) const {
    if (m_elementProvider == nullptr) {
        return kErrorFailed;
    }
    for (SurfaceWalk walk(m_surfaceCount, m_elementProvider->getTexture()); !walk.atEnd(); walk.advance()) {
        const Error error = doPerSurfaceCallback(callbackId, &walk.index());
        if (error != kErrorNone) {
            return error;
        }
    }
    return kErrorNone;
}

Error PerElementRowsJob::doPerSurfaceCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex) const {
    const WorkItems rows = getWorkItems(callbackId, getElementProvider()->getElementsTall(surfaceIndex->mip));
    return doPerElementRowsCallback(callbackId, surfaceIndex, rows.m_begin, rows.m_end);
}

Error PerBlockRowsJob::doPerSurfaceCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex) const {
    const WorkItems rows = getWorkItems(callbackId, getElementProvider()->getBlocksTall(surfaceIndex->mip));
    return doPerBlockRowsCallback(callbackId, surfaceIndex, rows.m_begin, rows.m_end);
}

Error PerTile::perTileCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex, unsigned x,
                               unsigned y) const {
    if (!checkNotNull(surfaceIndex, kSourcePath, "surfaceIndex must not be NULL.")) {
        return kErrorFailed;
    }
    return doPerTileCallback(callbackId, surfaceIndex, x, y);
}

OpenSurface PerTile::openSurface(const SurfaceIndex* surfaceIndex) const {
    const bool hasIndex = checkNotNull(surfaceIndex, kSourcePath, "surfaceIndex must not be NULL.");
    return hasIndex ? doOpenSurface(surfaceIndex) : OpenSurface{};
}

unsigned PerTile::leadingTiles(unsigned callbackId, const SurfaceIndex* surfaceIndex,
                               const OpenSurface& surface, unsigned y) const {
    const bool hasIndex = checkNotNull(surfaceIndex, kSourcePath, "surfaceIndex must not be NULL.");
    return hasIndex ? doLeadingTiles(callbackId, surfaceIndex, surface, y) : 0;
}

Error PerTile::doPrologue(unsigned) const { return kErrorNone; }
Error PerTile::doEpilogue(unsigned) const { return kErrorNone; }
OpenSurface PerTile::doOpenSurface(const SurfaceIndex*) const { return {}; }
unsigned PerTile::doLeadingTiles(unsigned, const SurfaceIndex*, const OpenSurface&, unsigned) const {
    return 0;
}

PerTileJob::PerTileJob(const ElementProvider* elementProvider, PerTile* perTile, Configuration* configuration)
    : PerSurfaceJob(elementProvider, configuration), m_chain{}, m_length(0), m_isWhole(false) {
    init(&perTile, 1);
}

PerTileJob::PerTileJob(const ElementProvider* elementProvider, PerTile** chain, Configuration* configuration,
                       unsigned length)
    : PerSurfaceJob(elementProvider, configuration), m_chain{}, m_length(0), m_isWhole(false) {
    init(chain, length);
}

void PerTileJob::init(PerTile** chain, unsigned length) {
    if (!checkNotNull(chain, kSourcePath, "chain must not be NULL.")) {
        return;
    }
    if (length > kMaxChain) {
        toolsAssert(kSourcePath, __LINE__,
                    "maximum length of PerTile chain is %d but a chain of %d was attempted",
                    static_cast<int>(kMaxChain), static_cast<int>(length));
    }
    m_isWhole = length <= kMaxChain;
    for (unsigned i = 0; i < length && i < kMaxChain; ++i) {
        if (checkNotNull(chain[i], kSourcePath, "perTile must not be NULL.")) {
            m_chain[m_length++] = chain[i];
            chain[i]->prologue(static_cast<unsigned>(getCallbacks()));
        } else {
            m_isWhole = false;
        }
    }
}

Error PerTileJob::doCallback(unsigned callbackId) const {
    return m_isWhole ? PerSurfaceJob::doCallback(callbackId) : kErrorFailed;
}

Error PerTileJob::doPerSurfaceCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex) const {
    const WorkItems rows = getWorkItems(callbackId, getElementProvider()->getTilesTall(surfaceIndex->mip));
    if (rows.m_begin >= rows.m_end) {
        return kErrorNone;
    }
    OpenSurface surfaces[kMaxChain];
    for (unsigned i = 0; i < m_length; ++i) {
        surfaces[i] = m_chain[i]->openSurface(surfaceIndex);
    }
    for (unsigned y = rows.m_begin; y < rows.m_end; ++y) {
        if (isAborted()) {
            return kErrorAborted;
        }
        const Error error = walkRow(callbackId, surfaceIndex, surfaces, y);
        if (error != kErrorNone) {
            return error;
        }
    }
    return kErrorNone;
}

// A pass may read what an earlier one writes: none takes tiles ahead before those are done with the row.
Error PerTileJob::walkRow(unsigned callbackId, const SurfaceIndex* surfaceIndex, const OpenSurface* surfaces,
                          unsigned y) const {
    for (unsigned i = 0; i < m_length; ++i) {
        const unsigned done = m_chain[i]->leadingTiles(callbackId, surfaceIndex, surfaces[i], y);
        const unsigned end = done == 0 ? m_length : i + 1;
        const Error error = walkTiles(callbackId, surfaceIndex, {done, y}, {i, end});
        if (error != kErrorNone || done == 0) {
            return error;
        }
    }
    return kErrorNone;
}

Error PerTileJob::walkTiles(unsigned callbackId, const SurfaceIndex* surfaceIndex, FirstTile first,
                            Passes passes) const {
    const unsigned tilesWide = getElementProvider()->getTilesWide(surfaceIndex->mip);
    for (unsigned x = first.m_x; x < tilesWide; ++x) {
        for (unsigned i = passes.m_begin; i < passes.m_end; ++i) {
            const Error error = m_chain[i]->perTileCallback(callbackId, surfaceIndex, x, first.m_y);
            if (error != kErrorNone) {
                return error;
            }
        }
    }
    return kErrorNone;
}

Error PerTileJob::doEpilogue() const {
    for (unsigned i = 0; i < m_length; ++i) {
        const Error error = m_chain[i]->epilogue(static_cast<unsigned>(getCallbacks()));
        if (error != kErrorNone) {
            return error;
        }
    }
    return kErrorNone;
}

} // namespace qor::Texsmith::Raw
