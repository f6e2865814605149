// Real files by many writers load as the references beside them show: golden/corpus.txt lists them all.
#include "support/corpus.h"
#include "support/described_file.h"
#include "support/png_reader.h"
#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

namespace {

using namespace qor;
using namespace qor::Texsmith::Raw;
using namespace TestSupport;

// One line of the list, whose head tells what the columns mean.
struct Picture {
    std::string m_name, m_reference, m_channels;
    unsigned m_width, m_height;
    std::uint32_t m_format;
    int m_largest;
    unsigned m_left = 0, m_top = 0;

    bool has(char flag) const { return m_channels.find(flag) != std::string::npos; }
    bool endsIn(const char* extension) const {
        return getFileTypeFromExtension(m_name.c_str()) == getFileTypeFromExtension(extension);
    }
};

std::vector<Picture> pictures() {
    std::ifstream file(TEXSMITH_SOURCE_DIR "/tests/golden/corpus.txt");
    std::vector<Picture> all;
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        Picture picture;
        if (line[0] != '#' && words >> picture.m_name >> picture.m_width >> picture.m_height >> std::hex >>
                                  picture.m_format >> std::dec >> picture.m_reference >> picture.m_channels >>
                                  picture.m_largest) {
            words >> picture.m_left >> picture.m_top;
            all.push_back(picture);
        }
    }
    return all;
}

std::string pathOf(const std::string& name) { return (corpus() / name).string(); }

std::string referenceOf(const Picture& picture) {
    return pathOf(picture.m_reference[0] == '.' ? picture.m_name + picture.m_reference : picture.m_reference);
}

Configuration configurationFor(const Picture& picture) {
    Configuration configuration;
    configuration.m_textureChannelType =
        picture.has('S') ? Vex::kTextureChannelTypeSNorm : Vex::kTextureChannelTypeUNorm;
    return configuration;
}

Error loadFrom(ReallocatableImage* image, MemoryRegion* file, const Picture& picture) {
    Configuration configuration = configurationFor(picture);
    return loadWithResult(image, file, picture.m_name.c_str(), &configuration, 0);
}

// Four of each texel of the first surface, as they are stored.
std::vector<float> floatsOf(MemoryMappedImage& image) {
    const Vex::TextureChannelType type = image.getDataFormat().getTextureChannelType();
    if (type == Vex::kTextureChannelTypeSrgb) {
        image.setTextureChannelType(Vex::kTextureChannelTypeUNorm);
    }
    Configuration configuration;
    MemoryMappedImage converted;
    reallocate(&converted, &image, Vex::kDataFormatR32G32B32A32Float);
    EXPECT_EQ(reformat(&image, &converted, &configuration), kErrorNone);
    image.setTextureChannelType(type);
    std::vector<float> floats(4 * std::size_t{image.getPixelsWide(0)} * image.getPixelsTall(0));
    std::memcpy(floats.data(), converted.getMemoryRegion().begin, floats.size() * sizeof(float));
    return floats;
}

using Texel = std::array<int, 4>;

Texel ourTexel(const Picture& picture, const float* values) {
    Texel texel;
    for (unsigned channel = 0; channel < 4; ++channel) {
        const float unit = picture.has('S')   ? (values[channel] + 1) / 2
                           : picture.has('D') ? values[channel] / 2
                                              : values[channel];
        texel[channel] = static_cast<int>(std::lround(std::min(1.0f, std::max(0.0f, unit)) * 255));
    }
    if (picture.has('W')) {
        const auto word = static_cast<int>(std::lround(values[0] * 65535));
        texel = {word & 255, 0, 0, word >> 8};
    }
    for (unsigned channel = 0; channel < 3 && picture.has('M'); ++channel) {
        texel[channel] = texel[channel] * texel[3] / 255;
    }
    return texel;
}

Texel theirTexel(const Picture& picture, const std::uint8_t* bytes) {
    if (picture.has('C')) {
        return bytes[3] < 128 ? Texel{} : Texel{bytes[0], bytes[1], bytes[2], 255};
    }
    return {bytes[0], bytes[1], bytes[2], bytes[3]};
}

int largestDifference(const Picture& picture, const std::vector<float>& floats) {
    PngPicture reference;
    EXPECT_TRUE(readPng(referenceOf(picture), &reference));
    EXPECT_LE(picture.m_left + picture.m_width, reference.m_width);
    EXPECT_LE(picture.m_top + picture.m_height, reference.m_height);
    if (testing::Test::HasFailure()) {
        return -1;
    }
    int largest = 0;
    for (unsigned i = 0; i < picture.m_width * picture.m_height; ++i) {
        const std::size_t x = picture.m_left + i % picture.m_width, y = picture.m_top + i / picture.m_width;
        const Texel ours = ourTexel(picture, &floats[i * 4]);
        const Texel theirs = theirTexel(picture, &reference.m_texels[(y * reference.m_width + x) * 4]);
        for (unsigned channel = 0; channel < 4; ++channel) {
            const int difference = std::abs(ours[channel] - theirs[channel]);
            largest = std::max(largest, picture.has("rgba"[channel]) ? difference : 0);
        }
    }
    return largest;
}

// For references of floats or halves: R, G, B at the end of the file, from the lowest row on. A pixel of RGBE
// whose mantissa is zero has half a step there.
template <typename Stored> int differentValues(const Picture& picture, const std::vector<float>& floats) {
    const MemoryMappedFile file(referenceOf(picture).c_str(), kPermissionsReadOnly, g_mallocAllocator);
    const std::size_t wide = picture.m_width, values = wide * picture.m_height * 3;
    EXPECT_GE(file.length(), values * sizeof(Stored));
    int different = 0;
    for (std::size_t i = 0; i < values && file.length() >= values * sizeof(Stored); ++i) {
        const std::size_t pixel = i / 3, row = picture.m_height - 1 - pixel / wide;
        const float* ours = &floats[(row * wide + pixel % wide) * 4];
        Stored stored;
        std::memcpy(&stored, file.end - (values - i) * sizeof stored, sizeof stored);
        const auto theirs = static_cast<float>(stored);
        const bool isHalfAStep =
            sizeof stored == 4 && ours[i % 3] == 0 && theirs <= *std::max_element(ours, ours + 3) / 256;
        different += ours[i % 3] == theirs || isHalfAStep ? 0 : 1;
    }
    return different;
}

int differenceFromReference(const Picture& picture, MemoryMappedImage& image) {
    const std::vector<float> floats = floatsOf(image);
    switch (getFileTypeFromExtension(picture.m_reference.c_str())) {
    case makeFileType(".PNG"):
        return largestDifference(picture, floats);
    case makeFileType(".PFM"):
        return differentValues<float>(picture, floats);
    case makeFileType(".HDR"): { // another file that shows the same
        MemoryMappedFile file(referenceOf(picture).c_str(), kPermissionsReadOnly, g_mallocAllocator);
        MemoryMappedImage other;
        EXPECT_EQ(loadFrom(&other, &file, picture), kErrorNone);
        return bytesOf(image) == bytesOf(other) ? 0 : 1;
    }
    default:
        return picture.m_reference == "-" ? 0 : differentValues<Half>(picture, floats);
    }
}

// Texels of three bytes are four here, and those of 12 bytes are 16.
Bytes texelsInFile(const MemoryRegion& file, const Image& image, const Picture& picture) {
    const bool isDds = picture.endsIn(".dds");
    const bool isNarrow =
        isDds ? file.begin[80] == 0x40 && file.begin[88] == 24 : image.getBytesPerElement() == 16;
    const std::size_t bytes = image.getBytesPerElement() / 4 * 3;
    const std::size_t header = std::memcmp(file.begin + 84, "DX10", 4) == 0 ? 148 : 128;
    const std::size_t texels = isNarrow ? image.getBytesTotal() / 4 * 3 : image.getBytesTotal();
    const std::uint8_t* from = isDds ? file.begin + header : file.end - texels;
    Bytes all;
    for (std::size_t i = 0; i < texels && from + i < file.end; ++i) {
        all.push_back(from[i]);
        if (isNarrow && i % bytes == bytes - 1) {
            all.insert(all.end(), bytes / 3, 0);
        }
    }
    return all;
}

// Whatever is missing, the reader stays inside the file and says so.
void cutAt64Places(const Bytes& whole) {
    for (std::size_t place = 0; place < 64; ++place) {
        const ReportRecorder recorder;
        Configuration configuration;
        MemoryMappedImage image;
        HeapFile file(whole, whole.size() * place / 64);
        const Error error = convertFromTga(file.region(), &image, &configuration);
        EXPECT_EQ(recorder.warnings().size(), error != kErrorNone ? 1u : 0u) << place;
        EXPECT_EQ(error == kErrorTgaTooSmall, file.region()->length() < 18) << place;
    }
}

void checkPicture(const Picture& picture) {
    const ReportRecorder recorder;
    Configuration configuration = configurationFor(picture);
    MemoryMappedFile file(pathOf(picture.m_name).c_str(), kPermissionsReadOnly, g_mallocAllocator);
    MemoryMappedImage image;
    const bool hasTexels = picture.m_format != 0 && !picture.has('N');
    ASSERT_EQ(loadFrom(&image, &file, picture), hasTexels ? kErrorNone : kErrorFailed);
    EXPECT_EQ(recorder.empty(), hasTexels) << recorder.texts();
    if (picture.endsIn(".dds")) {
        DdsImage view;
        view.readFrom(&file, configuration.m_textureChannelType);
        EXPECT_EQ(view.getDataFormat().m_word, picture.m_format);
    }
    if (!hasTexels) {
        return;
    }
    ASSERT_EQ(image.getDataFormat().m_word, picture.m_format);
    ASSERT_TRUE(image.getPixelsWide(0) == picture.m_width && image.getPixelsTall(0) == picture.m_height);
    FileDescription description;
    EXPECT_EQ(describeFile(&description, &file, picture.m_name.c_str(), &configuration, 0), kErrorNone);
    expectToDescribe(description, image);
    EXPECT_EQ(differenceFromReference(picture, image), picture.m_largest);
    if (picture.endsIn(".dds") || picture.endsIn(".pfm")) {
        EXPECT_TRUE(bytesOf(image) == texelsInFile(file, image, picture));
    }
    AllocatedMemory container;
    MemoryMappedImage back;
    ASSERT_EQ(convertToVxf(&image, &container, &configuration), kErrorNone);
    ASSERT_EQ(convertFromVxf(&container, &back, &configuration), kErrorNone);
    EXPECT_TRUE(bytesOf(back) == bytesOf(image));
}

TEST(Corpus, EveryPictureLoadsAsItsReferenceShows) {
    if (!std::filesystem::exists(corpus())) {
        GTEST_SKIP() << "no corpus at " << corpus();
    }
    std::set<std::string> unlisted;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(corpus())) {
        const std::string name = entry.path().string();
        const FileType type = getFileTypeFromExtension(name.c_str());
        const FileType listed[] = {makeFileType(".DDS"), makeFileType(".TGA"), makeFileType(".BMP"),
                                   makeFileType(".HDR"), makeFileType(".PFM")};
        if (std::count(std::begin(listed), std::end(listed), type) != 0 &&
            name.find(".vips.") == std::string::npos) {
            unlisted.insert(std::filesystem::relative(entry.path(), corpus()).generic_string());
        }
    }
    for (const Picture& picture : pictures()) {
        SCOPED_TRACE(picture.m_name);
        EXPECT_EQ(unlisted.erase(picture.m_name), 1u);
        checkPicture(picture);
        if (picture.endsIn(".tga")) {
            cutAt64Places(bytesOf(
                MemoryMappedFile(pathOf(picture.m_name).c_str(), kPermissionsReadOnly, g_mallocAllocator)));
        }
    }
    EXPECT_TRUE(unlisted.empty()) << testing::PrintToString(unlisted);
}

} // namespace
