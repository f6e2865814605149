// The wide kernels of measures, and what they share with the code that calls them.
//
// Each gives the bits of its plain version.
#pragma once

#include "qor/texsmith/raw/vector_math.h"

#include <cstddef>
#include <cstdint>

namespace qor::Texsmith::Raw {

// How texels of four bytes become lanes: lane i is byte m_byte[i] times 1/255, or a constant.
struct ByteLanes {
    static constexpr std::uint8_t kNoByte = 0x80;

    std::uint8_t m_byte[4];   // kNoByte: the constant
    std::uint32_t m_whole[4]; // 255 for the constant one, else 0
};

// Decodes `count` tiles side by side; rows of texels lie `pitch` bytes apart.
using DecodeByteTiles = void (*)(Tile* tiles, const std::uint8_t* source, std::size_t pitch, unsigned count,
                                 const ByteLanes& lanes);

struct TileKernels {
    DecodeByteTiles m_decodeBytes;
};

// Null where the build has none.
const TileKernels* getTileKernelsAvx2();

} // namespace qor::Texsmith::Raw
