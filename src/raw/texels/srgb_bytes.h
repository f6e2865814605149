// sRGB and bytes: what the encoder makes of every float, and what becomes of bytes, in tables.
//
// The encoder's byte never falls as the float grows, and between two floats whose upper 16 bits follow each
// other it rises by at most one. So one word for each value of the upper 16 bits tells it all: the byte below
// the step, and how far the lower 16 bits are from it. (The upper 16 bits are taken off it, which saves
// taking them off the float.)
#pragma once

#include <cstdint>

namespace qor::Texsmith::Raw {

// From 2^-13, whose byte is 0, to 1.
inline constexpr std::uint32_t kSrgbStepsFirst = 0x3900;
inline constexpr std::uint32_t kSrgbStepsLast = 0x3F80;

// (m_words[(bits >> 16) - kSrgbStepsFirst] + bits) >> 16 is the byte, modulo 2^32.
struct SrgbSteps {
    std::uint32_t m_words[kSrgbStepsLast - kSrgbStepsFirst + 1];
};
extern const SrgbSteps g_srgbSteps;

// The stored byte of a linear value: clamped, a NaN counts as 0.
std::uint8_t srgbByte(float linear);

// What a stored byte stands for, in three representations.
struct ByteTable {
    float m_floats[256];
    std::uint16_t m_halves[256]; // small floats as texels store them
    std::uint8_t m_bytes[256];   // linear
};
extern const ByteTable g_linearBytes;
extern const ByteTable g_srgbBytes;
// The sRGB byte of a linear one.
struct SrgbOfLinearBytes {
    std::uint8_t m_bytes[256];
};
extern const SrgbOfLinearBytes g_srgbOfLinearBytes;

// The bytes of all halves from 0 to 1, of which kHalfOne is the last.
inline constexpr std::uint16_t kHalfOne = 0x3C00;
struct BytesOfHalves {
    std::uint8_t m_bytes[kHalfOne + 1];
};
extern const BytesOfHalves g_bytesOfHalves; // linear
extern const BytesOfHalves g_srgbOfHalves;

} // namespace qor::Texsmith::Raw
