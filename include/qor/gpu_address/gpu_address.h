// Where the elements of a tiled surface lie in memory.
//
// Every tile mode stands for an array mode and a micro tile mode. Elements (texels, or blocks of a compressed
// format) are gathered in micro tiles of 8 x 8 elements, T deep, and these in macro tiles:
//
//   linear    rows of elements, pitch padded to 8 elements
//   1d        micro tiles in row order
//   2d, 3d    micro tiles inside macro tiles, whose columns are swizzled by row (3d: and by depth)
//
// Inside a micro tile, elements stand in row order (display) or in Morton order (all others), depth
// outermost. Fragments are separate planes of the surface. The order never depends on the slice or the base
// address.
//
// All functions are pure and may be called from any thread. They return a status: kStatusSuccess, or
// kStatusInvalidArgument for a null pointer, a format without bytes, or an index out of range; the outputs
// are then zeroed.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/vex/buffer.h"
#include "qor/vex/texture.h"

#include <cstdint>

namespace qor::GpuAddress {

inline constexpr int kStatusSuccess = 0;
inline constexpr int kStatusInvalidArgument = static_cast<int>(0x80D30000u);

// The numbers by which a default tile mode is asked for.
enum SurfaceType : std::uint32_t {
    kSurfaceTypeTextureFlat = 7,
    kSurfaceTypeTextureVolume = 8,
    kSurfaceTypeTextureCubemap = 9,
    kSurfaceTypeRwTextureFlat = 10,
};

// In elements; right, bottom and back are one past the last.
struct SurfaceRegion {
    std::uint32_t m_left;
    std::uint32_t m_top;
    std::uint32_t m_front;
    std::uint32_t m_right;
    std::uint32_t m_bottom;
    std::uint32_t m_back;
};

// One surface: one mip of one slice. A default object is all zeros.
struct QOR_TEXSMITH_API TilingParameters {
    Vex::TileMode m_tileMode = Vex::TileMode(0);
    std::uint32_t m_bitsPerElement = 0; // bits per texel of a compressed format
    bool m_isBlockCompressed = false;   // an element is then a block of 4 x 4 texels
    std::uint32_t m_width = 0;          // pixels of this mip
    std::uint32_t m_height = 0;
    std::uint32_t m_depth = 0;
    std::uint32_t m_fragments = 0; // a count
    // The rest never changes the order.
    std::uint32_t m_mip = 0;
    std::uint32_t m_arraySlice = 0;
    std::uint64_t m_baseAddress = 0;
    std::uint32_t m_flags = 0;

    // The surface of one mip and one slice (an array entry times the faces, plus the face; 0 of a volume).
    int initFromTexture(const Vex::Texture* texture, unsigned mip, unsigned arraySlice);
    // The surface of one slice of a target, as a texture of one mip.
    int initFromRenderTarget(const Vex::RenderTarget* target, unsigned arraySlice);
    int initFromDepthSurface(const Vex::DepthRenderTarget* target, unsigned arraySlice);
    int initFromStencilSurface(const Vex::DepthRenderTarget* target, unsigned arraySlice);

    std::uint32_t elementBits() const {
        return m_isBlockCompressed ? m_bitsPerElement * 16 : m_bitsPerElement;
    }
    std::uint32_t elementsWide() const { return elementsOf(m_width); }
    std::uint32_t elementsTall() const { return elementsOf(m_height); }

private:
    std::uint32_t elementsOf(std::uint32_t pixels) const {
        return m_isBlockCompressed ? pixels / 4 + (pixels % 4 != 0) : pixels;
    }
};

// The padded layout of one surface. Pitch, height and depth are in elements.
struct SurfaceInfo {
    Vex::ArrayMode m_arrayMode; // differs from that of the tile mode when the surface is too small for it
    std::uint32_t m_pitch;
    std::uint32_t m_height;
    std::uint32_t m_depth;
    std::uint32_t m_macroWide; // micro tiles per macro tile; 1 where there are none
    std::uint32_t m_macroTall;
    std::uint64_t m_planeBytes; // one fragment
    std::uint64_t m_size;
    std::uint32_t m_alignment;
};

// The two modes that a tile mode stands for, as the table above has them.
QOR_TEXSMITH_API int getArrayMode(Vex::ArrayMode* arrayMode, Vex::TileMode tileMode);
QOR_TEXSMITH_API int getMicroTileMode(Vex::MicroTileMode* microTileMode, Vex::TileMode tileMode);
// The default for a surface of that type. `fragments` is a count.
QOR_TEXSMITH_API int computeSurfaceTileMode(Vex::TileMode* tileMode, SurfaceType type, Vex::DataFormat format,
                                            unsigned fragments);
// The padded layout of the surface that the parameters name.
QOR_TEXSMITH_API int computeSurfaceInfo(SurfaceInfo* info, const TilingParameters* parameters);

// All surfaces of a texture: mip by mip, all slices of a mip one after another at a constant stride.
QOR_TEXSMITH_API int computeTotalTiledTextureSize(std::uint64_t* size, unsigned* alignment,
                                                  const Vex::Texture* texture);
// `size` is the stride from one slice of the mip to the next. A volume has one slice per mip.
QOR_TEXSMITH_API int computeTextureSurfaceOffsetAndSize(std::uint64_t* offset, std::uint64_t* size,
                                                        const Vex::Texture* texture, unsigned mip,
                                                        unsigned arraySlice);
// One surface: rows unpadded, depth outer, fragments inner; and tiled.
QOR_TEXSMITH_API int computeUntiledSurfaceSize(std::uint64_t* size, unsigned* alignment,
                                               const TilingParameters* parameters);
QOR_TEXSMITH_API int computeTiledSurfaceSize(std::uint64_t* size, unsigned* alignment,
                                             const TilingParameters* parameters);
// Move one whole surface between the two orders above. Padding is neither read nor written.
QOR_TEXSMITH_API int tileSurface(void* tiled, const void* linear, const TilingParameters* parameters);
QOR_TEXSMITH_API int detileSurface(void* linear, const void* tiled, const TilingParameters* parameters);

// Tilers move rectangular regions of a surface. They are trivially copyable values. `pitch` and `slicePitch`
// of the linear side are in elements. Regions are cut to the padded box.
class QOR_TEXSMITH_API TilerBase {
public:
    const SurfaceInfo& getSurfaceInfo() const { return m_info; }
    std::uint32_t getElementBits() const { return m_elementBits; } // 0: the parameters were not usable
    Vex::MicroTileMode getMicroTileMode() const { return m_microTileMode; }

protected:
    explicit TilerBase(const TilingParameters* parameters);

    SurfaceInfo m_info;
    std::uint32_t m_elementBits;
    Vex::MicroTileMode m_microTileMode;
};

// Of the linear modes: rows of elements.
class QOR_TEXSMITH_API TilerLinear : public TilerBase {
public:
    explicit TilerLinear(const TilingParameters* parameters) : TilerBase(parameters) {}
    int tileSurfaceRegion(void* tiled, const void* linear, const SurfaceRegion* region, unsigned pitch,
                          unsigned slicePitch) const;
    int detileSurfaceRegion(void* linear, const void* tiled, const SurfaceRegion* region, unsigned pitch,
                            unsigned slicePitch) const;
};

// Of the 1d modes. The offset is in bits from the start of the tiled surface; x, y and z count elements.
class QOR_TEXSMITH_API Tiler1d : public TilerBase {
public:
    explicit Tiler1d(const TilingParameters* parameters) : TilerBase(parameters) {}
    int tileSurfaceRegion(void* tiled, const void* linear, const SurfaceRegion* region, unsigned pitch,
                          unsigned slicePitch) const;
    int detileSurfaceRegion(void* linear, const void* tiled, const SurfaceRegion* region, unsigned pitch,
                            unsigned slicePitch) const;
    int getTiledElementBitOffset(std::uint64_t* offset, unsigned x, unsigned y, unsigned z) const;
};

// Of the 2d and 3d modes. Moves one slice, at the region's front, of one fragment.
class QOR_TEXSMITH_API Tiler2d : public TilerBase {
public:
    explicit Tiler2d(const TilingParameters* parameters) : TilerBase(parameters) {}
    int tileSurfaceRegion(void* tiled, const void* linear, const SurfaceRegion* region, unsigned pitch,
                          unsigned fragment) const;
    int detileSurfaceRegion(void* linear, const void* tiled, const SurfaceRegion* region, unsigned pitch,
                            unsigned fragment) const;
    int getTiledElementBitOffset(std::uint64_t* offset, unsigned x, unsigned y, unsigned z,
                                 unsigned fragment) const;
};

} // namespace qor::GpuAddress
