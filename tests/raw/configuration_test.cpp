#include "raw/configuration/external_compressor.h"
#include "support/report_recorder.h"
#include "support/surfaces.h"

#include <gtest/gtest.h>

#include <bit>
#include <limits>

namespace {

using namespace TestSupport;

Raw::Bc6QualitySettings settingsOf(float quality) {
    Raw::Bc6QualitySettings settings = {};
    settings.quality = -7.0f;
    settings.reservedCount = 5;
    settings.setFromQuality(quality);
    return settings;
}

TEST(Bc6Quality, InterpolatesBetweenRows) {
    using Settings = Raw::Bc6QualitySettings;
    struct Case {
        float m_quality;
        float Settings::*m_field;
        std::uint32_t m_bits; // computed with 50 decimal digits, but for the linear ones
    };
    const Case cases[] = {
        {0.3f, &Settings::partitionScaleSmooth, 0x41E00000},  // the first row itself
        {6.25f, &Settings::partitionScaleSmooth, 0x42680000}, // halfway from 60 to 56
        {2.0f, &Settings::refineBelow, 0x3C9838BE},           // through the logarithm
        {3.5f, &Settings::refineBelow, 0x3998390A},           // the same, toward the floor
        {3.97f, &Settings::refineBelow, 0x377D06A1},          // below the floor
        {4.1f, &Settings::refineBelow, 0x3716FEBB},           // linear
        {4.1f, &Settings::indexRetryAbove, 0x4080000B},       {6.49f, &Settings::indexRetryAbove, 0x377BFA0E},
        {6.9f, &Settings::indexRetryBothAbove, 0x3828E618},
    };
    for (const Case& c : cases) {
        const Settings settings = settingsOf(c.m_quality);
        EXPECT_EQ(std::bit_cast<std::uint32_t>(settings.*c.m_field), c.m_bits) << c.m_quality;
        EXPECT_EQ(settings.quality, c.m_quality);
        EXPECT_EQ(settings.searchDepth, c.m_quality < 0.5f ? 1 : 2);
        EXPECT_EQ(settings.indexRetryLevel, c.m_quality < 4.5f ? 0 : 2);
        EXPECT_EQ(settings.reservedCount, 5);
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
    Raw::Texture texture;
    std::uint8_t byte = 0;
    texture.m_memoryRegion.build(&byte, 1);
    for (unsigned type = 0; type < 16; ++type) {
        Raw::DecoderConfiguration decoder = Raw::Configuration().m_decoderConfiguration;
        decoder.m_srgbAsLinear = true;
        static_cast<Vex::Texture&>(texture) = makeFlat(type % 2 == 0 ? "R8G8B8A8Unorm" : "R8G8Unorm", 3, 3);
        texture.setTextureChannelType(Vex::TextureChannelType(type));
        decoder.setTexture(&texture);
        EXPECT_EQ(decoder.isSigned(), type == 1 || type == 3 || type == 5 || type == 6) << type;
        EXPECT_EQ(decoder.getTexture()->getTextureChannelType(), type == 9 ? 0 : type);
        EXPECT_EQ(decoder.m_formatUsesChannelW, type % 2 == 0);
        const Vex::Texture zeros;
        decoder.setTexture(&zeros);
        EXPECT_EQ(decoder.getTexture()->m_memoryRegion.begin, &byte); // stays
        EXPECT_FALSE(decoder.m_formatUsesChannelW);
    }
    const ReportRecorder reports;
    Raw::DecoderConfiguration decoder;
    decoder.setTexture(static_cast<const Vex::Texture*>(nullptr));
    decoder.setTexture(static_cast<const Raw::Texture*>(nullptr));
    EXPECT_EQ(reports.texts(), "vexTexture must not be NULL.\ntexture must not be NULL.\n");
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
    Raw::Texture alpha;
    static_cast<Vex::Texture&>(alpha) = makeFlat("Bc7Unorm", 4, 4);
    const Vex::Texture plainSigned = makeFlat("Bc6Sf16", 4, 4);
    const std::pair<unsigned, unsigned> levels[] = {{0, 0},  {1, 0},   {20, 0},  {21, 1},         {80, 3},
                                                    {81, 4}, {100, 4}, {500, 4}, {0xFFFFFFFFu, 4}};
    for (const auto& [level, index] : levels) {
        Raw::EncoderConfiguration encoder;
        encoder.m_externalCompressor = &table;
        encoder.m_externalCompressorLevel = level;
        encoder.setTexture(&alpha);
        EXPECT_EQ(encoder.m_externalProfile, profile(0x30 + index)) << level;
        EXPECT_EQ(encoder.m_externalBc6hProfile, profile(0x10 + index)) << level;
        encoder.setTexture(&plainSigned);
        EXPECT_EQ(encoder.m_externalProfile, profile(0x20 + index)) << level;
        EXPECT_EQ(encoder.m_externalBc6hProfile, nullptr);
        encoder.setExternalCompressor(true);
        EXPECT_TRUE(encoder.m_externalCompressor != nullptr && encoder.m_externalProfile == nullptr);
    }
}

} // namespace
