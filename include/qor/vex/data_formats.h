// The format words that have names, as getNamedDataFormat (raw/names.h) lists them.
//
// A name tells the channels in the order in which lanes X, Y, Z and W read them, with the bits of each, and
// the channel type. X stands for a channel that is there and not read (W is 1), L for a grey one that X, Y
// and Z read. The words follow no rule: formats of integers with fewer than four channels select 0 for W and
// their like select 1, and B10G11R11 shares its surface format with R11G11B10.
#pragma once

#include "qor/vex/data_format.h"

namespace qor::Vex {

inline constexpr DataFormat kDataFormatInvalid{0x000000};
inline constexpr DataFormat kDataFormatR32G32B32A32Float{0xFAC70E};
inline constexpr DataFormat kDataFormatR32G32B32X32Float{0x3AC70E};
inline constexpr DataFormat kDataFormatR32G32B32A32Uint{0xFAC40E};
inline constexpr DataFormat kDataFormatR32G32B32A32Sint{0xFAC50E};
inline constexpr DataFormat kDataFormatR32G32B32Float{0x3AC70D};
inline constexpr DataFormat kDataFormatR32G32B32Uint{0x1AC40D};
inline constexpr DataFormat kDataFormatR32G32B32Sint{0x1AC50D};
inline constexpr DataFormat kDataFormatR16G16B16A16Float{0xFAC70C};
inline constexpr DataFormat kDataFormatR16G16B16X16Float{0x3AC70C};
inline constexpr DataFormat kDataFormatR16G16B16A16Uint{0xFAC40C};
inline constexpr DataFormat kDataFormatR16G16B16A16Sint{0xFAC50C};
inline constexpr DataFormat kDataFormatR16G16B16A16Unorm{0xFAC00C};
inline constexpr DataFormat kDataFormatR16G16B16A16Snorm{0xFAC10C};
inline constexpr DataFormat kDataFormatR32G32Float{0x22C70B};
inline constexpr DataFormat kDataFormatR32G32Uint{0x02C40B};
inline constexpr DataFormat kDataFormatR32G32Sint{0x02C50B};
inline constexpr DataFormat kDataFormatR11G11B10Float{0x3AC706};
inline constexpr DataFormat kDataFormatR8G8B8A8Unorm{0xFAC00A};
inline constexpr DataFormat kDataFormatR8G8B8A8UnormSrgb{0xFAC90A};
inline constexpr DataFormat kDataFormatR8G8B8A8Uint{0xFAC40A};
inline constexpr DataFormat kDataFormatR8G8B8A8Snorm{0xFAC10A};
inline constexpr DataFormat kDataFormatR8G8B8A8Sint{0xFAC50A};
inline constexpr DataFormat kDataFormatR16G16Float{0x22C705};
inline constexpr DataFormat kDataFormatR16G16Unorm{0x22C005};
inline constexpr DataFormat kDataFormatR16G16Uint{0x02C405};
inline constexpr DataFormat kDataFormatR16G16Snorm{0x22C105};
inline constexpr DataFormat kDataFormatR16G16Sint{0x02C505};
inline constexpr DataFormat kDataFormatR32Float{0x204704};
inline constexpr DataFormat kDataFormatL32Float{0x324704};
inline constexpr DataFormat kDataFormatR32Uint{0x004404};
inline constexpr DataFormat kDataFormatR32Sint{0x004504};
inline constexpr DataFormat kDataFormatR8G8Unorm{0x22C003};
inline constexpr DataFormat kDataFormatR8G8Uint{0x02C403};
inline constexpr DataFormat kDataFormatR8G8Snorm{0x22C103};
inline constexpr DataFormat kDataFormatR8G8Sint{0x02C503};
inline constexpr DataFormat kDataFormatL8A8Unorm{0xB24003};
inline constexpr DataFormat kDataFormatL8A8UnormSrgb{0xB24903};
inline constexpr DataFormat kDataFormatR16Float{0x204702};
inline constexpr DataFormat kDataFormatL16Float{0x324702};
inline constexpr DataFormat kDataFormatR16Unorm{0x204002};
inline constexpr DataFormat kDataFormatL16Unorm{0x324002};
inline constexpr DataFormat kDataFormatR16Uint{0x004402};
inline constexpr DataFormat kDataFormatR16Snorm{0x204102};
inline constexpr DataFormat kDataFormatR16Sint{0x004502};
inline constexpr DataFormat kDataFormatR8Unorm{0x204001};
inline constexpr DataFormat kDataFormatL8Unorm{0x324001};
inline constexpr DataFormat kDataFormatL8UnormSrgb{0x324901};
inline constexpr DataFormat kDataFormatR8Uint{0x004401};
inline constexpr DataFormat kDataFormatR8Snorm{0x204101};
inline constexpr DataFormat kDataFormatR8Sint{0x004501};
inline constexpr DataFormat kDataFormatA8Unorm{0x800001};
inline constexpr DataFormat kDataFormatBc1Unorm{0xFAC023};
inline constexpr DataFormat kDataFormatBc1UnormSrgb{0xFAC923};
inline constexpr DataFormat kDataFormatBc2Unorm{0xFAC024};
inline constexpr DataFormat kDataFormatBc2UnormSrgb{0xFAC924};
inline constexpr DataFormat kDataFormatBc3Unorm{0xFAC025};
inline constexpr DataFormat kDataFormatBc3UnormSrgb{0xFAC925};
inline constexpr DataFormat kDataFormatBc4Unorm{0x204026};
inline constexpr DataFormat kDataFormatBc4Snorm{0x204126};
inline constexpr DataFormat kDataFormatBc5Unorm{0x22C027};
inline constexpr DataFormat kDataFormatBc5Snorm{0x22C127};
inline constexpr DataFormat kDataFormatBc6Uf16{0x3AC028};
inline constexpr DataFormat kDataFormatBc6Sf16{0x3AC128};
inline constexpr DataFormat kDataFormatBc7Unorm{0xFAC029};
inline constexpr DataFormat kDataFormatBc7UnormSrgb{0xFAC929};
inline constexpr DataFormat kDataFormatB5G6R5Unorm{0x32E010};
inline constexpr DataFormat kDataFormatB5G5R5A1Unorm{0xF2E011};
inline constexpr DataFormat kDataFormatB8G8R8A8Unorm{0xF2E00A};
inline constexpr DataFormat kDataFormatB8G8R8X8Unorm{0x32E00A};
inline constexpr DataFormat kDataFormatB8G8R8A8UnormSrgb{0xF2E90A};
inline constexpr DataFormat kDataFormatB8G8R8X8UnormSrgb{0x32E90A};
inline constexpr DataFormat kDataFormatR4G4B4A4Unorm{0xFAC013};
inline constexpr DataFormat kDataFormatB4G4R4A4Unorm{0xF2E013};
inline constexpr DataFormat kDataFormatB4G4R4X4Unorm{0x32E013};
inline constexpr DataFormat kDataFormatB5G5R5X1Unorm{0x32E011};
inline constexpr DataFormat kDataFormatR5G6B5Unorm{0x3AC010};
inline constexpr DataFormat kDataFormatB10G10R10A2Unorm{0xF2E009};
inline constexpr DataFormat kDataFormatR10G10B10A2Unorm{0xFAC009};
inline constexpr DataFormat kDataFormatB10G10R10A2UnormSrgb{0xF2E909};
inline constexpr DataFormat kDataFormatR10G10B10A2UnormSrgb{0xFAC909};
inline constexpr DataFormat kDataFormatR10G10B10A2Uint{0xFAC409};
inline constexpr DataFormat kDataFormatB10G10R10A2Uint{0xF2E409};
inline constexpr DataFormat kDataFormatB16G16R16A16Float{0xF2E70C};
inline constexpr DataFormat kDataFormatR11G11B10Unorm{0x3AC006};
inline constexpr DataFormat kDataFormatR11G11B10Snorm{0x3AC106};
inline constexpr DataFormat kDataFormatB10G11R11Unorm{0x32E006};
inline constexpr DataFormat kDataFormatB10G11R11Snorm{0x32E106};
inline constexpr DataFormat kDataFormatR9G9B9E5Float{0x3AC722};
inline constexpr DataFormat kDataFormatB8G8R8G8Unorm{0x3AC021};
inline constexpr DataFormat kDataFormatG8B8G8R8Unorm{0x3AC020};
inline constexpr DataFormat kDataFormatBc1UnormNoAlpha{0x3AC023};
inline constexpr DataFormat kDataFormatBc1UnormSrgbNoAlpha{0x3AC923};
inline constexpr DataFormat kDataFormatBc7UnormNoAlpha{0x3AC029};
inline constexpr DataFormat kDataFormatBc7UnormSrgbNoAlpha{0x3AC929};
inline constexpr DataFormat kDataFormatBc3UnormRABG{0xBBC025};
inline constexpr DataFormat kDataFormatBc1PcaUnorm{0x3A5023};
inline constexpr DataFormat kDataFormatBc1PcaUnormSrgb{0x3A5923};

} // namespace qor::Vex
