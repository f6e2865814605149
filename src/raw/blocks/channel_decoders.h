// Decoders of BC4 and BC5 to bytes, eight blocks at a time.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qor::Texsmith::Raw {

// Whole groups of eight out of `count` blocks, to 4 rows `pitch` bytes apart; gives the number of blocks
// done.
using DecodeChannelEights = std::size_t (*)(std::uint8_t* destination, std::size_t pitch,
                                            const std::uint8_t* source, std::size_t count);
struct ChannelKernelsAvx2 {
    DecodeChannelEights m_bc4ToBytes;  // R
    DecodeChannelEights m_bc5ToPairs;  // R, G
    DecodeChannelEights m_toPixels[2]; // R, G, 0, 255, of BC4 and BC5
};
const ChannelKernelsAvx2* channelKernelsAvx2(); // null where the build has none

} // namespace qor::Texsmith::Raw
