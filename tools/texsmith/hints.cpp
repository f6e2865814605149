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

bool losesColour(const Raw::Image& picture, Vex::DataFormat format, Configuration* configuration) {
    const Vex::DataFormat from = picture.getDataFormat();
    const bool readsOneChannel =
        from.getChannel(0) == from.getChannel(1) && from.getChannel(0) == from.getChannel(2);
    if (format.getSurfaceFormat() != Vex::kSurfaceFormatBc4 || readsOneChannel ||
        from.getSurfaceFormat() == Vex::kSurfaceFormatBc4) {
        return false;
    }
    const auto range = rangeOf(picture, configuration);
    const auto differ = [](const auto& channels) {
        return channels[0] != channels[1] || channels[0] != channels[2];
    };
    return range && (differ(range->min) || differ(range->max) || differ(range->sum));
}

} // namespace

void hintAtQuality(const Raw::Image& picture, Vex::DataFormat format, Configuration* configuration) {
    if (wastesTransparency(picture, format, configuration)) {
        const bool isSrgb = format.getTextureChannelType() == Vex::kTextureChannelTypeSrgb;
        hint(std::string("an opaque picture loses quality in a format with transparency; pick ") +
             (isSrgb ? "Bc1UnormSrgbNoAlpha" : "Bc1UnormNoAlpha"));
    }
    if (losesColour(picture, format, configuration)) {
        hint(formatName(format) + " keeps red alone, and the channels of the picture differ");
    }
    const unsigned width = picture.getPixelsWide(0), height = picture.getPixelsTall(0);
    if (format.isBlockCompressedFormat() && (width % 4 != 0 || height % 4 != 0)) {
        hint(std::to_string(width) + " x " + std::to_string(height) +
             " is no multiple of 4: some hardware wants that of the largest level of compressed textures");
    }
}

} // namespace Tool
