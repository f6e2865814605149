// A run of bits in a descriptor's register.
#pragma once

#include <cstdint>

namespace qor::Vex {

struct RegisterField {
    unsigned m_first;
    unsigned m_bits;

    constexpr std::uint32_t largest() const { return (std::uint32_t{1} << m_bits) - 1; }
    constexpr std::uint32_t get(std::uint32_t word) const { return word >> m_first & largest(); }
    // What does not fit is cut off.
    constexpr void set(std::uint32_t& word, std::uint32_t value) const {
        word = (word & ~(largest() << m_first)) | (value & largest()) << m_first;
    }
};

} // namespace qor::Vex
