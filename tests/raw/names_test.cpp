#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <cctype>
#include <chrono>
#include <string>
#include <thread>

namespace {

using namespace qor::Texsmith::Raw;
using TestSupport::ReportRecorder;

TEST(DerivedFilename, ReplacesTheExtensionOrTheWholeName) {
    const std::string endless(3000, 'n');
    const std::string longExtension = "." + endless;
    const struct {
        const char* m_derive;
        const char* m_from;
        std::string m_expected;
        const char* m_reports;
    } kCases[] = {
        {".dds", "a.b.tga", "a.b.dds", ""},
        {".vxf", "\xC3\xA4.tga", "\xC3\xA4.vxf", ""},
        {"out.png", "in.tga", "out.png", ""},
        {".", "in.tga", "in.", ""},
        {"", "in.tga", "", ""},
        {".dds", "in", "in.dds", "whereExtensionBegins must not be NULL.\n"},
        {".dds", endless.c_str(), endless.substr(0, 1023), "whereExtensionBegins must not be NULL.\n"},
        {endless.c_str(), "in.tga", endless.substr(0, 1023), ""},
        {longExtension.c_str(), "in.tga", "in" + longExtension.substr(0, 1021), ""},
        {nullptr, "in.tga", "", "filenameToDerive must not be NULL.\n"},
        {".dds", nullptr, "", "filenameToDeriveFrom must not be NULL.\n"},
        {nullptr, nullptr, "",
         "filenameToDerive must not be NULL.\nfilenameToDeriveFrom must not be NULL.\n"},
    };
    for (const auto& c : kCases) {
        const ReportRecorder recorder;
        EXPECT_EQ(DerivedFilename(c.m_derive, c.m_from).c_str(), c.m_expected);
        EXPECT_EQ(recorder.texts(), c.m_reports);
    }
}

// Every pair of bytes, against the C library's folding in the "C" locale.
TEST(StrcmpCaseInsensitive, FoldsAsciiLettersOnly) {
    for (int i = 1; i < 256; ++i) {
        for (int j = 1; j < 256; ++j) {
            const char a[] = {'x', static_cast<char>(i), '\0'};
            const char b[] = {'X', static_cast<char>(j), '\0'};
            const int expected = std::tolower(i) - std::tolower(j);
            const int result = strcmpCaseInsensitive(a, b);
            ASSERT_EQ(result < 0, expected < 0) << i << " " << j;
            ASSERT_EQ(result > 0, expected > 0) << i << " " << j;
        }
    }
    EXPECT_LT(strcmpCaseInsensitive("ab", "ABC"), 0);
    EXPECT_GT(strcmpCaseInsensitive("ABC", "ab"), 0);
}

TEST(StrcmpCaseInsensitive, TakesOneNullForEqualAndTwoForDifferent) {
    EXPECT_EQ(strcmpCaseInsensitive(nullptr, "a"), 0);
    EXPECT_EQ(strcmpCaseInsensitive("a", nullptr), 0);
    EXPECT_EQ(strcmpCaseInsensitive(nullptr, nullptr), 1);
}

TEST(Timer, CountsFromItsLastReset) {
    const Timer timer;
    Timer later = timer;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    later.reset();
    const float sinceReset = later.getSeconds();
    const float seconds = timer.getSeconds();
    EXPECT_GE(seconds, 0.0049f);
    EXPECT_LT(sinceReset, seconds);
    EXPECT_GE(timer.getMilliseconds(), seconds * 1000);
    EXPECT_GE(timer.getMicroseconds(), seconds * 1000000);
}

} // namespace
