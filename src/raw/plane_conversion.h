// The change of format for runs of texels whose formats have no kernel of their own, channel by channel.
//
// Texels are spread into four planes of 32-bit lanes, one for each channel, so that one instruction works on
// the same channel of many texels, a swizzle is a choice of planes, and any packing of at most 16 bits a
// channel is a shift and a mask.
#pragma once

#include "raw/tile_conversion.h"

#include <cstddef>

namespace qor::Texsmith::Raw {

class PlaneConversion {
public:
    explicit PlaneConversion(const TileConversion& steps);

    // Whether it can take the place of `steps`, bit for bit.
    bool isUsable() const;
    // Reads exactly `count` elements and writes as many.
    void convert(void* destination, const void* source, std::size_t count) const;
};

} // namespace qor::Texsmith::Raw
