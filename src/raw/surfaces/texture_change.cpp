// The descriptor of the same texture in another format or channel type.
#include "qor/texsmith/raw/texture.h"
#include "raw/surfaces/default_tile_mode.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr std::uint32_t kCarriedBitsOfRegister6 = 0xFFFFF;

// What stays of a texture when its format changes.
struct Shape {
    Vex::TextureType m_type;
    unsigned m_width, m_height, m_depth, m_mips;
    Vex::NumFragments m_fragments;
};

Shape shapeOf(const Vex::Texture& texture) {
    const Vex::TextureType type = texture.getTextureType();
    const bool isLine = type == Vex::kTextureType1d || type == Vex::kTextureType1dArray;
    const bool isMsaa = type == Vex::kTextureType2dMsaa || type == Vex::kTextureType2dArrayMsaa;
    return {type,
            texture.getWidth(),
            isLine ? 1 : texture.getHeight(),
            texture.getDepth(),
            texture.getLastMipLevel() + 1,
            isMsaa ? texture.getNumFragments() : Vex::kNumFragments1};
}

void initFlat(Vex::Texture& texture, const Shape& shape, Vex::DataFormat format) {
    const Vex::TileMode tileMode =
        defaultTileMode(GpuAddress::kSurfaceTypeTextureFlat, format, 1u << shape.m_fragments);
    texture.initAs2d(shape.m_width, shape.m_height, shape.m_mips, format, tileMode, shape.m_fragments);
}

void initFlatArray(Vex::Texture& texture, const Shape& shape, Vex::DataFormat format) {
    const Vex::TileMode tileMode =
        defaultTileMode(GpuAddress::kSurfaceTypeTextureFlat, format, 1u << shape.m_fragments);
    texture.initAs2dArray(shape.m_width, shape.m_height, shape.m_depth, 0, shape.m_mips, format, tileMode,
                          shape.m_fragments, false);
}

void initCubemap(Vex::Texture& texture, const Shape& shape, Vex::DataFormat format) {
    texture.initAs2dArray(shape.m_width, shape.m_height, shape.m_depth, 0, shape.m_mips, format,
                          defaultTileMode(GpuAddress::kSurfaceTypeTextureCubemap, format, 1),
                          Vex::kNumFragments1, true);
}

void initVolume(Vex::Texture& texture, const Shape& shape, Vex::DataFormat format) {
    texture.initAs3d(shape.m_width, shape.m_height, shape.m_depth, shape.m_mips, format,
                     defaultTileMode(GpuAddress::kSurfaceTypeTextureVolume, format, 1));
}

// False for a texture of unknown type.
bool init(Vex::Texture& texture, const Shape& shape, Vex::DataFormat format) {
    switch (shape.m_type) {
    case Vex::kTextureType1d:
    case Vex::kTextureType2d:
    case Vex::kTextureType2dMsaa:
        initFlat(texture, shape, format);
        return true;
    case Vex::kTextureType1dArray:
    case Vex::kTextureType2dArray:
    case Vex::kTextureType2dArrayMsaa:
        initFlatArray(texture, shape, format);
        return true;
    case Vex::kTextureTypeCubemap:
        initCubemap(texture, shape, format);
        return true;
    case Vex::kTextureType3d:
        initVolume(texture, shape, format);
        return true;
    default:
        return false;
    }
}

} // namespace

Vex::TileMode defaultTileMode(GpuAddress::SurfaceType type, Vex::DataFormat format, unsigned fragments) {
    Vex::TileMode tileMode = Vex::kTileModeThin_1dThin;
    GpuAddress::computeSurfaceTileMode(&tileMode, type, format, fragments);
    return tileMode;
}

void Texture::setTextureChannelType(Vex::TextureChannelType type) {
    setDataFormat(getDataFormat().withTextureChannelType(type));
}

Vex::Texture changeChannelType(Vex::Texture texture, Vex::TextureChannelType type) {
    texture.setDataFormat(texture.getDataFormat().withTextureChannelType(type));
    return texture;
}

Vex::Texture changeDataFormat(Vex::Texture texture, Vex::DataFormat format) {
    Vex::Texture changed;
    if (!init(changed, shapeOf(texture), format)) {
        return {};
    }
    // The one-dimensional types are made as two-dimensional ones.
    changed.setTextureType(texture.getTextureType());
    changed.setMipLevelRange(texture.getBaseMipLevel(), texture.getLastMipLevel());
    changed.setMinLodClamp(texture.getMinLodClamp());
    changed.m_regs[6] =
        (changed.m_regs[6] & ~kCarriedBitsOfRegister6) | (texture.m_regs[6] & kCarriedBitsOfRegister6);
    return changed;
}

} // namespace qor::Texsmith::Raw
