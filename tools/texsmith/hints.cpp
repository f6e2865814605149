#include "hints.h"

#include "console.h"
#include "file_info.h"

#include "qor/texsmith/raw/statistics.h"

#include <optional>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

bool selectsAlpha(Vex::DataFormat format) { return format.getChannel(3) == Vex::kTextureChannelW; }

std::optional<Raw::MinMaxMean> rangeOf(const Raw::Image& picture, Configuration* configuration) {
    Raw::MinMaxMean range;
    const bool isKnown = Raw::getMinMaxMean(&picture, &range, configuration) == Raw::kErrorNone;
    return isKnown ? std::optional(range) : std::nullopt;
}

// Blocks of such a format give up one colour of four for a transparency that an opaque picture lacks.
bool wastesTransparency(const Raw::Image& picture, Vex::DataFormat format, Configuration* configuration) {
    if (format.getSurfaceFormat() != Vex::kSurfaceFormatBc1 || !selectsAlpha(format)) {
        return false;
    }
    if (picture.getDataFormat().getChannel(3) < Vex::kTextureChannelX) {
        return true;
    }
    const auto range = rangeOf(picture, configuration);
    return range && range->min[3] >= 1.0f;
}

// How many of red, green and blue a format keeps apart.
unsigned coloursIn(Vex::DataFormat format) {
    const Vex::TextureChannel red = format.getChannel(0), green = format.getChannel(1),
                              blue = format.getChannel(2);
    const auto isStored = [](Vex::TextureChannel channel) { return channel >= Vex::kTextureChannelX; };
    return (isStored(red) ? 1u : 0u) + (isStored(green) && green != red ? 1u : 0u) +
           (isStored(blue) && blue != red && blue != green ? 1u : 0u);
}

bool losesColour(const Raw::Image& picture, Vex::DataFormat format, Configuration* configuration) {
    const unsigned kept = coloursIn(format);
    if (kept == 0 || kept >= coloursIn(picture.getDataFormat())) {
        return false;
    }
    const auto range = rangeOf(picture, configuration);
    if (kept == 2) {
        return range && (range->min[2] != 0 || range->max[2] != 0);
    }
    const auto differ = [](const auto& channels) {
        return channels[0] != channels[1] || channels[0] != channels[2];
    };
    return range && (differ(range->min) || differ(range->max) || differ(range->sum));
}

} // namespace

void hintAtQuality(const Raw::Image& picture, Vex::DataFormat format, bool isNormalMap,
                   Configuration* configuration) {
    if (wastesTransparency(picture, format, configuration)) {
        const bool isSrgb = format.getTextureChannelType() == Vex::kTextureChannelTypeSrgb;
        hint(std::string("an opaque picture loses quality in a format with transparency; pick ") +
             (isSrgb ? "Bc1UnormSrgbNoAlpha" : "Bc1UnormNoAlpha"));
    }
    if (!isNormalMap && losesColour(picture, format, configuration)) {
        hint(formatName(format) +
             (coloursIn(format) == 1
                  ? " keeps red alone, and the channels of the picture differ"
                  : " keeps red and green alone; --normal-map says that blue is the Z of normals"));
    }
    const unsigned width = picture.getPixelsWide(0), height = picture.getPixelsTall(0);
    if (format.isBlockCompressedFormat() && (width % 4 != 0 || height % 4 != 0)) {
        hint(std::to_string(width) + " x " + std::to_string(height) +
             " is no multiple of 4: some hardware wants that of the largest level of compressed textures; "
             "--pad-to-multiple 4 makes it so");
    }
}

} // namespace Tool
