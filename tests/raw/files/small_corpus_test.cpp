// Real BMP, HDR and PFM files against the reference beside each.
#include "support/loaded_file.h"
#include "support/png_reader.h"
#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>

namespace {

using namespace qor::Texsmith::Raw;
using namespace TestSupport;

enum Reference {
    kNone,
    kPng,        // colours
    kPngAlpha,   // all four channels
    kFloats,     // a PFM, bottom row first, with half a step in place of a mantissa of zero
    kSamePixels, // another file of the corpus, equal to the last bit
};

struct Picture {
    const char* m_name;
    unsigned m_width, m_height; // 0: refused
    std::uint32_t m_format;
    Reference m_kind;
    const char* m_reference;
    double m_tolerance; // in steps of a byte, or in floats
};

constexpr std::uint32_t kBgrx = 0x32E00A, kBgra = 0xF2E00A, kRgbe = 0x3AC722, kRgb32 = 0x3AC70E,
                        kL32 = 0x324704;

constexpr Picture kPictures[] = {
    {"bmp/P__pal1.bmp", 127, 64, kBgrx, kPng, ".ref.png", 0},
    {"bmp/P__pal4.bmp", 127, 64, kBgrx, kPng, ".ref.png", 0},
    {"bmp/P__pal8.bmp", 127, 64, kBgrx, kPng, ".ref.png", 1},
    {"bmp/P__pal8topdown.bmp", 127, 64, kBgrx, kPng, ".ref.png", 1},
    {"bmp/P__pal8w125.bmp", 125, 62, kBgrx, kPng, ".ref.png", 1},
    {"bmp/P__rgb16-565.bmp", 127, 64, kBgrx, kPng, ".ref.png", 1},
    {"bmp/P__rgb16.bmp", 127, 64, kBgrx, kPng, ".ref.png", 1},
    {"bmp/P__rgb24.bmp", 127, 64, kBgrx, kPng, ".ref.png", 0},
    {"bmp/P__rgb32.bmp", 127, 64, kBgrx, kPng, ".ref.png", 0},
    {"bmp/P__rgb32bf.bmp", 127, 64, kBgrx, kPng, ".ref.png", 0},
    {"bmp/P__rgba32.bmp", 127, 64, kBgra, kPngAlpha, ".ref.png", 0},
    {"bmp/irs__Info_A8_R8_G8_B8.bmp", 6, 6, kBgrx, kPng, ".ref.png", 0},
    {"bmp/irs__Info_R8_G8_B8_Top_Down.bmp", 6, 6, kBgrx, kPng, ".ref.png", 0},
    {"bmp/irs__V3_A4_R4_G4_B4_Top_Down.bmp", 6, 6, kBgra, kPngAlpha, ".ref.png", 0},
    {"bmp/irs__V4_24_Bit.bmp", 435, 353, kBgrx, kPng, ".ref.png", 0},
    {"bmp/irs__V5_A8_R8_G8_B8_Rgb.bmp", 32, 32, kBgrx, kPng, ".ref.png", 0},
    {"bmp/seren__top-down.bmp", 512, 384, kBgrx, kPng, ".pillow.png", 0},
    {"bmp/wuffs__bricks-color.bmp", 160, 120, kBgrx, kPng, ".ref.png", 0},
    {"bmp/wuffs__hat.bmp", 90, 112, kBgrx, kPng, ".ref.png", 0},
    {"hdr/astc__hdr.hdr", 8, 8, kRgbe, kFloats, ".vips.pfm", 0},
    {"hdr/dxtt__grad4d.hdr", 32, 32, kRgbe, kFloats, ".vips.pfm", 0},
    {"hdr/irs__image1.hdr", 128, 85, kRgbe, kNone, "", 0},
    {"hdr/irs__old-rle.hdr", 551, 276, kRgbe, kNone, "", 0},
    {"hdr/irs__scale.hdr", 256, 8, kRgbe, kNone, "", 0},
    {"hdr/kde__orientation1.hdr", 480, 160, kRgbe, kNone, "", 0},
    {"hdr/kde__orientation4.hdr", 480, 160, kRgbe, kSamePixels, "hdr/kde__orientation1.hdr", 0},
    {"hdr/kde__orientation6.hdr", 0, 0, 0, kNone, "", 0}, // columns before rows
    {"hdr/kde__rgb.hdr", 32, 32, kRgbe, kFloats, ".vips.pfm", 0},
    {"hdr/lgl__venice_sunset_256.hdr", 256, 128, kRgbe, kFloats, ".vips.pfm", 0},
    {"hdr/radi__glass_def.hdr", 128, 128, kRgbe, kFloats, ".vips.pfm", 0},
    {"photos/pmnd__venice.hdr", 1024, 512, kRgbe, kNone, "", 0},
    {"pfm/P__hopper.pfm", 128, 128, kL32, kNone, "", 0},
    {"pfm/kde__testcard_rgb.pfm", 256, 256, kRgb32, kNone, "", 0},
    {"pfm/oiioi__test-1.pfm", 64, 64, kRgb32, kNone, "", 0},
    {"pfm/oiioi__test-3.pfm", 240, 240, kRgb32, kNone, "", 0},
};

std::filesystem::path corpus() {
    const char* path = std::getenv("TEXSMITH_CORPUS");
    return path != nullptr ? path : TEXSMITH_SOURCE_DIR "/../shared/corpus";
}

Error loadFrom(ReallocatableImage* image, const std::string& name) {
    Configuration configuration;
    MemoryMappedFile file(name.c_str(), kPermissionsReadOnly, g_mallocAllocator);
    return loadWithResult(image, &file, name.c_str(), &configuration, 0);
}

// R, G, B of each texel, top row first.
std::vector<float> floatsOf(const Image& image) {
    Configuration configuration;
    AllocatedMemory file;
    EXPECT_EQ(convertToPfm(&image, &file, kPfmChannels3, &configuration), kErrorNone);
    std::vector<float> floats(3 * std::size_t(image.getPixelsWide(0)) * image.getPixelsTall(0));
    std::memcpy(floats.data(), file.end - floats.size() * 4, floats.size() * 4);
    return floats;
}

void flipRows(std::vector<float>& floats, std::size_t rows) {
    const auto pitch = std::ptrdiff_t(floats.size() / rows);
    for (auto top = floats.begin(), bottom = floats.end() - pitch; top < bottom;
         top += pitch, bottom -= pitch) {
        std::swap_ranges(top, top + pitch, bottom);
    }
}

double largestDifference(const Image& image, const Picture& picture, const std::string& name) {
    double largest = 0;
    const auto compare = [&largest](double a, double b) { largest = std::fmax(largest, std::fabs(a - b)); };
    if (picture.m_kind == kFloats || picture.m_kind == kSamePixels) {
        MemoryMappedImage reference;
        EXPECT_EQ(loadFrom(&reference, name), kErrorNone);
        std::vector<float> ours = floatsOf(image), theirs = floatsOf(reference);
        EXPECT_EQ(ours.size(), theirs.size());
        flipRows(theirs, picture.m_kind == kFloats ? picture.m_height : 1);
        for (std::size_t i = 0; i < std::min(ours.size(), theirs.size()); ++i) {
            const bool isZero = picture.m_kind == kFloats && ours[i] == 0;
            const double most = *std::max_element(&ours[i / 3 * 3], &ours[i / 3 * 3] + 3);
            compare(ours[i], isZero ? std::fmax(0.0, theirs[i] - most / 256) : theirs[i]);
        }
        return largest;
    }
    PngPicture reference;
    EXPECT_TRUE(readPng(name, &reference)) << name;
    EXPECT_EQ(reference.m_texels.size(), 4 * std::size_t(picture.m_width) * picture.m_height);
    const Bytes bytes = bytesOf(image);
    for (std::size_t i = 0; i < reference.m_texels.size(); ++i) {
        const std::size_t channel = i % 4;
        if (channel < 3 || picture.m_kind == kPngAlpha) {
            compare(bytes[i - channel + (channel < 3 ? 2 - channel : 3)], reference.m_texels[i]);
        }
    }
    return largest;
}

// The bytes at the end of the file.
void expectFloatsOfFile(const Image& image, const std::string& name) {
    const MemoryMappedFile file(name.c_str(), kPermissionsReadOnly, g_mallocAllocator);
    const Bytes ours = bytesOf(image);
    const std::size_t stride = image.getBytesPerElement(), bytes = stride == 16 ? 12 : 4;
    const std::uint8_t* floats = file.end - ours.size() / stride * bytes;
    for (std::size_t i = 0; i < ours.size() / stride; ++i) {
        ASSERT_EQ(std::memcmp(&ours[i * stride], floats + i * bytes, bytes), 0) << i;
    }
}

TEST(SmallCorpus, EveryPictureLoadsAsItsReferenceShows) {
    if (!std::filesystem::exists(corpus())) {
        GTEST_SKIP() << "no corpus at " << corpus();
    }
    std::set<std::string> unlisted;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(corpus())) {
        const std::string name = entry.path().filename().string(),
                          extension = entry.path().extension().string();
        const bool isReference = name.find(".vips.") != std::string::npos;
        if (!isReference && (extension == ".bmp" || extension == ".hdr" || extension == ".pfm")) {
            unlisted.insert(std::filesystem::relative(entry.path(), corpus()).generic_string());
        }
    }
    for (const Picture& picture : kPictures) {
        SCOPED_TRACE(picture.m_name);
        EXPECT_EQ(unlisted.erase(picture.m_name), 1u);
        const ReportRecorder recorder;
        const std::string name = (corpus() / picture.m_name).string();
        MemoryMappedImage image;
        ASSERT_EQ(loadFrom(&image, name), picture.m_width != 0 ? kErrorNone : kErrorFailed);
        EXPECT_EQ(recorder.warnings().size(), picture.m_width != 0 ? 0u : 1u);
        EXPECT_TRUE(recorder.assertions().empty()) << recorder.texts();
        if (picture.m_width == 0) {
            continue;
        }
        EXPECT_EQ(image.getDataFormat().m_word, picture.m_format);
        EXPECT_EQ(image.getPixelsWide(0), picture.m_width);
        EXPECT_EQ(image.getPixelsTall(0), picture.m_height);
        if (picture.m_format == kL32 || picture.m_format == kRgb32) {
            expectFloatsOfFile(image, name);
        }
        if (picture.m_kind != kNone) {
            const std::string reference = picture.m_kind == kSamePixels
                                              ? (corpus() / picture.m_reference).string()
                                              : name + picture.m_reference;
            EXPECT_LE(largestDifference(image, picture, reference), picture.m_tolerance);
        }
    }
    EXPECT_TRUE(unlisted.empty()) << testing::PrintToString(unlisted);
}

} // namespace
