#include "qor/texsmith/texsmith.h"
#include "support/report_recorder.h"
#include "support/tga_writer.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using namespace qor;
using namespace qor::Texsmith::Raw;
using namespace TestSupport;

Error loadTga(ReallocatableImage* image, Bytes file, Configuration configuration = Configuration()) {
    MemoryRegion region;
    region.build(file.data(), static_cast<unsigned>(file.size()));
    return convertFromTga(&region, image, &configuration);
}

Bytes elementsOf(const Image& image) {
    const MemoryRegion region = image.getMemoryRegion();
    return Bytes(region.begin, region.end);
}

// The element of one pixel: itself or its map entry, with zeros behind.
Bytes elementOf(const TgaKind& kind, const TgaPicture& picture, const Bytes& pixel) {
    Bytes element = pixel;
    if (kind.m_entryBits != 0) {
        const std::size_t bytes = kind.m_entryBits / 8;
        const std::size_t entry = pixel[0] - std::size_t(TgaPicture::kFirstEntry);
        const auto at = picture.m_writer.m_map.begin() + static_cast<std::ptrdiff_t>(entry * bytes);
        element =
            entry < TgaPicture::kMapEntries ? Bytes(at, at + static_cast<std::ptrdiff_t>(bytes)) : Bytes();
    }
    element.resize(kind.m_elementBytes);
    return element;
}

Bytes expectedElements(const TgaKind& kind, const TgaPicture& picture) {
    const TgaWriter& writer = picture.m_writer;
    Bytes elements(writer.m_width * writer.m_height * kind.m_elementBytes);
    for (unsigned i = 0; i < picture.m_pixels.size(); ++i) {
        const unsigned column = i % writer.m_width;
        const unsigned row = i / writer.m_width;
        const unsigned x = (writer.m_descriptor & 0x10) != 0 ? writer.m_width - 1 - column : column;
        const unsigned y = (writer.m_descriptor & 0x20) != 0 ? row : writer.m_height - 1 - row;
        const Bytes element = elementOf(kind, picture, picture.m_pixels[i]);
        std::memcpy(&elements[(y * writer.m_width + x) * kind.m_elementBytes], element.data(),
                    element.size());
    }
    return elements;
}

TEST(Tga, EveryKindLoadsInEveryOrder) {
    for (const TgaKind& kind : kTgaKinds) {
        for (const std::uint8_t descriptor : Bytes{0x00, 0x10, 0x28, 0x30}) {
            for (const bool isRunLength : {false, true}) {
                SCOPED_TRACE(testing::Message()
                             << int(kind.m_type) << " " << int(kind.m_pixelBits) << " "
                             << int(kind.m_entryBits) << " " << int(descriptor) << isRunLength);
                const TgaPicture picture(kind, isRunLength, descriptor, 13, 19);
                MemoryMappedImage image;
                image.setModifiers([] {
                    Modifiers other;
                    other.m_decode.m_add[0] = 1;
                    return other;
                }());
                ASSERT_EQ(loadTga(&image, picture.m_writer.file()), kErrorNone);
                EXPECT_EQ(image.getDataFormat().m_word, kind.m_format);
                EXPECT_EQ(image.getPixelsWide(0), 13u);
                EXPECT_EQ(image.getPixelsTall(0), 19u);
                EXPECT_EQ(image.getVexTexture()->getTextureType(), Vex::kTextureType2dArray);
                EXPECT_TRUE(image.getModifiers().m_decode.isNop());
                EXPECT_EQ(elementsOf(image), expectedElements(kind, picture));
            }
        }
    }
}

TEST(Tga, FaultsOfTheHeaderHaveTheirCodes) {
    struct Case {
        Error m_error;
        std::vector<std::pair<std::size_t, std::uint8_t>> m_changes; // of a good file of type 2 with 32 bits
    };
    const Case kCases[] = {
        {kErrorTgaColorMapType, {{1, 2}, {2, 0}}},
        {kErrorTgaNoImageData, {{2, 0}, {1, 1}}},
        {kErrorTgaImageType, {{2, 4}, {1, 1}}},
        {kErrorTgaImageType, {{2, 8}}},
        {kErrorTgaImageType, {{2, 12}}},
        {kErrorTgaImageType, {{2, 33}}},
        {kErrorTgaMissingColorMap, {{2, 9}, {12, 0}}},
        {kErrorTgaEmptyColorMap, {{2, 1}, {1, 1}, {12, 0}}},
        {kErrorTgaUnexpectedColorMap, {{1, 1}, {14, 0}}},
        {kErrorTgaZeroDimension, {{12, 0}, {16, 1}}},
        {kErrorTgaZeroDimension, {{14, 0}}},
        {kErrorTgaPixelDepth, {{16, 15}}},
        {kErrorTgaPixelDepth, {{2, 1}, {1, 1}, {5, 1}, {16, 1}}},
        {kErrorTgaColorMapEntrySize, {{2, 1}, {1, 1}, {5, 1}, {7, 15}}},
        {kErrorTgaUnsupported, {{2, 1}, {1, 1}, {5, 1}, {7, 8}, {16, 8}}},
        {kErrorTgaUnsupported, {{16, 8}}},
        {kErrorTgaUnsupported, {{2, 3}, {16, 24}}},
        {kErrorFailed, {{13, 0x80}}}, // wider than a texture can be
    };
    for (const Case& testCase : kCases) {
        const ReportRecorder recorder;
        Bytes file = TgaWriter().file();
        for (const auto& [offset, value] : testCase.m_changes) {
            file[offset] = value;
        }
        MemoryMappedImage image;
        EXPECT_EQ(loadTga(&image, file), testCase.m_error) << testing::PrintToString(testCase.m_changes);
        EXPECT_EQ(image.getBytesTotal(), 0u);
        EXPECT_EQ(recorder.warnings().size(), testCase.m_error == kErrorFailed ? 1u : 0u);
    }
    // Formats without a decoder: 48 and 64 bits, and a map of 16 bits with indices of 16 bits.
    const std::vector<std::pair<std::size_t, std::uint8_t>> kUndecodable[] = {
        {{16, 48}}, {{16, 64}}, {{2, 1}, {1, 1}, {5, 1}, {7, 16}, {16, 16}}};
    for (const auto& changes : kUndecodable) {
        Bytes file = TgaWriter().file();
        file.resize(64);
        for (const auto& [offset, value] : changes) {
            file[offset] = value;
        }
        MemoryMappedImage image;
        EXPECT_EQ(loadTga(&image, file), kErrorFailed);
    }
}

TEST(Tga, TheChannelTypeIsTheConfigurations) {
    Configuration configuration;
    configuration.m_textureChannelType = Vex::kTextureChannelTypeSrgb;
    TgaWriter writer;
    writer.addPixel({1, 2, 3, 4});
    MemoryMappedImage image;
    ASSERT_EQ(loadTga(&image, writer.file(), configuration), kErrorNone);
    EXPECT_EQ(image.getDataFormat().m_word, 0xF2E90Au);
}

TEST(Tga, AnyImageIsWrittenWith32BitsFromTheTop) {
    Configuration configuration;
    TgaWriter writer;
    writer.m_pixelBits = 24;
    writer.m_descriptor = 0;
    writer.m_width = 2;
    writer.addPixel({1, 2, 3});
    writer.addPixel({4, 5, 6});
    MemoryMappedImage image;
    ASSERT_EQ(loadTga(&image, writer.file()), kErrorNone);
    const Bytes header = {0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 0, 1, 0, 32, 0x20};
    const auto write = [&](const Bytes& expectedPixels) {
        AllocatedMemory file;
        file.resize(1000);
        ASSERT_EQ(convertToTga(&image, &file, &configuration), kErrorNone);
        Bytes expected = header;
        expected.insert(expected.end(), expectedPixels.begin(), expectedPixels.end());
        EXPECT_EQ(Bytes(file.begin, file.end), expected);
    };
    write({1, 2, 3, 255, 4, 5, 6, 255}); // a format without alpha is opaque
    Modifiers modifiers;
    modifiers.m_decode.m_add[0] = 1; // red
    image.setModifiers(modifiers);
    write({1, 2, 255, 255, 4, 5, 255, 255});
}

TEST(Tga, NullArgumentsAreReported) {
    const ReportRecorder recorder;
    EXPECT_EQ(convertFromTga(nullptr, nullptr, nullptr), kErrorFailed);
    EXPECT_EQ(convertToTga(nullptr, nullptr, nullptr), kErrorFailed);
    const std::string once =
        "source must not be NULL.\ndestination must not be NULL.\nconfiguration must not be NULL.\n";
    EXPECT_EQ(recorder.texts(), once + once);
    EXPECT_EQ(recorder.assertions().at(0).m_file, "raw\\tga");
}

} // namespace
