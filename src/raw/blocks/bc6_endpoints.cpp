#include "raw/blocks/bc6_endpoints.h"

#include <algorithm>
#include <bit>
#include <cstdlib>

namespace qor::Texsmith::Raw {
namespace {

constexpr unsigned kFraction = 16; // bits of a code behind the sixteen that the decoder has

// Of a mode's numbers: those that stand for magnitudes have one bit less than the mode's.
struct Scale {
    unsigned m_bits;
    std::int32_t m_top;

    Scale(unsigned bits, bool isSigned) : m_bits(isSigned ? bits - 1 : bits), m_top((1 << m_bits) - 1) {}

    // In fractions of a code.
    std::int64_t widen(std::int32_t number, bool isSigned) const {
        return static_cast<std::int64_t>(widenBc6(number, isSigned ? m_bits + 1 : m_bits, isSigned))
               << kFraction;
    }
};

struct Rounded {
    std::int32_t m_number;
    std::int8_t m_step;
};

// The number whose code is nearest to a code that is not negative.
Rounded roundMagnitude(std::int64_t code, const Scale& scale, bool isSigned) {
    const unsigned codeBits = isSigned ? 15 : 16;
    auto number = static_cast<std::int32_t>(
        std::min<std::int64_t>(code >> (codeBits + kFraction - scale.m_bits), scale.m_top));
    const auto distance = [&](std::int32_t candidate) {
        return std::abs(code - scale.widen(candidate, isSigned));
    };
    // The codes of the least and the greatest number lie at the ends of their ranges, not in the middle.
    if (number == 0 && scale.m_top > 0 && distance(1) < distance(0)) {
        number = 1;
    } else if (number == scale.m_top && number > 0 && distance(number - 1) < distance(number)) {
        --number;
    }
    const std::int64_t rest = code - scale.widen(number, isSigned);
    const bool up = rest > 0 && number < scale.m_top, down = rest < 0 && number > 0;
    return {number, static_cast<std::int8_t>(up ? 1 : down ? -1 : 0)};
}

Rounded roundCode(std::int64_t code, const Scale& scale, bool isSigned) {
    Rounded rounded = roundMagnitude(std::abs(code), scale, isSigned);
    if (code < 0) {
        rounded = {-rounded.m_number, static_cast<std::int8_t>(-rounded.m_step)};
    }
    return rounded;
}

} // namespace

std::int32_t toBc6Position(float position, bool isSigned) {
    constexpr std::int32_t kLimit = 0x7BFFFF80;
    constexpr float kFloatLimit = 0x7BFFFF80;
    const float scaled = position * 65536.0f;
    if (!(scaled < kFloatLimit)) {
        return kLimit;
    }
    const float least = isSigned ? -kFloatLimit : 0.0f;
    return static_cast<std::int32_t>(scaled > least ? scaled : least);
}

std::int64_t toBc6Code(std::int32_t position, bool isSigned) {
    if (position == 0) {
        return 0;
    }
    // In the middle of the codes that decode to the same half.
    const std::int64_t magnitude = std::abs(static_cast<std::int64_t>(position)) + 0x8000;
    const std::int64_t code = isSigned ? magnitude * 32 / 31 : magnitude * 64 / 31;
    return position < 0 ? -code : code;
}

std::int32_t bc6NumberOfHalf(std::uint32_t pattern, bool isSigned) {
    const auto magnitude = static_cast<std::int32_t>(pattern & 0x7FFF);
    if (!isSigned) {
        return (magnitude * 64 + 63) / 31;
    }
    if (pattern >= 0xFC00) {
        return -32768;
    }
    const std::int32_t number = (magnitude * 32 + 31) / 31;
    return (pattern & 0x8000) != 0 ? -number : number;
}

unsigned bitsOfBc6Difference(std::int64_t code, std::int64_t other) {
    const std::int64_t difference = (code - other) >> kFraction;
    const auto magnitude = static_cast<std::uint32_t>(difference < 0 ? -1 - difference : difference);
    return static_cast<unsigned>(std::bit_width(magnitude + (magnitude >> 4))) + 1;
}

void quantiseBc6(const Bc6Codes& codes, const Bc6Mode& mode, bool isSigned, Bc6Numbers* numbers) {
    const Scale scale(mode.m_endpointBits, isSigned);
    for (unsigned end = 0; end < mode.endpoints(); ++end) {
        for (unsigned channel = 0; channel < 3; ++channel) {
            const Rounded rounded = roundCode(codes[end][channel], scale, isSigned);
            numbers->m_numbers[end][channel] = rounded.m_number;
            numbers->m_steps[end][channel] = rounded.m_step;
        }
    }
}

} // namespace qor::Texsmith::Raw
