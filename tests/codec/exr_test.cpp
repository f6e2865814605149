#include "support/damaged_files.h"
#include "support/surfaces.h"
#include "support/tiff_and_gif_writer.h"

#include <gtest/gtest.h>

#include <ImfChannelList.h>
#include <ImfFloatVectorAttribute.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfOutputFile.h>
#include <ImfPreviewImage.h>
#include <ImfStringVectorAttribute.h>

#include <filesystem>
#include <memory>
#include <tuple>

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

// A file of floats that are all the same, by the outside library.
Raw::Error loadWritten(Raw::MemoryMappedImage* image, Imf::Header header,
                       const std::vector<const char*>& channels) {
    const std::string name = (std::filesystem::temp_directory_path() / "texsmith_channels.exr").string();
    std::vector<float> row(static_cast<std::size_t>(header.dataWindow().max.x) + 1, 0.5f); // for all rows
    {
        Imf::FrameBuffer buffer;
        for (const char* channel : channels) {
            header.channels().insert(channel, Imf::Channel(Imf::FLOAT));
            buffer.insert(channel, Imf::Slice(Imf::FLOAT, reinterpret_cast<char*>(row.data()), 4, 0));
        }
        Imf::OutputFile output(name.c_str(), header);
        output.setFrameBuffer(buffer);
        output.writePixels(header.dataWindow().max.y + 1);
    }
    Configuration configuration;
    const Raw::Error error = Raw::loadWithResult(image, name.c_str(), &configuration, 0);
    std::filesystem::remove(name);
    return error;
}

TEST(Exr, NamesTheChannelsThatItLeaves) {
    const ReportRecorder recorder;
    Raw::MemoryMappedImage image;
    EXPECT_EQ(loadWritten(&image, Imf::Header(8, 4), {"B", "G", "R", "Z", "normal.X"}), Raw::kErrorNone);
    EXPECT_EQ(image.getDataFormat().m_word, Vex::kDataFormatR32G32B32X32Float.m_word);
    ASSERT_EQ(recorder.warnings().size(), 1u);
    EXPECT_NE(recorder.warnings()[0].m_text.find(": Z, normal.X"), std::string::npos);
}

// Which takes a few bytes for a block of 256 lines. The header has an attribute of every type that there is.
TEST(Exr, ReadsOneColourInEveryCompression) {
    constexpr const char* kTypes[] = {"box2f",
                                      "box2i",
                                      "chromaticities",
                                      "compression",
                                      "deepImageState",
                                      "double",
                                      "envmap",
                                      "float",
                                      "int",
                                      "floatvector",
                                      "idmanifest",
                                      "keycode",
                                      "m33d",
                                      "m33f",
                                      "m44d",
                                      "m44f",
                                      "lineOrder",
                                      "preview",
                                      "rational",
                                      "string",
                                      "stringvector",
                                      "v2d",
                                      "tiledesc",
                                      "v2f",
                                      "v2i",
                                      "v3d",
                                      "v3f",
                                      "v3i",
                                      "timecode"};
    for (int compression = 0; compression < Imf::NUM_COMPRESSION_METHODS; ++compression) {
        Imf::Header header(2048, 256);
        header.compression() = static_cast<Imf::Compression>(compression);
        for (const char* type : kTypes) {
            const std::unique_ptr<Imf::Attribute> attribute(Imf::Attribute::newAttribute(type));
            header.insert(std::string("a ") + type, *attribute);
        }
        header.insert("texts", Imf::StringVectorAttribute({"left", "right"}));
        header.insert("numbers", Imf::FloatVectorAttribute({1, 2, 3}));
        header.setPreviewImage(Imf::PreviewImage(5, 3));
        Raw::MemoryMappedImage image;
        EXPECT_EQ(loadWritten(&image, header, {"B", "G", "R"}), Raw::kErrorNone) << compression;
        EXPECT_EQ(image.getPixelsTall(0), 256u);
    }
}

Bytes attribute(const std::string& name, const std::string& type, const Bytes& value) {
    Bytes bytes(name.c_str(), name.c_str() + name.size() + 1);
    bytes.insert(bytes.end(), type.c_str(), type.c_str() + type.size() + 1);
    putLittle(bytes, static_cast<std::uint32_t>(value.size()), 4);
    bytes.insert(bytes.end(), value.begin(), value.end());
    return bytes;
}

Bytes words(std::initializer_list<std::uint32_t> values, std::size_t more = 0) {
    Bytes bytes;
    for (const std::uint32_t value : values) {
        putLittle(bytes, value, 4);
    }
    bytes.resize(bytes.size() + more);
    return bytes;
}

// For which the library would take gigabytes, or read what nobody has checked.
TEST(Exr, RefusesHeadersThatItsLibraryWouldBelieve) {
    const Bytes large = attribute("dataWindow", "box2i", words({0, 0, 16383, 16383}));
    const Bytes small = attribute("dataWindow", "box2i", words({0, 0, 3, 3}));
    constexpr char kSize[] = "an attribute's size does not fit its type", kShort[] = "it is too short";
    const std::tuple<Bytes, Bytes, const char*> kCases[] = {
        {large, attribute("tiles", "tiledesc", words({1, 1}, 1)), kShort},
        {small, attribute("tiles", "tiledesc", words({65536, 65536}, 1)), kShort},
        {large, attribute("channels", "chlist", words({'R', 2, 0, 1, 1}, 0)), kSize},
        {small, attribute("channels", "chlist", {}), kSize},
        {small, attribute("compression", "compression", Bytes(30)), kSize},
        {small, attribute("preview", "preview", words({40000, 40000})), kSize},
        {small, attribute("views", "stringvector", words({1000000})), kSize},
        {small, attribute("list", "floatvector", Bytes(7)), kSize},
        {attribute("dataWindow", "box2i", words({0, 0, 3, 3}, 4)), small, kSize},
        {small, large, "more than once"},
        {small, Bytes{'a', 0, 'b', 0, 255, 255, 255, 127}, "its header is cut"},
        {attribute("owner", "string", {}), {}, "no window"}};
    for (const auto& [first, second, reason] : kCases) {
        const ReportRecorder recorder;
        Bytes file = words({20000630, 2});
        file.insert(file.end(), first.begin(), first.end());
        file.insert(file.end(), second.begin(), second.end());
        file.push_back(0);
        HeapFile heap(file);
        Configuration configuration;
        Raw::MemoryMappedImage image;
        EXPECT_EQ(Raw::convertFromExr(heap.region(), &image, &configuration), Raw::kErrorFailed);
        ASSERT_EQ(recorder.warnings().size(), 1u);
        const std::string text = recorder.warnings()[0].m_text;
        EXPECT_NE(text.find(reason), std::string::npos) << text;
    }
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
}

} // namespace
