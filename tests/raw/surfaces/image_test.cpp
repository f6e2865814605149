#include "support/report_recorder.h"
#include "support/surfaces.h"

#include <gtest/gtest.h>

#include <map>
#include <tuple>

namespace {

using namespace TestSupport;

TEST(Image, SurfacesLieInStorageOrderWithoutGaps) {
    for (const Shape& shape : kShapes) {
        for (const char* format : {"R8Unorm", "R32G32B32Float", "Bc1Unorm"}) {
            SCOPED_TRACE(std::string(shape.m_name) + " " + format);
            const TestImage image(makeTexture(shape, formatNamed(format)));
            std::map<std::tuple<unsigned, unsigned, unsigned, unsigned, unsigned>, Raw::MemoryRegion> regions;
            for (int i = 0; i < Raw::getNumberOfSurfaces(&image); ++i) {
                Index s;
                Raw::getSurfaceIndexFromSurfaceNumber(&s, &image, i);
                const auto one = image.getMemoryRegion(&s), all = image.getAllFragmentMemoryRegion(&s);
                regions[{s.arrayEntry, s.face, s.mip, s.depth, s.fragment}] = one;
                EXPECT_TRUE(one.length() == image.getBytes(s.mip) && all.contains(one));
                EXPECT_EQ(all.length(), one.length() << shape.m_log2Fragments);
            }
            const std::uint8_t* expected = image.getMemoryRegion().begin;
            for (const auto& [place, region] : regions) {
                EXPECT_EQ(region.begin, expected);
                expected = region.end;
            }
            EXPECT_EQ(expected, image.getMemoryRegion().end);
            EXPECT_EQ(image.getBytesTotal(), image.getMemoryRegion().length());
        }
    }
    EXPECT_EQ(TestImage(makeFlat("R8Unorm", 3, 3)).getBytesTotal(), 9u);
    EXPECT_EQ(TestImage(makeFlat("Bc1Unorm", 4, 4, 3)).getBytesTotal(), 24u);
}

// One access, byte by byte, with the region cut short. Returns the number of reports that it is worth.
template <typename Buffer>
unsigned checkAccess(TestImage& image, const std::vector<std::uint8_t>& whole, unsigned x, unsigned y) {
    const std::vector<std::uint8_t> before = image.bytes();
    const unsigned wide = elementsWide<Buffer>(image), bytes = image.getBytesPerElement();
    const unsigned pitch = image.getElementsWide(0) * bytes, packed = wide * bytes;
    std::vector<std::uint8_t> expected(sizeof(Buffer)), after = before;
    unsigned covered = 0, inRegion = 0;
    for (unsigned row = 0; row < wide && y * wide + row < image.getElementsTall(0); ++row) {
        for (unsigned byte = 0; byte < packed && x * packed + byte < pitch; ++byte, ++covered) {
            const std::size_t offset = std::size_t{y * wide + row} * pitch + x * packed + byte;
            if (offset < before.size()) {
                expected[row * packed + byte] = whole[offset];
                after[offset] = 0xEE;
                ++inRegion;
            }
        }
    }
    const unsigned used = wide * packed;
    auto buffer = filledWith<Buffer>(0xCD);
    get(image, &kFirstSurface, &buffer, x, y);
    EXPECT_EQ(std::memcmp(&buffer, expected.data(), inRegion < used ? sizeof buffer : used), 0);
    buffer = filledWith<Buffer>(0xEE);
    put(image, &kFirstSurface, &buffer, x, y);
    EXPECT_EQ(image.bytes(), after);
    image.bytes() = before;
    image.resize(before.size());
    return inRegion < covered ? 2 : 0;
}

TEST(Image, AccessTouchesItsRectangleOnlyAndNothingBeyondTheRegion) {
    for (const char* format :
         {"R8Unorm", "R8G8B8A8Unorm", "R32G32B32Float", "R32G32B32A32Float", "Bc1Unorm"}) {
        for (const auto& [width, height] : {std::pair{1u, 1u}, {8u, 8u}, {5u, 5u}, {17u, 9u}}) {
            SCOPED_TRACE(std::string(format) + " " + std::to_string(width));
            TestImage image(makeFlat(format, width, height), 1 + width);
            const std::vector<std::uint8_t> whole = image.bytes();
            for (std::size_t cut = 0; cut <= whole.size(); cut += 1 + cut / 9) {
                image.resize(whole.size() - cut);
                const ReportRecorder reports;
                unsigned expected = 0;
                for (unsigned i = 0; i < image.getTiles(0); ++i) {
                    const unsigned x = i % image.getTilesWide(0), y = i / image.getTilesWide(0);
                    expected += checkAccess<Raw::Tile>(image, whole, x, y);
                }
                for (unsigned i = 0; i < image.getBlocks(0); ++i) {
                    const unsigned x = i % image.getBlocksWide(0), y = i / image.getBlocksWide(0);
                    expected += checkAccess<Raw::Block>(image, whole, x, y);
                }
                EXPECT_EQ(reports.assertions().size(), expected);
                image.bytes() = whole;
            }
        }
    }
}

TEST(Image, ReportsTheFirstElementBeyondTheRegion) {
    TestImage image(makeTexture({"", Vex::kTextureTypeCubemap, 16, 16, 2, 2, 0, 0}, formatNamed("R32Float")));
    const Index index{0, 1, 4, 1, 0, 0, 0};
    const ReportRecorder reports;
    Raw::Tile tile;
    image.resize(13824 + 3 * 32 - 1); // the surface begins at 13824: the last byte of row 2 is missing
    image.getTile(&index, &tile, 0, 0);
    image.resize(0);
    image.putTile(&index, &tile, 0, 0);
    EXPECT_EQ(image.getMemoryRegion(&index).begin, nullptr);
    image.resize(image.getBytesTotal() + 5);
    EXPECT_EQ(image.getMemoryRegion().length(), image.getBytesTotal());
    const std::string place = "array entry 1, face 4, mip 1, depth 0, element ";
    EXPECT_EQ(reports.texts(),
              "attempt to address byte 13919 in an Image with 13919 bytes at " + place + "7, 2.\n" +
                  "attempt to address byte 13827 in an Image with 0 bytes at " + place + "0, 0.\n" +
                  "attempt to address byte 14079 in an Image with 0 bytes at " + place + "0, 0.\n");
    EXPECT_EQ(reports.assertions()[0].m_file, "raw\\image2");
}

TEST(Image, WithoutMemoryReadsZerosAndEmptyRegions) {
    constexpr Index kSecondMip = {0, 0, 0, 1, 0, 0, 0};
    const ReportRecorder reports;
    Raw::ReallocatableImage image(nullptr);
    auto tile = filledWith<Raw::Tile>(9);
    image.getTile(&kFirstSurface, &tile, 0, 0); // of a format without bytes
    EXPECT_TRUE(reports.empty());
    const TestImage other(makeFlat("R8Unorm", 8, 8, 2));
    image.reallocate(other.getVexTexture());
    image.getTile(&kFirstSurface, &tile, 0, 0);
    EXPECT_TRUE(equal(tile, {}));
    EXPECT_EQ(reports.assertions().size(), 1u);
    for (const Index& index : {Index{0, 0, 0, 99, 0, 0, 0}, {0, ~0u, ~0u, 0, ~0u, ~0u, 0}}) {
        EXPECT_EQ(other.getMemoryRegion(&index).length() + image.getMemoryRegion(&index).length(), 0u);
    }
    EXPECT_EQ(image.getMemoryRegion(nullptr).length() + image.getMemoryRegion().length(), 0u);
    image.setDataFormat(formatNamed("B8G8R8G8Unorm")); // without bytes, at an offset that stays
    const std::size_t before = reports.assertions().size();
    image.getTile(&kSecondMip, &tile, 0, 0);
    image.putTile(&kSecondMip, &tile, 0, 0);
    EXPECT_EQ(reports.assertions().size(), before);
}

TEST(Image, OfFourGibibytesBecomesEmpty) {
    const std::pair<Shape, bool> cases[] = {
        {{"", Vex::kTextureType2dArray, 16384, 16384, 1, 1, 0, 0}, false}, // 2^32 bytes
        {{"", Vex::kTextureType2dArray, 16384, 16383, 1, 1, 0, 0}, true},
        {{"", Vex::kTextureType3d, 16384, 16384, 8192, 15, 0, 0}, false},
        {{"", Vex::kTextureTypeCubemap, 16384, 16384, 1365, 15, 0, 0}, false},
    };
    for (const auto& [shape, fits] : cases) {
        Raw::ReallocatableImage image(nullptr);
        const Vex::Texture texture = makeTexture(shape, formatNamed("R32G32B32A32Float"));
        const ReportRecorder reports;
        image.reallocate(&texture);
        EXPECT_EQ(reports.empty(), fits);
        EXPECT_EQ(image.getBytesTotal(), fits ? 16384u * 16383 * 16 : 0);
        EXPECT_EQ(image.getPixelsWide(0) * image.getBytesPerElement(), fits ? 16384u * 16 : 0);
        if (!fits) { // storage that is there does not add a report of its own
            Raw::MemoryMappedImage mapped;
            mapped.reallocate(&texture);
            EXPECT_EQ(reports.assertions().size(), 2u);
        }
    }
}

TEST(Reallocate, TakesADescriptorFromEverywhere) {
    Raw::AllocatedMemory memory;
    Raw::ReallocatableImage image(&memory);
    Raw::Texture texture;
    static_cast<Vex::Texture&>(texture) = makeFlat("R8Unorm", 9, 7, 2);
    const Vex::Texture* vexTexture = &texture;
    const TestImage provider(texture);
    const Vex::DataFormat wide = formatNamed("R32G32B32Float");
    const auto forms = [&](auto source) {
        for (const unsigned bytesPerElement : {1u, 12u}) {
            bytesPerElement == 1 ? Raw::reallocate(&image, source) : Raw::reallocate(&image, source, wide);
            EXPECT_EQ(memory.length(), (9u * 7 + 4 * 3) * bytesPerElement);
            EXPECT_EQ(image.getMemoryRegion().begin, memory.begin);
            EXPECT_TRUE(Raw::dimensionsAreIdentical(image.getTexture(), texture));
        }
    };
    forms(static_cast<const Provider*>(&provider));
    forms(static_cast<const Raw::Texture*>(&texture));
    forms(vexTexture);
    const ReportRecorder reports;
    Raw::reallocate(nullptr, static_cast<const Provider*>(nullptr));
    Raw::reallocate(&image, static_cast<const Raw::Texture*>(nullptr), wide);
    Raw::reallocate(&image, static_cast<const Vex::Texture*>(nullptr));
    EXPECT_EQ(reports.texts(), "reallocatableImage must not be NULL.\nelementProvider must not be NULL.\n"
                               "texture must not be NULL.\nvexTexture must not be NULL.\n");
}

TEST(MemoryMappedImage, CopiesBorrowAndPointAtThemselves) {
    const Vex::Texture texture = makeFlat("R8Unorm", 100, 3);
    Raw::MemoryMappedImage original, assigned;
    original.reallocate(&texture);
    const Raw::MemoryMappedImage made(original);
    assigned = original;
    EXPECT_EQ(made.getMemoryRegion().begin, original.getMemoryRegion().begin);
    EXPECT_EQ(assigned.getMemoryRegion().begin, original.getMemoryRegion().begin);
    assigned.reallocate(&texture);
    assigned.getMemoryRegion().begin[0] = 1;
    EXPECT_EQ(original.getMemoryRegion().begin[0], 0);
    const Raw::MemoryMappedImage& self = assigned;
    assigned = self;
    EXPECT_EQ(assigned.getMemoryRegion().begin[0], 1);
}

// As the elements of a vector that grows and loses its first.
TEST(MemoryMappedImage, OwnersMayMove) {
    const Vex::Texture texture = makeFlat("R8Unorm", 100, 3);
    std::vector<Raw::MemoryMappedImage> images;
    for (std::uint8_t i = 0; i < 5; ++i) {
        images.emplace_back();
        images.back().reallocate(&texture);
        images.back().getMemoryRegion().begin[299] = i;
    }
    images.erase(images.begin());
    for (std::uint8_t i = 0; i < 4; ++i) {
        EXPECT_EQ(images[i].getMemoryRegion().begin[299], i + 1);
    }
}

} // namespace
