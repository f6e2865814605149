// The hardware's 32-byte texture descriptor.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/vex/data_format.h"

#include <cstdint>

namespace qor::Vex {

// The most that a descriptor can name.
inline constexpr unsigned kMaxTextureSize = 16384;  // pixels, either way
inline constexpr unsigned kMaxTextureSlices = 8192; // depth slices, or array entries times faces

enum TileMode : std::uint32_t {
    kTileModeDepth_2dThin_64 = 0,
    kTileModeDepth_2dThin_128 = 1,
    kTileModeDepth_2dThin_256 = 2,
    kTileModeDepth_2dThin_512 = 3,
    kTileModeDepth_2dThin_1K = 4,
    kTileModeDepth_1dThin = 5,
    kTileModeDepth_2dThinPrt_256 = 6,
    kTileModeDepth_2dThinPrt_1K = 7,
    kTileModeDisplay_LinearAligned = 8,
    kTileModeDisplay_1dThin = 9,
    kTileModeDisplay_2dThin = 10,
    kTileModeDisplay_ThinPrt = 11,
    kTileModeDisplay_2dThinPrt = 12,
    kTileModeThin_1dThin = 13,
    kTileModeThin_2dThin = 14,
    kTileModeThin_3dThin = 15,
    kTileModeThin_ThinPrt = 16,
    kTileModeThin_2dThinPrt = 17,
    kTileModeThin_3dThinPrt = 18,
    kTileModeThick_1dThick = 19,
    kTileModeThick_2dThick = 20,
    kTileModeThick_3dThick = 21,
    kTileModeThick_ThickPrt = 22,
    kTileModeThick_2dThickPrt = 23,
    kTileModeThick_3dThickPrt = 24,
    kTileModeThick_2dXThick = 25,
    kTileModeThick_3dXThick = 26,
    kTileModeLinearGeneral = 31,
};

// How the elements of an array mode are grouped; see gpu_address.
enum ArrayMode : std::uint32_t {
    kArrayModeLinearGeneral = 0,
    kArrayModeLinearAligned = 1,
    kArrayMode1dThin = 2,
    kArrayMode1dThick = 3,
    kArrayMode2dThin = 4,
    kArrayModeThinPrt = 5,
    kArrayMode2dThinPrt = 6,
    kArrayMode2dThick = 7,
    kArrayMode2dXThick = 8,
    kArrayModeThickPrt = 9,
    kArrayMode2dThickPrt = 10,
    kArrayMode3dThinPrt = 11,
    kArrayMode3dThin = 12,
    kArrayMode3dThick = 13,
    kArrayMode3dXThick = 14,
    kArrayMode3dThickPrt = 15,
};

enum MicroTileMode : std::uint32_t {
    kMicroTileModeDisplay = 0,
    kMicroTileModeThin = 1,
    kMicroTileModeDepth = 2,
    kMicroTileModeRotated = 3,
    kMicroTileModeThick = 4,
};

enum TextureType : std::uint32_t {
    kTextureType1d = 8,
    kTextureType2d = 9,
    kTextureType3d = 10,
    kTextureTypeCubemap = 11,
    kTextureType1dArray = 12,
    kTextureType2dArray = 13,
    kTextureType2dMsaa = 14,
    kTextureType2dArrayMsaa = 15,
};

// log2 of the number of fragments.
enum NumFragments : std::uint32_t {
    kNumFragments1 = 0,
    kNumFragments2 = 1,
    kNumFragments4 = 2,
    kNumFragments8 = 3,
};

enum ResourceMemoryType : std::uint32_t {
    kResourceMemoryTypeReadOnly = 16,
    kResourceMemoryTypePrivate = 96,
    kResourceMemoryTypeGpuCoherent = 109,
    kResourceMemoryTypeSystemCoherent = 110,
    kResourceMemoryTypeUncached = 111,
};

// What a surface needs when tiled, in bytes.
struct SizeAlign {
    std::uint64_t m_size;
    std::uint32_t m_align;
};

// Eight registers of 32 bits:
//
//   r0  0-31 base address bits 8-39           r3 20-24 tile mode
//   r1  0-7  base address bits 40-47          r3 25-27 zero
//   r1  8-19 min LOD clamp                    r3 28-31 texture type
//   r1 20-25 surface format                   r4  0-12 depth - 1, or array entries - 1 (cubes - 1)
//   r1 26-29 channel type                     r4 13-26 pitch - 1
//   r1 30-31 zero                             r4 27-28 log2 fragments
//   r2  0-13 width - 1                        r5  0-12 base array slice
//   r2 14-27 height - 1                       r5 13-25 last array slice (6 * cubes - 1)
//   r3  0-11 selects X, Y, Z, W               r6  0-19 carried by a change of format
//   r3 12-15 base mip, 16-19 last mip         r6 20-26 resource memory type
//
// Container files use r0, the low byte of r1 and r7 for their own ends. A default texture is all zeros.
class QOR_TEXSMITH_API Texture {
public:
    std::uint32_t m_regs[8] = {};

    // Sizes are in pixels and are clamped to at least 1; `slices` counts cubes of a cubemap. `fragments` is a
    // log2. An invalid surface format is accepted and gives a size of 0.
    SizeAlign initAs2d(unsigned width, unsigned height, unsigned mips, DataFormat format, TileMode tileMode,
                       NumFragments fragments);
    // `pitch` 0 lets the layout choose.
    SizeAlign initAs2dArray(unsigned width, unsigned height, unsigned slices, unsigned pitch, unsigned mips,
                            DataFormat format, TileMode tileMode, NumFragments fragments, bool cubemap);

    SizeAlign initAs3d(unsigned width, unsigned height, unsigned depth, unsigned mips, DataFormat format,
                       TileMode tileMode);

    DataFormat getDataFormat() const;
    void setDataFormat(DataFormat format);

    unsigned getWidth() const { return (m_regs[2] & 0x3FFF) + 1; }
    unsigned getHeight() const { return (m_regs[2] >> 14 & 0x3FFF) + 1; }
    // The depth field plus 1, whatever the texture type.
    unsigned getDepth() const { return (m_regs[4] & 0x1FFF) + 1; }

    unsigned getPitch() const { return (m_regs[4] >> 13 & 0x3FFF) + 1; }
    unsigned getBaseMipLevel() const { return m_regs[3] >> 12 & 0xF; }
    unsigned getLastMipLevel() const { return m_regs[3] >> 16 & 0xF; }
    unsigned getBaseArraySlice() const { return m_regs[5] & 0x1FFF; }
    unsigned getLastArraySlice() const { return m_regs[5] >> 13 & 0x1FFF; }
    TileMode getTileMode() const { return TileMode(m_regs[3] >> 20 & 0x1F); }
    TextureType getTextureType() const { return TextureType(m_regs[3] >> 28); }
    NumFragments getNumFragments() const { return NumFragments(m_regs[4] >> 27 & 3); }
    ResourceMemoryType getResourceMemoryType() const { return ResourceMemoryType(m_regs[6] >> 20 & 0x7F); }
    unsigned getMinLodClamp() const { return m_regs[1] >> 8 & 0xFFF; }

    // Write what they name, and leave all else as it is: what does not agree with it is not corrected.
    // Values are cut to the field.
    void setWidthMinus1(unsigned value);
    void setHeightMinus1(unsigned value);
    void setDepthMinus1(unsigned value);
    void setPitchMinus1(unsigned value);
    void setMipLevelRange(unsigned base, unsigned last);
    void setArrayView(unsigned base, unsigned last);
    void setMinLodClamp(unsigned value);
    void setTileMode(TileMode value);
    void setTextureType(TextureType value);
    void setNumFragments(NumFragments value);
    void setResourceMemoryType(ResourceMemoryType value);
};

static_assert(sizeof(Texture) == 32);

} // namespace qor::Vex
