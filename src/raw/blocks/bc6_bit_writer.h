// Bits into a block, in its little-endian bit order.
#pragma once

#include <cstdint>
#include <cstring>

namespace qor::Texsmith::Raw {

class Bc6BitWriter {
public:
    // Bits `first` to `last` of a value, in this order: reversed where last is below first. At most 16 bits
    // at positions below 16; anything else is reported and writes nothing, as is what exceeds the block.
    void write(std::uint16_t value, unsigned first, unsigned last);

    void store(std::uint8_t* destination) const { std::memcpy(destination, m_words, sizeof m_words); }

private:
    std::uint64_t m_words[2] = {};
    unsigned m_position = 0;

    void append(std::uint64_t bits, unsigned count);
};

} // namespace qor::Texsmith::Raw
