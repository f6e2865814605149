// texsmith formats: the formats that have a name.
#include "commands.h"
#include "console.h"
#include "json_output.h"

#include "qor/texsmith/raw/format.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string>
#include <vector>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

const char* channelTypeName(Vex::TextureChannelType type) {
    static constexpr const char* kNames[] = {"UNorm",  "SNorm",        "UScaled", "SScaled", "UInt",
                                             "SInt",   "SNormNoZero",  "Float",   "",        "Srgb",
                                             "UBNorm", "UBNormNoZero", "UBInt",   "UBScaled"};
    return type < std::size(kNames) ? kNames[type] : "";
}

// The bits of its channels from the lowest one on, or the size of its blocks.
std::string layoutOf(const Raw::SurfaceFormatInfo& info) {
    if (info.blockWidth > 1) {
        return std::to_string(info.blockWidth) + " x " + std::to_string(info.blockHeight) + " block";
    }
    std::string text;
    for (unsigned channel = 0; channel < info.channels; ++channel) {
        text += (channel > 0 ? "_" : "") + std::to_string(info.bitsPerChannel[channel]);
    }
    return text;
}

std::string swizzleOf(Vex::DataFormat format) {
    static constexpr char kSelects[] = "01??XYZW";
    std::string text;
    for (unsigned channel = 0; channel < 4; ++channel) {
        text += kSelects[format.getChannel(channel) & 7];
    }
    return text;
}

struct NamedFormat {
    const char* m_name;
    Vex::DataFormat m_format;
    const Raw::SurfaceFormatInfo& m_info;
};

// All but the name for none.
std::vector<NamedFormat> namedFormats() {
    std::vector<NamedFormat> formats;
    for (int index = 0; index < Raw::getNamedDataFormatCount(); ++index) {
        const auto [name, format] = Raw::getNamedDataFormat(index);
        if (format.m_word != 0) {
            formats.push_back({name, format, Raw::getSurfaceFormatInfo(format.getSurfaceFormat())});
        }
    }
    return formats;
}

Json describeFormat(const NamedFormat& format) {
    return {{"name", format.m_name},
            {"layout", layoutOf(format.m_info)},
            {"bytes", format.m_info.bytesPerElement},
            {"type", channelTypeName(format.m_format.getTextureChannelType())},
            {"swizzle", swizzleOf(format.m_format)}};
}

void run(const Options&) {
    const std::vector<NamedFormat> formats = namedFormats();
    if (isJson()) {
        Json list = Json::array();
        std::transform(formats.begin(), formats.end(), std::back_inserter(list), &describeFormat);
        printJson(kFormatsCommand, {{"formats", list}});
        return;
    }
    std::printf("%-22s %-14s %5s  %-12s %s\n", "name", "layout", "bytes", "type", "swizzle");
    for (const NamedFormat& format : formats) {
        std::printf("%-22s %-14s %5u  %-12s %s\n", format.m_name, layoutOf(format.m_info).c_str(),
                    format.m_info.bytesPerElement, channelTypeName(format.m_format.getTextureChannelType()),
                    swizzleOf(format.m_format).c_str());
    }
}

constexpr Example kExamples[] = {{"formats", "all of them, one a line"}};

} // namespace

const Command kFormatsCommand = {
    .m_name = "formats",
    .m_summary = "lists the formats that have a name",
    .m_examples = kExamples,
    .m_run = &run,
};

} // namespace Tool
