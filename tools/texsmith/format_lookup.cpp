#include "format_lookup.h"

#include "failure.h"
#include "near_miss.h"

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/format.h"
#include "qor/vex/data_formats.h"

#include <cctype>
#include <optional>
#include <string_view>
#include <vector>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

struct Alias {
    std::string_view m_name;
    Vex::DataFormat m_format;
};
constexpr Alias kAliases[] = {
    {"bc1", Vex::kDataFormatBc1Unorm},
    {"bc1srgb", Vex::kDataFormatBc1UnormSrgb},
    {"dxt1", Vex::kDataFormatBc1Unorm},
    {"bc2", Vex::kDataFormatBc2Unorm},
    {"bc2srgb", Vex::kDataFormatBc2UnormSrgb},
    {"dxt3", Vex::kDataFormatBc2Unorm},
    {"bc3", Vex::kDataFormatBc3Unorm},
    {"bc3srgb", Vex::kDataFormatBc3UnormSrgb},
    {"dxt5", Vex::kDataFormatBc3Unorm},
    {"bc4", Vex::kDataFormatBc4Unorm},
    {"ati1", Vex::kDataFormatBc4Unorm},
    {"bc4u", Vex::kDataFormatBc4Unorm},
    {"bc4s", Vex::kDataFormatBc4Snorm},
    {"bc5", Vex::kDataFormatBc5Unorm},
    {"ati2", Vex::kDataFormatBc5Unorm},
    {"bc5u", Vex::kDataFormatBc5Unorm},
    {"bc5s", Vex::kDataFormatBc5Snorm},
    {"bc6", Vex::kDataFormatBc6Uf16},
    {"bc6h", Vex::kDataFormatBc6Uf16},
    {"bc6huf16", Vex::kDataFormatBc6Uf16},
    {"bc6hsf16", Vex::kDataFormatBc6Sf16},
    {"bc7", Vex::kDataFormatBc7Unorm},
    {"bc7srgb", Vex::kDataFormatBc7UnormSrgb},
    {"r8", Vex::kDataFormatR8Unorm},
    {"rg8", Vex::kDataFormatR8G8Unorm},
    {"rgba8", Vex::kDataFormatR8G8B8A8Unorm},
    {"rgba8srgb", Vex::kDataFormatR8G8B8A8UnormSrgb},
    {"srgba8", Vex::kDataFormatR8G8B8A8UnormSrgb},
    {"srgb8a8", Vex::kDataFormatR8G8B8A8UnormSrgb},
    {"bgra8", Vex::kDataFormatB8G8R8A8Unorm},
    {"bgra8srgb", Vex::kDataFormatB8G8R8A8UnormSrgb},
    {"bgrx8", Vex::kDataFormatB8G8R8X8Unorm},
    {"l8", Vex::kDataFormatL8Unorm},
    {"a8", Vex::kDataFormatA8Unorm},
    {"la8", Vex::kDataFormatL8A8Unorm},
    {"r16", Vex::kDataFormatR16Unorm},
    {"rg16", Vex::kDataFormatR16G16Unorm},
    {"rgba16", Vex::kDataFormatR16G16B16A16Unorm},
    {"r16f", Vex::kDataFormatR16Float},
    {"rg16f", Vex::kDataFormatR16G16Float},
    {"rgba16f", Vex::kDataFormatR16G16B16A16Float},
    {"r32f", Vex::kDataFormatR32Float},
    {"rg32f", Vex::kDataFormatR32G32Float},
    {"rgb32f", Vex::kDataFormatR32G32B32Float},
    {"rgba32f", Vex::kDataFormatR32G32B32A32Float},
    {"rgb565", Vex::kDataFormatB5G6R5Unorm},
    {"rgb5a1", Vex::kDataFormatB5G5R5A1Unorm},
    {"rgba4", Vex::kDataFormatB4G4R4A4Unorm},
    {"rgb10a2", Vex::kDataFormatR10G10B10A2Unorm},
    {"rg11b10f", Vex::kDataFormatR11G11B10Float},
    {"rgb9e5", Vex::kDataFormatR9G9B9E5Float},
};

std::string plain(std::string_view name) {
    std::string result;
    for (const char c : name) {
        if (c != '_' && c != '-' && c != ' ') {
            result += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
    }
    return result;
}

// Also what info calls a format that has no name of its own.
std::optional<Vex::DataFormat> formatNamed(const std::string& name) {
    constexpr std::string_view kWithoutAlpha = "withoutalpha";
    const std::string wanted = plain(name);
    if (wanted.ends_with(kWithoutAlpha)) {
        const auto format = formatNamed(wanted.substr(0, wanted.size() - kWithoutAlpha.size()));
        return format ? std::optional(format->withChannel(3, Vex::kTextureChannel1)) : std::nullopt;
    }
    for (int index = 0; index < Raw::getNamedDataFormatCount(); ++index) {
        const Raw::NamedDataFormat named = Raw::getNamedDataFormat(index);
        if (plain(named.m_name) == wanted) {
            return named.m_dataFormat;
        }
    }
    for (const Alias& alias : kAliases) {
        if (alias.m_name == wanted) {
            return alias.m_format;
        }
    }
    return {};
}

// What the library reports of a text that is no format would tell the user nothing.
std::optional<Vex::DataFormat> formatInJson(const std::string& text) {
    std::optional<Vex::DataFormat> found;
    try {
        Configuration configuration;
        Vex::DataFormat format = {};
        const bool isOne = text.find('{') != text.npos &&
                           Raw::makeDataFormat(&format, text.c_str(), &configuration) == 0 &&
                           format.getSurfaceFormat() < Vex::kSurfaceFormatCount;
        found = isOne ? std::optional(format) : std::nullopt;
    } catch (const Failure&) {
    }
    forgetReports(); // this text's alone, as nothing was at work before
    return found;
}

std::vector<std::string_view> allNames() {
    std::vector<std::string_view> names;
    for (const Alias& alias : kAliases) {
        names.push_back(alias.m_name);
    }
    for (int index = 0; index < Raw::getNamedDataFormatCount(); ++index) {
        const Raw::NamedDataFormat named = Raw::getNamedDataFormat(index);
        if (named.m_dataFormat.m_word != 0) {
            names.push_back(named.m_name);
        }
    }
    return names;
}

} // namespace

Vex::DataFormat findFormat(const std::string& name) {
    std::optional<Vex::DataFormat> format = formatNamed(name);
    format = format ? format : formatInJson(name);
    if (!format) {
        throw UsageFailure("unknown format '" + name + "'" +
                           suggestion(name, allNames(), "see texsmith formats"));
    }
    if (Raw::getSurfaceFormatInfo(format->getSurfaceFormat()).bytesPerElement == 0) {
        throw UsageFailure("no texels can be made of format '" + name + "'");
    }
    return *format;
}

} // namespace Tool
