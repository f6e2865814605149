#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <cctype>
#include <chrono>
#include <string>
#include <thread>

namespace {

using namespace qor::Texsmith::Raw;

TEST(DerivedFilename, ReplacesTheExtensionOrTheWholeName) {
    const std::string longName(3000, 'n');
    const std::string longExtension = "." + longName;
    const char* const kNoName = "filenameToDerive must not be NULL.\n";
    const char* const kNoSource = "filenameToDeriveFrom must not be NULL.\n";
    const char* const kNoDot = "whereExtensionBegins must not be NULL.\n";
    const struct {
        const char* m_derive;
        const char* m_from;
        std::string m_expected;
        std::string m_reports;
    } kCases[] = {
        {".dds", "a.b.tga", "a.b.dds", ""},
        {"out.png", "in.tga", "out.png", ""},
        {"", "in.tga", "", ""},
        {".dds", "in", "in.dds", kNoDot},
        {".dds", longName.c_str(), longName.substr(0, 1023), kNoDot},
        {longName.c_str(), "in.tga", longName.substr(0, 1023), ""},
        {longExtension.c_str(), "in.tga", "in" + longExtension.substr(0, 1021), ""},
        {".dds", nullptr, "", kNoSource},
        {nullptr, nullptr, "", std::string(kNoName) + kNoSource},
    };
    for (const auto& c : kCases) {
        const TestSupport::ReportRecorder recorder;
        EXPECT_EQ(DerivedFilename(c.m_derive, c.m_from).c_str(), c.m_expected);
        EXPECT_EQ(recorder.texts(), c.m_reports);
    }
}

// Every pair of bytes, against the C library's folding in the "C" locale.
TEST(StrcmpCaseInsensitive, FoldsAsciiLettersOnly) {
    const auto sign = [](int value) { return (value > 0) - (value < 0); };
    for (int i = 0; i < 256; ++i) {
        for (int j = 0; j < 256; ++j) {
            const char a[] = {'x', static_cast<char>(i), '\0'};
            const char b[] = {'X', static_cast<char>(j), '\0'};
            ASSERT_EQ(sign(strcmpCaseInsensitive(a, b)), sign(std::tolower(i) - std::tolower(j)))
                << i << " " << j;
        }
    }
    EXPECT_EQ(strcmpCaseInsensitive(nullptr, "a"), 0);
    EXPECT_EQ(strcmpCaseInsensitive("a", nullptr), 0);
    EXPECT_EQ(strcmpCaseInsensitive(nullptr, nullptr), 1);
}

TEST(Timer, CountsInThreeUnits) {
    Timer timer;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    const float units[] = {timer.getSeconds(), timer.getMilliseconds() / 1000,
                           timer.getMicroseconds() / 1000000, timer.getSeconds()};
    EXPECT_GE(units[0], 0.0049f);
    EXPECT_GE(units[1], units[0] * 0.9999f); // they are taken one after another, and rounded
    EXPECT_GE(units[2], units[1] * 0.9999f);
    EXPECT_GE(units[3], units[2] * 0.9999f);
    timer.reset();
    const float afterReset = timer.getSeconds();
    EXPECT_LT(afterReset, units[3]);
}

} // namespace
