// Endpoints of a block of BC1 of one colour.
#pragma once

#include <cstdint>

namespace qor::Texsmith::Raw {

// For a byte of all three channels: the two 5:6:5 colours, color0 in the low half, whose palette entry 2,
// (43 * color0 + 21 * color1 + 32) >> 6, is nearest to the byte. Never more than 1 away.
struct SingleColourEndpoints {
    std::uint32_t m_words[256];
};
extern const SingleColourEndpoints kSingleColourEndpoints;

// The fields of both colours of a word.
inline constexpr std::uint32_t kRedFields = 0xF800F800;
inline constexpr std::uint32_t kGreenFields = 0x07E007E0;
inline constexpr std::uint32_t kBlueFields = 0x001F001F;

} // namespace qor::Texsmith::Raw
