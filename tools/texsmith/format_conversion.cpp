#include "format_conversion.h"

#include "failure.h"

#include "qor/texsmith/raw/format.h"
#include "qor/texsmith/raw/helpers.h"
#include "qor/texsmith/raw/image.h"
#include "qor/texsmith/raw/reformat.h"
#include "qor/texsmith/raw/statistics.h"

#include <cstdio>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

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

} // namespace

Vex::DataFormat findFormat(const std::string& name) {
    Configuration configuration;
    Vex::DataFormat format = {};
    if (Raw::makeDataFormat(&format, name.c_str(), &configuration) != 0) {
        throw UsageFailure("unknown format '" + name + "'; see texsmith formats");
    }
    return format;
}

Raw::Error convertToFormat(MemoryRegion* source, const std::string& sourceName,
                           Raw::ResizableMemoryRegion* destination, const std::string& destinationName,
                           Vex::DataFormat format, Configuration* configuration) {
    Raw::MemoryMappedImage image, converted;
    Raw::Error error = Raw::loadWithResult(&image, source, sourceName.c_str(), configuration, 0);
    if (error != Raw::kErrorNone) {
        return error;
    }
    if (wastesTransparency(image, format, configuration)) {
        const bool isSrgb = format.getTextureChannelType() == Vex::kTextureChannelTypeSrgb;
        std::fprintf(stderr,
                     "texsmith: hint: an opaque picture loses quality in a format with transparency; "
                     "pick %s\n",
                     isSrgb ? "Bc1UnormSrgbNoAlpha" : "Bc1UnormNoAlpha");
    }
    Raw::reallocate(&converted, &image, format);
    error = Raw::reformat(&image, &converted, configuration);
    if (error != Raw::kErrorNone) {
        return error;
    }
    return static_cast<Raw::Error>(
        Raw::save(&converted, destination, destinationName.c_str(), configuration));
}

} // namespace Tool
