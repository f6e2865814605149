// The small floats of texels, chosen by the width of their channel.
//
// These are not the conversions of Half: denormals keep their bits instead of their value, nothing is
// rounded, and what is out of range becomes the smallest or largest normal number.
#pragma once

#include <bit>
#include <cstdint>

namespace qor::Texsmith::Raw {

struct SmallFloat {
    unsigned m_signBits;
    unsigned m_exponentBits;
    unsigned m_mantissaBits;

    constexpr std::uint32_t exponentMask() const { return (1u << m_exponentBits) - 1; }
    constexpr std::uint32_t mantissaMask() const { return (1u << m_mantissaBits) - 1; }
};

// Channels of other widths hold no floats: they read and store as 0.
constexpr SmallFloat smallFloatOfWidth(unsigned bits) {
    switch (bits) {
    case 10:
        return {0, 5, 5};
    case 11:
        return {0, 5, 6};
    case 16:
        return {1, 5, 10};
    case 32:
        return {1, 8, 23};
    default:
        return {0, 0, 0};
    }
}

// Gives the bits of a float.
constexpr std::uint32_t expandSmallFloat(std::uint32_t raw, SmallFloat layout) {
    const std::uint32_t mantissa = raw & layout.mantissaMask();
    const std::uint32_t exponent = raw >> layout.m_mantissaBits & layout.exponentMask();
    const std::uint32_t sign =
        layout.m_signBits != 0 ? raw >> (layout.m_mantissaBits + layout.m_exponentBits) & 1 : 0;
    std::uint32_t wide = 0;
    if (exponent == layout.exponentMask()) {
        wide = exponent == 0 ? 0 : 255;
    } else if (exponent != 0) {
        wide = exponent + 127 - (layout.exponentMask() >> 1);
    }
    return sign << 31 | wide << 23 | mantissa << (23 - layout.m_mantissaBits);
}

// Truncates. Without a sign bit, what is not above 0 becomes 0, a NaN too.
constexpr std::uint32_t compressSmallFloat(std::uint32_t bits, SmallFloat layout) {
    if (layout.m_signBits == 0 && !(std::bit_cast<float>(bits) > 0.0f)) {
        return 0;
    }
    const int most = static_cast<int>(layout.exponentMask());
    const int wide = static_cast<int>(bits >> 23 & 0xFF);
    std::uint32_t mantissa = (bits & 0x7FFFFF) >> (23 - layout.m_mantissaBits);
    int exponent = wide == 0 ? 0 : most;
    if (wide != 0 && wide != 255) {
        exponent = wide - 127 + (most >> 1);
        if (exponent < 1) {
            exponent = 1;
            mantissa = 0;
        }
        if (exponent > most - 1) {
            exponent = most - 1;
            mantissa = layout.mantissaMask();
        }
    }
    const std::uint32_t field = static_cast<std::uint32_t>(exponent) & layout.exponentMask();
    const std::uint32_t sign = layout.m_signBits != 0 ? bits >> 31 : 0;
    return (sign << layout.m_exponentBits | field) << layout.m_mantissaBits | mantissa;
}

} // namespace qor::Texsmith::Raw
