// Arithmetic of sizes in 64 bits. What does not fit becomes kTooLarge and stays it.
#pragma once

#include <cstdint>
#include <limits>

namespace qor::GpuAddress {

inline constexpr std::uint64_t kTooLarge = std::numeric_limits<std::uint64_t>::max();

template <typename... Factors> constexpr std::uint64_t productOf(std::uint64_t first, Factors... factors) {
    std::uint64_t product = first;
    const auto multiply = [&product](std::uint64_t factor) {
        product = factor != 0 && product > kTooLarge / factor ? kTooLarge : product * factor;
    };
    (multiply(factors), ...);
    return product;
}

// `unit` need not be a power of two.
constexpr std::uint64_t roundedUp(std::uint64_t value, std::uint64_t unit) {
    const std::uint64_t missing = (unit - value % unit) % unit;
    return value > kTooLarge - missing ? kTooLarge : value + missing;
}

} // namespace qor::GpuAddress
