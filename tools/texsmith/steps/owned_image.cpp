#include "steps/owned_image.h"

#include "failure.h"
#include "file_info.h"

#include "qor/texsmith/raw/format.h"
#include "qor/texsmith/raw/reformat.h"
#include "qor/vex/data_formats.h"

#include <algorithm>
#include <string>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

// Bits of the widest channel. Blocks of BC4 and BC5 give more than bytes hold.
unsigned widestChannel(Vex::DataFormat format) {
    switch (format.getSurfaceFormat()) {
    case Vex::kSurfaceFormatBc4:
    case Vex::kSurfaceFormatBc5:
    case Vex::kSurfaceFormatBc6:
        return 16;
    default:
        break;
    }
    if (format.isBlockCompressedFormat()) {
        return 8;
    }
    const Raw::SurfaceFormatInfo& info = Raw::getSurfaceFormatInfo(format.getSurfaceFormat());
    return *std::max_element(info.bitsPerChannel, info.bitsPerChannel + 4);
}

bool canBeRead(Vex::DataFormat format) {
    const Raw::SurfaceFormatInfo& info = Raw::getSurfaceFormatInfo(format.getSurfaceFormat());
    return info.decodeOne != nullptr || info.decodeBlock != nullptr;
}

bool canBeMade(Vex::DataFormat format) {
    const Raw::SurfaceFormatInfo& info = Raw::getSurfaceFormatInfo(format.getSurfaceFormat());
    return info.encodeOne != nullptr || info.encodeBlock != nullptr;
}

std::string whyNotConverted(Vex::DataFormat from, Vex::DataFormat to) {
    const std::string source = formatName(from), destination = formatName(to);
    const std::string reason = !canBeRead(from) ? "texels of " + source + " cannot be decoded"
                               : !canBeMade(to) ? "texels of " + destination + " cannot be made"
                                                : "there is no way between them";
    return source + " cannot become " + destination + ": " + reason;
}

} // namespace

OwnedImage makeImage(const Vex::Texture& texture) {
    auto image = std::make_unique<Raw::MemoryMappedImage>();
    image->reallocate(&texture);
    if (image->getMemoryRegion().begin == nullptr) {
        throw Failure("there is not enough memory for the picture", kExitOverLimit);
    }
    return image;
}

OwnedImage inFormat(const Raw::MemoryMappedImage& image, Vex::DataFormat format,
                    Configuration* configuration) {
    OwnedImage converted = makeImage(Raw::changeDataFormat(*image.getVexTexture(), format));
    if (Raw::reformat(&image, converted.get(), configuration) != Raw::kErrorNone) {
        throwUnsupported(whyNotConverted(image.getDataFormat(), format));
    }
    converted->setModifiers(image.getModifiers());
    return converted;
}

Vex::DataFormat fourChannelsLike(Vex::DataFormat format) {
    const bool isWide = widestChannel(format) > 8;
    if (format.getSurfaceFormat() == Vex::kSurfaceFormatBc6) {
        return Vex::kDataFormatR16G16B16A16Float;
    }
    switch (format.getTextureChannelType()) {
    case Vex::kTextureChannelTypeUNorm:
    case Vex::kTextureChannelTypeUBNorm:
    case Vex::kTextureChannelTypeUBNormNoZero:
        return isWide ? Vex::kDataFormatR16G16B16A16Unorm : Vex::kDataFormatR8G8B8A8Unorm;
    case Vex::kTextureChannelTypeSrgb:
        return isWide ? Vex::kDataFormatR16G16B16A16Unorm.withTextureChannelType(Vex::kTextureChannelTypeSrgb)
                      : Vex::kDataFormatR8G8B8A8UnormSrgb;
    case Vex::kTextureChannelTypeSNorm:
    case Vex::kTextureChannelTypeSNormNoZero:
        return isWide ? Vex::kDataFormatR16G16B16A16Snorm : Vex::kDataFormatR8G8B8A8Snorm;
    case Vex::kTextureChannelTypeFloat:
        return widestChannel(format) > 16 ? Vex::kDataFormatR32G32B32A32Float
                                          : Vex::kDataFormatR16G16B16A16Float;
    default:
        throw Failure("texels of integers, such as those of " + formatName(format) +
                          ", can be moved, but not computed with",
                      kExitUnsupported);
    }
}

} // namespace Tool
