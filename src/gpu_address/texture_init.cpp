// Filling texture descriptors for textures of each shape.
#include "qor/gpu_address/gpu_address.h"
#include "qor/vex/texture.h"

#include <algorithm>

// Descriptors know their size through the addressing layer, which is why these stand here.
namespace qor::Vex {

namespace {

constexpr unsigned kMaxMips = 16;

struct Shape {
    TextureType m_type;
    unsigned m_width;
    unsigned m_height;
    unsigned m_depth; // or array entries, or cubes
    unsigned m_slices;
    unsigned m_mips;
    NumFragments m_fragments;
};

void fill(Texture& texture, const Shape& shape, DataFormat format, TileMode tileMode) {
    texture = {};
    texture.setTextureType(shape.m_type);
    texture.setDataFormat(format);
    texture.setTileMode(tileMode);
    texture.setWidthMinus1(std::clamp(shape.m_width, 1u, kMaxTextureSize) - 1);
    texture.setHeightMinus1(std::clamp(shape.m_height, 1u, kMaxTextureSize) - 1);
    texture.setDepthMinus1(shape.m_depth - 1);
    texture.setMipLevelRange(0, std::clamp(shape.m_mips, 1u, kMaxMips) - 1);
    texture.setArrayView(0, shape.m_slices - 1);
    texture.setNumFragments(shape.m_fragments);
    texture.setResourceMemoryType(kResourceMemoryTypeReadOnly);
}

// In pixels; that of mip 0. Informs the hardware alone.
unsigned pitchOf(const Texture& texture) {
    GpuAddress::TilingParameters parameters;
    GpuAddress::SurfaceInfo info;
    if (parameters.initFromTexture(&texture, 0, 0) != GpuAddress::kStatusSuccess ||
        GpuAddress::computeSurfaceInfo(&info, &parameters) != GpuAddress::kStatusSuccess) {
        return texture.getWidth();
    }
    return info.m_pitch * (parameters.m_isBlockCompressed ? 4 : 1);
}

SizeAlign finish(Texture& texture, unsigned pitch) {
    const unsigned pixels = pitch != 0 ? pitch : pitchOf(texture);
    texture.setPitchMinus1(std::min(pixels, kMaxTextureSize) - 1);
    std::uint64_t size = 0;
    unsigned alignment = 0;
    GpuAddress::computeTotalTiledTextureSize(&size, &alignment, &texture);
    return {size, alignment};
}

} // namespace

SizeAlign Texture::initAs2d(unsigned width, unsigned height, unsigned mips, DataFormat format,
                            TileMode tileMode, NumFragments fragments) {
    const TextureType type = fragments == kNumFragments1 ? kTextureType2d : kTextureType2dMsaa;
    fill(*this, {type, width, height, 1, 1, mips, fragments}, format, tileMode);
    return finish(*this, 0);
}

SizeAlign Texture::initAs2dArray(unsigned width, unsigned height, unsigned slices, unsigned pitch,
                                 unsigned mips, DataFormat format, TileMode tileMode, NumFragments fragments,
                                 bool cubemap) {
    const unsigned faces = cubemap ? 6 : 1;
    const unsigned entries = std::clamp(slices, 1u, kMaxTextureSlices / faces);
    const TextureType flat = fragments == kNumFragments1 ? kTextureType2dArray : kTextureType2dArrayMsaa;
    const TextureType type = cubemap ? kTextureTypeCubemap : flat;
    fill(*this, {type, width, height, entries, entries * faces, mips, fragments}, format, tileMode);
    return finish(*this, pitch);
}

SizeAlign Texture::initAs3d(unsigned width, unsigned height, unsigned depth, unsigned mips, DataFormat format,
                            TileMode tileMode) {
    const unsigned slices = std::clamp(depth, 1u, kMaxTextureSlices);
    fill(*this, {kTextureType3d, width, height, slices, 1, mips, kNumFragments1}, format, tileMode);
    return finish(*this, 0);
}

} // namespace qor::Vex
