#include "raw/surfaces/walk.h"
#include "support/report_recorder.h"
#include "support/surfaces.h"

#include <gtest/gtest.h>

#include <tuple>

namespace {

using namespace TestSupport;

TEST(Surfaces, AreNumberedWithTheMipOutermost) {
    for (const Shape& shape : kShapes) {
        SCOPED_TRACE(shape.m_name);
        const TestImage image(makeTexture(shape, formatNamed("R8Unorm")));
        const int count = Raw::getNumberOfSurfaces(&image);
        EXPECT_EQ(count, static_cast<int>(shape.m_surfaces));
        Raw::SurfaceWalk walk(image.getSurfaceCount(), image.getTexture());
        auto before = std::tuple(-1LL, 0u, 0u, 0u, 0u);
        for (int i = 0; i < count; ++i, walk.advance()) {
            Index s;
            Raw::getSurfaceIndexFromSurfaceNumber(&s, &image, i);
            const auto place =
                std::tuple(static_cast<long long>(s.mip), s.arrayEntry, s.face, s.depth, s.fragment);
            EXPECT_LT(before, place);
            EXPECT_NE(image.getMemoryRegion(&s).begin, nullptr);
            EXPECT_TRUE(!walk.atEnd() && equal(walk.index(), s));
            before = place;
        }
        EXPECT_TRUE(walk.atEnd());
        for (const int outside : {-1, count}) {
            Index untouched{1, 2, 3, 4, 5, 6, 7};
            Raw::getSurfaceIndexFromSurfaceNumber(&untouched, &image, outside);
            EXPECT_TRUE(equal(untouched.getNext(), {2, 3, 4, 5, 6, 7, 8}));
        }
    }
}

TEST(ChangeDataFormat, KeepsTheShapeAndTheStatedFieldsOnly) {
    for (const Shape& shape : kShapes) {
        SCOPED_TRACE(shape.m_name);
        Vex::Texture plain = makeTexture(shape, formatNamed("R8Unorm"));
        plain.setMipLevelRange(shape.m_mips - 1, shape.m_mips - 1);
        plain.setMinLodClamp(0xABC);
        plain.m_regs[6] = (plain.m_regs[6] & ~0xFFFFFu) | 0x54321;
        Vex::Texture texture = plain;
        texture.setArrayView(1, 1);
        texture.setPitchMinus1(99);
        texture.setResourceMemoryType(Vex::kResourceMemoryTypePrivate);
        for (const char* name : {"Invalid", "R32G32B32Float", "Bc1Unorm", "R8Unorm"}) {
            const Vex::Texture changed = Raw::changeDataFormat(texture, formatNamed(name));
            EXPECT_EQ(changed.getDataFormat(), formatNamed(name));
            EXPECT_TRUE(Raw::dimensionsAreIdentical(changed, plain));
            EXPECT_EQ(Raw::SurfaceCount(changed), Raw::SurfaceCount(plain));
            EXPECT_EQ(changed.getMinLodClamp(), 0xABCu);
            EXPECT_EQ(changed.m_regs[6], plain.m_regs[6]);
            EXPECT_NE(changed.getPitch(), 100u);
            EXPECT_NE(changed.getTileMode(), Vex::TileMode(0)); // nor for a format without bytes
        }
    }
    Vex::Texture unknown = makeFlat("R8Unorm", 4, 4);
    unknown.setTextureType(Vex::TextureType(3));
    EXPECT_TRUE(equal(Raw::changeDataFormat(unknown, formatNamed("R8Uint")), {}));
}

TEST(Pitches, FollowTheRowOfTheFormat) {
    EXPECT_EQ(Raw::getBlockPitchInBytes(formatNamed("R32G32B32Float")), 48u);
    EXPECT_EQ(Raw::getTilePitchInBytes(formatNamed("R32G32B32Float")), 96u);
    EXPECT_EQ(Raw::getBlockPitchInBytes(formatNamed("Bc1Unorm")), 8u);
    EXPECT_EQ(Raw::getTilePitchInBytes(formatNamed("Bc7Unorm")), 32u);
    EXPECT_EQ(Raw::getTilePitchInBytes(formatNamed("G8B8G8R8Unorm")), 0u); // a row of all zeros
    const ReportRecorder reports;
    EXPECT_EQ(Raw::getTilePitchInBytes({0xFAC000 + 59}), 0u);
    EXPECT_EQ(reports.texts(), "surfaceFormat is 59, but must be between 0 and 58\n");
    EXPECT_EQ(reports.assertions()[0].m_file, "raw/texture");
}

TEST(Comparisons, AddToEachOther) {
    using Change = void (*)(Vex::Texture&);
    const std::pair<int, Change> changes[] = {
        // of the five comparisons, the first so many hold
        {0, [](Vex::Texture& t) { t.setTextureType(Vex::kTextureType2d); }},
        {0, [](Vex::Texture& t) { t.setWidthMinus1(3); }},
        {0, [](Vex::Texture& t) { t.setHeightMinus1(3); }},
        {0, [](Vex::Texture& t) { t.setDepthMinus1(3); }},
        {0, [](Vex::Texture& t) { t.setArrayView(1, 0); }},
        {0, [](Vex::Texture& t) { t.setArrayView(0, 1); }},
        {1, [](Vex::Texture& t) { t.setMipLevelRange(1, 2); }},
        {1, [](Vex::Texture& t) { t.setMipLevelRange(0, 3); }},
        {2, [](Vex::Texture& t) { t.setDataFormat({0xFAC00B}); }},
        {3, [](Vex::Texture& t) { t = Raw::changeChannelType(t, Vex::kTextureChannelTypeSrgb); }},
        {3, [](Vex::Texture& t) { t.setDataFormat(Vex::kDataFormatB8G8R8A8Unorm); }},
        {5, [](Vex::Texture& t) { t.setPitchMinus1(77); }},
        {5, [](Vex::Texture& t) { t.setTileMode(Vex::kTileModeThin_2dThin); }},
    };
    const Vex::Texture texture = makeFlat("R8G8B8A8Unorm", 9, 9, 3);
    const TestImage a(texture);
    for (const auto& [holding, change] : changes) {
        Vex::Texture changed = texture;
        change(changed);
        TestImage b(changed);
        for (const int most : {5, 4}) {
            EXPECT_EQ(Raw::dimensionsAreIdenticalExceptMips(&a, &b) + Raw::dimensionsAreIdentical(&a, &b) +
                          Raw::dimensionsAndSurfaceFormatAreIdentical(&a, &b) +
                          Raw::dimensionsAndFormatAreIdentical(&a, &b) +
                          Raw::areBitwiseComparableForEquality(&a, &b),
                      std::min(holding, most));
            Raw::Modifiers modifiers; // other ones than those of a, the second time
            modifiers.m_encode.m_power[3] = 2.0f;
            b.setModifiers(modifiers);
        }
    }
    const ReportRecorder reports;
    EXPECT_FALSE(Raw::dimensionsAreIdentical(static_cast<const Provider*>(nullptr), nullptr));
    EXPECT_EQ(reports.texts(), "a must not be NULL.\nb must not be NULL.\n");
}

} // namespace
