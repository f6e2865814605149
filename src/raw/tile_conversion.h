// The change of format of one tile: decode, convert between integers and floats, encode.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/format.h"

namespace qor::Texsmith::Raw {

// All steps are chosen once, from the configurations, of which it takes copies. Immutable.
class TileConversion {
public:
    TileConversion(const DecoderConfiguration& decoder, const EncoderConfiguration& encoder);

    // Whether both formats have the functions that it takes.
    static bool canConvert(Vex::DataFormat from, Vex::DataFormat to);

    // 8 x 8 texels as they are stored, in rows of elements that lie the pitches apart.
    void convert(void* destination, unsigned destinationPitch, const void* source,
                 unsigned sourcePitch) const;

    const DecoderConfiguration& decoder() const { return m_decoder; }
    const EncoderConfiguration& encoder() const { return m_encoder; }

private:
    using ConvertTexels = void (*)(Tile* tile);

    static DecodeArea<Tile> chooseDecode(const DecoderConfiguration& decoder);
    static EncodeArea<Tile> chooseEncode(const EncoderConfiguration& encoder);
    static ConvertTexels chooseConvert(Vex::TextureChannelType from, Vex::TextureChannelType to);

    DecoderConfiguration m_decoder;
    EncoderConfiguration m_encoder;
    DecodeArea<Tile> m_decodeTile;
    ConvertTexels m_convertTexels; // null where the lanes stay as they are
    EncodeArea<Tile> m_encodeTile;
};

} // namespace qor::Texsmith::Raw
