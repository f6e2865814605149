// The general change of format, tile by tile: decode, convert between integers and floats, encode.
#pragma once

#include "qor/texsmith/raw/format.h"
#include "qor/texsmith/raw/per_tile.h"

namespace qor::Texsmith::Raw {

// Takes copies of the configurations; the providers must outlive it. All steps are chosen here, once.
class ReformatPerTile final : public PerTile {
public:
    ReformatPerTile(const ElementProvider* source, const ElementProvider* destination,
                    const Configuration* configuration);

    // Whether both formats have the functions that it takes to read and to write a tile.
    static bool canReformat(const ElementProvider* source, const ElementProvider* destination);

private:
    using ConvertTile = void (*)(Tile* tile);

    static DecodeArea<Tile> chooseDecode(const DecoderConfiguration& decoder);
    static EncodeArea<Tile> chooseEncode(const EncoderConfiguration& encoder);
    static ConvertTile chooseConvert(Vex::TextureChannelType from, Vex::TextureChannelType to);
    Error doPerTileCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex, unsigned x,
                            unsigned y) const override;

    const ElementProvider* m_source;
    const ElementProvider* m_destination;
    DecoderConfiguration m_decoder;
    EncoderConfiguration m_encoder;
    DecodeArea<Tile> m_decodeTile;
    ConvertTile m_convertTile; // null where the lanes stay as they are
    EncodeArea<Tile> m_encodeTile;
    unsigned m_sourcePitch;
    unsigned m_destinationPitch;
};

} // namespace qor::Texsmith::Raw
