#include "raw/blocks/table_functions.h"

#include "qor/vex/data_formats.h"
#include "raw/blocks/bc6_decoder.h"
#include "raw/blocks/bc6_encoder.h"
#include "raw/blocks/bc7_decoder.h"
#include "raw/blocks/block_decoders.h"
#include "raw/blocks/block_encoders.h"
#include "raw/blocks/block_runs.h"
#include "raw/texels/sides.h"
#include "raw/texels/table_functions.h"
#include "raw/texels/texture_format.h"

#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

// Decoded blocks of bytes are texels of this format, with the texture's channel type.
Vex::DataFormat bytesFormatOf(const DecoderConfiguration* configuration) {
    return Vex::kDataFormatR8G8B8A8Unorm.withTextureChannelType(
        formatOf(configuration).getTextureChannelType());
}

using Decode8 = void (*)(std::uint8_t* destination, const std::uint8_t* source);
using DecodeLanes = void (*)(ColorRGBA32F* destination, const std::uint8_t* source, bool isSigned);
using Encode = void (*)(std::uint8_t* destination, const ColorRGBA32F* source,
                        const EncoderConfiguration& configuration);

void encodeOneBc1Block(std::uint8_t* destination, const ColorRGBA32F* source,
                       const EncoderConfiguration& configuration) {
    encodeBc1Block(destination, source, configuration, 1);
}

// What a format is coded by.
template <Vex::SurfaceFormat kFormat> struct Codec;
template <> struct Codec<Vex::kSurfaceFormatBc1> {
    static constexpr Encode kEncode = &encodeOneBc1Block;
    static constexpr Decode8 kDecode = &decodeBc1;
};
template <> struct Codec<Vex::kSurfaceFormatBc2> {
    static constexpr Encode kEncode = &encodeBc2Block;
    static constexpr Decode8 kDecode = &decodeBc2;
};
template <> struct Codec<Vex::kSurfaceFormatBc3> {
    static constexpr Encode kEncode = &encodeBc3Block;
    static constexpr Decode8 kDecode = &decodeBc3;
};
template <> struct Codec<Vex::kSurfaceFormatBc4> {
    static constexpr Encode kEncode = &encodeBc4Block;
    static constexpr DecodeLanes kDecode = &decodeBc4;
    static constexpr unsigned kLanes = 1;
};
template <> struct Codec<Vex::kSurfaceFormatBc5> {
    static constexpr Encode kEncode = &encodeBc5Block;
    static constexpr DecodeLanes kDecode = &decodeBc5;
    static constexpr unsigned kLanes = 2;
};
template <> struct Codec<Vex::kSurfaceFormatBc6> {
    static constexpr Encode kEncode = &encodeBc6Block;
    static constexpr DecodeLanes kDecode = &decodeBc6;
    static constexpr unsigned kLanes = 4;
};
template <> struct Codec<Vex::kSurfaceFormatBc7> {
    static constexpr Encode kEncode = &encodeBc7Block;
    static constexpr Decode8 kDecode = &decodeBc7Block;
};

void encodeTexels(Encode encode, void* destination, const VectorFloat* source,
                  const EncoderConfiguration* configuration) {
    ColorRGBA32F texels[kTexelsPerBlock];
    std::memcpy(texels, source, sizeof texels);
    encode(static_cast<std::uint8_t*>(destination), texels, *configuration);
}

// The four blocks of a tile, one after the other: top left, top right, bottom left, bottom right.
struct TileBlocks {
    ColorRGBA32F m_texels[4 * kTexelsPerBlock];

    explicit TileBlocks(const Tile& tile) {
        for (unsigned run = 0; run < 16; ++run) {
            const unsigned row = run / 8 * kBlockSide + run % 4, column = run / 4 % 2 * kBlockSide;
            std::memcpy(&m_texels[run * kBlockSide], &tile.m_texels[row * kTileSide + column],
                        kBlockSide * sizeof(VectorFloat));
        }
    }
};

template <Vex::SurfaceFormat kFormat>
void encodeTileAsRun(void* destination, unsigned rowPitchInBytes, const Tile& source,
                     const EncoderConfiguration& configuration) {
    constexpr bool kIsSmall = kFormat == Vex::kSurfaceFormatBc1 || kFormat == Vex::kSurfaceFormatBc4;
    constexpr std::size_t kPair = kIsSmall ? 16 : 32; // bytes of two blocks
    const TileBlocks blocks(source);
    std::uint8_t encoded[2 * kPair];
    findBlockRunEncoder(kFormat)(encoded, blocks.m_texels, configuration, 4);
    std::memcpy(destination, encoded, kPair);
    std::memcpy(static_cast<std::uint8_t*>(destination) + rowPitchInBytes, encoded + kPair, kPair);
}

Block8 decodeToBytes(Decode8 decode, const void* source) {
    Block8 bytes;
    decode(bytes.m_texels[0], static_cast<const std::uint8_t*>(source));
    return bytes;
}

} // namespace

template <Vex::SurfaceFormat kFormat>
void ColourBlocks<kFormat>::encode(void* destination, unsigned, const Block* source,
                                   const EncoderConfiguration* configuration) {
    encodeTexels(Codec<kFormat>::kEncode, destination, source->m_texels, configuration);
}

template <Vex::SurfaceFormat kFormat>
void ColourBlocks<kFormat>::encodeTile(void* destination, unsigned rowPitchInBytes, const Tile* source,
                                       const EncoderConfiguration* configuration) {
    encodeTileAsRun<kFormat>(destination, rowPitchInBytes, *source, *configuration);
}

template <Vex::SurfaceFormat kFormat>
void ColourBlocks<kFormat>::decode(Block* destination, const void* source, unsigned,
                                   const DecoderConfiguration* configuration) {
    const Block8 bytes = decodeToBytes(Codec<kFormat>::kDecode, source);
    const Vex::DataFormat format = bytesFormatOf(configuration);
    packedDecodeTexels(destination->m_texels, &bytes, &format, kTexelsPerBlock);
}

template <Vex::SurfaceFormat kFormat>
void ColourBlocks<kFormat>::hardwareDecode(Block* destination, const void* source, unsigned,
                                           const DecoderConfiguration* configuration) {
    const Block8 bytes = decodeToBytes(Codec<kFormat>::kDecode, source);
    const Vex::DataFormat format = bytesFormatOf(configuration);
    packedHardwareDecodeTexels(destination->m_texels, &bytes, &format, kTexelsPerBlock);
}

template <Vex::SurfaceFormat kFormat>
void ColourBlocks<kFormat>::encodeBytes(void* destination, unsigned, const Block8* source,
                                        const EncoderConfiguration* configuration) {
    const Vex::DataFormat format = bytesFormatOf(configuration);
    VectorFloat texels[kTexelsPerBlock] = {};
    packedDecodeTexels(texels, source, &format, kTexelsPerBlock);
    encodeTexels(Codec<kFormat>::kEncode, destination, texels, configuration);
}

template <Vex::SurfaceFormat kFormat>
void ColourBlocks<kFormat>::decodeBytes(Block8* destination, const void* source, unsigned,
                                        const DecoderConfiguration*) {
    *destination = decodeToBytes(Codec<kFormat>::kDecode, source);
}

template <Vex::SurfaceFormat kFormat>
void ChannelBlocks<kFormat>::encode(void* destination, unsigned, const Block* source,
                                    const EncoderConfiguration* configuration) {
    encodeTexels(Codec<kFormat>::kEncode, destination, source->m_texels, configuration);
}

template <Vex::SurfaceFormat kFormat>
void ChannelBlocks<kFormat>::encodeTile(void* destination, unsigned rowPitchInBytes, const Tile* source,
                                        const EncoderConfiguration* configuration) {
    encodeTileAsRun<kFormat>(destination, rowPitchInBytes, *source, *configuration);
}

template <Vex::SurfaceFormat kFormat>
void ChannelBlocks<kFormat>::decode(Block* destination, const void* source, unsigned,
                                    const DecoderConfiguration* configuration) {
    ColorRGBA32F texels[kTexelsPerBlock];
    Codec<kFormat>::kDecode(texels, static_cast<const std::uint8_t*>(source), configuration->isSigned());
    for (unsigned texel = 0; texel < kTexelsPerBlock; ++texel) {
        std::memcpy(&destination->m_texels[texel], &texels[texel], Codec<kFormat>::kLanes * sizeof(float));
    }
}

template struct ColourBlocks<Vex::kSurfaceFormatBc1>;
template struct ColourBlocks<Vex::kSurfaceFormatBc2>;
template struct ColourBlocks<Vex::kSurfaceFormatBc3>;
template struct ColourBlocks<Vex::kSurfaceFormatBc7>;
template struct ChannelBlocks<Vex::kSurfaceFormatBc4>;
template struct ChannelBlocks<Vex::kSurfaceFormatBc5>;
template struct ChannelBlocks<Vex::kSurfaceFormatBc6>;

} // namespace qor::Texsmith::Raw
