// The tables of swizzles, by a format's four channel selects.
//
// Output lane i is input lane X, Y, Z or W, or 0 or 1. Floats: a texel of four 32-bit lanes, where 1 is 1.0
// whatever the channel type. Bytes: four texels of four bytes, where 1 is 255.
#pragma once

#include "qor/vex/data_format.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

// In place. The index is that of the four selects: x * 512 + y * 64 + z * 8 + w. The nameless selects 2 and 3
// mean what 0 means; those of the selects X, Y, Z, W do nothing.
void swizzleFloats(unsigned index, void* texels, unsigned count); // texels of four floats
void swizzleBytes(unsigned index, void* texels, unsigned count);  // groups of four texels of four bytes
constexpr unsigned swizzleIndex(Vex::DataFormat format) {
    return format.getChannel(0) * 512 + format.getChannel(1) * 64 + format.getChannel(2) * 8 +
           format.getChannel(3);
}

} // namespace qor::Texsmith::Raw
