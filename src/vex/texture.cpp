// The fields of the texture descriptor, by register and bit.
#include "qor/vex/texture.h"

#include "vex/register_field.h"

namespace qor::Vex {

namespace {

constexpr RegisterField kMinLodClamp{8, 12};
constexpr RegisterField kSurfaceFormat{20, 6};
constexpr RegisterField kChannelType{26, 4};
constexpr RegisterField kWidth{0, 14};
constexpr RegisterField kHeight{14, 14};
constexpr RegisterField kSelects{0, 12};
constexpr RegisterField kBaseMip{12, 4};
constexpr RegisterField kLastMip{16, 4};
constexpr RegisterField kTileMode{20, 5};
constexpr RegisterField kTextureType{28, 4};
constexpr RegisterField kDepth{0, 13};
constexpr RegisterField kPitch{13, 14};
constexpr RegisterField kFragments{27, 2};
constexpr RegisterField kBaseSlice{0, 13};
constexpr RegisterField kLastSlice{13, 13};
constexpr RegisterField kMemoryType{20, 7};

} // namespace

DataFormat Texture::getDataFormat() const {
    return {kSurfaceFormat.get(m_regs[1]) | kChannelType.get(m_regs[1]) << 8 | kSelects.get(m_regs[3]) << 12};
}

void Texture::setDataFormat(DataFormat format) {
    kSurfaceFormat.set(m_regs[1], format.getSurfaceFormat());
    kChannelType.set(m_regs[1], format.getTextureChannelType());
    kSelects.set(m_regs[3], format.getChannels());
}

void Texture::setWidthMinus1(unsigned value) { kWidth.set(m_regs[2], value); }
void Texture::setHeightMinus1(unsigned value) { kHeight.set(m_regs[2], value); }
void Texture::setDepthMinus1(unsigned value) { kDepth.set(m_regs[4], value); }
void Texture::setPitchMinus1(unsigned value) { kPitch.set(m_regs[4], value); }
void Texture::setMinLodClamp(unsigned value) { kMinLodClamp.set(m_regs[1], value); }
void Texture::setTileMode(TileMode value) { kTileMode.set(m_regs[3], value); }
void Texture::setTextureType(TextureType value) { kTextureType.set(m_regs[3], value); }
void Texture::setNumFragments(NumFragments value) { kFragments.set(m_regs[4], value); }
void Texture::setResourceMemoryType(ResourceMemoryType value) { kMemoryType.set(m_regs[6], value); }

void Texture::setMipLevelRange(unsigned base, unsigned last) {
    kBaseMip.set(m_regs[3], base);
    kLastMip.set(m_regs[3], last);
}

void Texture::setArrayView(unsigned base, unsigned last) {
    kBaseSlice.set(m_regs[5], base);
    kLastSlice.set(m_regs[5], last);
}

} // namespace qor::Vex
