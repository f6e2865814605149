// The change of format of one tile or block: decode, convert between integers and floats, encode.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/format.h"

namespace qor::Texsmith::Raw {

// All steps are chosen once, from the configurations, of which it takes copies. Immutable. An area is a Tile
// or a Block.
template <typename Area> class AreaConversion {
public:
    AreaConversion(const DecoderConfiguration& decoder, const EncoderConfiguration& encoder);

    // Whether both formats have the functions that it takes.
    static bool canConvert(Vex::DataFormat from, Vex::DataFormat to);

    // Texels as they are stored, in rows of elements that lie the pitches apart.
    void convert(void* destination, unsigned destinationPitch, const void* source,
                 unsigned sourcePitch) const;
    // The steps up to the encoder's own, and then what the encoder does before the row's function.
    void decode(Area* texels, const void* source, unsigned sourcePitch) const;
    void modify(Area* texels) const;

    const DecoderConfiguration& decoder() const { return m_decoder; }
    const EncoderConfiguration& encoder() const { return m_encoder; }

private:
    using ConvertTexels = void (*)(VectorFloat* texels, unsigned count);

    static DecodeArea<Area> chooseDecode(const DecoderConfiguration& decoder);
    static EncodeArea<Area> chooseEncode(const EncoderConfiguration& encoder);

    DecoderConfiguration m_decoder;
    EncoderConfiguration m_encoder;
    DecodeArea<Area> m_decodeArea;
    ConvertTexels m_convertTexels; // null where the lanes stay as they are
    EncodeArea<Area> m_encodeArea;
};

extern template class AreaConversion<Tile>;
extern template class AreaConversion<Block>;

using TileConversion = AreaConversion<Tile>;
using BlockConversion = AreaConversion<Block>;

} // namespace qor::Texsmith::Raw
