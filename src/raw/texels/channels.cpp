#include "raw/texels/channels.h"

#include <limits>

namespace qor::Texsmith::Raw {
namespace {

constexpr std::uint32_t kSelectsMask = 0xFFF000;
constexpr std::uint32_t kSelectsXyzw = 0xFAC000;

constexpr VectorFloat allLanes(float value) { return {{value, value, value, value}}; }

} // namespace

bool isFloatingChannelType(Vex::TextureChannelType type) {
    return !isSignedIntegerChannelType(type) && !isUnsignedIntegerChannelType(type);
}

bool isSignedIntegerChannelType(Vex::TextureChannelType type) {
    return type == Vex::kTextureChannelTypeSInt || type == Vex::kTextureChannelTypeUBInt;
}

bool isUnsignedIntegerChannelType(Vex::TextureChannelType type) {
    return type == Vex::kTextureChannelTypeUInt;
}

bool isIdentitySwizzle(Vex::DataFormat format) { return (format.m_word & kSelectsMask) == kSelectsXyzw; }

void getChannelTypeRange(VectorFloat* lowest, VectorFloat* highest, Vex::TextureChannelType type) {
    switch (type) {
    case Vex::kTextureChannelTypeUNorm:
    case Vex::kTextureChannelTypeSrgb:
        *lowest = allLanes(0.0f);
        *highest = allLanes(1.0f);
        break;
    case Vex::kTextureChannelTypeSNorm:
    case Vex::kTextureChannelTypeSNormNoZero:
    case Vex::kTextureChannelTypeUBNorm:
    case Vex::kTextureChannelTypeUBNormNoZero:
        *lowest = allLanes(-1.0f);
        *highest = allLanes(1.0f);
        break;
    default:
        *lowest = allLanes(std::numeric_limits<float>::lowest());
        *highest = allLanes(std::numeric_limits<float>::max());
    }
}

} // namespace qor::Texsmith::Raw
