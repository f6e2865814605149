// The pass that takes the channels of a surface apart.
#include "qor/texsmith/raw/channel_packing.h"
#include "raw/analysis/coded_tiles.h"
#include "raw/frame/check.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\pertile\\channelunpackpertile";

bool checkDimensions(const ElementProvider* destination, const ElementProvider* source, int number) {
    const bool agree = dimensionsAreIdentical(destination, source);
    if (!agree) {
        toolsAssert(kSourcePath, __LINE__, "destination %d and source must have the same dimensions.",
                    number);
    }
    return agree;
}

} // namespace

ChannelUnpackPerTile::ChannelUnpackPerTile(ElementProvider** destinations, int destinationCount,
                                           ElementProvider* source, Configuration* configuration)
    : m_destinations{}, m_source(source), m_destinationCount(0), m_areAlike(true) {
    const bool hasDestinations = checkNotNull(destinations, kSourcePath, "destination must not be NULL.");
    const bool hasSource = checkNotNull(source, kSourcePath, "source must not be NULL.");
    const bool hasSettings = checkNotNull(configuration, kSourcePath, "configuration must not be NULL.");
    const bool hasRoom = check(destinationCount > 0 && destinationCount <= kMaximumDestinations, kSourcePath,
                               "destinations > 0 && destinations <= kMaximumDestinations");
    if (!hasDestinations || !hasSource || !hasSettings || !hasRoom) {
        return;
    }
    m_decoder = decoderFor(*source, configuration->m_decoderConfiguration);
    bool isUsable = canDecodeTiles(*source);
    for (int i = 0; i < destinationCount; ++i) {
        if (checkNotNull(destinations[i], kSourcePath, "destination must not be NULL.")) {
            m_areAlike = checkDimensions(destinations[i], source, i) && m_areAlike;
            isUsable = isUsable && canEncodeTiles(*destinations[i]);
            m_destinations[i] = destinations[i];
            m_encoders[i] = encoderFor(*destinations[i], configuration->m_encoderConfiguration);
        } else {
            isUsable = false;
        }
    }
    m_destinationCount = isUsable ? destinationCount : 0;
}

Error ChannelUnpackPerTile::doPerTileCallback(unsigned, const SurfaceIndex* surfaceIndex, unsigned x,
                                              unsigned y) const {
    if (m_destinationCount == 0) {
        return kErrorFailed;
    }
    Tile texels;
    decodeTileOf(&texels, *m_source, surfaceIndex, x, y, m_decoder);
    for (int i = 0; i < m_destinationCount; ++i) {
        Tile channel;
        for (unsigned texel = 0; texel < 64; ++texel) {
            const float value = texels.m_texels[texel].m_lanes[i];
            channel.m_texels[texel] = {{value, value, value, value}};
        }
        encodeTileTo(*m_destinations[i], surfaceIndex, x, y, channel, m_encoders[i]);
    }
    return kErrorNone;
}

} // namespace qor::Texsmith::Raw
