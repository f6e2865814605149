#include "support/report_recorder.h"
#include "support/surfaces.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <random>
#include <string>

namespace {

using namespace TestSupport;
using namespace qor::Texsmith;
using Plane = qor::Texsmith::Image::Plane;
using Classic = qor::Texsmith::Image;

// Values of k / 255, which most formats keep well.
void fill(Classic* image, unsigned seed = 1) {
    std::minstd_rand random(seed);
    std::vector<float> row(image->getWidth());
    for (unsigned plane = 0; plane < image->getNumPlanes(); ++plane) {
        for (unsigned y = 0; y < image->getHeight(); ++y) {
            for (float& value : row) {
                value = static_cast<float>(random() >> 8 & 255) / 255.0f;
            }
            image->setScanline(row.data(), image->getWidth(), y, plane);
        }
    }
}

std::vector<float> pixelsOf(const Classic& image) {
    std::vector<float> all;
    std::vector<float> row(image.getWidth());
    for (unsigned y = 0; y < image.getHeight(); ++y) {
        for (unsigned plane = 0; plane < image.getNumPlanes(); ++plane) {
            image.getScanline(row.data(), image.getWidth(), y, plane);
            all.insert(all.end(), row.begin(), row.end());
        }
    }
    return all;
}

std::vector<std::uint8_t> encoded(Classic* image, Vex::DataFormat format) {
    std::vector<std::uint8_t> bytes(image->getBufferSizeRequired(format));
    EXPECT_EQ(image->compressPixels(bytes.data(), format), bytes.size());
    return bytes;
}

class Policy {
public:
    explicit Policy(NormalizationPolicy policy) { g_normalizationPolicy = policy; }
    ~Policy() { g_normalizationPolicy = kNormalizationPolicyUnit; }
};

TEST(ClassicImage, MovesRowsAndColumnsWithinItsBounds) {
    ReportRecorder recorder;
    Classic image(5, 3, 3);
    fill(&image);
    std::array<float, 8> row;
    row.fill(-1.0f);
    image.getScanline(row.data(), 8, 1, 2);
    EXPECT_EQ(row[5], -1.0f); // cut to the width
    const float third = row[3];
    image.getScanline(row.data(), 8, 1, 2, 3);
    EXPECT_EQ(row[0], third);
    std::array<float, 8> column;
    column.fill(-1.0f);
    image.getColumn(column.data(), 8, 3, 2);
    EXPECT_EQ(column[1], third);
    EXPECT_EQ(column[3], -1.0f);
    column[2] = 0.25f;
    image.setColumn(column.data(), 3, 3, 2);
    image.getPlane(2)->getScanline(row.data(), 5, 2);
    EXPECT_EQ(row[3], 0.25f);
    EXPECT_EQ(static_cast<float>(image.getPixelF16(3, 2, 2)), 0.25f);
    EXPECT_EQ(static_cast<float>(image.getPixelF16(5, 2, 2)), 0.0f);
    EXPECT_EQ(image.findChannel(Classic::kChannelAlpha), -1);
    EXPECT_EQ(image.findChannel(Classic::kChannelBlue), 2);
    EXPECT_TRUE(recorder.empty());
    image.getScanline(row.data(), 5, 3, 0);
    image.setScanline(row.data(), 5, 0, 3);
    image.getColumn(row.data(), 5, 5, 0);
    image.setColumn(row.data(), 5, 0, 3);
    EXPECT_EQ(recorder.texts(), "Coordinates for getScanline() are out of range.\n"
                                "Coordinates for getScanline() are out of range.\n"
                                "Coordinates for getColumn() are out of range.\n"
                                "Coordinates for setColumn() are out of range.\n");
    EXPECT_EQ(recorder.assertions()[0].m_file, "image");
}

TEST(ClassicImage, ConstantPlanesFillAndTakeNothing) {
    ReportRecorder recorder;
    Classic image(3, 2, 4, Plane::kTypeConstant);
    float row[3] = {0.5f, 0.5f, 0.5f};
    image.setScanline(row, 3, 0, 3);
    image.getPlane(0)->setScanline(row, 3, 0);
    image.getScanline(row, 3, 1, 3);
    EXPECT_EQ(row[2], 1.0f);
    image.getPlane(0)->getScanline(row, 3, 1);
    EXPECT_EQ(row[2], 0.0f);
    image.getPlane(0)->setValue(0.75f);
    EXPECT_EQ(image.getPlane(0)->getValue(), 0.75f);
    image.swapPlanes(0, 3);
    EXPECT_EQ(image.getPlane(3)->getValue(), 0.75f);
    EXPECT_TRUE(recorder.empty());
}

// setValue is told to store over the pointer. Whatever stands there then, nothing is read or written by it.
TEST(ClassicImage, APlaneThatLostItsPixelsReadsZerosAndDropsWrites) {
    ReportRecorder recorder;
    Classic image(4, 4, 4);
    fill(&image);
    Plane& plane = *image.getPlane(1);
    plane.setValue(3.0f);
    EXPECT_EQ(plane.getValue(), 3.0f);
    EXPECT_EQ(recorder.texts(), "setValue() is only allowed on plances of kTypeConstant\n"
                                "getValue() is only allowed on planes of kTypeConstant\n");
    float row[4] = {1, 1, 1, 1};
    image.setScanline(row, 4, 0, 1);
    image.setColumn(row, 4, 0, 1);
    plane.setScanline(row, 4, 0);
    image.getScanline(row, 4, 0, 1);
    EXPECT_EQ(row[0], 0.0f);
    plane.m_data.m_pixels = image.getPlane(3)->m_data.m_pixels + 1; // its last pixel lies behind the buffer
    image.getScanline(row, 4, 3, 1);
    EXPECT_EQ(row[3], 0.0f);
    encoded(&image, formatNamed("R8G8B8A8Unorm"));
    encoded(&image, formatNamed("Bc7Unorm"));
    image.setRawData(std::vector<std::uint8_t>(64).data(), formatNamed("R8G8B8A8Unorm"));
    image.decompressRawData();
    Classic copy(4, 4, 4);
    EXPECT_EQ(copy.copy(&image), 0);
}

TEST(ClassicImage, ShrinksSwapsAndCopiesWithTheOrderOfItsPlanes) {
    Classic image(5, 4, 3);
    fill(&image);
    float before[5], after[5];
    image.getScanline(before, 5, 3, 0);
    image.swapPlanes(0, 2);
    image.getScanline(after, 5, 3, 2);
    EXPECT_EQ(0, std::memcmp(before, after, sizeof(before)));
    image.setWidth(0);
    image.setWidth(6);
    EXPECT_EQ(image.getWidth(), 5u);
    image.setWidth(3);
    image.setHeight(9);
    image.getScanline(after, 5, 3, 2);
    EXPECT_EQ(0, std::memcmp(before, after, 3 * sizeof(float)));
    image.setOpacityThreshold(0.5f);
    image.setRawData(std::vector<std::uint8_t>(48).data(), formatNamed("R8G8B8A8Unorm"));
    const std::unique_ptr<Classic> clone(image.clone());
    EXPECT_EQ(pixelsOf(*clone), pixelsOf(image));
    EXPECT_EQ(clone->getRawDataSize(), 48u);
    EXPECT_EQ(clone->getOpacityThreshold(), 0.5f);
    Classic other(3, 4, 4), constant(3, 4, 3, Plane::kTypeConstant);
    EXPECT_EQ(other.copy(&image), -1);
    EXPECT_EQ(constant.copy(&image), 0);
    EXPECT_EQ(pixelsOf(constant), pixelsOf(image));
    Plane& taken = *image.getPlane(0);
    const Plane detached = taken; // reads the same pixels
    detached.getScanline(after, 3, 3);
    image.getScanline(before, 3, 3, 0);
    EXPECT_EQ(0, std::memcmp(before, after, 3 * sizeof(float)));
    taken.m_type = Plane::kTypeConstant; // beside interleaved ones
    taken.m_data.m_value = 0.25f;
    const std::unique_ptr<Classic> mixed(image.clone());
    EXPECT_EQ(pixelsOf(*mixed), pixelsOf(image));
    EXPECT_EQ(constant.copy(&image), 0);
    EXPECT_EQ(pixelsOf(constant), pixelsOf(image));
    image.setHeight(2); // the raw data is larger than what fits now
    EXPECT_EQ(image.getRawData(), nullptr);
}

TEST(ClassicImage, KeepsRawDataOfEqualSize) {
    ReportRecorder recorder;
    Classic image(5, 5, 4);
    EXPECT_EQ(image.getNumPixelsRequired(true), 64u);
    EXPECT_EQ(image.getBufferSizeRequired(formatNamed("Bc1Unorm")), 32u);
    const std::uint8_t* data = image.allocateRawData(formatNamed("R8G8B8A8Unorm"));
    EXPECT_EQ(image.allocateRawData(formatNamed("R8G8B8A8Snorm")), data);
    image.setRawData(nullptr, {});
    EXPECT_EQ(image.getRawDataFormat().m_word, 0u);
    EXPECT_TRUE(recorder.empty());
    Classic huge(40000, 40000, 4);
    EXPECT_EQ(huge.allocateRawData(formatNamed("R32G32B32A32Float")), nullptr);
    EXPECT_EQ(recorder.texts(), "failed to allocate memory for image! buffer size needed  was -1\n"
                                "failed to allocate memory for rawData! rawSize was -1\n");
    float value = 1.0f;
    huge.getScanline(&value, 1, 39999, 3);
    EXPECT_EQ(value, 0.0f);
}

// Takes no block of memory after so many.
class ScarceMemory {
public:
    explicit ScarceMemory(int blocks) : m_blocks(blocks) {
        setToolsSystemAllocator({this, &allocate, &Raw::defaultRelease});
    }
    ~ScarceMemory() { setToolsSystemAllocator(Raw::g_mallocAllocator); }

private:
    static void* allocate(void* self, unsigned long long size, unsigned long long alignment) {
        const bool hasMore = static_cast<ScarceMemory*>(self)->m_blocks-- > 0;
        return hasMore ? Raw::defaultAllocate(nullptr, size, alignment) : nullptr;
    }

    int m_blocks;
};

TEST(ClassicImage, SaysWhatMemoryWasMissingFor) {
    Classic image(4, 4, 4);
    const Vex::DataFormat format = formatNamed("R8G8B8A8Unorm");
    image.allocateRawData(format);
    std::vector<std::uint8_t> tiled(1024);
    const ScarceMemory memory(1);
    ReportRecorder recorder;
    EXPECT_EQ(image.clone(), nullptr); // the pixels fit, the raw data does not
    EXPECT_EQ(image.fillSurface(tiled.data(), 1024, Vex::kTileModeThin_1dThin, formatNamed("R8Unorm")), 0u);
    EXPECT_EQ(image.loadFromSurface(tiled.data(), 1024, Vex::kTileModeThin_1dThin, formatNamed("R8Unorm")),
              0u);
    Classic none(4, 4, 4);
    EXPECT_EQ(
        recorder.texts(),
        "failed to allocate memory for rawData! rawSize was 64\n"
        "Out of memory! failed to allocate buffer to compressPixels, in fillSurface method: buffer size "
        "needed 16.\n"
        "Out of memory! failed to allocate image rawData buffer: buffer size needed 16.\n"
        "failed to allocate memory for image! buffer size needed  was 256\n");
}

// Constant planes and raw data are a whole picture: nothing else holds it.
TEST(ClassicImage, KeepsTheRawDataOfAPictureWithoutPixels) {
    const Vex::DataFormat format = formatNamed("R8Unorm");
    Classic image(2, 2, 1, Plane::kTypeConstant);
    image.setRawData("abcd", format);
    const std::unique_ptr<Classic> clone(image.clone());
    EXPECT_EQ(encoded(clone.get(), format), (std::vector<std::uint8_t>{'a', 'b', 'c', 'd'}));
    ReportRecorder recorder;
    image.decompressRawData();
    EXPECT_TRUE(recorder.empty());
    image.deleteRawData();
    image.decompressRawData();
    EXPECT_EQ(recorder.texts(), "Image does not have good rawData or sufficient number of planes\n");
}

bool holdsIntegers(Vex::TextureChannelType type) {
    return type == Vex::kTextureChannelTypeUInt || type == Vex::kTextureChannelTypeSInt ||
           type == Vex::kTextureChannelTypeUBInt;
}

// What the two interfaces do differently on purpose: luminance is made of three planes here, the only plane
// of alpha formats is the first, channels that nothing selects hold 0, integers are rounded, and colours of
// BC2 and BC3 do not go through the sRGB curve twice.
bool isEncodedAlike(const std::string& name, Vex::DataFormat format) {
    const bool isSrgbBlock =
        format.isBlockCompressedFormat() && format.getTextureChannelType() == Vex::kTextureChannelTypeSrgb;
    return name[0] != 'L' && name[0] != 'A' && name.find('X') == std::string::npos && !isSrgbBlock &&
           !holdsIntegers(format.getTextureChannelType());
}

TEST(ClassicImage, EncodesAsReformatDoesWhereBothShould) {
    const Policy policy(kNormalizationPolicyAsItIs);
    Raw::Configuration configuration;
    unsigned compared = 0;
    for (unsigned i = 0; i < kBlessedFormats; ++i) {
        Vex::DataFormat format = str2Format(blessedFormats[i]);
        const bool isBc1 = format.getSurfaceFormat() == Vex::kSurfaceFormatBc1;
        if (!isEncodedAlike(blessedFormats[i], format)) {
            continue;
        }
        if (isBc1) {
            format =
                formatNamed("Bc1UnormNoAlpha"); // without a threshold no block is searched for transparency
        }
        Classic image(12, 8, 4);
        fill(&image, i + 1);
        TestImage source(makeFlat("R32G32B32A32Float", 12, 8));
        std::memcpy(source.bytes().data(), image.getPlanePixels(0).m_first, source.bytes().size());
        TestImage destination(makeTexture({"", Vex::kTextureType2dArray, 12, 8, 1, 1, 0, 1}, format));
        ASSERT_EQ(Raw::reformat(&source, &destination, &configuration), Raw::kErrorNone);
        EXPECT_EQ(encoded(&image, format), destination.bytes()) << blessedFormats[i];
        ++compared;
    }
    EXPECT_EQ(compared, 68u);
}

// Whatever is decoded encodes to the same bytes again: every format, plane count, order and policy.
TEST(ClassicImage, DecodesWhatItEncodes) {
    for (const NormalizationPolicy which : {kNormalizationPolicyUnit, kNormalizationPolicyAsItIs}) {
        const Policy policy(which);
        for (unsigned i = 0; i < kBlessedFormats; ++i) {
            const Vex::DataFormat format = str2Format(blessedFormats[i]);
            const unsigned components = format.getNumComponents();
            const bool isLuminance = blessedFormats[i][0] == 'L';
            const bool isBlock = format.isBlockCompressedFormat();
            for (unsigned planes = isLuminance || isBlock ? components : 1; planes <= 4; ++planes) {
                ReportRecorder recorder;
                Classic image(7, 5, planes);
                fill(&image, i * 4 + planes);
                if (planes == 4) {
                    image.swapPlanes(0, 2);
                }
                const std::vector<std::uint8_t> once = encoded(&image, format);
                Classic back(7, 5, planes);
                back.setRawData(once.data(), format);
                back.decompressRawData();
                if (isBlock || (isLuminance && planes >= 3) || planes < components) {
                    continue; // lossy; the luminance of a luminance; formats that want more planes
                }
                back.deleteRawData();
                EXPECT_EQ(encoded(&back, format), once) << blessedFormats[i] << ", planes " << planes;
                EXPECT_TRUE(recorder.empty()) << recorder.texts();
            }
        }
    }
}

TEST(ClassicImage, GoesThroughTiledMemoryAndBack) {
    ReportRecorder recorder;
    for (const char* name : {"R8G8B8A8Unorm", "Bc3Unorm", "B8G8R8A8Unorm"}) {
        Classic image(13, 9, 4);
        fill(&image);
        const Vex::DataFormat format = formatNamed(name);
        Vex::Texture texture;
        std::uint64_t size = 0;
        unsigned alignment = 0;
        ASSERT_TRUE(image.initTexture(&texture, &size, &alignment, format, Vex::kTileModeThin_1dThin));
        std::vector<std::uint8_t> tiled(size), again(size);
        EXPECT_EQ(image.fillSurface(tiled.data(), unsigned(size), Vex::kTileModeThin_1dThin, format), size);
        Classic back(13, 9, 4);
        EXPECT_EQ(back.loadFromSurface(tiled.data(), unsigned(size), Vex::kTileModeThin_1dThin, format),
                  size);
        EXPECT_EQ(back.fillSurface(again.data(), unsigned(size), Vex::kTileModeThin_1dThin, format), size);
        EXPECT_EQ(again, tiled) << name;
        EXPECT_TRUE(recorder.empty()) << recorder.texts();
        EXPECT_EQ(back.fillSurface(tiled.data(), unsigned(size) - 1, Vex::kTileModeThin_1dThin, format),
                  size - 1);
        EXPECT_EQ(back.loadFromSurface(tiled.data(), unsigned(size) - 1, Vex::kTileModeThin_1dThin, format),
                  0u);
        EXPECT_EQ(recorder.assertions().size(), 2u);
        recorder.clear();
    }
}

TEST(CpuBlockEncoder, RepeatsTheFirstTexelBeyondTheEdge) {
    Classic image(6, 5, 3);
    fill(&image);
    const CpuBlockEncoder encoder(nullptr, &image, formatNamed("Bc1Unorm"));
    EXPECT_EQ(encoder.getNumberOfRows(), 2u);
    float block[64];
    encoder.GetBlockRGBA(block, 4, 4);
    float row[6];
    image.getScanline(row, 6, 4, 1);
    EXPECT_EQ(block[1], row[4]);
    EXPECT_EQ(block[5], row[5]);
    for (const unsigned texel : {2u, 3u, 4u, 15u}) {
        EXPECT_EQ(0, std::memcmp(block, block + texel * 4, 16)) << texel;
    }
    EXPECT_EQ(block[3], 1.0f); // no fourth plane
}

// Rows of blocks are gathered many at once, whatever the planes are.
TEST(CpuBlockEncoder, EncodesRowsAsBlockAfterBlock) {
    for (const char* name : {"Bc1Unorm", "Bc1UnormSrgb", "Bc5Unorm"}) {
        for (const unsigned planes : {3u, 4u}) {
            Classic image(141, 6, planes); // more blocks than go at once, and an edge
            fill(&image, planes);
            image.swapPlanes(0, 1);
            image.getPlane(2)->m_type = Plane::kTypeConstant;
            const std::vector<std::uint8_t> rows = encoded(&image, formatNamed(name));
            const CpuBlockEncoder encoder(nullptr, &image, formatNamed(name));
            std::vector<std::uint8_t> blocks(rows.size());
            std::uint8_t* next = blocks.data();
            for (unsigned block = 0; block < 2 * 36; ++block) {
                ColorRGBA32F texels[16];
                encoder.GetBlockRGBA(&texels[0].r, block % 36 * 4, block / 36 * 4);
                next += encoder.encode(next, texels);
            }
            EXPECT_EQ(rows, blocks) << name << ", planes " << planes;
        }
    }
}

TEST(CpuBlockEncoder, ReportsWhatItCannotEncode) {
    ReportRecorder recorder;
    Classic image(4, 4, 1);
    std::uint8_t bytes[16] = {};
    CpuBlockEncoder encoder(bytes, &image, formatNamed("Bc3Unorm"));
    EXPECT_EQ(encoder.compressPixels(0, 1), bytes);
    const CpuBlockEncoder none(bytes, &image, formatNamed("R8G8B8A8Unorm"));
    ColorRGBA32F texels[16] = {};
    encoder.m_formatIndex = 7;
    EXPECT_EQ(encoder.encode(nullptr, texels), 16u);
    EXPECT_EQ(recorder.texts(),
              "Source image does not have required minimum number of channels for this format.\n"
              "Only BC formats are allowed. Format's surface format passed is: 0xA!!!.\n"
              "CpuBlockEncoder data is corrupt! Invalid BC format: 0x7!!!.\n");
    recorder.clear();
    PerImagePixelEncoder(bytes, &image, {0xFAC003}).encodeRows(0, 1); // four selects of two components
    PerImagePixelEncoder(bytes, &image, {0x924003}).encodeRows(0, 1); // X, X, X, X
    EXPECT_EQ(
        recorder.texts(),
        "invalid format 0xFAC003: Format refers to channel 3 but it only contains 2 number of components.\n"
        "invalid format 0xFAC003: Format refers to channel 4 but it only contains 2 number of components.\n"
        "Source image does not have required channels for this format.\n"
        "invalid format: when luminance channel is defined as 0, alpha channel should be 1 but it is 0.\n"
        "Source image does not have required channels for this format.\n");
}

TEST(CpuBlockEncoder, MakesTransparentWhatLiesBelowTheThreshold) {
    Classic image(4, 4, 4);
    float row[4] = {0.2f, 0.7f, 0.7f, 0.7f};
    for (unsigned y = 0; y < 4; ++y) {
        image.setScanline(row, 4, y, 3);
    }
    image.setOpacityThreshold(0.5f);
    image.setRawData(encoded(&image, formatNamed("Bc1Unorm")).data(), formatNamed("Bc1Unorm"));
    image.decompressRawData();
    image.getScanline(row, 4, 2, 3);
    EXPECT_EQ(row[0], 0.0f);
    EXPECT_EQ(row[1], 1.0f);
}

// The four bits of a channel: encoded as they are told, and decoded as they are told.
TEST(ClassicImage, TakesTheSrgbModesOfItsChannels) {
    Classic image(1, 1, 4, Plane::kTypeConstant);
    for (unsigned plane = 0; plane < 4; ++plane) {
        image.getPlane(plane)->setValue(0.5f);
    }
    image.setSrgbModes(1u << 0 | 0u << 4 | 2u << 8 | 2u << 12);
    const std::vector<std::uint8_t> plain = encoded(&image, formatNamed("R8G8B8A8Unorm"));
    EXPECT_EQ(plain, (std::vector<std::uint8_t>{128, 128, 188, 188}));
    const std::vector<std::uint8_t> srgb = encoded(&image, formatNamed("R8G8B8A8UnormSrgb"));
    EXPECT_EQ(srgb, (std::vector<std::uint8_t>{128, 188, 188, 188}));
    Classic back(1, 1, 4);
    back.setSrgbModes(1u << 2 | 0u << 6 | 2u << 10 | 0u << 14);
    back.setRawData(srgb.data(), formatNamed("R8G8B8A8UnormSrgb"));
    back.decompressRawData();
    const std::vector<float> pixels = pixelsOf(back);
    EXPECT_EQ(encoded(&image, str2Format("A8UNormSrgb")), std::vector<std::uint8_t>{188}); // as W says
    EXPECT_EQ(encoded(&back, str2Format("A8UNormSrgb")), std::vector<std::uint8_t>{128});
    EXPECT_EQ(pixels[0], 128 / 255.0f);
    EXPECT_NEAR(pixels[1], 0.5f, 1.0f / 255); // one step of the byte
    EXPECT_NEAR(pixels[2], 0.5f, 1.0f / 255);
    EXPECT_EQ(pixels[3], 188 / 255.0f);
}

TEST(ClassicImage, MakesLuminanceOfThreePlanes) {
    Classic image(1, 1, 4, Plane::kTypeConstant);
    const float values[] = {1.0f, 0.5f, 0.25f, 0.75f};
    for (unsigned plane = 0; plane < 4; ++plane) {
        image.getPlane(plane)->setValue(values[plane]);
    }
    const auto luminance = static_cast<std::uint8_t>((0.2126f + 0.3576f + 0.01805f) * 255 + 0.5f);
    EXPECT_EQ(encoded(&image, str2Format("L8A8UNorm")), (std::vector<std::uint8_t>{luminance, 191}));
    EXPECT_EQ(encoded(&image, str2Format("A8L8UNorm")), (std::vector<std::uint8_t>{191, luminance}));
    Classic two(1, 1, 2, Plane::kTypeConstant);
    two.getPlane(0)->setValue(0.25f);
    two.getPlane(1)->setValue(0.75f);
    EXPECT_EQ(encoded(&two, str2Format("A8L8UNorm")), (std::vector<std::uint8_t>{191, 64}));
}

TEST(MultiImageEncoderJob, SharesTheRowsOfSixteenImages) {
    ReportRecorder recorder;
    Classic image(9, 20, 4);
    fill(&image);
    const Vex::DataFormat format = formatNamed("Bc1Unorm");
    const std::vector<std::uint8_t> expected = encoded(&image, format);
    std::vector<std::vector<std::uint8_t>> results(17, std::vector<std::uint8_t>(expected.size()));
    std::vector<CpuBlockEncoder> encoders;
    MultiImageEncoderJob<CpuBlockEncoder> job;
    encoders.reserve(17);
    for (std::vector<std::uint8_t>& result : results) {
        encoders.emplace_back(result.data(), &image, format);
        EXPECT_EQ(job.addImage(&encoders.back()), encoders.size() <= 16);
    }
    EXPECT_EQ(recorder.texts(),
              "number of images cannot exceed the number of reserved images in JobData\n\n");
    Raw::ThreadpoolJobManager manager;
    EXPECT_EQ(manager.submitAndStall(&job), Raw::kErrorNone);
    for (unsigned i = 0; i < 16; ++i) {
        EXPECT_EQ(results[i], expected) << i;
    }
    EXPECT_EQ(results[16], std::vector<std::uint8_t>(expected.size()));
}

} // namespace
