// Tables of the names that enumerations and numeric structures have in JSON.

#include "qor/texsmith/raw/reflected_types.h"

#include <cstddef>

namespace qor::Texsmith::Raw::ReflectedTypes {

using Reflection::ArrayConverter;
using Reflection::EnumConverter;
using Reflection::StructConverter;

namespace {

using Member = EnumConverter::Member;
using Field = StructConverter::Member;

constexpr Member kSurfaceFormats[] = {{"Invalid", 0},
                                      {"8", 1},
                                      {"16", 2},
                                      {"8_8", 3},
                                      {"32", 4},
                                      {"16_16", 5},
                                      {"10_11_11", 6},
                                      {"11_11_10", 7},
                                      {"10_10_10_2", 8},
                                      {"2_10_10_10", 9},
                                      {"8_8_8_8", 10},
                                      {"32_32", 11},
                                      {"16_16_16_16", 12},
                                      {"32_32_32", 13},
                                      {"32_32_32_32", 14},
                                      {"5_6_5", 16},
                                      {"1_5_5_5", 17},
                                      {"5_5_5_1", 18},
                                      {"4_4_4_4", 19},
                                      {"8_24", 20},
                                      {"24_8", 21},
                                      {"X24_8_32", 22},
                                      {"GB_GR", 32},
                                      {"BG_RG", 33},
                                      {"5_9_9_9", 34},
                                      {"Bc1", 35},
                                      {"Bc2", 36},
                                      {"Bc3", 37},
                                      {"Bc4", 38},
                                      {"Bc5", 39},
                                      {"Bc6", 40},
                                      {"Bc7", 41},
                                      {"Fmask8_S2_F1", 44},
                                      {"Fmask8_S4_F1", 45},
                                      {"Fmask8_S8_F1", 46},
                                      {"Fmask8_S2_F2", 47},
                                      {"Fmask8_S4_F2", 48},
                                      {"Fmask8_S4_F4", 49},
                                      {"Fmask16_S16_F1", 50},
                                      {"Fmask16_S8_F2", 51},
                                      {"Fmask32_S16_F2", 52},
                                      {"Fmask32_S8_F4", 53},
                                      {"Fmask32_S8_F8", 54},
                                      {"Fmask64_S16_F4", 55},
                                      {"Fmask64_S16_F8", 56},
                                      {"4_4", 57},
                                      {"6_5_5", 58}};

constexpr Member kTextureChannelTypes[] = {
    {"UNorm", 0},         {"SNorm", 1},       {"UScaled", 2},  {"SScaled", 3}, {"UInt", 4},
    {"SInt", 5},          {"SNormNoZero", 6}, {"Float", 7},    {"Srgb", 9},    {"UBNorm", 10},
    {"UBNormNoZero", 11}, {"UBInt", 12},      {"UBScaled", 13}};

constexpr Member kTextureChannels[] = {{"0", 0}, {"1", 1}, {"X", 4}, {"Y", 5}, {"Z", 6}, {"W", 7}};

constexpr Member kTileModes[] = {
    {"Depth_2dThin_64", 0},     {"Depth_2dThin_128", 1},   {"Depth_2dThin_256", 2},
    {"Depth_2dThin_512", 3},    {"Depth_2dThin_1K", 4},    {"Depth_1dThin", 5},
    {"Depth_2dThinPrt_256", 6}, {"Depth_2dThinPrt_1K", 7}, {"Display_LinearAligned", 8},
    {"Display_1dThin", 9},      {"Display_2dThin", 10},    {"Display_ThinPrt", 11},
    {"Display_2dThinPrt", 12},  {"Thin_1dThin", 13},       {"Thin_2dThin", 14},
    {"Thin_3dThin", 15},        {"Thin_ThinPrt", 16},      {"Thin_2dThinPrt", 17},
    {"Thin_3dThinPrt", 18},     {"Thick_1dThick", 19},     {"Thick_2dThick", 20},
    {"Thick_3dThick", 21},      {"Thick_ThickPrt", 22},    {"Thick_2dThickPrt", 23},
    {"Thick_3dThickPrt", 24},   {"Thick_2dXThick", 25},    {"Thick_3dXThick", 26}};

constexpr Member kTextureTypes[] = {{"1d", 8},       {"2d", 9},       {"3d", 10},     {"Cubemap", 11},
                                    {"1dArray", 12}, {"2dArray", 13}, {"2dMsaa", 14}, {"2dArrayMsaa", 15}};

constexpr Member kResourceMemoryTypes[] = {
    {"Private", 96}, {"GPUCoherent", 109}, {"SystemCoherent", 110}, {"Uncached", 111}, {"ReadOnly", 16}};

constexpr Member kSampleCounts[] = {{"1", 0}, {"2", 1}, {"4", 2}, {"8", 3}, {"16", 4}};

constexpr Member kFragmentCounts[] = {{"1", 0}, {"2", 1}, {"4", 2}, {"8", 3}};

constexpr Member kPropertyNames[] = {{"TexelU", 0},
                                     {"TexelUV", 1},
                                     {"TexelUVW", 2},
                                     {"TexelX", 3},
                                     {"TexelXY", 4},
                                     {"TexelXYZ", 5},
                                     {"BlockXY", 6},
                                     {"TileXY", 7},
                                     {"Element", 8},
                                     {"Value", 9},
                                     {"HardwareValue", 10},
                                     {"Count", 11},
                                     {"BadHtileOffset", 12},
                                     {"HtileZMask", 13},
                                     {"HtileMinZ", 14},
                                     {"HtileMaxZ", 15},
                                     {"HtileSR0MayFail", 16},
                                     {"HtileSR0MayPass", 17},
                                     {"HtileSR1MayFail", 18},
                                     {"HtileSR1MayPass", 19},
                                     {"HtileSMem", 20},
                                     {"HtileZRangeDelta", 21},
                                     {"HtileZRangeBase", 22},
                                     {"PlaneIndex", 23},
                                     {"ColorIsClear", 24},
                                     {"DepthIsClear", 25},
                                     {"StencilIsClear", 26},
                                     {"ZeroedFmaskBits", 27},
                                     {"FmaskIndex", 28},
                                     {"ArrayEntryFaceMipDepth", 29},
                                     {"Face", 30},
                                     {"Mip", 31},
                                     {"DepthValue", 32},
                                     {"IsBuggy", 33},
                                     {"StencilValue", 34}};

constexpr Field kMatrix[] = {{"X", 0, &g_gpuFormatVector},
                             {"Y", 16, &g_gpuFormatVector},
                             {"Z", 32, &g_gpuFormatVector},
                             {"W", 48, &g_gpuFormatVector}};
constexpr Field kMadd[] = {{"Mul", 0, &g_gpuFormatMatrix}, {"Add", 64, &g_gpuFormatVector}};
constexpr Field kTransform[] = {{"Madd", 0, &g_gpuFormatMadd}, {"Power", 80, &g_gpuFormatVector}};
constexpr Field kModifiers[] = {{"Decode", 0, &g_gpuFormatTransform}, {"Encode", 0, &g_gpuFormatTransform}};

constexpr ArrayConverter kMipErrors(&Reflection::g_floatConverter,
                                    16); // deliberately a quarter of what lies there
constexpr ArrayConverter kMipTexels(&Reflection::g_uint32Converter, 16);
constexpr Field kCalculatedError[] = {{"Mips", 0, &Reflection::g_uint32Converter},
                                      {"SquaredError", 16, &kMipErrors},
                                      {"Texels", 272, &kMipTexels}};

template <std::size_t kCount> constexpr EnumConverter enumOf(const Member (&members)[kCount]) {
    return {members, static_cast<unsigned>(kCount), 4};
}

template <std::size_t kCount>
constexpr StructConverter structOf(const Field (&fields)[kCount], unsigned size) {
    return {fields, static_cast<unsigned>(kCount), size};
}

} // namespace

constinit const EnumConverter g_vexSurfaceFormat = enumOf(kSurfaceFormats);
constinit const EnumConverter g_vexTextureChannelType = enumOf(kTextureChannelTypes);
constinit const EnumConverter g_vexTextureChannel = enumOf(kTextureChannels);
constinit const EnumConverter g_vexTileMode = enumOf(kTileModes);
constinit const EnumConverter g_vexTextureType = enumOf(kTextureTypes);
constinit const EnumConverter g_vexResourceMemoryType = enumOf(kResourceMemoryTypes);
constinit const EnumConverter g_vexNumSamples = enumOf(kSampleCounts);
constinit const EnumConverter g_vexNumFragments = enumOf(kFragmentCounts);
constinit const EnumConverter g_propertyName = enumOf(kPropertyNames);

constinit const StructConverter g_gpuFormatMatrix = structOf(kMatrix, 64);
constinit const StructConverter g_gpuFormatMadd = structOf(kMadd, 80);
constinit const StructConverter g_gpuFormatTransform = structOf(kTransform, 96);
constinit const StructConverter g_gpuFormatModifiers = structOf(kModifiers, 192);
constinit const StructConverter g_gpuFormatCalculatedError = structOf(kCalculatedError, 336);

} // namespace qor::Texsmith::Raw::ReflectedTypes
