// What a block of BC7 stores, between the choice of it and its bits.
#pragma once

#include <cstdint>

namespace qor::Texsmith::Raw {

struct Bc7Fields {
    std::uint8_t m_mode;
    std::uint8_t m_partition;
    std::uint8_t m_rotation;  // as stored: 0 none, else the channel (1 red) that is swapped with alpha
    std::uint8_t m_selection; // mode 4: set when the colours have the indices of 3 bits
    // By subset, end and channel: the stored bits alone. Alpha, or the channel in its place, comes last.
    std::uint8_t m_ends[3][2][4];
    std::uint8_t m_pBits[3][2]; // a shared one stands at the first end
    // By texel, of 0 for the first end. Anchors may have their top bit set: packing exchanges the ends.
    std::uint8_t m_indices[16];
    std::uint8_t m_scalarIndices[16]; // modes 4 and 5: of the channel in the place of alpha
};

// Writes 16 bytes.
void packBc7(std::uint8_t* destination, const Bc7Fields& fields);

} // namespace qor::Texsmith::Raw
