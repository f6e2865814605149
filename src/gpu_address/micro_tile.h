// Kernels that move 8 x 8 planes of elements, one for each element size and order. Nothing inside them asks
// for either.
#pragma once

#include "gpu_address/direction.h"
#include "gpu_address/element_order.h"

#include <cstddef>
#include <cstdint>

namespace qor::GpuAddress {

// Part of a plane, in elements; right and bottom are one past the last.
struct PlanePart {
    unsigned m_left;
    unsigned m_top;
    unsigned m_right;
    unsigned m_bottom;
};

// Whole planes of a row of micro tiles, `columns` of them from `first` on. `tiled` is the row's first plane
// without the swizzle, `linear` the first element moved, `pitch` bytes.
template <typename Direction>
using MovePlanes = void (*)(typename Direction::Tiled tiled, typename Direction::Linear linear,
                            std::size_t pitch, const MicroTileRow& row, std::uint32_t first,
                            std::uint32_t columns);
// Part of one plane. `linear` is the first element moved.
template <typename Direction>
using MovePlanePart = void (*)(typename Direction::Tiled plane, typename Direction::Linear linear,
                               std::size_t pitch, const PlanePart& part);

template <typename Direction> struct PlaneKernels {
    MovePlanes<Direction> m_movePlanes = nullptr; // both null for sizes without kernels
    MovePlanePart<Direction> m_movePlanePart = nullptr;
};

// For elements of 1, 2, 4, 8, 12 or 16 bytes, with planes in row order or in Morton order.
template <typename Direction> PlaneKernels<Direction> planeKernels(unsigned elementBytes, bool rowOrder);
// The same without instructions of a particular processor.
template <typename Direction>
PlaneKernels<Direction> portablePlaneKernels(unsigned elementBytes, bool rowOrder);

} // namespace qor::GpuAddress
