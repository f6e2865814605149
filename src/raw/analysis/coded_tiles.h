// Whole tiles of a provider to texels and back.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/element_provider.h"
#include "raw/configuration/provider_settings.h"
#include "raw/texels/codec.h"
#include "raw/texels/texture_format.h"

namespace qor::Texsmith::Raw {

inline bool canDecodeTiles(const ElementProvider& provider) {
    return infoOf(provider.getDataFormat()).decodeTile != nullptr;
}

inline bool canEncodeTiles(const ElementProvider& provider) {
    return infoOf(provider.getDataFormat()).encodeTile != nullptr;
}

// All 64 texels, those beyond the edges too: there is what the provider gives for them.
inline void decodeTileOf(Tile* texels, const ElementProvider& provider, const SurfaceIndex* surfaceIndex,
                         unsigned x, unsigned y, const DecoderConfiguration& decoder) {
    Tile stored = {};
    *texels = {};
    provider.getTile(surfaceIndex, &stored, x, y);
    decodeTileAndModify(texels, &stored, packedPitchInBytes(infoOf(formatOf(&decoder)), 8), &decoder);
}

inline void encodeTileTo(const ElementProvider& provider, const SurfaceIndex* surfaceIndex, unsigned x,
                         unsigned y, const Tile& texels, const EncoderConfiguration& encoder) {
    Tile stored = {};
    encodeTileAndModify(&stored, packedPitchInBytes(infoOf(formatOf(&encoder)), 8), &texels, &encoder);
    provider.putTile(surfaceIndex, &stored, x, y);
}

} // namespace qor::Texsmith::Raw
