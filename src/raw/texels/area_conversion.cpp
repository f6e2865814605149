#include "raw/texels/area_conversion.h"

#include "raw/texels/channels.h"
#include "raw/texels/codec.h"
#include "raw/texels/texture_format.h"
#include "simd/float4.h"

namespace qor::Texsmith::Raw {
namespace {

const SurfaceFormatInfo& rowOf(const DecoderConfiguration* configuration) {
    return infoOf(formatOf(configuration));
}

// The functions of a format's row and of the codec around it, by the kind of area.
template <typename Area> struct Functions;
template <> struct Functions<Tile> {
    static constexpr auto kDecode = &SurfaceFormatInfo::decodeTile;
    static constexpr auto kEncode = &SurfaceFormatInfo::encodeTile;
    static constexpr auto kDecodeAndModify = &decodeTileAndModify;
    static constexpr auto kEncodeAndModify = &encodeTileAndModify;
};
template <> struct Functions<Block> {
    static constexpr auto kDecode = &SurfaceFormatInfo::decodeBlock;
    static constexpr auto kEncode = &SurfaceFormatInfo::encodeBlock;
    static constexpr auto kDecodeAndModify = &decodeBlockAndModify;
    static constexpr auto kEncodeAndModify = &encodeBlockAndModify;
};

template <typename Area> constexpr unsigned kTexels = sizeof(Area) / sizeof(VectorFloat);

template <typename Area> void swizzleArea(Area* area, const DecoderConfiguration* configuration) {
    swizzleFloats(swizzleIndex(formatOf(configuration)), area, kTexels<Area>);
}

template <typename Area>
void decodeAndSwizzle(Area* area, const void* source, unsigned pitch,
                      const DecoderConfiguration* configuration) {
    (rowOf(configuration).*Functions<Area>::kDecode)(area, source, pitch, configuration);
    swizzleArea(area, configuration);
}

template <typename Area>
void decodeAndTransform(Area* area, const void* source, unsigned pitch,
                        const DecoderConfiguration* configuration) {
    (rowOf(configuration).*Functions<Area>::kDecode)(area, source, pitch, configuration);
    configuration->m_transform.Decode(area);
}

template <typename Area>
void swizzleAndEncode(void* destination, unsigned pitch, const Area* source,
                      const EncoderConfiguration* configuration) {
    Area area = *source;
    swizzleArea(&area, configuration);
    (rowOf(configuration).*Functions<Area>::kEncode)(destination, pitch, &area, configuration);
}

template <typename Area>
void transformAndEncode(void* destination, unsigned pitch, const Area* source,
                        const EncoderConfiguration* configuration) {
    Area area = *source;
    configuration->m_transform.Encode(&area);
    (rowOf(configuration).*Functions<Area>::kEncode)(destination, pitch, &area, configuration);
}

// Unsigned integers count as signed ones: from 2^31 on they become negative.
void integersToFloats(VectorFloat* texels, unsigned count) {
    for (VectorFloat* texel = texels; texel != texels + count; ++texel) {
        Simd::store(texel, Simd::toFloats(Simd::loadInts(texel)));
    }
}

void floatsToIntegers(VectorFloat* texels, unsigned count) {
    for (VectorFloat* texel = texels; texel != texels + count; ++texel) {
        Simd::store(texel, Simd::roundToInts(Simd::loadFloats(texel)));
    }
}

auto chooseConvert(Vex::TextureChannelType from, Vex::TextureChannelType to) {
    const bool fromFloats = isFloatingChannelType(from), toFloats = isFloatingChannelType(to);
    return fromFloats == toFloats ? nullptr : toFloats ? &integersToFloats : &floatsToIntegers;
}

} // namespace

template <typename Area>
AreaConversion<Area>::AreaConversion(const DecoderConfiguration& decoder, const EncoderConfiguration& encoder)
    : m_decoder(decoder), m_encoder(encoder), m_decodeArea(chooseDecode(decoder)),
      m_convertTexels(chooseConvert(decoder.getTexture()->getTextureChannelType(),
                                    encoder.getTexture()->getTextureChannelType())),
      m_encodeArea(chooseEncode(encoder)) {}

template <typename Area> bool AreaConversion<Area>::canConvert(Vex::DataFormat from, Vex::DataFormat to) {
    return infoOf(from).*Functions<Area>::kDecode != nullptr &&
           infoOf(to).*Functions<Area>::kEncode != nullptr;
}

template <typename Area>
DecodeArea<Area> AreaConversion<Area>::chooseDecode(const DecoderConfiguration& decoder) {
    const bool swizzles = !isIdentitySwizzle(formatOf(&decoder));
    if (decoder.m_transform.isNop()) {
        return swizzles ? &decodeAndSwizzle<Area> : rowOf(&decoder).*Functions<Area>::kDecode;
    }
    return swizzles ? Functions<Area>::kDecodeAndModify : &decodeAndTransform<Area>;
}

template <typename Area>
EncodeArea<Area> AreaConversion<Area>::chooseEncode(const EncoderConfiguration& encoder) {
    const bool swizzles = !isIdentitySwizzle(formatOf(&encoder));
    if (encoder.m_transform.isNop()) {
        return swizzles ? &swizzleAndEncode<Area> : rowOf(&encoder).*Functions<Area>::kEncode;
    }
    return swizzles ? Functions<Area>::kEncodeAndModify : &transformAndEncode<Area>;
}

template <typename Area>
void AreaConversion<Area>::convert(void* destination, unsigned destinationPitch, const void* source,
                                   unsigned sourcePitch) const {
    Area texels = {}; // decoders leave the lanes of absent channels as they are
    decode(&texels, source, sourcePitch);
    m_encodeArea(destination, destinationPitch, &texels, &m_encoder);
}

template <typename Area>
void AreaConversion<Area>::decode(Area* texels, const void* source, unsigned sourcePitch) const {
    m_decodeArea(texels, source, sourcePitch, &m_decoder);
    if (m_convertTexels != nullptr) {
        m_convertTexels(texels->m_texels, kTexels<Area>);
    }
}

template <typename Area> void AreaConversion<Area>::modify(Area* texels) const {
    if (!m_encoder.m_transform.isNop()) {
        m_encoder.m_transform.Encode(texels);
    }
    swizzleArea(texels, &m_encoder);
}

template class AreaConversion<Tile>;
template class AreaConversion<Block>;

} // namespace qor::Texsmith::Raw
