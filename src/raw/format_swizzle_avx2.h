// The swizzle of wide machines.
#pragma once

#include <cstdint>

namespace qor::Texsmith::Raw {

// One shuffle for all: byte i of 16 is byte m_from[i], or 0 where that is 0x80, with the bits of m_ones.
struct ByteShuffle {
    alignas(16) std::uint8_t m_from[16];
    alignas(16) std::uint8_t m_ones[16];
};
using ShuffleBytes = void (*)(void* texels, unsigned count, const ByteShuffle& shuffle);
// Null where the build has none.
ShuffleBytes getShuffleBytesAvx2();

} // namespace qor::Texsmith::Raw
