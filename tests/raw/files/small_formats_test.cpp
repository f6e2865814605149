// HDR, PFM, BMP and TSH: files built byte by byte, and what becomes of them when they are cut or changed.
#include "support/damaged_files.h"
#include "support/surfaces.h"

#include <cmath>
#include <random>

namespace {

using namespace qor;
using namespace qor::Texsmith::Raw;
using namespace TestSupport;

Bytes operator+(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}
Bytes bytes(const std::string& text) { return Bytes(text.begin(), text.end()); }

Error loadFile(ReallocatableImage* image, const Bytes& file, const char* extension) {
    Configuration configuration;
    HeapFile heap(file);
    return loadWithResult(image, heap.region(), extension, &configuration, 0);
}
Bytes saveFile(Image& image, const char* extension) {
    Configuration configuration;
    AllocatedMemory file;
    file.resize(7); // other than it will be
    EXPECT_EQ(save(&image, &file, extension, &configuration), 0);
    return bytesOf(file);
}
template <typename Word> std::vector<Word> wordsOf(const Image& image) {
    std::vector<Word> words(image.getBytesTotal() / sizeof(Word));
    std::memcpy(words.data(), image.getMemoryRegion().begin, words.size() * sizeof(Word));
    return words;
}

// ---- HDR

Bytes hdrFile(const std::string& resolution, const Bytes& pixels) {
    return bytes("#?RADIANCE\n# a remark\nFORMAT=32-bit_rle_rgbe\nEXPOSURE=2\n\n" + resolution + "\n") +
           pixels;
}
Bytes hdrFile(unsigned width, unsigned height, const Bytes& pixels) {
    return hdrFile("-Y " + std::to_string(height) + " +X " + std::to_string(width), pixels);
}
std::vector<std::uint32_t> loadHdr(const Bytes& file) {
    MemoryMappedImage image;
    EXPECT_EQ(loadFile(&image, file, ".hdr"), kErrorNone);
    EXPECT_EQ(image.getDataFormat(), Vex::kDataFormatR9G9B9E5Float);
    return wordsOf<std::uint32_t>(image);
}

// Packets of all lengths, whose last one may run past the line.
Bytes packComponents(const Bytes& pixels, std::size_t width, std::minstd_rand& random) {
    Bytes packed = {2, 2, std::uint8_t(width >> 8), std::uint8_t(width)};
    for (std::size_t component = 0; component < 4; ++component) {
        for (std::size_t x = 0; x < width;) {
            const std::size_t most = random() % 3 == 0 ? 129 : 20, count = random() % most;
            const auto at = [&](std::size_t i) {
                return i < width ? pixels[4 * i + component] : std::uint8_t(9);
            };
            std::size_t equal = 1;
            while (equal < 127 && x + equal < width && at(x + equal) == at(x)) {
                ++equal;
            }
            if (equal > 3) {
                equal += x + equal == width && equal < 120 ? 5 : 0;
                packed = packed + Bytes{std::uint8_t(128 + equal), at(x)};
                x += equal;
            } else {
                packed.push_back(std::uint8_t(count));
                for (std::size_t i = 0; i < count; ++i) {
                    packed.push_back(at(x++));
                }
            }
        }
    }
    return packed;
}

TEST(Hdr, RunsByComponentGiveThePixelsOfAFlatFile) {
    std::minstd_rand random(1);
    for (const unsigned width : {8u, 9u, 31u, 128u, 130u, 300u, 1000u}) {
        Bytes flat, packed;
        for (unsigned y = 0; y < 3; ++y) {
            Bytes line(4 * width);
            for (std::size_t i = 0; i < line.size(); ++i) { // below 3 only the first
                line[i] = i >= 4 && random() % 4 != 0 ? line[i - 4] : std::uint8_t(random() % 250 + 3);
            }
            flat = flat + line;
            packed = packed + packComponents(line, width, random);
        }
        EXPECT_EQ(loadHdr(hdrFile(width, 3, packed)), loadHdr(hdrFile(width, 3, flat))) << width;
    }
}

TEST(Hdr, LinesWithoutComponentsTakeRunsOfPixels) {
    const auto pixel = [](unsigned m, unsigned e) { return m * (1u + 512 + 512 * 512) | e << 27; };
    struct Case {
        unsigned m_width;
        Bytes m_pixels;
        std::vector<std::uint32_t> m_texels;
    };
    const Case kCases[] = {
        // too narrow for components: the first pixel is (2, 2, 0, 7)
        {7, {2, 2, 0, 7, 1, 1, 1, 6}, std::vector<std::uint32_t>(7, 5 | 5 << 9)},
        // a run before any pixel repeats zeros
        {2, {1, 1, 1, 1, 3, 3, 3, 115}, {0, pixel(7, 1)}},
        // one behind another counts 256-fold, and a pixel between them ends that
        {260, Bytes{3, 3, 3, 115, 1, 1, 1, 2, 1, 1, 1, 1, 4, 4, 4, 200},
         std::vector<std::uint32_t>(259, pixel(7, 1))},
        // cut at the end of the line
        {3, {3, 3, 3, 0, 1, 1, 1, 200}, std::vector<std::uint32_t>(3, pixel(7, 0))},
        // the fifth in a row is the rest of the line, whatever it counts
        {4,
         {9, 9, 9, 116, 1, 1, 1, 0, 1, 1, 1, 0, 1, 1, 1, 0, 1, 1, 1, 0, 1, 1, 1, 0},
         std::vector<std::uint32_t>(4, pixel(19, 2))},
        // zero mantissas stay, exponents are clamped
        {3,
         {0, 255, 0, 255, 128, 0, 0, 1, 2, 2, 128, 145},
         {511 << 9 | 31u << 27, 257, 5 | 5 << 9 | 257 << 18 | 31u << 27}},
    };
    for (Case testCase : kCases) {
        if (testCase.m_texels.size() < testCase.m_width) {
            testCase.m_texels.push_back(pixel(9, 31));
        }
        EXPECT_EQ(loadHdr(hdrFile(testCase.m_width, 1, testCase.m_pixels)), testCase.m_texels)
            << testCase.m_width;
    }
}

TEST(Hdr, PixelsStandForTheMiddleOfTheirStep) {
    Bytes pixels;
    for (unsigned e = 0; e < 32; ++e) {
        for (unsigned m = 0; m < 256; ++m) {
            pixels = pixels + Bytes{std::uint8_t(m), std::uint8_t(255 - m), 0, std::uint8_t(114 + e)};
        }
    }
    MemoryMappedImage image, floats;
    ASSERT_EQ(loadFile(&image, hdrFile(256, 32, pixels), ".hdr"), kErrorNone);
    ASSERT_EQ(loadFile(&floats, saveFile(image, ".pfm"), ".pfm"), kErrorNone);
    const std::vector<float> values = wordsOf<float>(floats);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        const double middle = pixels[i] == 0 ? 0.0 : pixels[i] + 0.5;
        if (i % 4 != 3) {
            EXPECT_EQ(values[i], static_cast<float>(std::ldexp(middle, pixels[i | 3] - 136)));
        }
    }
    const Bytes again = saveFile(image, ".hdr");
    EXPECT_EQ(again, bytes("#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 32 +X 256\n") + pixels);
    MemoryMappedImage fromFloats; // the writer converts
    ASSERT_EQ(loadFile(&fromFloats, saveFile(floats, ".hdr"), ".hdr"), kErrorNone);
    EXPECT_EQ(fromFloats.getPixelsWide(0), 256u);
}

TEST(Hdr, SignsOfTheAxesTurnThePicture) {
    const Bytes pixels = {3, 0, 0, 114, 4, 0, 0, 114, 5, 0, 0, 114, 6, 0, 0, 114};
    const std::pair<const char*, std::vector<std::uint32_t>> kCases[] = {
        {"-Y 2 +X 2", {7, 9, 11, 13}},
        {"+Y 2 +X 2", {11, 13, 7, 9}},
        {"-Y 2 -X 2", {9, 7, 13, 11}},
        {"?Y2\t*X   2 and more", {13, 11, 9, 7}},
    };
    for (const auto& [resolution, texels] : kCases) {
        EXPECT_EQ(loadHdr(hdrFile(resolution, pixels)), texels) << resolution;
    }
}

TEST(Hdr, OtherHeadersAreReportedOrRefused) {
    const std::string kMagic = "File is not a valid RGBE format file.\n";
    const std::string kXyz = "Only 32-bit_rle_rgbe formatted RGBE files are supported at this time.\n";
    struct Case {
        std::string m_file;
        Error m_error;
        std::string m_reports;
        std::size_t m_warnings;
    };
    const Case kCases[] = {
        {"", kErrorFailed, kMagic, 0},
        {"#?RGBE\nFORMAT=32-bit_rle_xyze\n\n-Y 1 +X 1\nabcd", kErrorFailed, kMagic + kXyz, 0}, // goes on
        {"#?RADIANCE\n\n", kErrorFailed, "", 1},
        {"#?RADIANCE\n" + std::string(1023, 'x') + "\n\n-Y 1 +X 1\nabcd", kErrorNone, "", 0},
        {std::string(2000, '\0') + "\n\n-Y 1 +X 1\nabcd", kErrorFailed, kMagic, 0},
        {"#?RADIANCE\n\n-X 1 +Y 1\nabcd", kErrorFailed, "", 1},
        {"#?RADIANCE\n\n-Y  +X 1\nabcd", kErrorFailed, "", 1},
        {"#?RADIANCE\n\n-Y 1 +X 99999999999999999999\nabcd", kErrorFailed, "", 1},
        {"#?RADIANCE\n\n-Y 0 +X 1\nabcd", kErrorFailed, "", 1},
        {"#?RADIANCE\n\n-Y 16385 +X 1\nabcd", kErrorFailed, "", 1},
    };
    for (const Case& testCase : kCases) {
        const ReportRecorder recorder;
        MemoryMappedImage image;
        EXPECT_EQ(loadFile(&image, bytes(testCase.m_file), ".hdr"), testCase.m_error) << testCase.m_file;
        EXPECT_EQ(recorder.texts(), testCase.m_reports);
        EXPECT_EQ(recorder.warnings().size(), testCase.m_warnings);
        EXPECT_EQ(image.getBytesTotal(), testCase.m_warnings == 0 && !testCase.m_file.empty() ? 4u : 0u);
    }
}

// ---- PFM

TEST(Pfm, FloatsAreTakenAsTheyLie) {
    Bytes floats;
    for (unsigned i = 0; i < 36; ++i) {
        floats.push_back(std::uint8_t(i * 37)); // among them what is no number
    }
    MemoryMappedImage image;
    ASSERT_EQ(loadFile(&image, bytes(" Pf 3\t3 \r\n2.5\n") + floats, ".pfm"), kErrorNone);
    EXPECT_EQ(image.getDataFormat(), Vex::kDataFormatL32Float);
    EXPECT_EQ(bytesOf(image), floats);
    ASSERT_EQ(loadFile(&image, bytes("PF 3 1 +1e9x ") + floats, ".pfm"), kErrorNone);
    EXPECT_EQ(image.getDataFormat(), Vex::kDataFormatR32G32B32X32Float);
    EXPECT_EQ(saveFile(image, ".pfm"), bytes("PF\n3 1\n-1.0\n") + floats);
    Bytes wide;
    for (std::size_t i = 0; i < 36; i += 12) {
        wide = wide + Bytes(&floats[i], &floats[i] + 12) + Bytes(4);
    }
    EXPECT_EQ(bytesOf(image), wide);
    Configuration configuration;
    AllocatedMemory grey;
    ASSERT_EQ(convertToPfm(&image, &grey, kPfmChannels1, &configuration), kErrorNone);
    const Bytes file = bytesOf(grey), header = bytes("Pf\n3 1\n-1.0\n");
    EXPECT_EQ(Bytes(file.begin(), file.begin() + 12), header);
    EXPECT_EQ(file.size(), header.size() + 12);
}

TEST(Pfm, FaultsAreRefusedBeforeThereIsAnImage) {
    for (const char* header : {"", "P5 1 1 1 ", "PFx 1 1 1 ", "PF 1 1 abc ", "PF x 1 1 ", "PF 1", "PF 0 1 1 ",
                               "PF -1 1 1 ", "PF 16385 1 1 ", "PF 1 4294967297 1 ", "PF 16384 16384 1 ",
                               "PF 1 2 1 ", "PF 1 0000000000000001 1 ", "PF 1 1 1.00000000000000 "}) {
        const ReportRecorder recorder;
        MemoryMappedImage image;
        EXPECT_EQ(loadFile(&image, bytes(header) + Bytes(12), ".pfm"), kErrorFailed) << header;
        EXPECT_EQ(recorder.warnings().size(), 1u);
        EXPECT_EQ(image.getBytesTotal(), 0u);
    }
}

// ---- BMP

constexpr std::uint32_t kBgrx = Vex::kDataFormatB8G8R8X8Unorm.m_word,
                        kBgra = Vex::kDataFormatB8G8R8A8Unorm.m_word;

struct BmpWriter {
    unsigned m_bits = 24, m_compression = 0, m_headerBytes = 40;
    int m_width = 3, m_height = 2;
    Bytes m_behindHeader{}, m_texels{};

    Bytes file() const {
        Bytes header(14 + std::size_t(m_headerBytes));
        const auto put = [&header](std::size_t at, unsigned count, unsigned value) {
            for (unsigned i = 0; i < count; ++i) {
                header[at + i] = std::uint8_t(value >> 8 * i);
            }
        };
        const bool isOld = m_headerBytes == 12;
        put(0, 2, 0x4D42);
        put(10, 4, unsigned(header.size() + m_behindHeader.size()));
        put(14, 4, m_headerBytes);
        put(18, isOld ? 2 : 4, unsigned(m_width));
        put(isOld ? 20 : 22, isOld ? 2 : 4, unsigned(m_height));
        put(isOld ? 24 : 28, 2, m_bits);
        if (!isOld) {
            put(30, 4, m_compression);
        }
        return header + m_behindHeader + m_texels;
    }
};

// Entry i is (i + 1, i + 17, i + 33).
Bytes palette(unsigned entries, unsigned entryBytes) {
    Bytes all;
    for (unsigned i = 0; i < entries; ++i) {
        const Bytes entry = {std::uint8_t(i + 1), std::uint8_t(i + 17), std::uint8_t(i + 33), 0};
        all.insert(all.end(), entry.begin(), entry.begin() + entryBytes);
    }
    return all;
}
constexpr std::uint32_t entry(unsigned i) { return (i + 1) | (i + 17) << 8 | (i + 33) << 16; }

const BmpWriter kBmpRuns8{
    8, 1, 40, 4, 3, palette(256, 4), {2, 7, 0, 0, 0, 3, 1, 2, 3, 0, 9, 5, 0, 0, 0, 2, 1, 0, 1, 4, 0, 1}};
const BmpWriter kBmpRuns4{4, 2, 40, 7, 2, palette(16, 4), {5, 0x12, 0, 0, 0, 5, 0x34, 0x56, 0x70, 0, 0, 1}};

TEST(Bmp, KindsOfPixelsComeToFourBytes) {
    struct Case {
        BmpWriter m_writer;
        std::uint32_t m_format;
        std::vector<std::uint32_t> m_texels;
    };
    const Case kCases[] = {
        {{24, 0, 40, 3, 2, {}, {1, 2, 3, 4, 5, 6, 7, 8, 9, 0, 0, 0, 11, 12, 13, 14, 15, 16, 17, 18, 19}},
         kBgrx,
         {0x0D0C0B, 0x100F0E, 0x131211, 0x030201, 0x060504, 0x090807}},
        {{32, 0, 40, 1, -2, {}, {1, 2, 3, 4, 5, 6, 7, 8}}, kBgrx, {0x04030201, 0x08070605}},
        {{1, 0, 12, 10, 1, palette(2, 3) + Bytes(32), {0x5A, 0x40, 0, 0}}, // an old header and its short
                                                                           // entries
         kBgrx,
         {entry(0), entry(1), entry(0), entry(1), entry(1), entry(0), entry(1), entry(0), entry(0),
          entry(1)}},
        {{16, 0, 40, 2, 1, {}, {0xFF, 0x7F, 0x10, 0x04}}, kBgrx, {0xFFFFFF, 0x080084}},
        {{16, 6, 40, 1, 1, {0, 0xF, 0, 0, 0xF0, 0, 0, 0, 0xF, 0, 0, 0, 0, 0xF0, 0, 0}, {0x21, 0x43, 0, 0}},
         kBgra,
         {0x44332211}},
        {{32, 3, 40, 1, 1, {0, 0, 0xF0, 0x3F, 0, 0xFC, 0x0F, 0, 0xFF, 3, 0, 0}, {0xFF, 0x03, 0x08, 0x20}},
         kBgrx, // ten bits a channel
         {0x8080FF}},
        {kBmpRuns8,
         kBgrx,
         {0, entry(4), 0, 0, entry(1), entry(2), entry(3), entry(5), entry(7), entry(7), 0, 0}},
        {kBmpRuns4,
         kBgrx,
         {entry(3), entry(4), entry(5), entry(6), entry(7), 0, 0, entry(1), entry(2), entry(1), entry(2),
          entry(1), 0, 0}},
    };
    for (const Case& testCase : kCases) {
        const ReportRecorder recorder;
        MemoryMappedImage image;
        EXPECT_EQ(loadFile(&image, testCase.m_writer.file(), ".bmp"), kErrorNone);
        EXPECT_EQ(image.getDataFormat().m_word, testCase.m_format);
        EXPECT_EQ(wordsOf<std::uint32_t>(image), testCase.m_texels)
            << testCase.m_writer.m_bits << " " << testCase.m_writer.m_compression;
        EXPECT_TRUE(recorder.warnings().empty());
    }
}

TEST(Bmp, WhatIsWrittenLoadsAsItWas) {
    for (const unsigned width : {1u, 2u, 3u, 4u, 9u, 17u, 31u, 42u}) {
        for (const std::uint32_t format : {kBgrx, kBgra, Vex::kDataFormatB8G8R8A8UnormSrgb.m_word}) {
            TestImage image(makeTexture({"", Vex::kTextureType2dArray, width, 3, 1, 1, 0, 1}, {format}),
                            width);
            MemoryMappedImage back;
            for (std::size_t i = 3; format == kBgrx && i < image.bytes().size(); i += 4) {
                image.bytes()[i] = 0;
            }
            ASSERT_EQ(loadFile(&back, saveFile(image, ".bmp"), ".bmp"), kErrorNone);
            EXPECT_EQ(back.getDataFormat().m_word, format & ~0xF00u);
            EXPECT_EQ(bytesOf(back), bytesOf(image)) << width;
        }
    }
}

TEST(Bmp, OtherFilesAreRefused) {
    const BmpWriter kCases[] = {{24, 4},           {24, 1},
                                {16, 2},           {2},
                                {8, 0, 20},        {24, 0, 40, -1},
                                {24, 0, 40, 0},    {24, 0, 40, 20000},
                                {24, 0, 40, 1, 0}, {24, 0, 40, 1, INT32_MIN}};
    for (const BmpWriter& writer : kCases) {
        const ReportRecorder recorder;
        MemoryMappedImage image;
        EXPECT_EQ(loadFile(&image, writer.file() + Bytes(64), ".bmp"), kErrorFailed);
        EXPECT_EQ(image.getBytesTotal(), 0u);
        EXPECT_EQ(recorder.warnings().size(), 1u);
    }
    MemoryMappedImage image;
    EXPECT_EQ(loadFile(&image, Bytes(53, 'B'), ".bmp"), kErrorFailed);
}

// ---- TSH

TEST(Tsh, TheShapeComesBackWithoutTexels) {
    TestImage image(
        makeTexture({"", Vex::kTextureTypeCubemap, 40, 24, 3, 4, 0, 0}, Vex::kDataFormatBc1UnormSrgb));
    MemoryMappedImage back;
    const Bytes file = saveFile(image, ".tsh");
    ASSERT_EQ(loadFile(&back, file, ".tsh"), kErrorNone);
    EXPECT_EQ(back.getBytesTotal(), image.getBytesTotal());
    EXPECT_EQ(saveFile(back, ".tsh"), file);
    EXPECT_EQ(file.back(), '}'); // no terminator
    for (const char* text : {"", "5", "{\"DataFormat\":5}", "[[[[", "{\"Width\":16384,\"Height\":16384"}) {
        const ReportRecorder recorder;
        MemoryMappedImage none;
        EXPECT_EQ(loadFile(&none, bytes(text), ".tsh"), kErrorFailed) << text;
        EXPECT_EQ(recorder.warnings().size(), 1u);
    }
}

// ---- Bad files

std::vector<Sample> makeSamples() {
    std::minstd_rand random(3);
    Bytes line(40);
    for (std::uint8_t& byte : line) {
        byte = std::uint8_t(random() % 4 + 100);
    }
    TestImage image(makeFlat("R8G8B8A8Unorm", 4, 4));
    struct Case {
        const char* m_extension;
        Bytes m_file;
        std::size_t m_surplus = 0; // bytes that nothing lacks
    };
    const Case kCases[] = {
        {".hdr", hdrFile(10, 3, line + line + line)},
        {".hdr", hdrFile(10, 2, packComponents(line, 10, random) + packComponents(line, 10, random))},
        {".hdr", hdrFile("+Y 2 -X 9", {9, 9, 9, 120, 1, 1, 1, 8, 8, 8, 8, 121, 1, 1, 1, 8})},
        {".pfm", bytes("PF\n3 2\n-1.0\n") + Bytes(72, 'f')},
        {".pfm", bytes("Pf\n5 2\n-1.0\n") + Bytes(40, 'f')},
        {".bmp", BmpWriter{24, 0, 40, 5, 3, {}, Bytes(47, 7)}.file()},
        {".bmp", BmpWriter{32, 0, 40, 5, -3, {}, Bytes(60, 7)}.file()},
        {".bmp", BmpWriter{4, 0, 40, 5, 3, palette(16, 4), Bytes(11, 7)}.file()},
        {".bmp", BmpWriter{16, 0, 108, 5, 3, {}, Bytes(34, 7)}.file()},
        {".bmp", kBmpRuns8.file(), 2}, // the mark of the end
        {".bmp", kBmpRuns4.file(), 3},
        {".tsh", saveFile(image, ".tsh"), 1000}, // what a text leaves out is zero
    };
    std::vector<Sample> samples;
    for (const Case& c : kCases) {
        const std::size_t bytes = c.m_file.size();
        samples.push_back({c.m_extension + std::to_string(bytes), c.m_extension, c.m_file,
                           std::max<std::size_t>(1, bytes - std::min(bytes, c.m_surplus)), bytes});
    }
    return samples;
}

TEST(SmallFormats, CutAtAnyLengthGiveWhatTheyHave) {
    for (const Sample& sample : makeSamples()) {
        const std::string extension = sample.m_extension;
        const bool isRefusedWhole = extension == ".pfm" || extension == ".tsh";
        expectCutFilesToGiveWhatTheyHave(sample, isRefusedWhole ? 96 : 40);
    }
}

TEST(SmallFormats, WithAWrongByteFareAlikeWithBothHandlers) {
    const bool isSlow = std::getenv("TEXSMITH_SLOW") != nullptr;
    for (const Sample& sample : makeSamples()) {
        expectWrongBytesToEndWell(sample, isSlow ? 1 : 3);
    }
}

} // namespace
