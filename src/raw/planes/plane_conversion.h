// The change of format for runs of texels whose formats have no kernel of their own, channel by channel.
//
// Texels are spread into planes of 32-bit lanes, one for each channel, so that one instruction works on the
// same channel of many texels, a swizzle is a choice of planes, and any packing is a shift and a mask. What
// is alike in all texels, such as a channel that the source lacks, is computed once.
#pragma once

#include "raw/planes/plane_plan.h"
#include "raw/texels/area_conversion.h"

#include <cstddef>

namespace qor::Texsmith::Raw {

class PlaneConversion {
public:
    explicit PlaneConversion(const TileConversion& steps);

    // Whether it can take the place of `steps`, bit for bit.
    bool isUsable() const { return m_isUsable; }
    // Reads exactly `count` elements and writes as many.
    void convert(void* destination, const void* source, std::size_t count) const;

private:
    PlanePlan m_plan = {};
    bool m_isUsable;
};

} // namespace qor::Texsmith::Raw
