#include "support/report_recorder.h"
#include "support/surfaces.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

using namespace TestSupport;

std::string printed(const Raw::Property& property, unsigned size = 256, const char** names = nullptr) {
    char buffer[256] = "untouched";
    property.print(buffer, size, names);
    return buffer;
}

std::string printed(const Raw::Properties& properties) {
    std::string all;
    for (unsigned i = 0; i < properties.getCount(); ++i) {
        all += printed(properties[i]);
    }
    return all;
}

TEST(Property, PrintsEachKindOfValue) {
    Raw::Properties list;
    const std::int8_t bytes[] = {-1, 2};
    const std::uint16_t words[] = {1, 2, 3, 65535};
    const std::int32_t three[] = {-3, 0, 3};
    const float floats[] = {1, 2, 3};
    list.set(0, true);
    list.set(1, bytes);
    list.set(2, bytes, Raw::kPropertyFormatHexadecimal);
    list.set(3, words);
    list.set(4, three);
    list.set(5, std::uint64_t{1} << 63);
    list.set(6, std::int64_t{-1}, Raw::kPropertyFormatHexadecimal);
    list.set(7, floats, Raw::kPropertyFormatHexadecimal);
    list.set128(8, 1, 2, false);
    list.set(1, 0.5f); // the old place
    EXPECT_EQ(printed(list), "TexelU true\nTexelUV 0.500000\nTexelUVW [ff, 02]\nTexelX [1, 2, 3, 65535]\n"
                             "TexelXY [-3, 0, 3]\nTexelXYZ 9223372036854775808\nBlockXY ffffffffffffffff\n"
                             "TileXY [1.000000, 2.000000, 3.000000]\n"
                             "Element 00000000000000010000000000000002\n");
    const char* names[] = {"50%d"};
    EXPECT_EQ(printed(list[0], 256, names), "50%d true\n");
    EXPECT_EQ(printed(list[0], 4), "Tex");
    // Name and conversions make a format of 511 characters at most; half a conversion prints nothing.
    char buffer[600];
    for (const auto& [length, expected] :
         {std::pair<unsigned, const char*>{500, " [1, 2, "}, {508, " ["}, {503, " [1, 2"}, {600, ""}}) {
        const std::string longName(length, 'n');
        names[0] = longName.c_str();
        Raw::Properties words16;
        words16.set(0, words);
        words16[0].print(buffer, sizeof buffer, names);
        EXPECT_EQ(buffer, longName.substr(0, 511) + expected) << length;
    }
    for (unsigned name = 100; name < 120; ++name) {
        list.set(name, name);
    }
    EXPECT_EQ(list.getCount(), 16u);

    const ReportRecorder reports;
    EXPECT_EQ(printed({0, 37, 0, {}}), "untouched");
    EXPECT_EQ(printed({0, 10, 37, {5}}), "TexelU 5\n");
    EXPECT_EQ(reports.assertions().size(), 2u);
    EXPECT_EQ(reports.assertions()[0].m_file, "raw\\property");
}

TEST(Property, DescribesTexels) {
    struct Case {
        Shape m_shape;
        const char* m_format;
        Index m_index;
        std::vector<std::uint8_t> m_element; // at the start of the surface
        const char* m_expected;
    };
    const Case kCases[] = {
        {{"", Vex::kTextureType2d, 4, 2, 1, 1, 0, 1},
         "R8G8B8A8Unorm",
         {},
         {255, 0, 51, 0},
         "ArrayEntryFaceMipDepth [0, 0, 0, 0]\nTexelXY [0, 0]\nTexelUV [0.125000, 0.250000]\nTileXY [0, 0]\n"
         "Element [ff, 00, 33, 00]\nValue [1.000000, 0.000000, 0.200000, 0.000000]\n"},
        {{"", Vex::kTextureType3d, 4, 2, 2, 2, 0, 3},
         "R8Uint",
         {0, 0, 0, 1, 0, 0, 0},
         {200},
         "ArrayEntryFaceMipDepth [0, 0, 1, 0]\nTexelXYZ [0, 0, 0]\nTexelUVW [0.250000, 0.500000, 0.500000]\n"
         "TileXY [0, 0]\nElement c8\nValue [200, 0, 0, 0]\n"},
        {{"", Vex::kTextureTypeCubemap, 4, 4, 1, 1, 0, 6},
         "R32G32B32Sint",
         {0, 0, 3, 0, 0, 0, 0},
         {255, 255, 255, 255, 0, 0, 0, 0, 1, 0, 0, 0},
         "ArrayEntryFaceMipDepth [0, 3, 0, 0]\nTexelXY [0, 0]\nTexelUVW [-0.750000, -1.000000, -0.750000]\n"
         "TileXY [0, 0]\n"
         "Element [ff, ff, ff, ff, 00, 00, 00, 00, 01, 00, 00, 00, 00, 00, 00, 00]\nValue [-1, 0, 1, 0]\n"},
        {{"", Vex::kTextureType1d, 2, 1, 1, 1, 0, 1},
         "R8G8B8A8UnormSrgb",
         {},
         {128, 0, 0, 255},
         "ArrayEntryFaceMipDepth [0, 0, 0, 0]\nTexelX 0\nTexelU 0.250000\nTileXY [0, 0]\nElement [80, 00, "
         "00, ff]\n"
         "Value [0.215861, 0.000000, 0.000000, 1.000000]\n"
         "HardwareValue [0.215820, 0.000000, 0.000000, 1.000000]\n"},
    };
    for (const Case& c : kCases) {
        TestImage image(makeTexture(c.m_shape, formatNamed(c.m_format)));
        std::copy(c.m_element.begin(), c.m_element.end(), image.getMemoryRegion(&c.m_index).begin);
        Raw::Properties properties;
        image.getTexel(&c.m_index, &properties, 0, 0);
        EXPECT_EQ(printed(properties), c.m_expected) << c.m_format;
        image.getTexel(&c.m_index, &properties, 4, 0);
        EXPECT_EQ(properties.getCount(), 0u);
    }
    TestImage blocks(makeFlat("Bc1UnormNoAlpha", 8, 8));
    const std::uint8_t red[] = {0, 0xF8, 0, 0, 0, 0x10, 0, 0}; // colour 1 but for texel (2, 1)
    for (std::size_t i = 0; i < sizeof red; ++i) {
        blocks.bytes()[3 * sizeof red + i] = red[i];
    }
    Raw::Properties properties;
    blocks.getTexel(&kFirstSurface, &properties, 6, 5);
    ASSERT_NE(properties.find(Raw::kPropertyValue), nullptr);
    EXPECT_EQ(printed(*properties.find(Raw::kPropertyValue)),
              "Value [0.000000, 0.000000, 0.000000, 1.000000]\n");
}

} // namespace
