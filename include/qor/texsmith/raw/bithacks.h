// Small integer helpers, and the one place that multiplies dimensions.
#pragma once

#include <cstdint>

namespace qor::Texsmith::Raw {

// The next multiple of `alignment`, a power of two; of T's range, which it must not leave.
template <typename T> constexpr T roundUp(T value, T alignment) {
    return (value + alignment - 1) & ~(alignment - 1);
}

// The sum of both must fit.
constexpr unsigned divideRoundingUp(unsigned value, unsigned divisor) {
    return (value + divisor - 1) / divisor;
}

constexpr bool isPowerOfTwo(std::uint64_t value) { return value != 0 && (value & (value - 1)) == 0; }

// `value` is a power of two.
constexpr unsigned log2OfPowerOfTwo(std::uint64_t value) {
    unsigned exponent = 0;
    for (std::uint64_t rest = value; rest > 1; rest >>= 1) {
        ++exponent;
    }
    return exponent;
}

// Product of sizes, or the largest 64-bit number when it does not fit: compare it with a limit before use.
template <typename... Ts> constexpr std::uint64_t checkedSize(std::uint64_t first, Ts... factors) {
    std::uint64_t product = first;
    const auto multiply = [&](std::uint64_t factor) {
        product = factor != 0 && product > UINT64_MAX / factor ? UINT64_MAX : product * factor;
    };
    (multiply(factors), ...);
    return product;
}

// Sum of sizes, or the largest 64-bit number.
constexpr std::uint64_t checkedSum(std::uint64_t a, std::uint64_t b) {
    return a > UINT64_MAX - b ? UINT64_MAX : a + b;
}

} // namespace qor::Texsmith::Raw
