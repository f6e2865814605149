#include "raw/texels/channels.h"

#include "qor/vex/data_formats.h"

#include <limits>

namespace qor::Texsmith::Raw {
namespace {

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

bool isIdentitySwizzle(Vex::DataFormat format) {
    return format.getChannels() == Vex::kDataFormatR8G8B8A8Unorm.getChannels();
}

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
