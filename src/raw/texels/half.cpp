// Conversion between floats and half floats, and a check of it that clients may run.
#include "qor/texsmith/raw/half.h"

#include "raw/frame/check.h"

#include <array>
#include <bit>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\texels\\half";

// The exact value, as the bits of a float. A denormal is shifted up until its leading one falls out.
constexpr std::uint32_t floatBitsFromHalf(std::uint32_t half) {
    const std::uint32_t sign = (half & 0x8000) << 16;
    const std::uint32_t exponent = half >> 10 & 31;
    const std::uint32_t mantissa = half & 0x3FF;
    if (exponent == 31) {
        return sign | 0x7F800000 | mantissa << 13;
    }
    if (exponent != 0 || mantissa == 0) {
        return sign | (exponent == 0 ? 0 : (exponent + 112) << 23) | mantissa << 13;
    }
    const std::uint32_t shift = static_cast<std::uint32_t>(std::countl_zero(mantissa)) - 21;
    return sign | (113 - shift) << 23 | (mantissa << shift & 0x3FF) << 13;
}

// The bits of the float for every half are a sum of two parts, one by the mantissa and one by sign and
// exponent: J. van der Zijp, Fast Half Float Conversions, 2008. Denormals, which have a part of their own,
// come first.
constexpr auto makeMantissaBits() {
    std::array<std::uint32_t, 2048> table = {};
    for (std::uint32_t mantissa = 0; mantissa < 1024; ++mantissa) {
        table[mantissa] = floatBitsFromHalf(mantissa);
        table[1024 + mantissa] = mantissa << 13;
    }
    return table;
}

constexpr auto makeExponentBits() {
    std::array<std::uint32_t, 64> table = {};
    for (std::uint32_t high = 0; high < 64; ++high) {
        table[high] = floatBitsFromHalf(high << 10);
    }
    return table;
}

constexpr std::uint32_t firstMantissa(std::uint32_t half) { return (half & 0x7C00) == 0 ? 0 : 1024; }

// By sign and exponent of a float: those of the half, or 0 where the slow path decides. The half exponent 30
// is deliberately absent.
constexpr auto makeHalfExponents() {
    std::array<std::uint16_t, 512> table = {};
    for (unsigned exponent = 113; exponent <= 141; ++exponent) {
        table[exponent] = static_cast<std::uint16_t>((exponent - 112) << 10);
        table[256 + exponent] = static_cast<std::uint16_t>(table[exponent] | 0x8000);
    }
    return table;
}

// Bits instead of floats, so that no move touches a signalling NaN.
constinit const std::array<std::uint32_t, 2048> kMantissaBits = makeMantissaBits();
constinit const std::array<std::uint32_t, 64> kExponentBits = makeExponentBits();
constinit const std::array<std::uint16_t, 512> kHalfExponents = makeHalfExponents();

// Drops 13 bits; adds one to what stays when the highest of them is set.
std::uint32_t roundMantissa(std::uint32_t mantissa) {
    return (mantissa & 0x1000) != 0 ? mantissa + 0x2000 : mantissa;
}

} // namespace

Half::Half(float value) {
    const std::uint32_t bits = std::bit_cast<std::uint32_t>(value);
    const std::uint32_t exponent = kHalfExponents[bits >> 23];
    if (value == 0.0f) {
        m_bits = 0;
    } else if (exponent != 0) {
        m_bits = static_cast<std::uint16_t>((((bits & 0x7FFFFF) + 4096) >> 13) + exponent);
    } else {
        m_bits = static_cast<std::uint16_t>(Convert(static_cast<int>(bits)));
    }
}

Half::operator float() const {
    return std::bit_cast<float>(kMantissaBits[firstMantissa(m_bits) + (m_bits & 0x3FF)] +
                                kExponentBits[m_bits >> 10]);
}

// The exponent field is read as a signed byte, so that one of 128 or more counts as tiny and gives +0.
short Half::Convert(int floatBits) {
    const std::uint32_t bits = static_cast<std::uint32_t>(floatBits);
    const std::uint32_t sign = bits >> 16 & 0x8000;
    const std::uint32_t mantissa = bits & 0x7FFFFF;
    const int exponent = static_cast<std::int8_t>(bits >> 23 & 0xFF) - 112;
    if (exponent < -10) {
        return 0;
    }
    if (exponent <= 0) { // a denormal; a carry out of its mantissa is dropped
        const std::uint32_t rounded = roundMantissa((mantissa | 0x800000) >> (1 - exponent));
        return static_cast<short>(sign | (rounded >> 13 & 0x3FF));
    }
    const std::uint32_t rounded = roundMantissa(mantissa);
    const std::uint32_t carried = static_cast<std::uint32_t>(exponent) + (rounded >> 23);
    if (carried > 30) {
        Overflow();
        return static_cast<short>(sign | 0x7C00);
    }
    return static_cast<short>(sign | carried << 10 | (rounded >> 13 & 0x3FF));
}

int Half::Convert(short halfBits) {
    return static_cast<int>(floatBitsFromHalf(static_cast<std::uint16_t>(halfBits)));
}

float Half::Overflow() {
    volatile float value = 1e10f;
    for (int i = 0; i < 10; ++i) {
        value = value * value;
    }
    return value;
}

Half& Half::operator+=(Half other) { return *this += static_cast<float>(other); }
Half& Half::operator-=(Half other) { return *this -= static_cast<float>(other); }
Half& Half::operator*=(Half other) { return *this *= static_cast<float>(other); }
Half& Half::operator/=(Half other) { return *this /= static_cast<float>(other); }
Half& Half::operator+=(float other) { return *this = Half(static_cast<float>(*this) + other); }
Half& Half::operator-=(float other) { return *this = Half(static_cast<float>(*this) - other); }
Half& Half::operator*=(float other) { return *this = Half(static_cast<float>(*this) * other); }
Half& Half::operator/=(float other) { return *this = Half(static_cast<float>(*this) / other); }

void Half::UnitTest() {
    struct Sample {
        float m_value;
        std::uint16_t m_bits;
    };
    constexpr Sample kSamples[] = {{0.0f, 0x0000},         {1.0f, 0x3C00},     {-2.0f, 0xC000},
                                   {0.5f, 0x3800},         {16384.0f, 0x7400}, {0.33325195f, 0x3555},
                                   {5.9604645e-8f, 0x0001}};
    for (const Sample& sample : kSamples) {
        const Half half(sample.m_value);
        check(half.m_bits == sample.m_bits, kSourcePath, "Half(value) == bits");
        check(static_cast<float>(half) == sample.m_value, kSourcePath, "float(half) == value");
    }
}

} // namespace qor::Texsmith::Raw
