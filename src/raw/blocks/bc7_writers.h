// One candidate for a block of BC7, and its bytes.
#pragma once

#include <cstdint>

namespace qor::Texsmith::Raw {

struct Bc7Candidate {
    unsigned m_partition;
    unsigned m_rotation;   // as the format stores it
    bool m_hasAlpha;       // without it the block decodes with an alpha of 255
    float m_ends[3][2][4]; // by subset, end and channel, 0..1, before the rotation's exchange of channels
    std::uint8_t m_indices[16];
    std::uint8_t m_scalarIndices[16]; // modes 4 and 5
    std::uint8_t m_bytes[16];         // what the writers make
};

// For the modes 0 to 7: rounds the ends to the precision of the mode, exchanges those of a subset whose
// anchor has its top index bit set, and packs m_bytes. A partition, rotation or index that the mode does not
// have is reported, and writes nothing.
template <int kMode> void writeBc7Mode(Bc7Candidate& candidate);

} // namespace qor::Texsmith::Raw
