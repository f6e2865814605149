#include "support/loaded_file.h"
#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using namespace qor;
using namespace qor::Texsmith;
using namespace qor::Texsmith::Raw;
using namespace TestSupport;

constexpr Vex::DataFormat kRgba8 = Vex::kDataFormatR8G8B8A8Unorm;
constexpr Vex::DataFormat kR8 = Vex::kDataFormatR8Unorm;
constexpr VxfChunkType kOther = makeVxfChunkType('A', 'B', 'C', 'D');

Vex::Texture make2d(unsigned width, unsigned height, unsigned mips = 1,
                    Vex::TileMode mode = Vex::kTileModeThin_1dThin, Vex::DataFormat format = kRgba8,
                    unsigned slices = 1, bool isCube = false) {
    Vex::Texture texture;
    texture.initAs2dArray(width, height, slices, 0, mips, format, mode, Vex::kNumFragments1, isCube);
    return texture;
}

// Every byte tells its place.
void setUp(ReallocatableImage* image, const Vex::Texture& texture) {
    image->reallocate(&texture);
    for (std::uint32_t i = 0; i < image->getBytesTotal(); ++i) {
        image->getMemoryRegion().begin[i] = static_cast<std::uint8_t>(i * 7 % 251 + 1);
    }
}

// Memory that is never fresh: every new block is full of capitals, which could be taken for chunks.
void* allocateCapitals(void*, unsigned long long size, unsigned long long alignment) {
    return std::memset(defaultAllocate(nullptr, size, alignment), 'Q', size);
}
constexpr IAllocator kCapitals{nullptr, &allocateCapitals, &defaultRelease};

// A file of the given textures with a chunk of type USER and one of modifiers that ends after the first
// float. The texels of the first texture are ones, and so on.
Bytes makeFile(const std::vector<Vex::Texture>& textures) {
    Bytes user = {1, 2, 3}, modifiers = {0, 0, 0x40, 0x40};
    AllocatedMemory memory;
    VxfManipulator file;
    file.m_chunks.setEntry({kVxfChunkTypeUser, regionOf(user)});
    file.m_chunks.setEntry({kVxfChunkTypeModifiers, regionOf(modifiers)});
    file.writeTo(&memory, textures.data(), static_cast<int>(textures.size()));
    for (int i = 0; i < static_cast<int>(textures.size()); ++i) {
        std::memset(file.getTexels(i).begin, i + 1, file.getTexels(i).length());
    }
    return bytesOf(memory);
}

TEST(VxfChunkTable, EntriesAreReplacedMovedAndBounded) {
    const ReportRecorder recorder;
    VxfChunkTable table;
    for (unsigned i : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 10u, 11u, 12u, 13u, 14u, 15u, 5u, 16u}) {
        table.setEntry({kOther + i, {}});
    }
    EXPECT_EQ(table.getEntryAt(16).m_type, 0u);
    EXPECT_EQ(recorder.texts(), "Can't store more than 16 chunks in a VxfChunkTable.\n"
                                "Can't retrieve entry 16 from a VxfChunkTable that has only 16 entries.\n");
    table.deleteEntry(kOther + 3);
    table.deleteEntry(kOther + 99);
    EXPECT_EQ(table.getEntryAt(3).m_type, kOther + 15);
    EXPECT_EQ(table.getEntry(kOther + 3).m_type, 0u);
    EXPECT_EQ(lengthInBytes(&table), 15 * 8);
    Bytes small(119, 0xEE);
    write(&table, regionOf(small));
    EXPECT_EQ(small, Bytes(119, 0xEE));
    EXPECT_EQ(recorder.assertions().at(2).m_text,
              "VxfChunkTable requires 120 bytes of storage, but MemoryRegion has only 119.");
}

TEST(VxfChunkTable, ReadingEndsWhereNoChunkStands) {
    using namespace std::string_literals;
    const std::pair<std::string, std::string> kCases[] = {
        // the second as it is written again
        {"", ""},
        {"AAAA\2\0\0\0xyBBBB\0\0\0\0"s, "AAAA\2\0\0\0xyBBBB\0\0\0\0"s},
        {"AAAA\2\0\0\0xyBbBB\0\0\0\0CCCC\0\0\0\0"s, "AAAA\2\0\0\0xy"s},
        {"AAAA\2\0\0\0xyBBBB\1\0\0\0"s, "AAAA\2\0\0\0xy"s},
        {"AAAA\2\0\0\0xyBBBB\0\0\0"s, "AAAA\2\0\0\0xy"s},
        {"AAAA\2\0\0\0xyBBBB\0\0\0\0AAAA\1\0\0\0z"s, "AAAA\1\0\0\0zBBBB\0\0\0\0"s},
        {"AAAA\xF8\xFF\xFF\xFF"s, ""},
    };
    for (const auto& [text, expected] : kCases) {
        Bytes bytes(text.begin(), text.end());
        VxfChunkTable table;
        table.setEntry({kOther, {}}); // forgotten by the read
        read(&table, regionOf(bytes));
        Bytes written(static_cast<std::size_t>(lengthInBytes(&table)));
        write(&table, regionOf(written));
        EXPECT_EQ(std::string(written.begin(), written.end()), expected);
    }
}

TEST(VxfManipulator, FaultsOfTheHeaderAreReportedInOrder) {
    struct Case {
        std::size_t m_length;
        std::vector<std::pair<std::size_t, std::uint8_t>> m_changes;
        std::string m_texts;
    };
    const std::string padded =
        "MemoryRegion must be at least big enough to hold the padded header and user data ";
    const Case kCases[] = {
        {48, {}, ""},
        {47,
         {},
         "MemoryRegion must be big enough to hold minimal header (48 bytes,) but is only 47 bytes.\n" +
             padded + "(48 bytes,) but is only 47 bytes\n"},
        {48, {{0, 'v'}}, "Expected 0x20465876 (Vxf::kMagic) but found 0x20465876 instead.\n"},
        {48,
         {{8, 3}, {9, 0}, {10, 32}},
         "Expected VXF version number to be 1 or 2, but it was 3.\n"
         "Alignment is 1 << 32, but 1 << 31 is the maximum alignment\n"
         "Number of textures is 0, but should be at least 1\n"},
        {48, {{4, 41}}, padded + "(49 bytes,) but is only 48 bytes\n"},
        {48, {{7, 0x80}}, ""}, // a negative number of bytes fits
    };
    for (const Case& testCase : kCases) {
        const ReportRecorder recorder;
        Bytes bytes = {'V', 'X', 'F', ' ', 40, 0, 0, 0, 2, 1, 0, 0, 48}; // one texture, no chunks
        bytes.resize(48);
        for (const auto& [offset, value] : testCase.m_changes) {
            bytes[offset] = value;
        }
        HeapFile file(bytes, testCase.m_length);
        VxfManipulator manipulator;
        manipulator.readFrom(file.region());
        EXPECT_EQ(recorder.texts(), testCase.m_texts);
        EXPECT_EQ(manipulator.hasFile(), testCase.m_length >= 48);
    }
}

TEST(VxfManipulator, AChunkAcrossTheHeadersEndMustLieInTheFile) {
    const std::pair<std::uint8_t, std::uint8_t> kCases[] = {{44, 0}, {44, 4}, {44, 5}, {44, 255}, {8, 0}};
    for (const auto& [contentsBytes, payloadBytes] : kCases) {
        Bytes bytes = {'V', 'X', 'F', ' ', contentsBytes, 0, 0, 0, 2, 1, 0, 0, 60};
        bytes.resize(48);
        bytes.insert(bytes.end(), {'A', 'B', 'C', 'D', payloadBytes, 0, 0, 0, 1, 2, 3, 4});
        HeapFile file(bytes);
        VxfManipulator manipulator;
        manipulator.readFrom(file.region());
        const VxfChunkTable::Entry entry = manipulator.m_chunks.getEntry(kOther);
        EXPECT_EQ(entry.m_type, contentsBytes == 44 && payloadBytes <= 4 ? kOther : 0);
        EXPECT_EQ(bytesOf(entry.m_region), payloadBytes == 4 ? Bytes({1, 2, 3, 4}) : Bytes());
    }
}

TEST(VxfManipulator, AFileIsLaidOutByTheAlignmentsOfItsTextures) {
    Vex::Texture textures[] = {make2d(8, 8, 1, Vex::kTileModeThin_1dThin, kR8),
                               make2d(64, 64, 1, Vex::kTileModeThin_2dThin, kR8)};
    textures[1].m_regs[1] |= 0xFF; // of an address, which a file does not keep
    AllocatedMemory memory(kCapitals);
    VxfManipulator file;
    file.writeTo(&memory, textures, 2);
    const std::uint32_t expected[] = {Vxf::kMagic, 4096 - 8, 0x510C0202, 3 * 4096}; // 0x51 was there before
    EXPECT_EQ(std::memcmp(memory.begin, expected, sizeof expected), 0);
    EXPECT_EQ(memory.length(), 3u * 4096);
    EXPECT_EQ(file.getAlignmentOfTexture(0), 256);
    EXPECT_EQ(file.getAlignmentOfTexture(1), 4096);
    EXPECT_EQ(file.getTexels(0).begin, memory.begin + 4096);
    EXPECT_EQ(file.getTexels(0).length(), 256u);
    EXPECT_EQ(file.getTexels(1).begin, memory.begin + 2 * 4096);
    EXPECT_EQ(file.getAllTexels().length(), 2u * 4096);
    file.zeroPadding();
    VxfManipulator reader;
    reader.readFrom(&memory);
    EXPECT_EQ(reader.m_chunks.getEntries(), 0);
    EXPECT_TRUE(same(reader.getTexels(1), file.getTexels(1)));
    const ReportRecorder recorder;
    file.writeTo(nullptr, nullptr, 256);
    EXPECT_EQ(recorder.texts(), "destinationMemory must not be NULL.\ntexture must not be NULL.\n"
                                "can't write more than 255 textures to a VXF file.\n");
}

TEST(Vxf, ImagesOfEveryShapeAndFormatComeBack) {
    Vex::Texture volume, fragments;
    volume.initAs3d(10, 6, 5, 3, kRgba8, Vex::kTileModeThick_1dThick);
    fragments.initAs2d(9, 9, 1, kRgba8, Vex::kTileModeThin_2dThin, Vex::kNumFragments4);
    Configuration configuration;
    std::vector<Vex::Texture> textures = {make2d(12, 20, 4, Vex::kTileModeDisplay_1dThin, kRgba8, 3),
                                          make2d(80, 80, 1, Vex::kTileModeThin_2dThin, kRgba8, 2, true),
                                          make2d(8, 8), volume, fragments};
    for (int i = 1; i < getNamedDataFormatCount(); ++i) {
        textures.push_back(make2d(17, 9, 5, Vex::kTileModeThin_1dThin, getNamedDataFormat(i).m_dataFormat));
    }
    for (const Vex::Texture& texture : textures) {
        SCOPED_TRACE(texture.getDataFormat().m_word);
        const ReportRecorder recorder;
        MemoryMappedImage image;
        setUp(&image, texture);
        Modifiers modifiers;
        modifiers.m_decode.m_add[1] = modifiers.m_encode.m_power[3] = 0.5f;
        image.setModifiers(modifiers);

        AllocatedMemory fresh, dirty(kCapitals);
        ASSERT_EQ(convertToVxf(&image, &fresh, &configuration), kErrorNone);
        ASSERT_EQ(convertToVxf(&image, &dirty, &configuration), kErrorNone);
        EXPECT_EQ(bytesOf(fresh), bytesOf(dirty)); // padding inside and between surfaces included

        MemoryMappedImage back;
        ASSERT_EQ(convertFromVxf(&fresh, &back, &configuration), kErrorNone);
        EXPECT_EQ(bytesOf(back), bytesOf(image));
        EXPECT_EQ(std::memcmp(back.getVexTexture(), &texture, sizeof texture), 0);
        EXPECT_EQ(std::memcmp(&back.getModifiers(), &modifiers, sizeof modifiers), 0);
        EXPECT_EQ(recorder.empty(),
                  image.getBytesTotal() != 0); // two formats have no texels to ask memory for
    }
}

TEST(Vxf, AnImageOfTheSameShapeTakesTheTexelsInTheTileModeOfTheFile) {
    Configuration configuration;
    MemoryMappedImage image, back;
    setUp(&image, make2d(70, 70, 1, Vex::kTileModeThin_2dThin));
    AllocatedMemory memory;
    ASSERT_EQ(convertToVxf(&image, &memory, &configuration), kErrorNone);
    setUp(&back, make2d(70, 70));
    EXPECT_EQ(convertFromVxf(&memory, static_cast<Raw::Image*>(&back), &configuration), kErrorNone);
    EXPECT_EQ(bytesOf(back), bytesOf(image));
    const ReportRecorder recorder;
    setUp(&back, make2d(71, 70));
    convertFromVxf(&memory, static_cast<Raw::Image*>(&back), &configuration);
    EXPECT_EQ(recorder.texts(),
              "source and destination must have the same dimensions and Vex::SurfaceFormat.\n");
}

TEST(Vxf, TextureNumbersAreChecked) {
    Configuration configuration;
    HeapFile file(makeFile({make2d(8, 8), make2d(4, 4)}));
    MemoryMappedImage image;
    ASSERT_EQ(convertFromVxf(file.region(), &image, &configuration, 1), kErrorNone);
    EXPECT_EQ(bytesOf(image), Bytes(64, 2));
    EXPECT_EQ(image.getModifiers().m_decode.m_multiply[0][0], 3.0f);
    EXPECT_EQ(image.getModifiers().m_decode.m_power[0], 1.0f); // as it was
    const ReportRecorder recorder;
    EXPECT_EQ(convertFromVxf(file.region(), &image, &configuration, 2), kErrorFailed);
    EXPECT_EQ(convertFromVxf(file.region(), &image, &configuration, -1), kErrorFailed);
    const std::string report = "VXF has only 2 textures, so you can't request texture index ";
    EXPECT_EQ(recorder.texts(), report + "2\n" + report + "-1\n");
    Texture texture;
    EXPECT_EQ(vxf2Texture(file.region(), &texture, &configuration), kErrorNone);
    EXPECT_EQ(bytesOf(texture.m_memoryRegion), Bytes(256, 1));
    EXPECT_EQ(vxf2Texture(file.region(), &texture, &configuration, 1), kErrorNone);
    EXPECT_EQ(bytesOf(texture.m_memoryRegion), Bytes(256, 2));
    vxf2Texture(file.region(), &texture, &configuration, 2); // not checked, but kept inside the file
    EXPECT_TRUE(file.region()->contains(texture.m_memoryRegion));
    EXPECT_EQ(recorder.assertions().size(), 2u);
}

TEST(Vxf, AJoinTakesFirstTexturesAndASplitAllChunks) {
    Configuration configuration;
    HeapFile three(makeFile({make2d(8, 8), make2d(4, 4), make2d(16, 16)}));
    HeapFile one(makeFile({make2d(32, 8)}));
    std::vector<MemoryRegion*> sources(256, three.region());
    sources[1] = one.region();
    AllocatedMemory joined(kCapitals), parts[3];
    VxfManipulator file;
    ASSERT_EQ(vxfJoin(&joined, sources.data(), 255, &configuration), kErrorNone);
    file.readFrom(&joined);
    EXPECT_EQ(vxfGetNumberOfTextures(&joined, &configuration), 255);
    EXPECT_EQ(file.m_chunks.getEntries(), 0);
    EXPECT_EQ(bytesOf(file.getTexels(1)), Bytes(1024, 1));
    EXPECT_EQ(bytesOf(file.getTexels(254)), Bytes(256, 1));

    ResizableMemoryRegion* destinations[] = {&parts[0], &parts[1], &parts[2]};
    ASSERT_EQ(vxfSplit(destinations, 3, three.region(), &configuration), kErrorNone);
    for (unsigned i = 0; i < 3; ++i) {
        file.readFrom(&parts[i]);
        EXPECT_EQ(*file.getTexels(0).begin, i + 1);
        EXPECT_EQ(bytesOf(file.m_chunks.getEntry(kVxfChunkTypeUser).m_region), (Bytes{1, 2, 3}));
    }
    const ReportRecorder recorder;
    EXPECT_EQ(vxfJoin(&joined, sources.data(), 256, &configuration), kErrorFailed);
    EXPECT_EQ(vxfSplit(destinations, 2, three.region(), &configuration), kErrorFailed);
    EXPECT_EQ(recorder.texts(), "can't write more than 255 textures to a VXF file.\n"
                                "Source VXF has 3 textures. Must match destinations value of 2.\n");
}

TEST(Vxf, ACaptureTakesTheSurfacesThatTheDescriptorNames) {
    Configuration configuration;
    Bytes texels(4096 + 1024 + 256 + 256, 5); // the tiled mips
    Texture texture;
    static_cast<Vex::Texture&>(texture) = make2d(32, 32, 4);
    texture.setMipLevelRange(2, 3);
    texture.m_memoryRegion = regionOf(texels);
    MemoryMappedImage image;
    EXPECT_EQ(capture2ReallocatableImage(&texture, &image, &configuration), kErrorNone);
    EXPECT_EQ(bytesOf(image), Bytes((1024 + 256 + 64 + 16) * 4, 5));
    AllocatedMemory memory(kCapitals);
    ASSERT_EQ(capture2Vxf(&texture, &memory, &configuration), kErrorNone);
    VxfManipulator file;
    file.readFrom(&memory);
    std::fill_n(texels.begin(), 4096 + 1024, std::uint8_t{'Q'}); // as the destination was
    EXPECT_EQ(bytesOf(file.getTexels(0)), texels);
    const ReportRecorder recorder;
    texture.m_memoryRegion.end -= 1;
    EXPECT_EQ(capture2Vxf(&texture, &memory, &configuration), kErrorFailed);
    EXPECT_EQ(recorder.warnings().size(), 1u);
}

} // namespace
