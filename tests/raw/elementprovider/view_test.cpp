#include "support/report_recorder.h"
#include "support/surfaces.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

namespace {

using namespace TestSupport;
using Raw::AsSurfaceElementProvider;

constexpr Index kSmall = {0, 1, 4, 3, 0, 0, 0}; // 5 x 5 pixels

TEST(AsSurface, ShowsAndChangesOneSurfaceInEveryGrain) {
    for (const char* format : {"R8Unorm", "R32G32B32Float", "Bc1Unorm"}) {
        TestImage image(makeTexture({"", Vex::kTextureTypeCubemap, 40, 40, 2, 4, 0, 0}, formatNamed(format)),
                        1);
        const std::vector<std::uint8_t> before = image.bytes();
        Raw::Modifiers modifiers;
        modifiers.m_decode.m_add[1] = 3.0f;
        image.setModifiers(modifiers);
        const AsSurfaceElementProvider view(&image, &kSmall);
        EXPECT_TRUE(view.getPixelsWide(0) == 5 && view.getPixelsTall(0) == 5);
        EXPECT_EQ(view.getDataFormat(), formatNamed(format));
        EXPECT_EQ(view.getSurfaceCount(), Raw::SurfaceCount());
        EXPECT_EQ(view.getModifiers().m_decode.m_add[1], 3.0f);
        withEachGrain([&](auto buffer) {
            const auto inverted = filledWith<decltype(buffer)>(0xFF);
            for (unsigned i = 0; i < 6 * 6; ++i) { // some of them outside
                auto expected = buffer;
                get(view, &kFirstSurface, &buffer, i % 6, i / 6);
                get(image, &kSmall, &expected, i % 6, i / 6);
                EXPECT_TRUE(equal(buffer, expected)) << i;
                put(view, &kFirstSurface, &inverted, i % 6, i / 6);
            }
            std::vector<std::uint8_t> after = before;
            const auto surface = image.getMemoryRegion(&kSmall);
            std::fill_n(after.begin() + (surface.begin - image.bytes().data()), surface.length(),
                        std::uint8_t{0xFF});
            EXPECT_EQ(image.bytes(), after);
            std::copy(before.begin(), before.end(), image.bytes().begin());
        });
    }
}

TEST(AsSurface, CopiesOutliveTheirOriginalAndViewsNest) {
    const TestImage image(makeTexture({"", Vex::kTextureTypeCubemap, 40, 40, 2, 4, 0, 0}, {0xFAC00A}), 2);
    auto original = std::make_unique<AsSurfaceElementProvider>(&image, &kSmall);
    const AsSurfaceElementProvider made(*original);
    AsSurfaceElementProvider assigned;
    assigned = *original;
    original.reset();
    const AsSurfaceElementProvider nested(&assigned, &kFirstSurface);
    Raw::Tile expected;
    image.getTile(&kSmall, &expected, 0, 0);
    for (const Provider* view : std::initializer_list<const Provider*>{&made, &assigned, &nested}) {
        Raw::Tile tile;
        view->getTile(&kFirstSurface, &tile, 0, 0);
        EXPECT_TRUE(equal(tile, expected));
        view->getTile(&kSmall, &tile, 0, 0); // a view has one surface
        EXPECT_TRUE(equal(tile, {}));
    }
}

TEST(AsSurface, HandsOutRowsInElementsOfTheTargetsSizeOnly) {
    const TestImage image(makeFlat("R8Unorm", 13, 13), 1);
    AsSurfaceElementProvider view(&image, &kFirstSurface);
    for (const auto& [format, rows] : {std::pair{"R8Snorm", true}, {"R8G8B8A8Unorm", false}}) {
        view.setDataFormat(formatNamed(format));
        EXPECT_EQ(view.getElementRows(&kFirstSurface).m_memory != nullptr, rows) << format;
        TestImage wide(makeFlat("R32G32B32A32Float", 13, 13)); // made of what lies in the image and no more
        Raw::SerialJobManager serial;
        Raw::Configuration configuration;
        configuration.m_jobManager = &serial;
        EXPECT_EQ(Raw::reformat(&view, &wide, &configuration), Raw::kErrorNone);
    }
}

TEST(AsSurface, WithoutATargetShowsNothing) {
    const ReportRecorder reports;
    const AsSurfaceElementProvider view(nullptr, nullptr);
    EXPECT_EQ(reports.texts(), "target must not be NULL.\nsurfaceIndex must not be NULL.\n");
    auto tile = filledWith<Raw::Tile>(9);
    view.putTile(&kFirstSurface, &tile, 0, 0);
    view.getTile(&kFirstSurface, &tile, 0, 0);
    EXPECT_TRUE(equal(tile, {}));
}

} // namespace
