#include "qor/texsmith/raw/error.h"
#include "qor/texsmith/raw/format.h"
#include "raw/texels/channels.h"
#include "support/report_recorder.h"
#include "support/slow_codec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cfloat>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

TEST(Format, RowsFollowFromTheirNames) {
    ASSERT_EQ(59u, getSurfaceFormatInfos());
    for (unsigned number = 0; number < 59; ++number) {
        SCOPED_TRACE(number);
        const SurfaceFormatInfo& row = getSurfaceFormatInfo(Vex::SurfaceFormat(number));
        const char* name = TestSupport::kSurfaceFormatNames[number];
        if (name == nullptr) {
            const SurfaceFormatInfo empty = {};
            EXPECT_EQ(0, std::memcmp(&empty, &row, sizeof row));
            continue;
        }
        const bool compressed = name[0] == 'B', byBlocks = name[0] == 'F';
        EXPECT_EQ(number, row.surfaceFormat);
        EXPECT_EQ(compressed ? 0x404 : 0x101, row.blockWidth << 8 | row.blockHeight);
        const bool byBytes = number == 10 || (number >= 35 && number <= 37) || number == 41;
        EXPECT_EQ(byBytes, row.encodeBlock8 != nullptr && row.decodeBlock8 != nullptr);
        EXPECT_EQ(compressed, row.decodeTexels == nullptr && row.encodeOne == nullptr);
        EXPECT_EQ(byBlocks, !compressed && row.encodeTile != g_surfaceFormatInfo[1].encodeTile);
        std::vector<unsigned> widths = TestSupport::widthsFromName(name);
        EXPECT_EQ(widths.size(), row.channels);
        widths.resize(4);
        for (unsigned channel = 0, bits = 0; channel < 4; bits += widths[channel++]) {
            const long double range = std::pow(2.0L, widths[channel]);
            EXPECT_EQ(widths[channel], row.bitsPerChannel[channel]);
            EXPECT_EQ(bits, row.channelShift[channel]);
            EXPECT_EQ(range < 2 ? 1.0f : float(1 / (range - 1)), row.unormScale[channel]);
            EXPECT_EQ(range < 4 ? 1.0f : float(1 / (range / 2 - 1)), row.snormScale[channel]);
        }
    }
}

TEST(Format, NumbersWithoutARowAreReported) {
    TestSupport::ReportRecorder recorder;
    EXPECT_EQ(58u, getSurfaceFormatInfo(Vex::kSurfaceFormat6_5_5).surfaceFormat);
    EXPECT_TRUE(recorder.empty());
    EXPECT_EQ(&g_surfaceFormatInfo[0], &getSurfaceFormatInfo(Vex::SurfaceFormat(59)));
    EXPECT_EQ("surfaceFormat must have a valid entry in the g_surfaceFormatInfo table.\n", recorder.texts());
    EXPECT_EQ("raw\\format", recorder.assertions()[0].m_file);
}

TEST(Format, LimitsOfChannels) {
    const SurfaceFormatInfo& row = getSurfaceFormatInfo(Vex::kSurfaceFormatX24_8_32); // 32, 8, 24, 0 bits
    const std::uint32_t unorm[] = {0xFFFFFFFF, 255, 0xFFFFFF, 0};
    const int most[] = {INT32_MAX, 127, 0x7FFFFF, -1}, least[] = {INT32_MIN, -128, -0x800000, 0};
    for (unsigned channel = 0; channel < 4; ++channel) {
        EXPECT_EQ(unorm[channel], row.maxUnormValue(channel));
        EXPECT_EQ(most[channel], row.maxSnormValue(channel));
        EXPECT_EQ(least[channel], row.minSnormValue(channel));
    }
}

TEST(Format, EveryNameIsFoundWhateverItsCase) {
    TestSupport::ReportRecorder recorder;
    Configuration configuration;
    std::uint32_t digest = 0; // of all names and words in their order
    ASSERT_EQ(98, getNamedDataFormatCount());
    for (int i = 0; i < 98; ++i) {
        const NamedDataFormat named = getNamedDataFormat(i);
        Vex::DataFormat found = {};
        std::string name = named.m_name;
        std::transform(name.begin(), name.end(), name.begin(),
                       [](char c) { return static_cast<char>(tolower(c)); });
        EXPECT_EQ(0, makeDataFormat(&found, name.c_str(), &configuration));
        EXPECT_EQ(named.m_dataFormat, found) << named.m_name;
        for (const char* c = named.m_name; *c != 0; ++c) {
            digest = digest * 31 + static_cast<unsigned char>(*c);
        }
        digest = digest * 31 + found.m_word;
    }
    EXPECT_EQ(0x61973A43u, digest);
    EXPECT_STREQ("Bc1PcaUnormSrgb", getNamedDataFormat(97).m_name);
    EXPECT_EQ(0x3A5923u, getNamedDataFormat(97).m_dataFormat.m_word);
    EXPECT_STREQ("Invalid", getNamedDataFormat(98).m_name);
    EXPECT_STREQ("Invalid", getNamedDataFormat(-1).m_name);
    EXPECT_TRUE(recorder.empty());
}

TEST(Format, MakeDataFormatReportsAndFails) {
    TestSupport::ReportRecorder recorder;
    Configuration configuration;
    Vex::DataFormat format = {7};
    const int failed = static_cast<int>(kErrorFailed);
    for (const char* name : {" R8Unorm", "", "R8Unor", "R8Unormx"}) {
        EXPECT_EQ(failed, makeDataFormat(&format, name, &configuration));
    }
    EXPECT_TRUE(recorder.empty());
    EXPECT_EQ(failed, makeDataFormat(nullptr, "R8Unorm", &configuration));
    EXPECT_EQ(7u, format.m_word);
    EXPECT_EQ(0, makeDataFormat(&format, "R8Unorm", nullptr));
}

TEST(FormatChannels, TypesAndSwizzles) {
    const std::string floating = "FFFFIIFFFFFFIF", range = "USNNNNSNNUSSNN"; // 0..1, -1..1, or any number
    for (unsigned number = 0; number < 14; ++number) {
        const auto type = Vex::TextureChannelType(number);
        VectorFloat lowest, highest;
        EXPECT_EQ(floating[number] == 'F', isFloatingChannelType(type)) << number;
        EXPECT_EQ(number == 5 || number == 12, isSignedIntegerChannelType(type)) << number;
        EXPECT_EQ(number == 4, isUnsignedIntegerChannelType(type)) << number;
        getChannelTypeRange(&lowest, &highest, type);
        EXPECT_EQ(range[number] == 'U' ? 0.0f : range[number] == 'S' ? -1.0f : -FLT_MAX, lowest[number % 4]);
        EXPECT_EQ(range[number] == 'N' ? FLT_MAX : 1.0f, highest[number % 4]) << number;
    }
    EXPECT_TRUE(isIdentitySwizzle(Vex::kDataFormatR8G8B8A8UnormSrgb));
    EXPECT_FALSE(isIdentitySwizzle(Vex::kDataFormatB8G8R8A8Unorm));
}

} // namespace
} // namespace qor::Texsmith::Raw
