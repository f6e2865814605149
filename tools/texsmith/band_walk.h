// Two textures side by side, as bands of rows of floats that threads share out.
#pragma once

#include "float_rows.h"
#include "image_pair.h"

#include <functional>

namespace Tool {

// Rows of one surface, `m_top` to `m_bottom` - 1, and the part of the surface that they belong to.
struct Band {
    qor::Texsmith::Raw::SurfaceIndex m_index;
    Region m_region;
    unsigned m_top, m_bottom;
};

// The bands of all surfaces that are compared, in their order. They begin at the region's top and have
// multiples of `step` rows, but for the last, each about as many as stay in a cache.
std::vector<Band> bandsOf(const ImagePair& pair, const Selection& selection, unsigned step);

// The rows of a band of both textures, and those before it that were asked for. `y` is a row of the surface;
// the texels begin at the region's left.
struct BandRows {
    qor::Texsmith::Raw::ElementRows m_a, m_b;
    unsigned m_firstRow; // of the surface, where both begin

    const float* a(const Band& band, unsigned y) const {
        return texelOf(m_a, band.m_region.m_left, y - m_firstRow);
    }
    const float* b(const Band& band, unsigned y) const {
        return texelOf(m_b, band.m_region.m_left, y - m_firstRow);
    }
};

// Which callback of a job asks, which band is next, and whether it goes on where the callback's last one
// ended.
using UseBand =
    std::function<void(unsigned callback, const Band& band, const BandRows& rows, bool continues)>;

// Calls `use` for all bands: a callback's one after another, those of several callbacks at the same time.
// `rowsAbove` rows before a band that does not continue one are read too, where the region has them. Throws
// Failure.
void walkBands(const ImagePair& pair, const std::vector<Band>& bands, unsigned rowsAbove, const UseBand& use);

} // namespace Tool
