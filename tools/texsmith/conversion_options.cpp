#include "conversion_options.h"

#include "failure.h"
#include "format_lookup.h"
#include "options.h"
#include "source_file.h"

#include "qor/texsmith/raw/filetype.h"
#include "qor/texsmith/raw/format.h"

#include <utility>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

constexpr Option kTexelOptions[] = {
    {.m_name = "--format",
     .m_value = "FORMAT",
     .m_help = "stores the texels in that format: a name that 'texsmith formats' lists, a common one such as "
               "bc3 or rgba8, or JSON such as "
               "{'SurfaceFormat':'Bc4','ChannelType':'SNorm'}, whose other fields are 0",
     .m_example = "bc7-srgb"},
    {.m_name = "--effort",
     .m_value = "EFFORT",
     .m_help = "how long compressed blocks are searched for, normal without it",
     .m_example = "high",
     .m_choices = "fast|normal|high|best"},
    {.m_name = "--quality",
     .m_value = "N",
     .m_help = "how hard BC6H is searched, from 0.3 to 50; 1 without it",
     .m_example = "4"},
    {.m_name = "--dds-version",
     .m_value = "N",
     .m_help =
         "forces the classic or the extended header of a DDS file; without it the classic one serves where "
         "it can name the format",
     .m_example = "10",
     .m_choices = "9|10"},
};

constexpr Option kShapeOptions[] = {
    {.m_name = "--strict",
     .m_help = "fails where it would warn of the source, and where the destination cannot carry a part of "
               "it: slices, "
               "faces, depth, mips, further textures, alpha, range or precision; without it a hint names "
               "each of them"},
    {.m_name = "--resize",
     .m_value = "WxH",
     .m_help =
         "makes every face and slice of the largest level that size: in light where the picture's format is "
         "sRGB, and otherwise of its numbers",
     .m_example = "256x128"},
    {.m_name = "--filter",
     .m_value = "NAME",
     .m_help = "the filter of --resize and --max-size, lanczos without it",
     .m_example = "cubic",
     .m_choices = "box|triangle|cubic|lanczos"},
};

constexpr Option kNumberOptions[] = {
    {.m_name = "--transfer",
     .m_value = "MEANING",
     .m_help = "what the numbers of the source mean; auto, as without it, believes what the file says, takes "
               "one that says nothing for sRGB where the destination is sRGB, and else for data",
     .m_example = "srgb",
     .m_choices = "auto|srgb|linear"},
    {.m_name = "--data", .m_help = "short for --transfer linear: normals, masks, heights"},
    {.m_name = "--transfer-out",
     .m_value = "MEANING",
     .m_help = "makes the numbers of the destination sRGB or linear, whatever its format asks for",
     .m_example = "linear",
     .m_choices = "srgb|linear"},
    {.m_name = "--literal",
     .m_help = "reads files as their headers have it to the letter, and not as their writers meant it: "
               "attribute bits of TGA, arrays in DDS, the order of PFM"},
};

constexpr Raw::FileType kDds = Raw::makeFileType(".DDS");
constexpr Raw::FileType kVxf = Raw::makeFileType(".VXF");

Raw::EncoderEffort effortNamed(const std::string& name) {
    constexpr std::pair<const char*, Raw::EncoderEffort> kEfforts[] = {
        {"fast", Raw::kEncoderEffortFast},
        {"normal", Raw::kEncoderEffortNormal},
        {"high", Raw::kEncoderEffortHigh},
        {"best", Raw::kEncoderEffortBest},
    };
    for (const auto& [known, effort] : kEfforts) {
        if (name == known) {
            return effort;
        }
    }
    return Raw::kEncoderEffortNormal;
}

void readTransfers(ConversionOptions* conversion, const Options& options) {
    const std::string in = options.value("--transfer"), out = options.value("--transfer-out");
    const bool isData = options.has("--data") || conversion->m_steps.m_isNormalMap;
    if (isData && in == "srgb") {
        throw UsageFailure("numbers that are data, as those of --normal-map are, are not sRGB");
    }
    conversion->m_transfer = in == "srgb"               ? Transfer::kSrgb
                             : in == "linear" || isData ? Transfer::kLinear
                                                        : Transfer::kAuto;
    if (!out.empty()) {
        conversion->m_transferOut = out == "srgb" ? Numbers::kSrgb : Numbers::kData;
    }
    if (out == "linear" && conversion->m_format && isSrgb(*conversion->m_format)) {
        throw UsageFailure("--transfer-out linear does not go with a format of sRGB numbers");
    }
}

} // namespace

// Commands copy them into lists of their own as the program starts.
constinit const OptionGroup kConversionGroups[3] = {
    {"Texels", kTexelOptions}, {"Shape", kShapeOptions}, {"Numbers", kNumberOptions}};

ConversionOptions conversionOptionsOf(const Options& options) {
    ConversionOptions conversion;
    const std::string type = options.value("--type");
    const std::size_t colon = type.find(':');
    conversion.m_inputType = extensionOfType(type.substr(0, colon));
    conversion.m_outputType =
        colon == type.npos ? conversion.m_inputType : extensionOfType(type.substr(colon + 1));
    conversion.m_mips = options.has("--mips");
    conversion.m_steps = stepOptionsOf(options);
    conversion.m_isStrict = options.has("--strict");
    if (options.has("--resize")) {
        conversion.m_size = readSize(options.value("--resize"), "--resize");
    }
    if (options.has("--filter")) {
        conversion.m_filter = options.value("--filter");
        if (!conversion.m_size && !conversion.m_steps.m_maxSize) {
            throw UsageFailure("--filter goes with --resize and --max-size");
        }
    }
    if (options.has("--format")) {
        conversion.m_format = findFormat(options.value("--format"));
    }
    if (options.has("--dds-version")) {
        conversion.m_ddsVersion = options.value("--dds-version") == "9" ? 9 : 10;
    }
    if (options.has("--quality")) {
        conversion.m_quality = static_cast<float>(options.real("--quality", 0));
    }
    readTransfers(&conversion, options);
    conversion.m_isLiteral = options.has("--literal");
    conversion.m_effort = effortNamed(options.value("--effort"));
    return conversion;
}

void checkConversionOptions(const ConversionOptions& options, const std::string& destination) {
    const Raw::FileType type = Raw::getFileTypeFromExtension(destination.c_str());
    if (options.m_mips && type != kVxf && type != kDds) {
        throw UsageFailure(destination + ": only .vxf and .dds files hold mips");
    }
    if (options.m_steps.m_tileMode && type != kVxf) {
        throw UsageFailure(destination + ": --tile-mode is for .vxf files");
    }
    if (options.m_ddsVersion && type != kDds) {
        throw UsageFailure(destination + ": --dds-version is for .dds files");
    }
}

} // namespace Tool
