// Compressed pictures by many writers against reference pictures of theirs or of other decoders.
#include "qor/texsmith/raw/format.h"
#include "raw/blocks/block_decoders.h"
#include "raw/blocks/block_runs.h"
#include "support/png_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

using namespace qor;
using namespace qor::Texsmith::Raw;
using namespace TestSupport;

// Fixed weights in 64ths differ from rounded thirds, fifths and sevenths by that much.
constexpr int kColourTolerance = 2;
constexpr int kAlphaTolerance = 3; // also of single channels

enum Channels {
    kR = 1,
    kRg = 3,
    kRgb = 7,
    kRgba = 15,
    kSwapped = 16,    // red stands in alpha
    kMultiplied = 32, // the reference has colours multiplied by alpha once more
};

struct Picture {
    const char* m_name;
    const char* m_reference; // a suffix, or the reference of another file with the same blocks
    Vex::SurfaceFormat m_format;
    unsigned m_header;
    unsigned m_channels;
    bool m_isSigned = false;
    unsigned m_x = 0, m_y = 0; // where the first surface lies in the reference
};

constexpr unsigned kShort = 128, kLong = 148; // headers
constexpr auto kBc1 = Vex::kSurfaceFormatBc1;
constexpr auto kBc2 = Vex::kSurfaceFormatBc2;
constexpr auto kBc3 = Vex::kSurfaceFormatBc3;
constexpr auto kBc4 = Vex::kSurfaceFormatBc4;
constexpr auto kBc5 = Vex::kSurfaceFormatBc5;

constexpr Picture kPictures[] = {
    {"P__ati1.dds", ".ref.png", kBc4, kShort, kR},
    {"P__ati2.dds", ".ref.png", kBc5, kShort, kRg},
    {"P__bc1_typeless.dds", ".ref.png", kBc1, kLong, kRgb},
    {"P__bc4u.dds", "P__ati1.dds.ref.png", kBc4, kShort, kR},
    {"P__bc5_typeless.dds", ".ref.png", kBc5, kLong, kRg},
    {"P__bc5s.dds", ".ref.png", kBc5, kShort, kRg, true},
    {"P__bc5u.dds", ".ref.png", kBc5, kShort, kRg},
    {"P__dxt1-rgb-4bbp-noalpha_MipMaps-1.dds", ".pillow.png", kBc1, kShort, kRgba},
    {"P__dxt5-argb-8bbp-interpolatedalpha_MipMaps-1.dds", ".ref.png", kBc3, kShort, kRgba},
    {"dxtt__testcubedxt5mip.dds", ".pillow.png", kBc3, kShort, kRgba},
    {"dxtt__testdxt1mip.dds", ".pillow.png", kBc1, kShort, kRgba},
    {"dxtt__testvoldxt1mip.dds", ".pillow.png", kBc1, kShort, kRgba},
    {"rd__bc-DX10_BC1_UNORM_SRGB.dds", ".ref.png", kBc1, kLong, kRgba},
    {"rd__bc-DX10_BC2_UNORM.dds", ".ref.png", kBc2, kLong, kRgba},
    {"rd__bc-DX10_BC3_UNORM.dds", ".ref.png", kBc3, kLong, kRgba},
    {"rd__bc-DX10_BC4_SNORM.dds", ".ref.png", kBc4, kLong, kR, true},
    {"rd__bc-DX10_BC4_UNORM.dds", ".ref.png", kBc4, kLong, kR},
    {"rd__bc-DX10_BC5_SNORM.dds", ".ref.png", kBc5, kLong, kRg, true},
    {"rd__bc-DX10_BC5_UNORM.dds", ".ref.png", kBc5, kLong, kRg},
    {"rd__bc-DX9_BC1_UNORM.dds", ".ref.png", kBc1, kShort, kRgba},
    {"rd__bc-DX9_BC2_UNORM.dds", ".ref.png", kBc2, kShort, kRgba},
    {"rd__bc-DX9_BC3n__DXT5nm_.dds", ".pillow.png", kBc3, kShort, kRgba},
    {"rd__bc-DX9_BC5_SNORM.dds", ".ref.png", kBc5, kShort, kRg, true},
    {"rd__bc-DX9_DXT2.dds", ".ffmpeg.png", kBc2, kShort, kRgba | kMultiplied},
    {"rd__bc-DX9_DXT4.dds", ".ffmpeg.png", kBc3, kShort, kRgba | kMultiplied},
    {"rd__bc-dxt1-alpha.dds", ".ref.png", kBc1, kShort, kRgba},
    {"rd__cube-BC1_Pretoria_Gardens_DX10.dds", ".ref.png", kBc1, kLong, kRgba, false, 256, 128},
    {"rd__nvtt-BC3n_AGBR.dds", ".ref.png", kBc3, kShort, kSwapped | 6},
    {"rd__other-dxt5-simple-1x1.dds", ".ref.png", kBc3, kShort, kRgba},
    {"tac__BC1DXT1A_RGBA_Legacy.dds", ".pillow.png", kBc1, kShort, kRgba},
    {"tac__BC1DXT1_RGB_Modern_317x177.dds", ".pillow.png", kBc1, kShort, kRgba},
    {"tac__BC1DXT1_RGB_Modern_319x179.dds", ".pillow.png", kBc1, kShort, kRgba},
};

std::filesystem::path corpus() {
    const char* path = std::getenv("TEXSMITH_CORPUS");
    return std::filesystem::path(path != nullptr ? path : TEXSMITH_SOURCE_DIR "/../shared/corpus") / "dds";
}

std::vector<std::uint8_t> loadFile(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    return std::vector<std::uint8_t>(std::istreambuf_iterator<char>(file), {});
}

// One row of blocks as texels of four bytes.
void decodeRow(std::uint8_t* rows, std::size_t pitch, const std::uint8_t* source, std::size_t count,
               const Picture& picture) {
    if (const DecodeBlockRun decode = findBlockRunDecoder(picture.m_format); decode != nullptr) {
        decode(rows, pitch, source, count);
        return;
    }
    const bool two = picture.m_format == kBc5;
    for (std::size_t block = 0; block < count; ++block) {
        ColorRGBA32F texels[16] = {};
        (two ? decodeBc5 : decodeBc4)(texels, source + block * (two ? 16 : 8), picture.m_isSigned);
        for (unsigned texel = 0; texel < 16; ++texel) {
            std::uint8_t* to = rows + texel / 4 * pitch + (block * 4 + texel % 4) * 4;
            to[0] = static_cast<std::uint8_t>(std::lround(texels[texel].r * 255));
            to[1] = static_cast<std::uint8_t>(std::lround(texels[texel].g * 255));
        }
    }
}

struct Decoded {
    unsigned m_width, m_height;
    std::size_t m_pitch;
    std::vector<std::uint8_t> m_texels;
};

Decoded decode(const std::vector<std::uint8_t>& file, const Picture& picture) {
    Decoded decoded = {};
    if (file.size() < picture.m_header) {
        return decoded;
    }
    std::memcpy(&decoded.m_height, &file[12], 4);
    std::memcpy(&decoded.m_width, &file[16], 4);
    const std::size_t across = (decoded.m_width + 3) / 4, down = (decoded.m_height + 3) / 4;
    const std::size_t bytes = across * getSurfaceFormatInfo(picture.m_format).bytesPerElement;
    if (file.size() < picture.m_header + bytes * down) {
        return {};
    }
    decoded.m_pitch = across * 16;
    decoded.m_texels.resize(decoded.m_pitch * down * 4);
    for (std::size_t row = 0; row < down; ++row) {
        decodeRow(&decoded.m_texels[row * 4 * decoded.m_pitch], decoded.m_pitch,
                  &file[picture.m_header + row * bytes], across, picture);
    }
    return decoded;
}

int channelOf(const std::uint8_t* texel, const Picture& picture, unsigned channel) {
    const int value = texel[(picture.m_channels & kSwapped) != 0 && channel == 0 ? 3 : channel];
    return (picture.m_channels & kMultiplied) != 0 && channel < 3 ? value * texel[3] / 255 : value;
}

int greatestDifference(const Decoded& decoded, const PngPicture& reference, const Picture& picture,
                       unsigned channel) {
    int greatest = 0;
    for (unsigned y = 0; y < decoded.m_height; ++y) {
        for (unsigned x = 0; x < decoded.m_width; ++x) {
            const std::size_t at = std::size_t{y + picture.m_y} * reference.m_width + x + picture.m_x;
            const int value = channelOf(&decoded.m_texels[y * decoded.m_pitch + x * 4], picture, channel);
            greatest = std::max(greatest, std::abs(value - reference.m_texels[at * 4 + channel]));
        }
    }
    return greatest;
}

TEST(BlockCorpus, DecodesToTheReferencePictures) {
    if (!std::filesystem::exists(corpus())) {
        GTEST_SKIP() << "no corpus at " << corpus();
    }
    for (const Picture& picture : kPictures) {
        SCOPED_TRACE(picture.m_name);
        const std::string name = (corpus() / picture.m_name).string();
        const std::string other = (corpus() / picture.m_reference).string();
        const Decoded decoded = decode(loadFile(name), picture);
        PngPicture reference;
        ASSERT_TRUE(readPng(picture.m_reference[0] == '.' ? name + picture.m_reference : other, &reference));
        ASSERT_TRUE(decoded.m_width != 0 && decoded.m_width + picture.m_x <= reference.m_width &&
                    decoded.m_height + picture.m_y <= reference.m_height);
        // Products with alpha carry the differences of both.
        const bool isColour = picture.m_format <= kBc3 && (picture.m_channels & kMultiplied) == 0;
        for (unsigned channel = 0; channel < 4; ++channel) {
            if ((picture.m_channels >> channel & 1) != 0) {
                EXPECT_LE(greatestDifference(decoded, reference, picture, channel),
                          isColour && channel < 3 ? kColourTolerance : kAlphaTolerance)
                    << channel;
            }
        }
    }
}

} // namespace
