#include "qor/texsmith/raw/half.h"
#include "support/bit_patterns.h"
#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <cmath>

namespace qor::Texsmith::Raw {

struct HalfAccess {
    static std::uint16_t convert(float value) {
        return static_cast<std::uint16_t>(Half::Convert(static_cast<int>(TestSupport::bitsOf(value))));
    }
    static std::uint32_t convert(std::uint16_t bits) {
        return static_cast<std::uint32_t>(Half::Convert(static_cast<short>(bits)));
    }
};

namespace {

using TestSupport::bitsOf;
using TestSupport::floatOf;

unsigned short bitsOfHalf(float value) { return Half(value); }

TEST(Half, EveryPatternConvertsToItsValueAndAllButTheLastExponentsBack) {
    unsigned lost = 0;
    for (std::uint32_t bits = 0; bits < 65536; ++bits) {
        const Half half(static_cast<unsigned short>(bits));
        const int exponent = static_cast<int>(bits >> 10 & 31), mantissa = static_cast<int>(bits & 1023);
        std::uint32_t expected = 0x7F800000 | static_cast<std::uint32_t>(mantissa) << 13;
        if (exponent < 31) {
            expected = bitsOf(static_cast<float>(exponent == 0 ? std::ldexp(mantissa, -24)
                                                               : std::ldexp(1024 + mantissa, exponent - 25)));
        }
        ASSERT_EQ(expected | (bits & 0x8000) << 16, bitsOf(half)) << std::hex << bits;
        ASSERT_EQ(bitsOf(half), HalfAccess::convert(static_cast<std::uint16_t>(bits)));
        const bool survives = (bits & 0x7FFF) < 0x7800 && bits != 0x8000;
        ASSERT_EQ(survives ? bits : 0, bitsOfHalf(half)) << std::hex << bits;
        lost += survives ? 0 : 1;
        ASSERT_EQ(half.IsFinite(), exponent < 31);
        ASSERT_EQ(1,
                  half.IsZero() + half.IsDenormalized() + half.IsNormalized() + half.IsInf() + half.IsNAN());
    }
    EXPECT_EQ(4097u, lost);
}

TEST(Half, RoundsHalfUpAndLosesTheEnds) {
    // clang-format off
    const std::pair<float, unsigned> kValues[] = {
        {1.0f, 0x3C00}, {-2.0f, 0xC000}, {65504.0f, 0}, {1e30f, 0}, {16384.0f, 0x7400}, {32760.0f, 0x7800},
        {0x1.fffffep14f, 0x7800}, {32768.0f, 0}, {0x1p-25f, 1}, {0x1.fffffep-26f, 0}, {5.9604645e-8f, 1},
        {1e-10f, 0}, {-0.0f, 0}, {-1e-10f, 0}, {6.1035e-5f, 0}, {-6.1035e-5f, 0x8000}, {6.1005e-5f, 0x03FF},
        {0x1.002p0f, 0x3C01}, {0x1.001ffep0f, 0x3C00}, {0x1.ffep0f, 0x4000}, {HUGE_VALF, 0}, {NAN, 0}};
    // clang-format on
    for (const auto& [value, bits] : kValues) {
        EXPECT_EQ(bits, bitsOfHalf(value)) << value;
    }
    TestSupport::RandomBits random;
    for (int i = 0; i < 100000; ++i) { // where the table decides: one rounding of the magnitude
        const float value = floatOf((random.word() & 0x807FFFFF) | (113 + random.word() % 29) << 23);
        const int exponent = std::ilogb(value);
        const double rounded = std::floor(std::ldexp(std::fabs(value), 10 - exponent) + 0.5);
        const auto expected = static_cast<unsigned>(rounded) + static_cast<unsigned>(exponent + 14) * 1024;
        ASSERT_EQ(expected | (value < 0 ? 0x8000u : 0u), bitsOfHalf(value)) << value;
        if (exponent < 1) { // the slow path agrees as far as its exponent stays positive
            ASSERT_EQ(bitsOfHalf(value), HalfAccess::convert(value)) << value;
        }
    }
}

TEST(Half, ArithmeticGoesThroughFloat) {
    Half half(1.5f);
    half += 2.0f;
    half *= Half(2.0f);
    half -= Half(1.0f);
    half /= 4.0f;
    half /= Half(3.0f);
    half += Half(0.25f);
    half -= 0.125f;
    half *= 2.0f;
    EXPECT_EQ(1.25f, static_cast<float>(half));
    EXPECT_EQ(-1.25f, static_cast<float>(-half));
    EXPECT_TRUE((-half).IsNegative() && Half::SignalingNAN().IsNAN() && Half::QNAN().IsNAN());
    EXPECT_EQ(-HUGE_VALF, static_cast<float>(Half::NegInf()));
    TestSupport::ReportRecorder recorder;
    Half::UnitTest();
    EXPECT_TRUE(recorder.empty()) << recorder.texts();
}

} // namespace
} // namespace qor::Texsmith::Raw
