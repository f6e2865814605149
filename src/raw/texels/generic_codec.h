// The codec of every packed format and channel type, one texel after the other. It is the measure of the
// faster kernels.
#pragma once

#include "qor/texsmith/raw/format.h"

namespace qor::Texsmith::Raw {

// Lanes that the format lacks convert what the destination held. The channel types without a meaning give
// zeros.
void genericDecode(VectorFloat* destination, const void* source, const SurfaceFormatInfo& row,
                   Vex::TextureChannelType channelType, int count);
void genericEncode(void* destination, const VectorFloat* source, const SurfaceFormatInfo& row,
                   Vex::TextureChannelType channelType, int count);

// One texel's stored values, from and to an element.
struct RawTexel {
    std::uint32_t m_lanes[4];
};
void unpackTexel(RawTexel* texel, const void* source, const SurfaceFormatInfo& row);
void packTexel(void* destination, const RawTexel& texel, const SurfaceFormatInfo& row);

} // namespace qor::Texsmith::Raw
