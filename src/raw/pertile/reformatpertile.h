// The general change of format: decode, convert between integers and floats, encode.
#pragma once

#include "qor/texsmith/raw/format.h"
#include "qor/texsmith/raw/per_tile.h"
#include "raw/rows/block_row_conversion.h"
#include "raw/rows/row_conversion.h"

namespace qor::Texsmith::Raw {

// Takes copies of the configurations; the providers must outlive it. All steps are chosen here, once.
class ReformatPerTile final : public PerTile {
public:
    ReformatPerTile(const ElementProvider* source, const ElementProvider* destination,
                    const Configuration* configuration);

    // Whether both formats have the functions that it takes to read and to write a tile.
    static bool canReformat(const ElementProvider* source, const ElementProvider* destination);

private:
    Error doPerTileCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex, unsigned x,
                            unsigned y) const override;
    OpenSurface doOpenSurface(const SurfaceIndex* surfaceIndex) const override;
    unsigned doLeadingTiles(unsigned callbackId, const SurfaceIndex* surfaceIndex, const OpenSurface& surface,
                            unsigned y) const override;

    const ElementProvider* m_source;
    const ElementProvider* m_destination;
    TileConversion m_tiles;
    RowConversion m_rows;
    BlockRowConversion m_blocks;
    bool m_byRows; // both formats store single texels
    unsigned m_sourcePitch;
    unsigned m_destinationPitch;
};

} // namespace qor::Texsmith::Raw
