#include "gpu_address/region_move.h"

#include "gpu_address/array_modes.h"
#include "gpu_address/element_order.h"
#include "gpu_address/micro_tile.h"
#include "gpu_address/micro_tile_avx2.h"
#include "simd/dispatch.h"

#include <algorithm>
#include <optional>
#include <type_traits>

namespace qor::GpuAddress {

namespace {

// What lies outside the padded box is cut off; a reversed region is empty.
SurfaceRegion cut(const SurfaceRegion& region, const SurfaceInfo& info) {
    SurfaceRegion box = region;
    box.m_right = std::min(region.m_right, info.m_pitch);
    box.m_bottom = std::min(region.m_bottom, info.m_height);
    box.m_back = std::min(region.m_back, info.m_depth);
    return box;
}

bool isEmpty(const SurfaceRegion& box) {
    return box.m_left >= box.m_right || box.m_top >= box.m_bottom || box.m_front >= box.m_back;
}

bool hasFragment(const SurfaceInfo& info, unsigned fragment) {
    return info.m_planeBytes == 0 || fragment < info.m_size / info.m_planeBytes;
}

// One slice of a region. The linear side starts at its first element.
template <typename Direction> struct SliceMove {
    const TilerBase& m_tiler;
    typename Direction::Tiled m_tiled;
    typename Direction::Linear m_linear;
    std::uint64_t m_linearBit; // of the first element, from m_linear on
    std::uint64_t m_pitch;     // elements
    unsigned m_fragment;
    unsigned m_slice;
    SurfaceRegion m_box;
};

template <typename Direction> void moveByElements(const SliceMove<Direction>& slice) {
    const SurfaceRegion& box = slice.m_box;
    const unsigned bits = slice.m_tiler.getElementBits();
    for (unsigned y = box.m_top; y < box.m_bottom; ++y) {
        std::uint64_t linearBit = slice.m_linearBit + (y - box.m_top) * slice.m_pitch * bits;
        for (unsigned x = box.m_left; x < box.m_right; ++x, linearBit += bits) {
            const std::uint64_t tiledBit =
                elementBitOffset(slice.m_tiler, x, y, slice.m_slice, slice.m_fragment);
            Direction::moveElement(slice.m_tiled, tiledBit, slice.m_linear, linearBit, bits);
        }
    }
}

template <typename Direction> void moveRows(const SliceMove<Direction>& slice) {
    const SurfaceRegion& box = slice.m_box;
    const unsigned bytes = slice.m_tiler.getElementBits() / 8;
    auto linear = slice.m_linear + slice.m_linearBit / 8;
    for (unsigned y = box.m_top; y < box.m_bottom; ++y) {
        const std::uint64_t tiledBit =
            elementBitOffset(slice.m_tiler, box.m_left, y, slice.m_slice, slice.m_fragment);
        const std::size_t rowBytes = std::size_t{box.m_right - box.m_left} * bytes;
        Direction::move(slice.m_tiled + tiledBit / 8, linear + (y - box.m_top) * slice.m_pitch * bytes,
                        rowBytes);
    }
}

// What of a slice lies in one row of micro tiles, in kernel calls.
template <typename Direction> class MicroTileRowMove {
public:
    // With `ofWholeMacroTiles`, all rows of its macro tiles are moved, one macro tile after the other.
    MicroTileRowMove(const SliceMove<Direction>& slice, const PlaneKernels<Direction>& kernels, unsigned row,
                     bool ofWholeMacroTiles)
        : m_box(slice.m_box), m_kernels(kernels), m_bytes(slice.m_tiler.getElementBits() / 8),
          m_row(locateMicroTileRow(slice.m_tiler, row, slice.m_slice, slice.m_fragment)),
          m_top(std::max(m_box.m_top, row * kMicroTileSide) - row * kMicroTileSide),
          m_bottom(std::min(m_box.m_bottom - row * kMicroTileSide, kMicroTileSide)),
          m_tiled(slice.m_tiled + m_row.m_byteOffset), m_pitch(slice.m_pitch * m_bytes) {
        const unsigned firstRow = row * kMicroTileSide + m_top - m_box.m_top;
        m_linear = slice.m_linear + slice.m_linearBit / 8 + firstRow * m_pitch;
        m_row.m_bytesAhead = ofWholeMacroTiles ? std::max(kBytesAhead, m_row.m_microBytes)
                                               : planeOffset(m_row, kColumnsAhead) - planeOffset(m_row, 0);
    }

    // Those columns of elements.
    void run(unsigned left, unsigned right) const {
        const unsigned firstWhole = (left + kMicroTileSide - 1) / kMicroTileSide;
        const unsigned endWhole = right / kMicroTileSide;
        if (m_top != 0 || m_bottom != kMicroTileSide || firstWhole >= endWhole) {
            moveParts(left, right);
            return;
        }
        moveParts(left, firstWhole * kMicroTileSide);
        m_kernels.m_movePlanes(m_tiled, linearAt(firstWhole * kMicroTileSide), m_pitch, m_row, firstWhole,
                               endWhole - firstWhole);
        moveParts(endWhole * kMicroTileSide, right);
    }

private:
    // What follows in memory, or in the row; the former rounded to a micro tile, of which this is a plane.
    static constexpr std::uint64_t kBytesAhead = 4096;
    static constexpr std::uint32_t kColumnsAhead = 32;

    typename Direction::Linear linearAt(unsigned x) const {
        return m_linear + std::size_t{x - m_box.m_left} * m_bytes;
    }

    void moveParts(unsigned left, unsigned right) const {
        while (left < right) {
            const unsigned column = left / kMicroTileSide;
            const unsigned inside = left % kMicroTileSide;
            const unsigned end = std::min(inside + (right - left), kMicroTileSide);
            m_kernels.m_movePlanePart(m_tiled + planeOffset(m_row, column), linearAt(left), m_pitch,
                                      {inside, m_top, end, m_bottom});
            left += end - inside;
        }
    }

    SurfaceRegion m_box;
    PlaneKernels<Direction> m_kernels;
    unsigned m_bytes;
    MicroTileRow m_row;
    unsigned m_top; // of the part, in the micro tile
    unsigned m_bottom;
    typename Direction::Tiled m_tiled;
    std::size_t m_pitch; // bytes
    typename Direction::Linear m_linear;
};

// What is moved before the next rows and columns are begun.
struct MoveOrder {
    unsigned m_rows;    // of micro tiles, at most kMostRows
    unsigned m_columns; // of elements
    static constexpr unsigned kMostRows = 16;
};

template <typename Direction>
void moveByPlanes(const SliceMove<Direction>& slice, const PlaneKernels<Direction>& kernels,
                  const MoveOrder& order) {
    const SurfaceRegion& box = slice.m_box;
    const unsigned end = (box.m_bottom - 1) / kMicroTileSide + 1;
    for (unsigned row = box.m_top / kMicroTileSide, next = 0; row < end; row = next) {
        std::optional<MicroTileRowMove<Direction>> moves[MoveOrder::kMostRows];
        next = std::min(end, (row / order.m_rows + 1) * order.m_rows);
        const bool areWhole = order.m_rows > 1 && next - row == order.m_rows;
        for (unsigned i = row; i < next; ++i) {
            moves[i - row].emplace(slice, kernels, i, areWhole);
        }
        for (unsigned left = box.m_left, right = 0; left < box.m_right; left = right) {
            right = std::min(box.m_right, (left / order.m_columns + 1) * order.m_columns);
            for (unsigned i = row; i < next; ++i) {
                moves[i - row]->run(left, right);
            }
        }
    }
}

// Single tiles are not worth the question.
bool wideColumns(const SurfaceRegion* region) {
    return region != nullptr && region->m_right > region->m_left + 2 * kMicroTileSide;
}

// From about here on a surface pushes everything else out of the caches, and reads wait for it.
constexpr std::uint64_t kStreamedBytes = 16 << 20;
// What is less only passes through a buffer.
constexpr std::uint64_t kLeastStreamedRegion = 32 << 10;

bool isAligned(const std::uint8_t* memory, std::uint64_t strides, unsigned alignment) {
    return (reinterpret_cast<std::uintptr_t>(memory) | strides) % alignment == 0;
}

template <typename Direction> struct WidePlanes {
    MovePlanes<Direction> m_move; // null where there are none
    bool m_streams;
};

// Planes are written from end to end.
WidePlanes<ToTiled> widePlanes(const RegionMove<ToTiled>& move, const TilerBase& tiler, unsigned bytes,
                               const SurfaceRegion&) {
    constexpr unsigned kStoreBytes = 32;
    const bool streams = Texsmith::Simd::mayStream(tiler.getSurfaceInfo().m_size, kStreamedBytes) &&
                         isAligned(move.m_tiled, 0, kStoreBytes);
    return {tilePlanesAvx2(bytes, streams), streams};
}

// Rows are not: a line of the memory has to be written at once. The whole tiles of a slice are aligned only
// where no cut one stands before them.
WidePlanes<ToLinear> widePlanes(const RegionMove<ToLinear>& move, const TilerBase& tiler, unsigned bytes,
                                const SurfaceRegion& region) {
    constexpr unsigned kLineBytes = 64;
    const std::uint64_t moved = std::uint64_t{region.m_right - region.m_left} *
                                (std::max(region.m_bottom, region.m_top) - region.m_top) * bytes;
    const std::uint64_t strides = (move.m_pitch | move.m_slicePitch) * bytes;
    const bool streams = Texsmith::Simd::mayStream(tiler.getSurfaceInfo().m_size, kStreamedBytes) &&
                         Texsmith::Simd::mayStream(moved, kLeastStreamedRegion) &&
                         region.m_left % kMicroTileSide == 0 && isAligned(move.m_linear, strides, kLineBytes);
    return {detilePlanesAvx2(bytes, streams), streams};
}

// A row of micro tiles at a time, since linear memory is fetched ahead and written row by row. Where tiled
// memory comes from beyond the caches, macro tile by macro tile: it is then read from end to end, and what is
// written goes past the caches anyhow.
MoveOrder orderFor(const SurfaceInfo& info, const SurfaceRegion& region, bool readsFromBeyond) {
    if (!readsFromBeyond || info.m_macroWide == 1) {
        return {1, region.m_right};
    }
    return {std::min(info.m_macroTall, MoveOrder::kMostRows), info.m_macroWide * kMicroTileSide};
}

// Checks, cuts the region, and calls `moveSlice` for each slice.
template <typename Direction, typename MoveSlice>
int forEachSlice(const TilerBase& tiler, const RegionMove<Direction>& move, const SurfaceRegion* region,
                 MoveSlice moveSlice) {
    const SurfaceInfo& info = tiler.getSurfaceInfo();
    if (move.m_tiled == nullptr || move.m_linear == nullptr || region == nullptr ||
        tiler.getElementBits() == 0 || !hasFragment(info, move.m_fragment)) {
        return kStatusInvalidArgument;
    }
    const SurfaceRegion box = cut(*region, info);
    if (isEmpty(box)) {
        return kStatusSuccess;
    }
    for (unsigned z = box.m_front; z < box.m_back; ++z) {
        const std::uint64_t linearBit = (z - box.m_front) * move.m_slicePitch * tiler.getElementBits();
        moveSlice(SliceMove<Direction>{tiler, move.m_tiled, move.m_linear, linearBit, move.m_pitch,
                                       move.m_fragment, z, box});
    }
    return kStatusSuccess;
}

} // namespace

template <typename Direction>
int moveRegionByElements(const TilerBase& tiler, const RegionMove<Direction>& move,
                         const SurfaceRegion* region) {
    return forEachSlice(tiler, move, region, moveByElements<Direction>);
}

template <typename Direction>
int moveRegion(const TilerBase& tiler, const RegionMove<Direction>& move, const SurfaceRegion* region) {
    const unsigned bits = tiler.getElementBits();
    if (bits % 8 == 0 && isLinear(tiler.getSurfaceInfo().m_arrayMode)) {
        return forEachSlice(tiler, move, region, moveRows<Direction>);
    }
    const bool rowOrder = tiler.getMicroTileMode() == Vex::kMicroTileModeDisplay;
    const unsigned bytes = bits % 8 == 0 ? bits / 8 : 0;
    PlaneKernels<Direction> kernels = planeKernels<Direction>(bytes, rowOrder);
    bool streams = false;
    if (!rowOrder && wideColumns(region) && Texsmith::Simd::mayUseAvx2()) {
        const WidePlanes<Direction> wide = widePlanes(move, tiler, bytes, *region);
        streams = wide.m_move != nullptr && wide.m_streams;
        kernels.m_movePlanes = wide.m_move != nullptr ? wide.m_move : kernels.m_movePlanes;
    }
    if (kernels.m_movePlanes == nullptr) {
        return moveRegionByElements(tiler, move, region);
    }
    const bool readsFromBeyond = streams && std::is_same_v<Direction, ToLinear>;
    const int status = forEachSlice(tiler, move, region, [&](const SliceMove<Direction>& slice) {
        moveByPlanes(slice, kernels, orderFor(tiler.getSurfaceInfo(), slice.m_box, readsFromBeyond));
    });
    if (streams) {
        finishStreamedPlanes();
    }
    return status;
}

template int moveRegion(const TilerBase&, const RegionMove<ToTiled>&, const SurfaceRegion*);
template int moveRegion(const TilerBase&, const RegionMove<ToLinear>&, const SurfaceRegion*);
template int moveRegionByElements(const TilerBase&, const RegionMove<ToTiled>&, const SurfaceRegion*);
template int moveRegionByElements(const TilerBase&, const RegionMove<ToLinear>&, const SurfaceRegion*);

} // namespace qor::GpuAddress
