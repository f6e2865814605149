// Decoder of BC6H, exact to the published format. Any 16 bytes decode to something: the reserved modes to
// black with an alpha of one. Signed blocks may hold -infinity; there is no NaN and no +infinity.
#pragma once

#include "qor/texsmith/raw/vector_math.h"

#include <cstddef>
#include <cstdint>

namespace qor::Texsmith::Raw {

// A block as it is stored.
struct Bc6Fields {
    unsigned m_mode;           // by the table of modes; one past it for the reserved ones, without the rest
    unsigned m_partition;      // 0 with one subset
    std::uint16_t m_words[12]; // endpoints and differences: channel + 3 * endpoint; 0 where there is none
    std::uint8_t m_indices[16];
};
Bc6Fields unpackBc6(const std::uint8_t* source);

// 16 texels of R, G, B and an alpha of 1.0, from a block of 16 bytes.
void decodeBc6(ColorRGBA32F* destination, const std::uint8_t* source, bool isSigned);

} // namespace qor::Texsmith::Raw
