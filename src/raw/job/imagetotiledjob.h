// Tiles all surfaces of an image, row by row of elements. `rowOrder` is how its memory has them: of an image
// from the bottom up nothing but the memory is asked.
#pragma once

#include "qor/texsmith/raw/image.h"
#include "qor/texsmith/raw/per_tile.h"
#include "raw/surfaces/row_order.h"

namespace qor::Texsmith::Raw {

class ImageToTiledJob : public PerElementRowsJob {
public:
    ImageToTiledJob(const Image* image, MemoryRegion tiled, Configuration* configuration, RowOrder rowOrder)
        : PerElementRowsJob(image, configuration), m_image(image), m_tiled(tiled), m_rowOrder(rowOrder) {}

private:
    Error doPerElementRowsCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex, unsigned begin,
                                   unsigned end) const override;

    const Image* m_image;
    MemoryRegion m_tiled;
    RowOrder m_rowOrder;
};

} // namespace qor::Texsmith::Raw
