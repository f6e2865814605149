// What files say in their headers, and what the reading options make of them.
#include "support/described_file.h"
#include "support/png_writer.h"
#include "support/report_recorder.h"
#include "support/surfaces.h"

#include <filesystem>
#include <fstream>

namespace {

using namespace qor;
using namespace qor::Texsmith::Raw;
using namespace TestSupport;

Configuration reading(std::uint32_t options, Vex::TextureChannelType type = Vex::kTextureChannelTypeUNorm) {
    Configuration configuration;
    configuration.m_readingOptions = options;
    configuration.m_textureChannelType = type;
    return configuration;
}

struct Loaded {
    MemoryMappedImage m_image;
    Error m_error;

    Loaded(const Bytes& bytes, const char* extension, Configuration configuration) {
        HeapFile file(bytes);
        m_error = loadWithResult(&m_image, file.region(), extension, &configuration, 0);
    }
};

// Loads as that format and these bytes; and the option is told of, and makes the difference.
void expectToRead(const Bytes& file, const char* extension, std::uint32_t option, Vex::DataFormat format,
                  const Bytes& texels, Vex::TextureChannelType type = Vex::kTextureChannelTypeUNorm) {
    const Loaded kind(file, extension, reading(kReadKindly, type));
    const Loaded literal(file, extension, reading(kReadKindly & ~option, type));
    EXPECT_EQ(kind.m_error, kErrorNone);
    EXPECT_EQ(kind.m_image.getDataFormat().m_word, format.m_word);
    EXPECT_EQ(bytesOf(kind.m_image), texels);
    EXPECT_FALSE(literal.m_image.getDataFormat() == format && bytesOf(literal.m_image) == texels);
    const FileDescription description = describe(file, extension, reading(kReadKindly, type));
    EXPECT_EQ(description.m_readingOptions & option, option);
    EXPECT_EQ(describe(file, extension, reading(kReadLiterally, type)).m_readingOptions, 0u);
    expectToDescribe(description, kind.m_image);
}

TEST(ReadingOptions, AttributeBitsOfTgaFilesSayWhatPixelsOf16BitsHold) {
    TgaWriter grey{3, 16, 0x28};
    grey.m_width = 2;
    grey.m_data = {1, 2, 3, 4};
    expectToRead(grey.file(), ".tga", kReadTgaGreyWithAlpha, Vex::kDataFormatL8A8Unorm, {1, 2, 3, 4});
    expectToRead(grey.file(), ".tga", kReadTgaGreyWithAlpha, Vex::kDataFormatR8G8B8A8UnormSrgb,
                 {1, 1, 1, 2, 3, 3, 3, 4}, Vex::kTextureChannelTypeSrgb);
    for (const unsigned descriptor : {0x20u, 0x21u}) {
        TgaWriter color{2, 16, descriptor};
        color.m_data = {0xFF, 0x7F};
        const std::uint32_t told = describe(color.file(), ".tga", reading(kReadKindly)).m_readingOptions;
        EXPECT_EQ(told, descriptor == 0x20 ? kReadTgaColorAsOpaque : 0u);
        if (told != 0) {
            expectToRead(color.file(), ".tga", told, Vex::kDataFormatB5G5R5X1Unorm, {0xFF, 0x7F});
        }
    }
    Bytes shortFile = grey.file();
    shortFile.pop_back();
    const Loaded cut(shortFile, ".tga", reading(kReadKindly, Vex::kTextureChannelTypeSrgb));
    EXPECT_EQ(cut.m_error, kErrorFailed);
    EXPECT_EQ(bytesOf(cut.m_image), (Bytes{1, 1, 1, 2, 0, 0, 0, 0}));
}

void clearWord(Bytes& file, std::size_t at) { std::fill_n(file.begin() + std::ptrdiff_t(at), 4, 0); }

TEST(ReadingOptions, DdsFilesBringAllEntriesFacesAndSlices) {
    constexpr std::size_t kFlags = 8, kCaps2 = 112;
    for (const Shape& shape : {kShapes[2], kShapes[3], kShapes[4], kShapes[6]}) {
        for (const unsigned version : {9u, 10u}) {
            SCOPED_TRACE(shape.m_name + std::to_string(version));
            const bool isVolume = shape.m_type == Vex::kTextureType3d;
            if (version == 9 && !isVolume) {
                continue; // the classic header does not say it
            }
            TestImage image(makeTexture(shape, formatNamed("R16G16B16A16Float")), 1);
            Configuration configuration;
            AllocatedMemory memory;
            convertToDds(&image, &memory, version, &configuration);
            Bytes file = bytesOf(memory);
            clearWord(file, kCaps2);
            expectToRead(file, ".dds", kReadDdsWholeTexture, image.getDataFormat(), image.bytes());
            if (version == 9) { // only the length is left to tell
                clearWord(file, kFlags);
                expectToRead(file, ".dds", kReadDdsWholeTexture, image.getDataFormat(), image.bytes());
                file.resize(file.size() / 2);
                EXPECT_EQ(describe(file, ".dds", reading(kReadKindly)).m_depth, 1u);
            }
        }
    }
}

TEST(ReadingOptions, DdsArraysBeyondWhatATextureHoldsAreRefused) {
    TestImage image(makeTexture(kShapes[6], formatNamed("R8Unorm")), 1);
    Configuration configuration;
    AllocatedMemory file;
    convertToDds(&image, &file, 10, &configuration);
    file.begin[140 + 1] = 0x80; // 32,768 entries and more
    const ReportRecorder recorder;
    EXPECT_EQ(Loaded(bytesOf(file), ".dds", reading(kReadKindly)).m_image.getBytesTotal(), 0u);
    EXPECT_EQ(recorder.warnings().at(0).m_text,
              "The DDS array has 32773 entries, but a texture has at most 8192.");
}

TEST(ReadingOptions, MasksOfTenBitsAreTakenAsTheyAre) {
    TestImage image(makeFlat("R10G10B10A2Unorm", 3, 2), 1);
    Configuration configuration;
    AllocatedMemory file;
    convertToDds(&image, &file, 9, &configuration);
    expectToRead(bytesOf(file), ".dds", kReadDdsMasksAsTheyAre, image.getDataFormat(), image.bytes());
}

TEST(ReadingOptions, PfmFilesHaveTheirBytesAndRowsInAnyOrder) {
    const std::string header = "PF\n1 2\n1.0\n";
    Bytes file(header.begin(), header.end()), texels(32);
    for (unsigned i = 0; i < 24; ++i) {
        file.push_back(static_cast<std::uint8_t>(i + 1));
        const unsigned row = 1 - i / 12, inRow = i % 12;
        texels[row * 16 + inRow / 4 * 4 + 3 - inRow % 4] = static_cast<std::uint8_t>(i + 1);
    }
    for (const std::uint32_t option : {kReadPfmByteOrder, kReadPfmBottomUp}) {
        expectToRead(file, ".pfm", option, Vex::kDataFormatR32G32B32X32Float, texels);
    }
    for (const PfmChannels channels : {kPfmChannels1, kPfmChannels3}) {
        Configuration configuration = reading(kReadKindly);
        AllocatedMemory memory;
        const TestImage source(makeFlat(channels == kPfmChannels1 ? "L32Float" : "R32G32B32X32Float", 5, 3));
        for (std::size_t i = 0; i < source.getElements(); ++i) {
            source.getMemoryRegion().begin[i * source.getBytesPerElement()] = std::uint8_t(i + 1);
        }
        ASSERT_EQ(convertToPfm(&source, &memory, channels, &configuration), kErrorNone);
        EXPECT_EQ(bytesOf(Loaded(bytesOf(memory), ".pfm", configuration).m_image), bytesOf(source));
        EXPECT_NE(bytesOf(Loaded(bytesOf(memory), ".pfm", reading(kReadLiterally)).m_image), bytesOf(source));
    }
}

Bytes readFile(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(stream), {});
}

// Of one byte and of the whole front, at each place.
template <typename Use> void forEachDamage(const Bytes& file, Use use) {
    for (std::size_t at = 0; at < std::min<std::size_t>(file.size(), 400); ++at) {
        use(Bytes(file.begin(), file.begin() + std::ptrdiff_t(at)));
        for (const std::uint8_t value : Bytes{0x00, 0x7F, 0xFF}) {
            Bytes wrong = file;
            wrong[at] = value;
            use(wrong);
        }
    }
}

TEST(FileDescription, TellsWhatLoadingGivesOfWholeAndOfDamagedFiles) {
    const std::filesystem::path corpus = TEXSMITH_SOURCE_DIR "/fuzz/corpus";
    for (const char* type : {"bmp", "dds", "hdr", "jpeg", "pfm", "png", "tga", "tsh", "vxf"}) {
        for (const auto& entry : std::filesystem::directory_iterator(corpus / type)) {
            const std::string name = entry.path().filename().string();
            const Bytes file = readFile(entry.path());
            const auto expectAgreement = [&](const Bytes& bytes, const Configuration& configuration) {
                const ReportRecorder recorder;
                HeapFile heap(bytes);
                FileDescription told;
                const Error error = describeFile(&told, heap.region(), name.c_str(), &configuration, 0);
                if (told.m_texelBytes > 1 << 24 || told.m_width == 0) {
                    return;
                }
                const Loaded loaded(bytes, name.c_str(), configuration);
                if (loaded.m_error == kErrorNone && recorder.empty()) {
                    SCOPED_TRACE(
                        name + " " +
                        std::to_string(
                            std::mismatch(bytes.begin(), bytes.end(), file.begin(), file.end()).first -
                            bytes.begin()));
                    EXPECT_EQ(error, kErrorNone);
                    expectToDescribe(told, loaded.m_image);
                }
            };
            for (const std::uint32_t options : {kReadLiterally, kReadKindly}) {
                expectAgreement(file, reading(options, Vex::kTextureChannelTypeSrgb));
                forEachDamage(file, [&](const Bytes& bytes) { expectAgreement(bytes, reading(options)); });
            }
        }
    }
}

// ---- What the numbers mean

struct Statement {
    std::vector<std::pair<const char*, Bytes>> m_chunks;
    FileTransfer m_transfer;
    const char* m_source;
};

Bytes gamma(std::uint32_t value) {
    Bytes bytes;
    putWord(bytes, value);
    return bytes;
}
Bytes text(const std::string& characters) { return Bytes(characters.begin(), characters.end()); }

TEST(FileDescription, TheFirstOfPngsStatementsCounts) {
    const std::pair<const char*, Bytes> kSrgb = {"sRGB", {0}}, kGamma = {"gAMA", gamma(55556)};
    const Statement kCases[] = {
        {{}, kFileTransferUnstated, ""},
        {{kSrgb, kGamma}, kFileTransferSrgb, "its sRGB chunk"},
        {{kGamma}, kFileTransferOther, "its gAMA chunk of 0.55556"},
        {{{"gAMA", gamma(45455)}}, kFileTransferSrgb, "its gAMA chunk of 0.45455"},
        {{{"gAMA", gamma(100000)}}, kFileTransferLinear, "its gAMA chunk of 1"},
        {{{"gAMA", {1, 2}}}, kFileTransferUnstated, ""},
        {{kSrgb, {"iCCP", text(std::string("Linear\0x", 8))}}, kFileTransferLinear, "its profile 'Linear'"},
        {{{"iCCP", text("ICC Profile")}, kGamma}, kFileTransferUnstated, ""},
        {{{"iCCP", text("Display P3\x01")}, kSrgb}, kFileTransferOther, "its profile 'Display P3?'"},
        {{{"cICP", {1, 13, 0, 1}}, {"iCCP", text("Linear")}}, kFileTransferSrgb, "its cICP chunk"},
        {{kSrgb, {"cICP", {9, 16, 0, 1}}}, kFileTransferOther, "its cICP chunk"},
        {{{"cICP", {1, 8, 0, 1}}}, kFileTransferLinear, "its cICP chunk"},
    };
    for (const Statement& statement : kCases) {
        PngWriter png{2, 1, 8, 2, false, [](unsigned, unsigned, unsigned) { return 7u; }};
        png.m_chunks = statement.m_chunks;
        const FileDescription description = describe(png.file(), ".png");
        EXPECT_EQ(description.m_transfer, statement.m_transfer);
        EXPECT_STREQ(description.m_transferSource, statement.m_source);
    }
}

// Readers leave out a chunk of another length, with a wrong sum, or behind the pixels.
TEST(FileDescription, OnlyTransparencyThatIsReadMakesAlpha) {
    const auto alphaOf = [](const Bytes& file) { return describe(file, ".png").m_format.getChannel(3); };
    PngWriter png{2, 1, 8, 2, false, [](unsigned, unsigned, unsigned) { return 7u; }};
    Bytes late = png.file();
    for (const std::size_t length : {5u, 6u, 7u}) {
        png.m_transparency = Bytes(length, 7);
        Bytes file = png.file();
        EXPECT_EQ(alphaOf(file) == Vex::kTextureChannelW, length == 6) << length;
        const auto data = std::find(file.begin(), file.end(), std::uint8_t{'t'});
        late.insert(late.end() - 12, data - 4, data + 8 + static_cast<std::ptrdiff_t>(length));
        EXPECT_NE(alphaOf(late), Vex::kTextureChannelW);
        data[4 + static_cast<std::ptrdiff_t>(length)] ^= 1;
        EXPECT_NE(alphaOf(file), Vex::kTextureChannelW);
    }
}

Bytes operator+(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// A profile of one tag.
Bytes profile(const Bytes& tag) {
    Bytes bytes(128);
    for (const std::uint32_t word : {1u, 0x64657363u, 144u, std::uint32_t(tag.size())}) {
        putWord(bytes, word);
    }
    return bytes + tag;
}

TEST(FileDescription, JpegsProfileIsKnownByItsName) {
    const Bytes old = text(std::string("desc\0\0\0\0\0\0\0\x12sRGB IEC61966-2.1", 30));
    const Bytes wide = text(std::string("mluc\0\0\0\0\0\0\0\1\0\0\0\x0C"
                                        "enUS\0\0\0\4\0\0\0\x1C\0P\x26\x03",
                                        32));
    const std::pair<Bytes, const char*> kCases[] = {
        {old, "its profile 'sRGB IEC61966-2.1'"},
        {wide, "its profile 'P?'"},
        {text("mluc"), ""},
    };
    for (const auto& [tag, source] : kCases) {
        const Bytes data = text(std::string("ICC_PROFILE\0\1\1", 14)) + profile(tag);
        const auto length = static_cast<std::uint8_t>(data.size() + 2);
        const Bytes file = Bytes{0xFF, 0xD8, 0xFF, 0xE2, 0, length} + data +
                           Bytes{0xFF, 0xD3, 0xFF, 0x01} + // which nothing follows
                           Bytes{0xFF, 0xC0, 0, 8, 8, 0, 5, 0, 9, 1, 0xFF, 0xDA, 0, 2};
        const FileDescription description = describe(file, ".jpg");
        EXPECT_STREQ(description.m_transferSource, source);
        EXPECT_EQ(description.m_transfer, tag == old    ? kFileTransferSrgb
                                          : tag == wide ? kFileTransferOther
                                                        : kFileTransferUnstated);
        EXPECT_EQ(description.m_width, 9u);
        EXPECT_EQ(description.m_height, 5u);
        EXPECT_EQ(description.m_format, Vex::kDataFormatL8Unorm);
        forEachDamage(file, [](const Bytes& bytes) {
            HeapFile heap(bytes);
            FileDescription ignored;
            const Configuration configuration;
            describeFile(&ignored, heap.region(), ".jpg", &configuration, 0);
        });
    }
}

TEST(FileDescription, FormatsOfContainersSayWhatNumbersMean) {
    const struct {
        const char *m_format, *m_extension;
        unsigned m_version;
        FileTransfer m_transfer;
    } kCases[] = {
        {"Bc3UnormSrgb", ".dds", 10, kFileTransferSrgb},
        {"Bc3Unorm", ".dds", 10, kFileTransferLinear},
        {"Bc3UnormSrgb", ".dds", 9, kFileTransferUnstated},
        {"R8G8B8A8Unorm", ".dds", 9, kFileTransferUnstated},
        {"R32G32B32A32Float", ".dds", 9, kFileTransferLinear},
        {"Bc3UnormSrgb", ".vxf", 0, kFileTransferSrgb},
        {"R8G8B8A8Unorm", ".vxf", 0, kFileTransferLinear},
    };
    for (const auto& row : kCases) {
        TestImage image(makeFlat(row.m_format, 4, 4));
        Configuration configuration;
        AllocatedMemory file;
        row.m_version != 0 ? convertToDds(&image, &file, row.m_version, &configuration)
                           : convertToVxf(&image, &file, &configuration);
        EXPECT_EQ(describe(bytesOf(file), row.m_extension).m_transfer, row.m_transfer) << row.m_format;
    }
}

TEST(FileDescription, TypesComeFromTheNameOrTheFirstBytes) {
    PngWriter png{2, 1, 8, 2, false, [](unsigned, unsigned, unsigned) { return 7u; }};
    const FileDescription kind = describe(png.file(), "png", reading(kReadKindly));
    EXPECT_EQ(kind.m_type, makeFileType(".PNG"));
    EXPECT_EQ(kind.m_readingOptions, kReadPngBySignature);
    EXPECT_EQ(kind.m_width, 2u);
    EXPECT_EQ(describe(png.file(), "png", {}, kErrorFailed).m_type, 0u);
    EXPECT_EQ(describe(png.file(), ".gif", {}, kErrorFailed).m_type, makeFileType(".GIF"));
}

} // namespace
