#include "conversion.h"

#include "console.h"
#include "failure.h"
#include "file_info.h"
#include "hints.h"
#include "source_numbers.h"
#include "steps/losses.h"
#include "steps/mip_steps.h"
#include "steps/picture_steps.h"

#include "qor/texsmith/raw/dds.h"
#include "qor/texsmith/raw/file_description.h"
#include "qor/texsmith/raw/format.h"
#include "qor/texsmith/raw/helpers.h"
#include "qor/texsmith/raw/image.h"

#include <memory>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

constexpr Raw::FileType kDds = Raw::makeFileType(".DDS");
constexpr Raw::FileType kVxf = Raw::makeFileType(".VXF");

bool areSameButForType(Vex::DataFormat a, Vex::DataFormat b) {
    return a == b.withTextureChannelType(a.getTextureChannelType());
}

// The classic header where it brings the format back and there is no array, which it cannot tell of; and the
// extended one where it does not.
unsigned ddsVersionFor(const Raw::Image& image, const ConversionOptions& options,
                       const Configuration& configuration) {
    const Vex::DataFormat format = image.getDataFormat();
    const auto formatBack = [&](unsigned version) {
        return Raw::getFormatInDds(format, version, configuration.m_textureChannelType);
    };
    const bool isArray = image.getSurfaceCount().arrayEntries > 1;
    // One that loses the type alone is better than one that changes the channels.
    const bool classicServes =
        (formatBack(9) == format && !(isArray && formatBack(10) == format)) ||
        (areSameButForType(formatBack(9), format) && !areSameButForType(formatBack(10), format));
    const unsigned version = options.m_ddsVersion.value_or(classicServes ? 9 : Raw::kDdsVersionDx10);
    if (!(formatBack(version) == format)) {
        hint("a DDS header of version " + std::to_string(version) + " cannot name " + formatName(format) +
             "; it will be read as " + formatName(formatBack(version)));
    }
    if (isArray && version != Raw::kDdsVersionDx10) {
        hint("readers of DDS files take the first slice of an array");
    }
    return version;
}

Raw::Error writeDds(const Raw::Image& image, Raw::ResizableMemoryRegion* destination,
                    const ConversionOptions& options, Configuration* configuration) {
    const unsigned version = ddsVersionFor(image, options, *configuration);
    return Raw::convertToDds(&image, destination, version, configuration);
}

// Texels that go from container to container as they are stored, and whatever else the library does in one
// pass and with the same numbers.
bool isLeftToTheLibrary(const Numbers& numbers, Raw::FileType from, Raw::FileType to,
                        const ConversionOptions& options) {
    if (!options.changeNothing()) {
        return false;
    }
    if (from == to || (from == kDds && to == kVxf)) {
        return true;
    }
    return to != kDds && numbers != Numbers::kSrgb && !(numbers == Numbers::kLight && holdsPicture(to));
}

// Averages are made in light where the numbers are sRGB.
void changeShape(NumberedPicture* picture, const ConversionOptions& options, Configuration* configuration) {
    if (options.average()) {
        showAsSrgb(picture, configuration);
    }
    const bool averagesNormals =
        options.m_steps.m_isNormalMap && (options.m_size || options.m_steps.m_maxSize);
    const Vex::DataFormat format = picture->m_image->getDataFormat();
    if (averagesNormals) {
        picture->m_image = withZ(std::move(picture->m_image), configuration);
    }
    if (options.m_size || options.m_steps.changePicture()) {
        picture->m_image = withPictureSteps(std::move(picture->m_image), options.m_steps, options.m_size,
                                            options.m_filter, configuration);
    }
    if (averagesNormals) {
        picture->m_image = withUnitLengths(std::move(picture->m_image), configuration);
        picture->m_image =
            holdsZ(format) ? std::move(picture->m_image) : inFormat(*picture->m_image, format, configuration);
    }
    if (options.m_mips) {
        picture->m_image = withMips(std::move(picture->m_image), options.m_steps, configuration);
    }
}

// Normals get the Z and the range that the destination holds and the source does not.
void fitNormals(NumberedPicture* picture, Raw::FileType to, const ConversionOptions& options,
                Configuration* configuration) {
    const bool isWanted = options.m_format ? holdsZ(*options.m_format) : holdsPicture(to) || holdsFloats(to);
    if (options.m_steps.m_isNormalMap && isWanted) {
        picture->m_image = withZ(std::move(picture->m_image), configuration);
    }
    if (options.m_steps.m_isNormalMap && (options.m_format || holdsPicture(to))) {
        const auto type =
            options.m_format ? options.m_format->getTextureChannelType() : Vex::kTextureChannelTypeUNorm;
        picture->m_image = withNormalsFor(type, std::move(picture->m_image), configuration);
    }
}

// The extended header, which arrays need, names fewer formats than the classic one.
void nameForArray(NumberedPicture* picture, const ConversionOptions& options, Configuration* configuration) {
    const Vex::DataFormat format = picture->m_image->getDataFormat();
    const Vex::TextureChannelType type = format.getTextureChannelType();
    const auto isNamed = [configuration](Vex::DataFormat asked) {
        return Raw::getFormatInDds(asked, Raw::kDdsVersionDx10, configuration->m_textureChannelType) == asked;
    };
    const bool isUnsigned = type == Vex::kTextureChannelTypeUNorm || type == Vex::kTextureChannelTypeSrgb;
    if (picture->m_image->getSurfaceCount().arrayEntries <= 1 || options.m_format || options.m_ddsVersion ||
        !isUnsigned || format.isBlockCompressedFormat() || isNamed(format)) {
        return;
    }
    const Vex::DataFormat wide = fourChannelsLike(format);
    if (isNamed(wide)) {
        hint("texels become " + formatName(wide) + ", since DDS files with arrays cannot name their format");
        picture->m_image = inFormat(*picture->m_image, wide, configuration);
    }
}

void changeNumbers(NumberedPicture* picture, Raw::FileType to, const ConversionOptions& options,
                   Configuration* configuration) {
    if (options.m_format) {
        hintAtQuality(*picture->m_image, *options.m_format, options.m_steps.m_isNormalMap, configuration);
        convertFormat(picture, *options.m_format, options.m_transferOut, configuration);
    }
    if (holdsPicture(to) || holdsFloats(to)) {
        convertForPicture(picture, to, options.m_transferOut, configuration);
    } else if (!options.m_format) {
        convertForContainer(picture, to, options.m_transferOut, configuration);
    }
}

Raw::Error write(const NumberedPicture& picture, Raw::ResizableMemoryRegion* destination,
                 const std::string& name, const ConversionOptions& options, Configuration* configuration) {
    if (Raw::getFileTypeFromExtension(name.c_str()) == kDds) {
        return writeDds(*picture.m_image, destination, options, configuration);
    }
    configuration->m_numbersAreSrgb = picture.m_numbers == Numbers::kSrgb;
    return Raw::saveWithResult(picture.m_image.get(), destination, name.c_str(), configuration);
}

} // namespace

Raw::Error convertRegions(MemoryRegion* source, const std::string& sourceName,
                          Raw::ResizableMemoryRegion* destination, const std::string& destinationName,
                          const ConversionOptions& options, Configuration* configuration) {
    configuration->m_readingOptions = options.m_isLiteral ? Raw::kReadLiterally : Raw::kReadKindly;
    Raw::FileDescription description;
    Raw::describeFile(&description, source, sourceName.c_str(), configuration, 0);
    const Raw::FileType from = Raw::getFileTypeFromExtension(sourceName.c_str());
    const Raw::FileType to = Raw::getFileTypeFromExtension(destinationName.c_str());
    const SourceNumbers stated = numbersOf(description, description.m_format, options, to);
    if (from != to || !options.changeNothing()) {
        hintAtReading(description);
    }
    tellLostParts(description, sourceName, destinationName, options);
    const bool mayLose = from != to && mayLoseValues(description.m_format, destinationName, options);
    if (!mayLose && isLeftToTheLibrary(stated.m_numbers, from, to, options)) {
        hintAtNumbers(description, stated, options, to);
        return Raw::convertWithResult(source, sourceName.c_str(), destination, destinationName.c_str(),
                                      configuration);
    }
    NumberedPicture picture = {std::make_unique<Raw::MemoryMappedImage>(), Numbers::kData};
    const Raw::Error error =
        Raw::loadWithResult(picture.m_image.get(), source, sourceName.c_str(), configuration, 0);
    if (error != Raw::kErrorNone) {
        return error;
    }
    const SourceNumbers numbers = numbersOf(description, picture.m_image->getDataFormat(), options, to);
    hintAtNumbers(description, numbers, options, to);
    picture.m_numbers = numbers.m_numbers;
    if (picture.m_numbers != Numbers::kSrgb) {
        showAsNumbers(&picture);
    }
    fitNormals(&picture, to, options, configuration);
    changeShape(&picture, options, configuration);
    tellLostValues(*picture.m_image, destinationName, options, configuration);
    changeNumbers(&picture, to, options, configuration);
    if (to == kDds) {
        nameForArray(&picture, options, configuration);
    }
    if (options.m_steps.m_tileMode) {
        picture.m_image = withTileMode(std::move(picture.m_image), *options.m_steps.m_tileMode);
    }
    return write(picture, destination, destinationName, options, configuration);
}

} // namespace Tool
