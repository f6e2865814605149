// Moves stored elements.
#pragma once

#include "qor/texsmith/raw/per_tile.h"

namespace qor::Texsmith::Raw {

class CopyPerTile final : public PerTile {
public:
    CopyPerTile(const ElementProvider* destination, const ElementProvider* source)
        : m_destination(destination), m_source(source) {}

private:
    Error doPerTileCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex, unsigned x,
                            unsigned y) const override;
    OpenSurface doOpenSurface(const SurfaceIndex* surfaceIndex) const override;
    unsigned doLeadingTiles(unsigned callbackId, const SurfaceIndex* surfaceIndex, const OpenSurface& surface,
                            unsigned y) const override;

    const ElementProvider* m_destination;
    const ElementProvider* m_source;
};

} // namespace qor::Texsmith::Raw
