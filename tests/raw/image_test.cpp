#include "support/report_recorder.h"
#include "support/surfaces.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace TestSupport;

constexpr Raw::SurfaceIndex kFirst = {};

TEST(Image, SurfacesLieInStorageOrderWithoutGaps) {
    for (const Shape& shape : kShapes) {
        for (const char* format : {"R8Unorm", "R32G32B32Float", "Bc1Unorm", "Invalid"}) {
            SCOPED_TRACE(std::string(shape.m_name) + " " + format);
            const TestImage image(makeTexture(shape, formatNamed(format)));
            const Raw::SurfaceCount count = image.getSurfaceCount();
            const std::uint8_t* expected = image.getMemoryRegion().begin;
            Raw::SurfaceIndex index;
            for (index.arrayEntry = 0; index.arrayEntry < count.arrayEntries; ++index.arrayEntry) {
                for (index.face = 0; index.face < count.faces; ++index.face) {
                    for (index.mip = 0; index.mip < count.mips; ++index.mip) {
                        for (index.depth = 0; index.depth < image.getDepth(index.mip); ++index.depth) {
                            index.fragment = 0;
                            const auto all = image.getAllFragmentMemoryRegion(&index);
                            for (; index.fragment < count.fragments; ++index.fragment) {
                                const auto one = image.getMemoryRegion(&index);
                                EXPECT_EQ(one.length(), image.getBytes(index.mip));
                                if (one.length() != 0) {
                                    EXPECT_EQ(one.begin, expected);
                                    EXPECT_TRUE(all.contains(one));
                                }
                                expected += one.length();
                            }
                            EXPECT_EQ(all.length(),
                                      std::uint64_t{count.fragments} * image.getBytes(index.mip));
                        }
                    }
                }
            }
            EXPECT_EQ(expected, image.getMemoryRegion().end);
            EXPECT_EQ(image.getBytesTotal(), image.getMemoryRegion().length());
        }
    }
    EXPECT_EQ(TestImage("R8Unorm", 3, 3).getBytesTotal(), 9u);
    EXPECT_EQ(TestImage("Bc1Unorm", 4, 4, 3).getBytesTotal(), 24u);
}

// The same rectangle, byte by byte: calls use(offset in the region, offset in the buffer).
template <typename Use>
void eachByte(const TestImage& image, unsigned x, unsigned y, unsigned wide, unsigned tall, Use use) {
    const unsigned bytes = image.getBytesPerElement(), pitch = image.getElementsWide(0) * bytes;
    for (unsigned row = 0; row < tall && y * tall + row < image.getElementsTall(0); ++row) {
        for (unsigned byte = 0; byte < wide * bytes && x * wide * bytes + byte < pitch; ++byte) {
            use((y * tall + row) * pitch + x * wide * bytes + byte, row * wide * bytes + byte);
        }
    }
}

template <typename Buffer> struct Grain;
template <> struct Grain<Raw::Tile> {
    static constexpr auto kGet = &Raw::ElementProvider::getTile;
    static constexpr auto kPut = &Raw::ElementProvider::putTile;
    static constexpr unsigned kPixels = 8;
};
template <> struct Grain<Raw::Block> {
    static constexpr auto kGet = &Raw::ElementProvider::getBlock;
    static constexpr auto kPut = &Raw::ElementProvider::putBlock;
    static constexpr unsigned kPixels = 4;
};

// Every tile or block against the bytes as they should be, with the region cut to `length` bytes.
template <typename Buffer> void checkAccess(TestImage& image, std::size_t length) {
    const unsigned wide = Grain<Buffer>::kPixels / image.getPixelsPerElementWide();
    const std::vector<std::uint8_t> whole = image.bytes();
    image.resize(length);
    const ReportRecorder reports;
    std::size_t cutBuffers = 0;
    for (unsigned y = 0; y * wide < image.getElementsTall(0); ++y) {
        for (unsigned x = 0; x * wide < image.getElementsWide(0); ++x) {
            std::vector<std::uint8_t> expected(sizeof(Buffer)), after = image.bytes();
            bool overhangs = false, isCut = false;
            std::size_t covered = 0;
            eachByte(image, x, y, wide, wide, [&](std::size_t from, std::size_t to) {
                ++covered;
                isCut |= from >= length;
                expected[to] = from < length ? whole[from] : std::uint8_t{0};
                if (from < length) {
                    after[from] = 0xEE;
                }
            });
            const std::size_t used = std::size_t{wide} * wide * image.getBytesPerElement();
            overhangs = covered != used;
            cutBuffers += isCut;
            auto buffer = filledWith<Buffer>(0xCD);
            (image.*Grain<Buffer>::kGet)(&kFirst, &buffer, x, y);
            const std::size_t defined = overhangs || isCut ? sizeof(Buffer) : used;
            EXPECT_EQ(std::memcmp(&buffer, expected.data(), defined), 0) << x << ' ' << y;

            const std::vector<std::uint8_t> before = image.bytes();
            buffer = filledWith<Buffer>(0xEE);
            (image.*Grain<Buffer>::kPut)(&kFirst, &buffer, x, y);
            EXPECT_EQ(image.bytes(), after) << x << ' ' << y;
            image.bytes() = before;
            image.resize(length);
        }
    }
    EXPECT_EQ(reports.assertions().size(), 2 * cutBuffers); // one for the get, one for the put
    image.bytes() = whole;
    image.resize(whole.size());
}

TEST(Image, AccessTouchesItsRectangleOnlyAndNothingBeyondTheRegion) {
    for (const char* format : {"R8Unorm", "R16Uint", "R8G8B8A8Unorm", "R32G32Float", "R32G32B32Float",
                               "R32G32B32A32Float", "Bc1Unorm", "Bc7Unorm"}) {
        for (const auto& [width, height] : {std::pair{1u, 1u}, {8u, 8u}, {5u, 5u}, {17u, 9u}}) {
            SCOPED_TRACE(std::string(format) + " " + std::to_string(width));
            TestImage image(format, width, height);
            image.fillRandomly(width);
            const std::size_t total = image.getBytesTotal();
            for (std::size_t length = 0; length <= total; length += 1 + total / 97) {
                checkAccess<Raw::Tile>(image, length);
                checkAccess<Raw::Block>(image, length);
            }
            checkAccess<Raw::Tile>(image, total - 1);
            checkAccess<Raw::Block>(image, total);
        }
    }
}

TEST(Image, ReportsTheFirstElementBeyondTheRegion) {
    TestImage image(makeTexture({"", Vex::kTextureTypeCubemap, 16, 16, 2, 2, 0}, formatNamed("R32Float")));
    const Raw::SurfaceIndex index{0, 1, 4, 1, 0, 0, 0};
    const ReportRecorder reports;
    Raw::Tile tile;
    image.resize(13824 + 3 * 32 - 1); // the surface begins at 13824: the last byte of row 2 is missing
    image.getTile(&index, &tile, 0, 0);
    image.resize(0);
    image.putTile(&index, &tile, 0, 0);
    EXPECT_TRUE(image.getMemoryRegion(&index).begin == nullptr && !reports.empty());
    const std::string place = "array entry 1, face 4, mip 1, depth 0, element ";
    EXPECT_EQ(reports.texts(),
              "attempt to address byte 13919 in an Image with 13919 bytes at " + place + "7, 2.\n" +
                  "attempt to address byte 13827 in an Image with 0 bytes at " + place + "0, 0.\n" +
                  "attempt to address byte 14079 in an Image with 0 bytes at " + place + "0, 0.\n");
    EXPECT_EQ(reports.assertions()[0].m_file, "raw\\image2");
}

TEST(Image, WithoutMemoryOrIndexReadsZerosAndEmptyRegions) {
    class Bare : public Raw::Image {
    public:
        using Image::setupAsTwoDimensional;
    } image;
    const ReportRecorder reports;
    auto tile = filledWith<Raw::Tile>(9);
    image.getTile(&kFirst, &tile, 0, 0);
    image.putTile(&kFirst, &tile, 0, 0);
    EXPECT_TRUE(reports.empty());
    image.setupAsTwoDimensional(formatNamed("R8Unorm"), 8, 8);
    tile = filledWith<Raw::Tile>(9);
    image.getTile(&kFirst, &tile, 0, 0);
    EXPECT_TRUE(isZero(tile));
    EXPECT_EQ(reports.assertions().size(), 1u);
    EXPECT_EQ(image.getMemoryRegion(nullptr).begin, nullptr);
    EXPECT_EQ(image.getAllFragmentMemoryRegion(nullptr).begin, nullptr);
    EXPECT_EQ(image.getMemoryRegion().length(), 0u);
    for (const Raw::SurfaceIndex& index :
         {Raw::SurfaceIndex{0, 0, 0, 99, 0, 0, 0}, {0, ~0u, ~0u, 0, ~0u, ~0u, 0}}) {
        EXPECT_EQ(image.getMemoryRegion(&index).length(), 0u);
    }
}

TEST(Image, OfFourGibibytesBecomesEmpty) {
    const std::pair<Shape, bool> cases[] = {
        {{"", Vex::kTextureType2dArray, 16384, 16384, 1, 1, 0}, false}, // 2^32 bytes of 16-byte elements
        {{"", Vex::kTextureType2dArray, 16384, 16383, 1, 1, 0}, true},
        {{"", Vex::kTextureType3d, 16384, 16384, 8192, 15, 0}, false},
        {{"", Vex::kTextureTypeCubemap, 16384, 16384, 1365, 15, 0}, false},
    };
    for (const auto& [shape, fits] : cases) {
        Raw::ReallocatableImage image(nullptr);
        const Vex::Texture texture = makeTexture(shape, formatNamed("R32G32B32A32Float"));
        const ReportRecorder reports;
        image.reallocate(&texture);
        EXPECT_EQ(reports.empty(), fits);
        EXPECT_EQ(image.getBytesTotal(), fits ? 16384u * 16383 * 16 : 0);
        EXPECT_EQ(image.getPixelsWide(0), fits ? 16384u : 1u);
        EXPECT_EQ(image.getBytesPerElement(), fits ? 16u : 0u);
    }
}

TEST(Reallocate, TakesADescriptorFromEverywhere) {
    Raw::AllocatedMemory memory;
    Raw::ReallocatableImage image(&memory);
    Raw::Texture texture;
    static_cast<Vex::Texture&>(texture) = makeFlat("R8Unorm", 9, 7, 2);
    const Vex::Texture* vexTexture = &texture;
    const TestImage provider(texture);
    const Raw::ElementProvider* elementProvider = &provider;
    const Vex::DataFormat wide = formatNamed("R32G32B32Float");
    const auto expectBytes = [&](unsigned bytesPerElement) {
        EXPECT_EQ(memory.length(), (9u * 7 + 4 * 3) * bytesPerElement);
        EXPECT_EQ(image.getMemoryRegion().begin, memory.begin);
        EXPECT_TRUE(Raw::dimensionsAreIdentical(&image, elementProvider));
    };
    Raw::reallocate(&image, elementProvider), expectBytes(1);
    Raw::reallocate(&image, elementProvider, wide), expectBytes(12);
    Raw::reallocate(&image, &texture), expectBytes(1);
    Raw::reallocate(&image, &texture, wide), expectBytes(12);
    Raw::reallocate(&image, vexTexture), expectBytes(1);
    Raw::reallocate(&image, vexTexture, wide), expectBytes(12);
    Raw::reallocate(&image, &image, formatNamed("R16Uint")), expectBytes(2); // from itself

    const ReportRecorder reports;
    Raw::reallocate(nullptr, static_cast<const Raw::ElementProvider*>(nullptr));
    Raw::reallocate(&image, static_cast<const Raw::Texture*>(nullptr), wide);
    Raw::reallocate(&image, static_cast<const Vex::Texture*>(nullptr));
    EXPECT_EQ(reports.texts(), "reallocatableImage must not be NULL.\nelementProvider must not be NULL.\n"
                               "texture must not be NULL.\nvexTexture must not be NULL.\n");
    expectBytes(2);
}

TEST(MemoryMappedImage, CopiesBorrowAndPointAtThemselves) {
    const Vex::Texture texture = makeFlat("R8Unorm", 100, 3);
    Raw::MemoryMappedImage original;
    original.reallocate(&texture);
    std::fill_n(original.getMemoryRegion().begin, 300, std::uint8_t{0xAB});
    const Raw::MemoryMappedImage made(original);
    Raw::MemoryMappedImage assigned;
    assigned = original;
    EXPECT_EQ(made.getMemoryRegion().begin, original.getMemoryRegion().begin);
    EXPECT_EQ(assigned.getMemoryRegion().begin, original.getMemoryRegion().begin);
    assigned.reallocate(&texture);
    assigned.getMemoryRegion().begin[0] = 1;
    EXPECT_NE(assigned.getMemoryRegion().begin, original.getMemoryRegion().begin);
    EXPECT_EQ(original.getMemoryRegion().begin[0], 0xAB);
    const Raw::MemoryMappedImage& self = assigned;
    assigned = self;
    EXPECT_EQ(assigned.getMemoryRegion().begin[0], 1);
}

TEST(AreBitwiseEqual, ComparesTheBytesOfImages) {
    Raw::Configuration configuration;
    TestImage a("R16Uint", 33, 9), b("R16Uint", 33, 9), other("R16Sint", 33, 9);
    a.fillRandomly(3);
    b.fillRandomly(3);
    other.fillRandomly(3);
    EXPECT_EQ(Raw::areBitwiseEqual(&a, &b, &configuration), Raw::kErrorNone);
    b.bytes().back() ^= 1;
    EXPECT_EQ(Raw::areBitwiseEqual(&a, &b, &configuration), Raw::kErrorFailed);
    const ReportRecorder reports;
    EXPECT_EQ(Raw::areBitwiseEqual(&a, &other, &configuration), Raw::kErrorNone);
    EXPECT_EQ(Raw::areBitwiseEqual(&a, static_cast<const Raw::Image*>(nullptr), &configuration),
              Raw::kErrorFailed);
    EXPECT_EQ(reports.texts(), "Images a and b are not bitwise comparable for equality, because dimensions "
                               "and/or format are different.\nb must not be NULL.\n");
}

} // namespace
