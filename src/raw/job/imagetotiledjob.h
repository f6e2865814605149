// Tiles all surfaces of an image, row by row of elements.
#pragma once

#include "qor/texsmith/raw/image.h"
#include "qor/texsmith/raw/per_tile.h"

namespace qor::Texsmith::Raw {

class ImageToTiledJob : public PerElementRowsJob {
public:
    ImageToTiledJob(const Image* image, MemoryRegion tiled, Configuration* configuration)
        : PerElementRowsJob(image, configuration), m_image(image), m_tiled(tiled) {}

private:
    Error doPerElementRowsCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex, unsigned begin,
                                   unsigned end) const override;

    const Image* m_image;
    MemoryRegion m_tiled;
};

} // namespace qor::Texsmith::Raw
