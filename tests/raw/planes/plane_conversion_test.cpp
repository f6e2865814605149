#include "raw/planes/plane_conversion.h"

#include "qor/vex/data_formats.h"
#include "simd/dispatch.h"
#include "support/conversions.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace qor::Texsmith::Raw {
namespace {

using namespace TestSupport;

constexpr Vex::DataFormat kFloats = Vex::kDataFormatR32G32B32A32Float;

// Whether there is a conversion in planes; if so, it has to be right.
bool compare(const TileConversion& steps, std::size_t count, RandomBits& random) {
    const Vex::DataFormat from = steps.decoder().getTexture()->getDataFormat();
    const Bytes source = elementsOf(from, count, random), expected = byTiles(steps, source, count);
    bool isUsable = true;
    for (const bool wide : {false, true}) {
        Simd::allowAvx2(wide);
        const PlaneConversion planes(steps);
        Bytes converted(expected.size(), 0xCD);
        isUsable = isUsable && planes.isUsable();
        if (isUsable) {
            planes.convert(converted.data(), source.data(), count);
            EXPECT_TRUE(converted == expected) << std::hex << from.m_word << ", " << count;
        }
    }
    Simd::allowAvx2(true);
    return isUsable;
}

bool mustBeUsable(const SurfaceFormatInfo& info, unsigned surfaceFormat, unsigned type) {
    const std::uint8_t* bits = info.bitsPerChannel;
    const bool hasWords = std::find(bits, bits + 4, 32) != bits + 4;
    const bool keepsWords = type == 4 || type == 5 || type == 7 || type == 12;
    return surfaceFormat == 34 || (type != 8 && type < 14 && (!hasWords || keepsWords));
}

// With what comes of rows for all pairs of formats, this tells that planes are where they should be.
TEST(PlaneConversion, TakesEveryFormatAndChannelTypeButThoseOfIntegersAsFloats) {
    RandomBits random;
    std::size_t length = 0;
    for (unsigned word = 0; word < 0x1000; ++word) {
        const unsigned surfaceFormat = word & 0xFF, type = word >> 8;
        const bool isInTable = surfaceFormat < Vex::kSurfaceFormatCount;
        const SurfaceFormatInfo& info =
            getSurfaceFormatInfo(Vex::SurfaceFormat(isInTable ? surfaceFormat : 0));
        if (info.channels == 0 || info.decodeTexels == nullptr) {
            continue;
        }
        const bool usable = mustBeUsable(info, surfaceFormat, type);
        for (const Transform& transform : {noTransform(), someTransform()}) {
            const Vex::DataFormat format = withSwizzle(word, random);
            length = length % 70 + 1;
            EXPECT_EQ(compare(stepsBetween(format, kFloats, transform), length, random), usable) << word;
            EXPECT_EQ(compare(stepsBetween(kFloats, format, noTransform(), transform), length + 256, random),
                      usable)
                << word;
        }
    }
}

TEST(PlaneConversion, TakesRunsOfEveryLengthAndNoPowers) {
    RandomBits random;
    constexpr Vex::DataFormat kPairs[][2] = {
        {Vex::kDataFormatB5G6R5Unorm, Vex::kDataFormatR4G4B4A4Unorm},
        {Vex::kDataFormatR16G16Unorm, Vex::kDataFormatR8G8Unorm},
        {Vex::kDataFormatR11G11B10Float, Vex::kDataFormatR9G9B9E5Float},
        {Vex::kDataFormatR16G16B16A16Float, Vex::kDataFormatR32G32B32A32Float},
        {{0xFAC001}, Vex::kDataFormatR32G32B32Float}}; // with selects of channels that are not there
    for (const auto& [from, to] : kPairs) {
        for (std::size_t length = 0; length <= 70; ++length) {
            EXPECT_TRUE(compare(stepsBetween(from, to), length, random));
        }
        EXPECT_FALSE(compare(stepsBetween(from, to, someTransform(2)), 5, random));
        EXPECT_FALSE(compare(stepsBetween(from, to, noTransform(), someTransform(2)), 5, random));
    }
}

} // namespace
} // namespace qor::Texsmith::Raw
