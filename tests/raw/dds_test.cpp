#include "raw/dds_layout/formats.h"
#include "raw/files/dds_and_vxf.h"
#include "support/loaded_file.h"
#include "support/report_recorder.h"
#include "support/surfaces.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>

namespace {

using namespace qor;
using namespace qor::Texsmith;
using namespace qor::Texsmith::Raw;
using namespace TestSupport;

std::vector<std::string> wordsOf(const char* text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

// The lines of golden/dds_formats.txt that begin with `kind`: a name, and the word that goes with it.
std::map<std::string, std::uint32_t> listed(const char* kind) {
    std::ifstream file(TEXSMITH_SOURCE_DIR "/tests/golden/dds_formats.txt");
    std::map<std::string, std::uint32_t> words;
    for (std::string line; std::getline(file, line);) {
        std::istringstream stream(line);
        std::string first, name;
        std::uint32_t word = 0;
        if (stream >> first >> name >> std::hex >> word && first == kind) {
            words[name] = word;
        }
    }
    return words;
}

TEST(Dds, DxgiValuesNameTheFormatsThatTheyArePublishedAs) {
    std::map<std::string, std::uint32_t> formats;
    for (unsigned dxgi = 0; dxgi < 140; ++dxgi) {
        const std::uint32_t word = formatFromDxgi(dxgi, Vex::kTextureChannelTypeSNorm).m_word;
        if (word != 0) {
            formats[std::to_string(dxgi)] = word;
        }
    }
    EXPECT_EQ(formats, listed("dxgi"));
}

struct MaskCase {
    std::uint32_t m_flags, m_bits, m_masks[4];
    Vex::DataFormat m_format;
    unsigned m_bytesInFile;
};

TEST(Dds, MasksNameTheFirstFormatThatHasTheirFields) {
    constexpr std::uint32_t kLuminance = 1 << 17;
    constexpr MaskCase kCases[] = {
        {0x41, 32, {0xFF0000, 0xFF00, 0xFF, 0xFF000000}, Vex::kDataFormatB8G8R8A8Unorm, 4},
        {0x40, 24, {0xFF0000, 0xFF00, 0xFF, 0}, Vex::kDataFormatB8G8R8X8Unorm, 3},
        {0x40, 16, {0xF800, 0x7E0, 0x1F, 0}, Vex::kDataFormatB5G6R5Unorm, 2},
        {0x41, 16, {0xF00, 0xF0, 0xF, 0xF000}, Vex::kDataFormatB4G4R4A4Unorm, 2},
        {0x41,
         32,
         {0x3FF00000, 0xFFC00, 0x3FF, 0xC0000000},
         Vex::kDataFormatR10G10B10A2Unorm,
         4}, // red and blue changed
        {0x40, 32, {0xFFFF, 0xFFFF0000, 0, 0}, Vex::kDataFormatR16G16Unorm, 4},
        {kLuminance, 8, {0xFF, 0, 0, 0}, Vex::kDataFormatL8Unorm, 1},
        {kLuminance | 1, 16, {0xFF, 0, 0, 0xFF00}, Vex::kDataFormatL8A8Unorm, 2},
        {2, 8, {0, 0, 0, 0xFF}, Vex::kDataFormatA8Unorm, 1},
        {0x40, 64, {0xFFFFFFFF, 0, 0, 0}, {0x20400B}, 8},
        {0x40, 32, {0x7, 0x38, 0xFFC0, 0}, {}, 0},
        {0x40, 32, {0, 0, 0, 0}, {}, 0},
        {0, 0xFFFFFFFF, {0xFF, 0xFF00, 0, 0}, {}, 0},
    };
    for (const MaskCase& row : kCases) {
        Dds::PixelFormat pixelFormat = {32, row.m_flags, 0, row.m_bits, {}};
        std::copy_n(row.m_masks, 4, pixelFormat.m_masks);
        const DdsFormat format =
            formatFromPixelFormat(pixelFormat, Vex::kTextureChannelTypeUNorm, kReadLiterally);
        EXPECT_EQ(format.m_format, row.m_format) << std::hex << row.m_format.m_word;
        EXPECT_EQ(format.m_bytesInFile, row.m_bytesInFile) << std::hex << row.m_format.m_word;
    }
}

// The reader is given the channel type of each format, for headers that leave it open.
void expectOnlyTheLossesOf(unsigned version) {
    const auto becomes = listed(("version" + std::to_string(version)).c_str());
    ASSERT_GT(becomes.size(), 25u);
    for (int i = 1; i < getNamedDataFormatCount(); ++i) {
        const NamedDataFormat named = getNamedDataFormat(i);
        SCOPED_TRACE(named.m_name);
        const auto loss = becomes.find(named.m_name);
        const std::uint32_t expected = loss != becomes.end() ? loss->second : named.m_dataFormat.m_word;
        const TestImage image(makeTexture(kShapes[1], named.m_dataFormat), 1);
        const ReportRecorder recorder;
        Configuration configuration;
        configuration.m_textureChannelType = named.m_dataFormat.getTextureChannelType();
        AllocatedMemory file;
        MemoryMappedImage back;
        ASSERT_EQ(convertToDds(&image, &file, version, &configuration), kErrorNone);
        const Error error = convertFromDds(&file, &back, &configuration);
        EXPECT_EQ(getFormatInDds(named.m_dataFormat, version, configuration.m_textureChannelType).m_word,
                  expected);
        const bool isSame = back.getBytesTotal() == image.getBytesTotal() && image.getBytesTotal() != 0;
        EXPECT_EQ(error, isSame ? kErrorNone : kErrorFailed);
        EXPECT_EQ(back.getDataFormat().m_word, image.getBytesTotal() != 0 ? expected : 0u);
        EXPECT_EQ(bytesOf(back) == bytesOf(image), isSame || image.getBytesTotal() == 0);
    }
}

TEST(Dds, EveryNamedFormatComesBackButForWhatTheHeaderCannotSay) {
    expectOnlyTheLossesOf(9);
    expectOnlyTheLossesOf(10);
}

std::uint32_t wordAt(const MemoryRegion& file, unsigned offset) {
    std::uint32_t word;
    std::memcpy(&word, file.begin + offset, sizeof word);
    return word;
}

// By offsets in the file, "offset=word" in decimal and hexadecimal.
std::map<unsigned, std::uint32_t> parseWords(const char* text) {
    std::map<unsigned, std::uint32_t> words;
    for (const std::string& word : wordsOf(text)) {
        const std::size_t sign = word.find('=');
        words[static_cast<unsigned>(std::stoul(word))] =
            static_cast<std::uint32_t>(std::stoul(word.substr(sign + 1), nullptr, 16));
    }
    return words;
}

struct HeaderCase {
    Shape m_shape;
    const char* m_format;
    unsigned m_version;
    const char* m_words;
};

constexpr unsigned kFlagsAt = 8, kMipsAt = 28;

TEST(Dds, WritesTheHeaderOfEachShape) {
    constexpr HeaderCase kCases[] = {
        {{"", Vex::kTextureType2d, 5, 3, 1, 1, 0, 1},
         "R8G8B8A8Unorm",
         9,
         "0=20534444 4=7C 8=100F 12=3 16=5 20=14 24=1 28=1 76=20 80=41 84=0 88=20 92=FF 96=FF00 104=FF000000 "
         "108=1000 112=0"},
        {{"", Vex::kTextureTypeCubemap, 8, 8, 1, 2, 0, 12},
         "Bc1UnormSrgb",
         9,
         "8=A1007 20=20 28=2 80=4 84=31545844 88=0 108=401008 112=FE00"},
        {{"", Vex::kTextureTypeCubemap, 8, 8, 1, 1, 0, 6},
         "Bc7UnormSrgb",
         9,
         "80=4 84=30315844 108=1008 128=63 132=3 136=4 140=1 144=0"},
        {{"", Vex::kTextureType3d, 4, 4, 2, 1, 0, 2},
         "R8Unorm",
         10,
         "8=80100F 24=2 80=4 88=8 108=1008 112=200000 128=3D 132=4"},
        {{"", Vex::kTextureType2dArray, 4, 4, 3, 1, 0, 3}, "R8G8Snorm", 10, "128=33 140=3"},
    };
    for (const HeaderCase& row : kCases) {
        SCOPED_TRACE(row.m_format);
        const TestImage image(makeTexture(row.m_shape, formatNamed(row.m_format)), 3);
        Configuration configuration;
        AllocatedMemory file;
        file.resize(1000);
        std::memset(file.begin, 0xC3, 1000); // which must not show in the header
        ASSERT_EQ(convertToDds(&image, &file, row.m_version, &configuration), kErrorNone);
        for (const auto& [offset, word] : parseWords(row.m_words)) {
            EXPECT_EQ(wordAt(file, offset), word) << "at " << offset;
        }
        EXPECT_EQ(Bytes(file.end - image.getBytesTotal(), file.end), bytesOf(image));
        AllocatedMemory byTiles;
        const ElementProvider* provider = &image;
        ASSERT_EQ(convertToDds(provider, &byTiles, row.m_version, &configuration), kErrorNone);
        EXPECT_EQ(bytesOf(byTiles), bytesOf(file));
    }
}

Bytes writeFile(const char* format, unsigned width, unsigned height, unsigned version) {
    const TestImage image(makeFlat(format, width, height), 5);
    Configuration configuration;
    AllocatedMemory file;
    convertToDds(&image, &file, version, &configuration);
    return bytesOf(file);
}

void setWord(Bytes* file, unsigned offset, std::uint32_t word) { std::memcpy(&(*file)[offset], &word, 4); }

constexpr char kShort[] =
    "DDS file must be at least 128 bytes - enough for a 32-bit magic cookie and DDS_HEADER structure - but "
    "this one is 2 bytes.\n";
constexpr char kMagic[] = "DDS file begins with magic cookie 0x20534444, but this one begins with 0x%s. "
                          "Maybe it's not a DDS file?\n";
constexpr char kSize[] = "DDS header's dwSize field must be sizeof(DDS_HEADER) or 124, but this one is 0.\n";
constexpr char kPixelSize[] =
    "DDS header's ddspf.dwSize field must be sizeof(DDS_PIXELFORMAT) or 32, but this one is 0.\n";
constexpr char kDx10[] = "DDS file says it is DX10 format, and must be at least 148 bytes to hold DX10 "
                         "header, but this one is only 147 bytes.\n";
constexpr char kNoFormat[] = "DDS header's pixel format can't be converted to a valid Vectrix\xC2\xAE"
                             "4 DataFormat.\n";

std::string magic(const char* hex) {
    return std::string(kMagic).replace(std::string(kMagic).find("%s"), 2, hex);
}

struct Refused {
    const char* m_words;
    unsigned m_length; // 0: whole
    std::string m_reports;
    bool m_isTooLarge = false;
};

TEST(Dds, RefusesFilesThatAreNotWellFormed) {
    const Refused kCases[] = {
        {"", 2, kShort + magic("00004444") + kSize + kPixelSize + kNoFormat},
        {"0=31534444", 0, magic("31534444")},
        {"4=0", 0, kSize},
        {"76=0", 0, kPixelSize},
        {"128=0", 147, std::string(kDx10) + kNoFormat},
        {"128=13", 0, kNoFormat},
        {"128=59", 0, kNoFormat},
        {"128=74", 0, kNoFormat},
        {"84=42475852", 0, kNoFormat}, // a FourCC of nobody's
        {"16=4001", 0, kNoFormat, true},
        {"12=FFFFFFFF", 0, kNoFormat, true},
        {"112=200000 24=2001", 0, kNoFormat, true},
        {"112=200000 24=2000 12=4000 16=4000", 0, "Assertion 'bytesTotal <= 0xFFFFFFFF' failed.\n"},
    };
    for (const Refused& row : kCases) {
        Bytes bytes = writeFile("R8G8B8A8Unorm", 5, 3, 10);
        for (const auto& [offset, word] : parseWords(row.m_words)) {
            setWord(&bytes, offset, word);
        }
        HeapFile file(bytes, row.m_length != 0 ? row.m_length : bytes.size());
        TestImage before(makeFlat("R8Unorm", 3, 3), 1);
        const ReportRecorder recorder;
        Configuration configuration;
        MemoryMappedImage image;
        image.reallocate(before.getVexTexture());
        EXPECT_EQ(convertFromDds(file.region(), &image, &configuration), kErrorFailed);
        EXPECT_EQ(recorder.texts(), row.m_reports);
        EXPECT_EQ(recorder.warnings().size(), row.m_isTooLarge ? 1u : 0u);
        EXPECT_EQ(image.getBytesTotal(), 9u) << "the destination was touched";
    }
}

TEST(Dds, TakesShapesThatTheHeaderLeavesOpen) {
    Bytes bytes = writeFile("Bc1Unorm", 9, 5, 9);
    setWord(&bytes, kFlagsAt, 0x21007);
    const std::map<unsigned, unsigned> kMips = {{0, 1}, {1, 1}, {4, 4}, {5, 4}, {17, 4}, {0xFFFFFFFF, 4}};
    for (const auto& [inFile, expected] : kMips) {
        setWord(&bytes, kMipsAt, inFile);
        HeapFile file(bytes);
        const ReportRecorder recorder;
        DdsImage image;
        image.readFrom(file.region(), Vex::kTextureChannelTypeUNorm);
        EXPECT_EQ(image.getSurfaceCount().mips, expected) << inFile;
    }
    setWord(&bytes, 12, 0);
    setWord(&bytes, 16, 0);
    HeapFile file(bytes);
    DdsImage image;
    EXPECT_EQ(image.readFrom(file.region(), Vex::kTextureChannelTypeSrgb), kErrorNone);
    EXPECT_EQ(image.getBytesTotal(), 8u);
    EXPECT_EQ(image.getDataFormat().getTextureChannelType(), Vex::kTextureChannelTypeSrgb);
}

TEST(Dds, WidensElementsOfThreeBytesAsFarAsTheFileGoes) {
    Bytes bytes(128 + 12);
    for (const auto& [offset, word] : parseWords("0=20534444 4=7C 12=2 16=2 76=20 80=4 84=14")) {
        setWord(&bytes, offset, word);
    }
    for (unsigned i = 0; i < 12; ++i) {
        bytes[128 + i] = static_cast<std::uint8_t>(i + 1);
    }
    const Bytes whole = {1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 0, 10, 11, 12, 0};
    DdsImage image; // once more on the same image must not show the old texels
    for (const std::size_t length : {140u, 135u, 128u}) {
        HeapFile file(bytes, length);
        const ReportRecorder recorder;
        const Error error = image.readFrom(file.region(), Vex::kTextureChannelTypeUNorm);
        EXPECT_EQ(error, length == 140 ? kErrorNone : kErrorFailed);
        EXPECT_EQ(recorder.warnings().size(), length == 140 ? 0u : 1u);
        Bytes expected = whole;
        std::fill(expected.begin() + std::ptrdiff_t((length - 128) / 3 * 4), expected.end(), std::uint8_t{0});
        EXPECT_EQ(bytesOf(image), expected);
        const DdsImage copy = image;
        EXPECT_EQ(bytesOf(copy), expected);
    }
}

TEST(Dds, AnExistingDestinationMustHaveTheShapeOfTheFile) {
    HeapFile file(writeFile("R8G8B8A8Unorm", 9, 5, 10));
    Configuration configuration;
    TestImage same(makeFlat("R8G8B8A8Unorm", 9, 5)), other(makeFlat("R8G8B8A8Unorm", 9, 6));
    ElementProvider* provider = &same;
    ASSERT_EQ(convertFromDds(file.region(), provider, &configuration), kErrorNone);
    EXPECT_EQ(same.bytes(), Bytes(file.region()->begin + 148, file.region()->end));
    const ReportRecorder recorder;
    provider = &other;
    EXPECT_EQ(convertFromDds(file.region(), provider, &configuration), kErrorFailed);
    ASSERT_EQ(recorder.assertions().size(), 1u);
    EXPECT_EQ(recorder.assertions()[0].m_file, "raw\\dds");
    EXPECT_EQ(recorder.texts(), "destination and source must have the same dimensions and format.\n");
}

TEST(Dds, ShortcutsToTheContainerAndBackKeepEveryByte) {
    for (const Shape& shape : kShapes) {
        if (shape.m_log2Fragments != 0) {
            continue;
        }
        for (const char* format : {"R8G8B8A8Unorm", "Bc3UnormSrgb", "Bc7Unorm", "R16G16B16A16Float"}) {
            SCOPED_TRACE(std::string(shape.m_name) + " " + format);
            const bool isArray = shape.m_depth > 1 && shape.m_type != Vex::kTextureType3d;
            const TestImage image(makeTexture(shape, formatNamed(format)), 7);
            Configuration configuration;
            AllocatedMemory dds, container, back;
            ASSERT_EQ(convertToDds(&image, &dds, 10, &configuration), kErrorNone);
            ASSERT_EQ(convertDdsToVxf(&dds, &container, &configuration), kErrorNone);
            ASSERT_EQ(convertVxfToDds(&container, &back, 10, &configuration), kErrorNone);
            const std::size_t bytes = static_cast<std::size_t>(back.length());
            EXPECT_TRUE(isArray ? bytes < dds.length() : bytes == dds.length()) << "only the first slice";
            EXPECT_EQ(Bytes(back.begin + 148, back.end), Bytes(dds.begin + 148, dds.begin + bytes));
            AllocatedMemory routed, classic;
            EXPECT_EQ(convertWithResult(&dds, "a.dds", &routed, "a.vxf", &configuration), kErrorNone);
            EXPECT_EQ(bytesOf(routed), bytesOf(container));
            ASSERT_EQ(convertVxfToDds(&container, &back, 9, &configuration), kErrorNone);
            EXPECT_EQ(convertWithResult(&container, "a.vxf", &classic, "a.dds", &configuration), kErrorNone);
            EXPECT_EQ(bytesOf(classic), bytesOf(back));
        }
    }
}

TEST(Dds, DescriptorsWithoutASurfaceFormatAreNotWritten) {
    Vex::Texture texture = makeFlat("R8Unorm", 4, 4);
    texture.setDataFormat({59});
    const ReportRecorder recorder;
    AllocatedMemory memory;
    EXPECT_EQ(DdsImage().writeTo(&texture, &memory, 9), kErrorFailed);
    EXPECT_EQ(recorder.texts(), "surfaceFormat is 59, but must be between 0 and 58\n");
    EXPECT_EQ(memory.length(), 0u);
}

// Types that have no column of their own take another type's.
TEST(Dds, ScaledAndBiasedTypesAreNamedByTheirBits) {
    const auto back = [](std::uint32_t word) {
        return getFormatInDds({word}, kDdsVersionDx10, Vex::kTextureChannelTypeUNorm).m_word;
    };
    EXPECT_EQ(back(0xFAC20A), 0xFAC40Au); // UScaled as UInt
    EXPECT_EQ(back(0xFAC30A), 0xFAC50Au); // SScaled as SInt
    EXPECT_EQ(back(0xFACA0A), 0xFAC00Au); // UBNorm as UNorm
    EXPECT_EQ(back(0xFAC60A), 0u);        // SNormNoZero
}

TEST(Dds, AnAssignedImageBorrowsTheTexels) {
    const ReportRecorder recorder;
    Configuration configuration;
    TestImage picture(makeFlat("R8G8B8A8Unorm", 9, 5), 3);
    AllocatedMemory file;
    ASSERT_EQ(convertToDds(&picture, &file, 9, &configuration), kErrorNone);
    for (const unsigned missing : {0u, 7u}) { // in the file, and in memory of the image's own
        HeapFile heap(bytesOf(file), file.length() - missing);
        DdsImage image, other;
        EXPECT_EQ(image.readFrom(heap.region(), Vex::kTextureChannelTypeUNorm) == kErrorNone, missing == 0);
        other = image;
        EXPECT_EQ(other.getMemoryRegion().begin, image.getMemoryRegion().begin);
        EXPECT_EQ(bytesOf(other), bytesOf(image));
        EXPECT_TRUE(other.hasFile() && !other.hasDx10Header());
    }
}

} // namespace
