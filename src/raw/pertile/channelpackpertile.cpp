// The pass that puts the first channels of several surfaces together.
#include "qor/texsmith/raw/channel_packing.h"
#include "raw/analysis/coded_tiles.h"
#include "raw/frame/check.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\pertile\\channelpackpertile";

bool checkDimensions(const ElementProvider* source, const ElementProvider* destination, int number) {
    const bool agree = dimensionsAreIdentical(source, destination);
    if (!agree) {
        toolsAssert(kSourcePath, __LINE__, "source %d and destination must have the same dimensions.",
                    number);
    }
    return agree;
}

} // namespace

ChannelPackPerTile::ChannelPackPerTile(ElementProvider* destination, ElementProvider** sources,
                                       int sourceCount, Configuration* configuration)
    : m_destination(destination), m_sources{}, m_sourceCount(0), m_areAlike(true) {
    const bool hasDestination = checkNotNull(destination, kSourcePath, "destination must not be NULL.");
    const bool hasSources = checkNotNull(sources, kSourcePath, "source must not be NULL.");
    const bool hasSettings = checkNotNull(configuration, kSourcePath, "configuration must not be NULL.");
    const bool hasRoom = check(sourceCount > 0 && sourceCount <= kMaximumSources, kSourcePath,
                               "sources > 0 && sources <= kMaximumSources");
    if (!hasDestination || !hasSources || !hasSettings || !hasRoom) {
        return;
    }
    m_encoder = encoderFor(*destination, configuration->m_encoderConfiguration);
    bool isUsable = canEncodeTiles(*destination);
    for (int i = 0; i < sourceCount; ++i) {
        if (checkNotNull(sources[i], kSourcePath, "source must not be NULL.")) {
            m_areAlike = checkDimensions(sources[i], destination, i) && m_areAlike;
            isUsable = isUsable && canDecodeTiles(*sources[i]);
            m_sources[i] = sources[i];
            m_decoders[i] = decoderFor(*sources[i], configuration->m_decoderConfiguration);
        } else {
            isUsable = false;
        }
    }
    m_sourceCount = isUsable ? sourceCount : 0;
}

Error ChannelPackPerTile::doPerTileCallback(unsigned, const SurfaceIndex* surfaceIndex, unsigned x,
                                            unsigned y) const {
    if (m_sourceCount == 0) {
        return kErrorFailed;
    }
    Tile packed = {};
    for (int i = 0; i < m_sourceCount; ++i) {
        Tile texels;
        decodeTileOf(&texels, *m_sources[i], surfaceIndex, x, y, m_decoders[i]);
        for (unsigned texel = 0; texel < 64; ++texel) {
            packed.m_texels[texel].m_lanes[i] = texels.m_texels[texel].m_lanes[0];
        }
    }
    encodeTileTo(*m_destination, surfaceIndex, x, y, packed, m_encoder);
    return kErrorNone;
}

} // namespace qor::Texsmith::Raw
