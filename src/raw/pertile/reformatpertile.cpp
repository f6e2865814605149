#include "raw/pertile/reformatpertile.h"

#include "raw/compose_modifiers.h"
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

ReformatPerTile::ReformatPerTile(const ElementProvider* source, const ElementProvider* destination,
                                 const Configuration* configuration)
    : m_source(source), m_destination(destination), m_decoder(configuration->m_decoderConfiguration),
      m_encoder(configuration->m_encoderConfiguration) {
    m_decoder.setTexture(&source->getTexture());
    m_encoder.setTexture(&destination->getTexture());
    composeDecoder(&m_decoder, source->getModifiers());
    composeEncoder(&m_encoder, destination->getModifiers());
    m_decodeTile = chooseDecode(m_decoder);
    m_encodeTile = chooseEncode(m_encoder);
    m_convertTile = chooseConvert(m_decoder.getTexture()->getTextureChannelType(),
                                  m_encoder.getTexture()->getTextureChannelType());
    m_sourcePitch = getTilePitchInBytes(source->getDataFormat());
    m_destinationPitch = getTilePitchInBytes(destination->getDataFormat());
}

bool ReformatPerTile::canReformat(const ElementProvider* source, const ElementProvider* destination) {
    return infoOf(source->getDataFormat()).decodeTile != nullptr &&
           infoOf(destination->getDataFormat()).encodeTile != nullptr;
}

DecodeArea<Tile> ReformatPerTile::chooseDecode(const DecoderConfiguration& decoder) {
    const bool swizzles = !isIdentitySwizzle(formatOf(&decoder));
    if (decoder.m_transform.isNop()) {
        return swizzles ? decodeAndSwizzle : rowOf(&decoder).decodeTile;
    }
    return swizzles ? decodeTileAndModify : decodeAndTransform;
}

EncodeArea<Tile> ReformatPerTile::chooseEncode(const EncoderConfiguration& encoder) {
    const bool swizzles = !isIdentitySwizzle(formatOf(&encoder));
    if (encoder.m_transform.isNop()) {
        return swizzles ? swizzleAndEncode : rowOf(&encoder).encodeTile;
    }
    return swizzles ? encodeTileAndModify : transformAndEncode;
}

ReformatPerTile::ConvertTile ReformatPerTile::chooseConvert(Vex::TextureChannelType from,
                                                            Vex::TextureChannelType to) {
    const bool fromFloats = isFloatingChannelType(from), toFloats = isFloatingChannelType(to);
    if (fromFloats == toFloats) {
        return nullptr;
    }
    return toFloats ? integersToFloats : floatsToIntegers;
}

Error ReformatPerTile::doPerTileCallback(unsigned, const SurfaceIndex* surfaceIndex, unsigned x,
                                         unsigned y) const {
    Tile raw = {}, texels = {}; // decoders leave the lanes of absent channels as they are
    m_source->getTile(surfaceIndex, &raw, x, y);
    m_decodeTile(&texels, &raw, m_sourcePitch, &m_decoder);
    if (m_convertTile != nullptr) {
        m_convertTile(&texels);
    }
    Tile encoded = {};
    m_encodeTile(&encoded, m_destinationPitch, &texels, &m_encoder);
    m_destination->putTile(surfaceIndex, &encoded, x, y);
    return kErrorNone;
}

} // namespace qor::Texsmith::Raw
