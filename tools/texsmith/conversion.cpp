#include "conversion.h"

#include "console.h"
#include "failure.h"
#include "file_info.h"
#include "steps/mip_steps.h"
#include "steps/picture_steps.h"

#include "qor/texsmith/raw/dds.h"
#include "qor/texsmith/raw/format.h"
#include "qor/texsmith/raw/helpers.h"
#include "qor/texsmith/raw/image.h"
#include "qor/texsmith/raw/statistics.h"

#include <memory>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

constexpr Raw::FileType kDds = Raw::makeFileType(".DDS");

bool selectsAlpha(Vex::DataFormat format) { return format.getChannel(3) == Vex::kTextureChannelW; }

// Blocks of such a format give up one colour of four for a transparency that an opaque picture lacks.
bool wastesTransparency(const Raw::ElementProvider& picture, Vex::DataFormat format,
                        Configuration* configuration) {
    if (format.getSurfaceFormat() != Vex::kSurfaceFormatBc1 || !selectsAlpha(format)) {
        return false;
    }
    if (!selectsAlpha(picture.getDataFormat())) {
        return true;
    }
    Raw::MinMaxMean range;
    return Raw::getMinMaxMean(&picture, &range, configuration) == Raw::kErrorNone && range.min[3] >= 1.0f;
}

// With a hint at a better choice.
OwnedImage inWantedFormat(const Raw::MemoryMappedImage& image, Vex::DataFormat format,
                          Configuration* configuration) {
    if (wastesTransparency(image, format, configuration)) {
        const bool isSrgb = format.getTextureChannelType() == Vex::kTextureChannelTypeSrgb;
        hint(std::string("an opaque picture loses quality in a format with transparency; pick ") +
             (isSrgb ? "Bc1UnormSrgbNoAlpha" : "Bc1UnormNoAlpha"));
    }
    return inFormat(image, format, configuration);
}

// The classic header where it brings the format back, and the extended one where it does not.
unsigned ddsVersionFor(Vex::DataFormat format, const ConversionOptions& options,
                       const Configuration& configuration) {
    const auto formatBack = [&](unsigned version) {
        return Raw::getFormatInDds(format, version, configuration.m_textureChannelType);
    };
    const bool classicServes = formatBack(9) == format;
    const unsigned version = options.m_ddsVersion.value_or(classicServes ? 9 : Raw::kDdsVersionDx10);
    if (!(formatBack(version) == format)) {
        hint("a DDS header of version " + std::to_string(version) + " cannot name " + formatName(format) +
             "; it will be read as " + formatName(formatBack(version)));
    }
    return version;
}

Raw::Error writeDds(const Raw::Image& image, Raw::ResizableMemoryRegion* destination,
                    const ConversionOptions& options, Configuration* configuration) {
    if (image.getSurfaceCount().arrayEntries > 1) {
        hint("readers of DDS files take the first slice of an array");
    }
    const unsigned version = ddsVersionFor(image.getDataFormat(), options, *configuration);
    return Raw::convertToDds(&image, destination, version, configuration);
}

} // namespace

Raw::Error convertRegions(MemoryRegion* source, const std::string& sourceName,
                          Raw::ResizableMemoryRegion* destination, const std::string& destinationName,
                          const ConversionOptions& options, Configuration* configuration) {
    const Raw::FileType from = Raw::getFileTypeFromExtension(sourceName.c_str());
    const Raw::FileType to = Raw::getFileTypeFromExtension(destinationName.c_str());
    if (options.changeNothing() && (to != kDds || from == kDds)) {
        return Raw::convertWithResult(source, sourceName.c_str(), destination, destinationName.c_str(),
                                      configuration);
    }
    auto image = std::make_unique<Raw::MemoryMappedImage>();
    const Raw::Error error = Raw::loadWithResult(image.get(), source, sourceName.c_str(), configuration, 0);
    if (error != Raw::kErrorNone) {
        return error;
    }
    if (options.m_size || options.m_steps.changePicture()) {
        image = withPictureSteps(std::move(image), options.m_steps, options.m_size, options.m_filter,
                                 configuration);
    }
    if (options.m_mips) {
        image = withMips(std::move(image), options.m_steps, configuration);
    }
    if (options.m_format) {
        image = inWantedFormat(*image, *options.m_format, configuration);
    }
    if (options.m_steps.m_tileMode) {
        image = withTileMode(std::move(image), *options.m_steps.m_tileMode);
    }
    return to == kDds ? writeDds(*image, destination, options, configuration)
                      : Raw::saveWithResult(image.get(), destination, destinationName.c_str(), configuration);
}

} // namespace Tool
