// The formats that have a name, and how a format is found by its name or by JSON text.
#include "qor/texsmith/raw/error.h"
#include "qor/texsmith/raw/format.h"
#include "qor/texsmith/raw/json.h"
#include "qor/texsmith/raw/names.h"
#include "qor/texsmith/raw/reflected_types.h"
#include "qor/vex/data_formats.h"
#include "raw/frame/check.h"

#include <cstring>
#include <iterator>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\helpers";

constexpr NamedDataFormat kNamedDataFormats[] = {
    {"Invalid", Vex::kDataFormatInvalid},
    {"R32G32B32A32Float", Vex::kDataFormatR32G32B32A32Float},
    {"R32G32B32X32Float", Vex::kDataFormatR32G32B32X32Float},
    {"R32G32B32A32Uint", Vex::kDataFormatR32G32B32A32Uint},
    {"R32G32B32A32Sint", Vex::kDataFormatR32G32B32A32Sint},
    {"R32G32B32Float", Vex::kDataFormatR32G32B32Float},
    {"R32G32B32Uint", Vex::kDataFormatR32G32B32Uint},
    {"R32G32B32Sint", Vex::kDataFormatR32G32B32Sint},
    {"R16G16B16A16Float", Vex::kDataFormatR16G16B16A16Float},
    {"R16G16B16X16Float", Vex::kDataFormatR16G16B16X16Float},
    {"R16G16B16A16Uint", Vex::kDataFormatR16G16B16A16Uint},
    {"R16G16B16A16Sint", Vex::kDataFormatR16G16B16A16Sint},
    {"R16G16B16A16Unorm", Vex::kDataFormatR16G16B16A16Unorm},
    {"R16G16B16A16Snorm", Vex::kDataFormatR16G16B16A16Snorm},
    {"R32G32Float", Vex::kDataFormatR32G32Float},
    {"R32G32Uint", Vex::kDataFormatR32G32Uint},
    {"R32G32Sint", Vex::kDataFormatR32G32Sint},
    {"R11G11B10Float", Vex::kDataFormatR11G11B10Float},
    {"R8G8B8A8Unorm", Vex::kDataFormatR8G8B8A8Unorm},
    {"R8G8B8A8UnormSrgb", Vex::kDataFormatR8G8B8A8UnormSrgb},
    {"R8G8B8A8Uint", Vex::kDataFormatR8G8B8A8Uint},
    {"R8G8B8A8Snorm", Vex::kDataFormatR8G8B8A8Snorm},
    {"R8G8B8A8Sint", Vex::kDataFormatR8G8B8A8Sint},
    {"R16G16Float", Vex::kDataFormatR16G16Float},
    {"R16G16Unorm", Vex::kDataFormatR16G16Unorm},
    {"R16G16Uint", Vex::kDataFormatR16G16Uint},
    {"R16G16Snorm", Vex::kDataFormatR16G16Snorm},
    {"R16G16Sint", Vex::kDataFormatR16G16Sint},
    {"R32Float", Vex::kDataFormatR32Float},
    {"L32Float", Vex::kDataFormatL32Float},
    {"R32Uint", Vex::kDataFormatR32Uint},
    {"R32Sint", Vex::kDataFormatR32Sint},
    {"R8G8Unorm", Vex::kDataFormatR8G8Unorm},
    {"R8G8Uint", Vex::kDataFormatR8G8Uint},
    {"R8G8Snorm", Vex::kDataFormatR8G8Snorm},
    {"R8G8Sint", Vex::kDataFormatR8G8Sint},
    {"L8A8Unorm", Vex::kDataFormatL8A8Unorm},
    {"L8A8UnormSrgb", Vex::kDataFormatL8A8UnormSrgb},
    {"R16Float", Vex::kDataFormatR16Float},
    {"L16Float", Vex::kDataFormatL16Float},
    {"R16Unorm", Vex::kDataFormatR16Unorm},
    {"L16Unorm", Vex::kDataFormatL16Unorm},
    {"R16Uint", Vex::kDataFormatR16Uint},
    {"R16Snorm", Vex::kDataFormatR16Snorm},
    {"R16Sint", Vex::kDataFormatR16Sint},
    {"R8Unorm", Vex::kDataFormatR8Unorm},
    {"L8Unorm", Vex::kDataFormatL8Unorm},
    {"L8UnormSrgb", Vex::kDataFormatL8UnormSrgb},
    {"R8Uint", Vex::kDataFormatR8Uint},
    {"R8Snorm", Vex::kDataFormatR8Snorm},
    {"R8Sint", Vex::kDataFormatR8Sint},
    {"A8Unorm", Vex::kDataFormatA8Unorm},
    {"Bc1Unorm", Vex::kDataFormatBc1Unorm},
    {"Bc1UnormSrgb", Vex::kDataFormatBc1UnormSrgb},
    {"Bc2Unorm", Vex::kDataFormatBc2Unorm},
    {"Bc2UnormSrgb", Vex::kDataFormatBc2UnormSrgb},
    {"Bc3Unorm", Vex::kDataFormatBc3Unorm},
    {"Bc3UnormSrgb", Vex::kDataFormatBc3UnormSrgb},
    {"Bc4Unorm", Vex::kDataFormatBc4Unorm},
    {"Bc4Snorm", Vex::kDataFormatBc4Snorm},
    {"Bc5Unorm", Vex::kDataFormatBc5Unorm},
    {"Bc5Snorm", Vex::kDataFormatBc5Snorm},
    {"Bc6Uf16", Vex::kDataFormatBc6Uf16},
    {"Bc6Sf16", Vex::kDataFormatBc6Sf16},
    {"Bc7Unorm", Vex::kDataFormatBc7Unorm},
    {"Bc7UnormSrgb", Vex::kDataFormatBc7UnormSrgb},
    {"B5G6R5Unorm", Vex::kDataFormatB5G6R5Unorm},
    {"B5G5R5A1Unorm", Vex::kDataFormatB5G5R5A1Unorm},
    {"B8G8R8A8Unorm", Vex::kDataFormatB8G8R8A8Unorm},
    {"B8G8R8X8Unorm", Vex::kDataFormatB8G8R8X8Unorm},
    {"B8G8R8A8UnormSrgb", Vex::kDataFormatB8G8R8A8UnormSrgb},
    {"B8G8R8X8UnormSrgb", Vex::kDataFormatB8G8R8X8UnormSrgb},
    {"R4G4B4A4Unorm", Vex::kDataFormatR4G4B4A4Unorm},
    {"B4G4R4A4Unorm", Vex::kDataFormatB4G4R4A4Unorm},
    {"B4G4R4X4Unorm", Vex::kDataFormatB4G4R4X4Unorm},
    {"B5G5R5X1Unorm", Vex::kDataFormatB5G5R5X1Unorm},
    {"R5G6B5Unorm", Vex::kDataFormatR5G6B5Unorm},
    {"B10G10R10A2Unorm", Vex::kDataFormatB10G10R10A2Unorm},
    {"R10G10B10A2Unorm", Vex::kDataFormatR10G10B10A2Unorm},
    {"B10G10R10A2UnormSrgb", Vex::kDataFormatB10G10R10A2UnormSrgb},
    {"R10G10B10A2UnormSrgb", Vex::kDataFormatR10G10B10A2UnormSrgb},
    {"R10G10B10A2Uint", Vex::kDataFormatR10G10B10A2Uint},
    {"B10G10R10A2Uint", Vex::kDataFormatB10G10R10A2Uint},
    {"B16G16R16A16Float", Vex::kDataFormatB16G16R16A16Float},
    {"R11G11B10Unorm", Vex::kDataFormatR11G11B10Unorm},
    {"R11G11B10Snorm", Vex::kDataFormatR11G11B10Snorm},
    {"B10G11R11Unorm", Vex::kDataFormatB10G11R11Unorm},
    {"B10G11R11Snorm", Vex::kDataFormatB10G11R11Snorm},
    {"R9G9B9E5Float", Vex::kDataFormatR9G9B9E5Float},
    {"B8G8R8G8Unorm", Vex::kDataFormatB8G8R8G8Unorm},
    {"G8B8G8R8Unorm", Vex::kDataFormatG8B8G8R8Unorm},
    {"Bc1UnormNoAlpha", Vex::kDataFormatBc1UnormNoAlpha},
    {"Bc1UnormSrgbNoAlpha", Vex::kDataFormatBc1UnormSrgbNoAlpha},
    {"Bc7UnormNoAlpha", Vex::kDataFormatBc7UnormNoAlpha},
    {"Bc7UnormSrgbNoAlpha", Vex::kDataFormatBc7UnormSrgbNoAlpha},
    {"Bc3UnormRABG", Vex::kDataFormatBc3UnormRABG},
    {"Bc1PcaUnorm", Vex::kDataFormatBc1PcaUnorm},
    {"Bc1PcaUnormSrgb", Vex::kDataFormatBc1PcaUnormSrgb},
};
static_assert(std::size(kNamedDataFormats) == 98);

constexpr int kFailed = static_cast<int>(kErrorFailed);

// Patches the fields that the text names.
void readFromJson(Vex::DataFormat* destination, const char* source, const Configuration* configuration) {
    const IAllocator allocator = configuration != nullptr ? configuration->m_allocator : g_mallocAllocator;
    Json::Reader reader;
    reader.init(const_cast<char*>(source), static_cast<unsigned>(std::strlen(source)), allocator);
    Json::Node node(allocator);
    Json::read(&node, &reader);
    ReflectedTypes::g_vexDataFormat.fromJson(destination, &node);
}

} // namespace

int getNamedDataFormatCount() { return static_cast<int>(std::size(kNamedDataFormats)); }

NamedDataFormat getNamedDataFormat(int index) {
    return kNamedDataFormats[index >= 0 && index < getNamedDataFormatCount() ? index : 0];
}

int makeDataFormat(Vex::DataFormat* destination, const char* source, Configuration* configuration) {
    checkNotNull(destination, kSourcePath, "destination must not be NULL.");
    checkNotNull(source, kSourcePath, "source must not be NULL.");
    checkNotNull(configuration, kSourcePath, "configuration must not be NULL.");
    if (destination == nullptr || source == nullptr) {
        return kFailed;
    }
    for (const NamedDataFormat& named : kNamedDataFormats) {
        if (strcmpCaseInsensitive(named.m_name, source) == 0) {
            *destination = named.m_dataFormat;
            return kErrorNone;
        }
    }
    if (source[0] != '{') {
        return kFailed;
    }
    readFromJson(destination, source, configuration);
    return kErrorNone;
}

} // namespace qor::Texsmith::Raw
