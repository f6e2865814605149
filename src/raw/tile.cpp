// One surface's tiler behind one interface: linear, 1d or 2d, as its tile mode asks for.
#include "qor/texsmith/raw/tilers.h"

#include "qor/texsmith/tools_assert.h"
#include "raw/tiles/surface_rows.h"
#include "raw/tiles/tiling.h"

#include <cstring>
#include <new>
#include <type_traits>

namespace qor::Texsmith::Raw {

namespace {

constexpr char kSourcePath[] = "raw\\tile";

using GpuAddress::kStatusInvalidArgument;
using GpuAddress::kStatusSuccess;

static_assert(std::is_trivially_copyable_v<GpuAddress::TilerLinear> &&
              std::is_trivially_copyable_v<GpuAddress::Tiler1d> &&
              std::is_trivially_copyable_v<GpuAddress::Tiler2d>);

struct Degraded {
    Vex::MicroTileMode m_microTileMode;
    Vex::ArrayMode m_newArrayMode;
    Vex::TileMode m_result;
};

constexpr Degraded kDegraded[] = {
    {Vex::kMicroTileModeDisplay, Vex::kArrayMode1dThin, Vex::kTileModeDisplay_1dThin},
    {Vex::kMicroTileModeThin, Vex::kArrayMode1dThin, Vex::kTileModeThin_1dThin},
    {Vex::kMicroTileModeThick, Vex::kArrayMode3dThick, Vex::kTileModeThick_3dThick},
    {Vex::kMicroTileModeThick, Vex::kArrayMode2dThick, Vex::kTileModeThick_2dThick},
    {Vex::kMicroTileModeThick, Vex::kArrayMode1dThick, Vex::kTileModeThick_1dThick},
    {Vex::kMicroTileModeThick, Vex::kArrayMode3dThin, Vex::kTileModeThin_3dThin},
    {Vex::kMicroTileModeThick, Vex::kArrayMode3dThinPrt, Vex::kTileModeThin_3dThinPrt},
    {Vex::kMicroTileModeThick, Vex::kArrayMode2dThin, Vex::kTileModeThin_2dThin},
    {Vex::kMicroTileModeThick, Vex::kArrayMode2dThinPrt, Vex::kTileModeThin_2dThinPrt},
    {Vex::kMicroTileModeThick, Vex::kArrayModeThinPrt, Vex::kTileModeThin_ThinPrt},
    {Vex::kMicroTileModeThick, Vex::kArrayMode1dThin, Vex::kTileModeThin_1dThin},
};

// Depth surfaces have one smaller mode, which is taken even where it is not what was asked for.
int degradeDepth(Vex::TileMode* result, Vex::ArrayMode newArrayMode) {
    if (newArrayMode != Vex::kArrayMode1dThin) {
        toolsAssert(kSourcePath, __LINE__, "Expected degraded tile mode (%d) to be 1dThin.",
                    static_cast<int>(newArrayMode));
    }
    *result = Vex::kTileModeDepth_1dThin;
    return kStatusSuccess;
}

int degradeRotated() {
    toolsAssert(kSourcePath, __LINE__, "Rotated tile modes should not be used.");
    return kStatusInvalidArgument;
}

int degradeByTable(Vex::TileMode* result, Vex::TileMode oldTileMode, Vex::MicroTileMode microTileMode,
                   Vex::ArrayMode newArrayMode) {
    for (const Degraded& row : kDegraded) {
        if (row.m_microTileMode == microTileMode && row.m_newArrayMode == newArrayMode) {
            *result = row.m_result;
            return kStatusSuccess;
        }
    }
    toolsAssert(kSourcePath, __LINE__, "Unhandled case: oldTileMode=%d, newArrayMode=%d\n",
                static_cast<int>(oldTileMode), static_cast<int>(newArrayMode));
    return kStatusInvalidArgument;
}

TilingMode tilingModeOf(Vex::ArrayMode arrayMode) {
    if (arrayMode <= Vex::kArrayModeLinearAligned) {
        return kTilingModeLinear;
    }
    if (arrayMode <= Vex::kArrayMode1dThick) {
        return kTilingMode1d;
    }
    return arrayMode <= Vex::kArrayMode3dThickPrt ? kTilingMode2d : kTilingModeNone;
}

} // namespace

int degradeTileMode(Vex::TileMode* result, Vex::TileMode oldTileMode, Vex::ArrayMode newArrayMode) {
    Vex::ArrayMode oldArrayMode;
    int status = GpuAddress::getArrayMode(&oldArrayMode, oldTileMode);
    if (status != kStatusSuccess) {
        return status;
    }
    if (oldArrayMode == newArrayMode) {
        *result = oldTileMode;
        return kStatusSuccess;
    }
    Vex::MicroTileMode microTileMode;
    status = GpuAddress::getMicroTileMode(&microTileMode, oldTileMode);
    if (status != kStatusSuccess) {
        return status;
    }
    switch (microTileMode) {
    case Vex::kMicroTileModeDepth:
        return degradeDepth(result, newArrayMode);
    case Vex::kMicroTileModeRotated:
        return degradeRotated();
    default:
        return degradeByTable(result, oldTileMode, microTileMode, newArrayMode);
    }
}

TilingMode tilingModeFromParameters(const GpuAddress::TilingParameters* parameters) {
    GpuAddress::SurfaceInfo info;
    if (GpuAddress::computeSurfaceInfo(&info, parameters) != kStatusSuccess) {
        return kTilingModeNone;
    }
    Vex::TileMode tileMode = parameters->m_tileMode;
    degradeTileMode(&tileMode, parameters->m_tileMode, info.m_arrayMode); // a failed one decides as it is
    Vex::ArrayMode arrayMode;
    const int status = GpuAddress::getArrayMode(&arrayMode, tileMode);
    return status == kStatusSuccess ? tilingModeOf(arrayMode) : kTilingModeNone;
}

Tilers::Tilers() : m_storage{}, m_tilingMode(kTilingModeNone) { pointViewsAtStorage(); }

Tilers::Tilers(const Tilers& other) : Tilers() { *this = other; }

Tilers& Tilers::operator=(const Tilers& other) {
    if (this != &other) {
        std::memcpy(m_storage, other.m_storage, sizeof m_storage);
        m_parameters = other.m_parameters;
        m_tilingMode = other.m_tilingMode;
    }
    return *this;
}

void Tilers::pointViewsAtStorage() {
    m_tilerLinear = reinterpret_cast<GpuAddress::TilerLinear*>(m_storage);
    m_tiler1d = reinterpret_cast<GpuAddress::Tiler1d*>(m_storage);
    m_tiler2d = reinterpret_cast<GpuAddress::Tiler2d*>(m_storage);
}

void Tilers::initFromTexture(const Texture* texture, unsigned mip, unsigned arraySlice) {
    initFromVexTexture(texture, mip, arraySlice);
}

void Tilers::initFromVexTexture(const Vex::Texture* texture, unsigned mip, unsigned arraySlice) {
    if (texture == nullptr) {
        m_tilingMode = kTilingModeNone;
        return;
    }
    if (isLinearGeneral(*texture)) {
        Vex::Texture linear = *texture;
        linear.setTileMode(Vex::kTileModeDisplay_LinearAligned);
        initFromVexTexture(&linear, mip, arraySlice);
        return;
    }
    if (texture->getDataFormat().getSurfaceFormat() == Vex::kSurfaceFormatInvalid) {
        m_tilingMode = kTilingModeNone;
        return;
    }
    m_parameters.initFromTexture(texture, mip, arraySlice); // unusable ones lead to no mode
    determineTilingModeFromTilingParameters();
}

void Tilers::initFromRenderTarget(const Vex::RenderTarget* target, unsigned arraySlice) {
    m_parameters.initFromRenderTarget(target, arraySlice);
    determineTilingModeFromTilingParameters();
}

void Tilers::initFromDepthSurface(const Vex::DepthRenderTarget* target, unsigned arraySlice) {
    m_parameters.initFromDepthSurface(target, arraySlice);
    determineTilingModeFromTilingParameters();
}

void Tilers::initFromStencilSurface(const Vex::DepthRenderTarget* target, unsigned arraySlice) {
    m_parameters.initFromStencilSurface(target, arraySlice);
    determineTilingModeFromTilingParameters();
}

void Tilers::determineTilingModeFromTilingParameters() {
    m_tilingMode = tilingModeFromParameters(&m_parameters);
    switch (m_tilingMode) {
    case kTilingModeLinear:
        m_tilerLinear = new (m_storage) GpuAddress::TilerLinear(&m_parameters);
        break;
    case kTilingMode1d:
        m_tiler1d = new (m_storage) GpuAddress::Tiler1d(&m_parameters);
        break;
    case kTilingMode2d:
        m_tiler2d = new (m_storage) GpuAddress::Tiler2d(&m_parameters);
        break;
    case kTilingModeNone:
        break;
    }
}

const GpuAddress::SurfaceInfo& Tilers::surfaceInfo() const {
    switch (m_tilingMode) {
    case kTilingModeLinear:
        return m_tilerLinear->getSurfaceInfo();
    case kTilingMode1d:
        return m_tiler1d->getSurfaceInfo();
    default:
        return m_tiler2d->getSurfaceInfo();
    }
}

std::uint64_t Tilers::getTiledBytes() const {
    return m_tilingMode == kTilingModeNone ? 0 : surfaceInfo().m_size;
}

int Tilers::tileSurfaceRegion(void* tiled, const void* linear, const GpuAddress::SurfaceRegion* region,
                              unsigned pitch, unsigned slicePitch, unsigned fragment) const {
    if (m_tilingMode == kTilingModeNone) {
        return kStatusSuccess;
    }
    if (m_tilingMode == kTilingMode2d) {
        return tileSurfaceRegionOneFragment(tiled, linear, region, pitch, fragment);
    }
    if (tiled == nullptr || fragment >= m_parameters.m_fragments) {
        return kStatusInvalidArgument;
    }
    std::uint8_t* plane = static_cast<std::uint8_t*>(tiled) + fragment * surfaceInfo().m_planeBytes;
    return m_tilingMode == kTilingModeLinear
               ? m_tilerLinear->tileSurfaceRegion(plane, linear, region, pitch, slicePitch)
               : m_tiler1d->tileSurfaceRegion(plane, linear, region, pitch, slicePitch);
}

int Tilers::detileSurfaceRegion(void* linear, const void* tiled, const GpuAddress::SurfaceRegion* region,
                                unsigned pitch, unsigned slicePitch, unsigned fragment) const {
    if (m_tilingMode == kTilingModeNone) {
        return kStatusSuccess;
    }
    if (m_tilingMode == kTilingMode2d) {
        return detileSurfaceRegionOneFragment(linear, tiled, region, pitch, fragment);
    }
    if (tiled == nullptr || fragment >= m_parameters.m_fragments) {
        return kStatusInvalidArgument;
    }
    const auto* plane = static_cast<const std::uint8_t*>(tiled) + fragment * surfaceInfo().m_planeBytes;
    return m_tilingMode == kTilingModeLinear
               ? m_tilerLinear->detileSurfaceRegion(linear, plane, region, pitch, slicePitch)
               : detileSurfaceRegion1d(linear, plane, region, pitch, slicePitch);
}

int Tilers::tileSurfaceRegionOneFragment(void* tiled, const void* linear,
                                         const GpuAddress::SurfaceRegion* region, unsigned pitch,
                                         unsigned fragment) const {
    return m_tilingMode == kTilingMode2d
               ? m_tiler2d->tileSurfaceRegion(tiled, linear, region, pitch, fragment)
               : kStatusInvalidArgument;
}

int Tilers::detileSurfaceRegionOneFragment(void* linear, const void* tiled,
                                           const GpuAddress::SurfaceRegion* region, unsigned pitch,
                                           unsigned fragment) const {
    return m_tilingMode == kTilingMode2d
               ? m_tiler2d->detileSurfaceRegion(linear, tiled, region, pitch, fragment)
               : kStatusInvalidArgument;
}

int Tilers::detileSurfaceRegion1d(void* linear, const void* tiled, const GpuAddress::SurfaceRegion* region,
                                  unsigned pitch, unsigned slicePitch) const {
    return m_tilingMode == kTilingMode1d
               ? m_tiler1d->detileSurfaceRegion(linear, tiled, region, pitch, slicePitch)
               : kStatusInvalidArgument;
}

} // namespace qor::Texsmith::Raw
