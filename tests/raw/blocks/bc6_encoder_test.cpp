#include "raw/blocks/bc6_encoder.h"

#include "raw/blocks/bc6_bit_writer.h"
#include "raw/blocks/bc6_decoder.h"
#include "raw/blocks/bc6_search.h"
#include "raw/blocks/bptc_tables.h"
#include "raw/configuration/external_compressor.h"
#include "simd/dispatch.h"
#include "support/bit_patterns.h"
#include "support/bptc_oracle.h"
#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

namespace {

using namespace qor;
using namespace qor::Texsmith;
using namespace qor::Texsmith::Raw;
using namespace TestSupport;

using Texels = std::array<ColorRGBA32F, 16>;
using BlockBytes = std::array<std::uint8_t, 16>;

EncoderConfiguration configurationOf(bool isSigned, float quality = 1.0f) {
    Raw::Texture texture;
    texture.setDataFormat(isSigned ? Vex::kDataFormatBc6Sf16 : Vex::kDataFormatBc6Uf16);
    EncoderConfiguration configuration;
    configuration.setTexture(&texture);
    configuration.m_bc6Quality.setFromQuality(quality);
    return configuration;
}

float valueOfHalf(std::uint16_t half) {
    const int exponent = half >> 10 & 31, mantissa = half & 0x3FF;
    const float magnitude = exponent == 0 ? std::ldexp(static_cast<float>(mantissa), -24)
                                          : std::ldexp(static_cast<float>(1024 + mantissa), exponent - 25);
    return (half & 0x8000) != 0 ? -magnitude : magnitude;
}

BlockBytes encoded(const Texels& texels, const EncoderConfiguration& configuration) {
    BlockBytes block;
    encodeBc6Block(block.data(), texels.data(), configuration);
    return block;
}

// What encoders of float pictures meet: noise, ramps, edges along partitions, ranges wide and narrow, zeros,
// the smallest numbers, and floats of any bits.
class BlockMaker {
public:
    explicit BlockMaker(bool isSigned) : m_isSigned(isSigned) {}

    Texels make() {
        const std::uint32_t kind = m_random.word() % 8;
        const float stops = 14.0f * std::exp2(-10.0f * unit()), base = std::exp2(unit() * 20.0f - 12.0f);
        float low[3], high[3];
        for (unsigned c = 0; c < 3; ++c) {
            low[c] = base * std::exp2(2.0f * unit());
            high[c] = low[c] * std::exp2(stops * (unit() - 0.3f));
        }
        const std::uint16_t edge = kBc7Partitions2[m_random.word() % 32];
        const float noise = 0.1f * stops * unit();
        Texels texels;
        for (unsigned i = 0; i < 16; ++i) {
            const float place = kind % 2 == 0 ? unit() : static_cast<float>(edge >> i & 1);
            float channels[3];
            for (unsigned c = 0; c < 3; ++c) {
                channels[c] = (low[c] + (high[c] - low[c]) * place) * (1.0f + noise * unit());
                channels[c] = kind == 5                    ? channels[c] * 1e-6f
                              : kind == 6 && unit() < 0.5f ? 0.0f
                                                           : channels[c];
                channels[c] = kind == 7 ? floatOf(m_random.lane()) : channels[c];
                channels[c] = m_isSigned && kind > 3 && unit() < 0.3f ? -channels[c] : channels[c];
            }
            texels[i] = {channels[0], channels[1], channels[2], unit()};
        }
        return texels;
    }

private:
    RandomBits m_random;
    bool m_isSigned;

    float unit() { return static_cast<float>(m_random.word() >> 8) * 0x1p-24f; }
};

float clamped(float value, bool isSigned) {
    const float limited = value < 65504.0f ? value : 65504.0f;
    const float least = isSigned ? -65504.0f : 0.0f;
    return limited > least ? limited : least;
}

// Of the texels of a mask in row order, each added up by itself: the order in which the encoder adds.
float squaredError(const Texels& texels, const Oracle::HalfTexels& decoded, std::uint16_t mask,
                   bool isSigned) {
    float sum = 0.0f;
    for (unsigned i = 0; i < 16; ++i) {
        const float source[3] = {texels[i].r, texels[i].g, texels[i].b};
        float error = 0.0f;
        for (unsigned c = 0; c < 3; ++c) {
            const float difference = valueOfHalf(decoded[i][c]) - clamped(source[c], isSigned);
            error += difference * difference;
        }
        sum += (mask >> (15 - i) & 1) != 0 ? error : 0.0f;
    }
    return sum;
}

void checkConstantBlocks(EncoderEffort effort) {
    for (const bool isSigned : {false, true}) {
        EncoderConfiguration configuration = configurationOf(isSigned);
        configuration.m_effort = effort;
        for (unsigned half = 0; half < (isSigned ? 0x10000u : 0x8000u); ++half) {
            if ((half & 0x7C00) == 0x7C00) {
                continue;
            }
            const float value = valueOfHalf(static_cast<std::uint16_t>(half));
            Texels texels;
            texels.fill({value, 1.0f, 0.0f, 0.0f});
            const BlockBytes block = encoded(texels, configuration);
            const Oracle::HalfTexels decoded = Oracle::decodeBc6(block.data(), isSigned);
            const Bc6Fields fields = unpackBc6(block.data());
            const unsigned expected = half == 0x8000 ? 0 : half; // -0 is stored as -1, which decodes to +0
            ASSERT_TRUE(std::all_of(decoded.begin(), decoded.end(), [&](const auto& texel) {
                return texel[0] == expected && texel[1] == 0x3C00;
            })) << half;
            ASSERT_EQ(fields.m_mode, 13u);
            ASSERT_EQ(std::count(fields.m_indices, fields.m_indices + 16, 0), 16);
            ASSERT_EQ(half != 0x8000 || fields.m_words[0] == 0xFFFF, true);
        }
    }
}

TEST(Bc6Encoder, GivesBackEveryHalfOfAConstantBlock) {
    for (const EncoderEffort effort : {kEncoderEffortNormal, kEncoderEffortFast}) {
        checkConstantBlocks(effort);
    }
}

// Also that no anchor has its top bit set, and that all kernels give the same block.
TEST(Bc6Encoder, KnowsTheErrorOfItsBlocksToTheBit) {
    const unsigned count = runsSlowly() ? 1000000 : 1500;
    for (const bool isSigned : {false, true}) {
        BlockMaker maker(isSigned);
        std::array<unsigned, kBc6Modes> modes = {};
        for (unsigned i = 0; i < count; ++i) {
            constexpr float kQualities[] = {0.3f, 1.0f, 4.3f, 6.0f, 50.0f};
            const Texels texels = maker.make();
            const EncoderConfiguration configuration = configurationOf(isSigned, kQualities[i % 5]);
            const Bc6Plan plan = makeBc6Plan(configuration);
            Bc6Effort effort;
            const Bc6Result result = searchBc6Block(texels.data(), plan, bc6Kernels(), &effort);
            BlockBytes block;
            packBc6(block.data(), result.m_mode, result.m_words, result.m_indices, result.m_partition);
            const Oracle::HalfTexels decoded = Oracle::decodeBc6(block.data(), isSigned);
            const bool parted = kBc6ModeTable[result.m_mode].m_subsets == 2;
            const std::uint16_t second = parted ? kBc7Partitions2[result.m_partition] : 0;
            float error = squaredError(texels, decoded, static_cast<std::uint16_t>(~second), isSigned);
            error = parted ? error + squaredError(texels, decoded, second, isSigned) : error;
            if (effort.m_entries > 0) { // not of one colour
                ASSERT_EQ(bitsOf(result.m_error), bitsOf(error)) << i << " mode " << result.m_mode;
            }
            const unsigned top = parted ? 4 : 8;
            ASSERT_LT(result.m_indices[0], top) << i;
            ASSERT_LT(result.m_indices[parted ? kBc7SecondAnchors2[result.m_partition] : 0], top) << i;
            Simd::allowAvx2(false);
            const BlockBytes plain = encoded(texels, configuration);
            Simd::allowAvx2(true);
            ASSERT_EQ(block, plain) << i;
            ++modes[result.m_mode];
        }
        EXPECT_EQ(std::count(modes.begin(), modes.end(), 0u), 0) << testing::PrintToString(modes);
    }
}

TEST(Bc6Encoder, TakesAnyFloat) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    struct Case {
        float m_value;
        std::uint16_t m_unsigned, m_signed;
    };
    // clang-format off
    const Case cases[] = {
        {kInfinity, 0x7BFF, 0x7BFF}, {-kInfinity, 0, 0xFBFF}, {nan, 0x7BFF, 0x7BFF}, {-nan, 0x7BFF, 0x7BFF},
        {1e6f, 0x7BFF, 0x7BFF}, {-1.0f, 0, 0xBC00}, {0x1p-24f, 1, 1}, {-0x1p-24f, 0, 0x8001}, {0x1p-27f, 0, 0},
        {-0x1p-149f, 0, 0}, {0x1.8p-15f, 0x300, 0x300}};
    // clang-format on
    for (const Case& c : cases) {
        for (const bool isSigned : {false, true}) {
            // Beside texels of 1, in the second subset of partition 0: columns 2 and 3.
            for (const bool alone : {true, false}) {
                Texels texels;
                for (unsigned i = 0; i < 16; ++i) {
                    const float value = alone || i % 4 >= 2 ? c.m_value : 1.0f;
                    texels[i] = {value, value, value, 1.0f};
                }
                const BlockBytes block = encoded(texels, configurationOf(isSigned, 6.0f));
                const std::uint16_t decoded = Oracle::decodeBc6(block.data(), isSigned)[15][1];
                const float expected = valueOfHalf(isSigned ? c.m_signed : c.m_unsigned);
                const float room = alone ? 0.0f : std::max(std::fabs(expected) * 0.02f, 0x1p-14f);
                EXPECT_NEAR(valueOfHalf(decoded), expected, room) << c.m_value << isSigned << alone;
            }
        }
    }
}

// Waves of light about a slope of stops, and a little noise.
std::vector<Texels> makePicture(float stops, bool isSigned) {
    RandomBits random;
    std::vector<Texels> blocks(256);
    for (unsigned b = 0; b < blocks.size(); ++b) {
        for (unsigned i = 0; i < 16; ++i) {
            const float x = static_cast<float>(b % 16 * 4 + i % 4),
                        y = static_cast<float>(b / 16 * 4 + i / 4);
            float channels[3];
            for (unsigned c = 0; c < 3; ++c) {
                const float noise = static_cast<float>(random.word() >> 8) * 0x1p-24f;
                const float wave = std::sin(0.31f * x + 0.2f * static_cast<float>(c)) * std::cos(0.17f * y);
                channels[c] = std::exp2(stops * ((x + y) / 128.0f - 0.5f) + 0.8f * wave + 0.05f * noise);
                channels[c] *= isSigned ? wave : 1.0f;
            }
            blocks[b][i] = {channels[0], channels[1], channels[2], 1.0f};
        }
    }
    return blocks;
}

// In decibels, against each texel's size, or against 1 for waves through zero.
double signalToNoise(const std::vector<Texels>& blocks, const EncoderConfiguration& configuration) {
    double sum = 0;
    for (const Texels& texels : blocks) {
        const Oracle::HalfTexels decoded =
            Oracle::decodeBc6(encoded(texels, configuration).data(), configuration.isSigned());
        for (unsigned i = 0; i < 16; ++i) {
            const float source[3] = {texels[i].r, texels[i].g, texels[i].b};
            const float size = configuration.isSigned() ? 1.0f : std::max({source[0], source[1], source[2]});
            for (unsigned c = 0; c < 3; ++c) {
                const double difference = double(valueOfHalf(decoded[i][c]) - source[c]) / double(size);
                sum += difference * difference;
            }
        }
    }
    return -10.0 * std::log10(sum / (48.0 * static_cast<double>(blocks.size())));
}

TEST(Bc6Encoder, KeepsPicturesWithinFloorsOfNoise) {
    struct Case {
        float m_stops;
        bool m_isSigned;
        double m_floor;
    };
    for (const Case& c : {Case{1.0f, false, 37.0}, Case{13.3f, false, 35.0}, Case{1.0f, true, 25.5}}) {
        const double decibels =
            signalToNoise(makePicture(c.m_stops, c.m_isSigned), configurationOf(c.m_isSigned));
        EXPECT_GT(decibels, c.m_floor) << c.m_stops << " stops, signed " << c.m_isSigned;
    }
}

TEST(Bc6Encoder, ErrsLessWithMoreQuality) {
    const std::vector<Texels> picture = makePicture(3.0f, false);
    double previous = 1e30, first = 0, sixth = 0;
    for (const float quality : {0.3f, 0.5f, 0.75f, 1.0f, 3.0f, 4.0f, 4.5f, 5.0f, 6.0f, 7.0f, 14.0f, 50.0f}) {
        const EncoderConfiguration configuration = configurationOf(false, quality);
        double error = 0;
        for (const Texels& texels : picture) {
            Bc6Effort effort;
            error += double(
                searchBc6Block(texels.data(), makeBc6Plan(configuration), bc6Kernels(), &effort).m_error);
        }
        EXPECT_LE(error, previous * 1.01) << quality; // the walk is not a full search
        previous = error;
        first = quality == 0.3f ? error : first;
        sixth = quality == 6.0f ? error : sixth;
    }
    EXPECT_LT(sixth, first);
}

double squaredErrorOfHalves(const std::vector<Texels>& picture, const EncoderConfiguration& configuration) {
    double sum = 0;
    for (const Texels& texels : picture) {
        const Oracle::HalfTexels decoded = Oracle::decodeBc6(encoded(texels, configuration).data(), false);
        for (unsigned i = 0; i < 16; ++i) {
            const float source[3] = {texels[i].r, texels[i].g, texels[i].b};
            for (unsigned c = 0; c < 3; ++c) {
                const double value = source[c]; // positive and no denormal
                const int exponent = std::ilogb(value);
                const double half = 1024.0 * (exponent + 14 + value / std::ldexp(1.0, exponent));
                sum += (half - decoded[i][c]) * (half - decoded[i][c]);
            }
        }
    }
    return sum;
}

// One piece and no search: a run of any length gives what single blocks give, by all kernels, and no block is
// far from what it shows.
TEST(Bc6Encoder, GroupsBlocksWithTheFastEffort) {
    EncoderConfiguration fast = configurationOf(false);
    fast.m_effort = kEncoderEffortFast;
    EXPECT_GT(signalToNoise(makePicture(1.0f, false), fast), 30.0);
    for (const bool isSigned : {false, true}) {
        EncoderConfiguration configuration = configurationOf(isSigned);
        configuration.m_effort = kEncoderEffortFast;
        BlockMaker maker(isSigned);
        std::vector<Texels> blocks(runsSlowly() ? 100000 : 403);
        std::generate(blocks.begin(), blocks.end(), [&] { return maker.make(); });
        std::vector<BlockBytes> wide(blocks.size()), plain(blocks.size());
        encodeBc6Blocks(wide[0].data(), blocks[0].data(), configuration, blocks.size());
        Simd::allowAvx2(false);
        encodeBc6Blocks(plain[0].data(), blocks[0].data(), configuration, blocks.size());
        Simd::allowAvx2(true);
        EXPECT_EQ(wide, plain);
        for (std::size_t i = 0; i < blocks.size(); ++i) {
            ASSERT_EQ(wide[i], encoded(blocks[i], configuration)) << i;
            const Bc6Fields fields = unpackBc6(wide[i].data());
            BlockBytes packed;
            packBc6(packed.data(), fields.m_mode, fields.m_words, fields.m_indices, fields.m_partition);
            ASSERT_EQ(packed, wide[i]) << i;
        }
    }
}

TEST(Bc6Encoder, ErrsLessInHalfBitsWithTheBestEffort) {
    const std::vector<Texels> picture = makePicture(3.0f, false);
    EncoderConfiguration configuration = configurationOf(false);
    const double normal = squaredErrorOfHalves(picture, configuration);
    configuration.m_effort = kEncoderEffortBest;
    EXPECT_LT(squaredErrorOfHalves(picture, configuration), normal);
    const BlockBytes best = encoded(picture[7], configuration);
    configuration.m_effort = kEncoderEffortHigh; // takes the next slower one
    EXPECT_EQ(encoded(picture[7], configuration), best);
}

TEST(Bc6Encoder, PacksWhatTheDecoderUnpacks) {
    RandomBits random;
    for (unsigned mode = 0; mode < kBc6Modes; ++mode) {
        const Bc6Mode& row = kBc6ModeTable[mode];
        Bc6Fields fields = {};
        fields.m_partition = row.m_subsets == 2 ? random.word() % 32 : 0;
        for (unsigned word = 0; word < 3 * row.endpoints(); ++word) {
            const unsigned bits = word < 3 ? row.m_endpointBits : row.m_deltaBits[word % 3];
            fields.m_words[word] = static_cast<std::uint16_t>(random.word() & ((1u << bits) - 1));
        }
        const unsigned anchor = row.m_subsets == 2 ? kBc7SecondAnchors2[fields.m_partition] : 0;
        for (unsigned i = 0; i < 16; ++i) {
            const unsigned bits = row.indexBits() - (i == 0 || i == anchor ? 1 : 0);
            fields.m_indices[i] = static_cast<std::uint8_t>(random.word() % (1u << bits));
        }
        BlockBytes block;
        packBc6(block.data(), mode, fields.m_words, fields.m_indices, fields.m_partition);
        const Bc6Fields unpacked = unpackBc6(block.data());
        EXPECT_EQ(unpacked.m_mode, mode);
        EXPECT_EQ(unpacked.m_partition, fields.m_partition) << mode;
        EXPECT_TRUE(std::equal(fields.m_words, fields.m_words + 12, unpacked.m_words)) << mode;
        EXPECT_TRUE(std::equal(fields.m_indices, fields.m_indices + 16, unpacked.m_indices)) << mode;
    }
}

TEST(Bc6Encoder, ReportsBitsAndModesThatDoNotExist) {
    ReportRecorder reports;
    BlockBytes block;
    block.fill(0xCD);
    const BlockBytes untouched = block;
    packBc6(block.data(), kBc6Modes, {}, {}, 0);
    EXPECT_EQ(block, untouched);
    Bc6BitWriter writer;
    writer.write(1, 16, 0);
    writer.write(1, 0, 16);
    for (unsigned i = 0; i < 9; ++i) {
        writer.write(0x1234, 0, 15);
    }
    writer.store(block.data());
    EXPECT_EQ(block[14], 0x34);
    const char* const expected[] = {"Invalid mode. Why we are here???", "start position is out of range.",
                                    "end position is out of range.",
                                    "too many bits, can't write more than 16 bits from a uint16_t value."};
    ASSERT_EQ(reports.assertions().size(), 4u);
    for (unsigned i = 0; i < 4; ++i) {
        EXPECT_EQ(reports.assertions()[i].m_file, "raw\\bc6");
        EXPECT_EQ(reports.assertions()[i].m_text, expected[i]);
    }
}

TEST(Bc6Encoder, TellsOfEachBlockAboveTheLogThreshold) {
    ReportRecorder reports;
    const float maximum = g_bc6ErrorMax, sum = g_bc6ErrorSum;
    g_bc6LogThreshold = 2;
    Texels texels;
    texels.fill({1.0f, 1.0f, 1.0f, 1.0f});
    encoded(texels, configurationOf(false));
    EXPECT_EQ(g_bc6ErrorSum, sum); // one colour
    for (unsigned i = 0; i < 16; ++i) {
        texels[i] = {i % 4 >= 2 ? 1.0f : 60000.0f, i % 4 >= 2 ? 1000.0f : 2.0f, static_cast<float>(i), 1.0f};
    }
    encoded(texels, configurationOf(false));
    g_bc6LogThreshold = 1;
    encoded(texels, configurationOf(false));
    ASSERT_EQ(reports.warnings().size(), 2u);
    EXPECT_EQ(reports.warnings()[0].m_text, "mode:0f ChiSqr:0.0000000\n");
    EXPECT_NE(reports.warnings()[1].m_text.find(" partition:3333 ChiSqr:"), std::string::npos)
        << reports.warnings()[1].m_text;
    EXPECT_GT(g_bc6ErrorSum, sum);
    EXPECT_GE(g_bc6ErrorMax, maximum);
}

std::array<std::uint16_t, 64> s_handedOut;

TEST(Bc6Encoder, HandsHalvesToAnExternalCompressor) {
    ExternalCompressor table = {};
    table.m_encodeBc6h = [](const ExternalSurface* source, std::uint8_t* to,
                            const ExternalCompressorProfile* profile) {
        std::copy_n(source->m_texels, sizeof s_handedOut,
                    reinterpret_cast<std::uint8_t*>(s_handedOut.data()));
        EXPECT_EQ(source->m_pitch, 32);
        EXPECT_NE(profile, nullptr);
        std::fill_n(to, 16, std::uint8_t{0xAB});
    };
    EncoderConfiguration configuration = configurationOf(false);
    configuration.m_externalCompressor = &table;
    Texels texels;
    texels.fill({1.0f, -2.0f, 0.5f, 0.25f});
    EXPECT_NE(encoded(texels, configuration)[0], 0xAB); // no profile
    configuration.m_externalBc6hProfile = reinterpret_cast<const ExternalCompressorProfile*>(&table);
    EXPECT_EQ(encoded(texels, configuration)[15], 0xAB);
    EXPECT_EQ(s_handedOut[60], 0x3C00);
    EXPECT_EQ(s_handedOut[61], 0xC000);
    EXPECT_EQ(s_handedOut[62], 0x3800);
    EXPECT_EQ(s_handedOut[63], 0x3400);
}

} // namespace
