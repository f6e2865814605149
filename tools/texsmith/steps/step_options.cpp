#include "steps/step_options.h"

#include "failure.h"
#include "near_miss.h"
#include "options.h"

#include "qor/texsmith/raw/reflected_types.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <vector>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

constexpr unsigned kMostTexels = 16384, kMostMips = 16;

constexpr Option kPictureOptions[] = {
    {.m_name = "--crop",
     .m_value = "WxH+X+Y",
     .m_help = "takes the part of that size whose upper left texel is X, Y",
     .m_example = "256x128+16+0"},
    {.m_name = "--flip",
     .m_value = "WAY",
     .m_help = "turns the picture over, so that its top is at the bottom, or mirrors it, or both",
     .m_example = "vertical",
     .m_choices = "vertical|horizontal|both"},
    {.m_name = "--swizzle",
     .m_value = "CHANNELS",
     .m_help = "makes red, green, blue and alpha of those channels, of which 0 and 1 are constants",
     .m_example = "bgr1"},
    {.m_name = "--invert",
     .m_value = "CHANNELS",
     .m_help = "makes the opposite of those channels; of g, it makes normal maps of the other handedness",
     .m_example = "g"},
    {.m_name = "--premultiply",
     .m_help = "multiplies red, green and blue by alpha, in light where they are sRGB"},
    {.m_name = "--max-size",
     .m_value = "N",
     .m_help = "halves width and height until neither is above N",
     .m_example = "1024"},
    {.m_name = "--pad-to-multiple",
     .m_value = "N",
     .m_help = "repeats the last column and row until width and height are multiples of N",
     .m_example = "4"},
};

constexpr Option kMipOptionList[] = {
    {.m_name = "--mips",
     .m_value = "[N]",
     .m_help = "adds smaller levels down to one texel, or makes N levels in all (.vxf and .dds)",
     .m_example = "5"},
    {.m_name = "--mip-filter",
     .m_value = "NAME",
     .m_help = "the filter that makes each mip of the one before it, box without it",
     .m_example = "lanczos",
     .m_choices = "box|triangle|cubic|lanczos"},
    {.m_name = "--alpha-coverage",
     .m_value = "THRESHOLD",
     .m_help = "scales the alpha of each mip so that as much of it is above the threshold as of the largest",
     .m_example = "0.5"},
    {.m_name = "--normal-map",
     .m_help = "takes the numbers for normals: those of mips and of pictures in a new size get the length 1, "
               "and Z where it is not stored"},
    {.m_name = "--tile-mode",
     .m_value = "NAME",
     .m_help = "the order of texels in a .vxf file",
     .m_example = "Thin_2dThin"},
};

std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

Rectangle readRectangle(const std::string& text) {
    Rectangle crop;
    int read = 0;
    const bool isWhole = std::sscanf(text.c_str(), "%5ux%5u+%5u+%5u%n", &crop.m_width, &crop.m_height,
                                     &crop.m_x, &crop.m_y, &read) == 4 &&
                         static_cast<std::size_t>(read) == text.size();
    if (!isWhole || crop.m_width == 0 || crop.m_height == 0) {
        throw UsageFailure("--crop takes a part such as 256x128+16+0, and not '" + text + "'");
    }
    return crop;
}

std::string readChannels(const Options& options, const char* option, const char* allowed,
                         const char* example) {
    const std::string given = options.value(option), channels = lowered(given);
    if (channels.empty() || channels.size() > 4 || channels.find_first_not_of(allowed) != channels.npos) {
        throw UsageFailure(std::string(option) + " takes channels such as " + example + ", and not '" +
                           given + "'");
    }
    return channels;
}

// "bgr" keeps alpha, and one letter is for red, green and blue.
std::string wholeSwizzle(std::string channels) {
    if (channels.size() == 1) {
        channels = std::string(3, channels[0]);
    } else if (channels.size() == 2) {
        throw UsageFailure("--swizzle takes one, three or four channels");
    }
    return channels.size() == 3 ? channels + "a" : channels;
}

void readMipOptions(StepOptions* steps, const Options& options) {
    steps->m_mostMips =
        options.value("--mips").empty() ? kMostMips : options.number("--mips", 1, kMostMips, kMostMips);
    steps->m_isNormalMap = options.has("--normal-map");
    if (options.has("--mip-filter")) {
        steps->m_mipFilter = options.value("--mip-filter");
    }
    if (options.has("--alpha-coverage")) {
        const double threshold = options.real("--alpha-coverage", 0);
        if (threshold <= 0 || threshold >= 1) {
            throw UsageFailure("--alpha-coverage is a threshold between 0 and 1, and not '" +
                               options.value("--alpha-coverage") + "'");
        }
        steps->m_alphaCoverage = static_cast<float>(threshold);
    }
    for (const char* option : {"--mip-filter", "--alpha-coverage"}) {
        if (options.has(option) && !options.has("--mips")) {
            throw UsageFailure(std::string(option) + " goes with --mips");
        }
    }
}

} // namespace

constinit const OptionGroup kStepOptions = {"Picture", kPictureOptions};
constinit const OptionGroup kMipOptions = {"Mips and storage", kMipOptionList};

StepOptions stepOptionsOf(const Options& options) {
    StepOptions steps;
    if (options.has("--crop")) {
        steps.m_crop = readRectangle(options.value("--crop"));
    }
    const std::string flip = options.value("--flip");
    steps.m_mirrors = flip == "horizontal" || flip == "both";
    steps.m_turnsOver = flip == "vertical" || flip == "both";
    if (options.has("--swizzle")) {
        steps.m_swizzle = wholeSwizzle(readChannels(options, "--swizzle", "rgba01", "bgr1"));
    }
    if (options.has("--invert")) {
        steps.m_inverted = readChannels(options, "--invert", "rgba", "g");
    }
    steps.m_premultiplies = options.has("--premultiply");
    if (options.has("--max-size")) {
        steps.m_maxSize = options.number("--max-size", 1, kMostTexels, 0);
    }
    if (options.has("--pad-to-multiple")) {
        steps.m_padToMultiple = options.number("--pad-to-multiple", 1, kMostTexels, 0);
    }
    readMipOptions(&steps, options);
    if (options.has("--tile-mode")) {
        steps.m_tileMode = tileModeNamed(options.value("--tile-mode"));
    }
    return steps;
}

Vex::TileMode tileModeNamed(const std::string& name) {
    constexpr unsigned kModes = 32;
    std::vector<std::string_view> names;
    std::string list;
    for (unsigned mode = 0; mode < kModes; ++mode) {
        const std::string_view known = Raw::ReflectedTypes::g_vexTileMode.valueToName(mode);
        if (known.empty()) {
            continue;
        }
        if (lowered(std::string(known)) == lowered(name)) {
            return static_cast<Vex::TileMode>(mode);
        }
        names.push_back(known);
        list += (list.empty() ? "" : ", ") + std::string(known);
    }
    throw UsageFailure("unknown tile mode '" + name + "'" + suggestion(name, names, "they are " + list));
}

} // namespace Tool
