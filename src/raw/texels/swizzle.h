// The tables of swizzles, by a format's four channel selects.
//
// Output lane i is input lane X, Y, Z or W, or 0 or 1. Floats: a texel of four 32-bit lanes, where 1 is 1.0
// whatever the channel type. Bytes: four texels of four bytes, where 1 is 255.
#pragma once

#include "qor/vex/data_format.h"

#include <array>
#include <cstdint>

namespace qor::Texsmith::Raw {

// In place. The count is one of 16 bytes: of texels of floats, or of groups of four texels of bytes.
using Swizzle = void (*)(void* texels, unsigned count);

// 4,096 entries each, indexed by the selects x * 512 + y * 64 + z * 8 + w. The nameless selects 2 and
// 3 mean what 0 means; those of the selects X, Y, Z, W do nothing.
extern const std::array<Swizzle, 4096> g_swizzleFloat;
extern const std::array<Swizzle, 4096> g_swizzle8;
constexpr unsigned swizzleIndex(Vex::DataFormat format) {
    return format.getChannel(0) * 512 + format.getChannel(1) * 64 + format.getChannel(2) * 8 +
           format.getChannel(3);
}

} // namespace qor::Texsmith::Raw
