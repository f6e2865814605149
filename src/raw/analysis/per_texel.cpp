// Measures that want decoded texels: a pass that hands each tile's texels, less its padding, to the measure.
#include "qor/texsmith/raw/per_tile.h"

#include "raw/analysis/tile_decoder.h"
#include "raw/configuration/provider_settings.h"
#include "raw/frame/check.h"
#include "raw/texels/codec.h"
#include "raw/texels/texture_format.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\analysis\\per_texel";
constexpr unsigned kTilesAtOnce = 16; // whose texels stay in the nearest cache

} // namespace

PerTexel::PerTexel(const ElementProvider* elementProvider, Configuration* configuration)
    : m_elementProvider(elementProvider) {
    const bool hasProvider = checkNotNull(elementProvider, kSourcePath, "elementProvider must not be NULL.");
    if (checkNotNull(configuration, kSourcePath, "configuration must not be NULL.")) {
        m_decoderConfiguration = configuration->m_decoderConfiguration;
    }
    if (hasProvider) {
        m_decoderConfiguration = decoderFor(*elementProvider, m_decoderConfiguration);
    }
}

Error PerTexel::doPerTileCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex, unsigned x,
                                  unsigned y) const {
    if (m_elementProvider == nullptr) {
        return kErrorFailed;
    }
    const SurfaceFormatInfo& info = infoOf(m_decoderConfiguration.getTexture()->getDataFormat());
    if (info.decodeTile == nullptr) {
        return kErrorFailed;
    }
    if (m_elementProvider->surfaceIsOutside(surfaceIndex)) {
        return kErrorNone;
    }
    Tile stored = {}, texels = {};
    m_elementProvider->getTile(surfaceIndex, &stored, x, y);
    decodeTileAndModify(&texels, &stored, packedPitchInBytes(info, 8), &m_decoderConfiguration);
    reportTexels(callbackId, texels, surfaceIndex->mip, x, y);
    return kErrorNone;
}

// Strips of tiled providers are left to getTile.
OpenSurface PerTexel::doOpenSurface(const SurfaceIndex* surfaceIndex) const {
    OpenSurface surface;
    if (m_elementProvider != nullptr && TileDecoder::canDecode(m_decoderConfiguration)) {
        surface.m_isHidden = m_elementProvider->surfaceIsOutside(surfaceIndex);
        surface.m_source = m_elementProvider->getElementRows(surfaceIndex);
        surface.m_hasRows = surface.m_source.m_memory != nullptr;
    }
    return surface;
}

unsigned PerTexel::doLeadingTiles(unsigned callbackId, const SurfaceIndex* surfaceIndex,
                                  const OpenSurface& surface, unsigned y) const {
    const unsigned mip = surfaceIndex->mip;
    if (surface.m_isHidden) {
        return m_elementProvider->getTilesWide(mip);
    }
    if (!surface.m_hasRows) {
        return 0; // the decoder knows formats with rows only
    }
    const TileDecoder decoder(m_decoderConfiguration);
    Tile tiles[kTilesAtOnce];
    return surface.forWholeTiles(*m_elementProvider, mip, y, kTilesAtOnce, [&](unsigned x, unsigned count) {
        decoder.decode(tiles, surface.m_source, x, y, count);
        doTiles(callbackId, tiles, count);
        return true;
    });
}

void PerTexel::doTiles(unsigned callbackId, const Tile* tiles, unsigned count) const {
    for (unsigned i = 0; i < count; ++i) {
        doTexels(callbackId, tiles[i].m_texels, 64);
    }
}

// The padding of a tile that overhangs the surface must not be counted.
void PerTexel::reportTexels(unsigned callbackId, const Tile& texels, unsigned mip, unsigned x,
                            unsigned y) const {
    const unsigned wide = m_elementProvider->getPixelsWide(mip), tall = m_elementProvider->getPixelsTall(mip);
    const unsigned left = x * 8, top = y * 8;
    if (left + 8 <= wide && top + 8 <= tall) {
        doTiles(callbackId, &texels, 1);
        return;
    }
    for (unsigned row = 0; row < 8 && top + row < tall; ++row) {
        for (unsigned column = 0; column < 8 && left + column < wide; ++column) {
            doTexels(callbackId, &texels.m_texels[row * 8 + column], 1);
        }
    }
}

} // namespace qor::Texsmith::Raw
