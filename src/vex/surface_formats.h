// The size and the channels of an element, by surface format. Rows of numbers without a format are zero.
#pragma once

#include "qor/vex/data_format.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace qor::Vex {

using ByteByFormat = std::array<std::uint8_t, kSurfaceFormatCount>;

// clang-format off
inline constexpr ByteByFormat kBytesPerElement = {
//   0   1   2   3   4   5   6   7   8   9
     0,  1,  2,  2,  4,  4,  4,  4,  4,  4, //  0  Invalid, 8, 16, 8_8, then 32 bits
     4,  8,  8, 12, 16,  0,  2,  2,  2,  2, // 10  8_8_8_8, ..., 32_32_32, 32_32_32_32; 16 bits from 16 on
     4,  4,  8,  0,  0,  0,  0,  0,  0,  0, // 20  8_24, 24_8, X24_8_32
     0,  0,  0,  0,  4,  8, 16, 16,  8, 16, // 30  5_9_9_9, Bc1 to Bc5
    16, 16,  0,  0,  1,  1,  1,  1,  1,  1, // 40  Bc6, Bc7, Fmask8
     2,  2,  4,  4,  4,  8,  8,  1,  2,     // 50  Fmask16, Fmask32, Fmask64, 4_4, 6_5_5
};
inline constexpr ByteByFormat kNumComponents = {
//   0   1   2   3   4   5   6   7   8   9
     0,  1,  1,  2,  1,  2,  3,  3,  4,  4, //  0
     4,  2,  4,  3,  4,  0,  3,  4,  4,  4, // 10
     2,  2,  3,  0,  0,  0,  0,  0,  0,  0, // 20
     0,  0,  0,  0,  4,  4,  4,  4,  1,  2, // 30
     3,  4,  0,  0,  1,  1,  1,  1,  1,  1, // 40
     1,  1,  1,  1,  1,  2,  2,  2,  3,     // 50
};
// clang-format on

constexpr bool isBlockCompressed(unsigned surfaceFormat) {
    return surfaceFormat >= kSurfaceFormatBc1 && surfaceFormat <= kSurfaceFormatBc7;
}

// Of one texel where 16 of them share an element.
inline constexpr ByteByFormat kBitsPerElement = [] {
    ByteByFormat bits = {};
    for (unsigned format = 0; format < kSurfaceFormatCount; ++format) {
        const unsigned texels = isBlockCompressed(format) ? 16 : 1;
        bits[format] = static_cast<std::uint8_t>(kBytesPerElement[format] * 8 / texels);
    }
    return bits;
}();

static_assert(kBitsPerElement[kSurfaceFormatBc1] == 4 && kBitsPerElement[kSurfaceFormatBc7] == 8);
static_assert(kBitsPerElement[kSurfaceFormat32_32_32] == 96 && kBitsPerElement[kSurfaceFormat6_5_5] == 16);

} // namespace qor::Vex
