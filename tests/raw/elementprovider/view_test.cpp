#include "support/report_recorder.h"
#include "support/surfaces.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

namespace {

using namespace TestSupport;
using Raw::AsSurfaceElementProvider;

constexpr Raw::SurfaceIndex kFirst = {};
const char* const kFormats[] = {"R8Unorm", "R32G32B32Float", "Bc1Unorm"};

TEST(AsSurface, ShowsOneSurfaceAtItsExactSizeInEveryGrain) {
    for (const char* format : kFormats) {
        TestImage image(makeTexture({"", Vex::kTextureTypeCubemap, 40, 40, 2, 4, 0}, formatNamed(format)));
        image.fillRandomly(1);
        Raw::Modifiers modifiers;
        modifiers.m_decode.m_add[1] = 3.0f;
        image.setModifiers(modifiers);
        const Raw::SurfaceIndex index{0, 1, 4, 3, 0, 0, 0}; // 5 x 5 pixels
        const AsSurfaceElementProvider view(&image, &index);
        EXPECT_EQ(view.getPixelsWide(0), 5u);
        EXPECT_EQ(view.getPixelsTall(0), 5u);
        EXPECT_EQ(view.getDataFormat(), formatNamed(format));
        EXPECT_EQ(view.getSurfaceCount(), Raw::SurfaceCount());
        EXPECT_EQ(view.getModifiers().m_decode.m_add[1], 3.0f);
        for (unsigned i = 0; i < 6 * 6; ++i) { // some of them outside
            const unsigned x = i % 6, y = i / 6;
            Raw::VectorFloat elements[2];
            view.getElement(&kFirst, &elements[0], x, y);
            image.getElement(&index, &elements[1], x, y);
            EXPECT_EQ(std::memcmp(&elements[0], &elements[1], sizeof elements[0]), 0) << i;
            Raw::Block blocks[2] = {};
            view.getBlock(&kFirst, &blocks[0], x, y);
            image.getBlock(&index, &blocks[1], x, y);
            EXPECT_EQ(std::memcmp(&blocks[0], &blocks[1], sizeof blocks[0]), 0) << i;
            Raw::Tile tiles[2] = {};
            view.getTile(&kFirst, &tiles[0], x, y);
            image.getTile(&index, &tiles[1], x, y);
            EXPECT_EQ(std::memcmp(&tiles[0], &tiles[1], sizeof tiles[0]), 0) << i;
        }
    }
}

TEST(AsSurface, WritesReachItsSurfaceOnly) {
    for (const char* format : kFormats) {
        TestImage image(makeTexture({"", Vex::kTextureType2dArray, 19, 19, 3, 1, 0}, formatNamed(format)));
        const Raw::SurfaceIndex index{0, 1, 0, 0, 0, 0, 0};
        const AsSurfaceElementProvider view(&image, &index);
        const auto fill = filledWith<Raw::Tile>(0xFF);
        const auto fillBlock = filledWith<Raw::Block>(0xFF);
        const auto fillElement = filledWith<Raw::VectorFloat>(0xFF);
        view.putTile(&kFirst, &fill, 0, 0);
        for (unsigned i = 0; i < 25; ++i) { // all blocks but those of the first tile
            if (i % 5 > 1 || i / 5 > 1) {
                view.putBlock(&kFirst, &fillBlock, i % 5, i / 5);
            }
        }
        std::vector<std::uint8_t> expected(image.getBytesTotal());
        const auto surface = image.getMemoryRegion(&index);
        std::fill_n(expected.begin() + (surface.begin - image.bytes().data()), surface.length(),
                    std::uint8_t{0xFF});
        EXPECT_EQ(image.bytes(), expected);
        std::fill(image.bytes().begin(), image.bytes().end(), std::uint8_t{0});
        for (unsigned i = 0; i < view.getElements(0); ++i) {
            view.putElement(&kFirst, &fillElement, i % view.getElementsWide(0), i / view.getElementsWide(0));
        }
        EXPECT_EQ(image.bytes(), expected);
    }
}

TEST(AsSurface, CopiesOutliveTheirOriginalAndViewsNest) {
    TestImage image("R8Unorm", 9, 9, 2);
    image.fillRandomly(2);
    const Raw::SurfaceIndex index{0, 0, 0, 1, 0, 0, 0};
    auto original = std::make_unique<AsSurfaceElementProvider>(&image, &index);
    const AsSurfaceElementProvider made(*original);
    AsSurfaceElementProvider assigned;
    assigned = *original;
    original.reset();
    const AsSurfaceElementProvider nested(&assigned, &kFirst);
    Raw::Tile expected;
    image.getTile(&index, &expected, 0, 0);
    for (const Raw::ElementProvider* view :
         std::initializer_list<const Raw::ElementProvider*>{&made, &assigned, &nested}) {
        auto tile = filledWith<Raw::Tile>(9);
        view->getTile(&kFirst, &tile, 0, 0);
        EXPECT_EQ(std::memcmp(&tile, &expected, sizeof tile), 0);
        view->getTile(&index, &tile, 0, 0); // the view has no second mip
        EXPECT_TRUE(isZero(tile));
    }
}

TEST(AsSurface, WithoutATargetShowsNothing) {
    const ReportRecorder reports;
    const AsSurfaceElementProvider view(nullptr, nullptr);
    EXPECT_EQ(reports.texts(), "target must not be NULL.\nsurfaceIndex must not be NULL.\n");
    auto tile = filledWith<Raw::Tile>(9);
    view.putTile(&kFirst, &tile, 0, 0);
    view.getTile(&kFirst, &tile, 0, 0);
    EXPECT_TRUE(isZero(tile));
}

} // namespace
