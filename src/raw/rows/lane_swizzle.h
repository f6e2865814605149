// The swizzles of two formats as one.
//
// Encoders apply a format's selects just as decoders do, so the way from one format to another is the first
// format's swizzle and then the second's.
#pragma once

#include "qor/vex/data_format.h"
#include "raw/rows/run_kernels.h"

#include <array>
#include <cstdint>

namespace qor::Texsmith::Raw {

class LaneSwizzle {
public:
    LaneSwizzle(Vex::DataFormat from, Vex::DataFormat to);

    bool isIdentity() const { return m_selects == std::array<std::uint8_t, 4>{4, 5, 6, 7}; }
    bool copies(unsigned lane) const { return m_selects[lane] >= Vex::kTextureChannelX; }
    // Of a lane that copies.
    unsigned sourceOf(unsigned lane) const { return m_selects[lane] & 3; }

    // The place in the tables of swizzles.
    unsigned index() const;
    // For texels of four lanes of one or two bytes; `one` is what the select 1 stores.
    ByteMoves moves(unsigned bytesPerLane, std::uint32_t one) const;

private:
    std::array<std::uint8_t, 4> m_selects; // 0, 1, or from X on
};

} // namespace qor::Texsmith::Raw
