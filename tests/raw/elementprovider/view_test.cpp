#include "support/measures.h"
#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <memory>
#include <numeric>
#include <optional>

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

struct Dice {
    std::minstd_rand m_random;
    unsigned below(std::size_t sides) { return static_cast<unsigned>(m_random() % sides); }
};

// Where each tile of a view comes from, painted surface by surface.
struct Cell {
    Index m_index;
    unsigned m_x, m_y;
};
struct Map {
    std::vector<std::vector<std::optional<Cell>>> m_rows;

    // At tile (left, top), as many tiles as the surface has, or as `wide` and `tall` say.
    void paint(const Provider& target, const Index& index, unsigned left, unsigned top) {
        for (unsigned y = 0; y < target.getTilesTall(index.mip); ++y) {
            for (unsigned x = 0; x < target.getTilesWide(index.mip); ++x) {
                widen(left + x + 1, top + y + 1);
                m_rows[top + y][left + x] = Cell{index, x, y};
            }
        }
    }
    void widen(std::size_t wide, std::size_t tall) {
        wide = std::max(wide, m_rows.empty() ? 0 : m_rows[0].size());
        m_rows.resize(std::max(tall, m_rows.size()));
        for (auto& row : m_rows) {
            row.resize(wide);
        }
    }
};

Map canvasOf(const Provider& target) {
    const Raw::SurfaceCount count = target.getSurfaceCount();
    Map map, face;
    for (Index index; index.arrayEntry < count.arrayEntries; ++index.arrayEntry) {
        for (index.face = 0; index.face < count.faces; ++index.face) {
            const auto above = static_cast<unsigned>(map.m_rows.size());
            unsigned x = 0, y = 0, wide = 0, tall = 0, bottom = 0;
            for (index.mip = 0; index.mip < count.mips; ++index.mip) {
                const unsigned slice = target.getTilesTall(index.mip), depth = target.getDepth(index.mip);
                bottom = index.mip == 0 ? slice * depth : bottom;
                if (index.mip > 1 && y + tall + slice * depth <= bottom) {
                    y += tall;
                } else {
                    x += wide;
                }
                for (index.depth = 0; index.depth < depth; ++index.depth) {
                    map.paint(target, index, x, above + y + slice * index.depth);
                }
                index.depth = 0;
                wide = target.getTilesWide(index.mip);
                tall = slice * depth;
            }
        }
    }
    return map;
}

Map slicesOf(const Provider& target, unsigned mip, unsigned columns) {
    const unsigned wide = target.getTilesWide(mip), tall = target.getTilesTall(mip);
    const Raw::SurfaceCount count = target.getSurfaceCount();
    Map map;
    unsigned slice = 0;
    for (Index index = {0, 0, 0, mip, 0, 0, 0}; index.arrayEntry < count.arrayEntries; ++index.arrayEntry) {
        for (index.face = 0; index.face < count.faces; ++index.face) {
            for (index.depth = 0; index.depth < target.getDepth(mip); ++index.depth, ++slice) {
                map.paint(target, index, slice % columns * wide, slice / columns * tall);
            }
            index.depth = 0;
        }
    }
    map.widen(columns * wide, 0);
    return map;
}

using Layout = Raw::CubemapUnfoldedElementProvider::Layout;

Map unfolded(const Provider& target, Index index, const Layout& layout) {
    Map map;
    for (unsigned cell = 0; cell < 36; ++cell) {
        const std::uint32_t face = layout.m_cells[cell / 6][cell % 6];
        index.face = face - 1;
        if (face >= 1 && face <= 6) {
            map.paint(target, index, cell % 6 * target.getTilesWide(index.mip),
                      cell / 6 * target.getTilesTall(index.mip));
        }
    }
    return map;
}

// Every grain of the view, there and back, is that of the cell; and so are all walks.
void expectShows(Provider& view, TestImage& image, const Map& map) {
    ASSERT_EQ(view.getPixelsTall(0), map.m_rows.size() * 8);
    ASSERT_EQ(view.getPixelsWide(0), map.m_rows[0].size() * 8);
    EXPECT_EQ(view.getSurfaceCount(), Raw::SurfaceCount());
    EXPECT_EQ(view.getModifiers().m_decode.m_add[1], image.getModifiers().m_decode.m_add[1]);
    const std::vector<std::uint8_t> before = image.bytes();
    TestImage twin(image.getTexture());
    withEachGrain([&](auto buffer) {
        using Buffer = decltype(buffer);
        const unsigned perTile = view.getElementsPerTileWide() / elementsWide<Buffer>(view);
        const unsigned wide = elementsWide<Buffer>(view), bytes = wide * wide * view.getBytesPerElement();
        Dice dice{std::minstd_rand(1)};
        std::copy(before.begin(), before.end(), image.bytes().begin());
        std::copy(before.begin(), before.end(), twin.bytes().begin());
        for (unsigned i = 0; i < 200; ++i) {
            const unsigned x = dice.below(map.m_rows[0].size() * perTile + 1);
            const unsigned y = dice.below(map.m_rows.size() * perTile + 1);
            const bool isInside = y / perTile < map.m_rows.size() && x / perTile < map.m_rows[0].size();
            const auto cell = isInside ? map.m_rows[y / perTile][x / perTile] : std::nullopt;
            auto shown = filledWith<Buffer>(0xAA), expected = filledWith<Buffer>(0);
            const auto written = filledWith<Buffer>(static_cast<int>(i));
            get(view, &kFirstSurface, &shown, x, y);
            put(view, &kFirstSurface, &written, x, y);
            if (cell) {
                const unsigned column = cell->m_x * perTile + x % perTile;
                const unsigned row = cell->m_y * perTile + y % perTile;
                get(twin, &cell->m_index, &expected, column, row);
                put(twin, &cell->m_index, &written, column, row);
            }
            ASSERT_TRUE(equal(shown, expected, bytes)) << x << ' ' << y;
        }
        EXPECT_EQ(image.bytes(), twin.bytes());
    });
    std::copy(before.begin(), before.end(), image.bytes().begin());
    TilesOnly tiles(view);
    const Bytes expected = walked(tiles), left = image.bytes();
    std::copy(before.begin(), before.end(), image.bytes().begin());
    EXPECT_TRUE(walked(view) == expected);
    EXPECT_TRUE(image.bytes() == left);
}

TEST(Views, ShowWhatTheirMapsSay) {
    Dice dice{std::minstd_rand(5)};
    for (unsigned round = 0; round < 45; ++round) {
        SCOPED_TRACE(round);
        constexpr Vex::TextureType kTypes[] = {Vex::kTextureType2dArray, Vex::kTextureType3d,
                                               Vex::kTextureTypeCubemap};
        constexpr const char* kFormats[] = {"R8G8B8A8Unorm", "Bc1Unorm", "R32G32B32Float", "R8Unorm"};
        const Shape shape = {"",
                             kTypes[round % 3],
                             dice.below(40) + 1,
                             dice.below(40) + 1,
                             dice.below(4) + 1,
                             dice.below(6) + 1,
                             0,
                             0};
        TestImage image(makeTexture(shape, formatNamed(kFormats[dice.below(4)])), round + 1);
        Raw::Modifiers modifiers;
        modifiers.m_decode.m_add[1] = 3.0f;
        image.setModifiers(modifiers);
        Raw::AsCanvasElementProvider canvas(&image);
        expectShows(canvas, image, canvasOf(image));
        const Index index = {0, dice.below(shape.m_depth), 0, dice.below(shape.m_mips), 0, 0, 0};
        const unsigned columns = dice.below(5) + 1;
        Raw::AsSlicesElementProvider slices(&image, &index, static_cast<int>(columns));
        expectShows(slices, image, slicesOf(image, index.mip, columns));
        Layout layout = {};
        for (unsigned i = 0; i < 12; ++i) { // cells of 7 are empty
            layout.m_cells[dice.below(5)][dice.below(6)] = dice.below(8);
        }
        layout.m_cells[0][round % 6] = 1;
        Raw::CubemapUnfoldedElementProvider cube(&image, &index, &layout);
        if (shape.m_type == Vex::kTextureTypeCubemap) {
            expectShows(cube, image, unfolded(image, index, layout));
        }
    }
}

TEST(Views, FollowThePublishedExamples) {
    const Raw::CanvasLayout layout(makeFlat("R8Unorm", 16, 16, 5));
    constexpr unsigned kCorners[][2] = {{0, 0}, {2, 0}, {2, 1}, {3, 1}, {4, 1}};
    for (unsigned mip = 0; mip < 5; ++mip) {
        Index found;
        unsigned x = kCorners[mip][0], y = kCorners[mip][1];
        std::uint64_t left = 9, top = 9;
        layout.locate({0, 0, 0, mip, 0, 0, 0}, &left, &top);
        EXPECT_TRUE(left == x && top == y) << mip;
        EXPECT_TRUE(layout.find(&found, &x, &y) && found.mip == mip && x == 0 && y == 0) << mip;
    }
    EXPECT_TRUE(layout.getTilesWide() == 5 && layout.getTilesTall() == 2);
    const TestImage cube(
        makeTexture({"", Vex::kTextureTypeCubemap, 16, 16, 1, 1, 0, 0}, Vex::kDataFormatR8G8B8A8Unorm), 3);
    const Raw::AsCrossElementProvider cross(&cube, &kFirstSurface);
    EXPECT_TRUE(cross.getPixelsWide(0) == 64 && cross.getPixelsTall(0) == 48);
    Raw::Tile shown, front;
    constexpr Index kFront = {0, 0, 4, 0, 0, 0, 0};
    cube.getTile(&kFront, &front, 0, 0);
    cross.getTile(&kFirstSurface, &shown, 2, 2);
    EXPECT_TRUE(equal(shown, front, 256));
    cross.getTile(&kFirstSurface, &shown, 0, 0);
    EXPECT_TRUE(equal(shown, {}));
}

// The views of a target that changed, tiled or not, and a view whose own memory it is written to.
TEST(Views, WalkByCheckedTilesWhateverBecameOfTheTarget) {
    const auto arrayOf = [](const char* format, unsigned width, unsigned height, unsigned mips) {
        return makeTexture({"", Vex::kTextureTypeCubemap, width, height, 1, mips, 0, 0}, formatNamed(format));
    };
    for (const Vex::Texture& second :
         {arrayOf("R8G8B8A8Unorm", 29, 21, 3), arrayOf("R8G8B8A8Unorm", 13, 9, 2),
          arrayOf("R32G32B32A32Float", 29, 21, 1), arrayOf("Bc1Unorm", 61, 40, 4)}) {
        for (const bool isTiled : {false, true}) {
            Target target(isTiled);
            target.become(arrayOf("R8G8B8A8Unorm", 29, 21, 3));
            Raw::AsCanvasElementProvider canvas(&target.provider());
            Raw::AsSlicesElementProvider slices(&target.provider(), 4);
            Raw::AsCrossElementProvider cross(&target.provider(), &kFirstSurface);
            for (Provider* view : std::initializer_list<Provider*>{&canvas, &slices, &cross}) {
                target.become(second);
                TilesOnly tiles(*view);
                const Bytes expected = walked(tiles), left = target.bytes();
                target.become(second);
                EXPECT_EQ(walked(*view), expected) << second.getWidth() << isTiled;
                EXPECT_EQ(target.bytes(), left);
            }
        }
    }
    TestImage image(makeFlat("R8Unorm", 64, 16, 3), 4), twin(image.getTexture(), 4);
    Raw::Configuration configuration = onThisThread();
    const Raw::AsCanvasElementProvider canvas(&image), twinCanvas(&twin);
    Raw::Raster raster;
    raster.begin = image.bytes().data();
    raster.end = raster.begin + image.bytes().size();
    raster.dataFormat = image.getDataFormat();
    raster.width = raster.pitch = 96;
    raster.height = 13; // over the image that the canvas shows
    Raw::Raster twinRaster = raster;
    twinRaster.begin = twin.bytes().data();
    twinRaster.end = twinRaster.begin + twin.bytes().size();
    const Raw::RasterElementProvider rows(&raster), twinRows(&twinRaster);
    const ReportRecorder reports; // the sizes differ
    Raw::copy(&rows, &canvas, &configuration);
    const TilesOnly tiles(twinRows);
    Raw::copy(&tiles, &twinCanvas, &configuration);
    EXPECT_EQ(image.bytes(), twin.bytes());
    const TestImage nothing(makeFlat("Invalid", 16, 16, 3)); // elements without bytes
    const Raw::AsCanvasElementProvider from(&nothing), to(&nothing);
    EXPECT_EQ(Raw::copy(&to, &from, &configuration), Raw::kErrorNone);
    const TestImage faces(arrayOf("R32G32B32Float", 1376, 8, 1), 5); // holes of more than there are zeros for
    Raw::AsCrossElementProvider cross(&faces, &kFirstSurface);
    TilesOnly crossTiles(cross);
    TestImage byRows(Raw::changeDataFormat(cross.getTexture(), formatNamed("R32G32B32A32Float")));
    TestImage byTiles(byRows.getTexture());
    EXPECT_EQ(Raw::reformat(&cross, &byRows, &configuration), Raw::kErrorNone);
    EXPECT_EQ(Raw::reformat(&crossTiles, &byTiles, &configuration), Raw::kErrorNone);
    EXPECT_TRUE(byRows.bytes() == byTiles.bytes());
}

// A surface of a tiled texture, in copies too, and all surfaces of any shape joined again.
TEST(Views, JoinWhatTheyTookApart) {
    for (const Shape& shape : kShapes) {
        SCOPED_TRACE(shape.m_name);
        TestImage image(makeTexture(shape, Vex::kDataFormatR8G8B8A8Unorm), 3);
        TestImage joined(image.getTexture()), noise(image.getTexture(), 4);
        Raw::AllocatedMemory tiled;
        Raw::Configuration configuration = onThisThread();
        std::uint64_t bytes = 0;
        unsigned alignment = 0;
        qor::GpuAddress::computeTotalTiledTextureSize(&bytes, &alignment, image.getVexTexture());
        tiled.resize(bytes);
        Raw::Texture texture;
        static_cast<Vex::Texture&>(texture) = image.getTexture();
        texture.m_memoryRegion = tiled;
        const Raw::TextureElementProvider whole(&texture);
        ASSERT_EQ(Raw::copy(&whole, &image, &configuration), Raw::kErrorNone);
        std::vector<std::unique_ptr<Raw::TextureAsSurfaceElementProvider>> surfaces;
        std::vector<Provider*> providers;
        const Raw::SurfaceCount count = image.getSurfaceCount();
        Index i;
        for (i.arrayEntry = 0; i.arrayEntry < count.arrayEntries; ++i.arrayEntry) {
            for (i.face = 0; i.face < count.faces; ++i.face) {
                for (i.mip = 0; i.mip < count.mips; ++i.mip) {
                    for (i.depth = 0; i.depth < image.getDepth(i.mip); ++i.depth) {
                        for (i.fragment = 0; i.fragment < count.fragments; ++i.fragment) {
                            const Raw::TextureAsSurfaceElementProvider original(&texture, &i);
                            surfaces.push_back(
                                std::make_unique<Raw::TextureAsSurfaceElementProvider>(original));
                            providers.push_back(surfaces.back().get());
                        }
                    }
                }
            }
        }
        ASSERT_EQ(providers.size(), shape.m_surfaces);
        const auto inAll = static_cast<int>(providers.size());
        const Raw::ComboElementProvider combo(
            providers.data(), inAll, Raw::changeDataFormat(image.getTexture(), formatNamed("R8Unorm")));
        EXPECT_EQ(Raw::copy(&joined, &combo, &configuration), Raw::kErrorNone);
        EXPECT_EQ(joined.bytes(), image.bytes());
        const TilesOnly tiles(combo);
        EXPECT_EQ(Raw::copy(&tiles, &noise, &configuration), Raw::kErrorNone);
        EXPECT_EQ(Raw::copy(&joined, &whole, &configuration), Raw::kErrorNone);
        EXPECT_EQ(joined.bytes(), noise.bytes());
        const ReportRecorder reports;
        const Raw::ComboElementProvider lacking(providers.data(), inAll - 1, image.getTexture());
        Raw::Tile tile = filledWith<Raw::Tile>(9);
        i = {0,
             count.arrayEntries - 1,
             count.faces - 1,
             count.mips - 1,
             image.getDepth(count.mips - 1) - 1,
             count.fragments - 1,
             0};
        lacking.getTile(&i, &tile, 0, 0);
        lacking.putTile(&i, &tile, 0, 0);
        EXPECT_TRUE(equal(tile, {}));
        const std::string last = std::to_string(inAll - 1);
        const std::string report = "This ComboElementProvider has " + last +
                                   " ElementProviders, but you tried to get ElementProvider #" + last + ".\n";
        EXPECT_EQ(reports.texts(), report + report);
    }
}

TEST(Raster, IsAnImageWithAPitchThatLeavesOverhangsAlone) {
    for (const char* format : {"R8G8B8A8Unorm", "Bc1Unorm", "R8Unorm"}) {
        TestImage image(makeFlat(format, 29, 21), 3);
        const unsigned rowBytes = image.getElementsWide(0) * image.getBytesPerElement(), pitch = rowBytes + 5;
        const unsigned rows = image.getElementsTall(0);
        for (const unsigned missing : {0u, 7u, pitch * rows - 5}) {
            Bytes memory(pitch * rows - 5 - missing, 0xCC); // the last row has no padding
            memory.shrink_to_fit();
            Raw::Raster raster;
            raster.begin = memory.data();
            raster.end = raster.begin + memory.size();
            raster.dataFormat = image.getDataFormat();
            raster.width = 29;
            raster.height = 21;
            raster.pitch = pitch;
            const ReportRecorder reports;
            Raw::RasterElementProvider view(&raster);
            EXPECT_EQ(reports.texts(),
                      missing != 0 ? "Assertion 'height * pitch <= end - begin' failed.\n" : "");
            EXPECT_EQ(view.getElementRows(&kFirstSurface).m_memory != nullptr, missing == 0);
            Raw::Configuration configuration = onThisThread();
            EXPECT_EQ(Raw::copy(&view, &image, &configuration), Raw::kErrorNone);
            for (unsigned i = 0; i < memory.size(); ++i) {
                const unsigned x = i % pitch, y = i / pitch;
                ASSERT_EQ(memory[i], x < rowBytes ? image.bytes()[y * rowBytes + x] : 0xCC) << i;
            }
            if (missing == 0) {
                TilesOnly tiles(image);
                EXPECT_EQ(walked(view), walked(tiles)) << format;
            }
            auto block = filledWith<Raw::Block>(0x77), tail = block;
            view.getBlock(&kFirstSurface, &block, 7, 5); // one pixel of it lies in the surface
            std::memcpy(&tail, &block, std::min(image.getBytesPerElement(), 8u));
            EXPECT_TRUE(equal(block, tail));
        }
    }
}

// With handlers that return and that throw.
TEST(Views, WithoutTargetsAreReportedAndShowNothing) {
    Provider* const none = nullptr;
    Provider* nulls[] = {none};
    TestImage image(makeFlat("R8Unorm", 8, 8), 1), other(makeFlat("R8Snorm", 8, 8));
    Provider* mixed[] = {&image, &other};
    const std::pair<const char*, std::function<std::unique_ptr<Provider>()>> kCases[] = {
        {"target must not be NULL.\n", [&] { return std::make_unique<Raw::AsCanvasElementProvider>(none); }},
        {"target must not be NULL.\nsurfaceIndex must not be NULL.\n",
         [&] { return std::make_unique<AsSurfaceElementProvider>(none, nullptr); }},
        {"target must not be NULL.\nAssertion 'columns > 0' failed.\n",
         [&] { return std::make_unique<Raw::AsSlicesElementProvider>(none, 0); }},
        {"target must not be NULL.\nsurfaceIndex must not be NULL.\nlayout must not be NULL.\n",
         [&] { return std::make_unique<Raw::CubemapUnfoldedElementProvider>(none, nullptr, nullptr); }},
        {"texture must not be NULL.\nsurfaceIndex must not be NULL.\n",
         [&] { return std::make_unique<Raw::TextureAsSurfaceElementProvider>(nullptr, nullptr); }},
        {"raster must not be NULL.\n", [&] { return std::make_unique<Raw::RasterElementProvider>(nullptr); }},
        {"providers[0] must not be NULL.\n",
         [&] { return std::make_unique<Raw::ComboElementProvider>(nulls, 1, image.getTexture()); }},
        {"A ComboElementProvider's constituent ElementProviders must all have the same DataFormat, but #1 "
         "does "
         "not.\n",
         [&] { return std::make_unique<Raw::ComboElementProvider>(mixed, 2, other.getTexture()); }},
    };
    for (const auto& [texts, make] : kCases) {
        ReportRecorder reports;
        const std::unique_ptr<Provider> view = make();
        EXPECT_EQ(reports.texts(), texts);
        reports.clear();
        auto tile = filledWith<Raw::Tile>(0);
        view->putTile(&kFirstSurface, &tile, 0, 0);
        view->getTile(&kFirstSurface, &tile, 0, 0);
        EXPECT_TRUE(equal(tile, {}));
        EXPECT_FALSE(view->getStrip(&kFirstSurface, {}, 0, 0));
        EXPECT_TRUE(reports.empty());
    }
    for (const auto& [texts, make] : kCases) {
        const ReportRecorder reports(ReportRecorder::kThrow);
        EXPECT_THROW(make(), std::runtime_error) << texts;
    }
    // What a second beginning that was broken off leaves behind has no providers.
    Raw::ComboElementProvider combo(std::begin(mixed), 1, image.getTexture());
    Raw::Tile tile;
    const ReportRecorder reports(ReportRecorder::kThrow);
    EXPECT_THROW(combo.init(nulls, 0, image.getTexture()), std::runtime_error);
    EXPECT_THROW(combo.getTile(&kFirstSurface, &tile, 0, 0), std::runtime_error);
}

TEST(Views, AreCutOnceAndSaySo) {
    TestImage image(makeFlat("Bc1Unorm", Vex::kMaxTextureSize, 16, 2), 3);
    const ReportRecorder reports;
    const Raw::AsCanvasElementProvider canvas(&image);
    EXPECT_FALSE(Raw::CanvasLayout(image.getTexture()).isWhole());
    ASSERT_EQ(reports.warnings().size(), 1u);
    EXPECT_EQ(reports.warnings()[0].m_text,
              "The view of 24576 x 16 pixels is cut to 16384 pixels either way.");
    EXPECT_EQ(canvas.getPixelsWide(0), 16384u);
    Raw::Tile tile;
    canvas.getTile(&kFirstSurface, &tile, 2048, 0);
    EXPECT_TRUE(equal(tile, {}));
}

} // namespace
