#include "qor/texsmith/texsmith.h"
#include "support/report_recorder.h"
#include "support/tga_writer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

using namespace qor;
using namespace qor::Texsmith::Raw;
using namespace TestSupport;
using qor::Texsmith::Configuration;

// The bytes of the picture, behind its sizes; "none" without one. Frees the bitmap.
std::string takeBytes(HBITMAP bitmap) {
    BitmapSection section;
    if (!getBitmapSection(bitmap, &section)) {
        return "none";
    }
    std::string bytes = std::to_string(section.width) + 'x' + std::to_string(section.height) + ' ';
    for (unsigned y = 0; y < section.height; ++y) {
        bytes.append(reinterpret_cast<const char*>(section.bits) + std::size_t{section.pitch} * y,
                     std::size_t{section.width} * 4);
    }
    freeBitmap(bitmap);
    return bytes;
}

TEST(Thumbnail, ShowsTheCanvasInLinearOrEncodedBytes) {
    TgaWriter tga;
    tga.m_width = 2;
    tga.m_data = {10, 20, 30, 255, 0x80, 0xC0, 0xFF, 255};
    Bytes file = tga.file();
    MemoryRegion region;
    region.build(file.data(), static_cast<unsigned>(file.size()));
    Configuration configuration;
    for (const bool isSource : {false, true}) { // whether the file is taken for sRGB
        configuration.m_textureChannelType =
            isSource ? Vex::kTextureChannelTypeSrgb : Vex::kTextureChannelTypeUNorm;
        for (const bool srgb : {false, true}) {
            const std::string bytes =
                takeBytes(makeThumbnail(&region, kThumbnailFormatTga, srgb, &configuration));
            ASSERT_EQ(bytes.size(), 4 + 8 * 8 * 4u);
            const bool keeps = !srgb || isSource;
            const std::string first = keeps ? std::string{10, 20, 30} : std::string{56, 79, 96};
            EXPECT_EQ(bytes.substr(0, 7), "8x8 " + first) << isSource << srgb;
            EXPECT_EQ(bytes.substr(4 + 8, 3), std::string(3, 0)); // the overhang
        }
    }
    // An unknown format is an empty picture; a file that cannot be read is none.
    std::string black = "8x8 ";
    for (unsigned i = 0; i < 64; ++i) {
        black += std::string{0, 0, 0, '\xFF'};
    }
    EXPECT_EQ(takeBytes(makeThumbnail(&region, ThumbnailFormat(3), true, &configuration)), black);
    const ReportRecorder reports;
    EXPECT_EQ(takeBytes(makeThumbnail(&region, kThumbnailFormatVxf, true, &configuration)), "none");
    EXPECT_FALSE(reports.empty());
    EXPECT_EQ(makeThumbnail(nullptr, kThumbnailFormatVxf, true, nullptr), nullptr);
    EXPECT_TRUE(makeBitmap(0, 1) == nullptr && makeBitmap(1, 16385) == nullptr);
    freeBitmap(nullptr);
}

TEST(InfoTip, IsTheDescriptorAsText) {
    Configuration configuration;
    Texture texture;
    texture.Init();
    texture.initAs2d(640, 480, 3, Vex::kDataFormatR8G8B8A8Unorm, Vex::kTileModeThin_1dThin,
                     Vex::kNumFragments1);
    char text[1024], exact[1024];
    getInfoTip(text, sizeof text, &texture, &configuration);
    Json::Reader reader;
    reader.init(text, static_cast<unsigned>(std::strlen(text)), g_mallocAllocator);
    Json::Node node(g_mallocAllocator);
    Json::read(&node, &reader);
    Vex::Texture readBack = {};
    ReflectedTypes::g_vexTexture.fromJson(&readBack, &node);
    EXPECT_EQ(std::memcmp(&readBack, static_cast<const Vex::Texture*>(&texture), sizeof readBack), 0) << text;
    const auto length = static_cast<unsigned>(std::strlen(text));
    const ReportRecorder reports;
    getInfoTip(exact, length + 1, static_cast<const Vex::Texture*>(&texture), &configuration);
    EXPECT_STREQ(exact, text);
    EXPECT_TRUE(reports.empty());
    getInfoTip(exact, length, &texture, &configuration);
    EXPECT_EQ(std::string(exact), std::string(text, length - 1));
    EXPECT_FALSE(reports.empty());
}

// Of all files of a folder, in the order of their names: what golden/thumbnails.txt lists, on every system.
TEST(Thumbnail, OfRealFilesIsTheSameEverywhere) {
    const char* path = std::getenv("TEXSMITH_CORPUS");
    const std::filesystem::path corpus = path != nullptr ? path : TEXSMITH_SOURCE_DIR "/../shared/corpus";
    if (!std::filesystem::is_directory(corpus)) {
        GTEST_SKIP() << "the corpus is not here: " << corpus;
    }
    const ReportRecorder reports; // of files that are refused
    Configuration configuration;
    std::ostringstream list;
    for (const auto& [extension, format] :
         {std::pair{"dds", kThumbnailFormatDds}, {"tga", kThumbnailFormatTga}}) {
        std::vector<std::filesystem::path> files;
        for (const auto& entry : std::filesystem::directory_iterator(corpus / extension)) {
            if (entry.path().extension() == std::string(".") + extension) {
                files.push_back(entry.path());
            }
        }
        std::sort(files.begin(), files.end());
        std::string all;
        unsigned shown = 0;
        for (const auto& name : files) {
            MemoryMappedFile file(name.string().c_str(), kPermissionsReadOnly, g_mallocAllocator);
            const std::string bytes = takeBytes(makeThumbnail(&file, format, true, &configuration));
            all += bytes;
            AllocatedMemory vxf;
            convertWithResult(&file, name.string().c_str(), &vxf, ".vxf", &configuration);
            const std::string again =
                takeBytes(makeThumbnail(&vxf, kThumbnailFormatVxf, false, &configuration));
            all += again;
            shown += bytes != "none" && again.size() == bytes.size();
        }
        std::uint8_t digest[Sha1Hasher::kDigestBytes] = {};
        Sha1Hasher::instance().hash(all.data(), all.size(), digest);
        list << extension << ' ' << files.size() << ' ' << shown << ' ' << std::hex;
        for (const std::uint8_t byte : digest) {
            list << byte / 16 << byte % 16;
        }
        list << std::dec << '\n';
    }
    std::ifstream golden(TEXSMITH_SOURCE_DIR "/tests/golden/thumbnails.txt", std::ios::binary);
    EXPECT_EQ(list.str(), std::string(std::istreambuf_iterator<char>(golden), {}));
}

} // namespace
