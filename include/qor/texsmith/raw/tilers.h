// Moving surfaces between linear memory and the tiled order of the graphics hardware.
#pragma once

#include "qor/gpu_address/gpu_address.h"
#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/texture.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace qor::Texsmith::Raw {

enum TilingMode : unsigned {
    kTilingModeLinear = 0,
    kTilingMode1d = 1,
    kTilingMode2d = 2,
    kTilingModeNone = 3
};

// In linear memory the element (x, y, z) of a region lies at x - left + (y - top) * pitch +
// (z - front) * slicePitch elements from the start; in tiled memory where qor/gpu_address/gpu_address.h
// draws it.
//
// One surface's tiler, whatever its tile mode: made for one mip of one slice, then used for any number of
// regions. It holds no memory of the caller's, is copied freely, and leaves a null texture or target without
// a mode after a report. Regions count elements, `m_left` to `m_right` and so on, half-open. Region
// operations are read-only on the object and may run in parallel on disjoint regions. Pitches are in
// elements. Statuses are those of GpuAddress.
class QOR_TEXSMITH_API Tilers {
public:
    Tilers();
    Tilers(const Tilers& other);
    Tilers& operator=(const Tilers& other);

    // One mip of one slice, or one slice of a target. `arraySlice` is an array entry times the faces, plus
    // the face; 0 of a volume.
    void initFromTexture(const Texture* texture, unsigned mip, unsigned arraySlice);
    void initFromVexTexture(const Vex::Texture* texture, unsigned mip, unsigned arraySlice);
    void initFromRenderTarget(const Vex::RenderTarget* target, unsigned arraySlice);
    void initFromDepthSurface(const Vex::DepthRenderTarget* target, unsigned arraySlice);
    void initFromStencilSurface(const Vex::DepthRenderTarget* target, unsigned arraySlice);
    // Makes the tiler of the array mode that the parameters have; the functions above end with it.
    void determineTilingModeFromTilingParameters();

    TilingMode getTilingMode() const { return m_tilingMode; }
    // Bytes that the tiled memory of the surface must have; 0 without a mode. Region operations never touch
    // what lies beyond.
    std::uint64_t getTiledBytes() const;
    // The surface is tiled in elements of the format's size and kind, each of whole bytes.
    bool hasElementsOf(Vex::DataFormat format) const {
        const unsigned bits = m_parameters.elementBits();
        return bits != 0 && bits % 8 == 0 && bits == format.getBytesPerElement() * 8 &&
               m_parameters.m_isBlockCompressed == format.isBlockCompressedFormat();
    }

    // Without a mode they do nothing and succeed. In the 2d modes one slice is moved, at the region's front.
    // The last three fail in any mode but their own.
    int tileSurfaceRegion(void* tiled, const void* linear, const GpuAddress::SurfaceRegion* region,
                          unsigned pitch, unsigned slicePitch, unsigned fragment) const;
    int detileSurfaceRegion(void* linear, const void* tiled, const GpuAddress::SurfaceRegion* region,
                            unsigned pitch, unsigned slicePitch, unsigned fragment) const;
    int tileSurfaceRegionOneFragment(void* tiled, const void* linear, const GpuAddress::SurfaceRegion* region,
                                     unsigned pitch, unsigned fragment) const;
    int detileSurfaceRegionOneFragment(void* linear, const void* tiled,
                                       const GpuAddress::SurfaceRegion* region, unsigned pitch,
                                       unsigned fragment) const;
    int detileSurfaceRegion1d(void* linear, const void* tiled, const GpuAddress::SurfaceRegion* region,
                              unsigned pitch, unsigned slicePitch) const;

private:
    static constexpr std::size_t kStorageBytes = // in brackets, since <windows.h> has a macro of this name
        (std::max)(
            {sizeof(GpuAddress::TilerLinear), sizeof(GpuAddress::Tiler1d), sizeof(GpuAddress::Tiler2d)});

    void pointViewsAtStorage();
    const GpuAddress::SurfaceInfo& surfaceInfo() const; // only with a mode

    alignas(8) std::byte m_storage[kStorageBytes]; // one tiler: trivially copyable
    GpuAddress::TilingParameters m_parameters;
    TilingMode m_tilingMode;
    GpuAddress::TilerLinear* m_tilerLinear; // the three views of the storage
    GpuAddress::Tiler1d* m_tiler1d;
    GpuAddress::Tiler2d* m_tiler2d;
};

} // namespace qor::Texsmith::Raw
