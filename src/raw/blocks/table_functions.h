// The functions of the compressed rows: blocks through their codecs.
//
// Destinations and sources are one element, and the row pitch plays no part, or the four elements of a tile,
// which are encoded as one run.
#pragma once

#include "qor/texsmith/raw/format.h"

namespace qor::Texsmith::Raw {

// Bc1, Bc2, Bc3 and Bc7, whose decoded texels are bytes. These are then converted as the format's channel
// type says: sRGB is decoded here. The conversion of the hardware gives the first texel for all sixteen where
// the type is sRGB, like every run that it decodes.
template <Vex::SurfaceFormat kFormat> struct ColourBlocks {
    static void encode(void* destination, unsigned rowPitchInBytes, const Block* source,
                       const EncoderConfiguration* configuration);
    static void encodeTile(void* destination, unsigned rowPitchInBytes, const Tile* source,
                           const EncoderConfiguration* configuration);
    static void decode(Block* destination, const void* source, unsigned rowPitchInBytes,
                       const DecoderConfiguration* configuration);
    static void hardwareDecode(Block* destination, const void* source, unsigned rowPitchInBytes,
                               const DecoderConfiguration* configuration);
    static void encodeBytes(void* destination, unsigned rowPitchInBytes, const Block8* source,
                            const EncoderConfiguration* configuration);
    static void decodeBytes(Block8* destination, const void* source, unsigned rowPitchInBytes,
                            const DecoderConfiguration* configuration);
};

// Bc4, Bc5 and Bc6. Only the lanes that the format has are decoded: the caller hands in zeros. Bc6 has all
// four, with an alpha of one.
template <Vex::SurfaceFormat kFormat> struct ChannelBlocks {
    static void encode(void* destination, unsigned rowPitchInBytes, const Block* source,
                       const EncoderConfiguration* configuration);
    static void encodeTile(void* destination, unsigned rowPitchInBytes, const Tile* source,
                           const EncoderConfiguration* configuration);
    static void decode(Block* destination, const void* source, unsigned rowPitchInBytes,
                       const DecoderConfiguration* configuration);
};

extern template struct ColourBlocks<Vex::kSurfaceFormatBc1>;
extern template struct ColourBlocks<Vex::kSurfaceFormatBc2>;
extern template struct ColourBlocks<Vex::kSurfaceFormatBc3>;
extern template struct ColourBlocks<Vex::kSurfaceFormatBc7>;
extern template struct ChannelBlocks<Vex::kSurfaceFormatBc4>;
extern template struct ChannelBlocks<Vex::kSurfaceFormatBc5>;
extern template struct ChannelBlocks<Vex::kSurfaceFormatBc6>;

} // namespace qor::Texsmith::Raw
