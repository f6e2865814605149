// Which format the pixels of pictures by channels are held in.
#pragma once

#include "qor/vex/data_format.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

enum class ChannelDepth : std::uint8_t { k8, k16, kHalf, kFloat };

// The channels that such a file has.
struct ChannelLayout {
    bool m_isGrey;
    bool m_hasAlpha;
    ChannelDepth m_depth;
};

// L8, L8A8, R8G8B8X8 and R8G8B8A8, and the same with 16 bits, halves and floats. The channel type is for
// those of 8 and 16 bits, and sRGB types for 8 bits alone: 16 bits become UNorm instead.
Vex::DataFormat formatOf(const ChannelLayout& layout, Vex::TextureChannelType channelType);

// The layout that a file's is read as. With an sRGB type, alpha must be the fourth channel: the curve is for
// the first three.
ChannelLayout layoutToRead(const ChannelLayout& inFile, Vex::TextureChannelType channelType);

} // namespace qor::Texsmith::Raw
