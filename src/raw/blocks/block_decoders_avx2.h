// Decoders of eight blocks at a time.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qor::Texsmith::Raw {

// Whole groups of eight out of `count` blocks, to 4 rows `pitch` bytes apart; gives the number of blocks
// done.
using DecodeEights = std::size_t (*)(std::uint8_t* destination, std::size_t pitch, const std::uint8_t* source,
                                     std::size_t count);
struct BlockKernelsAvx2 {
    DecodeEights m_bc1;
    DecodeEights m_opaqueBc1;
    DecodeEights m_bc2;
    DecodeEights m_bc3;
};
const BlockKernelsAvx2* blockKernelsAvx2(); // null where the build has none

} // namespace qor::Texsmith::Raw
