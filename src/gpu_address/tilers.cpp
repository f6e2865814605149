// The tilers of each family of tile modes: checks of regions in front of the moves.
#include "qor/gpu_address/gpu_address.h"

#include "gpu_address/element_order.h"
#include "gpu_address/region_move.h"
#include "gpu_address/untiled.h"

#include <algorithm>

namespace qor::GpuAddress {

namespace {

template <typename Direction, typename Tiled, typename Linear>
RegionMove<Direction> makeMove(Tiled tiled, Linear linear, std::uint64_t pitch, std::uint64_t slicePitch,
                               unsigned fragment) {
    return {static_cast<typename Direction::Tiled>(tiled), static_cast<typename Direction::Linear>(linear),
            pitch, slicePitch, fragment};
}

template <typename Direction, typename Tiled, typename Linear>
int moveFirstSlice(const TilerBase& tiler, Tiled tiled, Linear linear, const SurfaceRegion* region,
                   unsigned pitch, unsigned fragment) {
    if (region == nullptr) {
        return kStatusInvalidArgument;
    }
    SurfaceRegion slice = *region;
    slice.m_back = std::min(slice.m_back, slice.m_front + 1);
    return moveRegion(tiler, makeMove<Direction>(tiled, linear, pitch, 0, fragment), &slice);
}

// Slices outer, fragments inner.
template <typename Direction, typename Tiled, typename Linear>
int moveSurface(Tiled tiled, Linear linear, const TilingParameters* parameters) {
    if (parameters == nullptr || tiled == nullptr || linear == nullptr) {
        return kStatusInvalidArgument;
    }
    const TilerLinear tiler(parameters);
    if (tiler.getElementBits() == 0) {
        return kStatusInvalidArgument;
    }
    const std::uint32_t wide = parameters->elementsWide();
    const std::uint32_t tall = parameters->elementsTall();
    const std::uint64_t planeBytes = untiledPlaneBytes(*parameters);
    auto plane = static_cast<typename Direction::Linear>(linear);
    for (unsigned z = 0; z < parameters->m_depth && planeBytes != 0; ++z) {
        const SurfaceRegion slice = {0, 0, z, wide, tall, z + 1};
        for (unsigned fragment = 0; fragment < parameters->m_fragments; ++fragment) {
            moveRegion(tiler, makeMove<Direction>(tiled, plane, wide, 0, fragment), &slice);
            plane += planeBytes;
        }
    }
    return kStatusSuccess;
}

int findElement(const TilerBase& tiler, std::uint64_t* offset, unsigned x, unsigned y, unsigned z,
                unsigned fragment) {
    if (offset == nullptr) {
        return kStatusInvalidArgument;
    }
    *offset = 0;
    const SurfaceInfo& info = tiler.getSurfaceInfo();
    if (x >= info.m_pitch || y >= info.m_height || z >= info.m_depth || info.m_planeBytes == 0 ||
        fragment >= info.m_size / info.m_planeBytes) {
        return kStatusInvalidArgument;
    }
    *offset = elementBitOffset(tiler, x, y, z, fragment);
    return kStatusSuccess;
}

} // namespace

TilerBase::TilerBase(const TilingParameters* parameters)
    : m_info{}, m_elementBits(0), m_microTileMode(Vex::MicroTileMode(0)) {
    if (computeSurfaceInfo(&m_info, parameters) == kStatusSuccess) {
        m_elementBits = parameters->elementBits();
        GpuAddress::getMicroTileMode(&m_microTileMode, parameters->m_tileMode);
    }
}

int TilerLinear::tileSurfaceRegion(void* tiled, const void* linear, const SurfaceRegion* region,
                                   unsigned pitch, unsigned slicePitch) const {
    return moveRegion(*this, makeMove<ToTiled>(tiled, linear, pitch, slicePitch, 0), region);
}

int TilerLinear::detileSurfaceRegion(void* linear, const void* tiled, const SurfaceRegion* region,
                                     unsigned pitch, unsigned slicePitch) const {
    return moveRegion(*this, makeMove<ToLinear>(tiled, linear, pitch, slicePitch, 0), region);
}

int Tiler1d::tileSurfaceRegion(void* tiled, const void* linear, const SurfaceRegion* region, unsigned pitch,
                               unsigned slicePitch) const {
    return moveRegion(*this, makeMove<ToTiled>(tiled, linear, pitch, slicePitch, 0), region);
}

int Tiler1d::detileSurfaceRegion(void* linear, const void* tiled, const SurfaceRegion* region, unsigned pitch,
                                 unsigned slicePitch) const {
    return moveRegion(*this, makeMove<ToLinear>(tiled, linear, pitch, slicePitch, 0), region);
}

int Tiler1d::getTiledElementBitOffset(std::uint64_t* offset, unsigned x, unsigned y, unsigned z) const {
    return findElement(*this, offset, x, y, z, 0);
}

int Tiler2d::tileSurfaceRegion(void* tiled, const void* linear, const SurfaceRegion* region, unsigned pitch,
                               unsigned fragment) const {
    return moveFirstSlice<ToTiled>(*this, tiled, linear, region, pitch, fragment);
}

int Tiler2d::detileSurfaceRegion(void* linear, const void* tiled, const SurfaceRegion* region, unsigned pitch,
                                 unsigned fragment) const {
    return moveFirstSlice<ToLinear>(*this, tiled, linear, region, pitch, fragment);
}

int Tiler2d::getTiledElementBitOffset(std::uint64_t* offset, unsigned x, unsigned y, unsigned z,
                                      unsigned fragment) const {
    return findElement(*this, offset, x, y, z, fragment);
}

int tileSurface(void* tiled, const void* linear, const TilingParameters* parameters) {
    return moveSurface<ToTiled>(tiled, linear, parameters);
}

int detileSurface(void* linear, const void* tiled, const TilingParameters* parameters) {
    return moveSurface<ToLinear>(tiled, linear, parameters);
}

} // namespace qor::GpuAddress
