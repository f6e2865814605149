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
    const std::pair<Raw::Error, const char*> kCases[] = {
        {Raw::convertFromExr(&source, &image, &configuration), ".EXR"},
        {Raw::convertToExr(&image, &memory, &configuration), ".EXR"},
        {Raw::convertFromWic(&source, &image, &configuration, Raw::g_wicGuidGif, 2), ".GIF"},
        {Raw::convertToWic(&image, &memory, &configuration, Raw::g_wicGuidTif), ".TIF"},
    };
    ASSERT_EQ(recorder.warnings().size(), std::size(kCases));
    for (std::size_t i = 0; i < std::size(kCases); ++i) {
        EXPECT_EQ(kCases[i].first, Raw::kErrorWicFactory);
        EXPECT_EQ(recorder.warnings()[i].m_text,
                  std::string("There is no codec for files of type '") + kCases[i].second + "' here.");
    }
    EXPECT_EQ(Raw::convertFromWic(&source, &image, &configuration, Raw::g_wicGuidBmp, 1),
              Raw::kErrorWicGetFrame); // there is one
    EXPECT_TRUE(recorder.assertions().empty());
}

} // namespace
