// The power function behind the sRGB curves: the exact power, rounded once to single precision.
//
// Plain double arithmetic in a fixed order, so that files made with it are alike on every machine, which
// those made with the C libraries' functions are not. The logarithm is the series of the inverse hyperbolic
// tangent, the exponential that of Taylor. The parts that matter are kept as sums of a short and a small
// number, whose products are exact: the relative error before the rounding stays below 2^-52, while no input
// of the sRGB curves lies closer than 2^-51.7 to the middle between two floats.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

namespace qor::Texsmith::Raw {

// A number as a float, so that its product with another float is exact, and what the float leaves over.
struct SplitDouble {
    float m_high;
    double m_low;
};

inline constexpr double kInverseOdds[] = {1.0 / 3,  1.0 / 5,  1.0 / 7,  1.0 / 9,  1.0 / 11,
                                          1.0 / 13, 1.0 / 15, 1.0 / 17, 1.0 / 19, 1.0 / 21};
inline constexpr double kInverseFactorials[] = {
    1.0 / 2,       1.0 / 6,        1.0 / 24,        1.0 / 120,        1.0 / 720,         1.0 / 5040,
    1.0 / 40320.0, 1.0 / 362880.0, 1.0 / 3628800.0, 1.0 / 39916800.0, 1.0 / 479001600.0, 1.0 / 6227020800.0};

template <std::size_t kCount> constexpr double polynomial(const double (&coefficients)[kCount], double x) {
    double sum = coefficients[kCount - 1];
    for (std::size_t i = kCount - 1; i > 0; --i) {
        sum = sum * x + coefficients[i - 1];
    }
    return sum;
}

// The logarithm to base 2 of 0.707 to 1.415.
constexpr SplitDouble splitLog2(float m) {
    constexpr double kTwoOverLn2 = 2.8853900817779268;
    constexpr float kTwoOverLn2High = static_cast<float>(kTwoOverLn2);
    constexpr double kTwoOverLn2Low = 3.851925982253235e-08;
    const double above = static_cast<double>(m) - 1.0;
    const double below = static_cast<double>(m) + 1.0;
    const double s = above / below;
    const float sHigh = static_cast<float>(s);
    const double sLow = (above - sHigh * below) / below;
    const double first = static_cast<double>(kTwoOverLn2High) * sHigh; // exact
    const double rest = kTwoOverLn2 * sLow + kTwoOverLn2Low * sHigh +
                        kTwoOverLn2 * s * s * s * polynomial(kInverseOdds, s * s);
    const float high = static_cast<float>(first + rest);
    return {high, (first - high) + rest};
}

// `base` is positive and normal, and so is the result.
constexpr float exactPower(float base, float exponent) {
    constexpr double kLn2 = 0.69314718055994531;
    constexpr std::uint32_t kMantissaOfSqrt2 = 0x3504F3;
    const std::uint32_t bits = std::bit_cast<std::uint32_t>(base);
    const std::uint32_t mantissa = bits & 0x7FFFFF;
    const bool upper = mantissa > kMantissaOfSqrt2;
    const int scale = static_cast<int>(bits >> 23) - (upper ? 126 : 127);
    const SplitDouble log = splitLog2(std::bit_cast<float>(mantissa | (upper ? 0x3F000000u : 0x3F800000u)));
    const double y = exponent;
    const double whole = y * scale; // exact, as is y * log.m_high
    const double sum = whole + y * log.m_high;
    const int n = static_cast<int>(sum + (sum >= 0.0 ? 0.5 : -0.5));
    const double t = (((whole - n) + y * log.m_high) + y * log.m_low) * kLn2; // at most 0.35 either way
    const double power = 1.0 + (t + t * t * polynomial(kInverseFactorials, t));
    return static_cast<float>(power * std::bit_cast<double>(static_cast<std::uint64_t>(n + 1023) << 52));
}

} // namespace qor::Texsmith::Raw
