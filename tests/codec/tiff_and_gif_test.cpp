// What the codecs make of TIFF and GIF files, whichever library they stand on.
#include "support/damaged_files.h"
#include "support/expected_texels.h"
#include "support/surfaces.h"
#include "support/tiff_and_gif_writer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace {

using namespace qor::Texsmith;
using namespace TestSupport;
using Order = TiffWriter::Order;
using Lanes = std::array<std::uint32_t, 4>;

std::uint32_t scramble(unsigned x, unsigned y, unsigned channel) {
    return (x * 40503 + y * 30011 + channel * 9973 + 77) * 2654435761u;
}

constexpr unsigned kInverted = 0, kGrey = 1, kRgb = 2, kPalette = 3;
struct TiffKind {
    unsigned m_photometric, m_bits, m_samples;
    bool m_isFloat, m_hasAlpha;
    Order m_order;
    std::uint32_t m_format;
};
constexpr std::uint32_t kL8 = Vex::kDataFormatL8Unorm.m_word, kL16 = Vex::kDataFormatL16Unorm.m_word,
                        kRgbx8 = 0x3AC00A, kRgba8 = Vex::kDataFormatR8G8B8A8Unorm.m_word, kRgbx16 = 0x3AC00C,
                        kRgba16 = Vex::kDataFormatR16G16B16A16Unorm.m_word;
constexpr TiffKind kTiffKinds[] = {
    {kGrey, 1, 1, false, false, Order::kStrips, kL8},
    {kInverted, 1, 1, false, false, Order::kStrips, kL8},
    {kGrey, 4, 1, false, false, Order::kStrips, kL8},
    {kGrey, 8, 1, false, false, Order::kTiles, kL8},
    {kInverted, 8, 1, false, false, Order::kStrips, kL8},
    {kGrey, 16, 1, false, false, Order::kStrips, kL16},
    {kPalette, 4, 1, false, false, Order::kStrips, kRgbx8},
    {kPalette, 8, 1, false, false, Order::kStrips, kRgbx8},
    {kRgb, 8, 3, false, false, Order::kStrips, kRgbx8},
    {kRgb, 8, 4, false, true, Order::kStrips, kRgba8},
    {kRgb, 8, 4, false, true, Order::kTiles, kRgba8},
    {kRgb, 16, 3, false, false, Order::kStrips, kRgbx16},
    {kRgb, 16, 4, false, true, Order::kStrips, kRgba16},
#if !defined(_WIN32) // what the system's component declines, or does not know
    {kGrey, 8, 2, false, true, Order::kStrips, Vex::kDataFormatL8A8Unorm.m_word},
    {kRgb, 8, 3, false, false, Order::kPlanes, kRgbx8},
    {kRgb, 16, 4, false, true, Order::kPlanes, kRgba16},
    {kGrey, 32, 1, true, false, Order::kStrips, Vex::kDataFormatL32Float.m_word},
    {kRgb, 32, 3, true, false, Order::kTiles, Vex::kDataFormatR32G32B32X32Float.m_word},
    {kRgb, 32, 4, true, true, Order::kStrips, Vex::kDataFormatR32G32B32A32Float.m_word},
    {kRgb, 16, 3, true, false, Order::kStrips, Vex::kDataFormatR16G16B16X16Float.m_word},
#endif
};

TiffWriter writerOf(const TiffKind& kind) {
    TiffWriter writer{
        35,
        18,
        kind.m_photometric,
        kind.m_bits,
        kind.m_samples,
        kind.m_isFloat,
        kind.m_hasAlpha,
        kind.m_order,
        [&kind](unsigned x, unsigned y, unsigned c) { return scramble(x, y, c) >> (32 - kind.m_bits); }};
    for (unsigned i = 0; kind.m_photometric == kPalette && i < 3u << kind.m_bits; ++i) {
        writer.m_palette.push_back(static_cast<std::uint16_t>((scramble(i, 1, 2) >> 24) * 257));
    }
    return writer;
}

Lanes tiffLanes(const TiffWriter& writer, unsigned x, unsigned y) {
    const unsigned entry = writer.m_sample(x, y, 0);
    if (writer.m_photometric == kPalette) {
        const auto channel = [&](unsigned c) { return writer.m_palette[(c << writer.m_bits) + entry] >> 8; };
        return {std::uint32_t(channel(0)), std::uint32_t(channel(1)), std::uint32_t(channel(2)), 0};
    }
    const bool isColor = writer.m_photometric == kRgb;
    Lanes lanes{};
    for (unsigned c = 0; c < 3; ++c) {
        const std::uint32_t most = writer.m_bits == 32 ? ~0u : (1u << writer.m_bits) - 1;
        lanes[c] = writer.m_sample(x, y, isColor ? c : 0) ^ (writer.m_photometric == kInverted ? most : 0);
        lanes[c] *= writer.m_bits < 8 ? 255 / most : 1;
    }
    lanes[3] = writer.m_sample(x, y, writer.m_samples - 1);
    return lanes;
}

TEST(TiffReader, GivesEveryKindOfPixel) {
    for (const TiffKind& kind : kTiffKinds) {
        SCOPED_TRACE(testing::Message() << kind.m_photometric << " " << kind.m_bits << " " << kind.m_samples
                                        << " " << int(kind.m_order));
        const ReportRecorder recorder;
        const TiffWriter writer = writerOf(kind);
        Configuration configuration;
        Raw::MemoryMappedImage image;
        HeapFile file(writer.file());
        EXPECT_EQ(Raw::loadWithResult(&image, file.region(), ".tif", &configuration, 0), Raw::kErrorNone)
            << recorder.texts();
        EXPECT_EQ(image.getDataFormat().m_word, kind.m_format);
        EXPECT_EQ(bytesOf(image),
                  expectedTexels(35, 18, image.getDataFormat(), std::max(8u, kind.m_bits) / 8,
                                 [&](unsigned x, unsigned y) { return tiffLanes(writer, x, y); }));
        EXPECT_TRUE(recorder.empty()) << recorder.texts();
    }
}

GifWriter gifOf(std::vector<GifWriter::Image> images) {
    GifWriter writer{std::move(images), [](unsigned x, unsigned y) { return (x * 7 + y * 31) % 256; }, {}};
    for (unsigned i = 0; i < 768; ++i) {
        writer.m_palette.push_back(static_cast<std::uint8_t>(scramble(i, 3, 4) >> 24));
    }
    return writer;
}

Raw::Error loadFrame(Raw::MemoryMappedImage* image, const Bytes& bytes, const Raw::WicGuid& guid, int index) {
    Configuration configuration;
    HeapFile file(bytes);
    return Raw::convertFromWic(file.region(), image, &configuration, guid, index);
}

TEST(GifReader, GivesImagesByIndexWithWhatIsTransparent) {
    const GifWriter writer = gifOf({{31, 17, false, -1}, {9, 22, true, 70}, {5, 3, false, 0}});
    for (unsigned i = 0; i < writer.m_images.size(); ++i) {
        SCOPED_TRACE(i);
        const GifWriter::Image& picture = writer.m_images[i];
        const ReportRecorder recorder;
        Raw::MemoryMappedImage image;
        ASSERT_EQ(loadFrame(&image, writer.file(), Raw::g_wicGuidGif, int(i)), Raw::kErrorNone)
            << recorder.texts();
        EXPECT_EQ(image.getDataFormat().m_word, picture.m_transparent < 0 ? kRgbx8 : kRgba8);
        const Bytes expected = expectedTexels(
            picture.m_width, picture.m_height, image.getDataFormat(), 1, [&](unsigned x, unsigned y) {
                const unsigned entry = writer.m_index(x, y);
                const std::uint8_t* color = &writer.m_palette[3 * entry];
                return Lanes{color[0], color[1], color[2], int(entry) == picture.m_transparent ? 0u : 255u};
            });
        EXPECT_EQ(bytesOf(image), expected);
    }
}

TEST(FrameIndices, BeyondTheLastAreRefused) {
    TiffWriter pages = writerOf(kTiffKinds[8]);
    pages.m_pages = 2;
    const std::pair<Bytes, Raw::WicGuid> files[] = {
        {pages.file(), Raw::g_wicGuidTif},
        {gifOf({{3, 3, false, -1}, {4, 4, false, -1}}).file(), Raw::g_wicGuidGif}};
    for (const auto& [file, guid] : files) {
        const ReportRecorder recorder;
        Raw::MemoryMappedImage first, second, third;
        EXPECT_EQ(loadFrame(&first, file, guid, 0), Raw::kErrorNone);
        EXPECT_EQ(loadFrame(&second, file, guid, 1), Raw::kErrorNone);
        EXPECT_NE(bytesOf(first), bytesOf(second));
        EXPECT_EQ(loadFrame(&third, file, guid, 2), Raw::kErrorWicGetFrame);
        EXPECT_EQ(loadFrame(&third, file, guid, -1), Raw::kErrorWicGetFrame);
        ASSERT_EQ(recorder.warnings().size(), 2u);
        EXPECT_NE(recorder.warnings()[1].m_text.find("has 2 images"), std::string::npos);
    }
}

Raw::Error loadSaved(Raw::MemoryMappedImage* back, const Raw::Image& image, const char* extension) {
    Configuration configuration;
    configuration.m_textureChannelType = image.getDataFormat().getTextureChannelType();
    Raw::AllocatedMemory file;
    EXPECT_EQ(Raw::saveWithResult(&image, &file, extension, &configuration), Raw::kErrorNone);
    return Raw::loadWithResult(back, &file, extension, &configuration, 0);
}

#if defined(_WIN32) // Wine's component drops it
constexpr bool kWritesTransparency = false;
#else
constexpr bool kWritesTransparency = true;
#endif

TEST(Writers, KeepTexelsInTiffAndFewColoursInGif) {
    constexpr const char* kFormats[] = {
        "L8Unorm",
        "R8G8B8A8Unorm",
        "R8G8B8A8UnormSrgb",
        "R16G16B16A16Unorm",
#if !defined(_WIN32) // Wine's component cannot write it
        "L16Unorm",
#endif
    };
    for (const char* format : kFormats) {
        SCOPED_TRACE(format);
        const TestImage image(makeFlat(format, 61, 23), 5);
        Raw::MemoryMappedImage back;
        ASSERT_EQ(loadSaved(&back, image, ".tif"), Raw::kErrorNone);
        EXPECT_EQ(back.getDataFormat(), image.getDataFormat());
        EXPECT_EQ(bytesOf(back), bytesOf(image));
    }
    TestImage image(makeFlat("R8G8B8A8Unorm", 30, 40));
    for (std::size_t i = 0; i < image.bytes().size(); i += 4) { // 255 colours and nothing
        const auto value = static_cast<std::uint8_t>(i / 4 % 256);
        const bool isClear = value == 255 && kWritesTransparency;
        const std::uint8_t texel[] = {value, std::uint8_t(value * 3), std::uint8_t(255 - value), 255};
        for (unsigned c = 0; c < 4; ++c) {
            image.bytes()[i + c] = isClear ? std::uint8_t{0} : texel[c];
        }
    }
    Raw::MemoryMappedImage back;
    ASSERT_EQ(loadSaved(&back, image, ".gif"), Raw::kErrorNone);
    Bytes expected = image.bytes();
    for (std::size_t i = 3; i < expected.size() && !kWritesTransparency; i += 4) {
        expected[i] = 0; // no channel reads it
    }
    EXPECT_EQ(bytesOf(back), expected);
}

// 256 boxes of a smooth ramp of 64 x 64 x 2 colours are no longer than four steps of eight.
TEST(Writers, BringManyColoursToTheNearestInGif) {
    TestImage image(makeFlat("R8G8B8A8Unorm", 64, 64));
    for (unsigned i = 0; i < 64 * 64; ++i) {
        const unsigned x = i % 64, y = i / 64;
        const std::uint8_t texel[] = {std::uint8_t(x * 4), std::uint8_t(y * 4), std::uint8_t(x / 32 * 200),
                                      255};
        std::copy_n(texel, 4, image.bytes().begin() + 4 * i);
    }
    Raw::MemoryMappedImage back;
    ASSERT_EQ(loadSaved(&back, image, ".gif"), Raw::kErrorNone);
    ASSERT_EQ(back.getDataFormat().m_word, kRgbx8);
    const Bytes texels = bytesOf(back);
    int largest = 0;
    for (std::size_t i = 0; i < texels.size(); ++i) {
        largest = std::max(largest, i % 4 == 3 ? 0 : std::abs(texels[i] - image.bytes()[i]));
    }
    EXPECT_GT(largest, 0);
    EXPECT_LE(largest, 16);
}

#if !defined(_WIN32)
TEST(TiffAndGifReaders, ReadWhatOtherWritersMake) {
    for (const char* folder : {"tiff", "gif"}) {
        const std::string path = std::string(TEXSMITH_SOURCE_DIR "/fuzz/corpus/") + folder;
        for (const auto& entry : std::filesystem::directory_iterator(path)) {
            const ReportRecorder recorder;
            Configuration configuration;
            Raw::MemoryMappedImage image;
            const std::string name = entry.path().string();
            EXPECT_EQ(Raw::loadWithResult(&image, name.c_str(), &configuration, 0), Raw::kErrorNone) << name;
            EXPECT_EQ(image.getPixelsWide(0), 24u) << name;
        }
    }
}

void setTag(Bytes& file, unsigned tag, std::uint32_t value) {
    const Bytes entry{std::uint8_t(tag & 255), std::uint8_t(tag >> 8), 3, 0, 1, 0, 0, 0};
    const auto at = std::search(file.begin(), file.end(), entry.begin(), entry.end());
    ASSERT_NE(at, file.end());
    at[2] = 4; // of 32 bits
    std::memcpy(&at[8], &value, 4);
}

// Each of 1024 tiles would unpack to 64 MiB.
TEST(TiffReader, RefusesTilesThatHoldMoreThanTheFile) {
    const TiffWriter writer{
        16384, 16, kGrey, 1, 1, false, false, Order::kTiles, [](unsigned, unsigned, unsigned) { return 0u; }};
    Bytes file = writer.file();
    setTag(file, 259, 4);
    setTag(file, 323, 1u << 25);
    const Outcome outcome = loadFront(file, file.size(), ".tif");
    EXPECT_TRUE(outcome.m_texels.empty() && outcome.m_warnings == 1u);
}

// As densely as they can be packed, in strips of which the last is shorter: each pair of bytes is 128 pixels.
TEST(TiffReader, GivesPicturesOfOneGrey) {
    const TiffWriter writer{
        256, 66, kGrey, 8, 1, false, false, Order::kStrips, [](unsigned x, unsigned, unsigned) {
            return x % 2 == 0 ? 0x81u : 7u;
        }};
    Bytes file = writer.file();
    setTag(file, 256, 128 * 128);
    setTag(file, 259, 32773);
    EXPECT_TRUE(loadFront(file, file.size(), ".tif").m_texels == Bytes(128 * 128 * 66, 7));
}

// How much of a damaged file there is differs from library to library
TEST(TiffAndGifReaders, TakeWhatADamagedFileHas) {
    const Bytes gif = gifOf({{12, 9, true, 4}}).file();
    const Sample sample{"", ".gif", gif, gif.size() - 2, gif.size()};
    expectCutFilesToGiveWhatTheyHave(sample, 4 * 12 * 9); // they come in blocks of 255 bytes
    expectWrongBytesToEndWell(sample);
    expectHandlersToBeFreeToThrow(gif, ".gif");
    for (const unsigned kind : {6u, 10u, 12u}) {
        TiffWriter writer = writerOf(kTiffKinds[kind]);
        writer.m_width = 7;
        writer.m_height = 6;
        const Bytes tiff = writer.file();
        expectWrongBytesToEndWell({"", ".tif", tiff, tiff.size(), tiff.size()});
        for (std::size_t length = 0; length < tiff.size() - 4; ++length) { // the directory stands at the end
            EXPECT_EQ(loadFront(tiff, length, ".tif").m_warnings, 1u) << length;
        }
    }
    TiffWriter writer = writerOf(kTiffKinds[4]); // whose zeros are white
    writer.m_width = 7;
    writer.m_height = 6;
    Bytes lacking = writer.file();
    const Bytes places = {8, 0, 0, 0, 43, 0, 0, 0}; // of the strips, of which the second holds a row
    *(std::search(lacking.begin(), lacking.end(), places.begin(), places.end()) + 6) = 1;
    const Bytes texels = loadFront(lacking, lacking.size(), ".tif").m_texels;
    ASSERT_EQ(texels.size(), 42u);
    EXPECT_EQ(Bytes(texels.end() - 7, texels.end()), Bytes(7));
}
#endif

} // namespace
