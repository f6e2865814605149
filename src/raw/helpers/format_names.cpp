// The formats that have a name, and how a format is found by its name or by JSON text.
#include "qor/texsmith/raw/error.h"
#include "qor/texsmith/raw/format.h"
#include "qor/texsmith/raw/json.h"
#include "qor/texsmith/raw/names.h"
#include "qor/texsmith/raw/reflected_types.h"
#include "raw/frame/check.h"

#include <cstring>
#include <iterator>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\helpers";

// The words follow no rule: formats of integers with fewer than four channels select 0 for W and their like
// select 1, and B10G11R11 shares its surface format with R11G11B10.
constexpr NamedDataFormat kNamedDataFormats[] = {
    {"Invalid", {0x000000}},
    {"R32G32B32A32Float", {0xFAC70E}},
    {"R32G32B32X32Float", {0x3AC70E}},
    {"R32G32B32A32Uint", {0xFAC40E}},
    {"R32G32B32A32Sint", {0xFAC50E}},
    {"R32G32B32Float", {0x3AC70D}},
    {"R32G32B32Uint", {0x1AC40D}},
    {"R32G32B32Sint", {0x1AC50D}},
    {"R16G16B16A16Float", {0xFAC70C}},
    {"R16G16B16X16Float", {0x3AC70C}},
    {"R16G16B16A16Uint", {0xFAC40C}},
    {"R16G16B16A16Sint", {0xFAC50C}},
    {"R16G16B16A16Unorm", {0xFAC00C}},
    {"R16G16B16A16Snorm", {0xFAC10C}},
    {"R32G32Float", {0x22C70B}},
    {"R32G32Uint", {0x02C40B}},
    {"R32G32Sint", {0x02C50B}},
    {"R11G11B10Float", {0x3AC706}},
    {"R8G8B8A8Unorm", {0xFAC00A}},
    {"R8G8B8A8UnormSrgb", {0xFAC90A}},
    {"R8G8B8A8Uint", {0xFAC40A}},
    {"R8G8B8A8Snorm", {0xFAC10A}},
    {"R8G8B8A8Sint", {0xFAC50A}},
    {"R16G16Float", {0x22C705}},
    {"R16G16Unorm", {0x22C005}},
    {"R16G16Uint", {0x02C405}},
    {"R16G16Snorm", {0x22C105}},
    {"R16G16Sint", {0x02C505}},
    {"R32Float", {0x204704}},
    {"L32Float", {0x324704}},
    {"R32Uint", {0x004404}},
    {"R32Sint", {0x004504}},
    {"R8G8Unorm", {0x22C003}},
    {"R8G8Uint", {0x02C403}},
    {"R8G8Snorm", {0x22C103}},
    {"R8G8Sint", {0x02C503}},
    {"L8A8Unorm", {0xB24003}},
    {"L8A8UnormSrgb", {0xB24903}},
    {"R16Float", {0x204702}},
    {"L16Float", {0x324702}},
    {"R16Unorm", {0x204002}},
    {"L16Unorm", {0x324002}},
    {"R16Uint", {0x004402}},
    {"R16Snorm", {0x204102}},
    {"R16Sint", {0x004502}},
    {"R8Unorm", {0x204001}},
    {"L8Unorm", {0x324001}},
    {"L8UnormSrgb", {0x324901}},
    {"R8Uint", {0x004401}},
    {"R8Snorm", {0x204101}},
    {"R8Sint", {0x004501}},
    {"A8Unorm", {0x800001}},
    {"Bc1Unorm", {0xFAC023}},
    {"Bc1UnormSrgb", {0xFAC923}},
    {"Bc2Unorm", {0xFAC024}},
    {"Bc2UnormSrgb", {0xFAC924}},
    {"Bc3Unorm", {0xFAC025}},
    {"Bc3UnormSrgb", {0xFAC925}},
    {"Bc4Unorm", {0x204026}},
    {"Bc4Snorm", {0x204126}},
    {"Bc5Unorm", {0x22C027}},
    {"Bc5Snorm", {0x22C127}},
    {"Bc6Uf16", {0x3AC028}},
    {"Bc6Sf16", {0x3AC128}},
    {"Bc7Unorm", {0xFAC029}},
    {"Bc7UnormSrgb", {0xFAC929}},
    {"B5G6R5Unorm", {0x32E010}},
    {"B5G5R5A1Unorm", {0xF2E011}},
    {"B8G8R8A8Unorm", {0xF2E00A}},
    {"B8G8R8X8Unorm", {0x32E00A}},
    {"B8G8R8A8UnormSrgb", {0xF2E90A}},
    {"B8G8R8X8UnormSrgb", {0x32E90A}},
    {"R4G4B4A4Unorm", {0xFAC013}},
    {"B4G4R4A4Unorm", {0xF2E013}},
    {"B4G4R4X4Unorm", {0x32E013}},
    {"B5G5R5X1Unorm", {0x32E011}},
    {"R5G6B5Unorm", {0x3AC010}},
    {"B10G10R10A2Unorm", {0xF2E009}},
    {"R10G10B10A2Unorm", {0xFAC009}},
    {"B10G10R10A2UnormSrgb", {0xF2E909}},
    {"R10G10B10A2UnormSrgb", {0xFAC909}},
    {"R10G10B10A2Uint", {0xFAC409}},
    {"B10G10R10A2Uint", {0xF2E409}},
    {"B16G16R16A16Float", {0xF2E70C}},
    {"R11G11B10Unorm", {0x3AC006}},
    {"R11G11B10Snorm", {0x3AC106}},
    {"B10G11R11Unorm", {0x32E006}},
    {"B10G11R11Snorm", {0x32E106}},
    {"R9G9B9E5Float", {0x3AC722}},
    {"B8G8R8G8Unorm", {0x3AC021}},
    {"G8B8G8R8Unorm", {0x3AC020}},
    {"Bc1UnormNoAlpha", {0x3AC023}},
    {"Bc1UnormSrgbNoAlpha", {0x3AC923}},
    {"Bc7UnormNoAlpha", {0x3AC029}},
    {"Bc7UnormSrgbNoAlpha", {0x3AC929}},
    {"Bc3UnormRABG", {0xBBC025}},
    {"Bc1PcaUnorm", {0x3A5023}},
    {"Bc1PcaUnormSrgb", {0x3A5923}},
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
