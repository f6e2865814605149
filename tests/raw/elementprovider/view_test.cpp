#include "support/measures.h"
#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <numeric>

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

TEST(AsSurface, TellsTheTexelsOfItsTarget) {
    const TestImage image(
        makeTexture({"", Vex::kTextureTypeCubemap, 40, 40, 2, 4, 0, 0}, Vex::kDataFormatR8G8B8A8Unorm), 2);
    const AsSurfaceElementProvider view(&image, &kSmall);
    Raw::Properties own, shown;
    image.getTexel(&kSmall, &own, 3, 4);
    view.getTexel(&kFirstSurface, &shown, 3, 4);
    ASSERT_EQ(shown.getCount(), own.getCount());
    for (unsigned i = 0; i < own.getCount(); ++i) {
        char expected[256], text[256];
        own[i].print(expected, sizeof expected, nullptr);
        shown[i].print(text, sizeof text, nullptr);
        EXPECT_STREQ(text, expected);
    }
}

TEST(AsSurface, CopiesOutliveTheirOriginalAndViewsNest) {
    const TestImage image(
        makeTexture({"", Vex::kTextureTypeCubemap, 40, 40, 2, 4, 0, 0}, Vex::kDataFormatR8G8B8A8Unorm), 2);
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
        Raw::Configuration configuration = onThisThread();
        EXPECT_EQ(Raw::reformat(&view, &wide, &configuration), Raw::kErrorNone);
    }
}

using Bytes = std::vector<std::uint8_t>;

// What every kind of walk makes of a provider of one surface, and at last what they leave in it.
Bytes walked(Provider& provider) {
    Raw::Configuration configuration = onThisThread();
    const unsigned wide = provider.getPixelsWide(0), tall = provider.getPixelsTall(0);
    const Vex::Texture own = provider.getTexture();
    const Vex::Texture floats = Raw::changeDataFormat(own, formatNamed("R32G32B32A32Float"));
    TestImage copied(own), reformatted(floats), halved(makeFloats(wide / 2, tall / 2)), noise(own, 7);
    Raw::MinMaxMean range;
    const Raw::StandardSquaredErrorCalculator standard;
    Raw::VectorFloat error = {};
    EXPECT_EQ(Raw::getMinMaxMean(&provider, &range, &configuration), Raw::kErrorNone);
    EXPECT_EQ(Raw::copy(&copied, &provider, &configuration), Raw::kErrorNone);
    EXPECT_EQ(Raw::reformat(&provider, &reformatted, &configuration), Raw::kErrorNone);
    EXPECT_EQ(Raw::compare(&error, &noise, &provider, &configuration, &standard), Raw::kErrorNone);
    EXPECT_EQ(Raw::surfaceDownsample2d(&provider, {}, &halved, {}, &configuration), 0);
    Bytes results;
    const auto add = [&](const void* bytes, std::size_t size) {
        const auto* const begin = static_cast<const std::uint8_t*>(bytes);
        results.insert(results.end(), begin, begin + size);
    };
    add(&range.min, sizeof range.min);
    add(&range.sum, sizeof range.sum);
    add(&error, sizeof error);
    for (TestImage* image : {&copied, &reformatted, &halved}) {
        add(image->bytes().data(), image->bytes().size());
    }
    EXPECT_EQ(Raw::reformat(&reformatted, &provider, &configuration), Raw::kErrorNone);
    EXPECT_EQ(Raw::copy(&copied, &provider, &configuration), Raw::kErrorNone);
    add(copied.bytes().data(), copied.bytes().size());
    EXPECT_EQ(Raw::copy(&provider, &noise, &configuration), Raw::kErrorNone);
    return results;
}

// A provider on memory of its own, plain or tiled, that can change its shape.
class Target {
public:
    explicit Target(bool isTiled) : m_isTiled(isTiled), m_image(&m_memory) {}
    const Provider& provider() const { return m_isTiled ? static_cast<const Provider&>(m_tiled) : m_image; }
    void become(const Vex::Texture& texture) {
        std::uint64_t bytes = 0;
        unsigned alignment = 0;
        qor::GpuAddress::computeTotalTiledTextureSize(&bytes, &alignment, &texture);
        m_image.reallocate(&texture);
        m_memory.resize(m_isTiled ? bytes : m_image.getBytesTotal());
        std::iota(m_memory.begin, m_memory.end, std::uint8_t{0});
        Raw::Texture tiled;
        static_cast<Vex::Texture&>(tiled) = texture;
        tiled.m_memoryRegion = m_memory;
        m_tiled = Raw::TextureElementProvider(&tiled);
    }
    Bytes bytes() const { return {m_memory.begin, m_memory.end}; }

private:
    bool m_isTiled;
    Raw::AllocatedMemory m_memory;
    Raw::ReallocatableImage m_image;
    Raw::TextureElementProvider m_tiled;
};

TEST(AsSurface, WalksGoByCheckedTilesOverTargetsThatChanged) {
    const Vex::Texture first = makeFlat("R8G8B8A8Unorm", 29, 21);
    for (const Vex::Texture& second :
         {first, makeFlat("R8G8B8A8Unorm", 13, 9), makeFlat("R8G8B8A8Unorm", 61, 40),
          makeFlat("R8Unorm", 29, 21), makeFlat("R32G32B32A32Float", 29, 21), makeFlat("Bc1Unorm", 29, 21)}) {
        for (const bool isTiled : {false, true}) {
            Target target(isTiled);
            target.become(first);
            AsSurfaceElementProvider view(&target.provider(), &kFirstSurface);
            TilesOnly tiles(view);
            target.become(second);
            const Bytes expected = walked(tiles), expectedLeft = target.bytes();
            target.become(second);
            const bool isSame = second.getWidth() == 29 && second.getDataFormat() == first.getDataFormat();
            EXPECT_EQ(view.getElementRows(&kFirstSurface).m_memory != nullptr, isSame && !isTiled);
            EXPECT_EQ(view.getStrip(&kFirstSurface, {}, 0, 0), isSame && isTiled);
            EXPECT_EQ(view.putStrip(&kFirstSurface, {}, 0, 0), isSame && isTiled);
            EXPECT_EQ(walked(view), expected) << second.getWidth() << isTiled;
            EXPECT_EQ(target.bytes(), expectedLeft) << second.getWidth() << isTiled;
        }
    }
}

// One byte for each tile, whatever its base has in memory.
template <typename Base> class ByteForTile : public Base {
public:
    using Base::Base;
    mutable std::array<std::uint8_t, 16> m_tiles = {9, 8, 7, 6, 5, 4, 3, 2, 1};

private:
    void doGetTile(const Index*, Raw::Tile* tile, unsigned x, unsigned y) const override {
        *tile = filledWith<Raw::Tile>(m_tiles[y * 4 + x]);
    }
    void doPutTile(const Index*, const Raw::Tile* tile, unsigned x, unsigned y) const override {
        std::memcpy(&m_tiles[y * 4 + x], tile, 1);
    }
};

template <typename Base> void expectOverridesCount(ByteForTile<Base>& provider) {
    const auto before = provider.m_tiles;
    TilesOnly tiles(provider);
    const Bytes expected = walked(tiles);
    const auto left = provider.m_tiles;
    provider.m_tiles = before;
    EXPECT_EQ(walked(provider), expected);
    EXPECT_EQ(provider.m_tiles, left);
    EXPECT_NE(left, before);
}

TEST(Providers, WalksTakeTheTilesOfDerivedClasses) {
    const Vex::Texture texture = makeFlat("R8G8B8A8Unorm", 29, 21);
    Target plain(false), tiled(true);
    plain.become(texture);
    tiled.become(texture);
    Raw::AllocatedMemory memory;
    ByteForTile<Raw::ReallocatableImage> image(&memory);
    image.reallocate(&texture);
    expectOverridesCount(image);
    ByteForTile<AsSurfaceElementProvider> view(&plain.provider(), &kFirstSurface);
    expectOverridesCount(view);
    Raw::Texture inMemory = tiled.provider().getTexture();
    ByteForTile<Raw::TextureElementProvider> provider(&inMemory);
    expectOverridesCount(provider);
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
