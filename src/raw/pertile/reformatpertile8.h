// The change of format by stored bytes, for formats with eight-bit blocks and equal channel types.
#pragma once

#include "qor/texsmith/raw/format.h"
#include "qor/texsmith/raw/per_tile.h"
#include "raw/rows/block_row_conversion.h"
#include "raw/rows/row_conversion.h"

#include <array>
#include <optional>

namespace qor::Texsmith::Raw {

// Takes copies of the configurations; the providers must outlive it. Reports null arguments and differing
// dimensions; with a null argument every tile fails.
class ReformatPerTile8 final : public PerTile {
public:
    ReformatPerTile8(const ElementProvider* source, const ElementProvider* destination,
                     const Configuration* configuration);

    static bool canReformat(const ElementProvider* source, const ElementProvider* destination);

private:
    // Where the blocks top left, top right, bottom left and bottom right begin in a raw tile.
    using QuadrantOffsets = std::array<unsigned, 4>;

    static QuadrantOffsets quadrantOffsets(const SurfaceFormatInfo& info, unsigned pitch);
    Error doPerTileCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex, unsigned x,
                            unsigned y) const override;
    OpenSurface doOpenSurface(const SurfaceIndex* surfaceIndex) const override;
    unsigned doLeadingTiles(unsigned callbackId, const SurfaceIndex* surfaceIndex, const OpenSurface& surface,
                            unsigned y) const override;

    const ElementProvider* m_source;
    const ElementProvider* m_destination;
    DecoderConfiguration m_decoder;
    EncoderConfiguration m_encoder;
    DecodeArea<Block8> m_decodeBlock8 = nullptr;
    EncodeArea<Block8> m_encodeBlock8 = nullptr;
    unsigned m_sourcePitch = 0;
    unsigned m_destinationPitch = 0;
    QuadrantOffsets m_sourceOffsets = {};
    QuadrantOffsets m_destinationOffsets = {};
    ByteConversion m_rows = {{}, {}};           // of texels that are stored as they are worked on
    std::optional<BlockRowConversion> m_blocks; // where a side is compressed
    bool m_byRows = false;
};

} // namespace qor::Texsmith::Raw
