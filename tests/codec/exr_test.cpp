#include "support/damaged_files.h"
#include "support/surfaces.h"

#include <gtest/gtest.h>

#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfOutputFile.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace {

using namespace qor::Texsmith;
using namespace TestSupport;

Bytes writtenExr(const Raw::Image& image) {
    Configuration configuration;
    Raw::AllocatedMemory file;
    EXPECT_EQ(Raw::convertToExr(&image, &file, &configuration), Raw::kErrorNone);
    return bytesOf(file);
}

TEST(Exr, KeepsHalvesAndFloats) {
    struct Case {
        const char* m_format;
        std::uint32_t m_kept;
    };
    constexpr Case kCases[] = {{"R16G16B16A16Float", Vex::kDataFormatR16G16B16A16Float.m_word},
                               {"R16G16B16X16Float", Vex::kDataFormatR16G16B16X16Float.m_word},
                               {"R32G32B32A32Float", Vex::kDataFormatR32G32B32A32Float.m_word},
                               {"L32Float", Vex::kDataFormatL32Float.m_word},
                               {"L16Float", Vex::kDataFormatL16Float.m_word},
                               {"R11G11B10Float", Vex::kDataFormatR16G16B16X16Float.m_word},
                               {"R8G8B8A8UnormSrgb", Vex::kDataFormatR16G16B16A16Float.m_word},
                               {"R16G16B16A16Unorm", Vex::kDataFormatR32G32B32A32Float.m_word}};
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.m_format);
        TestImage image(makeFlat(c.m_format, 43, 70));
        for (std::size_t i = 0; i < image.bytes().size(); ++i) { // neither infinite nor NaN
            image.bytes()[i] = static_cast<std::uint8_t>(i % 2 != 0 ? 0x30 + i % 13 : i * 37);
        }
        Configuration configuration;
        Raw::MemoryMappedImage back;
        HeapFile file(writtenExr(image));
        ASSERT_EQ(Raw::convertFromExr(file.region(), &back, &configuration), Raw::kErrorNone);
        ASSERT_EQ(back.getDataFormat().m_word, c.m_kept);
        TestImage expected(Raw::changeDataFormat(image.getTexture(), {c.m_kept}));
        ASSERT_EQ(Raw::reformat(&image, &expected, &configuration), Raw::kErrorNone);
        for (std::size_t i = 0; i < expected.bytes().size() && (c.m_kept >> 20) == 3; ++i) {
            const std::size_t bytes = expected.bytes().size() / (43 * 70);
            const bool isFiller = bytes > 4 && i % bytes >= bytes / 4 * 3; // no channel reads it
            expected.bytes()[i] = isFiller ? std::uint8_t{0} : expected.bytes()[i];
        }
        EXPECT_EQ(bytesOf(back), expected.bytes());
    }
}

TEST(Exr, NamesTheChannelsThatItLeaves) {
    const std::string name = (std::filesystem::temp_directory_path() / "texsmith_channels.exr").string();
    {
        Imf::Header header(8, 4);
        std::vector<float> values(32, 0.5f);
        Imf::FrameBuffer buffer;
        for (const char* channel : {"B", "G", "R", "Z", "normal.X"}) {
            header.channels().insert(channel, Imf::Channel(Imf::FLOAT));
            buffer.insert(channel, Imf::Slice(Imf::FLOAT, reinterpret_cast<char*>(values.data()), 4, 32));
        }
        Imf::OutputFile output(name.c_str(), header);
        output.setFrameBuffer(buffer);
        output.writePixels(4);
    }
    const ReportRecorder recorder;
    Configuration configuration;
    Raw::MemoryMappedImage image;
    EXPECT_EQ(Raw::loadWithResult(&image, name.c_str(), &configuration, 0), Raw::kErrorNone);
    std::filesystem::remove(name);
    EXPECT_EQ(image.getDataFormat().m_word, Vex::kDataFormatR32G32B32X32Float.m_word);
    ASSERT_EQ(recorder.warnings().size(), 1u);
    EXPECT_NE(recorder.warnings()[0].m_text.find(": Z, normal.X"), std::string::npos);
}

TEST(Exr, TakesWhatADamagedFileHas) {
    TestImage image(makeFlat("R16G16B16A16Float", 3, 20));
    const Bytes file = writtenExr(image);
    const Sample sample{"", ".exr", file, file.size(), file.size()};
    expectWrongBytesToEndWell(sample, 13);
    expectCutFilesToGiveWhatTheyHave(sample, 0);
    expectHandlersToBeFreeToThrow(file, ".exr");
    Bytes parts = file;
    parts[5] |= 0x10;
    EXPECT_EQ(loadFront(parts, parts.size(), ".exr").m_warnings, 1u);
    const std::string mark("dataWindow\0box2i", 16); // of two windows the library would take the last
    const auto window = std::search(file.begin(), file.end(), mark.begin(), mark.end());
    Bytes windows(file.begin(), window + 37);
    windows.insert(windows.end(), window, file.end());
    const Outcome refused = loadFront(windows, windows.size(), ".exr");
    EXPECT_TRUE(refused.m_texels.empty() && refused.m_warnings == 1);
}

} // namespace
