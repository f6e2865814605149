#include "gpu_address/micro_tile.h"

#include "gpu_address/array_modes.h"
#include "gpu_address/micro_tile_sse2.h"

#include <utility>

namespace qor::GpuAddress {

namespace {

// Runs of elements that are neighbours in both orders.
struct RowOrder {
    static constexpr unsigned kRun = 8;
    static constexpr unsigned element(unsigned x, unsigned y) { return y * 8 + x; }
};

//   x0 y0 x1 y1 x2 y2, lowest bit first: squares of 2 x 2, of 4 x 4, of 8 x 8
struct MortonOrder {
    static constexpr unsigned kRun = 2;
    static constexpr unsigned element(unsigned x, unsigned y) {
        return kSpread[x] | unsigned{kSpread[y]} << 1;
    }
};

template <typename Direction, typename Order, unsigned kBytes, unsigned kIndex>
inline void moveRun(typename Direction::Tiled plane, typename Direction::Linear linear, std::size_t pitch) {
    constexpr unsigned kRunsAcross = kMicroTileSide / Order::kRun;
    constexpr unsigned kX = kIndex % kRunsAcross * Order::kRun;
    constexpr unsigned kY = kIndex / kRunsAcross;
    Direction::move(plane + Order::element(kX, kY) * kBytes, linear + kY * pitch + kX * kBytes,
                    Order::kRun * kBytes);
}

template <typename Direction, typename Order, unsigned kBytes, unsigned... kIndices>
inline void movePlane(typename Direction::Tiled plane, typename Direction::Linear linear, std::size_t pitch,
                      std::integer_sequence<unsigned, kIndices...>) {
    (moveRun<Direction, Order, kBytes, kIndices>(plane, linear, pitch), ...);
}

template <typename Direction, typename Order, unsigned kBytes>
void movePlanes(typename Direction::Tiled tiled, typename Direction::Linear linear, std::size_t pitch,
                const MicroTileRow& row, std::uint32_t first, std::uint32_t columns) {
    constexpr unsigned kRuns = kMicroTileSide * kMicroTileSide / Order::kRun;
    for (std::uint32_t column = first; column < first + columns; ++column) {
        movePlane<Direction, Order, kBytes>(tiled + planeOffset(row, column), linear, pitch,
                                            std::make_integer_sequence<unsigned, kRuns>{});
        linear += kMicroTileSide * kBytes;
    }
}

// Whole runs where the part has them, single elements where it does not.
template <typename Direction, typename Order, unsigned kBytes>
void movePlanePart(typename Direction::Tiled plane, typename Direction::Linear linear, std::size_t pitch,
                   const PlanePart& part) {
    for (unsigned y = part.m_top; y < part.m_bottom; ++y) {
        auto from = linear;
        for (unsigned x = part.m_left; x < part.m_right;) {
            const bool whole = x % Order::kRun == 0 && x + Order::kRun <= part.m_right;
            const auto to = plane + Order::element(x, y) * kBytes;
            if (whole) {
                Direction::move(to, from, Order::kRun * kBytes);
            } else {
                Direction::move(to, from, kBytes);
            }
            x += whole ? Order::kRun : 1;
            from += (whole ? Order::kRun : 1) * kBytes;
        }
        linear += pitch;
    }
}

template <typename Direction, unsigned kBytes> PlaneKernels<Direction> kernelsFor(bool rowOrder) {
    if (rowOrder) {
        return {movePlanes<Direction, RowOrder, kBytes>, movePlanePart<Direction, RowOrder, kBytes>};
    }
    return {movePlanes<Direction, MortonOrder, kBytes>, movePlanePart<Direction, MortonOrder, kBytes>};
}

} // namespace

template <typename Direction>
PlaneKernels<Direction> portablePlaneKernels(unsigned elementBytes, bool rowOrder) {
    switch (elementBytes) {
    case 1:
        return kernelsFor<Direction, 1>(rowOrder);
    case 2:
        return kernelsFor<Direction, 2>(rowOrder);
    case 4:
        return kernelsFor<Direction, 4>(rowOrder);
    case 8:
        return kernelsFor<Direction, 8>(rowOrder);
    case 12:
        return kernelsFor<Direction, 12>(rowOrder);
    case 16:
        return kernelsFor<Direction, 16>(rowOrder);
    default:
        return {};
    }
}

template <typename Direction> PlaneKernels<Direction> planeKernels(unsigned elementBytes, bool rowOrder) {
    PlaneKernels<Direction> kernels = portablePlaneKernels<Direction>(elementBytes, rowOrder);
#if defined(TEXSMITH_MICRO_TILE_SSE2)
    const MovePlanes<Direction> wide = rowOrder ? nullptr : mortonPlanesSse2<Direction>(elementBytes);
    kernels.m_movePlanes = wide != nullptr ? wide : kernels.m_movePlanes;
#endif
    return kernels;
}

template PlaneKernels<ToTiled> portablePlaneKernels<ToTiled>(unsigned, bool);
template PlaneKernels<ToLinear> portablePlaneKernels<ToLinear>(unsigned, bool);
template PlaneKernels<ToTiled> planeKernels<ToTiled>(unsigned, bool);
template PlaneKernels<ToLinear> planeKernels<ToLinear>(unsigned, bool);

} // namespace qor::GpuAddress
