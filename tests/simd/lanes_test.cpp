// Every class of lanes against plain arithmetic on one lane.
#include "simd/lanes4.h"

#include "simd/dispatch.h"
#include "simd/lanes_operations.h"
#include "simd/words.h"
#include "support/bit_patterns.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

using namespace qor::Texsmith;
using namespace LanesTest;
using TestSupport::bitsOf;
using TestSupport::floatOf;

namespace {

struct NamedClass {
    const char* m_name;
    RunOperations m_run;
};

std::vector<NamedClass> classesHere() {
    std::vector<NamedClass> classes = {{"scalar", &runOperations<Simd::LanesOfFour<Simd::Scalar::Backend>>},
                                       {"four", &runOperations<Simd::Lanes4>}};
    if (Simd::mayUseAvx2() && getOperationsAvx2() != nullptr) {
        classes.push_back({"eight", getOperationsAvx2()});
    }
    return classes;
}

Operands randomOperands(TestSupport::RandomBits& random) {
    Operands operands;
    for (unsigned i = 0; i < kLanes; ++i) {
        operands.a[i] = random.lane();
        operands.b[i] = random.word() % 8 == 0 ? operands.a[i] : random.lane();
        operands.c[i] = random.lane();
    }
    for (std::uint32_t& byte : operands.m_bytes) {
        byte = random.word() & 0xFF;
    }
    for (std::uint32_t& lane : operands.m_anyLanes) { // on both sides of the bytes, and far from them
        lane = random.word() % 4 == 0 ? random.lane() : random.word() % 1024 - 384;
    }
    for (std::uint32_t& word : operands.m_words) {
        word = random.word() & 0xFFFF;
    }
    for (float& value : operands.m_texels) {
        value = static_cast<float>(random.word());
    }
    return operands;
}

std::uint32_t maskOf(bool holds) { return holds ? 0xFFFFFFFF : 0; }
std::uint32_t signedBits(std::int64_t value) { return static_cast<std::uint32_t>(value); }
std::int32_t asSigned(std::uint32_t bits) { return static_cast<std::int32_t>(bits); }
std::uint32_t wholeOf(double whole) {
    return whole >= -0x1p31 && whole < 0x1p31 ? signedBits(static_cast<std::int64_t>(whole)) : 0x80000000;
}

struct Expected {
    const char* m_name;
    std::uint32_t m_bits;
};

std::vector<Expected> expectedLane(const Operands& operands, unsigned lane, unsigned width) {
    const std::uint32_t a = operands.a[lane], b = operands.b[lane], c = operands.c[lane];
    const float x = floatOf(a), y = floatOf(b);
    const unsigned count = operands.c[0] & 31, own = c & 31;
    const bool isBelow = asSigned(a) < asSigned(b);
    std::uint8_t bytes[sizeof operands.a];
    std::uint16_t words[sizeof operands.a / 2];
    std::memcpy(bytes, operands.a, sizeof bytes);
    std::memcpy(words, operands.a, sizeof words);
    const auto ofGroup = [&](unsigned i) { return operands.a[lane / 4 * 4 + i]; };
    static constexpr unsigned kInts[4] = {2, 0, 3, 3}, kFloats[4] = {1, 3, 0, 0};
    return {
        {"add ints", a + b},
        {"subtract ints", a - b},
        {"multiply ints", a * b},
        {"and", a & b},
        {"or", a | b},
        {"xor", a ^ b},
        {"not", ~a},
        {"shiftLeft<7>", a << 7},
        {"shiftRight<7>", a >> 7},
        {"shiftRightSigned<7>", signedBits(asSigned(a) >> 7)},
        {"shiftLeft by a count", a << count},
        {"shiftRight by a count", a >> count},
        {"shiftLeft by lanes", a << own},
        {"shiftRight by lanes", a >> own},
        {"minimumSigned", isBelow ? a : b},
        {"maximumSigned", isBelow ? b : a},
        {"greaterSigned", maskOf(isBelow)},
        {"equal ints", maskOf(a == b)},
        {"select ints", isBelow ? b : c},
        {"select floats", isBelow ? b : c},
        {"add", bitsOf(x + y)},
        {"subtract", bitsOf(x - y)},
        {"multiply", bitsOf(x * y)},
        {"divide", bitsOf(x / y)},
        {"squareRoot", bitsOf(std::sqrt(x))},
        {"absolute", a & 0x7FFFFFFF},
        {"minimum", x < y ? a : b},
        {"maximum", x > y ? a : b},
        {"less", maskOf(x < y)},
        {"lessOrEqual", maskOf(x <= y)},
        {"equal floats", maskOf(x == y)},
        {"bitsOf", a},
        {"toFloats", bitsOf(static_cast<float>(asSigned(a)))},
        {"truncateToInts", wholeOf(std::trunc(double(x)))},
        {"roundToInts", wholeOf(std::nearbyint(double(x)))},
        {"shuffle ints", ofGroup(kInts[lane % 4])},
        {"shuffle floats", ofGroup(kFloats[lane % 4])},
        {"splat of an int", operands.a[0]},
        {"splat of a float", bitsOf(1.5f)},
        {"laneNumbers", lane % width},
        {"repeatInts", operands.b[lane % 4]},
        {"repeatFloats", bitsOf(operands.m_texels[lane % 4])},
        {"lookUp of ints", operands.b[a & 7]},
        {"lookUp of floats", bitsOf(operands.m_texels[a & 7])},
        {"loadBytes", bytes[lane]},
        {"loadWords", words[lane]},
    };
}

bool isNaN(std::uint32_t bits) { return (bits & 0x7FFFFFFF) > 0x7F800000; }
bool isArithmetic(const char* name) {
    for (const char* each : {"add", "subtract", "multiply", "divide", "squareRoot"}) {
        if (std::strcmp(name, each) == 0) {
            return true;
        }
    }
    return false;
}

void checkLanes(const Results& results, const Operands& operands) {
    for (unsigned lane = 0; lane < kLanes; ++lane) {
        const std::vector<Expected> expected = expectedLane(operands, lane, results.m_width);
        for (std::size_t row = 0; row < expected.size(); ++row) {
            const std::uint32_t found = results.m_lanes[row][lane], sought = expected[row].m_bits;
            if (!(isArithmetic(expected[row].m_name) && isNaN(found) && isNaN(sought))) {
                ASSERT_EQ(found, sought) << expected[row].m_name << " of " << std::hex << operands.a[lane]
                                         << ", " << operands.b[lane] << ", " << operands.c[lane];
            }
        }
    }
}

void checkVectors(const Results& results, const Operands& operands) {
    const unsigned width = results.m_width;
    for (unsigned vector = 0; vector < kLanes / width; ++vector) {
        std::uint32_t bits = 0, intSum = 0;
        std::vector<float> folded(operands.m_texels + vector * width,
                                  operands.m_texels + (vector + 1) * width);
        for (unsigned i = 0; i < width; ++i) {
            const unsigned lane = vector * width + i;
            bits |= asSigned(operands.a[lane]) < asSigned(operands.b[lane]) ? 1u << i : 0;
            intSum += operands.a[lane];
        }
        for (; folded.size() > 1; folded.resize(folded.size() / 2)) {
            for (std::size_t i = 0; i < folded.size() / 2; ++i) {
                folded[i] += folded[i + folded.size() / 2];
            }
        }
        EXPECT_EQ(results.m_bits[vector], bits);
        EXPECT_EQ(results.m_any[vector], bits != 0);
        EXPECT_EQ(results.m_all[vector], bits == (1u << width) - 1);
        EXPECT_EQ(bitsOf(results.m_sums[vector]), bitsOf(folded[0]));
        EXPECT_EQ(results.m_intSums[vector], intSum);
    }
}

void checkMemory(const Results& results, const Operands& operands) {
    for (unsigned i = 0; i < 4 * kLanes; ++i) {
        EXPECT_EQ(results.m_packedBytes[i], std::clamp(asSigned(operands.m_anyLanes[i]), 0, 255));
        EXPECT_EQ(results.m_packedWords[i / 2], operands.m_words[i / 2]);
    }
    for (unsigned lane = 0; lane < kLanes; ++lane) {
        EXPECT_EQ(results.m_bytes[lane], operands.m_bytes[lane]);
        EXPECT_EQ(results.m_words[lane], operands.m_words[lane]);
        for (unsigned channel = 0; channel < 4; ++channel) {
            const unsigned place = kTexelFloats * lane + channel;
            EXPECT_EQ(results.m_channels[channel][lane], operands.m_texels[place]);
            EXPECT_EQ(results.m_texels[place], operands.m_texels[place]);
        }
    }
}

TEST(Lanes, EveryOperationDoesWhatPlainArithmeticDoes) {
    for (const NamedClass& each : classesHere()) {
        SCOPED_TRACE(each.m_name);
        TestSupport::RandomBits random;
        for (int round = 0; round < 3000 && !HasFailure(); ++round) {
            const Operands operands = randomOperands(random);
            Results results = {};
            each.m_run(&results, operands);
            checkLanes(results, operands);
            checkVectors(results, operands);
            checkMemory(results, operands);
        }
    }
}

// The plain class against its definition where that is not one operator, and the others against it.
TEST(Words, AllClassesAgree) {
    TestSupport::RandomBits random;
    for (int round = 0; round < 3000 && !HasFailure(); ++round) {
        std::int16_t operands[4][kWords];
        for (auto& row : operands) {
            for (std::int16_t& word : row) {
                word = static_cast<std::int16_t>(random.word() >> random.word() % 20);
            }
        }
        WordResults expected = {}, found = {}, wide = {};
        runWordOperations<Simd::Scalar::WordBackend>(&expected, operands);
        runWordOperations<Simd::Words8>(&found, operands);
        EXPECT_EQ(0, std::memcmp(&found, &expected, sizeof found));
        for (unsigned i = 0; i < kWords; ++i) {
            const int a = operands[0][i], b = operands[1][i], c = operands[2][i], d = operands[3][i];
            const std::int64_t sum = std::int64_t{a} * b + std::int64_t{c} * d;
            EXPECT_EQ(expected.m_words[6][i], a * b >> 16);
            EXPECT_EQ(expected.m_wide[2][i], static_cast<std::uint32_t>(sum));
            EXPECT_EQ(expected.m_wide[3][i], static_cast<std::uint32_t>(a));
        }
        if (Simd::mayUseAvx2() && getWordOperationsAvx2() != nullptr) {
            getWordOperationsAvx2()(&wide, operands);
            EXPECT_EQ(0, std::memcmp(wide.m_words, expected.m_words, sizeof wide.m_words));
            EXPECT_EQ(0, std::memcmp(wide.m_wide, expected.m_wide, sizeof wide.m_wide));
            EXPECT_EQ(wide.m_any[0], expected.m_any[0] || expected.m_any[1]);
        }
    }
}

} // namespace
