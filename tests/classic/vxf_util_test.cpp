#include "support/loaded_file.h"
#include "support/report_recorder.h"
#include "support/surfaces.h"
#include "support/temporary_file.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace {

using namespace TestSupport;
using namespace qor::Texsmith;
using Classic = qor::Texsmith::Image;

// A file of ours in memory, with `payload` as user data.
std::vector<std::uint8_t> fileOf(VexTextureGen* image, const char* format, const std::string& payload = {}) {
    std::vector<std::uint8_t> user(sizeof(Vxf::UserData) + payload.size());
    auto* head = reinterpret_cast<Vxf::UserData*>(user.data());
    head->m_size = static_cast<std::uint32_t>(payload.size());
    std::memcpy(head + 1, payload.data(), payload.size());
    Raw::ThreadpoolJobManager manager;
    Vxf::VxfFile* file =
        writeImage2VxfInMemory(image, formatNamed(format), payload.empty() ? nullptr : head, &manager);
    if (file == nullptr) {
        return {};
    }
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(file);
    std::vector<std::uint8_t> all(bytes, bytes + file->m_contents.m_streamSize);
    toolsSystemRelease(file);
    return all;
}

void fill(Classic* image) {
    std::vector<float> row(image->getWidth());
    for (unsigned y = 0; y < image->getHeight(); ++y) {
        for (unsigned x = 0; x < image->getWidth(); ++x) {
            row[x] = static_cast<float>((x * 7 + y * 13) % 256) / 255.0f;
        }
        image->setScanline(row.data(), image->getWidth(), y, y % image->getNumPlanes());
    }
}

struct Read {
    ErrorCode m_header;
    ErrorCode m_contents;
    std::vector<std::uint8_t> m_bytes; // of the contents
};

Read readClassic(std::vector<std::uint8_t> file) {
    file.shrink_to_fit();
    Raw::MemoryRegion region = regionOf(file);
    Vxf::Header header = {};
    Read read = {loadVxfHeader(&header, &region), kVxfErrorNone, {}};
    if (read.m_header == kVxfErrorNone) {
        read.m_bytes.resize(std::min(header.m_contentsSize, 1u << 20));
        read.m_contents = readVxfContents(reinterpret_cast<Vxf::Contents*>(read.m_bytes.data()),
                                          static_cast<unsigned>(read.m_bytes.size()), &region);
    }
    return read;
}

TEST(VxfUtil, WritesWhatBothInterfacesRead) {
    ReportRecorder recorder;
    Classic image(33, 17, 4);
    fill(&image);
    for (const char* format : {"R8G8B8A8Unorm", "Bc3Unorm", "Bc7Unorm"}) {
        std::vector<std::uint8_t> file = fileOf(&image, format, "user data");
        const Read read = readClassic(file);
        EXPECT_EQ(read.m_contents, kVxfErrorNone);
        const auto* contents = reinterpret_cast<const Vxf::Contents*>(read.m_bytes.data());
        EXPECT_EQ(0, std::memcmp(getUserData(contents) + 1, "user data", 9));
        EXPECT_EQ(computeContentSize(contents), read.m_bytes.size());
        Raw::MemoryRegion region = regionOf(file);
        Raw::MappedMemory memory;
        Raw::ReallocatableImage decoded(&memory);
        Raw::Configuration configuration;
        ASSERT_EQ(Raw::convertFromVxf(&region, &decoded, &configuration), Raw::kErrorNone);
        std::vector<std::uint8_t> expected(image.getBufferSizeRequired(formatNamed(format)));
        image.compressPixels(expected.data(), formatNamed(format));
        ASSERT_EQ(memory.length(), expected.size());
        EXPECT_EQ(0, std::memcmp(memory.begin, expected.data(), expected.size())) << format;
    }
    EXPECT_TRUE(recorder.empty()) << recorder.texts();
}

// Raw data of that format goes into the file as it is, without its pixels.
TEST(VxfUtil, WritesRawDataAsItIs) {
    Classic image(4, 4, 4, Classic::Plane::kTypeConstant);
    image.setRawData("block of sixteen", formatNamed("Bc7Unorm"));
    const std::vector<std::uint8_t> file = fileOf(&image, "Bc7Unorm");
    const std::string text(file.begin(), file.end());
    EXPECT_NE(text.find("block of sixteen"), std::string::npos);
}

// A client's class may hand out anything.
class OddPicture : public Classic {
public:
    OddPicture() : Classic(4, 4, 1) {}
    bool m_hasImage = true;
    std::uint64_t m_extraBytes = 0;

    void enumerateImages(IdentifiedImageCallback callback, void* context) override {
        callback(m_hasImage ? this : nullptr, {}, context);
    }
    using Classic::enumerateImages;
    bool initTexture(Vex::Texture* texture, std::uint64_t* size, unsigned* alignment, Vex::DataFormat format,
                     Vex::TileMode tileMode) const override {
        const bool isThere = Classic::initTexture(texture, size, alignment, format, tileMode);
        *size += m_extraBytes;
        return isThere;
    }
};

TEST(VxfUtil, TurnsDownPicturesWithoutImagesAndBeyondAllMemory) {
    ReportRecorder recorder;
    OddPicture picture;
    picture.m_hasImage = false;
    EXPECT_TRUE(fileOf(&picture, "R8Unorm").empty());
    picture.m_hasImage = true;
    picture.m_extraBytes = ~std::uint64_t{511}; // with the head this wraps
    EXPECT_TRUE(fileOf(&picture, "R8Unorm").empty());
    EXPECT_EQ(recorder.assertions().size(), 2u);
}

TEST(VxfUtil, WritesVolumesInThickTiles) {
    VolumeImage volume(12, 8, 20, 1);
    for (unsigned z = 0; z < 20; ++z) {
        std::vector<float> row(12, static_cast<float>(z) / 255.0f);
        for (unsigned y = 0; y < 8; ++y) {
            volume.getSlice(z)->setScanline(row.data(), 12, y, 0);
        }
    }
    std::vector<std::uint8_t> file = fileOf(&volume, "R8Unorm");
    Raw::MemoryRegion region = regionOf(file);
    Raw::VxfManipulator manipulator;
    manipulator.readFrom(&region);
    const Vex::Texture* texture = manipulator.getTextureInFile(0);
    ASSERT_NE(texture, nullptr);
    EXPECT_EQ(texture->getTileMode(), Vex::kTileModeThick_1dThick);
    const Raw::MemoryRegion texels = manipulator.getTexelsInFile(0);
    VolumeImage back(12, 8, 20, 1);
    EXPECT_NE(back.loadFromSurface(texels.begin, unsigned(texels.length()), Vex::kTileModeThick_1dThick,
                                   formatNamed("R8Unorm")),
              0u);
    float value = 0;
    back.getSlice(19)->getScanline(&value, 1, 7, 0, 11);
    EXPECT_EQ(value, 19 / 255.0f);
}

TEST(VxfUtil, TellsEveryFaultByItsCode) {
    Classic image(16, 16, 4);
    const std::vector<std::uint8_t> good = fileOf(&image, "R8G8B8A8Unorm", "abc");
    struct Case {
        std::size_t m_at;
        std::uint8_t m_byte;
        ErrorCode m_header, m_contents;
    };
    constexpr Case kCases[] = {
        {0, 'X', kVxfErrorWrongMagic, kVxfErrorNone},
        {8, 3, kVxfErrorNone, kVxfErrorWrongVersion},
        {8, 1, kVxfErrorNone, kVxfErrorWrongContentsSize},   // a chunk that version 1 does not have
        {9, 200, kVxfErrorNone, kVxfErrorWrongContentsSize}, // descriptors that are not there
        {10, 40, kVxfErrorNone, kVxfErrorWrongAlignment},
        {10, 31, kVxfErrorNone, kVxfErrorWrongContentsSize},
        {52, 0xFF, kVxfErrorNone, kVxfErrorWrongContentsSize}, // length of the chunk
        {55, 0xFF, kVxfErrorNone, kVxfErrorWrongContentsSize}, // beyond 32 bits with what stands before it
        {48, 'V', kVxfErrorNone, kVxfErrorNone},               // another chunk does not count
        {6, 0x7F, kVxfErrorNone, kVxfErrorTooShort},
    };
    for (const Case& c : kCases) {
        std::vector<std::uint8_t> file = good;
        file[c.m_at] = c.m_byte;
        const Read read = readClassic(file);
        EXPECT_EQ(read.m_header, c.m_header) << c.m_at;
        EXPECT_EQ(read.m_contents, c.m_contents) << c.m_at;
    }
    for (std::size_t length = 0; length <= good.size(); ++length) {
        const Read read = readClassic({good.begin(), good.begin() + std::ptrdiff_t(length)});
        EXPECT_EQ(read.m_header, length < 257 ? kVxfErrorTooShort : kVxfErrorNone);
    }
    EXPECT_EQ(loadVxfHeader(nullptr, static_cast<Raw::MemoryRegion*>(nullptr)), kVxfErrorNullPointer);
    EXPECT_EQ(computeContentSize(nullptr), 0u);
    EXPECT_EQ(getUserData(nullptr), nullptr);
}

TEST(VxfUtil, GoesThroughFiles) {
    Classic image(8, 8, 4);
    fill(&image);
    const TemporaryFile file;
    writeImage2VxfFile(file.c_str(), &image, formatNamed("R8G8B8A8Unorm"), nullptr, nullptr);
    std::FILE* stream = nullptr;
    Vxf::Header header;
    ASSERT_EQ(readVxfHeader(&stream, &header, file.c_str()), kVxfErrorNone);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> closer(stream, &std::fclose);
    std::vector<std::uint8_t> contents(header.m_contentsSize);
    auto* parsed = reinterpret_cast<Vxf::Contents*>(contents.data());
    EXPECT_EQ(readVxfContents(parsed, header.m_contentsSize, stream), kVxfErrorNone);
    EXPECT_EQ(getUserData(parsed)->m_size, 0u);
    EXPECT_EQ(readVxfContents(parsed, 4, stream), kVxfErrorTooShort);
    std::FILE* none = nullptr;
    EXPECT_EQ(readVxfHeader(&none, &header, "no such folder/no such file.vxf"), kVxfErrorCannotOpen);
}

TEST(VxfUtil, HasATextForEveryCode) {
    const Vxf::Header header = {Vxf::kMagic, 99};
    const Vxf::Contents contents[2] = {{3, 0, 40, 0, 0}, {}}; // with the head of a chunk behind
    const auto text = [&](unsigned code, const void* head) {
        char buffer[128] = "unset";
        createVxfErrorMessage(buffer, sizeof(buffer), ErrorCode(code), static_cast<const Vxf::Header*>(head),
                              contents);
        return std::string(buffer);
    };
    EXPECT_EQ(text(0x80D70100, &header), "NULL pointer is passed as vxf header");
    EXPECT_EQ(text(0x80D70101, &header), "File is not a valid vxf file.");
    EXPECT_EQ(text(0x80D70102, &header), "Bad header, contents size is too big.");
    EXPECT_EQ(text(0x80D70103, &header), "File is too short to contain texture contents.");
    EXPECT_EQ(text(0x80D70104, &header),
              "Vxf file version(3) does not match current version of this tool(2)");
    EXPECT_EQ(text(0x80D70105, &header), "File is corrupt. Max m_alignment is out of range 0-31 (40).");
    EXPECT_EQ(text(0x80D70106, nullptr), "Header data is corrupt. Expected content size 0 does not "
                                         "correspond to actual content size 248.");
    EXPECT_EQ(text(0x80D70107, "a.vxf"), "Cannot open the file for read: a.vxf");
    EXPECT_EQ(text(0x80D70108, &header), "File size does not match with header data.");
    EXPECT_EQ(text(0x80D70199, &header), "");
    char small[6];
    createVxfErrorMessage(small, sizeof(small), kVxfErrorWrongMagic, &header, contents);
    EXPECT_STREQ(small, "File ");
}

TEST(VxfUtil, LeavesNothingBehindWhenItFails) {
    ReportRecorder recorder;
    Classic image(4, 4, 4), none(0, 4, 4);
    EXPECT_TRUE(fileOf(&image, "Invalid").empty());
    EXPECT_TRUE(fileOf(&none, "R8Unorm").empty());
    EXPECT_EQ(writeImage2VxfInMemory(nullptr, {}, nullptr, nullptr), nullptr);
    EXPECT_EQ(recorder.assertions().size(), 3u);
}

} // namespace
