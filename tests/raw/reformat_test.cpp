#include "support/conversions.h"
#include "support/report_recorder.h"
#include "support/surfaces.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace TestSupport;

bool hasCodec(Vex::DataFormat format) {
    const Raw::SurfaceFormatInfo& row = Raw::getSurfaceFormatInfo(format.getSurfaceFormat());
    return row.decodeTexels != nullptr && row.encodeTexels != nullptr && row.bytesPerElement != 0;
}

// By the steps of a tile over all texels in turn, without a walk, a job or a choice of path.
Bytes slowly(TestImage& source, Vex::DataFormat to) {
    const Vex::DataFormat from = source.getDataFormat();
    const Raw::SurfaceFormatInfo& reader = Raw::getSurfaceFormatInfo(from.getSurfaceFormat());
    const Raw::SurfaceFormatInfo& writer = Raw::getSurfaceFormatInfo(to.getSurfaceFormat());
    if (from == to) {
        return source.bytes();
    }
    // By bytes: a texel is worked on as UNorm, which its bytes pass unchanged.
    const bool byBytes = reader.decodeBlock8 != nullptr && writer.encodeBlock8 != nullptr &&
                         from.getTextureChannelType() == to.getTextureChannelType();
    const std::uint32_t kept = byBytes ? ~0xF00u : ~0u;
    return byTiles(stepsBetween({from.m_word & kept}, {to.m_word & kept}), source.bytes(),
                   source.bytes().size() / reader.bytesPerElement);
}

TEST(Reformat, AgreesWithTheSlowModelForAllPairsOfFormats) {
    const int count = Raw::getNamedDataFormatCount();
    Raw::Configuration configuration = onThisThread();
    for (int pair = 0; pair < count * count; ++pair) {
        const Raw::NamedDataFormat from = Raw::getNamedDataFormat(pair / count);
        const Raw::NamedDataFormat to = Raw::getNamedDataFormat(pair % count);
        if (!hasCodec(from.m_dataFormat) || !hasCodec(to.m_dataFormat)) {
            continue;
        }
        for (const auto& [width, height] : {std::pair{1u, 1u}, {5u, 5u}, {8u, 8u}, {17u, 9u}}) {
            TestImage source(makeFlat(from.m_name, width, height, width > 8 ? 5 : 1), 1 + width);
            TestImage destination(Raw::changeDataFormat(source.getTexture(), to.m_dataFormat));
            EXPECT_EQ(Raw::reformat(&source, &destination, &configuration), Raw::kErrorNone);
            EXPECT_EQ(destination.bytes(), slowly(source, to.m_dataFormat))
                << from.m_name << " to " << to.m_name << ", " << width;
        }
    }
}

template <typename To, typename From>
std::vector<To> reformatted(const char* from, const std::vector<From>& values, const char* to) {
    Raw::Configuration configuration;
    TestImage source(makeFlat(from, 1, 1)), destination(makeFlat(to, 1, 1));
    std::memcpy(source.bytes().data(), values.data(), source.bytes().size());
    EXPECT_EQ(Raw::reformat(&source, &destination, &configuration), Raw::kErrorNone);
    std::vector<To> result(destination.bytes().size() / sizeof(To));
    std::memcpy(result.data(), destination.bytes().data(), destination.bytes().size());
    return result;
}

TEST(Reformat, MeetsTheCornersOfIntegersAndFloats) {
    using Words = std::vector<std::uint32_t>;
    using Floats = std::vector<float>;
    const char* const floats = "R32G32B32A32Float";
    EXPECT_EQ((reformatted<std::uint32_t, float>(floats, {2.5f, 3.5f, -1.0f, NAN}, "R32G32B32A32Uint")),
              (Words{2, 4, 0xFFFFFFFF, 0x80000000}));
    EXPECT_EQ((reformatted<std::uint32_t, float>(floats, {-2.5f, 3e9f, -1e-9f, 7}, "R32G32B32A32Sint")),
              (Words{0xFFFFFFFE, 0x80000000, 0, 7}));
    EXPECT_EQ((reformatted<std::uint8_t, float>(floats, {-1.0f, 254.5f, 255.5f, 0.5f}, "R8G8B8A8Uint")),
              (Bytes{255, 254, 255, 0}));
    EXPECT_EQ((reformatted<float, std::uint32_t>("R32G32B32A32Uint", {1, 0x80000000, 0xFFFFFFFF, 9}, floats)),
              (Floats{1.0f, -0x1p31f, -1.0f, 9.0f}));
    EXPECT_EQ((reformatted<std::uint8_t, std::uint8_t>("R8G8B8A8Uint", {200, 1, 0, 255}, "R8G8B8A8Unorm")),
              (Bytes{255, 255, 0, 255}));
    EXPECT_EQ((reformatted<std::uint8_t, std::uint8_t>("R8G8B8A8Uint", {200, 1, 127, 128}, "R8G8B8A8Sint")),
              (Bytes{127, 1, 127, 127})); // integers meet no conversion, only the limits of the encoder
    EXPECT_EQ(
        (reformatted<std::uint8_t, std::uint8_t>("R8G8B8A8UnormSrgb", {1, 2, 3, 4}, "B8G8R8X8UnormSrgb")),
        (Bytes{3, 2, 1, 255}));
}

// The signed byte 0x80, which no float comes back to, tells the general path from the others.
TEST(Reformat, TakesTheGeneralPathForATransformInAnyOfFourPlaces) {
    const Bytes plain = {127, 64, 0x80, 127}, mixed = {64, 127, 0x81, 127};
    const Bytes squared = {127, 32, 127, 127}, dropped = {127, 64, 0x81, 127};
    const Bytes expected[] = {mixed,   mixed,   mixed,   mixed, squared,
                              dropped, squared, dropped, plain, {95, 64, 0x81, 127}};
    for (const bool swaps : {false, true}) {
        const auto inOrder = [&](Bytes bytes) { // as stored: B before R where the format swaps them
            std::swap(bytes[0], bytes[swaps ? 2 : 0]);
            return bytes;
        };
        for (std::size_t i = 0; i < std::size(expected); ++i) {
            Raw::Configuration configuration = onThisThread();
            Raw::Modifiers sourceModifiers, destinationModifiers;
            Raw::Transform* const places[] = {
                &sourceModifiers.m_decode, &configuration.m_decoderConfiguration.m_transform,
                &destinationModifiers.m_encode, &configuration.m_encoderConfiguration.m_transform};
            if (i < 4) { // halves lane X, and hands lane W to Y
                places[i]->m_multiply = {{{0.5f, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 1, 0}, {0, 1, 0, 1}}};
            } else if (i < 8) { // the configuration's power is dropped
                places[i - 4]->m_power = {2.0f, 2.0f, 2.0f, 2.0f};
            } else if (i == 9) { // the configuration's, then the destination's
                places[3]->m_multiply[0][0] = 0.5f;
                places[2]->m_add[0] = 0.25f;
            }
            const Vex::Texture texture =
                Raw::changeDataFormat(makeFlat("R8Unorm", 1, 1), {swaps ? 0xF2E10Au : 0xFAC10Au});
            TestImage source(texture), destination(texture);
            source.bytes() = inOrder(plain);
            source.resize(4);
            source.setModifiers(sourceModifiers);
            destination.setModifiers(destinationModifiers);
            EXPECT_EQ(Raw::reformat(&source, &destination, &configuration), Raw::kErrorNone);
            EXPECT_EQ(destination.bytes(), inOrder(expected[i])) << i;
        }
    }
}

TEST(Reformat, GivesTheSameBytesOnAnyManagerWithAnyCallbacks) {
    Raw::SerialJobManager serial;
    Raw::ThreadpoolJobManager pool;
    for (const auto& [from, to] : {std::pair{"R16G16B16A16Float", "R8G8B8A8UnormSrgb"},
                                   {"R8G8B8A8Unorm", "B8G8R8A8Unorm"},
                                   {"R8Unorm", "R8Unorm"}}) {
        for (const Shape& shape : kShapes) {
            TestImage source(makeTexture(shape, formatNamed(from)), 7);
            const Bytes expected = slowly(source, formatNamed(to));
            for (const unsigned callbacks : {1u, 7u, 32u}) {
                for (Raw::JobManager* manager : std::initializer_list<Raw::JobManager*>{&serial, &pool}) {
                    Raw::Configuration configuration = configurationOf(manager, callbacks);
                    TestImage destination(makeTexture(shape, formatNamed(to)));
                    EXPECT_EQ(Raw::reformat(&source, &destination, &configuration), Raw::kErrorNone);
                    EXPECT_EQ(destination.bytes(), expected) << shape.m_name << ' ' << to;
                }
            }
        }
    }
}

TEST(Reformat, RowsInMemoryGiveWhatTilesGive) {
    Raw::Configuration configuration = onThisThread();
    for (const auto& [from, to] : {std::pair{"R8G8B8A8Unorm", "R8G8B8A8Unorm"},
                                   {"R8G8B8A8UnormSrgb", "B8G8R8X8UnormSrgb"},
                                   {"B5G6R5Unorm", "R16G16B16A16Float"},
                                   {"R32G32B32A32Float", "R8G8B8A8UnormSrgb"}}) {
        for (unsigned size = 0; size < 402; ++size) { // 1 x 1 to 20 x 20, and some wider than a kernel's step
            const unsigned wide = size < 400 ? size % 20 + 1 : size - 241,
                           tall = size < 400 ? size / 20 + 1 : 9;
            TestImage source(makeFlat(from, wide, tall), size + 1);
            TestImage rows(makeFlat(to, wide, tall)), tiles(makeFlat(to, wide, tall));
            TilesOnly slowSource(source), slowTiles(tiles);
            EXPECT_EQ(Raw::reformat(&source, &rows, &configuration), Raw::kErrorNone);
            EXPECT_EQ(Raw::reformat(&slowSource, &slowTiles, &configuration), Raw::kErrorNone);
            ASSERT_EQ(rows.bytes(), tiles.bytes()) << from << " to " << to << ", " << wide << " x " << tall;
            EXPECT_EQ(slowTiles.m_puts, tiles.getTiles(0));
        }
    }
}

TEST(Reformat, WorksInPlace) {
    Raw::Configuration configuration;
    TestImage image(makeFlat("R8G8B8A8Unorm", 150, 20), 3);
    const Bytes expected = slowly(image, formatNamed("B8G8R8A8Unorm"));
    Raw::MemoryRegion region = image.getMemoryRegion();
    struct Borrowed : Raw::Image {
        Borrowed(const Vex::Texture& texture, Raw::MemoryRegion* memory) {
            m_memoryRegion = memory;
            setupAsVexTexture(&texture);
        }
    } same(Raw::changeDataFormat(image.getTexture(), formatNamed("B8G8R8A8Unorm")), &region);
    EXPECT_EQ(Raw::reformat(&image, &same, &configuration), Raw::kErrorNone);
    EXPECT_EQ(image.bytes(), expected);
}

TEST(Reformat, ReportsAndFails) {
    Raw::Configuration configuration;
    const ReportRecorder reports;
    TestImage image(makeFlat("R8G8B8A8Unorm", 8, 8)), smaller(makeFlat("B8G8R8A8Unorm", 4, 4), 7);
    EXPECT_EQ(Raw::reformat(&image, &smaller, &configuration), Raw::kErrorFailed);
    EXPECT_EQ(smaller.bytes(), TestImage(smaller.getTexture(), 0).bytes());
    EXPECT_EQ(reports.texts(), "source and destination must have the same dimensions.\n"
                               "source and destination must have the same dimensions.\n");
    EXPECT_EQ(reports.assertions()[0].m_file, "raw\\reformat");
    EXPECT_EQ(reports.assertions()[1].m_file, "raw\\pertile\\reformatpertile8");

    // A format without functions can be copied, and nothing else.
    configuration = onThisThread();
    TestImage without(makeFlat("B8G8R8G8Unorm", 8, 8)), untouched(makeFlat("R8G8B8A8Unorm", 8, 8), 5);
    const Bytes before = untouched.bytes();
    EXPECT_EQ(Raw::reformat(&without, &untouched, &configuration), Raw::kErrorFailed);
    EXPECT_EQ(Raw::reformat(&untouched, &without, &configuration), Raw::kErrorFailed);
    EXPECT_EQ(untouched.bytes(), before);
    EXPECT_EQ(Raw::reformat(&without, &without, &configuration), Raw::kErrorNone);
    volatile unsigned abort = 1;
    configuration.m_abort = &abort;
    EXPECT_EQ(Raw::reformat(&image, &untouched, &configuration), Raw::kErrorFailed);
    EXPECT_EQ(untouched.bytes(), before);
}

} // namespace
