#include "raw/tile_conversion.h"

#include "raw/format_channels.h"
#include "raw/format_codec.h"
#include "raw/texture_format.h"
#include "simd/float4.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr unsigned kTexels = 64;

const SurfaceFormatInfo& rowOf(const DecoderConfiguration* configuration) {
    return infoOf(formatOf(configuration));
}

void swizzleTile(Tile* tile, const DecoderConfiguration* configuration) {
    g_swizzleFloat[swizzleIndex(formatOf(configuration))](tile, kTexels);
}

void decodeAndSwizzle(Tile* tile, const void* source, unsigned pitch,
                      const DecoderConfiguration* configuration) {
    rowOf(configuration).decodeTile(tile, source, pitch, configuration);
    swizzleTile(tile, configuration);
}

void decodeAndTransform(Tile* tile, const void* source, unsigned pitch,
                        const DecoderConfiguration* configuration) {
    rowOf(configuration).decodeTile(tile, source, pitch, configuration);
    configuration->m_transform.Decode(tile);
}

void swizzleAndEncode(void* destination, unsigned pitch, const Tile* source,
                      const EncoderConfiguration* configuration) {
    Tile tile = *source;
    swizzleTile(&tile, configuration);
    rowOf(configuration).encodeTile(destination, pitch, &tile, configuration);
}

void transformAndEncode(void* destination, unsigned pitch, const Tile* source,
                        const EncoderConfiguration* configuration) {
    Tile tile = *source;
    configuration->m_transform.Encode(&tile);
    rowOf(configuration).encodeTile(destination, pitch, &tile, configuration);
}

// Unsigned integers count as signed ones: from 2^31 on they become negative.
void integersToFloats(Tile* tile) {
    for (VectorFloat& texel : tile->m_texels) {
        Simd::store(&texel, Simd::toFloats(Simd::loadInts(&texel)));
    }
}

void floatsToIntegers(Tile* tile) {
    for (VectorFloat& texel : tile->m_texels) {
        Simd::store(&texel, Simd::roundToInts(Simd::loadFloats(&texel)));
    }
}

} // namespace

TileConversion::TileConversion(const DecoderConfiguration& decoder, const EncoderConfiguration& encoder)
    : m_decoder(decoder), m_encoder(encoder), m_decodeTile(chooseDecode(decoder)),
      m_convertTexels(chooseConvert(decoder.getTexture()->getTextureChannelType(),
                                    encoder.getTexture()->getTextureChannelType())),
      m_encodeTile(chooseEncode(encoder)) {}

bool TileConversion::canConvert(Vex::DataFormat from, Vex::DataFormat to) {
    return infoOf(from).decodeTile != nullptr && infoOf(to).encodeTile != nullptr;
}

DecodeArea<Tile> TileConversion::chooseDecode(const DecoderConfiguration& decoder) {
    const bool swizzles = !isIdentitySwizzle(formatOf(&decoder));
    if (decoder.m_transform.isNop()) {
        return swizzles ? decodeAndSwizzle : rowOf(&decoder).decodeTile;
    }
    return swizzles ? decodeTileAndModify : decodeAndTransform;
}

EncodeArea<Tile> TileConversion::chooseEncode(const EncoderConfiguration& encoder) {
    const bool swizzles = !isIdentitySwizzle(formatOf(&encoder));
    if (encoder.m_transform.isNop()) {
        return swizzles ? swizzleAndEncode : rowOf(&encoder).encodeTile;
    }
    return swizzles ? encodeTileAndModify : transformAndEncode;
}

TileConversion::ConvertTexels TileConversion::chooseConvert(Vex::TextureChannelType from,
                                                            Vex::TextureChannelType to) {
    const bool fromFloats = isFloatingChannelType(from), toFloats = isFloatingChannelType(to);
    if (fromFloats == toFloats) {
        return nullptr;
    }
    return toFloats ? integersToFloats : floatsToIntegers;
}

void TileConversion::convert(void* destination, unsigned destinationPitch, const void* source,
                             unsigned sourcePitch) const {
    Tile texels = {}; // decoders leave the lanes of absent channels as they are
    m_decodeTile(&texels, source, sourcePitch, &m_decoder);
    if (m_convertTexels != nullptr) {
        m_convertTexels(&texels);
    }
    m_encodeTile(destination, destinationPitch, &texels, &m_encoder);
}

} // namespace qor::Texsmith::Raw
