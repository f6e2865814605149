#include "support/damaged_files.h"
#include "support/expected_texels.h"
#include "support/png_writer.h"
#include "support/surfaces.h"

#include <gtest/gtest.h>

#include <string_view>

namespace {

using namespace qor::Texsmith;
using namespace TestSupport;

// The system's component has no grey with alpha. Wine's writes no statement about sRGB, and leaves samples of
// 16 bits with their low byte first.
#if defined(_WIN32)
constexpr bool kIsSystemCodec = true;
#else
constexpr bool kIsSystemCodec = false;
#endif

Sample wholeSample(const Bytes& file) { return {"", ".png", file, file.size(), file.size()}; }

struct Kind {
    unsigned m_colorType, m_bits;
    bool m_hasKey; // a transparent colour, or alphas in the palette
    std::uint32_t m_format, m_srgbFormat;
};

// X: there is a channel of zeros that nothing reads.
constexpr std::uint32_t kL8 = Vex::kDataFormatL8Unorm.m_word, kL8Srgb = Vex::kDataFormatL8UnormSrgb.m_word,
                        kL8A8 = Vex::kDataFormatL8A8Unorm.m_word, kL16 = Vex::kDataFormatL16Unorm.m_word,
                        kL16A16 = 0xB24005, kRgba8 = Vex::kDataFormatR8G8B8A8Unorm.m_word,
                        kRgba8Srgb = Vex::kDataFormatR8G8B8A8UnormSrgb.m_word, kRgbx8 = 0x3AC00A,
                        kRgbx8Srgb = 0x3AC90A, kRgba16 = Vex::kDataFormatR16G16B16A16Unorm.m_word,
                        kRgbx16 = 0x3AC00C;
constexpr Kind kKinds[] = {
    {0, 1, false, kL8, kL8Srgb},      {0, 2, false, kL8, kL8Srgb},       {0, 4, true, kL8A8, kRgba8Srgb},
    {0, 8, false, kL8, kL8Srgb},      {0, 8, true, kL8A8, kRgba8Srgb},   {0, 16, false, kL16, kL16},
    {0, 16, true, kL16A16, kL16A16},  {2, 8, false, kRgbx8, kRgbx8Srgb}, {2, 8, true, kRgba8, kRgba8Srgb},
    {2, 16, false, kRgbx16, kRgbx16}, {2, 16, true, kRgba16, kRgba16},   {3, 1, false, kRgbx8, kRgbx8Srgb},
    {3, 2, true, kRgba8, kRgba8Srgb}, {3, 4, false, kRgbx8, kRgbx8Srgb}, {3, 8, true, kRgba8, kRgba8Srgb},
    {4, 8, false, kL8A8, kRgba8Srgb}, {4, 16, false, kL16A16, kL16A16},  {6, 8, false, kRgba8, kRgba8Srgb},
    {6, 16, false, kRgba16, kRgba16},
};

unsigned scramble(unsigned x, unsigned y, unsigned channel) {
    return (x * 40503 + y * 30011 + channel * 9973 + 77) * 2654435761u >> 13;
}

PngWriter writerOf(const Kind& kind, bool isInterlaced) {
    const unsigned most = (1u << kind.m_bits) - 1;
    PngWriter writer{
        13,           11,
        kind.m_bits,  kind.m_colorType,
        isInterlaced, [most](unsigned x, unsigned y, unsigned c) { return scramble(x, y, c) & most; }};
    if (kind.m_colorType == 3) {
        for (unsigned i = 0; i < 3 * (most + 1); ++i) {
            writer.m_palette.push_back(static_cast<std::uint8_t>(scramble(i, 1, 2)));
        }
    }
    if (kind.m_hasKey && kind.m_colorType == 3) {
        writer.m_transparency = {0, 100}; // the other entries are opaque
    } else if (kind.m_hasKey) {           // the colour of a pixel
        for (unsigned c = 0; c < writer.channels(); ++c) {
            const unsigned sample = writer.m_sample(5, 3, c);
            writer.m_transparency.push_back(static_cast<std::uint8_t>(sample >> 8));
            writer.m_transparency.push_back(static_cast<std::uint8_t>(sample & 0xFF));
        }
    }
    return writer;
}

// R, G, B, A of 0 to 65535 for deep pictures, else of 0 to 255.
std::array<std::uint32_t, 4> expectedPixel(const PngWriter& writer, unsigned x, unsigned y) {
    const unsigned most = (1u << writer.m_bits) - 1, scale = (writer.m_bits == 16 ? 65535 : 255) / most;
    const auto sample = [&](unsigned channel) { return writer.m_sample(x, y, channel); };
    if (writer.m_colorType == 3) {
        const unsigned entry = sample(0);
        const bool hasAlpha = entry < writer.m_transparency.size();
        return {writer.m_palette[3 * entry], writer.m_palette[3 * entry + 1], writer.m_palette[3 * entry + 2],
                hasAlpha ? writer.m_transparency[entry] : 255u};
    }
    const bool isGrey = writer.m_colorType % 4 == 0;
    bool isKey = !writer.m_transparency.empty();
    for (unsigned c = 0; c < writer.channels() && isKey; ++c) {
        isKey = sample(c) == unsigned(writer.m_transparency[2 * c] << 8 | writer.m_transparency[2 * c + 1]);
    }
    const unsigned alpha = writer.m_colorType >= 4 ? sample(writer.channels() - 1) : isKey ? 0 : most;
    return {sample(0) * scale, sample(isGrey ? 0 : 1) * scale, sample(isGrey ? 0 : 2) * scale, alpha * scale};
}

TEST(PngReader, GivesEveryKindOfPixelPlainAndInterlaced) {
    for (const Kind& kind : kKinds) {
        for (const unsigned variant : {0u, 1u, 2u, 3u}) {
            SCOPED_TRACE(testing::Message() << kind.m_colorType << " " << kind.m_bits << " " << variant);
            const PngWriter writer = writerOf(kind, variant % 2 != 0);
            const ReportRecorder recorder;
            Configuration configuration;
            configuration.m_textureChannelType =
                variant >= 2 ? Vex::kTextureChannelTypeSrgb : Vex::kTextureChannelTypeUNorm;
            Raw::MemoryMappedImage image;
            HeapFile file(writer.file());
            ASSERT_EQ(Raw::convertFromPng(file.region(), &image, &configuration), Raw::kErrorNone);
            EXPECT_EQ(image.getDataFormat().m_word, variant >= 2 ? kind.m_srgbFormat : kind.m_format);
            EXPECT_EQ(image.getPixelsWide(0), 13u);
            EXPECT_EQ(bytesOf(image),
                      expectedTexels(13, 11, image.getDataFormat(), kind.m_bits == 16 ? 2 : 1,
                                     [&](unsigned x, unsigned y) { return expectedPixel(writer, x, y); }));
            EXPECT_TRUE(recorder.empty());
        }
    }
}

Bytes convertedTo(const Raw::ElementProvider& source, Vex::DataFormat format) {
    Raw::Configuration configuration;
    TestImage image(Raw::changeDataFormat(source.getTexture(), format));
    EXPECT_EQ(Raw::reformat(&source, &image, &configuration), Raw::kErrorNone);
    return image.bytes();
}

Bytes writtenPng(const Raw::Image& image, Raw::EncoderEffort effort = Raw::kEncoderEffortNormal) {
    Configuration configuration;
    configuration.m_encoderConfiguration.m_effort = effort;
    Raw::AllocatedMemory file;
    EXPECT_EQ(Raw::convertToPng(&image, &file, &configuration), Raw::kErrorNone);
    return bytesOf(file);
}

TEST(PngWriterOfTheLibrary, KeepsWhatTheFormatSelects) {
    struct Case {
        const char* m_format;
        std::uint8_t m_bits, m_colorType;
        std::uint32_t m_kept;
    };
    constexpr Case kCases[] = {
        {"L8Unorm", 8, 0, kL8},
        {"L16Unorm", 16, 0, kL16},
        {"L8A8Unorm", 8, kIsSystemCodec ? std::uint8_t{6} : std::uint8_t{4}, kIsSystemCodec ? kRgba8 : kL8A8},
        {"L8UnormSrgb", 8, 0, kL8Srgb},
        {"L8A8UnormSrgb", 8, 6, kRgba8Srgb},
        {"R8Unorm", 8, 2, kRgbx8},
        {"A8Unorm", 8, 6, kRgba8},
        {"B8G8R8X8Unorm", 8, 2, kRgbx8},
        {"B8G8R8A8UnormSrgb", 8, 6, kRgba8Srgb},
        {"R5G6B5Unorm", 8, 2, kRgbx8},
        {"Bc3Unorm", 8, 6, kRgba8},
        {"R10G10B10A2Unorm", 16, 6, kRgba16},
        {"R16G16B16A16Unorm", 16, 6, kRgba16},
        {"R32G32B32A32Float", 16, 6, kRgba16}};
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.m_format);
        const TestImage image(makeFlat(c.m_format, 19, 7), 5);
        const Bytes file = writtenPng(image);
        for (const auto effort : {Raw::kEncoderEffortHigh, Raw::kEncoderEffortBest}) {
            const Bytes smaller = writtenPng(image, effort);
            EXPECT_EQ(loadFront(smaller, smaller.size(), ".png").m_texels,
                      loadFront(file, file.size(), ".png").m_texels);
        }
        EXPECT_EQ(file[24], c.m_bits);
        EXPECT_EQ(file[25], c.m_colorType);
        const bool isSrgb = (c.m_kept & 0xF00) == 0x900;
        const std::string_view text(reinterpret_cast<const char*>(file.data()), file.size());
        EXPECT_TRUE(kIsSystemCodec || (text.find("sRGB") != text.npos) == isSrgb);
        Configuration configuration;
        configuration.m_textureChannelType =
            isSrgb ? Vex::kTextureChannelTypeSrgb : Vex::kTextureChannelTypeUNorm;
        Raw::MemoryMappedImage back;
        HeapFile region(file);
        ASSERT_EQ(Raw::convertFromPng(region.region(), &back, &configuration), Raw::kErrorNone);
        EXPECT_EQ(back.getDataFormat().m_word, c.m_kept);
        Bytes expected = convertedTo(image, {c.m_kept});
        const std::size_t channelBytes = c.m_bits / 8;
        for (std::size_t i = 0; c.m_colorType == 2 && i < expected.size(); ++i) {
            expected[i] = i / channelBytes % 4 == 3 ? std::uint8_t{0} : expected[i]; // no channel reads it
        }
        EXPECT_TRUE(bytesOf(back) == expected || (kIsSystemCodec && c.m_bits == 16));
    }
}

// Formats that read R, G and B from one channel and alpha from any.
TEST(PngWriterOfTheLibrary, KeepsTheAlphaOfGreyFormats) {
    struct Case {
        std::uint32_t m_format, m_kept;
    };
    constexpr Case kCases[] = {{0x924001, kRgba8},  {0x96D003, kRgba8},
                               {0xB24103, kRgba8},  {0xB2400A, kRgba8},
                               {0xB24705, kRgba16}, {kL16A16, kIsSystemCodec ? kRgba16 : kL16A16}};
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.m_format);
        const TestImage image(Raw::changeDataFormat(makeFlat("R8G8B8A8Unorm", 19, 7), {c.m_format}), 5);
        Configuration configuration;
        Raw::MemoryMappedImage back;
        HeapFile file(writtenPng(image));
        ASSERT_EQ(Raw::convertFromPng(file.region(), &back, &configuration), Raw::kErrorNone);
        EXPECT_EQ(back.getDataFormat().m_word, c.m_kept);
        const bool isAsStored = c.m_kept == c.m_format;
        const bool isExact = bytesOf(back) == (isAsStored ? bytesOf(image) : convertedTo(image, {c.m_kept}));
        EXPECT_TRUE(isExact || (kIsSystemCodec && c.m_kept == kRgba16));
    }
}

TEST(PngReader, TakesWhatADamagedFileHas) {
    for (const bool isInterlaced : {false, true}) {
        const Bytes file = writerOf({6, 8, false, 0, 0}, isInterlaced).file();
        if (!kIsSystemCodec) { // which tells nothing of the checksums, and gives all or nothing
            expectCutFilesToGiveWhatTheyHave(wholeSample(file), 0);
        }
        expectHandlersToBeFreeToThrow(file, ".png");
    }
    expectWrongBytesToEndWell(wholeSample(writerOf({3, 4, true, 0, 0}, true).file()));
}

TEST(PngReader, HasOneFrame) {
    Configuration configuration;
    Raw::MemoryMappedImage image;
    HeapFile file(writerOf({6, 8, false, 0, 0}, false).file());
    EXPECT_EQ(Raw::convertFromWic(file.region(), &image, &configuration, Raw::g_wicGuidPng, 1),
              Raw::kErrorWicGetFrame);
}

// The transparent colour has 16 bits a channel in every file.
TEST(PngReader, ComparesNoMoreOfTheTransparentColourThanPixelsHave) {
    for (const unsigned colorType : {0u, 2u}) {
        if (kIsSystemCodec && colorType == 0) {
            continue; // Wine's component makes alpha of it by itself
        }
        PngWriter png{4, 1, 8, colorType, false, [](unsigned x, unsigned, unsigned) { return 5 + x; }};
        png.m_transparency = colorType == 0 ? Bytes{1, 7} : Bytes{1, 7, 1, 7, 1, 7};
        const Bytes file = png.file(), texels = loadFront(file, file.size(), ".png").m_texels;
        const std::size_t elementBytes = texels.size() / 4;
        ASSERT_EQ(elementBytes, colorType + 2u);
        for (std::size_t x = 0; x < 4; ++x) {
            EXPECT_EQ(texels[x * elementBytes + elementBytes - 1], x == 2 ? 0 : 255) << colorType << " " << x;
        }
    }
}

TEST(PngReader, RefusesSizesThatTheFileCannotFill) {
    for (const auto& [width, height] : {std::pair{16385u, 1u}, {1u, 16385u}, {16384u, 16384u}}) {
        PngWriter writer{width, height, 16, 6, false, {}};
        writer.m_hasPixels = false;
        const Bytes file = writer.file();
        const Outcome result = loadFront(file, file.size(), ".png");
        EXPECT_EQ(result.m_error, Raw::kErrorFailed);
        EXPECT_EQ(result.m_warnings, 1u);
        EXPECT_TRUE(result.m_texels.empty());
    }
}

} // namespace
