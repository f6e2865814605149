// Channels apart and together: surfaces of one channel into the channels of one surface, and back.
//
// All surfaces have the same dimensions. Where they differ, that is reported, what fits is converted, and the
// call returns kErrorFailed. Formats may differ: texels are decoded and encoded, and a format without a
// decoder or an encoder fails the call. Null arguments and a number of surfaces that is not 1 to 4 are
// reported; nothing is written then, and the call returns kErrorFailed. All arguments stay the caller's.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/element_provider.h"
#include "qor/texsmith/raw/per_tile.h"

namespace qor::Texsmith::Raw {

// Channel i of the destination becomes the first channel of source i; those without a source become 0.
class QOR_TEXSMITH_API ChannelPackPerTile final : public PerTile {
public:
    static constexpr int kMaximumSources = 4;

    ChannelPackPerTile(ElementProvider* destination, ElementProvider** sources, int sourceCount,
                       Configuration* configuration);
    bool areAlike() const { return m_areAlike; } // in dimensions

private:
    Error doPerTileCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex, unsigned x,
                            unsigned y) const override;

    ElementProvider* m_destination;
    EncoderConfiguration m_encoder;
    const ElementProvider* m_sources[kMaximumSources];
    DecoderConfiguration m_decoders[kMaximumSources];
    int m_sourceCount; // 0: not usable
    bool m_areAlike;   // in dimensions
};

// All channels of destination i become channel i of the source: grey where the destination has several.
class QOR_TEXSMITH_API ChannelUnpackPerTile final : public PerTile {
public:
    static constexpr int kMaximumDestinations = 4;

    ChannelUnpackPerTile(ElementProvider** destinations, int destinationCount, ElementProvider* source,
                         Configuration* configuration);
    bool areAlike() const { return m_areAlike; } // in dimensions

private:
    Error doPerTileCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex, unsigned x,
                            unsigned y) const override;

    ElementProvider* m_destinations[kMaximumDestinations];
    EncoderConfiguration m_encoders[kMaximumDestinations];
    const ElementProvider* m_source;
    DecoderConfiguration m_decoder;
    int m_destinationCount; // 0: not usable
    bool m_areAlike;        // in dimensions
};

// 1 to 4 sources.
QOR_TEXSMITH_API Error channelpack(ElementProvider* destination, ElementProvider** sources, int sourceCount,
                                   Configuration* configuration);
// 1 to 4 destinations.
QOR_TEXSMITH_API Error channelunpack(ElementProvider** destinations, int destinationCount,
                                     ElementProvider* source, Configuration* configuration);

} // namespace qor::Texsmith::Raw
