#include "raw/tiles/surface_rows.h"
#include "raw/tiles/tiling.h"

#include "qor/texsmith/texsmith.h"
#include "support/loaded_file.h"
#include "support/report_recorder.h"
#include "support/surfaces.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <type_traits>

using namespace qor;
using namespace qor::Texsmith;
using namespace qor::Texsmith::Raw;
using GpuAddress::kStatusInvalidArgument;
using GpuAddress::kStatusSuccess;
using TestSupport::Bytes;
using TestSupport::configurationOf;
using TestSupport::regionOf;
using TestSupport::ReportRecorder;
using TestSupport::TestImage;

namespace {

constexpr Vex::DataFormat kR8 = Vex::kDataFormatR8Unorm;
constexpr Vex::DataFormat kR8G8B8A8 = Vex::kDataFormatR8G8B8A8Unorm;
constexpr Vex::DataFormat kR32G32B32 = Vex::kDataFormatR32G32B32Float;
constexpr Vex::DataFormat kR16G16B16A16 = Vex::kDataFormatR16G16B16A16Float;
constexpr Vex::DataFormat kBc1 = Vex::kDataFormatBc1Unorm;
constexpr Vex::DataFormat kNoBytes{33};
constexpr char kNeedsManager[] =
    "configuration->m_jobManager parameter must not be NULL - this function runs jobs.\n";
constexpr char kBadStatus[] = "Assertion 'addrStatus == GpuAddress::kStatusSuccess' failed.\n";

Vex::Texture flat(unsigned width, unsigned height, unsigned slices, unsigned mips, Vex::DataFormat format,
                  unsigned tileMode, unsigned log2Fragments = 0, bool cube = false) {
    Vex::Texture texture;
    texture.initAs2dArray(width, height, slices, 0, mips, format, Vex::TileMode(tileMode),
                          Vex::NumFragments(log2Fragments), cube);
    return texture;
}

Vex::Texture volume(unsigned width, unsigned height, unsigned depth, unsigned mips, Vex::DataFormat format,
                    unsigned tileMode) {
    Vex::Texture texture;
    texture.initAs3d(width, height, depth, mips, format, Vex::TileMode(tileMode));
    return texture;
}

std::uint64_t tiledSize(const Vex::Texture& texture) {
    std::uint64_t size = 0;
    unsigned alignment = 0;
    GpuAddress::computeTotalTiledTextureSize(&size, &alignment, &texture);
    return size;
}

Raw::Texture tiledTexture(const Vex::Texture& texture, Bytes& bytes) {
    Raw::Texture tiled;
    static_cast<Vex::Texture&>(tiled) = texture;
    tiled.m_memoryRegion = regionOf(bytes);
    return tiled;
}

// Reads every block or tile of every surface of one provider and writes it to another.
template <typename Buffer> void copyAll(const ElementProvider& to, const ElementProvider& from) {
    constexpr bool kTiles = std::is_same_v<Buffer, Tile>;
    for (int number = 0; number < getNumberOfSurfaces(&from); ++number) {
        SurfaceIndex index;
        getSurfaceIndexFromSurfaceNumber(&index, &from, number);
        const unsigned wide = kTiles ? from.getTilesWide(index.mip) : from.getBlocksWide(index.mip);
        const unsigned tall = kTiles ? from.getTilesTall(index.mip) : from.getBlocksTall(index.mip);
        for (unsigned i = 0; i < wide * tall; ++i) {
            Buffer buffer;
            TestSupport::get(from, &index, &buffer, i % wide, i / wide);
            TestSupport::put(to, &index, &buffer, i % wide, i / wide);
        }
    }
}

// The strips of a tiled provider, from and to an image's rows: whole rows of tiles, cut in three.
void moveStrips(const ElementProvider& tiled, const TestImage& image, bool toTiled) {
    for (int number = 0; number < getNumberOfSurfaces(&image); ++number) {
        SurfaceIndex index;
        getSurfaceIndexFromSurfaceNumber(&index, &image, number);
        const bool hasStrips = tiled.getStrip(&index, {}, 0, 0);
        EXPECT_EQ(tiled.putStrip(&index, {}, 0, 0), hasStrips);
        const ElementRows rows = image.getElementRows(&index);
        const unsigned tall = image.getElementsPerTileTall(), wide = image.getElementsPerTileWide();
        const unsigned tiles = image.getTilesWide(index.mip);
        for (unsigned top = 0, y = 0; rows.m_memory != nullptr && top < rows.m_tall; top += tall, ++y) {
            for (unsigned x = 0, next; x < tiles; x = next) {
                next = x == 0 ? 1 : x == 1 ? (tiles + 2) / 2 : tiles;
                const unsigned left = x * wide, right = std::min(next * wide, rows.m_wide);
                const ElementRows strip = {rows.row(top) + left * image.getBytesPerElement(), rows.m_pitch,
                                           right - left, std::min(tall, rows.m_tall - top)};
                EXPECT_EQ(toTiled ? tiled.putStrip(&index, strip, x, y) : tiled.getStrip(&index, strip, x, y),
                          hasStrips);
            }
        }
    }
}

// Six ways between an image and tiled memory.
constexpr const char* kWays[] = {"serial jobs", "pool", "single-threaded", "tiles", "blocks", "strips"};
constexpr int kJobWays = 3;
constexpr int kStripWay = 5;

Error move(int way, TestImage& image, Bytes& tiled, bool toTiled) {
    if (way < kJobWays) {
        SerialJobManager serial;
        ThreadpoolJobManager pool;
        JobManager* managers[] = {&serial, &pool, nullptr};
        Configuration configuration = configurationOf(managers[way], 7);
        MemoryRegion region = regionOf(tiled);
        return toTiled ? tileImage(&region, &image, &configuration, way == 2)
                       : detileImage(&image, &region, &configuration, way == 2);
    }
    const Raw::Texture texture = tiledTexture(*image.getVexTexture(), tiled);
    auto original = std::make_unique<TextureElementProvider>(&texture);
    const auto provider = std::make_unique<TextureElementProvider>(*original);
    original.reset(); // the copy stands on its own
    if (way == kStripWay) {
        moveStrips(*provider, image, toTiled);
        return kErrorNone;
    }
    const auto copyBetween = way == kJobWays ? copyAll<Tile> : copyAll<Block>;
    toTiled ? copyBetween(*provider, image) : copyBetween(image, *provider);
    return kErrorNone;
}

struct Random {
    std::mt19937 m_engine{7};
    unsigned word() { return static_cast<unsigned>(m_engine()); }
    unsigned below(unsigned end) { return word() % end; }
};

Vex::Texture randomDescriptor(Random& random) {
    Vex::Texture texture;
    for (std::uint32_t& word : texture.m_regs) {
        word = random.word();
    }
    if (random.below(4) != 0) { // sizes that the small memory can hold
        texture.setWidthMinus1(random.below(20));
        texture.setHeightMinus1(random.below(20));
        texture.setDepthMinus1(random.below(3));
        texture.setMipLevelRange(random.below(2), random.below(4));
        texture.setArrayView(random.below(2), random.below(20));
        texture.setNumFragments(Vex::NumFragments(random.below(2)));
        texture.setDataFormat({random.below(Vex::kSurfaceFormatCount)});
    }
    return texture;
}

// An image whose memory ends where it likes.
class BoundedImage : public Raw::Image {
public:
    BoundedImage(const Vex::Texture& texture, Bytes& bytes) : m_region(regionOf(bytes)) {
        m_memoryRegion = &m_region;
        setupAsVexTexture(&texture);
    }

private:
    const std::type_info* doGetRowsClass() const override { return &typeid(BoundedImage); }

    MemoryRegion m_region;
};

} // namespace

TEST(TileModes, DegradeByMicroTileModeAndNewArrayMode) {
    //                                 0   1   2   3   4   5   6   7   8   9  10  11  12  13  14  15
    constexpr int kDegraded[5][16] = {{-1, -1, 9, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
                                      {-1, -1, 13, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
                                      {5, 5, 5, 5, 5, 5, 5, 5, 5, 5, 5, 5, 5, 5, 5, 5},
                                      {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
                                      {-1, -1, 13, 19, 14, 16, 17, 20, -1, -1, -1, 18, 15, 21, -1, -1}};
    ReportRecorder reports;
    for (unsigned old = 0; old < 32; ++old) {
        Vex::ArrayMode oldArrayMode;
        Vex::MicroTileMode micro;
        ASSERT_EQ(GpuAddress::getArrayMode(&oldArrayMode, Vex::TileMode(old)), kStatusSuccess);
        ASSERT_EQ(GpuAddress::getMicroTileMode(&micro, Vex::TileMode(old)), kStatusSuccess);
        for (unsigned array = 0; array < 16; ++array) {
            const bool same = array == oldArrayMode;
            const int degraded = same ? int(old) : kDegraded[micro][array];
            std::string text;
            if (micro == 2 && !same && array != 2) {
                text = "Expected degraded tile mode (" + std::to_string(array) + ") to be 1dThin.\n";
            } else if (micro == 3 && !same) {
                text = "Rotated tile modes should not be used.\n";
            } else if (degraded < 0) {
                text = "Unhandled case: oldTileMode=" + std::to_string(old) +
                       ", newArrayMode=" + std::to_string(array) + "\n\n";
            }
            reports.clear();
            Vex::TileMode result = Vex::TileMode(99);
            const int status = degradeTileMode(&result, Vex::TileMode(old), Vex::ArrayMode(array));
            EXPECT_EQ(status, degraded < 0 ? kStatusInvalidArgument : kStatusSuccess);
            EXPECT_EQ(unsigned(result), degraded < 0 ? 99u : unsigned(degraded)) << old << " " << array;
            EXPECT_EQ(reports.texts(), text);
            EXPECT_TRUE(reports.empty() || reports.assertions()[0].m_file == "raw\\tile");
        }
    }
    Vex::TileMode result;
    EXPECT_EQ(degradeTileMode(&result, Vex::TileMode(32), Vex::kArrayMode1dThin), kStatusInvalidArgument);
}

TEST(Tilers, TakeTheModeOfWhatTheSurfaceIsLargeEnoughFor) {
    struct Row {
        Vex::Texture texture;
        unsigned mip;
        TilingMode mode;
        const char* report;
    };
    const char* const kRotated = "Rotated tile modes should not be used.\n";
    const Row rows[] = {
        {flat(64, 64, 1, 2, kR8, 14), 0, kTilingMode2d, ""},
        {flat(64, 64, 1, 2, kR8, 14), 1, kTilingMode1d, ""},
        {volume(64, 64, 8, 4, kR8, 20), 1, kTilingMode2d, ""},
        {volume(64, 64, 8, 4, kR8, 20), 2, kTilingMode1d, ""}, // two slices, too few to be thick
        {volume(64, 64, 8, 4, kR8, 20), 3, kTilingMode1d, ""},
        {flat(8, 8, 1, 1, kR8, 14, 1), 0, kTilingMode2d, ""}, // fragments keep it
        {flat(8, 8, 1, 1, kR8, 8), 0, kTilingModeLinear, ""},
        {flat(8, 8, 1, 1, kR8, 31), 0, kTilingModeLinear, ""},
        {flat(64, 64, 1, 1, kR8, 28), 0, kTilingMode2d, ""},
        {flat(8, 8, 1, 1, kR8, 28), 0, kTilingMode2d, kRotated}, // the unchanged mode decides
        {flat(8, 8, 1, 1, {0}, 13), 0, kTilingModeNone, ""},
        {flat(8, 8, 1, 1, kNoBytes, 13), 0, kTilingModeNone, ""},
        {flat(8, 8, 1, 1, kR8, 13), 1, kTilingModeNone, ""}, // beyond the last mip
    };
    for (const Row& row : rows) {
        ReportRecorder reports;
        Tilers tilers;
        tilers.initFromVexTexture(&row.texture, row.mip, 0);
        EXPECT_EQ(tilers.getTilingMode(), row.mode) << &row - rows;
        EXPECT_EQ(reports.texts(), row.report);
    }
    Vex::DepthRenderTarget target;
    Tilers tilers;
    tilers.initFromStencilSurface(&target, 0);
    EXPECT_EQ(tilers.getTilingMode(), kTilingMode1d);
    EXPECT_EQ(tilers.getTiledBytes(), 64u);
    tilers.initFromDepthSurface(&target, 0);
    EXPECT_EQ(tilers.getTiledBytes(), 256u);
    tilers.initFromRenderTarget(nullptr, 0);
    EXPECT_EQ(tilers.getTilingMode(), kTilingModeNone);
}

TEST(Tilers, MoveNothingWithoutAModeAndOneSliceIn2d) {
    const GpuAddress::SurfaceRegion region = {0, 0, 0, 32, 32, 2};
    const Bytes linear(2048, 1);
    Bytes tiled(65536);
    Tilers tilers;
    EXPECT_EQ(tilers.tileSurfaceRegion(tiled.data(), linear.data(), &region, 32, 1024, 0), kStatusSuccess);
    EXPECT_EQ(tiled, Bytes(65536));

    const Vex::Texture texture = volume(32, 32, 4, 1, kR8, 20);
    tilers.initFromVexTexture(&texture, 0, 0);
    EXPECT_EQ(tilers.tileSurfaceRegion(tiled.data(), linear.data(), &region, 32, 1024, 0), kStatusSuccess);
    EXPECT_EQ(std::count(tiled.begin(), tiled.end(), 1), 1024);
    EXPECT_EQ(tilers.detileSurfaceRegion1d(tiled.data(), linear.data(), &region, 32, 1024),
              kStatusInvalidArgument);
    for (const unsigned tileMode : {8u, 13u, 14u}) { // without a second fragment
        const Vex::Texture one = flat(128, 128, 1, 1, kR8, tileMode);
        tilers.initFromVexTexture(&one, 0, 0);
        EXPECT_EQ(tilers.tileSurfaceRegion(tiled.data(), linear.data(), &region, 32, 0, 1),
                  kStatusInvalidArgument);
        EXPECT_EQ(tilers.detileSurfaceRegion(tiled.data(), linear.data(), &region, 32, 0, 1),
                  kStatusInvalidArgument);
    }
}

TEST(LinearGeneral, HasItsOwnOffsetAndSize) {
    const Vex::Texture texture = flat(97, 5, 2, 2, kR8G8B8A8, 31);
    std::uint64_t offset = 1, size = 1;
    EXPECT_EQ(computeSurfaceOffsetAndSize(&offset, &size, &texture, 1, 1), kStatusSuccess);
    EXPECT_EQ(offset, 0u);
    EXPECT_EQ(size, 104u * 4 * 5);
}

// All its surfaces would lie at offset 0.
TEST(LinearGeneral, HasRoomForOneSurface) {
    for (const Vex::Texture& texture :
         {flat(8, 8, 1, 2, kR8, 31), flat(8, 8, 3, 1, kR8, 31), volume(8, 8, 2, 1, kR8, 31)}) {
        TestImage image(texture, 1);
        Bytes tiled(4096, 0xA5);
        const Bytes before = image.bytes();
        for (const int way : {0, 2}) {
            const ReportRecorder reports;
            EXPECT_EQ(move(way, image, tiled, true), kErrorFailed);
            EXPECT_EQ(move(way, image, tiled, false), kErrorFailed);
            EXPECT_EQ(reports.assertions().size(), 2u) << reports.texts();
        }
        const ReportRecorder reports;
        Texture provided;
        static_cast<Vex::Texture&>(provided) = texture;
        provided.m_memoryRegion.build(tiled.data(), 4096);
        const TextureElementProvider provider(&provided);
        EXPECT_EQ(reports.assertions().size(), 1u) << reports.texts();
        Configuration configuration;
        copy(&provider, &image, &configuration);
        EXPECT_TRUE(tiled == Bytes(4096, 0xA5) && image.bytes() == before);
    }
}

TEST(WaysOfTiling, AllGiveTheSameMemoryAndTheSameImage) {
    std::vector<Vex::Texture> textures;
    for (const Vex::DataFormat format : {kR8, kR8G8B8A8, kR16G16B16A16, kR32G32B32, kBc1}) {
        for (const unsigned tileMode : {0u, 8u, 9u, 10u, 13u, 14u, 17u, 19u, 28u}) {
            textures.push_back(flat(70, 67, 1, 4, format, tileMode));
            textures.push_back(flat(12, 12, 2, 3, format, tileMode, 0, true));
        }
        for (const unsigned tileMode : {8u, 13u, 14u, 19u, 20u, 22u, 25u, 26u}) {
            textures.push_back(volume(70, 34, 9, 4, format, tileMode));
        }
        for (const unsigned tileMode : {8u, 13u, 14u}) {
            textures.push_back(flat(21, 10, 2, 1, format, tileMode, 2));
        }
        textures.push_back(flat(21, 10, 19, 2, format, 13));
        textures.push_back(flat(21, 10, 1, 1, format, 31));
    }
    for (const Vex::Texture& texture : textures) {
        SCOPED_TRACE(std::to_string(texture.getTileMode()) + " " + std::to_string(texture.getTextureType()) +
                     " " + std::to_string(texture.getDataFormat().m_word));
        ReportRecorder reports; // of the rotated modes
        TestImage image(texture, 1);
        Bytes first;
        for (int way = 0; way < int(std::size(kWays)); ++way) {
            SCOPED_TRACE(kWays[way]);
            Bytes tiled(tiledSize(texture), 0xA5); // padding must stay so
            EXPECT_EQ(move(way, image, tiled, true), kErrorNone);
            first = first.empty() ? tiled : first;
            EXPECT_EQ(tiled, first);
            TestImage back(texture);
            EXPECT_EQ(move(way, back, tiled, false), kErrorNone);
            EXPECT_EQ(back.bytes(), image.bytes());
        }
        EXPECT_NE(first, Bytes(first.size(), 0xA5));
    }
}

TEST(WaysOfTiling, StayInsideBothMemories) {
    const Vex::Texture texture = flat(20, 20, 2, 2, kR8G8B8A8, 13);
    for (int way = 0; way < int(std::size(kWays)); ++way) {
        SCOPED_TRACE(kWays[way]);
        const Error expected = way < kJobWays ? kErrorFailed : kErrorNone;
        TestImage whole(texture, 1), back(texture, 2), cut(texture, 1);
        Bytes shorter(tiledSize(texture) - 1), tiled(tiledSize(texture));
        EXPECT_EQ(move(way, whole, shorter, true), expected);
        EXPECT_EQ(move(way, back, shorter, false), expected);
        // A provider reads zeros for the last surface, which does not lie in the memory.
        const Bytes last(back.bytes().end() - 400, back.bytes().end());
        EXPECT_EQ(last == Bytes(400), way >= kJobWays && way != kStripWay); // a strip moves nothing
        ReportRecorder reports;                                             // of the image
        cut.resize(cut.bytes().size() - 1);
        EXPECT_EQ(move(way, cut, tiled, true), expected);
        EXPECT_EQ(move(way, cut, tiled, false), expected);
        whole.setDataFormat(kR16G16B16A16); // the storage stays as it was
        tiled.resize(tiledSize(*whole.getVexTexture()));
        EXPECT_EQ(move(way, whole, tiled, true), expected);
        EXPECT_EQ(move(way, whole, tiled, false), expected);
    }
}

TEST(TextureElementProvider, ClearsTheOverhangAsAnImageDoes) {
    const Vex::Texture texture = flat(13, 13, 1, 1, kR8G8B8A8, 13);
    TestImage image(texture, 1);
    Bytes tiled(tiledSize(texture));
    move(0, image, tiled, true);
    const Raw::Texture descriptor = tiledTexture(texture, tiled);
    const auto provider = std::make_unique<TextureElementProvider>(&descriptor);
    const SurfaceIndex index;
    Tile tile = TestSupport::filledWith<Tile>(0xFF), expected;
    provider->getTile(&index, &tile, 1, 1);
    image.getTile(&index, &expected, 1, 1);
    EXPECT_TRUE(TestSupport::equal(tile, expected, 8 * 8 * 4));
}

TEST(TextureElementProvider, StaysInsideItsMemoryInAnotherFormat) {
    Bytes tiled(512, 9); // eight fragments, of which the texture has the memory of one
    Raw::Texture descriptor = tiledTexture(flat(8, 8, 1, 1, kR8, 31, 3), tiled);
    descriptor.m_memoryRegion.end = tiled.data() + 64;
    const auto provider = std::make_unique<TextureElementProvider>(&descriptor);
    provider->setDataFormat({kR8.m_word | 0x400}); // of another tile mode
    SurfaceIndex last;
    last.fragment = 7;
    Tile tile = TestSupport::filledWith<Tile>(1);
    provider->putTile(&last, &tile, 0, 0);
    EXPECT_EQ(tiled, Bytes(512, 9));
    provider->getTile(&last, &tile, 0, 0);
    EXPECT_TRUE(TestSupport::equal(tile, {}));

    // A format of narrower elements, and one of squares: strips of either would miss what the tiler moves.
    tiled.resize(65536);
    for (const auto& [made, used] : {std::pair{kR16G16B16A16, kR8}, std::pair{kR16G16B16A16, kBc1}}) {
        const Raw::Texture texture = tiledTexture(flat(16, 16, 1, 1, made, 13), tiled);
        const SurfaceIndex first;
        const auto other = std::make_unique<TextureElementProvider>(&texture);
        EXPECT_TRUE(other->getStrip(&first, {}, 0, 0));
        other->setDataFormat(used);
        EXPECT_FALSE(other->getStrip(&first, {}, 0, 0));
        EXPECT_FALSE(other->putStrip(&first, {}, 0, 0));
    }
}

TEST(WaysOfTiling, ReportNullArgumentsAndBadFormats) {
    SerialJobManager serial;
    Configuration noManager = configurationOf(nullptr, 1), oneCallback = configurationOf(&serial, 1);
    Bytes bytes(4096);
    MemoryRegion region = regionOf(bytes);
    TestImage image(flat(8, 8, 1, 1, kR8, 13));
    ReportRecorder reports;
    const auto expectFailure = [&](Error error, const char* file, const std::string& texts) {
        EXPECT_EQ(error, kErrorFailed);
        EXPECT_EQ(reports.assertions().at(0).m_file, file);
        EXPECT_EQ(reports.texts(), texts);
        reports.clear();
    };
    constexpr char kPath[] = "raw\\tiling";
    expectFailure(tileImage(&region, &image, nullptr, 0), kPath, "configuration must not be NULL.\n");
    expectFailure(detileImage(&image, &region, &noManager, 0), kPath, kNeedsManager);
    image.setDataFormat(kNoBytes); // and keeps its storage
    expectFailure(tileImage(&region, &image, nullptr, 1), kPath, kBadStatus);
    expectFailure(tileImage(&region, &image, &oneCallback, 0), "raw\\job\\imagetotiledjob", kBadStatus);
    expectFailure(detileImage(&image, &region, &oneCallback, 0), "raw\\job\\tiledtoimagejob", kBadStatus);

    for (const Vex::DataFormat format : {kNoBytes, Vex::DataFormat{0}}) { // nothing to move is no failure
        TestImage empty(flat(1, 1, 8192, 16, format, 13, 3));             // with a million surfaces
        expectFailure(detileImage(&empty, &region, &noManager, 0), kPath, kNeedsManager);
        EXPECT_EQ(tileImage(&region, &empty, &oneCallback, 0), kErrorNone);
        EXPECT_EQ(detileImage(&empty, &region, nullptr, 1), kErrorNone);
        EXPECT_TRUE(reports.empty());
    }
    TextureElementProvider nothing(nullptr);
    EXPECT_EQ(reports.texts(), "texture must not be NULL.\n");
}

TEST(WaysOfTiling, NoDescriptorLeadsOutside) {
    Random random;
    SerialJobManager serial;
    Configuration configuration = configurationOf(&serial, 7);
    unsigned moved = 0, readSomething = 0;
    for (unsigned i = 0; i < 1500; ++i) {
        const Vex::Texture texture = randomDescriptor(random);
        Bytes tiled(random.below(65536), 1), linear(random.below(65536), 2);
        ReportRecorder reports;
        BoundedImage image(texture, linear);
        MemoryRegion region = regionOf(tiled);
        const int singleThreaded = int(i % 2);
        tileImage(&region, &image, &configuration, singleThreaded);
        moved += std::count(tiled.begin(), tiled.end(), 2) != 0;
        detileImage(&image, &region, &configuration, singleThreaded);

        const Raw::Texture descriptor = tiledTexture(texture, tiled);
        const auto provider = std::make_unique<TextureElementProvider>(&descriptor);
        SurfaceIndex index;
        index.mip = texture.getBaseMipLevel();
        index.arrayEntry = random.below(3);
        index.fragment = random.below(2);
        Tile tile;
        Block block;
        provider->getTile(&index, &tile, random.below(2), random.below(2));
        provider->getBlock(&index, &block, random.below(3), random.below(3));
        std::uint8_t room[2 * 8 * 64] = {}; // what a strip of two tiles may touch
        const std::size_t bytes = provider->getBytesPerElement();
        const ElementRows strip = {room, 2 * 8 * bytes, provider->getElementsPerTileWide(), 1};
        provider->getStrip(&index, strip, random.below(2), 0);
        provider->putStrip(&index, strip, random.below(2), 0);
        readSomething += reinterpret_cast<const std::uint8_t*>(&tile)[0] != 0;
        provider->putTile(&index, &tile, random.below(2), random.below(2));
        provider->putBlock(&index, &block, random.below(3), random.below(3));
    }
    EXPECT_GT(moved, 40u) << "the descriptors are too wild to reach the tilers";
    EXPECT_GT(readSomething, 40u);
}
