#include "support/report_recorder.h"
#include "support/surfaces.h"

#include <gtest/gtest.h>

#include <map>
#include <tuple>

namespace {

using namespace TestSupport;

class ShapeOnly : public Raw::ElementProvider {
public:
    ShapeOnly() = default;
    explicit ShapeOnly(const Vex::Texture& texture) { setupAsVexTexture(&texture); }
    using ElementProvider::setupAsTexture;
    using ElementProvider::setupAsTwoDimensional;
    using ElementProvider::setupAsVexTexture;
};

// Keeps its elements one by one and leaves blocks and tiles to the defaults.
class ElementByElement : public ShapeOnly {
public:
    using ShapeOnly::ShapeOnly;
    mutable int m_calls = 0;
    mutable std::map<std::tuple<unsigned, unsigned, unsigned, unsigned>, Raw::VectorFloat> m_elements;

private:
    void doGetElement(const Raw::SurfaceIndex* index, Raw::VectorFloat* element, unsigned x,
                      unsigned y) const override {
        ++m_calls;
        *element = m_elements[{index->mip, index->face, x, y}];
    }
    void doPutElement(const Raw::SurfaceIndex* index, const Raw::VectorFloat* element, unsigned x,
                      unsigned y) const override {
        ++m_calls;
        m_elements[{index->mip, index->face, x, y}] = *element;
    }
    void doGetTexel(const Raw::SurfaceIndex*, Raw::Properties*, unsigned, unsigned) const override {
        ++m_calls;
    }
};

constexpr Raw::SurfaceIndex kFirst = {};
const char* const kFormats[] = {"R8Unorm", "R16Float", "R32G32B32Float", "R32G32B32A32Uint", "Bc1Unorm"};

unsigned ceilDiv(unsigned a, unsigned b) { return a / b + (a % b != 0); }

TEST(ElementProvider, CountsEveryGrainAtEveryMip) {
    for (const char* format : {"R16Unorm", "Bc1Unorm"}) {
        for (const unsigned width : {1u, 4u, 5u, 8u, 37u, 16384u}) {
            const ShapeOnly provider(makeFlat(format, width, 13, 12));
            const bool compressed = formatNamed(format).isBlockCompressedFormat();
            unsigned w = width, h = 13;
            for (unsigned mip = 0; mip < 12; ++mip, w = std::max(1u, w / 2), h = std::max(1u, h / 2)) {
                EXPECT_EQ(provider.getPixels(mip), w * h);
                EXPECT_EQ(provider.getPixelsWide(mip), w);
                EXPECT_EQ(provider.getPixelsTall(mip), h);
                EXPECT_EQ(provider.getBlocksWide(mip), ceilDiv(w, 4));
                EXPECT_EQ(provider.getBlocksTall(mip), ceilDiv(h, 4));
                EXPECT_EQ(provider.getBlocks(mip), ceilDiv(w, 4) * ceilDiv(h, 4));
                EXPECT_EQ(provider.getTilesWide(mip), ceilDiv(w, 8));
                EXPECT_EQ(provider.getTilesTall(mip), ceilDiv(h, 8));
                EXPECT_EQ(provider.getTiles(mip), ceilDiv(w, 8) * ceilDiv(h, 8));
                EXPECT_EQ(provider.getElementsWide(mip), compressed ? ceilDiv(w, 4) : w);
                EXPECT_EQ(provider.getElementsTall(mip), compressed ? ceilDiv(h, 4) : h);
                EXPECT_EQ(provider.getBytes(mip), provider.getElements(mip) * (compressed ? 8 : 2));
            }
            const ReportRecorder reports;
            EXPECT_EQ(provider.getPixelsWide(40), 1u);
            EXPECT_EQ(provider.getTiles(12) + provider.getDepth(12), 2u);
            EXPECT_EQ(reports.assertions().size(), 3u);
            EXPECT_EQ(reports.assertions()[0].m_text, "mip parameter must be smaller than number of mips.");
        }
    }
}

TEST(ElementProvider, SumsOverTheViewOfMipsAndSlices) {
    for (const Shape& shape : kShapes) {
        SCOPED_TRACE(shape.m_name);
        TestImage image(makeTexture(shape, formatNamed("R32Float")));
        EXPECT_EQ(image.Raw::ElementProvider::getBytes(), image.getBytesTotal());
        if (shape.m_type == Vex::kTextureType3d) {
            continue;
        }
        image.restrictView(shape.m_mips - 1, 0, 0);
        EXPECT_EQ(image.Raw::ElementProvider::getPixels(),
                  std::uint64_t{image.getPixels(shape.m_mips - 1)} << shape.m_log2Fragments);
        image.restrictView(0, 1, 0);
        EXPECT_EQ(image.Raw::ElementProvider::getElements(), 0u);
    }
}

TEST(ElementProvider, DefaultsOfAllGrainsSeeTheSameElements) {
    for (const char* format : kFormats) {
        SCOPED_TRACE(format);
        TestImage image(makeFlat(format, 17, 9, 2));
        image.fillRandomly(1);
        const ElementByElement slow(image.getTexture());
        const unsigned bytes = image.getBytesPerElement();
        for (Raw::SurfaceIndex index; index.mip < 2; ++index.mip) {
            for (unsigned y = 0; y < image.getElementsTall(index.mip); ++y) {
                for (unsigned x = 0; x < image.getElementsWide(index.mip); ++x) {
                    Raw::VectorFloat element;
                    image.getElement(&index, &element, x, y); // through tiles
                    const std::uint8_t* stored = image.getMemoryRegion(&index).begin +
                                                 (y * image.getElementsWide(index.mip) + x) * bytes;
                    ASSERT_EQ(std::memcmp(&element, stored, bytes), 0) << x << ' ' << y;
                    slow.putElement(&index, &element, x, y);
                }
            }
            for (unsigned i = 0; i < 5 * 3; ++i) { // tiles and blocks, some of them outside
                Raw::Tile tiles[2] = {filledWith<Raw::Tile>(1), filledWith<Raw::Tile>(2)};
                image.getTile(&index, &tiles[0], i % 5, i / 5);
                slow.getTile(&index, &tiles[1], i % 5, i / 5);
                const std::size_t tileBytes = bytes * image.getElementsPerTile();
                EXPECT_EQ(std::memcmp(&tiles[0], &tiles[1], tileBytes), 0) << i;
                Raw::Block blocks[2] = {filledWith<Raw::Block>(1), filledWith<Raw::Block>(2)};
                image.getBlock(&index, &blocks[0], i % 5, i / 5);
                slow.getBlock(&index, &blocks[1], i % 5, i / 5);
                EXPECT_EQ(std::memcmp(&blocks[0], &blocks[1], bytes * image.getElementsPerBlock()), 0) << i;
            }
        }
        // And back, by tiles, blocks and elements in turn.
        TestImage byElements(image.getTexture());
        const ElementByElement byTiles(image.getTexture()), byBlocks(image.getTexture());
        for (Raw::SurfaceIndex index; index.mip < 2; ++index.mip) {
            for (unsigned i = 0; i < 5 * 3; ++i) {
                Raw::Tile tile;
                image.getTile(&index, &tile, i % 5, i / 5);
                byTiles.putTile(&index, &tile, i % 5, i / 5);
            }
            for (unsigned i = 0; i < 10 * 6; ++i) {
                Raw::Block block;
                byTiles.getBlock(&index, &block, i % 10, i / 10);
                byBlocks.putBlock(&index, &block, i % 10, i / 10);
            }
        }
        for (const auto& [place, element] : byBlocks.m_elements) {
            const auto& [mip, face, x, y] = place;
            const Raw::SurfaceIndex index{0, 0, face, mip, 0, 0, 0};
            byElements.putElement(&index, &element, x, y);
        }
        EXPECT_EQ(byElements.bytes(), image.bytes());
    }
}

TEST(ElementProvider, NeverReachesTheVirtualsOutside) {
    ElementByElement provider(makeTexture({"", Vex::kTextureTypeCubemap, 8, 8, 2, 4, 0}, {0xFAC00E}));
    Vex::Texture view = provider.getTexture();
    view.setMipLevelRange(1, 3);
    view.setArrayView(2, 9);
    provider.setupAsVexTexture(&view);
    const Raw::SurfaceIndex inside{0, 0, 2, 1, 0, 0, 0}, lastInside{0, 1, 3, 1, 0, 0, 0};
    const std::pair<Raw::SurfaceIndex, unsigned> outside[] = {
        {{0, 0, 1, 1, 0, 0, 0}, 0}, {{0, 1, 4, 1, 0, 0, 0}, 0},          {{0, 0, 6, 1, 0, 0, 0}, 0},
        {{0, 0, 2, 0, 0, 0, 0}, 0}, {{0, 0, 2, 4, 0, 0, 0}, 0},          {{0, 0, 2, 1, 1, 0, 0}, 0},
        {{0, 0, 2, 1, 0, 1, 0}, 0}, {{0, 0xAAAAAAAB, 0, 1, 0, 0, 0}, 0}, {inside, 4}};
    auto* properties = reinterpret_cast<Raw::Properties*>(&provider);
    for (const auto& [index, x] : outside) {
        auto element = filledWith<Raw::VectorFloat>(7);
        auto block = filledWith<Raw::Block>(7);
        auto tile = filledWith<Raw::Tile>(7);
        provider.putElement(&index, &element, x, 0);
        provider.putBlock(&index, &block, x, 0);
        provider.putTile(&index, &tile, x, 0);
        provider.getTexel(&index, properties, x, 0);
        provider.getElement(&index, &element, x, 0);
        provider.getBlock(&index, &block, x, 0);
        provider.getTile(&index, &tile, x, 0);
        EXPECT_TRUE(isZero(element) && isZero(block) && isZero(tile));
    }
    EXPECT_EQ(provider.m_calls, 0);
    for (const Raw::SurfaceIndex& index : {inside, lastInside}) {
        Raw::VectorFloat element = {};
        provider.getElement(&index, &element, 3, 3);
        provider.getTexel(&index, properties, 3, 3);
    }
    EXPECT_EQ(provider.m_calls, 4);
    EXPECT_EQ(provider.Raw::ElementProvider::getPixels(), (16u + 4 + 1) * 8);
}

TEST(ElementProvider, ReportsNullArgumentsInOrder) {
    const ReportRecorder reports;
    const ElementByElement provider(makeFlat("R8Unorm", 8, 8));
    auto element = filledWith<Raw::VectorFloat>(7);
    auto tile = filledWith<Raw::Tile>(7);
    provider.getElement(nullptr, &element, 0, 0);
    provider.getTile(nullptr, &tile, 0, 0);
    EXPECT_TRUE(isZero(element) && isZero(tile));
    provider.getElement(nullptr, nullptr, 0, 0);
    provider.putBlock(nullptr, nullptr, 0, 0);
    provider.putTile(&kFirst, nullptr, 0, 0);
    provider.getTexel(nullptr, nullptr, 0, 0);
    provider.calculateSurfaceRegionForTile(nullptr, nullptr, 0, 0);
    EXPECT_EQ(reports.texts(), "surfaceIndex must not be NULL.\nsurfaceIndex must not be NULL.\n"
                               "surfaceIndex must not be NULL.\nelement must not be NULL.\n"
                               "surfaceIndex must not be NULL.\nblock must not be NULL.\n"
                               "tile must not be NULL.\n"
                               "surfaceIndex must not be NULL.\nproperties must not be NULL.\n"
                               "region must not be NULL.\nsurfaceIndex must not be NULL.\n");
    EXPECT_EQ(reports.assertions()[0].m_file, "raw\\element_provider");
    EXPECT_EQ(provider.m_calls, 0);
}

TEST(ElementProvider, FindsTheRegionOfATile) {
    const ShapeOnly provider(makeFlat("R8Unorm", 17, 9));
    const Raw::SurfaceIndex index{0, 0, 0, 0, 5, 0, 0};
    qor::GpuAddress::SurfaceRegion region;
    provider.calculateSurfaceRegionForTile(&region, &index, 2, 1);
    EXPECT_TRUE(region.m_left == 16 && region.m_top == 8 && region.m_front == 5);
    EXPECT_TRUE(region.m_right == 17 && region.m_bottom == 9 && region.m_back == 6);
    provider.calculateSurfaceRegionForBlock(&region, &index, 0x40000001, 1);
    EXPECT_TRUE(region.m_left == 17 && region.m_right == 17 && region.m_top == 4 && region.m_bottom == 8);
}

TEST(ElementProvider, SetsItselfUpAsOneFlatSurface) {
    for (const char* format : {"Invalid", "B8G8R8G8Unorm", "Bc1Unorm"}) {
        ShapeOnly provider;
        EXPECT_EQ(provider.getTilesWide(0), 1u); // of a texture of all zeros
        provider.setupAsTwoDimensional(formatNamed(format), 20000, 3);
        EXPECT_EQ(provider.getTexture().getTextureType(), Vex::kTextureType2dArray);
        EXPECT_EQ(provider.getDataFormat(), formatNamed(format));
        EXPECT_EQ(provider.getPixelsWide(0), 16384u);
        EXPECT_EQ(provider.getPixelsTall(0), 3u);
        EXPECT_EQ(provider.getSurfaceCount(), Raw::SurfaceCount());
    }
    ShapeOnly provider(makeFlat("R8Unorm", 3, 3));
    provider.setDataFormat(formatNamed("R16Uint"));
    provider.setTextureChannelType(Vex::kTextureChannelTypeSInt);
    EXPECT_EQ(provider.getDataFormat().m_word, formatNamed("R16Uint").m_word ^ 0x100);
    EXPECT_EQ(provider.getPixelsWide(0), 3u);
}

TEST(Copy, MovesElementsAndReports) {
    Raw::SerialJobManager manager;
    Raw::Configuration configuration;
    configuration.m_jobManager = &manager;
    for (const char* format : kFormats) {
        TestImage source(format, 17, 9, 3), destination(format, 17, 9, 3);
        source.fillRandomly(2);
        EXPECT_EQ(Raw::copy(&destination, &source, &configuration), Raw::kErrorNone);
        EXPECT_EQ(destination.bytes(), source.bytes());
    }
    const ReportRecorder reports;
    TestImage source("R32G32Float", 17, 9), smaller("R8Unorm", 5, 5);
    EXPECT_EQ(Raw::copy(&smaller, &source, &configuration), Raw::kErrorNone);
    EXPECT_EQ(Raw::copy(&source, &smaller, &configuration), Raw::kErrorNone);
    configuration.m_jobManager = nullptr;
    EXPECT_EQ(Raw::copy(&source, &source, &configuration), Raw::kErrorFailed);
    EXPECT_EQ(Raw::copy(static_cast<Raw::Image*>(nullptr), nullptr, nullptr), Raw::kErrorFailed);
    EXPECT_EQ(reports.texts(),
              "destination and source must have the same dimensions and format.\n"
              "destination and source must have the same dimensions and format.\n"
              "configuration->m_jobManager parameter must not be NULL - this function runs jobs.\n"
              "destination must not be NULL.\nsource must not be NULL.\nconfiguration must not be NULL.\n");
}

} // namespace
