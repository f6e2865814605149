#include "raw/blocks/block_encoders.h"

#include "qor/texsmith/raw/normalization_policy.h"
#include "raw/blocks/bc1_group.h"
#include "raw/blocks/bc4_encoder.h"
#include "raw/blocks/block_alpha.h"
#include "raw/blocks/block_decoders.h"
#include "raw/blocks/block_preparation.h"
#include "raw/blocks/block_runs.h"
#include "raw/configuration/external_compressor.h"
#include "raw/texels/codec.h"
#include "simd/dispatch.h"
#include "support/block_oracle.h"
#include "support/surfaces.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>

namespace {

using namespace qor;
using namespace qor::Texsmith;
using namespace qor::Texsmith::Raw;
using namespace TestSupport;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

using Texels = std::vector<ColorRGBA32F>;

Texels greys(const std::vector<float>& values) {
    Texels texels;
    for (const float value : values) {
        texels.push_back({value, value, value, value});
    }
    return texels;
}

// Blocks of noise, of few values, of gradients, and of values that no picture should hold.
Texels wildBlocks(unsigned blocks) {
    std::mt19937 random(5);
    const float odd[] = {kNaN, kInfinity, -kInfinity, -1.0f, -0.0f, 1e30f, 1e-42f, 2.0f};
    const auto number = [&] { return float(random() % 4096) / 4095.0f; };
    Texels texels(blocks * 16);
    for (unsigned i = 0; i < texels.size(); ++i) {
        const unsigned kind = i / 16 % 5;
        const float base = float(i / 16 % 31) / 31, step = float(i % 16) / 300;
        for (float* lane : {&texels[i].r, &texels[i].g, &texels[i].b, &texels[i].a}) {
            const float any = number();
            *lane = kind == 0   ? any
                    : kind == 1 ? std::round(any * 3) / 3
                    : kind == 2 ? base + step
                    : kind == 3 ? any * 2 - 1
                    : any < 0.5 ? odd[random() % 8]
                                : any;
        }
    }
    return texels;
}

struct EncoderCase {
    std::string m_name;
    EncoderConfiguration m_configuration;
};

// Every format at every effort.
std::vector<EncoderCase> encoderCases() {
    std::vector<EncoderCase> cases;
    for (const char* name :
         {"Bc1Unorm", "Bc1UnormNoAlpha", "Bc1UnormSrgbNoAlpha", "Bc2Unorm", "Bc2UnormSrgb", "Bc3Unorm",
          "Bc3UnormSrgb", "Bc4Unorm", "Bc4Snorm", "Bc5Unorm", "Bc5Snorm", "Bc7Unorm", "Bc7UnormSrgb"}) {
        for (const EncoderEffort effort :
             {kEncoderEffortNormal, kEncoderEffortFast, kEncoderEffortHigh, kEncoderEffortBest}) {
            cases.push_back({name + (" at effort " + std::to_string(effort)), encoderFor(name)});
            cases.back().m_configuration.m_effort = effort;
        }
    }
    return cases;
}

TEST(BlockEncoders, RunsAndBaseLineGiveTheBytesOfSingleBlocks) {
    constexpr unsigned kBlocks = 45;
    const Texels texels = wildBlocks(kBlocks);
    for (const auto& [name, configuration] : encoderCases()) {
        const SurfaceFormatInfo& row =
            getSurfaceFormatInfo(configuration.getTexture()->getDataFormat().getSurfaceFormat());
        std::vector<std::uint8_t> runs[2], single(kBlocks * row.bytesPerElement);
        for (const bool wide : {false, true}) {
            Simd::allowAvx2(wide);
            runs[wide].resize(single.size());
            findBlockRunEncoder(Vex::SurfaceFormat(row.surfaceFormat))(runs[wide].data(), texels.data(),
                                                                       configuration, kBlocks);
        }
        for (unsigned i = 0; i < kBlocks; ++i) {
            Block block;
            std::memcpy(&block, &texels[i * 16], sizeof block);
            row.Encode(&single[i * row.bytesPerElement], row.bytesPerElement, &block, &configuration);
        }
        Tile tile;
        for (unsigned i = 0; i < 64; ++i) { // blocks 0 to 3: top left, top right, bottom left, bottom right
            const unsigned block = i / 16, row8 = block / 2 * 4 + i % 16 / 4, column = block % 2 * 4 + i % 4;
            std::memcpy(&tile.m_texels[row8 * 8 + column], &texels[i], sizeof texels[i]);
        }
        const unsigned pair = 2u * row.bytesPerElement, pitch = pair + 3;
        std::vector<std::uint8_t> rows(2 * pitch);
        row.Encode(rows.data(), pitch, &tile, &configuration);
        EXPECT_TRUE(std::equal(&rows[0], &rows[pair], &single[0])) << name;
        EXPECT_TRUE(std::equal(&rows[pitch], &rows[pitch] + pair, &single[pair])) << name;
        EXPECT_EQ(runs[0], single) << name;
        EXPECT_EQ(runs[1], single) << name;
    }
}

// Squared, over the colours of a block.
double decodedError(const std::vector<std::uint8_t>& blocks, const Texels& texels, std::size_t block) {
    std::uint8_t bytes[64];
    decodeBc1(bytes, &blocks[8 * block]);
    double error = 0;
    for (unsigned i = 0; i < 16; ++i) {
        const ColorRGBA32F& texel = texels[16 * block + i];
        error += std::pow(double(texel.r) * 255 - bytes[4 * i], 2) +
                 std::pow(double(texel.g) * 255 - bytes[4 * i + 1], 2) +
                 std::pow(double(texel.b) * 255 - bytes[4 * i + 2], 2);
    }
    return error;
}

// No block gets worse by a longer search, and all together get better by what the search is there for.
TEST(BlockEncoders, LongerSearchesFindBetterColours) {
    constexpr unsigned kBlocks = 400;
    std::mt19937 random(8);
    Texels texels;
    for (unsigned i = 0; i < 16 * kBlocks; ++i) {
        const float along = float(random() % 64) + float(i / 16 % 100);
        const auto channel = [&](float part) { return (along * part + float(random() % 12)) / 255; };
        texels.push_back({channel(1.0f), channel(0.8f), channel(0.3f), 1.0f});
    }
    EncoderConfiguration configuration = encoderFor("Bc1UnormNoAlpha");
    double sums[3] = {};
    std::vector<std::uint8_t> blocks[3];
    for (const EncoderEffort effort : {kEncoderEffortNormal, kEncoderEffortHigh, kEncoderEffortBest}) {
        const unsigned i = effort == kEncoderEffortNormal ? 0 : effort - 1;
        configuration.m_effort = effort;
        blocks[i].resize(8 * kBlocks);
        findBlockRunEncoder(Vex::kSurfaceFormatBc1)(blocks[i].data(), texels.data(), configuration, kBlocks);
        for (unsigned block = 0; block < kBlocks; ++block) {
            const double error = decodedError(blocks[i], texels, block);
            EXPECT_LE(error, decodedError(blocks[i == 2], texels, block) + 0.01) << block; // of floats
            sums[i] += error;
        }
    }
    EXPECT_LT(sums[1], sums[0] * 0.95);
    EXPECT_LT(sums[2], sums[1] * 0.999);
}

std::vector<std::uint8_t> converted(const Raw::Image& source, const char* format,
                                    MemoryMappedImage* destination,
                                    EncoderEffort effort = kEncoderEffortNormal) {
    SerialJobManager serial;
    Configuration configuration;
    configuration.m_jobManager = &serial;
    configuration.m_encoderConfiguration.m_effort = effort;
    reallocate(destination, &source, formatNamed(format));
    EXPECT_EQ(kErrorNone, reformat(&source, destination, &configuration)) << format;
    const MemoryRegion bytes = destination->getMemoryRegion();
    return {static_cast<const std::uint8_t*>(bytes.begin), static_cast<const std::uint8_t*>(bytes.end)};
}

// All pairs of endpoints of a channel, with all codes; the other bytes at random.
void fillWithBlocks(MemoryMappedImage* image, const char* format) {
    Vex::Texture texture;
    texture.initAs2d(1024, 1024, 1, formatNamed(format), Vex::kTileModeDisplay_LinearAligned,
                     Vex::kNumFragments1);
    image->reallocate(&texture);
    std::mt19937 random(6);
    auto* bytes = static_cast<std::uint8_t*>(image->getMemoryRegion().begin);
    const std::uint64_t size = image->getMemoryRegion().length();
    for (std::uint64_t i = 0; i < size; ++i) {
        const std::uint64_t pair = i / (size / 65536);
        bytes[i] = static_cast<std::uint8_t>(i % 8 == 0 ? pair : i % 8 == 1 ? pair >> 8 : random());
    }
}

// What is made straight of bytes, or straight to bytes, is what floats in between give.
TEST(BlockRuns, TheWaysOfBytesGiveWhatFloatsGive) {
    struct Case {
        const char* m_from;
        const char* m_to;
    };
    const Case decoded[] = {{"Bc4Unorm", "R8Unorm"},       {"Bc5Unorm", "R8G8Unorm"},
                            {"Bc4Unorm", "R8G8B8A8Unorm"}, {"Bc5Unorm", "R8G8B8A8Unorm"},
                            {"Bc5Unorm", "B8G8R8A8Unorm"}, {"Bc1UnormNoAlpha", "R8G8B8A8Unorm"},
                            {"Bc1Unorm", "R8G8B8A8Unorm"}, {"Bc4Snorm", "R8Snorm"}};
    for (const bool wide : {false, true}) {
        Simd::allowAvx2(wide);
        for (const Case& c : decoded) {
            MemoryMappedImage blocks, floats, straight, around;
            fillWithBlocks(&blocks, c.m_from);
            converted(blocks, "R32G32B32A32Float", &floats);
            EXPECT_EQ(converted(blocks, c.m_to, &straight), converted(floats, c.m_to, &around))
                << c.m_from << " to " << c.m_to;
        }
        MemoryMappedImage pixels, floats, straight, around;
        Vex::Texture texture;
        texture.initAs2d(4 * 53, 24, 1, formatNamed("R8G8B8A8Unorm"), Vex::kTileModeDisplay_LinearAligned,
                         Vex::kNumFragments1);
        for (const char* from : {"R8G8B8A8Unorm", "B8G8R8A8Unorm"}) {
            texture.setDataFormat(formatNamed(from));
            pixels.reallocate(&texture);
            std::mt19937 random(7);
            auto* bytes = static_cast<std::uint8_t*>(pixels.getMemoryRegion().begin);
            for (std::uint64_t i = 0; i < pixels.getMemoryRegion().length(); ++i) {
                bytes[i] = static_cast<std::uint8_t>(i / 4 % 7 * 20 + random() % (i < 9000 ? 256 : 30));
            }
            converted(pixels, "R32G32B32A32Float", &floats);
            for (const char* to : {"Bc1Unorm", "Bc1UnormNoAlpha", "Bc3Unorm", "Bc4Unorm", "Bc5Unorm"}) {
                for (const EncoderEffort effort : {kEncoderEffortNormal, kEncoderEffortHigh}) {
                    EXPECT_EQ(converted(pixels, to, &straight, effort),
                              converted(floats, to, &around, effort))
                        << from << " to " << to << " at effort " << effort;
                }
            }
        }
    }
    Simd::allowAvx2(true);
}

std::array<std::uint8_t, 16> decodedAlpha(const std::uint8_t* alpha) {
    std::uint8_t block[16] = {}, texels[64];
    std::memcpy(block, alpha, 8);
    decodeBc3(texels, block);
    std::array<std::uint8_t, 16> values;
    for (unsigned texel = 0; texel < 16; ++texel) {
        values[texel] = texels[texel * 4 + 3];
    }
    return values;
}

TEST(BlockEncoders, Bc3AlphaKeepsAnyTwoValuesExactly) {
    for (unsigned pair = 0; pair < 65536; ++pair) {
        const unsigned first = pair & 255, second = pair >> 8, firsts = 1 + pair % 15;
        ColorRGBA32F block[16];
        for (unsigned texel = 0; texel < 16; ++texel) {
            block[texel].a = float(texel < firsts ? first : second) / 255.0f;
        }
        std::uint8_t alpha[8];
        encodeBc3Alpha(alpha, block);
        const auto values = decodedAlpha(alpha);
        for (unsigned texel = 0; texel < 16; ++texel) {
            ASSERT_EQ(values[texel], texel < firsts ? first : second) << pair;
        }
    }
}

TEST(BlockEncoders, Bc3AlphaChoosesSixValuesForFourExtremes) {
    const auto encode = [](std::vector<float> alpha) {
        alpha.resize(16, 0.5f);
        std::vector<std::uint8_t> block(8);
        encodeBc3Alpha(block.data(), greys(alpha).data());
        return block;
    };
    const auto three = encode({0, 0, 1, 0.25f, 0.3f}), four = encode({0, 0, 1, 1, 0.25f, 0.3f});
    EXPECT_EQ(three[0] << 8 | three[1], 128 << 8 | 64);
    EXPECT_EQ(four[0] << 8 | four[1], 64 << 8 | 128);
    // Codes 6 and 7 lose to the endpoints where both are as near.
    EXPECT_EQ(encode({0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1}),
              (std::vector<std::uint8_t>{0, 255, 0x08, 0x82, 0x20, 0x08, 0x82, 0x20}));
    EXPECT_EQ(encode({kNaN, kInfinity, -kInfinity, 7, -7})[0], 128);
    // 100 lies between entries 3 and 4 of (50, 150), the latter being 27 * 50 + 37 * 150 for the encoder.
    EXPECT_EQ(Oracle::bitsAt(encode({0, 0, 1, 1, 50 / 255.f, 150 / 255.f, 100 / 255.f}).data(), 16 + 18, 3),
              4u);
}

TEST(BlockEncoders, Bc2AlphaIsCutToFourBits) {
    struct Case {
        float m_alpha;
        unsigned m_clamped;
        unsigned m_masked; // by the entry point, which clamps nothing
    };
    const Case cases[] = {{0, 0, 0},          {1, 15, 15},        {0.0333f, 0, 0},   {0.0334f, 1, 1},
                          {0.96666f, 14, 14}, {0.96667f, 15, 15}, {2, 15, 14},       {-1, 0, 2},
                          {1e30f, 15, 0},     {kNaN, 0, 0},       {kInfinity, 15, 0}};
    const EncoderConfiguration configuration = encoderFor("Bc2Unorm");
    for (const Case& c : cases) {
        for (const unsigned texel : {0u, 7u, 15u}) {
            Texels block(16);
            block[texel].a = c.m_alpha;
            std::uint8_t clamped[8], masked[16];
            encodeBc2Alpha(clamped, block.data());
            encodeBc2Block(masked, block.data(), configuration);
            for (unsigned at = 0; at < 16; ++at) {
                EXPECT_EQ(Oracle::bitsAt(clamped, 4 * at, 4), at == texel ? c.m_clamped : 0) << c.m_alpha;
                EXPECT_EQ(Oracle::bitsAt(masked, 4 * at, 4), at == texel ? c.m_masked : 0) << c.m_alpha;
            }
        }
    }
}

// Squared errors in levels, by the decoder's own palette.
double errorOf(const std::uint8_t* bytes, const Texels& block, bool isSigned) {
    ColorRGBA32F texels[16] = {};
    decodeBc4(texels, bytes, isSigned);
    double error = 0;
    for (unsigned texel = 0; texel < 16; ++texel) {
        error += std::pow((double(texels[texel].r) - double(block[texel].r)) * (isSigned ? 254 : 255), 2);
    }
    return error;
}

double leastError(const Texels& block) {
    double least = 1e30;
    for (int pair = 0; pair < 65536; ++pair) {
        std::uint8_t ends[8] = {std::uint8_t(pair), std::uint8_t(pair >> 8), 0x88, 0xC6, 0xFA, 0, 0, 0};
        ColorRGBA32F palette[16];
        decodeBc4(palette, ends, false);
        double error = 0;
        for (unsigned texel = 0; texel < 16 && error < least; ++texel) {
            double nearest = 1e30;
            for (unsigned code = 0; code < 8; ++code) {
                nearest = std::min(nearest, std::fabs(double(palette[code].r) - double(block[texel].r)));
            }
            error += std::pow(nearest * 255, 2);
        }
        least = std::min(least, error);
    }
    return least;
}

// Noise, gradients, fine detail, and detail beside black and white texels: within 1 dB of the best of all
// pairs of endpoints together, and never far from it in one block.
TEST(BlockEncoders, Bc4FitIsNearTheBestPair) {
    std::mt19937 random(3);
    double found = 0, best = 0;
    for (unsigned i = 0; i < 12; ++i) {
        std::vector<float> values(16);
        for (unsigned texel = 0; texel < 16; ++texel) {
            const float noise = float(random() % 256);
            const float level = i % 4 == 0   ? noise
                                : i % 4 == 1 ? float(40 + i * 3 + texel * 2 + texel % 4)
                                : i % 4 == 2 ? 100 + noise / 32
                                             : (texel < 3   ? 0
                                                : texel < 5 ? 255
                                                            : 90 + noise / 16);
            values[texel] = std::round(level) / 255;
        }
        const Texels block = greys(values);
        std::uint8_t bytes[8];
        encodeBc4Channel(bytes, block.data(), 0, false);
        const double error = errorOf(bytes, block, false), least = leastError(block);
        EXPECT_LE(error, least * 1.5 + 16) << i;
        found += error;
        best += least;
    }
    EXPECT_LE(found, best * std::pow(10.0, 0.1));
}

TEST(BlockEncoders, Bc4KeepsConstantAndTwoValuedBlocks) {
    for (unsigned value = 0; value <= 16320; ++value) {
        const Texels block = greys(std::vector<float>(16, float(value) / 16320));
        std::uint8_t bytes[8];
        encodeBc4Channel(bytes, block.data(), 0, false);
        // Near the ends of the range some 64ths have no pair; all whole levels are exact.
        const double tolerance = value % 64 == 0 ? 1e-8 : value < 64 * 32 || value > 64 * 223 ? 0.16 : 1e-6;
        ASSERT_LE(errorOf(bytes, block, false), tolerance) << value;
    }
    for (int pair = 0; pair < 65536; pair += 7) {
        std::vector<float> values(16, float(pair & 255) / 255);
        std::fill_n(values.begin(), 1 + pair % 15, float(pair >> 8) / 255);
        std::uint8_t bytes[8];
        encodeBc4Channel(bytes, greys(values).data(), 0, false);
        ASSERT_LE(errorOf(bytes, greys(values), false), 1e-8) << pair;
    }
    g_normalizationPolicy = kNormalizationPolicyAsItIs;
    for (int value = -8128; value <= 8128; value += 64) {
        const Texels block = greys(std::vector<float>(16, float(value) / 8128));
        std::uint8_t bytes[8];
        encodeBc4Channel(bytes, block.data(), 0, true);
        EXPECT_LE(errorOf(bytes, block, true), 1e-8) << value;
    }
    g_normalizationPolicy = kNormalizationPolicyUnit;
}

// What is out of range, and not a number, counts as the end of the range; under policy 0 the range is 0..1.
TEST(BlockEncoders, SignedBc4IsReadBackUnderBothPolicies) {
    for (const unsigned policy : {0u, 1u}) {
        g_normalizationPolicy = NormalizationPolicy(policy);
        const float low = policy == 0 ? 0.0f : -1.0f;
        std::vector<float> values = {low, 1, low - 1, 2, kNaN, kInfinity, -kInfinity};
        values.resize(16, 1);
        std::uint8_t bytes[8];
        encodeBc4Channel(bytes, greys(values).data(), 2, true);
        EXPECT_NE(std::int8_t(bytes[0]), -128);
        EXPECT_NE(std::int8_t(bytes[1]), -128);
        ColorRGBA32F texels[16];
        decodeBc4(texels, bytes, true);
        for (unsigned texel = 0; texel < 16; ++texel) {
            const bool isLow = texel == 0 || texel == 2 || texel == 4 || texel == 6;
            EXPECT_NEAR(texels[texel].r, isLow ? low : 1, 1e-6) << texel; // the scale is a rounded quotient
        }
    }
    g_normalizationPolicy = kNormalizationPolicyUnit;
}

TEST(BlockEncoders, EntryPointsPrepareTheColours) {
    const Texels texels = wildBlocks(2);
    const auto type = Vex::kTextureChannelTypeSrgb;
    Texels once(16), twice(16);
    prepareBlockForEncoding(once.data(), texels.data(), type, 1);
    prepareBlockForEncoding(twice.data(), once.data(), type, 1);
    std::uint8_t expected[8], block[24];
    const auto half = [&](const char* name, bool isBc2) {
        (isBc2 ? encodeBc2Block : encodeBc3Block)(block, texels.data(), encoderFor(name));
        return std::memcmp(block + 8, expected, 8);
    };
    encodeBc1Group(expected, once.data(), 1);
    encodeBc1Block(block, texels.data(), encoderFor("Bc1UnormSrgbNoAlpha"), 1);
    EXPECT_EQ(0, std::memcmp(block, expected, 8));
    EXPECT_EQ(0, half("Bc2UnormSrgb", true));
    encodeBc1Group(expected, twice.data(), 1); // BC3 encodes the colours of sRGB formats twice
    EXPECT_EQ(0, half("Bc3UnormSrgb", false));
    encodeBc3Alpha(expected, once.data());
    EXPECT_EQ(0, std::memcmp(block, expected, 8));
    // A format with W has alpha and takes the first block alone.
    std::fill_n(block, sizeof block, std::uint8_t{0xAB});
    encodeBc1Block(block, texels.data(), encoderFor("Bc1Unorm"), 2);
    EXPECT_EQ(16, std::count(block + 8, block + 24, 0xAB));
    std::fill_n(block, sizeof block, std::uint8_t{0xAB});
    encodeBc1Block(block, texels.data(), encoderFor("Bc1UnormNoAlpha"), 0);
    encodeBc1Block(block, texels.data(), encoderFor("Bc1UnormNoAlpha"), kMaxBlocksPerGroup + 1);
    EXPECT_EQ(24, std::count(block, block + 24, 0xAB));
}

std::vector<std::uint8_t> s_handedOut; // what the compressor below was given last

void recordSurface(const ExternalSurface* source, std::uint8_t* destination, std::uint8_t mark) {
    EXPECT_EQ(source->m_width == 4 && source->m_height == 4 && source->m_pitch == 16, true);
    s_handedOut.assign(source->m_texels, source->m_texels + 64);
    *destination = mark;
}

TEST(BlockEncoders, ExternalCompressorGetsBytes) {
    ExternalCompressor table = {};
    const ExternalEncode bc1 = [](const ExternalSurface* source, std::uint8_t* to) {
        recordSurface(source, to, 1);
    };
    const ExternalEncode bc3 = [](const ExternalSurface* source, std::uint8_t* to) {
        recordSurface(source, to, 3);
    };
    const Texels texels = greys({0, 0.25f, 0.5f, 2, -1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    struct Case {
        const char* m_name;
        ExternalEncode m_bc1, m_bc3;
        std::size_t m_markAt;
        std::uint8_t m_mark, m_colour, m_alpha; // of the texel of 0.25
    };
    const Case cases[] = {
        {"Bc1UnormNoAlpha", bc1, bc3, 0, 1, 64, 255},  {"Bc1Unorm", bc1, bc3, 0, 1, 64, 64},
        {"Bc1UnormSrgb", bc1, nullptr, 0, 1, 137, 64}, {"Bc2Unorm", bc1, bc3, 8, 1, 64, 255},
        {"Bc3Unorm", bc1, bc3, 0, 3, 64, 64},          {"Bc3Unorm", bc1, nullptr, 8, 1, 64, 255},
    };
    for (const Case& c : cases) {
        table.m_encodeBc1 = c.m_bc1;
        table.m_encodeBc3 = c.m_bc3;
        EncoderConfiguration configuration = encoderFor(c.m_name);
        configuration.m_externalCompressor = &table;
        const Vex::SurfaceFormat format = configuration.getTexture()->getDataFormat().getSurfaceFormat();
        std::uint8_t block[16] = {};
        findBlockRunEncoder(format)(block, texels.data(), configuration, 1);
        EXPECT_EQ(block[c.m_markAt], c.m_mark) << c.m_name;
        EXPECT_EQ(s_handedOut[4], c.m_colour) << c.m_name;
        EXPECT_EQ(s_handedOut[7], c.m_alpha) << c.m_name;
        EXPECT_EQ(s_handedOut[12], 255) << c.m_name;
    }
}

// Bytes become texels by the channel type on their way into a block, and come back as bytes.
TEST(BlockEncoders, BytesPassThroughTheRows) {
    for (const char* name :
         {"Bc1UnormNoAlpha", "Bc2Unorm", "Bc3Unorm", "Bc1UnormSrgbNoAlpha", "Bc2UnormSrgb"}) {
        const EncoderConfiguration configuration = encoderFor(name);
        const SurfaceFormatInfo& row =
            getSurfaceFormatInfo(configuration.getTexture()->getDataFormat().getSurfaceFormat());
        Block8 bytes, back;
        for (auto& texel : bytes.m_texels) {
            texel[0] = 90, texel[1] = 130, texel[2] = 210, texel[3] = 255;
        }
        std::uint8_t stored[16];
        row.Encode(stored, 16, &bytes, &configuration);
        row.Decode(&back, stored, 16, &configuration);
        for (unsigned i = 0; i < 64; ++i) {
            EXPECT_NEAR(back.m_texels[i / 4][i % 4], bytes.m_texels[i / 4][i % 4], 1) << name; // a flat block
        }
    }
}

} // namespace
