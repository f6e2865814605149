#include "qor/texsmith/texsmith.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

using namespace qor::Texsmith;
namespace Vex = qor::Vex;
using Vex::DataFormat;

std::string nameOf(DataFormat format) {
    char name[32] = "";
    format2Str(format, name, sizeof(name));
    return name;
}

TEST(FormatStrings, OfTheListAllGiveWordsOfTheirOwn) {
    std::set<unsigned> words, keys;
    unsigned comeBack = 0;
    for (unsigned i = 0; i < kBlessedFormats; ++i) {
        const DataFormat format = str2Format(blessedFormats[i]);
        EXPECT_NE(format.m_word, 0u) << blessedFormats[i];
        EXPECT_TRUE(isBlessedFormat(format));
        words.insert(format.m_word);
        keys.insert(format.getSurfaceFormat() << 8 | format.getTextureChannelType());
        comeBack += str2Format(nameOf(format).c_str()) == format ? 1u : 0u;
    }
    EXPECT_EQ(blessedFormats[kBlessedFormats], nullptr);
    EXPECT_EQ(words.size(), 109u);
    EXPECT_EQ(keys.size(), 96u);
    EXPECT_EQ(comeBack, kBlessedFormats);
}

TEST(FormatStrings, AreReadByRule) {
    struct Case {
        const char* m_name;
        unsigned m_word;
    };
    constexpr Case kCases[] = {
        {"R8G8B8A8UNorm", 0xFAC00A},
        {"r8g8b8a8unorm", 0xFAC00A},
        {"R8G8B8A8Srgb", 0xFAC90A},
        {"R8G8B8A8UNormSrgb", 0xFAC90A},
        {"B8G8R8A8UNorm", 0xF2E00A},
        {"R11G11B10Float", 0x3AC706},
        {"R9G9B9X5Float", 0x3AC722},
        {"R9G9B9A5Float", 0},
        {"X8UNorm", 0x200001},
        {"A8UNorm", 0x800001},
        {"L8UNorm", 0x324001},
        {"L16A16UNorm", 0xB24005},
        {"A8L8UNorm", 0x96D003},
        {"A8L16UNorm", 0},
        {"L8A16UNorm", 0},
        {"L32UNorm", 0},
        {"Bc1UNorm", 0xFAC023},
        {"bc4Snorm", 0x204126},
        {"BC5UNorm", 0x22C027},
        {"Bc6UNorm", 0x3AC028},
        {"Bc7UNormSrgb", 0xFAC929},
        {"Bc8UNorm", 0},
        {"Bc", 0},
        {"R8R8UNorm", 0},
        {"R8G8B8A8", 0},
        {"R8G8B8A8Nonsense", 0},
        {"R7UNorm", 0},
        {"R99999999999999999999UNorm", 0},
        {"UNorm", 0},
        {"", 0},
    };
    for (const Case& c : kCases) {
        EXPECT_EQ(str2Format(c.m_name).m_word, c.m_word) << c.m_name;
    }
    EXPECT_EQ(str2Format(nullptr).m_word, 0u);
}

TEST(FormatStrings, ArePrinted) {
    struct Case {
        unsigned m_word;
        const char* m_name;
    };
    constexpr Case kCases[] = {
        {0xFAC00A, "R8G8B8A8UNorm"}, {0xF2E00A, "B8G8R8A8UNorm"},
        {0xFAC023, "Bc1UNorm"},      {0x3AC023, "Bc1UNormNoAlpha"},
        {0xB24003, "L8A8UNorm"},     {0x96D003, "A8L8UNorm"},
        {0x800001, "A8UNorm"},       {0x324001, "L8UNorm"},
        {0x32400A, "B8X8X8X8UNorm"}, {0, "Invalid"},
        {0xFAC00F, "Invalid"},       {0x3AC007, "R10G11B11UNorm"},
    };
    for (const Case& c : kCases) {
        EXPECT_EQ(nameOf({c.m_word}), c.m_name) << std::hex << c.m_word;
    }
    char kept[31] = "kept";
    format2Str(Vex::kDataFormatR8G8B8A8Unorm, kept, sizeof(kept));
    EXPECT_STREQ(kept, "kept");
    char details[256];
    getFormatDetails(Vex::kDataFormatR8G8B8A8Unorm, details, sizeof(details));
    EXPECT_STREQ(details,
                 "Format as int = 0xFAC00A\nFormatString=R8G8B8A8UNorm\nsurfaceType= 8_8_8_8\n"
                 "channelType= UNorm\nchannelX =  4\nchannelY =  5\nchannelZ =  6\nchannelW =  7\n\n");
}

// Selects do not count.
TEST(FormatStrings, BlessFormatsByLayoutAndType) {
    EXPECT_TRUE(isBlessedFormat(Vex::kDataFormatB8G8R8A8Unorm));
    EXPECT_TRUE(isBlesssedFormat(Vex::kDataFormatB8G8R8A8Unorm));
    EXPECT_FALSE(isBlessedFormat({0xFAC70A}));
    EXPECT_FALSE(isBlessedFormat({0}));
}

} // namespace
