#include "qor/texsmith/texsmith.h"
#include "support/loaded_file.h"
#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>

namespace {

using namespace qor;
using namespace qor::Texsmith;
using namespace qor::Texsmith::Raw;
using namespace TestSupport;

constexpr Vex::DataFormat kRgba8{0xFAC00A};
constexpr VxfChunkType kOther = makeVxfChunkType('A', 'B', 'C', 'D');

VxfChunkTable::Entry makeEntry(VxfChunkType type, MemoryRegion region = {}) { return {type, region}; }

MemoryRegion regionOf(Bytes& bytes) {
    MemoryRegion region;
    region.build(bytes.data(), static_cast<unsigned>(bytes.size()));
    return region;
}

Vex::Texture make2d(unsigned width, unsigned height, unsigned mips = 1,
                    Vex::TileMode mode = Vex::kTileModeThin_1dThin, Vex::DataFormat format = kRgba8) {
    Vex::Texture texture;
    texture.initAs2dArray(width, height, 1, 0, mips, format, mode, Vex::kNumFragments1, false);
    return texture;
}

// Every byte tells its place.
void fill(const Image& image) {
    const MemoryRegion region = image.getMemoryRegion();
    for (std::uint8_t* at = region.begin; at != region.end; ++at) {
        *at = static_cast<std::uint8_t>((at - region.begin) * 7 % 251 + 1);
    }
}

// Memory that is never fresh: every new block is full of capitals, which could be taken for chunks.
void* allocateCapitals(void*, unsigned long long size, unsigned long long alignment) {
    void* block = defaultAllocate(nullptr, size, alignment);
    return block == nullptr ? nullptr : std::memset(block, 'Q', size);
}
constexpr IAllocator kCapitals{nullptr, &allocateCapitals, &defaultRelease};

// A file of the given textures with a chunk of type USER and numbered texels.
Bytes makeFile(const std::vector<Vex::Texture>& textures) {
    Bytes user = {1, 2, 3};
    AllocatedMemory memory;
    VxfManipulator file;
    file.m_chunks.setEntry(makeEntry(kVxfChunkTypeUser, regionOf(user)));
    file.writeTo(&memory, textures.data(), static_cast<int>(textures.size()));
    for (unsigned i = 0; i < textures.size(); ++i) {
        const MemoryRegion texels = file.getTexels(static_cast<int>(i));
        std::fill(texels.begin, texels.end, static_cast<std::uint8_t>(i + 1));
    }
    return bytesOf(memory);
}

TEST(VxfChunkTable, EntriesAreReplacedMovedAndBounded) {
    const ReportRecorder recorder;
    VxfChunkTable table;
    for (unsigned i = 0; i < 16; ++i) {
        table.setEntry(makeEntry(kOther + i));
    }
    table.setEntry(makeEntry(kOther + 5));
    EXPECT_EQ(table.getEntries(), 16);
    EXPECT_TRUE(recorder.empty());
    table.setEntry(makeEntry(kOther + 16));
    EXPECT_EQ(table.getEntryAt(16).m_type, 0u);
    EXPECT_EQ(recorder.texts(), "Can't store more than 16 chunks in a VxfChunkTable.\n"
                                "Can't retrieve entry 16 from a VxfChunkTable that has only 16 entries.\n");
    EXPECT_EQ(recorder.assertions()[0].m_file, "raw\\vxf_lowlevel");
    table.deleteEntry(kOther + 3);
    table.deleteEntry(kOther + 99);
    EXPECT_EQ(table.getEntries(), 15);
    EXPECT_EQ(table.getEntryAt(3).m_type, kOther + 15);
    EXPECT_EQ(table.getEntry(kOther + 3).m_type, 0u);
    EXPECT_EQ(lengthInBytes(&table), 15 * 8);
}

TEST(VxfChunkTable, ReadingEndsWhereNoChunkStands) {
    const auto typesIn = [](std::string text) {
        Bytes bytes(text.begin(), text.end());
        VxfChunkTable table;
        table.setEntry(makeEntry(kOther)); // forgotten by the next read
        read(&table, regionOf(bytes));
        std::string types;
        for (int i = 0; i < table.getEntries(); ++i) {
            const auto entry = table.getEntryAt(i);
            types += static_cast<char>(entry.m_type);
            types.append(entry.m_region.begin, entry.m_region.end);
        }
        return types;
    };
    using namespace std::string_literals;
    EXPECT_EQ(typesIn(""), "");
    EXPECT_EQ(typesIn("AAAA\2\0\0\0xyBBBB\0\0\0\0"s), "AxyB");
    EXPECT_EQ(typesIn("AAAA\2\0\0\0xyBbBB\0\0\0\0CCCC\0\0\0\0"s), "Axy");
    EXPECT_EQ(typesIn("AAAA\2\0\0\0xyBBBB\1\0\0\0"s), "Axy");
    EXPECT_EQ(typesIn("AAAA\2\0\0\0xyBBBB\0\0\0"s), "Axy");
    EXPECT_EQ(typesIn("AAAA\2\0\0\0xyBBBB\0\0\0\0AAAA\1\0\0\0z"s), "AzB");
    EXPECT_EQ(typesIn("AAAA\xF8\xFF\xFF\xFF"s), "");
}

TEST(VxfChunkTable, WritingNeedsRoom) {
    const ReportRecorder recorder;
    Bytes payload = {7, 8};
    VxfChunkTable table;
    table.setEntry(makeEntry(kOther, regionOf(payload)));
    table.setEntry(makeEntry(kVxfChunkTypeUser));
    Bytes room(19, 0xEE);
    write(&table, regionOf(room));
    const std::string_view text("ABCD\2\0\0\0\7\x8USER\0\0\0\0\xEE", 19);
    EXPECT_EQ(room, Bytes(text.begin(), text.end()));
    EXPECT_TRUE(recorder.empty());
    Bytes small(17, 0xEE);
    write(&table, regionOf(small));
    EXPECT_EQ(small, Bytes(17, 0xEE));
    EXPECT_EQ(recorder.texts(),
              "VxfChunkTable requires 18 bytes of storage, but MemoryRegion has only 17.\n");
}

TEST(VxfManipulator, FaultsOfTheHeaderAreReportedInOrder) {
    struct Case {
        std::size_t m_length;
        std::vector<std::pair<std::size_t, std::uint8_t>> m_changes;
        std::string m_texts;
    };
    // One texture, no chunks.
    Bytes good(48);
    std::memcpy(good.data(), "VXF \x28\0\0\0\2\1\0\0\x30", 13);
    const Case kCases[] = {
        {48, {}, ""},
        {47,
         {},
         "MemoryRegion must be big enough to hold minimal header (48 bytes,) but is only 47 bytes.\n"
         "MemoryRegion must be at least big enough to hold the padded header and user data (48 bytes,) but "
         "is "
         "only 47 bytes\n"},
        {48, {{0, 'v'}}, "Expected 0x20465876 (Vxf::kMagic) but found 0x20465876 instead.\n"},
        {48,
         {{8, 3}, {9, 0}, {10, 32}},
         "Expected VXF version number to be 1 or 2, but it was 3.\n"
         "Alignment is 1 << 32, but 1 << 31 is the maximum alignment\n"
         "Number of textures is 0, but should be at least 1\n"},
        {48,
         {{4, 41}},
         "MemoryRegion must be at least big enough to hold the padded header and user data (49 bytes,) but "
         "is "
         "only 48 bytes\n"},
        {48, {{7, 0x80}}, ""}, // a negative number of bytes fits
    };
    for (const Case& testCase : kCases) {
        ReportRecorder recorder;
        Bytes bytes = good;
        for (const auto& [offset, value] : testCase.m_changes) {
            bytes[offset] = value;
        }
        HeapFile file(bytes, testCase.m_length);
        VxfManipulator manipulator;
        manipulator.readFrom(file.region());
        EXPECT_EQ(recorder.texts(), testCase.m_texts);
        EXPECT_EQ(manipulator.hasFile(), testCase.m_length >= 48);
        EXPECT_EQ(manipulator.m_chunks.getEntries(), 0);
    }
}

TEST(VxfManipulator, AFileIsLaidOutByTheAlignmentsOfItsTextures) {
    const Vex::DataFormat kR8{0x204001};
    const Vex::Texture textures[] = {make2d(8, 8, 1, Vex::kTileModeThin_1dThin, kR8),
                                     make2d(64, 64, 1, Vex::kTileModeThin_2dThin, kR8)};
    AllocatedMemory memory(kCapitals);
    VxfManipulator file;
    file.writeTo(&memory, textures, 2);
    EXPECT_EQ(memory.begin[11], 'Q');
    file.zeroPadding();
    std::uint32_t words[4];
    std::memcpy(words, memory.begin, sizeof words);
    EXPECT_EQ(words[0], Vxf::kMagic);
    EXPECT_EQ(words[1], 4096u - 8);
    EXPECT_EQ(words[2], 0x000C0202u); // version 2, two textures, 1 << 12
    EXPECT_EQ(words[3], 3u * 4096);
    EXPECT_EQ(memory.length(), 3u * 4096);
    EXPECT_EQ(file.getAlignmentOfTexture(0), 256);
    EXPECT_EQ(file.getAlignmentOfTexture(1), 4096);
    EXPECT_EQ(file.getTexture(0)->m_regs[0], 0u);
    EXPECT_EQ(file.getTexture(1)->m_regs[0], 4096u);
    EXPECT_EQ(file.getTexels(0).length(), file.getTexture(0)->m_regs[7]);
    EXPECT_EQ(file.getAllTexels().length(), 2u * 4096);
    EXPECT_EQ(file.getTexels(0).end[-1], 'Q');
    MemoryRegion gap;
    gap.build(file.getTexels(0).end, 4096 - 256);
    EXPECT_EQ(bytesOf(gap), Bytes(4096 - 256));

    VxfManipulator reader;
    reader.readFrom(&memory);
    EXPECT_EQ(reader.m_chunks.getEntries(), 0);
    EXPECT_TRUE(same(reader.getTexels(1), file.getTexels(1)));
    const ReportRecorder recorder;
    file.writeTo(&memory, textures, 256);
    file.writeTo(nullptr, nullptr, 1);
    EXPECT_FALSE(file.hasFile());
    EXPECT_EQ(recorder.texts(), "can't write more than 255 textures to a VXF file.\n"
                                "destinationMemory must not be NULL.\ntexture must not be NULL.\n");
}

TEST(Vxf, ImagesOfEveryShapeComeBack) {
    const std::function<void(Vex::Texture*)> kShapes[] = {
        [](Vex::Texture* t) { *t = make2d(17, 9, 5); },
        [](Vex::Texture* t) {
            t->initAs2dArray(12, 20, 3, 0, 4, kRgba8, Vex::kTileModeDisplay_1dThin, Vex::kNumFragments1,
                             false);
        },
        [](Vex::Texture* t) {
            t->initAs2dArray(80, 80, 2, 0, 1, kRgba8, Vex::kTileModeThin_2dThin, Vex::kNumFragments1, true);
        },
        [](Vex::Texture* t) {
            t->initAs2dArray(9, 9, 1, 0, 1, kRgba8, Vex::kTileModeThin_2dThin, Vex::kNumFragments4, false);
        },
        [](Vex::Texture* t) { t->initAs3d(10, 6, 5, 3, kRgba8, Vex::kTileModeThick_1dThick); },
        [](Vex::Texture* t) { *t = make2d(8, 8, 1, Vex::kTileModeThin_1dThin, {0xFAC00E}); },
    };
    Configuration configuration;
    for (const auto& shape : kShapes) {
        const ReportRecorder recorder;
        Vex::Texture texture;
        shape(&texture);
        MemoryMappedImage image;
        image.reallocate(&texture);
        fill(image);
        Modifiers modifiers;
        modifiers.m_decode.m_add[1] = 0.5f;
        modifiers.m_encode.m_power[3] = 2;
        image.setModifiers(modifiers);

        AllocatedMemory fresh;
        AllocatedMemory dirty(kCapitals);
        ASSERT_EQ(convertToVxf(&image, &fresh, &configuration), kErrorNone);
        ASSERT_EQ(convertToVxf(&image, &dirty, &configuration), kErrorNone);
        EXPECT_EQ(bytesOf(fresh), bytesOf(dirty)); // padding inside and between surfaces included

        MemoryMappedImage back;
        ASSERT_EQ(convertFromVxf(&fresh, &back, &configuration), kErrorNone);
        EXPECT_EQ(bytesOf(back.getMemoryRegion()), bytesOf(image.getMemoryRegion()));
        EXPECT_EQ(std::memcmp(back.getVexTexture(), image.getVexTexture(), sizeof texture), 0);
        EXPECT_EQ(std::memcmp(&back.getModifiers(), &modifiers, sizeof modifiers), 0);
        EXPECT_TRUE(recorder.empty());
    }
}

TEST(Vxf, AnImageOfTheSameShapeTakesTheTexelsInTheTileModeOfTheFile) {
    Configuration configuration;
    const Vex::Texture tiled = make2d(70, 70, 1, Vex::kTileModeThin_2dThin);
    MemoryMappedImage image;
    image.reallocate(&tiled);
    fill(image);
    AllocatedMemory memory;
    ASSERT_EQ(convertToVxf(&image, &memory, &configuration), kErrorNone);

    const Vex::Texture other = make2d(70, 70, 1, Vex::kTileModeThin_1dThin);
    MemoryMappedImage back;
    back.reallocate(&other);
    EXPECT_EQ(convertFromVxf(&memory, static_cast<Image*>(&back), &configuration), kErrorNone);
    EXPECT_EQ(bytesOf(back.getMemoryRegion()), bytesOf(image.getMemoryRegion()));

    const ReportRecorder recorder;
    const Vex::Texture wider = make2d(71, 70);
    back.reallocate(&wider);
    convertFromVxf(&memory, static_cast<Image*>(&back), &configuration);
    EXPECT_EQ(recorder.texts(),
              "source and destination must have the same dimensions and Vex::SurfaceFormat.\n");
}

TEST(Vxf, TextureNumbersAreChecked) {
    Configuration configuration;
    HeapFile file(makeFile({make2d(8, 8), make2d(4, 4)}));
    EXPECT_EQ(vxfGetNumberOfTextures(file.region(), &configuration), 2);
    MemoryMappedImage image;
    Modifiers modifiers;
    modifiers.m_decode.m_add[0] = 3;
    image.setModifiers(modifiers);
    ASSERT_EQ(convertFromVxf(file.region(), &image, &configuration, 1), kErrorNone);
    EXPECT_EQ(bytesOf(image.getMemoryRegion()), Bytes(64, 2));
    EXPECT_EQ(image.getModifiers().m_decode.m_add[0], 3); // no chunk of modifiers

    const ReportRecorder recorder;
    EXPECT_EQ(convertFromVxf(file.region(), &image, &configuration, 2), kErrorFailed);
    EXPECT_EQ(convertFromVxf(file.region(), &image, &configuration, -1), kErrorFailed);
    EXPECT_EQ(recorder.texts(), "VXF has only 2 textures, so you can't request texture index 2\n"
                                "VXF has only 2 textures, so you can't request texture index -1\n");
    Texture texture;
    EXPECT_EQ(vxf2Texture(file.region(), &texture, &configuration, 1), kErrorNone);
    EXPECT_EQ(bytesOf(texture.m_memoryRegion), Bytes(256, 2));
    EXPECT_EQ(texture.m_regs[7], 256u);
    vxf2Texture(file.region(), &texture, &configuration, 2);
    EXPECT_EQ(recorder.assertions().size(), 2u);
    EXPECT_TRUE(file.region()->contains(texture.m_memoryRegion));
}

TEST(Vxf, AJoinTakesFirstTexturesAndASplitAllChunks) {
    Configuration configuration;
    HeapFile three(makeFile({make2d(8, 8), make2d(4, 4), make2d(16, 16)}));
    HeapFile one(makeFile({make2d(32, 8)}));
    MemoryRegion* sources[256] = {three.region(), one.region()};
    AllocatedMemory joined(kCapitals);
    ASSERT_EQ(vxfJoin(&joined, sources, 2, &configuration), kErrorNone);
    VxfManipulator file;
    file.readFrom(&joined);
    EXPECT_EQ(file.getNumberOfTextures(), 2);
    EXPECT_EQ(file.m_chunks.getEntries(), 0);
    EXPECT_EQ(bytesOf(file.getTexels(0)), Bytes(256, 1));
    EXPECT_EQ(bytesOf(file.getTexels(1)), Bytes(1024, 1));

    AllocatedMemory parts[3];
    ResizableMemoryRegion* destinations[] = {&parts[0], &parts[1], &parts[2]};
    ASSERT_EQ(vxfSplit(destinations, 3, three.region(), &configuration), kErrorNone);
    for (unsigned i = 0; i < 3; ++i) {
        file.readFrom(&parts[i]);
        EXPECT_EQ(bytesOf(file.getTexels(0))[0], i + 1);
        EXPECT_EQ(bytesOf(file.m_chunks.getEntry(kVxfChunkTypeUser).m_region), (Bytes{1, 2, 3}));
    }
    std::fill(std::begin(sources), std::end(sources), one.region());
    EXPECT_EQ(vxfJoin(&joined, sources, 255, &configuration), kErrorNone);
    EXPECT_EQ(vxfGetNumberOfTextures(&joined, &configuration), 255);
    const ReportRecorder recorder;
    EXPECT_EQ(vxfJoin(&joined, sources, 256, &configuration), kErrorFailed);
    EXPECT_EQ(vxfSplit(destinations, 2, three.region(), &configuration), kErrorNone);
    EXPECT_EQ(recorder.texts(), "can't write more than 255 textures to a VXF file.\n"
                                "Source VXF has 3 textures. Must match destinations value of 2.\n");
}

TEST(Vxf, ACaptureTakesTheSurfacesThatTheDescriptorNames) {
    Configuration configuration;
    Bytes texels(4 * 8192, 5);
    Texture texture;
    static_cast<Vex::Texture&>(texture) = make2d(32, 32, 4);
    texture.setMipLevelRange(2, 3);
    texture.m_memoryRegion = regionOf(texels);
    AllocatedMemory memory(kCapitals);
    ASSERT_EQ(capture2Vxf(&texture, &memory, &configuration), kErrorNone);
    VxfManipulator file;
    file.readFrom(&memory);
    Bytes expected(4096 + 1024 + 256 + 256, 'Q');
    std::fill(expected.begin() + 4096 + 1024, expected.end(), std::uint8_t{5});
    EXPECT_EQ(bytesOf(file.getTexels(0)), expected);

    MemoryMappedImage image;
    EXPECT_EQ(capture2ReallocatableImage(&texture, &image, &configuration), kErrorNone);
    EXPECT_EQ(bytesOf(image.getMemoryRegion()), Bytes((1024 + 256 + 64 + 16) * 4, 5));
    const ReportRecorder recorder;
    texture.m_memoryRegion.end -= 4 * 8192 - 5300;
    EXPECT_EQ(capture2Vxf(&texture, &memory, &configuration), kErrorFailed);
    EXPECT_EQ(recorder.warnings().size(), 1u);
}

TEST(Vxf, ArgumentsAreCheckedInOrder) {
    const ReportRecorder recorder;
    Configuration configuration;
    configuration.m_jobManager = nullptr;
    EXPECT_EQ(convertToVxf(nullptr, nullptr, &configuration), kErrorFailed);
    EXPECT_EQ(vxf2Texture(nullptr, nullptr, nullptr), kErrorFailed);
    EXPECT_EQ(recorder.texts(),
              "source must not be NULL.\ndestination must not be NULL.\n"
              "configuration->m_jobManager parameter must not be NULL - this function runs jobs.\n"
              "source must not be NULL.\ndestination must not be NULL.\nconfiguration must not be NULL.\n");
    EXPECT_EQ(recorder.assertions()[0].m_file, "raw\\vxf_highlevel");
}

} // namespace
