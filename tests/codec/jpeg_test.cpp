#include "support/damaged_files.h"
#include "support/surfaces.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

namespace {

using namespace qor::Texsmith;
using namespace TestSupport;

Sample wholeSample(const Bytes& file) { return {"", ".jpg", file, file.size(), file.size()}; }

// Slow waves: what a photograph has most of, and what this compression keeps best.
void fillWithWaves(TestImage& image, unsigned channels) {
    const unsigned wide = image.getPixelsWide(0);
    for (std::size_t i = 0; i < image.bytes().size(); ++i) {
        const auto pixel = static_cast<unsigned>(i / channels), channel = static_cast<unsigned>(i % channels);
        const double x = pixel % wide, y = pixel / wide;
        const double wave = std::sin(x * 0.11 + channel) * std::cos(y * 0.07 * (channel + 1));
        image.bytes()[i] = channel == 3 ? std::uint8_t{0} : static_cast<std::uint8_t>(127.5 + 100 * wave);
    }
}

Bytes writtenJpg(const Raw::Image& image) {
    Configuration configuration;
    Raw::AllocatedMemory file;
    EXPECT_EQ(Raw::convertToJpg(&image, &file, &configuration), Raw::kErrorNone);
    return bytesOf(file);
}

// Straight by the outside library.
struct ReferenceFile {
    J_COLOR_SPACE m_colors = JCS_RGB;
    int m_channels = 3;
    bool m_isProgressive = false;
    int m_halved = 1; // 2: the colours have half the rows and columns

    Bytes encode(unsigned wide, unsigned tall) const {
        jpeg_compress_struct jpeg{};
        jpeg_error_mgr errors;
        jpeg.err = jpeg_std_error(&errors);
        jpeg_create_compress(&jpeg);
        unsigned char* bytes = nullptr;
        unsigned long length = 0;
        jpeg_mem_dest(&jpeg, &bytes, &length);
        jpeg.image_width = wide;
        jpeg.image_height = tall;
        jpeg.input_components = m_channels;
        jpeg.in_color_space = m_colors;
        jpeg_set_defaults(&jpeg);
        jpeg.comp_info[0].h_samp_factor = jpeg.comp_info[0].v_samp_factor = m_halved;
        if (m_isProgressive) {
            jpeg_simple_progression(&jpeg);
        }
        jpeg_start_compress(&jpeg, TRUE);
        Bytes row(std::size_t{wide} * static_cast<unsigned>(m_channels));
        for (unsigned y = 0; y < tall; ++y) {
            for (std::size_t i = 0; i < row.size(); ++i) {
                row[i] = static_cast<std::uint8_t>(i * 3 + y * 5);
            }
            JSAMPROW rows[] = {row.data()};
            jpeg_write_scanlines(&jpeg, rows, 1);
        }
        jpeg_finish_compress(&jpeg);
        jpeg_destroy_compress(&jpeg);
        const Bytes file(bytes, bytes + length);
        std::free(bytes);
        return file;
    }
};

// As elements: one byte for grey, else three and a zero.
Bytes decodeByReference(const Bytes& file) {
    jpeg_decompress_struct jpeg{};
    jpeg_error_mgr errors;
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&jpeg);
    jpeg_mem_src(&jpeg, file.data(), static_cast<unsigned long>(file.size()));
    jpeg_read_header(&jpeg, TRUE);
    jpeg_start_decompress(&jpeg);
    const auto channels = static_cast<unsigned>(jpeg.output_components);
    Bytes row(std::size_t{jpeg.output_width} * channels), elements;
    while (jpeg.output_scanline < jpeg.output_height) {
        JSAMPROW rows[] = {row.data()};
        jpeg_read_scanlines(&jpeg, rows, 1);
        for (std::size_t i = 0; i < row.size(); ++i) {
            elements.push_back(row[i]);
            if (channels == 3 && i % 3 == 2) {
                elements.push_back(0);
            }
        }
    }
    jpeg_destroy_decompress(&jpeg);
    return elements;
}

TEST(JpegReader, GivesGreyAndColourSequentialAndProgressive) {
    const ReferenceFile kinds[] = {
        {}, {JCS_GRAYSCALE, 1}, {JCS_RGB, 3, false, 2}, {JCS_RGB, 3, true, 2}, {JCS_GRAYSCALE, 1, true}};
    for (const ReferenceFile& kind : kinds) {
        const Bytes file = kind.encode(45, 37);
        const Outcome result = loadFront(file, file.size(), ".jpg");
        EXPECT_EQ(result.m_error, Raw::kErrorNone);
        EXPECT_EQ(result.m_warnings, 0u);
        EXPECT_EQ(result.m_texels, decodeByReference(file));
    }
}

TEST(JpegReader, RefusesFourChannels) {
    const Bytes file = ReferenceFile{JCS_CMYK, 4}.encode(9, 9);
    const Outcome result = loadFront(file, file.size(), ".jpg");
    EXPECT_EQ(result.m_error, Raw::kErrorFailed);
    EXPECT_EQ(result.m_warnings, 1u);
    EXPECT_TRUE(result.m_texels.empty());
}

TEST(JpegWriter, KeepsPicturesWithinWhatTheEyeSees) {
    struct Case {
        const char* m_format;
        unsigned m_channels;
        std::uint32_t m_read;
    };
    constexpr std::uint32_t kRgbx8 = 0x3AC00A, kL8 = Vex::kDataFormatL8Unorm.m_word;
    constexpr Case kCases[] = {{"R8G8B8A8Unorm", 4, kRgbx8},
                               {"R8G8B8A8UnormSrgb", 4, kRgbx8},
                               {"L8Unorm", 1, kL8},
                               {"L8UnormSrgb", 1, kL8}};
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.m_format);
        TestImage image(makeFlat(c.m_format, 83, 51));
        fillWithWaves(image, c.m_channels);
        const Bytes file = writtenJpg(image);
        Configuration configuration;
        Raw::MemoryMappedImage back;
        HeapFile region(file);
        ASSERT_EQ(Raw::convertFromJpg(region.region(), &back, &configuration), Raw::kErrorNone);
        EXPECT_EQ(back.getDataFormat().m_word, c.m_read);
        const Bytes texels = bytesOf(back);
        ASSERT_EQ(texels.size(), image.bytes().size());
        int largest = 0;
        for (std::size_t i = 0; i < texels.size(); ++i) {
            largest = std::max(largest, std::abs(texels[i] - image.bytes()[i]));
        }
        // Steps of the coefficients are 2 to 12 at this quality, and blue takes nearly twice the error of its
        // channel.
        EXPECT_LE(largest, 8);
    }
}

TEST(JpegReader, TakesWhatADamagedFileHas) {
    const Bytes file = ReferenceFile{}.encode(29, 26);
    expectCutFilesToGiveWhatTheyHave(wholeSample(file), 0);
    expectHandlersToBeFreeToThrow(file, ".jpg");
    expectWrongBytesToEndWell(wholeSample(ReferenceFile{JCS_RGB, 3, false, 2}.encode(11, 9)));
    expectWrongBytesToEndWell(wholeSample(ReferenceFile{JCS_RGB, 3, true, 2}.encode(11, 9)));
}

// A progressive file has the whole picture early, if not in detail.
TEST(JpegReader, GivesTheCoarsePictureOfACutProgressiveFile) {
    const Bytes file = ReferenceFile{JCS_RGB, 3, true}.encode(64, 64);
    const Outcome result = loadFront(file, file.size() * 3 / 4, ".jpg");
    EXPECT_EQ(result.m_error, Raw::kErrorFailed);
    EXPECT_EQ(result.m_warnings, 1u);
    ASSERT_EQ(result.m_texels.size(), 64u * 64 * 4);
    EXPECT_NE(std::count(result.m_texels.end() - 256, result.m_texels.end(), 0), 256);
}

} // namespace
