// Real files by many writers: their texels are the file's own, and show what reference pictures show.
#include "support/loaded_file.h"
#include "support/png_reader.h"
#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>

namespace {

using namespace qor;
using namespace qor::Texsmith::Raw;
using namespace TestSupport;

enum Channels {
    kR = 1,
    kRg = 3,
    kRgb = 7,
    kRgba = 15,
    kSigned = 16,  // the caller says so; the reference has -1 as 0
    kDoubled = 32, // a shared exponent counts for twice as much as in the published format
    kNoTexels = 64 // channels that texels share: known by name only
};

struct Picture {
    const char* m_name;
    const char* m_reference; // a suffix, the name of another file's, or none
    std::uint32_t m_format;  // 0: refused
    unsigned m_channels;
    int m_largest; // difference from the reference; decoders weigh thirds, fifths and sevenths in other ways
};

constexpr Picture kPictures[] = {
    {"P__ati1.dds", ".ref.png", 0x204026, kR, 2},
    {"P__ati2.dds", ".ref.png", 0x22C027, kRg, 2},
    {"P__bc1_typeless.dds", ".ref.png", 0xFAC023, kRgba, 2},
    {"P__bc4u.dds", "P__ati1.dds.ref.png", 0x204026, kR, 2},
    {"P__bc5_typeless.dds", ".ref.png", 0x22C027, kRg, 2},
    {"P__bc5s.dds", ".ref.png", 0x22C127, kRg, 2},
    {"P__bc5u.dds", ".ref.png", 0x22C027, kRg, 2},
    {"P__bc6h.dds", ".bcdec.phm", 0x3AC028, kRgba, 0},
    {"P__bc6h_sf.dds", ".bcdec.phm", 0x3AC128, kRgba, 0},
    {"P__bc7-argb-8bpp_MipMaps-1.dds", ".ref.png", 0xFAC029, kRgba, 0},
    {"P__bgr15.dds", ".ref.png", 0x32E011, kRgba, 1},
    {"P__dxt1-rgb-4bbp-noalpha_MipMaps-1.dds", ".ref.png", 0xFAC023, kRgba, 2},
    {"P__dxt5-argb-8bbp-interpolatedalpha_MipMaps-1.dds", ".ref.png", 0xFAC025, kRgba, 2},
    {"P__uncompressed_la.dds", ".ref.png", 0xB24003, kRgba, 0},
    {"dxtt__test8888mip.dds", ".ffmpeg.png", 0xF2E00A, kRgba, 0},
    {"dxtt__testcube8888mip.dds", ".ffmpeg.png", 0xF2E00A, kRgba, 0},
    {"dxtt__testcubedxt5mip.dds", ".pillow.png", 0xFAC025, kRgba, 0},
    {"dxtt__testdxt1mip.dds", ".pillow.png", 0xFAC023, kRgba, 0},
    {"dxtt__testvol888xmip.dds", ".ffmpeg.png", 0x32E00A, kRgba, 0},
    {"dxtt__testvoldxt1mip.dds", ".pillow.png", 0xFAC023, kRgba, 0},
    {"gli__array_r8_uint.dds", "", 0x004401, kRgba, 0},
    {"kde__rgba102.dds", ".ref.png", 0xF2E009, kRgba, 1},
    {"rd__bc-DX10_BC1_UNORM_SRGB.dds", ".ref.png", 0xFAC923, kRgba, 2},
    {"rd__bc-DX10_BC2_UNORM.dds", ".ref.png", 0xFAC024, kRgba, 2},
    {"rd__bc-DX10_BC3_UNORM.dds", ".ref.png", 0xFAC025, kRgba, 2},
    {"rd__bc-DX10_BC4_SNORM.dds", ".ref.png", 0x204126, kR, 2},
    {"rd__bc-DX10_BC4_UNORM.dds", ".ref.png", 0x204026, kR, 2},
    {"rd__bc-DX10_BC5_SNORM.dds", ".ref.png", 0x22C127, kRg, 2},
    {"rd__bc-DX10_BC5_UNORM.dds", ".ref.png", 0x22C027, kRg, 2},
    {"rd__bc-DX10_BC6H_UF16.dds", ".bcdec.phm", 0x3AC028, kRgba, 0},
    {"rd__bc-DX10_BC7_UNORM_SRGB.dds", ".ref.png", 0xFAC929, kRgba, 0},
    {"rd__bc-DX9_BC1_UNORM.dds", ".ref.png", 0xFAC023, kRgba, 2},
    {"rd__bc-DX9_BC2_UNORM.dds", ".ref.png", 0xFAC024, kRgba, 2},
    {"rd__bc-DX9_BC3n__DXT5nm_.dds", "", 0xFAC025, kRgba, 0},
    {"rd__bc-DX9_BC5_SNORM.dds", ".ref.png", 0x22C127, kRg, 2},
    {"rd__bc-DX9_DXT2.dds", "", 0xFAC024, kRgba, 0},
    {"rd__bc-DX9_DXT4.dds", "", 0xFAC025, kRgba, 0},
    {"rd__bc-dxt1-alpha.dds", ".ref.png", 0xFAC023, kRgba, 2},
    {"rd__bc_fuzz-bc6_SF16_mode_one_01111.dds", ".bcdec.phm", 0x3AC128, kRgba, 0},
    {"rd__bc_fuzz-bc6_SF16_mode_two_10010.dds", ".bcdec.phm", 0x3AC128, kRgba, 0},
    {"rd__bc_fuzz-bc6_UF16_mode_one_00011.dds", ".bcdec.phm", 0x3AC028, kRgba, 0},
    {"rd__bc_fuzz-bc6_UF16_mode_two_00.dds", ".bcdec.phm", 0x3AC028, kRgba, 0},
    {"rd__bc_fuzz-bc6_UF16_mode_two_01110.dds", ".bcdec.phm", 0x3AC028, kRgba, 0},
    {"rd__bc_fuzz-bc7_mode_0.dds", ".pillow.png", 0xFAC029, kRgba, 0},
    {"rd__bc_fuzz-bc7_mode_2.dds", ".pillow.png", 0xFAC029, kRgba, 0},
    {"rd__bc_fuzz-bc7_mode_5.dds", ".pillow.png", 0xFAC029, kRgba, 0},
    {"rd__bc_fuzz-bc7_mode_6.dds", ".pillow.png", 0xFAC029, kRgba, 0},
    {"rd__cube-BC1_Pretoria_Gardens_DX10.dds", "", 0xFAC023, kRgba, 0},
    {"rd__nvtt-8.8.8_BGR.dds", ".ref.png", 0x32E00A, kRgba, 0},
    {"rd__nvtt-8.8.8_RGB.dds", ".ref.png", 0x3AC00A, kRgba, 0},
    {"rd__nvtt-BC3n_AGBR.dds", "", 0x000000, kRgba, 0},
    {"rd__other-24-bit-uncompressed-odd.dds", ".ref.png", 0x32E00A, kRgba, 0},
    {"rd__other-32-bit-uncompressed-odd.dds", ".ref.png", 0xF2E00A, kRgba, 0},
    {"rd__other-dxt5-simple-1x1.dds", ".ref.png", 0xFAC025, kRgba, 1},
    {"rd__sub-sampled-DX9_R8G8_B8G8_UNORM.dds", "", 0x3AC020, kNoTexels, 0},
    {"rd__sub-sampled-DX9_YUY2.dds", "", 0x3AC021, kNoTexels, 0},
    {"rd__uncompressed-DX10_A8_UNORM.dds", ".ref.png", 0x800001, kRgba, 0},
    {"rd__uncompressed-DX10_B5G6R5_UNORM.dds", ".ref.png", 0x32E010, kRgba, 0},
    {"rd__uncompressed-DX10_B8G8R8A8_UNORM_SRGB.dds", ".ref.png", 0xF2E90A, kRgba, 0},
    {"rd__uncompressed-DX10_R10G10B10A2_UNORM.dds", ".ref.png", 0xFAC009, kRgba, 0},
    {"rd__uncompressed-DX10_R11G11B10_FLOAT.dds", ".ref.png", 0x3AC706, kRgba, 0},
    {"rd__uncompressed-DX10_R16G16B16A16_FLOAT.dds", ".ref.png", 0xFAC70C, kRgba, 0},
    {"rd__uncompressed-DX10_R32G32B32_FLOAT.dds", ".ref.png", 0x3AC70D, kRgba, 0},
    {"rd__uncompressed-DX10_R8G8B8A8_UNORM.dds", ".ref.png", 0xFAC00A, kRgba, 0},
    {"rd__uncompressed-DX10_R8_SNORM.dds", ".ref.png", 0x204101, kR | kSigned, 0},
    {"rd__uncompressed-DX10_R9G9B9E5_SHAREDEXP.dds", ".ref.png", 0x3AC722, kRgb | kDoubled, 0},
    {"rd__uncompressed-DX9_A8_UNORM.dds", ".ref.png", 0x800001, kRgba, 0},
    {"rd__uncompressed-DX9_B4G4R4A4_UNORM.dds", ".ref.png", 0xF2E013, kRgba, 0},
    {"rd__uncompressed-DX9_B5G5R5A1_UNORM.dds", ".ref.png", 0xF2E011, kRgba, 0},
    {"rd__uncompressed-DX9_B5G6R5_UNORM.dds", ".ref.png", 0x32E010, kRgba, 0},
    {"rd__uncompressed-DX9_B8G8R8A8_UNORM.dds", ".ref.png", 0xF2E00A, kRgba, 0},
    {"rd__uncompressed-DX9_B8G8R8X8_UNORM.dds", ".ref.png", 0x32E00A, kRgba, 0},
    {"rd__uncompressed-DX9_R10G10B10A2_UNORM.dds", ".ref.png", 0xFAC009, kRgba, 0},
    {"rd__uncompressed-DX9_R16G16B16A16_FLOAT.dds", ".ref.png", 0xFAC70C, kRgba, 0},
    {"rd__uncompressed-DX9_R16G16B16A16_UNORM.dds", ".ref.png", 0xFAC00C, kRgba, 0},
    {"rd__uncompressed-DX9_R16G16_UNORM.dds", ".ref.png", 0x22C005, kRgba, 0},
    {"rd__uncompressed-DX9_R16_FLOAT.dds", ".ref.png", 0x204702, kR, 0},
    {"rd__uncompressed-DX9_R16_UNORM.dds", ".ref.png", 0x324002, kRgba, 0},
    {"rd__uncompressed-DX9_R32G32B32A32_FLOAT.dds", ".ref.png", 0xFAC70E, kRgba, 0},
    {"rd__uncompressed-DX9_R32_FLOAT.dds", ".ref.png", 0x204704, kR, 0},
    {"rd__uncompressed-DX9_R8G8B8A8_SNORM.dds", ".ref.png", 0xFAC10A, kRgba | kSigned, 0},
    {"rd__uncompressed-DX9_R8G8B8A8_UNORM.dds", ".ref.png", 0xFAC00A, kRgba, 0},
    {"rd__uncompressed-DX9_R8G8_SNORM.dds", ".ref.png", 0x22C103, kRg | kSigned, 0},
    {"rd__uncompressed-DX9_R8G8_UNORM.dds", ".ref.png", 0xB24003, kR, 0},
    {"rd__uncompressed-DX9_R8_UNORM.dds", ".ref.png", 0x324001, kRgba, 0},
    {"tac__BC1DXT1A_RGBA_Legacy.dds", ".pillow.png", 0xFAC023, kRgba, 2},
    {"tac__BC1DXT1_RGB_Modern_317x177.dds", ".pillow.png", 0xFAC023, kRgba, 2},
    {"tac__BC1DXT1_RGB_Modern_319x179.dds", ".pillow.png", 0xFAC023, kRgba, 2},
    {"tac__BC7_RGBA_Modern.dds", ".pillow.png", 0xFAC029, kRgba, 0},
};

constexpr char kNoFormat[] = "DDS header's pixel format can't be converted to a valid Vectrix\xC2\xAE"
                             "4 DataFormat.\n";

std::filesystem::path corpus() {
    const char* path = std::getenv("TEXSMITH_CORPUS");
    return std::filesystem::path(path != nullptr ? path : TEXSMITH_SOURCE_DIR "/../shared/corpus") / "dds";
}

std::string referenceOf(const Picture& picture) {
    const std::string reference = picture.m_reference;
    return (corpus() / (reference[0] == '.' ? picture.m_name + reference : reference)).string();
}

int toByte(float value, unsigned channels) {
    if ((channels & kSigned) != 0) {
        value = (value + 1) / 2;
    }
    if ((channels & kDoubled) != 0) {
        value /= 2;
    }
    return static_cast<int>(std::lround(std::min(1.0f, std::max(0.0f, value)) * 255));
}

Bytes asFloats(MemoryMappedImage* image) {
    Configuration configuration;
    if (image->getDataFormat().getTextureChannelType() == Vex::kTextureChannelTypeSrgb) {
        image->setTextureChannelType(Vex::kTextureChannelTypeUNorm); // as stored, as in the reference
    }
    MemoryMappedImage floats;
    reallocate(&floats, image, Vex::DataFormat{0xFAC70E});
    EXPECT_EQ(reformat(image, &floats, &configuration), kErrorNone);
    return bytesOf(floats);
}

// The same over the first surface for references of halves: three channels, from the lowest row on.
std::size_t differentValues(const Picture& picture, MemoryMappedImage* image) {
    const MemoryMappedFile reference(referenceOf(picture).c_str(), kPermissionsReadOnly, g_mallocAllocator);
    const std::size_t wide = image->getPixelsWide(0), tall = image->getPixelsTall(0);
    const std::size_t halves = wide * tall * 3;
    const Bytes texels = asFloats(image);
    if (reference.length() < halves * 2 || texels.size() < wide * tall * 16) {
        return halves;
    }
    std::size_t different = 0;
    for (std::size_t i = 0; i < halves; ++i) {
        const std::size_t pixel = i / 3, row = tall - 1 - pixel / wide;
        unsigned short bits;
        float value;
        std::memcpy(&bits, reference.end - halves * 2 + i * 2, sizeof bits);
        std::memcpy(&value, &texels[((row * wide + pixel % wide) * 4 + i % 3) * 4], sizeof value);
        different += value == static_cast<float>(Half(bits)) ? 0 : 1;
    }
    return different;
}

// Over the first surface.
int largestDifference(const Picture& picture, MemoryMappedImage* image) {
    PngPicture reference;
    EXPECT_TRUE(readPng(referenceOf(picture), &reference));
    EXPECT_EQ(image->getPixelsWide(0), reference.m_width);
    EXPECT_EQ(image->getPixelsTall(0), reference.m_height);
    const Bytes texels = asFloats(image);
    int largest = reference.m_texels.empty() ? 256 : 0;
    for (std::size_t i = 0; i < reference.m_texels.size() && (i + 1) * 4 <= texels.size(); ++i) {
        float value;
        std::memcpy(&value, &texels[i * 4], sizeof value);
        if ((picture.m_channels >> (i & 3) & 1) != 0) {
            largest =
                std::max(largest, std::abs(toByte(value, picture.m_channels) - int{reference.m_texels[i]}));
        }
    }
    return largest;
}

// Those of three bytes are four here.
Bytes texelsInFile(const MemoryRegion& file, const Image& image) {
    const bool isDx10 = std::memcmp(file.begin + 84, "DX10", 4) == 0;
    const Bytes texels(file.begin + (isDx10 ? 148 : 128), file.end);
    Bytes all;
    const bool isNarrow = file.begin[80] == 0x40 && file.begin[88] == 24;
    for (std::size_t from = 0; from < texels.size() && all.size() < image.getBytesTotal(); ++from) {
        all.push_back(texels[from]);
        if (isNarrow && from % 3 == 2) {
            all.push_back(0);
        }
    }
    return all;
}

void checkPicture(const Picture& picture) {
    const ReportRecorder recorder;
    Configuration configuration;
    configuration.m_textureChannelType =
        (picture.m_channels & kSigned) != 0 ? Vex::kTextureChannelTypeSNorm : Vex::kTextureChannelTypeUNorm;
    MemoryMappedFile file((corpus() / picture.m_name).string().c_str(), kPermissionsReadOnly,
                          g_mallocAllocator);
    MemoryMappedImage image;
    const Error error = convertFromDds(&file, &image, &configuration);
    const bool hasTexels = picture.m_format != 0 && (picture.m_channels & kNoTexels) == 0;
    EXPECT_EQ(error, hasTexels ? kErrorNone : kErrorFailed);
    EXPECT_EQ(recorder.texts(), picture.m_format == 0 ? kNoFormat : "");
    EXPECT_EQ(recorder.warnings().size(), (picture.m_channels & kNoTexels) != 0 ? 1u : 0u);
    DdsImage view;
    view.readFrom(&file, configuration.m_textureChannelType);
    EXPECT_EQ(view.getDataFormat().m_word, picture.m_format);
    if (hasTexels) {
        EXPECT_EQ(image.getDataFormat().m_word, picture.m_format);
        EXPECT_TRUE(bytesOf(image) == texelsInFile(file, image));
    }
    if (std::strcmp(picture.m_reference, ".bcdec.phm") == 0) {
        EXPECT_EQ(differentValues(picture, &image), 0u);
    } else if (picture.m_reference[0] != '\0') {
        EXPECT_EQ(largestDifference(picture, &image), picture.m_largest);
    }
}

TEST(DdsCorpus, EveryFileLoadsAsItsReferenceShows) {
    if (!std::filesystem::exists(corpus())) {
        GTEST_SKIP() << "no corpus at " << corpus();
    }
    std::set<std::string> unlisted;
    for (const auto& entry : std::filesystem::directory_iterator(corpus())) {
        if (entry.path().extension() == ".dds") {
            unlisted.insert(entry.path().filename().string());
        }
    }
    for (const Picture& picture : kPictures) {
        SCOPED_TRACE(picture.m_name);
        EXPECT_EQ(unlisted.erase(picture.m_name), 1u);
        checkPicture(picture);
    }
    EXPECT_TRUE(unlisted.empty()) << testing::PrintToString(unlisted);
}

} // namespace
