// Blocks of BC7 of up to four colours, which need no search.
#pragma once

#include <cstdint>

namespace qor::Texsmith::Raw {

// Channels that differ by less count as equal.
inline constexpr float kBc7OneLevel = 0.003921569f;

// 16 texels of R, G, B, A, 0..1, to 16 bytes. False when the block has more colours than `most`, which is 4
// or less, or three or four that no partition parts into pairs: then nothing is written.
bool encodeFewColours(std::uint8_t* destination, const float* texels, bool hasAlpha, unsigned most);

// For a byte of a channel: the ends of mode 5, of seven bits, whose index 1 decodes to the byte. Of all such
// pairs the closest, and of those the lowest.
struct Bc7SingleColour {
    struct Pair {
        std::uint8_t m_low, m_high;
    };
    Pair m_pairs[256];
};
extern const Bc7SingleColour kBc7SingleColour;

} // namespace qor::Texsmith::Raw
