// Endpoints of BC6H as numbers of a mode: how they are rounded, which ranges hold them, what they decode to.
#pragma once

#include "raw/blocks/bc6_kernels.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

// 16-bit codes with 16 more bits behind them, for endpoints 0 to 3 and each channel.
using Bc6Codes = std::int64_t[4][3];

// Endpoints in the numbers of a mode, and for each component the step, -1, 0 or 1, from there across the
// exact value.
struct Bc6Numbers {
    std::int32_t m_numbers[4][3];
    std::int8_t m_steps[4][3];
};

// Limits a position to what a finite half holds, and converts it to 65536ths.
std::int32_t toBc6Position(float position, bool isSigned);

// The code that decodes to a position: on the magnitude when signed.
std::int64_t toBc6Code(std::int32_t position, bool isSigned);

// The number of 16 bits that decodes to the very half: the exact inverse of the decoder's last step. -0 gives
// -1.
std::int32_t bc6NumberOfHalf(std::uint32_t pattern, bool isSigned);

// The bits that a difference of two codes needs, with its sign and a sixteenth to spare.
unsigned bitsOfBc6Difference(std::int64_t code, std::int64_t other);

// Rounds the endpoints that a mode has to its nearest numbers.
void quantiseBc6(const Bc6Codes& codes, const Bc6Mode& mode, bool isSigned, Bc6Numbers* numbers);

// Whether a mode has the number, or the difference from endpoint 0.
inline bool isBc6NumberInRange(std::int32_t number, unsigned bits, bool isSigned) {
    const std::int32_t mask = (1 << bits) - 1;
    return isSigned ? number >= -1 - (mask >> 1) && number <= mask >> 1 : number >= 0 && number <= mask;
}
inline bool isBc6DeltaInRange(std::int32_t number, std::int32_t first, unsigned bits) {
    return isBc6NumberInRange(number - first, bits, true);
}

// What the decoder makes of a number of so many bits: a 16-bit code, and of that the last step.
inline std::int32_t widenBc6(std::int32_t number, unsigned bits, bool isSigned) {
    const std::int32_t magnitude = number < 0 ? -number : number;
    const std::int32_t top = (1 << (isSigned ? bits - 1 : bits)) - 1, topCode = isSigned ? 0x7FFF : 0xFFFF;
    std::int32_t code = magnitude;
    if (bits < 16 && magnitude != 0) {
        code = magnitude >= top ? topCode : (magnitude * 2 + 1) << (15 - bits);
    }
    return number < 0 ? -code : code;
}
inline std::int32_t decodeBc6Code(std::int32_t code, bool isSigned) {
    const std::int32_t magnitude = code < 0 ? -code : code;
    const std::int32_t decoded = isSigned ? magnitude * 31 >> 5 : magnitude * 31 >> 6;
    return code < 0 ? -decoded : decoded;
}

} // namespace qor::Texsmith::Raw
