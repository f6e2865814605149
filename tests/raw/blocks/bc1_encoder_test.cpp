#include "raw/blocks/bc1_colours.h"
#include "raw/blocks/bc1_group.h"
#include "raw/blocks/bc1_pair_search.h"
#include "raw/blocks/bc1_punch_through.h"
#include "raw/blocks/bc1_single_colour.h"
#include "raw/blocks/block_encoders.h"
#include "raw/blocks/block_preparation.h"
#include "raw/texels/srgb.h"
#include "raw/texels/srgb_run.h"
#include "simd/dispatch.h"
#include "simd/fast_rsqrt.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace {

using namespace qor;
using namespace qor::Texsmith;
using namespace qor::Texsmith::Raw;

using Texels = std::vector<ColorRGBA32F>;
using Words = std::vector<std::uint64_t>;

enum class Contents { kNoise, kFlat, kNearlyFlat, kGradients, kFewColours, kExtremes };
constexpr Contents kAllContents[] = {Contents::kNoise,     Contents::kFlat,       Contents::kNearlyFlat,
                                     Contents::kGradients, Contents::kFewColours, Contents::kExtremes};

float extreme(std::mt19937& random) {
    static constexpr float kInfinity = std::numeric_limits<float>::infinity();
    static const float kValues[] = {std::nanf(""), kInfinity, -kInfinity, -0.5f, 1e30f, 3e38f, 1e-40f, 0.25f};
    const unsigned draw = static_cast<unsigned>(random());
    return draw % 3 == 0 ? kValues[draw / 3 % 8] : draw % 3 == 1 ? std::bit_cast<float>(draw) : 0.5f;
}

float channelOf(Contents contents, unsigned block, unsigned texel, std::mt19937& random) {
    const unsigned draw = static_cast<unsigned>(random());
    switch (contents) {
    case Contents::kNoise:
        return static_cast<float>(draw % 256) / 255.0f;
    case Contents::kFlat:
        return static_cast<float>(block % 256) / 255.0f;
    case Contents::kNearlyFlat:
        return static_cast<float>(block % 255 + draw % 2) / 255.0f;
    case Contents::kGradients:
        return static_cast<float>(block % 192 + 4 * texel + draw % 4) / 255.0f;
    case Contents::kFewColours:
        return static_cast<float>(draw % 3) / 2.0f;
    default:
        return extreme(random);
    }
}

Texels makeBlocks(Contents contents, unsigned count) {
    std::mt19937 random(static_cast<unsigned>(contents));
    Texels texels(16 * count);
    for (unsigned i = 0; i < texels.size(); ++i) {
        const auto channel = [&] { return channelOf(contents, i / 16, i % 16, random); };
        const float r = channel(), g = channel(), b = channel();
        texels[i] = {r, g, b, contents == Contents::kExtremes ? channel() : g};
    }
    return texels;
}

// Runs a test's body with the wide kernels and without.
template <typename Body> void withBothKernels(Body body) {
    for (const bool wide : {false, true}) {
        SCOPED_TRACE(wide ? "wide" : "base line");
        Simd::allowAvx2(wide);
        body();
    }
    Simd::allowAvx2(true);
}

// The colour of a texel of a block, as decoders compute it.
std::array<int, 3> decode(std::uint64_t block, unsigned texel) {
    const auto widen = [](std::uint64_t word) {
        const int r = word >> 11 & 31, g = word >> 5 & 63, b = word & 31;
        return std::array<int, 3>{r * 33 >> 2, g * 65 >> 4, b * 33 >> 2};
    };
    static constexpr int kWeights[4][2] = {{64, 0}, {0, 64}, {43, 21}, {21, 43}};
    const auto first = widen(block & 0xFFFF), second = widen(block >> 16 & 0xFFFF);
    const bool threeColours = (block & 0xFFFF) <= (block >> 16 & 0xFFFF);
    const auto& weights = kWeights[block >> (32 + 2 * texel) & 3];
    std::array<int, 3> colour;
    for (std::size_t i = 0; i < 3; ++i) {
        colour[i] = threeColours && weights[0] == 43
                        ? (first[i] + second[i] + 1) >> 1
                        : (weights[0] * first[i] + weights[1] * second[i] + 32) >> 6;
    }
    return colour;
}

std::uint64_t encodeOne(const ColorRGBA32F* block) {
    std::uint64_t word = 0;
    encodeBc1Group(&word, block, 1);
    return word;
}

TEST(Bc1Group, LanesGiveTheBitsOfTheScalarCode) {
    for (const Contents contents : kAllContents) {
        SCOPED_TRACE(static_cast<int>(contents));
        constexpr unsigned kCount = 8 * 64 + 7; // eight, four and one at a time
        const Texels texels = makeBlocks(contents, kCount);
        Words expected(kCount);
        for (unsigned i = 0; i < kCount; ++i) {
            expected[i] = encodeOne(&texels[16 * i]);
        }
        withBothKernels([&] {
            Words words(kCount);
            encodeBc1Blocks(words.data(), 8, texels.data(), kCount, kEncoderEffortNormal);
            EXPECT_EQ(words, expected);
        });
    }
}

TEST(Bc1Group, GreysComeBackWithinOneAndTwoColoursExactly) {
    for (int grey = 0; grey < 256; ++grey) {
        const float value = static_cast<float>(grey) / 255.0f;
        const Texels flat(16, {value, value, value, 0.0f});
        for (const int channel : decode(encodeOne(flat.data()), 5)) {
            EXPECT_NEAR(channel, grey, 1);
        }
    }
    std::mt19937 random(2);
    for (int round = 0; round < 500; ++round) {
        const std::uint32_t dark = random() % 8, bright = 24 + random() % 8;
        const std::uint32_t ends[2] = {dark << 11 | dark << 6 | dark, bright << 11 | bright << 6 | bright};
        Texels texels;
        unsigned choice = 1 + static_cast<unsigned>(random() % 0xFFFE);
        for (unsigned t = 0; t < 16; ++t) {
            texels.push_back(rgb565ToFloat(ends[choice >> t & 1]));
        }
        const std::uint64_t block = encodeOne(texels.data());
        for (unsigned t = 0; t < 16; ++t) {
            const ColorRGBA32F& p = texels[t];
            const auto byte = [](float x) { return static_cast<int>(x * 255.0f + 0.5f); };
            const std::array<int, 3> expected = {byte(p.r), byte(p.g), byte(p.b)};
            EXPECT_EQ(decode(block, t), expected);
        }
    }
}

// The axis of so small a contrast has no digits left: the group counts as flat.
TEST(Bc1Group, OneStepOfContrastIsFlat) {
    Texels texels(16, {4 / 255.0f, 4 / 255.0f, 4 / 255.0f, 1.0f});
    texels[7].r = 5 / 255.0f;                                      // 4 and 5 are different levels of 5 bits
    const std::uint32_t table = kSingleColourEndpoints.m_words[4]; // its second colour is the larger one
    EXPECT_EQ(encodeOne(texels.data()), (table >> 16 | table << 16) | 0xFFFFFFFF00000000u);
}

TEST(Bc1Group, EndsInFourColourModeUnlessFlat) {
    for (const Contents contents : kAllContents) {
        const Texels texels = makeBlocks(contents, 200);
        for (unsigned i = 0; i < 200; ++i) {
            const std::uint64_t block = encodeOne(&texels[16 * i]);
            EXPECT_GE(block & 0xFFFF, block >> 16 & 0xFFFF);
        }
    }
}

// Of N blocks that are alike, each gets what it gets alone; counts that are no group write nothing.
TEST(Bc1Group, FitsOnePairOfColoursToAllBlocks) {
    for (const unsigned count : {0u, 2u, 8u, 16u, 24u, 25u}) {
        for (const Contents contents : {Contents::kFlat, Contents::kFewColours}) {
            const Texels one = makeBlocks(contents, 1);
            Texels texels;
            for (unsigned i = 0; i < count; ++i) {
                texels.insert(texels.end(), one.begin(), one.end());
            }
            std::uint32_t words[30];
            std::fill_n(words, 30, 0xCDCDCDCD);
            encodeBc1Group(words, texels.data(), count);
            const std::uint64_t alone = encodeOne(one.data());
            const unsigned written = count == 0 || count == 25 ? 0 : 1 + count;
            for (unsigned i = 0; i < 30; ++i) {
                const auto expected = static_cast<std::uint32_t>(i == 0 ? alone : alone >> 32);
                EXPECT_EQ(words[i], i < written ? expected : 0xCDCDCDCD) << count << " blocks, word " << i;
            }
        }
    }
}

TEST(Bc1Group, SharedColoursServeAllBlocksOfAGroup) {
    for (const unsigned count : {3u, 15u, 16u, 24u}) {
        const Texels texels = makeBlocks(Contents::kGradients, count);
        std::uint32_t words[25];
        encodeBc1Group(words, texels.data(), count);
        double squares = 0;
        for (unsigned i = 0; i < texels.size(); ++i) {
            const std::uint64_t block = words[0] | std::uint64_t(words[1 + i / 16]) << 32;
            const double difference = decode(block, i % 16)[1] - 255.0 * double(texels[i].g);
            squares += difference * difference;
        }
        // The texels spread evenly over 64 + 24 levels, so that the nearest of four is within 11.
        EXPECT_LT(std::sqrt(squares / static_cast<double>(texels.size())), 11.0);
    }
}

TEST(Bc1PunchThrough, FindsThePairOfTheSearch) {
    for (const Contents contents : kAllContents) {
        SCOPED_TRACE(static_cast<int>(contents));
        const Texels texels = makeBlocks(contents, 150); // some of them are left to the search
        withBothKernels([&] {
            Words words(150);
            encodeBc1PunchThroughBlocks(words.data(), texels.data(), 150, 0.5f);
            for (unsigned i = 0; i < 150; ++i) {
                PairCandidate best;
                searchBc1Pair(&texels[16 * i], true, kPunchThroughSearch, &best);
                EXPECT_LE(best.word0, best.word1);
                EXPECT_EQ(words[i] & 0xFFFFFFFF, best.word0 | best.word1 << 16);
            }
        });
    }
}

TEST(Bc1PunchThrough, TexelsTakeTheNearestColourOrNone) {
    Texels texels = makeBlocks(Contents::kNoise, 100);
    texels[3].a = 0.5f; // at the threshold: opaque
    texels[4].a = std::nanf("");
    Words words(100);
    encodeBc1PunchThroughBlocks(words.data(), texels.data(), 100, 0.5f);
    for (unsigned i = 0; i < texels.size(); ++i) {
        const std::uint64_t block = words[i / 16];
        const unsigned shift = 32 + 2 * (i % 16);
        const ColorRGBA32F& p = texels[i];
        if (p.a < 0.5f) {
            EXPECT_EQ(block >> shift & 3, 3u);
            continue;
        }
        const auto distance = [&](std::uint64_t index) {
            const auto c = decode((block & 0xFFFFFFFF) | index << shift, i % 16);
            const double r = double(p.r) - c[0] / 255.0, g = double(p.g) - c[1] / 255.0;
            const double b = double(p.b) - c[2] / 255.0;
            return 0.3 * r * r + 0.59 * g * g + 0.11 * b * b;
        };
        const double least = std::min({distance(0), distance(1), distance(2)});
        // Near ties may go either way by the rounding of single precision.
        EXPECT_NE(block >> shift & 3, 3u);
        EXPECT_NEAR(distance(block >> shift & 3), least, 1e-6);
    }
    const Texels flat = makeBlocks(Contents::kFlat, 1); // alpha 0, colour 0
    EXPECT_EQ((encodeBc1PunchThrough(words.data(), flat.data(), 0.0f), words[0]), 0u);
    EXPECT_EQ((encodeBc1PunchThrough(words.data(), flat.data(), 0.1f), words[0]), 0xFFFFFFFF00000000u);
}

TEST(Bc1PairSearch, GenerationsImproveOnTheTexelsOwnColours) {
    const Texels texels = makeBlocks(Contents::kNoise, 4);
    for (const bool threeColours : {true, false}) {
        PairSearchSettings settings = {10, 10, 50, 0, 2, 0.0f};
        PairCandidate first, later;
        searchBc1Pair(texels.data(), threeColours, settings, &first);
        settings.generationCount = 20;
        settings.stagnationLimit = 20;
        searchBc1Pair(texels.data(), threeColours, settings, &later);
        EXPECT_LT(later.error, first.error);
        EXPECT_EQ(later.paletteSize, threeColours ? 3u : 4u);
        EXPECT_EQ(later.word0 <= later.word1, threeColours);
        EXPECT_EQ(floatToRgb565(later.color0), later.word0);
        settings.targetError = first.error; // reached before the first generation
        PairCandidate same;
        searchBc1Pair(texels.data(), threeColours, settings, &same);
        EXPECT_EQ(same.word0, first.word0);
        settings = {200, 5, 0, 3, 0, 0.0f}; // more elite than there are candidates
        searchBc1Pair(texels.data(), threeColours, settings, &later);
        EXPECT_LE(later.error, first.error);
    }
}

double pairError(const ColorRGBA32F* block, std::uint32_t word0, std::uint32_t word1) {
    const ColorRGBA32F a = rgb565ToFloat(word0), b = rgb565ToFloat(word1);
    double sum = 0;
    for (unsigned t = 0; t < 16; ++t) {
        double least = 100;
        for (const double weight : {0.0, 0.5, 1.0}) {
            const auto square = [&](float x, float y, float p) {
                const double difference = x + weight * (double(y) - x) - p;
                return difference * difference;
            };
            least = std::min(least, 0.3 * square(a.r, b.r, block[t].r) + 0.59 * square(a.g, b.g, block[t].g) +
                                        0.11 * square(a.b, b.b, block[t].b));
        }
        sum += least;
    }
    return sum;
}

// With one elite candidate and nothing random, the search climbs until no field has a better neighbour.
TEST(Bc1PairSearch, ClimbsToALocalOptimum) {
    const Texels texels = makeBlocks(Contents::kNoise, 8);
    for (const ColorRGBA32F* block = texels.data(); block != texels.data() + texels.size(); block += 16) {
        PairCandidate best;
        searchBc1Pair(block, true, {1, 0, 0, 1000, 0, 0.0f}, &best);
        EXPECT_NEAR(best.error, pairError(block, best.word0, best.word1), 1e-5); // single precision
        for (const std::uint32_t unit : {1u, 1u << 5, 1u << 11}) {
            const std::uint32_t field = unit * (unit == 1u << 5 ? 63 : 31);
            for (const std::uint32_t by : {unit, 0u - unit}) {
                const auto step = [&](std::uint32_t word) { return (word & ~field) | ((word + by) & field); };
                EXPECT_GE(pairError(block, step(best.word0), best.word1), best.error - 1e-5f);
                EXPECT_GE(pairError(block, best.word0, step(best.word1)), best.error - 1e-5f);
            }
        }
    }
}

TEST(Bc1Colours, WordsSurviveTheWayOverFloats) {
    for (std::uint32_t word = 0; word < 0x10000; ++word) {
        ASSERT_EQ(floatToRgb565(rgb565ToFloat(word)), word);
    }
    for (int byte = 0; byte < 256; ++byte) {
        const std::uint64_t block = kSingleColourEndpoints.m_words[byte] | 0xAAAAAAAA00000000u;
        const bool swapped = (block & 0xFFFF) < (block >> 16 & 0xFFFF);
        const std::uint64_t ordered =
            swapped ? (block >> 16 & 0xFFFF) | (block & 0xFFFF) << 16 | 0xFFFFFFFF00000000u : block;
        EXPECT_NEAR(decode(ordered, 0)[0], byte, 1);
        EXPECT_NEAR(decode(ordered, 0)[1], byte, 1);
    }
}

TEST(FastRsqrt, HasTwelveBitsAndTheSameOnesEverywhere) {
    std::mt19937 random(5);
    for (int i = 0; i < 10000; ++i) {
        const float x =
            std::bit_cast<float>(0x00800000u + static_cast<std::uint32_t>(random() % 0x7F000000u));
        const float root = Simd::fastRsqrt(x);
        EXPECT_EQ(std::bit_cast<std::uint32_t>(root) & 0x7FF, 0u);
        EXPECT_LE(std::abs(double(root) * std::sqrt(double(x)) - 1.0), 1.01 / 8192);
    }
    EXPECT_EQ(Simd::fastRsqrt(0.0f), std::numeric_limits<float>::infinity());
    EXPECT_TRUE(std::isnan(Simd::fastRsqrt(-1.0f)) && std::isnan(Simd::fastRsqrt(std::nanf(""))));
}

TEST(SrgbRun, HasTheBitsOfTheCurve) {
    std::vector<float> linear = {-1.0f, -0.0f, std::nanf(""), std::numeric_limits<float>::infinity(), 2.0f};
    for (std::uint32_t bits = 0x3B000000; bits <= 0x3F800100; bits += 997) {
        linear.push_back(std::bit_cast<float>(bits));
    }
    for (std::uint32_t bits = 0x3B4D2B00; bits <= 0x3B4D2D00; ++bits) { // about the end of the line
        linear.push_back(std::bit_cast<float>(bits));
    }
    linear.resize(linear.size() / 4 * 4 + 4);
    withBothKernels([&] {
        std::vector<float> run(linear.size()), texels(linear.size());
        srgbEncodeRun(run.data(), linear.data(), linear.size());
        prepareBlockForEncoding(reinterpret_cast<ColorRGBA32F*>(texels.data()),
                                reinterpret_cast<const ColorRGBA32F*>(linear.data()),
                                Vex::kTextureChannelTypeSrgb, static_cast<unsigned>(linear.size() / 64));
        for (std::size_t i = 0; i < linear.size(); ++i) {
            const auto expected = std::bit_cast<std::uint32_t>(srgbEncode(linear[i]));
            ASSERT_EQ(std::bit_cast<std::uint32_t>(run[i]), expected) << linear[i];
            if (i < linear.size() / 64 * 64 && i % 4 != 3) {
                ASSERT_EQ(std::bit_cast<std::uint32_t>(texels[i]), expected) << linear[i];
            }
        }
        EXPECT_EQ(texels[3], 1.0f); // alpha is clamped alone
        EXPECT_EQ(texels[7], linear[7]);
    });
}

TEST(PrepareBlock, ClampsAllChannels) {
    const float nan = std::nanf("");
    Texels texels(32, {-1.0f, 2.0f, nan, 0.25f});
    texels[31] = {0.5f, -nan, -std::numeric_limits<float>::infinity(), 3.0f};
    prepareBlockForEncoding(texels.data(), texels.data(), Vex::kTextureChannelTypeUNorm, 2);
    const ColorRGBA32F expected[2] = {{0.0f, 1.0f, 0.0f, 0.25f}, {0.5f, 0.0f, 0.0f, 1.0f}};
    EXPECT_EQ(std::memcmp(&texels[30], expected, sizeof expected), 0);
}

} // namespace
