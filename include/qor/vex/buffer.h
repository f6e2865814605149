// The hardware's 16-byte buffer descriptor, and the plain descriptors of render targets.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/vex/texture.h"

#include <cstdint>

namespace qor::Vex {

//   r0  0-31 base address          r3  0-11 selects X, Y, Z, W
//   r1 16-29 stride in bytes       r3 12-15 channel type
//   r2  0-31 number of elements    r3 16-21 surface format, 22-28 resource memory type
class QOR_TEXSMITH_API Buffer {
public:
    std::uint32_t m_regs[4] = {};

    DataFormat getDataFormat() const;
    void setFormat(DataFormat format);
    unsigned getStride() const { return m_regs[1] >> 16 & 0x3FFF; }
    void setStride(unsigned stride);
    unsigned getNumElements() const { return m_regs[2]; }
    void setNumElements(unsigned elements) { m_regs[2] = elements; }
    ResourceMemoryType getResourceMemoryType() const { return ResourceMemoryType(m_regs[3] >> 22 & 0x7F); }
    void setResourceMemoryType(ResourceMemoryType value);
};

static_assert(sizeof(Buffer) == 16);

// Sizes in pixels.
struct RenderTarget {
    unsigned m_width = 1;
    unsigned m_height = 1;
    unsigned m_slices = 1;
    NumFragments m_fragments = kNumFragments1;
    TileMode m_tileMode = kTileModeThin_1dThin;
    DataFormat m_dataFormat = {};
};

// The depth plane has 16 or 32 bits, the stencil plane 8.
struct DepthRenderTarget {
    unsigned m_width = 1;
    unsigned m_height = 1;
    unsigned m_slices = 1;
    NumFragments m_fragments = kNumFragments1;
    TileMode m_tileMode = kTileModeDepth_1dThin;
    TileMode m_stencilTileMode = kTileModeDepth_1dThin;
    unsigned m_depthBits = 32;
};

} // namespace qor::Vex
