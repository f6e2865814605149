// Swizzles of 16 bytes at a time with AVX2.
#pragma once

#include <cstdint>

namespace qor::Texsmith::Raw {

// One shuffle for all: byte i of 16 is byte `from`[i], or 0 where that is 0x80, with the bits of `ones`. The
// first eight bytes are those of the low word, from its least significant end.
struct ByteWords {
    std::uint64_t m_low;
    std::uint64_t m_high;
};
using ShuffleBytes = void (*)(void* texels, unsigned count, ByteWords from, ByteWords ones);
// Null where the build has none.
ShuffleBytes getShuffleBytesAvx2();

} // namespace qor::Texsmith::Raw
