// How BC4 mixes its two endpoints, and alpha in BC3 is mixed by decoders.
#pragma once

#include <cstdint>

namespace qor::Texsmith::Raw {

// In 64ths, by index. Of six values, the last two are the least and the greatest that there are, and have no
// weights.
struct Bc4Weights {
    std::int16_t m_first[8];
    std::int16_t m_second[8];
};
inline constexpr Bc4Weights kBc4EightValues = {{64, 0, 55, 46, 37, 27, 18, 9},
                                               {0, 64, 9, 18, 27, 37, 46, 55}};
inline constexpr Bc4Weights kBc4SixValues = {{64, 0, 51, 38, 26, 13, 0, 0}, {0, 64, 13, 26, 38, 51, 0, 0}};
// What the encoder of BC3's alpha takes for those six. Entry 4 is deliberately not what a decoder makes of it
// (27 : 37, not 26 : 38).
inline constexpr Bc4Weights kBc3SixAlphas = {{64, 0, 51, 38, 27, 13, 0, 0}, {0, 64, 13, 26, 37, 51, 0, 0}};

} // namespace qor::Texsmith::Raw
