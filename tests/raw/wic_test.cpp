#include "support/report_recorder.h"
#include "support/surfaces.h"

#include <gtest/gtest.h>

namespace {

using namespace qor::Texsmith;
using namespace TestSupport;

TEST(Codecs, OfOtherMachinesAreMissedInOneVoice) {
    const ReportRecorder recorder;
    Configuration configuration;
    Raw::MemoryRegion source;
    Raw::AllocatedMemory memory;
    Raw::MemoryMappedImage image;
    EXPECT_EQ(Raw::convertFromExr(&source, &image, &configuration), Raw::kErrorWicFactory);
    EXPECT_EQ(Raw::convertToExr(&image, &memory, &configuration), Raw::kErrorWicFactory);
    EXPECT_EQ(Raw::convertFromWic(&source, &image, &configuration, Raw::g_wicGuidGif, 2),
              Raw::kErrorWicFactory);
    EXPECT_EQ(Raw::convertToWic(&image, &memory, &configuration, Raw::g_wicGuidTif), Raw::kErrorWicFactory);
    const char* types[] = {".EXR", ".EXR", ".GIF", ".TIF"};
    ASSERT_EQ(recorder.warnings().size(), 4u);
    for (unsigned i = 0; i < 4; ++i) {
        EXPECT_EQ(recorder.warnings()[i].m_text,
                  "There is no codec for files of type '" + std::string(types[i]) + "' here.");
    }
    EXPECT_TRUE(recorder.assertions().empty());
}

TEST(Codecs, NullArgumentsAreReported) {
    ReportRecorder recorder;
    const std::string texts =
        "source must not be NULL.\ndestination must not be NULL.\nconfiguration must not be "
        "NULL.\n";
    const auto expectReports = [&](Raw::Error error) {
        EXPECT_EQ(error, Raw::kErrorFailed);
        EXPECT_EQ(recorder.texts(), texts);
        recorder.clear();
    };
    expectReports(Raw::convertFromPng(nullptr, nullptr, nullptr));
    expectReports(Raw::convertToPng(nullptr, nullptr, nullptr));
    expectReports(Raw::convertFromWic(nullptr, nullptr, nullptr, Raw::g_wicGuidBmp, 0));
    expectReports(Raw::convertToWic(nullptr, nullptr, nullptr, Raw::g_wicGuidBmp));
}

} // namespace
