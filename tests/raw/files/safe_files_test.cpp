// What readers and writers of all types owe to their callers: a source that may share memory with its
// destination, memory for no more than a file can hold, and a reason for every failure.
#include "support/counting_heap.h"
#include "support/damaged_files.h"
#include "support/surfaces.h"

#include <algorithm>

namespace {

using namespace qor;
using namespace qor::Texsmith::Raw;
using namespace TestSupport;

constexpr int kFailed = static_cast<int>(kErrorFailed);

void setBytes(AllocatedMemory* memory, const Bytes& bytes) {
    memory->resize(bytes.size());
    std::copy(bytes.begin(), bytes.end(), memory->begin);
}

// A type with the format that it is written in as it lies.
struct Type {
    const char* m_extension;
    const char* m_format;
};
constexpr Type kTypes[] = {
    {".vxf", "R8G8B8A8Unorm"}, {".dds", "R8G8B8A8Unorm"}, {".tga", "B8G8R8A8Unorm"},
    {".bmp", "B8G8R8A8Unorm"}, {".hdr", "R9G9B9E5Float"}, {".pfm", "R32G32B32X32Float"},
    {".png", "R8G8B8A8Unorm"}, {".jpg", "L8Unorm"},       {".tsh", "R16G16B16A16Unorm"}};

TEST(SharedMemory, AnImageMaySaveOverItselfAndLoadOverItsFile) {
    Configuration configuration;
    for (const Type& type : kTypes) {
        SCOPED_TRACE(type.m_extension);
        TestImage picture(makeFlat(type.m_format, 61, 47), 4);
        AllocatedMemory expected, memory;
        const int error = save(&picture, &expected, type.m_extension, &configuration);
        ReallocatableImage image(&memory);
        image.reallocate(picture.getVexTexture());
        std::copy(picture.bytes().begin(), picture.bytes().end(), memory.begin);
        EXPECT_EQ(save(&image, &memory, type.m_extension, &configuration), error);
        if (error != 0) {
            continue; // no codec in this build
        }
        EXPECT_EQ(bytesOf(memory), bytesOf(expected));
        MemoryMappedImage elsewhere;
        ReallocatableImage back(&memory);
        EXPECT_EQ(loadWithResult(&elsewhere, &expected, type.m_extension, &configuration, 0), kErrorNone);
        EXPECT_EQ(loadWithResult(&back, &memory, type.m_extension, &configuration, 0), kErrorNone);
        EXPECT_TRUE(type.m_extension == std::string(".tsh") || bytesOf(back) == bytesOf(elsewhere));
    }
}

TEST(SharedMemory, AFileMayBeConvertedJoinedAndSplitWhereItLies) {
    Configuration configuration;
    for (const Type& from : kTypes) {
        TestImage picture(makeFlat(from.m_format, 61, 47), 4);
        AllocatedMemory file, memory, expected;
        if (save(&picture, &file, from.m_extension, &configuration) != 0) {
            continue;
        }
        for (const char* to : {".tga", ".vxf", ".dds", ".hdr", ".pfm", ".bmp", ".unknown"}) {
            Bytes bytes(100, 0x55);
            bytes.insert(bytes.end(), file.begin, file.end);
            setBytes(&memory, bytes);
            MemoryRegion inside = {memory.begin + 100, memory.end};
            const char* extension = to == std::string(".unknown") ? to : from.m_extension;
            ASSERT_EQ(convertWithResult(&file, extension, &expected, to, &configuration), kErrorNone);
            EXPECT_EQ(convertWithResult(&inside, extension, &memory, to, &configuration), kErrorNone);
            EXPECT_TRUE(bytesOf(memory) == bytesOf(expected)) << from.m_extension << " to " << to;
            MemoryMappedImage loaded;
            if (to != extension) {
                EXPECT_EQ(loadWithResult(&loaded, &memory, to, &configuration, 0), kErrorNone) << to;
                EXPECT_TRUE(loaded.getPixelsWide(0) == 61 && loaded.getPixelsTall(0) == 47) << to;
            }
        }
    }
    TestImage picture(makeFlat("R8G8B8A8Unorm", 9, 5), 4);
    AllocatedMemory one, joined, memory, parts[2];
    save(&picture, &one, ".vxf", &configuration);
    setBytes(&memory, bytesOf(one));
    MemoryRegion* sources[] = {&one, &one};
    MemoryRegion* shared[] = {&memory, &memory};
    ASSERT_EQ(vxfJoin(&joined, sources, 2, &configuration), kErrorNone);
    EXPECT_EQ(vxfJoin(&memory, shared, 2, &configuration), kErrorNone);
    EXPECT_EQ(bytesOf(memory), bytesOf(joined));
    ResizableMemoryRegion* over[] = {&memory, &parts[1]};
    ResizableMemoryRegion* apart[] = {&one, &parts[0]};
    ASSERT_EQ(vxfSplit(apart, 2, &joined, &configuration), kErrorNone);
    EXPECT_EQ(vxfSplit(over, 2, &memory, &configuration), kErrorNone);
    EXPECT_EQ(bytesOf(memory), bytesOf(one));
    EXPECT_EQ(bytesOf(parts[1]), bytesOf(parts[0]));
}

// Files that are cut behind a header of 16384 x 16384 texels.
std::vector<std::pair<const char*, Bytes>> makeBoasts() {
    Configuration configuration;
    std::vector<std::pair<const char*, Bytes>> files;
    TestImage picture(makeFlat("R8G8B8A8Unorm", 64, 64), 4);
    const auto change = [&](const char* extension, std::initializer_list<std::pair<int, int>> changes) {
        AllocatedMemory file;
        EXPECT_EQ(save(&picture, &file, extension, &configuration), 0);
        Bytes bytes = bytesOf(file);
        for (const auto& [place, value] : changes) {
            bytes[static_cast<std::size_t>(place)] = static_cast<std::uint8_t>(value);
        }
        files.emplace_back(extension, bytes);
    };
    change(".tga", {{12, 0}, {13, 0x40}, {14, 0}, {15, 0x40}});
    change(".tga", {{2, 10}, {12, 0}, {13, 0x40}, {14, 0}, {15, 0x40}});
    change(".dds", {{12, 0}, {13, 0x40}, {16, 0}, {17, 0x40}});
    change(".vxf", {{24, 0xFF}, {25, 0xFF}, {26, 0xFF}, {27, 0x0F}}); // width and height less 1
    change(".bmp", {{18, 0}, {19, 0x40}, {22, 0}, {23, 0x40}});
    const std::string hdr = "#?RADIANCE\n\n-Y 16384 +X 16384\n";
    files.emplace_back(".hdr", Bytes(hdr.begin(), hdr.end()));
    files.emplace_back(".hdr", Bytes(hdr.begin(), hdr.end()));
    files.back().second.insert(files.back().second.end(), {2, 2, 0x40, 0, 0xFF, 1, 0xFF, 1});
    return files;
}

TEST(Claims, OfMoreThanAFileCanHoldTakeNoMemory) {
    for (const auto& [extension, bytes] : makeBoasts()) {
        SCOPED_TRACE(extension);
        const ReportRecorder recorder;
        Configuration configuration;
        CountingHeap heap;
        AllocatedMemory storage(heap.allocator());
        ReallocatableImage image(&storage);
        HeapFile file(bytes);
        EXPECT_EQ(loadWithResult(&image, file.region(), extension, &configuration, 0), kErrorFailed);
        EXPECT_EQ(heap.m_asked.size(), 0u);
        EXPECT_EQ(recorder.warnings().size(), 1u);
    }
}

TEST(Claims, OfRunsMayBeLargeByRight) {
    Configuration configuration;
    Bytes tga = {0, 0, 10, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 8, 0, 8, 32, 0x20}; // 2048 x 2048
    const std::string text = "#?RADIANCE\n\n-Y 2048 +X 2048\n";
    Bytes hdr(text.begin(), text.end());
    for (int i = 0; i < 2048 * 2048 / 128; ++i) {
        tga.insert(tga.end(), {0xFF, 1, 2, 3, 4});
    }
    hdr.insert(hdr.end(), {1, 2, 3, 128});
    for (int i = 0; i < 4 * 2048; ++i) { // more than all lines
        hdr.insert(hdr.end(), {1, 1, 1, 255, 1, 1, 1, 255, 1, 1, 1, 255});
    }
    for (const auto& [extension, bytes] : {std::pair{".tga", tga}, {".hdr", hdr}}) {
        MemoryMappedImage image;
        HeapFile file(bytes);
        EXPECT_EQ(loadWithResult(&image, file.region(), extension, &configuration, 0), kErrorNone);
        EXPECT_EQ(image.getBytesTotal(), 2048u * 2048 * 4);
    }
}

TEST(Faults, RunningOutOfMemoryIsAnErrorWithAReport) {
    const ReportRecorder recorder;
    Configuration configuration;
    TestImage picture(makeFlat("R8G8B8A8Unorm", 4, 4), 1);
    AllocatedMemory file, other;
    ASSERT_EQ(save(&picture, &file, ".tsh", &configuration), 0);
    CountingHeap heap;
    heap.m_most = 0;
    configuration.m_allocator = heap.allocator();
    MemoryMappedImage image;
    EXPECT_EQ(loadWithResult(&image, &file, ".tsh", &configuration, 0), kErrorFailed);
    EXPECT_EQ(recorder.assertions().size(), 1u);
    EXPECT_EQ(save(&picture, &other, ".tsh", &configuration), kFailed);
    EXPECT_EQ(recorder.assertions().size(), 2u);
    AllocatedMemory none(heap.allocator());
    ReallocatableImage small(&none);
    HeapFile tga(TgaWriter().file());
    EXPECT_EQ(loadWithResult(&small, tga.region(), ".tga", &configuration, 0), kErrorFailed);
    EXPECT_EQ(save(&picture, &none, ".dds", &configuration), kFailed);
    EXPECT_EQ(recorder.warnings().size(), 2u);
    configuration.m_allocator = Configuration().m_allocator;
    EXPECT_EQ(loadWithResult(&small, &file, ".tsh", &configuration, 0), kErrorFailed);
    EXPECT_EQ(recorder.warnings().size(), 3u);
}

// Every format into every type: it is written, or one report says why not.
TEST(Faults, AFormatThatATypeCannotHoldIsReported) {
    Configuration configuration;
    unsigned refused = 0;
    for (int i = 0; i < getNamedDataFormatCount(); ++i) {
        const NamedDataFormat named = getNamedDataFormat(i);
        TestImage picture(makeFlat(named.m_name, 8, 4), 1);
        for (const Type& type : kTypes) {
            const ReportRecorder recorder;
            AllocatedMemory file;
            const int error = save(&picture, &file, type.m_extension, &configuration);
            EXPECT_EQ(recorder.warnings().size() + recorder.assertions().size(), error != 0 ? 1u : 0u)
                << named.m_name << type.m_extension << recorder.texts();
            refused += error != 0;
        }
    }
    EXPECT_GE(refused, 7u); // no file of pixels holds the format without texels
}

std::string declinedBitmap(unsigned headerBytes, unsigned bits, unsigned compression) {
    std::string file(100, '\0');
    file.replace(0, 2, "BM");
    file[14] = static_cast<char>(headerBytes);
    file[18] = file[22] = 2;
    file[28] = static_cast<char>(bits);
    file[30] = static_cast<char>(compression);
    return file;
}

TEST(Faults, WhatAReaderTurnsDownItExplains) {
    struct Case {
        const char* m_extension;
        std::string m_file;
        const char* m_report;
    };
    const Case kCases[] = {
        {".hdr", "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n",
         "The HDR file cannot be read: it ends within its header."},
        {".pfm", "P5 1 1 1 ", "The PFM file cannot be read: it begins with neither 'Pf' nor 'PF'."},
        {".pfm", "PF 1 0000000000000001 1 ",
         "The PFM file cannot be read: a word of its header is too long."},
        {".bmp", "", "The BMP file cannot be read: it is shorter than its headers."},
        {".bmp", declinedBitmap(64, 24, 4),
         "The BMP file cannot be read: its pixels are compressed as RLE24, which is not read."},
        {".bmp", declinedBitmap(40, 0, 4),
         "The BMP file cannot be read: it holds a JPEG file, which is not read from a bitmap."},
        {".hdr", "#?RADIANCE\n\n+X 3 +Y 2\n",
         "The HDR file cannot be read: its pixels are in '+X +Y' order, but columns cannot come before "
         "rows."},
        {".tga", "", "The TGA file cannot be read: it is too small for its header."},
        {".tsh", "[]", "The TSH file cannot be read: it describes no image."},
        {".tsh", "{\"a\" : 1}", "The TSH file cannot be read: it describes no image."},
    };
    for (const Case& testCase : kCases) {
        const ReportRecorder recorder;
        Configuration configuration;
        MemoryMappedImage image;
        HeapFile file(Bytes(testCase.m_file.begin(), testCase.m_file.end()));
        EXPECT_NE(loadWithResult(&image, file.region(), testCase.m_extension, &configuration, 0), kErrorNone);
        ASSERT_EQ(recorder.warnings().size(), 1u) << testCase.m_file;
        EXPECT_EQ(recorder.warnings()[0].m_text, testCase.m_report);
    }
    for (const auto& [pixelBits, type] : {std::pair{48, 2}, {64, 10}}) { // before anything is allocated
        const ReportRecorder recorder;
        Configuration configuration;
        MemoryMappedImage image;
        Bytes tga = TgaWriter().file();
        tga[2] = static_cast<std::uint8_t>(type);
        tga[16] = static_cast<std::uint8_t>(pixelBits);
        HeapFile file(tga);
        EXPECT_EQ(loadWithResult(&image, file.region(), ".tga", &configuration, 0), kErrorFailed);
        EXPECT_EQ(image.getBytesTotal(), 0u);
        EXPECT_EQ(recorder.warnings().size(), 1u);
    }
    const ReportRecorder recorder;
    Configuration configuration;
    MemoryMappedImage image;
    HeapFile file(Bytes(100));
    EXPECT_EQ(convertFromWic(file.region(), &image, &configuration, g_wicGuidBmp, 1), kErrorWicGetFrame);
    EXPECT_EQ(recorder.warnings().at(0).m_text, "The BMP file has 1 image, so there is no image 1.");
}

// The text ends, or breaks off behind what would be enough for an image.
TEST(Faults, ATextOfADescriptorMustBeWhole) {
    Configuration configuration;
    TestImage picture(makeFlat("R8G8B8A8Unorm", 4, 4), 1);
    AllocatedMemory file;
    ASSERT_EQ(save(&picture, &file, ".tsh", &configuration), 0);
    for (std::size_t length = 0; length < file.length(); ++length) {
        const Outcome outcome = loadFront(bytesOf(file), length, ".tsh");
        EXPECT_EQ(outcome.m_error, kErrorFailed) << length;
        EXPECT_EQ(outcome.m_warnings, 1u) << length;
        EXPECT_TRUE(outcome.m_texels.empty());
    }
}

TEST(Faults, AWrongOrCutContainerFailsWhateverIsAskedOfIt) {
    Configuration configuration;
    TestImage picture(makeFlat("R8G8B8A8Unorm", 16, 16), 1);
    AllocatedMemory whole, other;
    ASSERT_EQ(save(&picture, &whole, ".vxf", &configuration), 0);
    Bytes wrong = bytesOf(whole);
    wrong[8] = 3; // the version
    for (const Bytes& bytes : {wrong, Bytes(whole.begin, whole.end - 1)}) {
        const ReportRecorder recorder;
        HeapFile file(bytes), same(bytes);
        MemoryMappedImage image;
        Texture texture;
        MemoryRegion* sources[] = {file.region()};
        ResizableMemoryRegion* destinations[] = {&other};
        std::size_t reports = 0;
        const auto expectFailure = [&](int error) {
            EXPECT_NE(error, 0);
            const std::size_t now = recorder.assertions().size() + recorder.warnings().size();
            EXPECT_GT(now, reports);
            reports = now;
        };
        expectFailure(areBitwiseEqual(file.region(), ".vxf", same.region(), ".vxf", &configuration));
        expectFailure(static_cast<int>(convertFromVxf(file.region(), &image, &configuration)));
        expectFailure(
            static_cast<int>(convertFromVxf(file.region(), static_cast<Image*>(&picture), &configuration)));
        expectFailure(static_cast<int>(vxf2Texture(file.region(), &texture, &configuration)));
        expectFailure(static_cast<int>(vxfJoin(&other, sources, 1, &configuration)));
        expectFailure(static_cast<int>(vxfSplit(destinations, 1, file.region(), &configuration)));
        expectFailure(
            static_cast<int>(convertWithResult(file.region(), ".vxf", &other, ".dds", &configuration)));
    }
}

} // namespace
