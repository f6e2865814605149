// Moves of regions between tiled and linear memory, in both directions.
#pragma once

#include "gpu_address/direction.h"
#include "qor/gpu_address/gpu_address.h"

#include <cstdint>

namespace qor::GpuAddress {

// What a region move needs beside the region. Pitches are in elements.
template <typename Direction> struct RegionMove {
    typename Direction::Tiled m_tiled;   // start of the surface
    typename Direction::Linear m_linear; // the region's first element
    std::uint64_t m_pitch;
    std::uint64_t m_slicePitch;
    unsigned m_fragment;
};

// `region` is cut to the padded box.
template <typename Direction>
int moveRegion(const TilerBase& tiler, const RegionMove<Direction>& move, const SurfaceRegion* region);
// The same, element by element.
template <typename Direction>
int moveRegionByElements(const TilerBase& tiler, const RegionMove<Direction>& move,
                         const SurfaceRegion* region);

} // namespace qor::GpuAddress
