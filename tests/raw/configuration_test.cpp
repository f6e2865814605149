#include "raw/external_compressor.h"
#include "support/report_recorder.h"
#include "support/surfaces.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using namespace TestSupport;

constexpr float kKeys[] = {0.3f, 0.4f, 0.5f, 0.6f, 0.75f, 1.0f,  3.0f,  4.0f, 4.25f,
                           4.5f, 5.0f, 6.0f, 6.5f, 7.0f,  14.0f, 37.0f, 50.0f};

Raw::Bc6QualitySettings settingsOf(float quality) {
    Raw::Bc6QualitySettings settings = {};
    settings.quality = -7.0f;
    settings.reservedCount = 5;
    settings.setFromQuality(quality);
    return settings;
}

// In powers of two and in long double.
float geometric(float low, float high, float t) {
    const float floor = std::bit_cast<float>(0x37800080u), half = floor / 2;
    const long double u = 1.0f - t;
    if (high > floor) {
        return static_cast<float>(
            std::exp2(std::log2((long double)low) * u + std::log2((long double)high) * t));
    }
    if (low > floor) {
        const long double m = std::log2((long double)low) * u + std::log2((long double)half) * t;
        const long double above = std::log2((long double)floor) - m;
        return static_cast<float>(above < 0 ? std::exp2(m) : above * high + (1 - above) * 0x1p-16L);
    }
    return (1.0f - t) * low + t * high;
}

TEST(Bc6Quality, InterpolatesBetweenRows) {
    for (std::size_t row = 0; row + 1 < std::size(kKeys); ++row) {
        const Raw::Bc6QualitySettings low = settingsOf(kKeys[row]), high = settingsOf(kKeys[row + 1]);
        for (int step = 0; step < 50; ++step) {
            const float key = kKeys[row] + (kKeys[row + 1] - kKeys[row]) * static_cast<float>(step) / 50;
            const float t = (key - kKeys[row]) / (kKeys[row + 1] - kKeys[row]);
            const Raw::Bc6QualitySettings mixed = settingsOf(key);
            SCOPED_TRACE(key);
            EXPECT_EQ(mixed.quality, key);
            EXPECT_EQ(mixed.reservedCount, 5);
            EXPECT_EQ(mixed.searchDepth, low.searchDepth);
            EXPECT_EQ(mixed.indexRetryLevel, low.indexRetryLevel);
            EXPECT_EQ(mixed.partitionScaleWide,
                      (1 - t) * low.partitionScaleWide + t * high.partitionScaleWide);
            EXPECT_EQ(mixed.refineBelow, geometric(low.refineBelow, high.refineBelow, t));
            EXPECT_EQ(mixed.indexRetryAbove, geometric(low.indexRetryAbove, high.indexRetryAbove, t));
            EXPECT_EQ(mixed.indexRetryBothAbove,
                      geometric(low.indexRetryBothAbove, high.indexRetryBothAbove, t));
        }
    }
}

TEST(Bc6Quality, KeepsAStaleQualityAtTheEnds) {
    const ReportRecorder reports;
    for (const float quality : {0.2f, 50.0f, 1e9f, std::numeric_limits<float>::quiet_NaN(), -1.0f}) {
        const Raw::Bc6QualitySettings settings = settingsOf(quality);
        const bool first = quality < 1;
        EXPECT_EQ(settings.quality, -7.0f);
        EXPECT_EQ(settings.reservedCount, 0);
        EXPECT_EQ(settings.partitionCutoffSmooth, first ? 1.0f : 4.0f);
        EXPECT_EQ(settings.modeScaleWide, first ? 28.0f : 44.0f);
        EXPECT_EQ(settings.refineBelow, first ? 64.0f : 0.0f);
        EXPECT_EQ(settings.searchDepth, first ? 1 : 2);
    }
    EXPECT_EQ(reports.texts(), "fQuality parameter must not be negative.\n");
    EXPECT_EQ(reports.assertions()[0].m_file, "raw\\configuration");
}

TEST(Configuration, TakesAFormatApart) {
    for (unsigned type = 0; type < 16; ++type) {
        Raw::DecoderConfiguration decoder;
        decoder.m_srgbAsLinear = true;
        const Vex::Texture texture =
            makeTexture(kShapes[1], {(formatNamed("R8G8B8A8Unorm").m_word & ~0xF00u) | type << 8});
        decoder.setTexture(&texture);
        EXPECT_EQ(decoder.isSigned(), type == 1 || type == 3 || type == 5 || type == 6) << type;
        EXPECT_EQ(decoder.getTexture()->getTextureChannelType(), type == 9 ? 0 : type);
        EXPECT_TRUE(decoder.m_formatUsesChannelW);
    }
    Raw::Texture texture;
    static_cast<Vex::Texture&>(texture) = makeFlat("B8G8R8X8UnormSrgb", 3, 3);
    std::uint8_t byte = 0;
    texture.m_memoryRegion.build(&byte, 1);
    Raw::DecoderConfiguration decoder;
    decoder.setTexture(&texture);
    decoder.setTexture(static_cast<const Vex::Texture*>(&texture));
    EXPECT_EQ(decoder.getTexture()->m_memoryRegion.begin, &byte);
    EXPECT_EQ(decoder.getTexture()->getTextureChannelType(), Vex::kTextureChannelTypeSrgb);
    EXPECT_FALSE(decoder.m_formatUsesChannelW);
    const ReportRecorder reports;
    decoder.setTexture(static_cast<const Vex::Texture*>(nullptr));
    decoder.setTexture(static_cast<const Raw::Texture*>(nullptr));
    EXPECT_EQ(reports.texts(), "vexTexture must not be NULL.\ntexture must not be NULL.\n");
    EXPECT_EQ(decoder.getTexture()->getWidth(), 3u);
}

TEST(Configuration, ChoosesTheExternalProfileByLevelAndFormat) {
    const auto profile = [](std::uintptr_t n) {
        return reinterpret_cast<const Raw::ExternalCompressorProfile*>(n);
    };
    Raw::ExternalCompressor table;
    for (unsigned i = 0; i < Raw::kExternalLevels; ++i) {
        table.m_bc6hProfiles[i] = profile(0x10 + i);
        table.m_plainProfiles[i] = profile(0x20 + i);
        table.m_alphaProfiles[i] = profile(0x30 + i);
    }
    const std::pair<unsigned, unsigned> levels[] = {{0, 0},  {1, 0},   {20, 0},  {21, 1},         {80, 3},
                                                    {81, 4}, {100, 4}, {500, 4}, {0xFFFFFFFFu, 4}};
    for (const auto& [level, index] : levels) {
        Raw::EncoderConfiguration encoder;
        encoder.m_externalCompressor = &table;
        encoder.m_externalCompressorLevel = level;
        const Vex::Texture alpha = makeFlat("Bc7Unorm", 4, 4), plain = makeFlat("Bc6Sf16", 4, 4);
        encoder.setTexture(&alpha);
        EXPECT_EQ(encoder.m_externalProfile, profile(0x30 + index)) << level;
        EXPECT_EQ(encoder.m_externalBc6hProfile, profile(0x10 + index)) << level;
        encoder.setTexture(&plain);
        EXPECT_EQ(encoder.m_externalProfile, profile(0x20 + index)) << level;
        EXPECT_EQ(encoder.m_externalBc6hProfile, nullptr);
        encoder.setExternalCompressor(true);
        EXPECT_TRUE(encoder.m_externalCompressor != nullptr && encoder.m_externalProfile == nullptr);
        encoder.setExternalCompressor(false);
        EXPECT_EQ(encoder.m_externalCompressor, nullptr);
    }
}

TEST(Configuration, StartsWithTheStatedDefaults) {
    const Raw::Configuration configuration;
    EXPECT_EQ(configuration.getVersion(), 250u);
    EXPECT_NE(configuration.m_jobManager, nullptr);
    EXPECT_EQ(configuration.m_jobManager, Raw::Configuration().m_jobManager);
    EXPECT_TRUE(configuration.m_decoderConfiguration.m_transform.isNop());
    EXPECT_EQ(configuration.m_encoderConfiguration.m_bc6Quality.refineBelow, 0.03125f);
    EXPECT_EQ(configuration.m_encoderConfiguration.m_bc6Quality.quality, 1.0f);
}

} // namespace
