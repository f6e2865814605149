#include "steps/losses.h"

#include "console.h"
#include "failure.h"

#include "qor/texsmith/raw/format.h"
#include "qor/texsmith/raw/statistics.h"

#include <algorithm>
#include <iterator>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

// What a type of file holds.
struct Capacity {
    Raw::FileType m_type;
    bool m_hasParts;    // slices, faces, depth and mips
    bool m_hasTextures; // more than one
    bool m_hasAlpha;
    unsigned m_bits; // of a channel; 0: whatever the format has
};
constexpr Capacity kCapacities[] = {
    {Raw::makeFileType(".VXF"), true, true, true, 0},
    {Raw::makeFileType(".DDS"), true, false, true, 0},
    {Raw::makeFileType(".PNG"), false, false, true, 16},
    {Raw::makeFileType(".BMP"), false, false, true, 8},
    {Raw::makeFileType(".TGA"), false, false, true, 8},
    {Raw::makeFileType(".JPG"), false, false, false, 8},
    {Raw::makeFileType(".HDR"), false, false, false, 32},
    {Raw::makeFileType(".PFM"), false, false, false, 32},
};
constexpr Capacity kOther = {0, false, false, true, 0};
constexpr unsigned kBitsOfFloats = 32;

Capacity capacityOf(const std::string& name) {
    const Raw::FileType type = Raw::getFileTypeFromExtension(name.c_str());
    const auto* found = std::find_if(std::begin(kCapacities), std::end(kCapacities),
                                     [type](const Capacity& capacity) { return capacity.m_type == type; });
    return found != std::end(kCapacities) ? *found : kOther;
}

void tell(const std::string& loss, const ConversionOptions& options) {
    if (options.m_isStrict) {
        throw Failure(loss + ", which --strict does not permit", kExitUnsupported);
    }
    hint(loss);
}

std::string count(unsigned number, const char* thing) { return std::to_string(number) + " " + thing; }

bool hasAlpha(Vex::DataFormat format) { return format.getChannel(3) >= Vex::kTextureChannelX; }

unsigned bitsOf(Vex::DataFormat format) {
    const Raw::SurfaceFormatInfo& info = Raw::getSurfaceFormatInfo(format.getSurfaceFormat());
    return info.blockWidth > 1 ? 8 : *std::max_element(info.bitsPerChannel, info.bitsPerChannel + 4);
}

bool losesAlpha(Vex::DataFormat format, const Capacity& to, const ConversionOptions& options) {
    return hasAlpha(format) && (!to.m_hasAlpha || (options.m_format && !hasAlpha(*options.m_format)));
}

bool losesRange(Vex::DataFormat format, const Capacity& to, const ConversionOptions& options) {
    const bool isStoredAsFloats = !options.m_format || isFloat(*options.m_format);
    const Vex::TextureChannelType type = format.getTextureChannelType();
    if (type == Vex::kTextureChannelTypeSNorm || type == Vex::kTextureChannelTypeSNormNoZero) {
        const bool keepsSign = !options.m_format || options.m_format->getTextureChannelType() == type;
        return !(isStoredAsFloats || keepsSign) || (to.m_bits != 0 && to.m_bits < kBitsOfFloats);
    }
    return isFloat(format) && (!isStoredAsFloats || (to.m_bits != 0 && to.m_bits < kBitsOfFloats));
}

// Of a format that was asked for, everybody knows its bits.
bool losesPrecision(Vex::DataFormat format, const Capacity& to) {
    return to.m_bits != 0 && bitsOf(format) > to.m_bits;
}

} // namespace

void tellLostParts(const Raw::FileDescription& parts, const std::string& sourceName,
                   const std::string& destinationName, const ConversionOptions& options) {
    const bool isCopied = Raw::getFileTypeFromExtension(sourceName.c_str()) ==
                              Raw::getFileTypeFromExtension(destinationName.c_str()) &&
                          options.changeNothing();
    if (isCopied) {
        return;
    }
    const Capacity to = capacityOf(destinationName);
    if (parts.m_textures > 1) {
        tell("only the first of " +
                 count(parts.m_textures, "textures is written; 'texsmith extract' takes the others"),
             options);
    }
    const bool changesSize = options.m_size || options.m_steps.m_crop || options.m_steps.m_maxSize ||
                             options.m_steps.m_padToMultiple || options.m_steps.m_mirrors ||
                             options.m_steps.m_turnsOver;
    if (parts.m_mips > 1 && !options.m_mips && (!to.m_hasParts || changesSize)) {
        tell(to.m_hasParts ? "the smaller mips are left out; --mips makes them anew"
                           : "only the largest of " + count(parts.m_mips, "mips is written"),
             options);
    }
    if (to.m_hasParts) {
        return;
    }
    if (parts.m_faces > 1) {
        tell("only the first of " + count(parts.m_faces, "faces is written"), options);
    }
    if (parts.m_arrayEntries > 1) {
        tell("only the first of " + count(parts.m_arrayEntries, "slices is written"), options);
    }
    if (parts.m_depth > 1) {
        tell("only the first of " + count(parts.m_depth, "slices of the volume is written"), options);
    }
}

bool mayLoseValues(Vex::DataFormat format, const std::string& destinationName,
                   const ConversionOptions& options) {
    const Capacity to = capacityOf(destinationName);
    return format.m_word != 0 &&
           (losesAlpha(format, to, options) || losesRange(format, to, options) || losesPrecision(format, to));
}

void tellLostValues(const Raw::MemoryMappedImage& image, const std::string& destinationName,
                    const ConversionOptions& options, Configuration* configuration) {
    const Vex::DataFormat format = image.getDataFormat();
    const Capacity to = capacityOf(destinationName);
    const bool mayLoseAlpha = losesAlpha(format, to, options), mayLoseRange = losesRange(format, to, options);
    Raw::MinMaxMean range;
    range.Clear();
    if ((mayLoseAlpha || mayLoseRange) &&
        Raw::getMinMaxMean(&image, &range, configuration) != Raw::kErrorNone) {
        return;
    }
    if (mayLoseAlpha && range.min[3] < 1.0f) {
        tell("its alpha is lost", options);
    }
    const auto isOutside = [&range](unsigned channel) {
        return range.min[channel] < 0.0f || range.max[channel] > 1.0f;
    };
    if (mayLoseRange && (isOutside(0) || isOutside(1) || isOutside(2))) {
        tell("its values beyond 0 to 1 are cut off", options);
    } else if (losesPrecision(format, to)) {
        tell(count(bitsOf(format), "bits of each channel become ") + std::to_string(to.m_bits), options);
    }
}

} // namespace Tool
