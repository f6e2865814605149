#include "support/loaded_file.h"
#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using namespace qor::Texsmith::Raw;
using namespace TestSupport;

Error loadTga(ReallocatableImage* image, const Bytes& bytes, Configuration configuration = Configuration()) {
    HeapFile file(bytes);
    return convertFromTga(file.region(), image, &configuration);
}

// The element of one pixel: itself or its map entry, with zeros behind.
Bytes elementOf(const TgaKind& kind, const TgaPicture& picture, const Bytes& pixel) {
    Bytes element = pixel;
    if (kind.m_entryBits != 0) {
        const std::size_t bytes = kind.m_entryBits / 8,
                          entry = pixel[0] - std::size_t(TgaPicture::kFirstEntry);
        const std::uint8_t* map = picture.m_writer.m_map.data();
        element =
            entry < TgaPicture::kMapEntries ? Bytes(map + entry * bytes, map + (entry + 1) * bytes) : Bytes();
    }
    element.resize(kind.m_elementBytes);
    return element;
}

Bytes expectedElements(const TgaKind& kind, const TgaPicture& picture) {
    const TgaWriter& writer = picture.m_writer;
    Bytes elements(picture.m_pixels.size() * kind.m_elementBytes);
    for (unsigned i = 0; i < picture.m_pixels.size(); ++i) {
        const unsigned column = i % writer.m_width, row = i / writer.m_width;
        const unsigned x = (writer.m_descriptor & 0x10) != 0 ? writer.m_width - 1 - column : column;
        const unsigned y = (writer.m_descriptor & 0x20) != 0 ? row : writer.m_height - 1 - row;
        std::memcpy(&elements[(y * writer.m_width + x) * kind.m_elementBytes],
                    elementOf(kind, picture, picture.m_pixels[i]).data(), kind.m_elementBytes);
    }
    return elements;
}

TEST(Tga, EveryKindLoadsInEveryOrder) {
    for (const TgaKind& kind : kTgaKinds) {
        for (const unsigned descriptor : {0x00u, 0x10u, 0x28u, 0x30u}) {
            for (const bool isRunLength : {false, true}) {
                SCOPED_TRACE(testing::PrintToString(
                    std::tuple(kind.m_type, kind.m_pixelBits, kind.m_entryBits, descriptor, isRunLength)));
                const TgaPicture picture(kind, isRunLength, descriptor, 13, 19);
                MemoryMappedImage image;
                ASSERT_EQ(loadTga(&image, picture.m_writer.file()), kErrorNone);
                EXPECT_EQ(image.getDataFormat().m_word, kind.m_format);
                EXPECT_EQ(image.getPixelsWide(0), 13u);
                EXPECT_EQ(bytesOf(image), expectedElements(kind, picture));
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
        // most have a fault further down as well
        {kErrorTgaColorMapType, {{1, 2}, {2, 0}}},
        {kErrorTgaNoImageData, {{2, 0}, {1, 1}}},
        {kErrorTgaImageType, {{2, 4}, {1, 1}}},
        {kErrorTgaImageType, {{2, 8}}},
        {kErrorTgaImageType, {{2, 33}}},
        {kErrorTgaMissingColorMap, {{2, 9}, {12, 0}}},
        {kErrorTgaEmptyColorMap, {{2, 1}, {1, 1}, {12, 0}}},
        {kErrorTgaUnexpectedColorMap, {{1, 1}, {14, 0}}},
        {kErrorTgaZeroDimension, {{12, 0}, {16, 1}}},
        {kErrorTgaPixelDepth, {{2, 1}, {1, 1}, {5, 1}, {16, 15}}},
        {kErrorTgaColorMapEntrySize, {{2, 1}, {1, 1}, {5, 1}, {7, 15}}},
        {kErrorTgaUnsupported, {{2, 1}, {1, 1}, {5, 1}, {7, 8}, {16, 8}}},
        {kErrorTgaUnsupported, {{16, 8}}},
        {kErrorTgaUnsupported, {{2, 3}, {16, 24}}},
        {kErrorFailed, {{13, 0x80}}},                                // wider than a texture can be
        {kErrorFailed, {{16, 64}}},                                  // no decoder
        {kErrorFailed, {{2, 1}, {1, 1}, {5, 1}, {7, 16}, {16, 16}}}, // no decoder
    };
    const ReportRecorder recorder;
    for (const Case& testCase : kCases) {
        Bytes file = TgaWriter().file();
        file.resize(64);
        for (const auto& [offset, value] : testCase.m_changes) {
            file[offset] = value;
        }
        MemoryMappedImage image;
        EXPECT_EQ(loadTga(&image, file), testCase.m_error) << testing::PrintToString(testCase.m_changes);
        EXPECT_EQ(image.getBytesTotal(), 0u);
    }
    EXPECT_EQ(recorder.warnings().size(), std::size(kCases));
}

TEST(Tga, AnyImageIsWrittenWith32BitsFromTheTop) {
    Configuration configuration;
    Modifiers modifiers;
    modifiers.m_decode.m_add[0] = 1; // red
    MemoryMappedImage image;
    image.setModifiers(modifiers);
    AllocatedMemory file;
    file.resize(1000);
    Bytes expected = {0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 0, 1, 0, 32, 0x20, 1, 2, 3, 255, 4, 5, 6, 255};
    TgaWriter writer{2, 24, 0, 0, 2};
    writer.add({1, 2, 3, 4, 5, 6});
    ASSERT_EQ(loadTga(&image, writer.file()), kErrorNone); // puts identities in place of the modifiers
    ASSERT_EQ(convertToTga(&image, &file, &configuration), kErrorNone);
    EXPECT_EQ(bytesOf(file), expected);
    ASSERT_EQ(loadTga(&image, expected), kErrorNone); // a format that is written as it stands
    image.setModifiers(modifiers);
    ASSERT_EQ(convertToTga(&image, &file, &configuration), kErrorNone);
    expected[20] = expected[24] = 255;
    EXPECT_EQ(bytesOf(file), expected);
    configuration.m_textureChannelType = qor::Vex::kTextureChannelTypeSrgb;
    ASSERT_EQ(loadTga(&image, writer.file(), configuration), kErrorNone);
    EXPECT_EQ(image.getDataFormat(), qor::Vex::kDataFormatB8G8R8X8UnormSrgb);
}

} // namespace
