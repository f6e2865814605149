// The cyclic redundancy code of PNG's chunks, bit by bit: for a few short chunks.
#pragma once

#include "qor/texsmith/raw/memory_region.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

// Of a chunk's type and data.
inline std::uint32_t pngChecksum(const MemoryRegion& typeAndData) {
    constexpr std::uint32_t kPolynomial = 0xEDB88320;
    std::uint32_t sum = ~0u;
    for (const std::uint8_t* byte = typeAndData.begin; byte != typeAndData.end; ++byte) {
        sum ^= *byte;
        for (int bit = 0; bit < 8; ++bit) {
            sum = sum >> 1 ^ ((sum & 1) != 0 ? kPolynomial : 0);
        }
    }
    return ~sum;
}

} // namespace qor::Texsmith::Raw
