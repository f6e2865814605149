#include "support/report_recorder.h"
#include "support/surfaces.h"

#include <gtest/gtest.h>

#include <map>
#include <tuple>

namespace {

using namespace TestSupport;

// Keeps its elements one by one and leaves blocks and tiles to the defaults.
class ElementByElement : public Provider {
public:
    ElementByElement() = default;
    explicit ElementByElement(const Vex::Texture& texture) { setupAsVexTexture(&texture); }
    using Provider::setupAsTwoDimensional;
    mutable int m_calls = 0;

private:
    void doGetElement(const Index* index, Raw::VectorFloat* element, unsigned x, unsigned y) const override {
        ++m_calls;
        *element = m_elements[{index->mip, x, y}];
    }
    void doPutElement(const Index* index, const Raw::VectorFloat* element, unsigned x,
                      unsigned y) const override {
        ++m_calls;
        m_elements[{index->mip, x, y}] = *element;
    }
    void doGetTexel(const Index*, Raw::Properties*, unsigned, unsigned) const override { ++m_calls; }

    mutable std::map<std::tuple<unsigned, unsigned, unsigned>, Raw::VectorFloat> m_elements;
};

const char* const kFormats[] = {"R8Unorm", "R16Float", "R32G32B32Float", "R32G32B32A32Uint", "Bc1Unorm"};

unsigned ceilDiv(unsigned a, unsigned b) { return a / b + (a % b != 0); }

TEST(ElementProvider, CountsEveryGrainAtEveryMip) {
    for (const unsigned width : {1u, 4u, 5u, 8u, 37u, 16384u}) {
        const ElementByElement plain(makeFlat("R16Unorm", width, 13, 12));
        const ElementByElement compressed(makeFlat("Bc1Unorm", width, 13, 12));
        unsigned w = width, h = 13;
        for (unsigned mip = 0; mip < 12; ++mip, w = std::max(1u, w / 2), h = std::max(1u, h / 2)) {
            EXPECT_TRUE(plain.getPixelsWide(mip) == w && plain.getPixelsTall(mip) == h);
            EXPECT_TRUE(plain.getBlocksWide(mip) == ceilDiv(w, 4) &&
                        plain.getBlocksTall(mip) == ceilDiv(h, 4));
            EXPECT_TRUE(plain.getTilesWide(mip) == ceilDiv(w, 8) && plain.getTilesTall(mip) == ceilDiv(h, 8));
            EXPECT_EQ(plain.getTiles(mip), ceilDiv(w, 8) * ceilDiv(h, 8));
            EXPECT_EQ(plain.getElementsWide(mip), w);
            EXPECT_EQ(compressed.getElementsTall(mip), ceilDiv(h, 4));
            EXPECT_EQ(plain.getBytes(mip), w * h * 2);
            EXPECT_EQ(compressed.getBytes(mip), ceilDiv(w, 4) * ceilDiv(h, 4) * 8);
        }
        const ReportRecorder reports;
        EXPECT_EQ(plain.getPixels(40) + plain.getDepth(12), 2u);
        EXPECT_EQ(reports.texts(), "mip parameter must be smaller than number of mips.\n"
                                   "mip parameter must be smaller than number of mips.\n");
    }
    for (const Shape& shape : kShapes) {
        const TestImage image(makeTexture(shape, formatNamed("R32Float")));
        EXPECT_EQ(image.Provider::getBytes(), image.getBytesTotal()) << shape.m_name;
    }
}

TEST(ElementProvider, DefaultsOfAllGrainsSeeTheSameElements) {
    for (const char* format : kFormats) {
        const TestImage image(makeFlat(format, 17, 9, 2), 1);
        const unsigned bytes = image.getBytesPerElement();
        withEachGrain([&](auto buffer) { // by one grain into the slow one, by all grains out of it
            const ElementByElement slow(image.getTexture());
            for (Index index; index.mip < 2; ++index.mip) {
                for (unsigned i = 0; i < 18 * 10; ++i) {
                    get(image, &index, &buffer, i % 18, i / 18);
                    put(slow, &index, &buffer, i % 18, i / 18);
                }
                withEachGrain([&](auto fast) {
                    const unsigned wide = elementsWide<decltype(fast)>(image);
                    for (unsigned i = 0; i < 18 * 10; ++i) {
                        auto own = fast;
                        get(image, &index, &fast, i % 18, i / 18);
                        get(slow, &index, &own, i % 18, i / 18);
                        EXPECT_TRUE(equal(fast, own, wide * wide * bytes)) << format << ' ' << i;
                    }
                });
            }
        });
    }
}

TEST(ElementProvider, NeverReachesTheVirtualsOutsideItsView) {
    Vex::Texture view = makeTexture({"", Vex::kTextureTypeCubemap, 8, 8, 2, 4, 0, 0}, {0xFAC00E});
    view.setMipLevelRange(1, 3);
    view.setArrayView(2, 9);
    const ElementByElement provider(view);
    const Index inside{0, 0, 2, 1, 0, 0, 0}, lastInside{0, 1, 3, 1, 0, 0, 0};
    const std::pair<Index, unsigned> outside[] = {
        {{0, 0, 1, 1, 0, 0, 0}, 0}, {{0, 1, 4, 1, 0, 0, 0}, 0},          {{0, 0, 6, 1, 0, 0, 0}, 0},
        {{0, 0, 2, 0, 0, 0, 0}, 0}, {{0, 0, 2, 4, 0, 0, 0}, 0},          {{0, 0, 2, 1, 1, 0, 0}, 0},
        {{0, 0, 2, 1, 0, 1, 0}, 0}, {{0, 0xAAAAAAAB, 0, 1, 0, 0, 0}, 0}, {inside, 4}};
    Raw::Properties described;
    Raw::Properties* const properties = &described;
    for (const auto& [index, x] : outside) {
        withEachGrain([&, &index = index, x = x](auto buffer) {
            const auto zero = buffer;
            buffer = filledWith<decltype(buffer)>(7);
            put(provider, &index, &buffer, x, 0);
            get(provider, &index, &buffer, x, 0);
            EXPECT_TRUE(equal(buffer, zero));
        });
        provider.getTexel(&index, properties, x, 0);
    }
    EXPECT_EQ(provider.m_calls, 0);
    Raw::VectorFloat element;
    provider.getElement(&inside, &element, 3, 3);
    provider.getTexel(&lastInside, properties, 3, 3);
    EXPECT_EQ(provider.m_calls, 2);
    EXPECT_EQ(provider.Provider::getPixels(), (16u + 4 + 1) * 8);
    EXPECT_EQ(TestImage(Vex::Texture()).Provider::getElements(), 1u); // of all zeros
}

TEST(ElementProvider, ReportsNullArgumentsInOrder) {
    const ReportRecorder reports;
    const ElementByElement provider(makeFlat("R8Unorm", 8, 8));
    auto tile = filledWith<Raw::Tile>(7);
    provider.getTile(nullptr, &tile, 0, 0);
    EXPECT_TRUE(equal(tile, {}));
    provider.putBlock(nullptr, nullptr, 0, 0);
    provider.getTexel(&kFirstSurface, nullptr, 0, 0);
    EXPECT_EQ(reports.texts(), "surfaceIndex must not be NULL.\n"
                               "surfaceIndex must not be NULL.\nblock must not be NULL.\n"
                               "properties must not be NULL.\n");
    EXPECT_EQ(reports.assertions()[0].m_file, "raw\\surfaces\\element_provider");
    EXPECT_EQ(provider.m_calls, 0);
}

TEST(ElementProvider, SetsItselfUpAsOneFlatSurface) {
    for (const char* format : {"Invalid", "B8G8R8G8Unorm", "Bc1Unorm"}) {
        ElementByElement provider;
        provider.setupAsTwoDimensional(formatNamed(format), 20000, 3);
        EXPECT_EQ(provider.getTexture().getTextureType(), Vex::kTextureType2dArray);
        EXPECT_EQ(provider.getDataFormat(), formatNamed(format));
        EXPECT_TRUE(provider.getPixelsWide(0) == 16384 && provider.getPixelsTall(0) == 3);
        EXPECT_EQ(provider.getSurfaceCount(), Raw::SurfaceCount());
        provider.setDataFormat(formatNamed("R16Uint"));
        provider.setTextureChannelType(Vex::kTextureChannelTypeSInt);
        EXPECT_EQ(provider.getDataFormat().m_word, formatNamed("R16Uint").m_word ^ 0x100);
        qor::GpuAddress::SurfaceRegion region;
        provider.calculateSurfaceRegionForBlock(&region, &kFirstSurface, 5000, 0x40000000);
        EXPECT_TRUE(equal(region, {16384, 3, 0, 16384, 3, 1}));
    }
}

TEST(Copy, MovesElementsAndReports) {
    Raw::Configuration configuration;
    for (const char* format : kFormats) {
        TestImage source(makeFlat(format, 17, 9, 3), 2), destination(makeFlat(format, 17, 9, 3));
        EXPECT_EQ(Raw::copy(&destination, &source, &configuration), Raw::kErrorNone);
        EXPECT_EQ(destination.bytes(), source.bytes());
    }
    const ReportRecorder reports;
    TestImage larger(makeFlat("R32G32Float", 17, 9)), smaller(makeFlat("R8Unorm", 5, 5));
    EXPECT_EQ(Raw::copy(&smaller, &larger, &configuration), Raw::kErrorFailed);
    EXPECT_EQ(Raw::copy(&larger, &smaller, &configuration), Raw::kErrorFailed);
    EXPECT_EQ(reports.texts(), "destination and source must have the same dimensions and format.\n"
                               "destination and source must have the same dimensions and format.\n");
}

} // namespace
