// Real pictures by many writers against reference pictures of theirs or of another decoder.
#include "support/loaded_file.h"
#include "support/png_reader.h"
#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>

namespace {

using namespace qor::Texsmith::Raw;
using namespace TestSupport;

enum Channels {
    kRgb,      // the file has no alpha of its own
    kRgba,     // all four
    kNoAlpha,  // colours; the attribute bit of every pixel is clear, and so alpha is 0
    kColors,   // colours; the reference leaves the attribute bits out
    kCutAlpha, // the writer made what is less than half visible black and clear, and all else opaque
    kGreyWord, // the pixel of grey and alpha is one channel of 16 bits
};

constexpr int kExact = 0;
constexpr int kFiveBits = 1; // references round the expansion of five bits in other ways

struct Picture {
    const char* m_name;
    const char* m_reference;
    std::uint32_t m_format;
    Channels m_channels;
    int m_tolerance;
    Error m_error = kErrorNone;
};

constexpr std::uint32_t kL8 = 0x324001;
constexpr std::uint32_t kL16 = 0x324002;
constexpr std::uint32_t kBgra5551 = 0xF2E011;
constexpr std::uint32_t kBgrx = 0x32E00A;
constexpr std::uint32_t kBgra = 0xF2E00A;

constexpr Picture kPictures[] = {
    {"photos/tac__TacentTestPattern32.tga", "", kBgra, kRgba, kExact},
    {"tga/12m__XING_T16.TGA", ".pillow.png", kBgra5551, kNoAlpha, kFiveBits},
    {"tga/P__1x1_l_bl_raw.tga", ".ref.png", kL8, kRgb, kExact},
    {"tga/P__200x32_l_tl_rle.tga", ".ref.png", kL8, kRgb, kExact},
    {"tga/P__200x32_la_bl_rle.tga", ".ref.png", kL16, kGreyWord, kExact},
    {"tga/P__200x32_p_bl_rle.tga", ".ref.png", kBgrx, kRgb, kExact},
    {"tga/P__200x32_rgb_bl_raw.tga", ".ref.png", kBgrx, kRgb, kExact},
    {"tga/P__200x32_rgba_tl_rle.tga", ".ref.png", kBgra, kRgba, kExact},
    {"tga/dxtt__test555.tga", ".pillow.png", kBgra5551, kNoAlpha, kFiveBits},
    {"tga/ftr__rgb32_top_left_rle_colormap.tga", ".ref.png", kBgra, kCutAlpha, kExact},
    {"tga/gdkp__gtk-logo-16bpp-bottom-left.tga", ".ref.png", kBgra5551, kNoAlpha, kFiveBits},
    {"tga/gdkp__gtk-logo-24bpp-bottom-left.tga", ".ref.png", kBgrx, kRgb, kExact},
    {"tga/gdkp__gtk-logo-24bpp-bottom-right.tga", ".ref.png", kBgrx, kRgb, kExact},
    {"tga/gdkp__gtk-logo-24bpp-top-left.tga", ".ref.png", kBgrx, kRgb, kExact},
    {"tga/gdkp__gtk-logo-24bpp-top-right.tga", ".ref.png", kBgrx, kRgb, kExact},
    {"tga/gdkp__gtk-logo-cmap-8bpp-top-right.tga", ".ref.png", kBgrx, kRgb, kExact},
    {"tga/gdkp__gtk-logo-cmap-rle-8bpp-bottom-left.tga", ".ref.png", kBgrx, kRgb, kExact},
    {"tga/gdkp__gtk-logo-gray-16bpp-top-left.tga", ".ref.png", kL16, kGreyWord, kExact},
    {"tga/gdkp__gtk-logo-rle-32bpp-bottom-right.tga", ".ref.png", kBgra, kRgba, kExact},
    {"tga/gdkp__gtk-logo-rle-32bpp-top-left.tga", ".ref.png", kBgra, kRgba, kExact},
    {"tga/irs__b5-attrib.tga", ".ref.png", kBgra5551, kColors, kFiveBits},
    {"tga/irs__ccm8.tga", ".ref.png", kBgra5551, kNoAlpha, kFiveBits},
    {"tga/irs__ctc24.tga", ".ref.png", kBgrx, kRgb, kExact},
    {"tga/irs__ubw8.tga", ".ref.png", kL8, kRgb, kExact},
    {"tga/irs__utc16.tga", ".ref.png", kBgra5551, kNoAlpha, kFiveBits},
    {"tga/irs__utc32.tga", ".ref.png", kBgra, kRgba, kExact},
    {"tga/pfim__large-top-left.tga", ".pillow.png", kBgrx, kRgb, kExact},
    {"tga/pfim__true-24-rle.tga", ".pillow.png", kBgrx, kRgb, kExact},
    {"tga/pfim__true-32-mixed.tga", ".pillow.png", kBgra, kRgba, kExact},
    {"tga/seren__image-with-identifier.tga", ".pillow.png", kBgra, kRgba, kExact},
    {"tga/tac__Dock317x177.tga", ".pillow.png", kBgrx, kRgb, kExact},
    {"tga/tac__Dock319x179.tga", ".pillow.png", kBgrx, kRgb, kExact},
    {"tga/wuffs__bricks-color.tga", ".ref.png", kBgrx, kRgb, kExact},
};

std::filesystem::path corpus() {
    const char* path = std::getenv("TEXSMITH_CORPUS");
    return path != nullptr ? path : TEXSMITH_SOURCE_DIR "/../shared/corpus";
}

// 18 bytes, then B, G, R, A from the top.
Bytes toTga(const Image& image) {
    Configuration configuration;
    AllocatedMemory memory;
    EXPECT_EQ(convertToTga(&image, &memory, &configuration), kErrorNone);
    return bytesOf(memory);
}

// What a texel of the reference, in R, G, B, A, should be in our order. The elements of words are grey and
// alpha.
Bytes expectedTexel(Channels channels, const std::uint8_t* reference, const std::uint8_t* ours) {
    const std::uint8_t r = reference[0], g = reference[1], b = reference[2], a = reference[3];
    switch (channels) {
    case kGreyWord:
        return {r, a};
    case kRgba:
        return {b, g, r, a};
    case kColors:
        return {b, g, r, ours[3]};
    case kCutAlpha:
        return a < 128 ? Bytes{0, 0, 0, 0} : Bytes{b, g, r, 255};
    default:
        return {b, g, r, static_cast<std::uint8_t>(channels == kNoAlpha ? 0 : 255)};
    }
}

void compareWithReference(const Picture& picture, const Image& image) {
    PngPicture reference;
    const std::string name = (corpus() / picture.m_name).string() + picture.m_reference;
    ASSERT_TRUE(readPng(name, &reference)) << name;
    ASSERT_EQ(image.getPixelsWide(0), reference.m_width);
    ASSERT_EQ(image.getPixelsTall(0), reference.m_height);
    const bool isWord = picture.m_channels == kGreyWord;
    const Bytes texels = isWord ? bytesOf(image) : toTga(image);
    const std::uint8_t* ours = texels.data() + (isWord ? 0 : 18);
    int largest = 0;
    for (std::size_t i = 0; i < reference.m_texels.size(); i += 4) {
        for (const std::uint8_t expected : expectedTexel(picture.m_channels, &reference.m_texels[i], ours)) {
            largest = std::max(largest, std::abs(*ours++ - expected));
        }
    }
    EXPECT_LE(largest, picture.m_tolerance);
}

// Whatever is missing, the reader stays inside the file and says so.
void cutAt64Places(const Bytes& whole) {
    for (std::size_t place = 0; place < 64; ++place) {
        const ReportRecorder recorder;
        Configuration configuration;
        MemoryMappedImage image;
        HeapFile file(whole, whole.size() * place / 64);
        const Error error = convertFromTga(file.region(), &image, &configuration);
        EXPECT_EQ(recorder.warnings().size(), error == kErrorFailed ? 1u : 0u) << place;
        EXPECT_EQ(error == kErrorTgaTooSmall, file.region()->length() < 18) << place;
    }
}

TEST(TgaCorpus, EveryPictureLoadsAsItsReferenceShows) {
    if (!std::filesystem::exists(corpus())) {
        GTEST_SKIP() << "no corpus at " << corpus();
    }
    std::set<std::string> unlisted;
    std::vector<Bytes> wholeFiles;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(corpus())) {
        if (strcmpCaseInsensitive(entry.path().extension().string().c_str(), ".tga") == 0) {
            unlisted.insert(std::filesystem::relative(entry.path(), corpus()).generic_string());
        }
    }
    for (const Picture& picture : kPictures) {
        SCOPED_TRACE(picture.m_name);
        EXPECT_EQ(unlisted.erase(picture.m_name), 1u);
        const ReportRecorder recorder;
        Configuration configuration;
        MemoryMappedFile file((corpus() / picture.m_name).string().c_str(), kPermissionsReadOnly,
                              g_mallocAllocator);
        MemoryMappedImage image;
        ASSERT_EQ(convertFromTga(&file, &image, &configuration), picture.m_error);
        EXPECT_EQ(image.getDataFormat().m_word, picture.m_format);
        if (picture.m_reference[0] != '\0') {
            compareWithReference(picture, image);
        }
        AllocatedMemory container;
        MemoryMappedImage back;
        ASSERT_EQ(convertToVxf(&image, &container, &configuration), kErrorNone);
        ASSERT_EQ(convertFromVxf(&container, &back, &configuration), kErrorNone);
        EXPECT_EQ(toTga(back), toTga(image));
        EXPECT_TRUE(recorder.empty()) << recorder.texts();
        wholeFiles.push_back(bytesOf(file));
    }
    EXPECT_TRUE(unlisted.empty()) << testing::PrintToString(unlisted);
    std::for_each(wholeFiles.begin(), wholeFiles.end(), &cutAt64Places);
}

} // namespace
