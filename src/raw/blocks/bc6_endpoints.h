// Endpoints of BC6H as numbers of a mode: how they are rounded, which ranges hold them, what they decode to.
#pragma once

#include "raw/blocks/bc6_kernels.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

// In 65536ths of a position, for endpoints 0 to 3 and each channel.
using Bc6Positions = std::int32_t[4][3];

// Endpoints in the numbers of a mode, and for each component the step, -1, 0 or 1, from there across the
// exact value.
struct Bc6Numbers {
    std::int32_t m_numbers[4][3];
    std::int8_t m_steps[4][3];
};

// Limits a position to what a finite half holds, and converts it to 65536ths.
std::int32_t toBc6Position(float position, bool isSigned);

// 16-bit codes, with 16 more bits behind them, that decode to a position: on the magnitude when signed.
std::int64_t toBc6Code(std::int32_t position, bool isSigned);

// The bits that a difference of two codes needs, with its sign and a sixteenth to spare.
unsigned bitsOfBc6Difference(std::int64_t code, std::int64_t other);

// Rounds the first `endpoints` endpoints to the nearest numbers of a mode.
void quantiseBc6(const Bc6Positions& positions, const Bc6Mode& mode, bool isSigned, Bc6Numbers* numbers);

// Whether a mode has the number, or the difference from endpoint 0.
bool isBc6NumberInRange(std::int32_t number, unsigned bits, bool isSigned);
bool isBc6DeltaInRange(std::int32_t number, std::int32_t first, unsigned bits);

// What the decoder makes of a number of so many bits: a 16-bit code, and of that the last step.
std::int32_t widenBc6(std::int32_t number, unsigned bits, bool isSigned);
std::int32_t decodeBc6Code(std::int32_t code, bool isSigned);

} // namespace qor::Texsmith::Raw
