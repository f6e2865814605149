// Pictures of at most 256 colours, for files that have no more. The result is the same everywhere.
#pragma once

#include "codec/pixel_rows.h"

#include <cstdint>
#include <vector>

namespace qor::Texsmith::Raw {

struct FewColors {
    std::vector<std::uint32_t> m_colors; // R8G8B8X8, at least one
    int m_transparent = -1;              // the entry of what is less than half opaque; -1 for none
    std::vector<std::uint8_t> m_indices; // row by row
};

// Of grey or colour with 8 bits a channel. Up to 256 colours stay as they are, of which a transparent one is
// one; for more the box of colours that hold the most is halved across its longest side, over and over
// (median cut, after Heckbert 1982), and each becomes the mean of its pixels.
FewColors reduceColors(const ImageRows& rows);

} // namespace qor::Texsmith::Raw
