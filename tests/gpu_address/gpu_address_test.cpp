#include "gpu_address/micro_tile.h"
#include "gpu_address/region_move.h"
#include "qor/gpu_address/gpu_address.h"
#include "qor/vex/data_formats.h"
#include "simd/dispatch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

using namespace qor;
using namespace qor::GpuAddress;

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr Vex::DataFormat kR8 = Vex::kDataFormatR8Unorm;

std::mt19937 g_random(20240607);

unsigned randomBelow(std::uint64_t end) { return static_cast<unsigned>(g_random() % end); }

Bytes randomBytes(std::uint64_t count) {
    Bytes bytes(count);
    auto state = static_cast<std::uint32_t>(g_random());
    for (std::uint8_t& byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<std::uint8_t>(state >> 24);
    }
    return bytes;
}

struct Size {
    unsigned w, h, d;
};

TilingParameters makeParameters(unsigned tileMode, unsigned bits, unsigned fragments, Size size) {
    TilingParameters parameters;
    parameters.m_tileMode = Vex::TileMode(tileMode);
    parameters.m_bitsPerElement = bits;
    parameters.m_width = size.w;
    parameters.m_height = size.h;
    parameters.m_depth = size.d;
    parameters.m_fragments = fragments;
    return parameters;
}

std::string describe(const TilingParameters& p) {
    return "tile mode " + std::to_string(p.m_tileMode) + ", " + std::to_string(p.elementBits()) + " bits, " +
           std::to_string(p.m_fragments) + " fragments, " + std::to_string(p.m_width) + " x " +
           std::to_string(p.m_height) + " x " + std::to_string(p.m_depth);
}

constexpr Size kSizes[] = {{1, 1, 3},   {5, 3, 1},   {17, 9, 5},   {33, 17, 9},  {64, 64, 8},
                           {66, 34, 8}, {70, 66, 1}, {130, 70, 5}, {256, 136, 1}};
constexpr std::uint64_t kManyElements = 100000;

// Calls `run` for the sizes from `first` on: for all of them in the slow run, else for the first whose padded
// box is not too large.
template <typename Run>
void forSizesFrom(std::size_t first, unsigned tileMode, unsigned bits, unsigned fragments, Run run) {
    const bool slow = std::getenv("TEXSMITH_SLOW") != nullptr;
    bool done = false;
    for (std::size_t i = 0; i < std::size(kSizes) && !done; ++i) {
        const Size size = kSizes[(first + i) % std::size(kSizes)];
        const auto parameters = makeParameters(tileMode, bits, fragments, size);
        SCOPED_TRACE(describe(parameters));
        SurfaceInfo info;
        ASSERT_EQ(computeSurfaceInfo(&info, &parameters), kStatusSuccess);
        if (slow || info.m_size * 8 / bits < kManyElements) {
            run(parameters, info);
            done = !slow;
        }
    }
}

// Every tile mode with every size of element and number of fragments.
template <typename Run> void forEachCase(Run run) {
    std::mt19937 first(1);
    for (unsigned tileMode = 0; tileMode < 32; ++tileMode) {
        for (const unsigned bits : {1u, 2u, 4u, 8u, 16u, 32u, 64u, 96u, 128u}) {
            for (const unsigned fragments : {1u, 2u, 8u}) {
                forSizesFrom(first() % std::size(kSizes), tileMode, bits, fragments, run);
            }
        }
    }
}

// Walks a tiled surface in the order of memory and calls `visit(x, y, z, fragment)` for each element of the
// padded box.
template <typename Visit>
void walkMemory(const SurfaceInfo& info, bool rowOrder, unsigned fragments, Visit visit) {
    // by array mode:                       0  1  2  3  4  5  6  7  8  9 10 11 12 13 14 15
    constexpr unsigned kThickness[16] = {1, 1, 1, 4, 1, 1, 1, 4, 8, 4, 4, 1, 1, 4, 8, 4};
    constexpr bool kSwizzled[16] = {0, 0, 0, 0, 1, 0, 1, 1, 1, 0, 1, 1, 1, 1, 1, 1};
    const unsigned thickness = kThickness[info.m_arrayMode];
    const unsigned wide = info.m_macroWide, tall = info.m_macroTall;
    const auto bitOf = [](unsigned value, unsigned bit) { return value >> bit & 1; };
    const auto visitMicroTile = [&](unsigned left, unsigned top, unsigned front, unsigned fragment) {
        for (unsigned e = 0; e < 64 * thickness; ++e) {
            const unsigned x = rowOrder ? e % 8 : bitOf(e, 0) | bitOf(e, 2) << 1 | bitOf(e, 4) << 2;
            const unsigned y = rowOrder ? e / 8 % 8 : bitOf(e, 1) | bitOf(e, 3) << 1 | bitOf(e, 5) << 2;
            visit(left + x, top + y, front + e / 64, fragment);
        }
    };
    const auto visitMacroTile = [&](unsigned left, unsigned top, unsigned front, unsigned fragment) {
        for (unsigned place = 0; place < wide * tall; ++place) {
            const unsigned row = place / wide;
            const unsigned turn = row + (info.m_arrayMode >= 11 ? front / thickness : 0);
            const unsigned column = kSwizzled[info.m_arrayMode] ? (place ^ turn) % wide : place % wide;
            visitMicroTile(left + column * 8, top + row * 8, front, fragment);
        }
    };
    for (unsigned fragment = 0; fragment < fragments; ++fragment) {
        for (unsigned front = 0; front < info.m_depth; front += thickness) {
            for (unsigned top = 0; top < info.m_height; top += 8 * tall) {
                for (unsigned left = 0; left < info.m_pitch; left += 8 * wide) {
                    visitMacroTile(left, top, front, fragment);
                }
            }
        }
    }
}

template <typename Visit> void walkRows(const SurfaceInfo& info, unsigned fragments, Visit visit) {
    for (unsigned fragment = 0; fragment < fragments; ++fragment) {
        for (unsigned z = 0; z < info.m_depth; ++z) {
            for (unsigned y = 0; y < info.m_height; ++y) {
                for (unsigned x = 0; x < info.m_pitch; ++x) {
                    visit(x, y, z, fragment);
                }
            }
        }
    }
}

// Sizes the linear side of a region so that its last byte is the last one that may be touched.
struct LinearSide {
    unsigned m_pitch, m_slicePitch;
    std::uint64_t m_bytes;

    LinearSide(const SurfaceRegion& region, unsigned bits) {
        const unsigned w = region.m_right - region.m_left, h = region.m_bottom - region.m_top;
        m_pitch = w + randomBelow(5);
        m_slicePitch = m_pitch * h + randomBelow(5);
        const std::uint64_t slices = region.m_back - region.m_front;
        m_bytes = (((slices - 1) * m_slicePitch + std::uint64_t{m_pitch} * (h - 1) + w) * bits + 7) / 8;
    }
};

SurfaceRegion randomRegion(const SurfaceInfo& info) {
    SurfaceRegion region;
    region.m_left = randomBelow(info.m_pitch);
    region.m_top = randomBelow(info.m_height);
    region.m_front = randomBelow(info.m_depth);
    region.m_right = region.m_left + 1 + randomBelow(info.m_pitch - region.m_left);
    region.m_bottom = region.m_top + 1 + randomBelow(info.m_height - region.m_top);
    region.m_back = region.m_front + 1 + randomBelow(info.m_depth - region.m_front);
    return region;
}

} // namespace

TEST(ElementOrder, IsTheWalkOfMacroAndMicroTilesOverTheWholePaddedBox) {
    forEachCase([](const TilingParameters& parameters, const SurfaceInfo& info) {
        const Tiler2d tiler(&parameters);
        std::uint64_t expected = 0;
        unsigned wrong = 0;
        const auto visit = [&](unsigned x, unsigned y, unsigned z, unsigned fragment) {
            std::uint64_t offset;
            const int status = tiler.getTiledElementBitOffset(&offset, x, y, z, fragment);
            wrong += status != kStatusSuccess || offset != expected;
            expected += parameters.elementBits();
        };
        if (info.m_arrayMode <= Vex::kArrayModeLinearAligned) {
            walkRows(info, parameters.m_fragments, visit);
        } else {
            walkMemory(info, tiler.getMicroTileMode() == 0, parameters.m_fragments, visit);
        }
        EXPECT_EQ(wrong, 0u);
        EXPECT_EQ(expected, info.m_size * 8);
        EXPECT_EQ(info.m_size, info.m_planeBytes * parameters.m_fragments);
    });
}

template <typename Direction>
void expectMoveByElements(const TilerBase& tiler, const SurfaceRegion& region, unsigned fragment) {
    const LinearSide side(region, tiler.getElementBits());
    Bytes tiled = randomBytes(tiler.getSurfaceInfo().m_size), linear = randomBytes(side.m_bytes);
    Bytes otherTiled = tiled, otherLinear = linear;
    SurfaceRegion larger = region; // is cut to the padded box
    larger.m_right += region.m_right == tiler.getSurfaceInfo().m_pitch ? 100 : 0;
    const auto move = [&](Bytes& tiledSide, Bytes& linearSide) {
        return RegionMove<Direction>{tiledSide.data(), linearSide.data(), side.m_pitch, side.m_slicePitch,
                                     fragment};
    };
    EXPECT_EQ(moveRegion(tiler, move(tiled, linear), &larger), kStatusSuccess);
    EXPECT_EQ(moveRegionByElements(tiler, move(otherTiled, otherLinear), &region), kStatusSuccess);
    EXPECT_EQ(tiled, otherTiled);
    EXPECT_EQ(linear, otherLinear);
}

TEST(Tilers, RegionsMoveAsElementByElement) {
    forEachCase([](const TilingParameters& parameters, const SurfaceInfo& info) {
        const Tiler2d tiler(&parameters);
        for (unsigned repeat = 0; repeat < 2; ++repeat) {
            const unsigned fragment = randomBelow(parameters.m_fragments);
            expectMoveByElements<ToTiled>(tiler, randomRegion(info), fragment);
            expectMoveByElements<ToLinear>(tiler, randomRegion(info), fragment);
        }
    });
}

// What the memory takes at once.
struct alignas(64) Line {
    std::uint8_t m_bytes[64];
    bool operator==(const Line&) const = default;
};
using Lines = std::vector<Line>;

Lines randomLines(std::uint64_t bytes) {
    Lines lines(bytes / sizeof(Line) + 1);
    const Bytes random = randomBytes(lines.size() * sizeof(Line));
    std::memcpy(lines.data(), random.data(), random.size());
    return lines;
}

template <typename Direction>
void expectStreamsAgree(const TilerBase& tiler, const SurfaceRegion& region, unsigned fragment) {
    const SurfaceInfo& info = tiler.getSurfaceInfo();
    const unsigned pitch = (region.m_right - region.m_left + 15) / 16 * 16,
                   slicePitch = pitch * info.m_height;
    const Lines tiled = randomLines(info.m_size);
    const Lines linear = randomLines(std::uint64_t{slicePitch} * info.m_depth * tiler.getElementBits() / 8);
    const auto moved = [&](bool streams) {
        std::pair<Lines, Lines> sides(tiled, linear);
        Texsmith::Simd::streamAlways(streams);
        const RegionMove<Direction> move = {sides.first.data()->m_bytes, sides.second.data()->m_bytes, pitch,
                                            slicePitch, fragment};
        EXPECT_EQ(moveRegion(tiler, move, &region), kStatusSuccess);
        Texsmith::Simd::streamAlways(false);
        return sides;
    };
    EXPECT_TRUE(moved(true) == moved(false)) << region.m_left;
}

TEST(Tilers, StreamedStoresGiveTheSameMemory) {
    forEachCase([](const TilingParameters& parameters, const SurfaceInfo& info) {
        if (parameters.elementBits() % 32 != 0) {
            return;
        }
        const Tiler2d tiler(&parameters);
        const unsigned fragment = randomBelow(parameters.m_fragments);
        constexpr unsigned kLefts[] = {0, 8, 13}; // streamed to in both directions, and in one
        const unsigned left = kLefts[randomBelow(3)] % info.m_pitch, top = randomBelow(info.m_height);
        const SurfaceRegion region = {left, top, 0, info.m_pitch, info.m_height, info.m_depth};
        expectStreamsAgree<ToTiled>(tiler, region, fragment);
        expectStreamsAgree<ToLinear>(tiler, region, fragment);
    });
}

TEST(Tilers, WholeSurfacesHaveSlicesOuterAndFragmentsInner) {
    forEachCase([](const TilingParameters& parameters, const SurfaceInfo& info) {
        std::uint64_t bytes;
        unsigned alignment;
        ASSERT_EQ(computeUntiledSurfaceSize(&bytes, &alignment, &parameters), kStatusSuccess);
        const Bytes linear = randomBytes(bytes);
        Bytes tiled(info.m_size), back(bytes), again(info.m_size);
        ASSERT_EQ(tileSurface(tiled.data(), linear.data(), &parameters), kStatusSuccess);
        ASSERT_EQ(detileSurface(back.data(), tiled.data(), &parameters), kStatusSuccess);
        ASSERT_EQ(tileSurface(again.data(), back.data(), &parameters), kStatusSuccess);
        EXPECT_EQ(again, tiled);

        const unsigned z = parameters.m_depth - 1, fragment = parameters.m_fragments - 1;
        const std::uint64_t planeBytes = bytes / parameters.m_depth / parameters.m_fragments;
        const SurfaceRegion plane = {0, 0, z, parameters.m_width, parameters.m_height, z + 1};
        Bytes last(planeBytes);
        moveRegionByElements(Tiler2d(&parameters),
                             RegionMove<ToLinear>{tiled.data(), last.data(), parameters.m_width, 0, fragment},
                             &plane);
        EXPECT_TRUE(std::equal(last.begin(), last.end(), back.end() - std::ptrdiff_t(planeBytes)));
        EXPECT_TRUE(parameters.elementBits() < 8 || back == linear); // those have bits to spare in planes
    });
}

TEST(Tilers, ElementsNarrowerThanAByteKeepTheirNeighbours) {
    const auto parameters = makeParameters(13, 4, 1, {8, 8, 1});
    const Tiler1d tiler(&parameters);
    const SurfaceRegion element = {1, 0, 0, 2, 1, 1};
    Bytes tiled(32, 0xAB), linear(1, 0xCD);
    EXPECT_EQ(tiler.tileSurfaceRegion(tiled.data(), linear.data(), &element, 1, 1), kStatusSuccess);
    EXPECT_EQ(tiled[0], 0xDB);
    linear[0] = 0x12;
    EXPECT_EQ(tiler.detileSurfaceRegion(linear.data(), tiled.data(), &element, 1, 1), kStatusSuccess);
    EXPECT_EQ(linear[0], 0x1D);
    EXPECT_EQ(tiled[1], 0xAB);
}

template <typename Direction> void expectKernelsAgree(unsigned bytes) {
    const MicroTileRow row = {0, 64 * bytes, 2, 16, 3};
    const std::size_t pitch = 40 * bytes + 3;
    const Bytes tiled = randomBytes(2 * 16 * row.m_microBytes), linear = randomBytes(8 * pitch);
    const auto moved = [&](const PlaneKernels<Direction>& kernels) {
        std::pair<Bytes, Bytes> sides(tiled, linear);
        kernels.m_movePlanes(sides.first.data(), sides.second.data(), pitch, row, 1, 5);
        return sides;
    };
    EXPECT_EQ(moved(planeKernels<Direction>(bytes, false)),
              moved(portablePlaneKernels<Direction>(bytes, false)));
}

TEST(Tilers, KernelsOfTheProcessorAgreeWithThePortableOnes) {
    for (const unsigned bytes : {1u, 2u, 4u}) {
        expectKernelsAgree<ToTiled>(bytes);
        expectKernelsAgree<ToLinear>(bytes);
    }
}

TEST(Tilers, RefuseWhatTheyCannotMove) {
    const auto parameters = makeParameters(14, 32, 2, {64, 64, 1});
    const auto unusable = makeParameters(14, 12, 1, {64, 64, 1});
    const Tiler2d tiler(&parameters), none(&unusable);
    const SurfaceRegion whole = {0, 0, 0, 64, 64, 1}, reversed = {8, 8, 0, 4, 4, 1};
    const SurfaceRegion beyond = {64, 0, 0, 80, 8, 1};
    Bytes tiled(32768), linear(16384, 1);
    void* const to = tiled.data();
    const void* const from = linear.data();
    EXPECT_EQ(tiler.tileSurfaceRegion(nullptr, from, &whole, 64, 0), kStatusInvalidArgument);
    EXPECT_EQ(tiler.tileSurfaceRegion(to, nullptr, &whole, 64, 0), kStatusInvalidArgument);
    EXPECT_EQ(tiler.tileSurfaceRegion(to, from, nullptr, 64, 0), kStatusInvalidArgument);
    EXPECT_EQ(tiler.tileSurfaceRegion(to, from, &whole, 64, 2), kStatusInvalidArgument);
    EXPECT_EQ(none.tileSurfaceRegion(to, from, &whole, 64, 0), kStatusInvalidArgument);
    EXPECT_EQ(tiler.tileSurfaceRegion(to, from, &reversed, 64, 0), kStatusSuccess);
    EXPECT_EQ(tiler.tileSurfaceRegion(to, from, &beyond, 64, 0), kStatusSuccess);
    EXPECT_EQ(tiled, Bytes(32768));
    std::uint64_t offset = 1;
    EXPECT_EQ(tiler.getTiledElementBitOffset(&offset, 64, 0, 0, 0), kStatusInvalidArgument);
    EXPECT_EQ(offset, 0u);
}

TEST(SurfaceInfo, ChoosesModeAndPaddingBySize) {
    // tile mode, bits, fragments, size; array mode, padded size, macro tile, bytes, alignment
    constexpr std::uint64_t kRows[][14] = {
        {13, 32, 1, 5, 3, 1, 2, 8, 8, 1, 1, 1, 256, 256},
        {14, 32, 1, 64, 64, 1, 4, 64, 64, 1, 8, 8, 16384, 16384},
        {14, 32, 1, 63, 64, 1, 2, 64, 64, 1, 1, 1, 16384, 256},
        {14, 32, 8, 5, 3, 1, 4, 64, 64, 1, 8, 8, 131072, 16384},
        {19, 8, 1, 9, 9, 5, 3, 16, 16, 8, 1, 1, 2048, 256},
        {19, 8, 1, 9, 9, 3, 2, 16, 16, 3, 1, 1, 768, 256},
        {20, 8, 1, 31, 32, 4, 3, 32, 32, 4, 1, 1, 4096, 256},
        {25, 8, 1, 40, 32, 8, 8, 64, 32, 8, 4, 4, 16384, 8192},
        {25, 8, 1, 40, 32, 5, 7, 64, 32, 8, 4, 4, 16384, 4096},
        {26, 8, 1, 40, 32, 3, 2, 40, 32, 3, 1, 1, 3840, 256},
        {22, 32, 1, 64, 64, 4, 9, 64, 64, 4, 8, 8, 65536, 65536},
        {16, 64, 1, 128, 64, 1, 5, 128, 64, 1, 16, 8, 65536, 65536},
        {16, 96, 1, 64, 64, 1, 5, 64, 64, 1, 8, 8, 49152, 65536},
        {8, 32, 1, 9, 3, 2, 1, 16, 3, 2, 1, 1, 384, 256},
        {31, 8, 2, 9, 3, 1, 0, 16, 3, 1, 1, 1, 96, 256},
        {28, 32, 1, 8, 8, 1, 2, 8, 8, 1, 1, 1, 256, 256},
    };
    for (const auto& row : kRows) {
        const auto at = [&row](unsigned column) { return static_cast<unsigned>(row[column]); };
        const auto parameters = makeParameters(at(0), at(1), at(2), {at(3), at(4), at(5)});
        SurfaceInfo info;
        ASSERT_EQ(computeSurfaceInfo(&info, &parameters), kStatusSuccess);
        const std::uint64_t computed[] = {info.m_arrayMode, info.m_pitch,     info.m_height,
                                          info.m_depth,     info.m_macroWide, info.m_macroTall,
                                          info.m_size,      info.m_alignment};
        EXPECT_TRUE(std::equal(std::begin(computed), std::end(computed), row + 6)) << describe(parameters);
    }
}

TEST(SurfaceInfo, RefusesElementsAndSizesThatItCannotCount) {
    constexpr unsigned kMost = 0xFFFFFFFF;
    const TilingParameters refused[] = {
        {},
        makeParameters(13, 12, 1, {8, 8, 1}),
        makeParameters(13, 136, 1, {8, 8, 1}),
        makeParameters(32, 32, 1, {8, 8, 1}),
        makeParameters(13, 8, 1, {kMost, 1, 1}), // the padded pitch does not fit
        makeParameters(8, 128, 1, {kMost - 7, kMost, 1}),
        makeParameters(8, 128, kMost, {1u << 16, 1u << 16, 1}),
    };
    SurfaceInfo info;
    std::uint64_t size = 1;
    unsigned alignment = 1;
    for (const TilingParameters& parameters : refused) {
        EXPECT_EQ(computeSurfaceInfo(&info, &parameters), kStatusInvalidArgument) << describe(parameters);
        EXPECT_EQ(computeUntiledSurfaceSize(&size, &alignment, &parameters), kStatusInvalidArgument);
        EXPECT_EQ(info.m_size + size + alignment, 0u);
    }
    const auto large = makeParameters(13, 8, 1, {8, 8, kMost});
    EXPECT_EQ(computeTiledSurfaceSize(&size, &alignment, &large), kStatusSuccess);
    EXPECT_EQ(size, std::uint64_t{kMost} * 64);
}

TEST(TilingParameters, RefuseWhatHasNoBytes) {
    TilingParameters parameters;
    Vex::Texture texture;
    texture.initAs2d(8, 8, 2, {33}, Vex::kTileModeThin_1dThin, Vex::kNumFragments1); // a row without bytes
    EXPECT_EQ(parameters.initFromTexture(&texture, 0, 0), kStatusInvalidArgument);
    EXPECT_EQ(parameters.m_width, 0u);
    texture.setDataFormat(kR8);
    EXPECT_EQ(parameters.initFromTexture(&texture, 1, 0), kStatusSuccess);
    EXPECT_EQ(parameters.initFromTexture(&texture, 2, 0), kStatusInvalidArgument);
    Vex::DepthRenderTarget depth;
    depth.m_depthBits = 24;
    EXPECT_EQ(parameters.initFromDepthSurface(&depth, 0), kStatusInvalidArgument);
}

TEST(TextureLayout, GoesMipByMipWithSlicesAtAConstantStride) {
    Vex::Texture cube;
    const auto total =
        cube.initAs2dArray(64, 64, 2, 0, 4, kR8, Vex::kTileModeThin_1dThin, Vex::kNumFragments1, true);
    EXPECT_EQ(total.m_size, 12u * (4096 + 1024 + 256 + 256));
    EXPECT_EQ(total.m_align, 256u);
    std::uint64_t offset, size;
    EXPECT_EQ(computeTextureSurfaceOffsetAndSize(&offset, &size, &cube, 2, 7), kStatusSuccess);
    EXPECT_EQ(offset, 12u * (4096 + 1024) + 7 * 256);
    EXPECT_EQ(size, 256u);
    EXPECT_EQ(computeTextureSurfaceOffsetAndSize(&offset, &size, &cube, 2, 12), kStatusInvalidArgument);
    EXPECT_EQ(computeTextureSurfaceOffsetAndSize(&offset, &size, &cube, 4, 0), kStatusInvalidArgument);
    EXPECT_EQ(offset + size, 0u);

    Vex::Texture volume; // 1d mips behind a 2d one, and all slices in one surface
    volume.initAs3d(64, 64, 6, 3, kR8, Vex::kTileModeThick_2dThick);
    EXPECT_EQ(computeTextureSurfaceOffsetAndSize(&offset, &size, &volume, 2, 0), kStatusSuccess);
    EXPECT_EQ(offset, 64u * 64 * 8 + 32 * 32 * 3);
    EXPECT_EQ(size, 256u);
    EXPECT_EQ(computeTextureSurfaceOffsetAndSize(&offset, &size, &volume, 0, 1), kStatusInvalidArgument);

    Vex::Texture invalid;
    const auto nothing = invalid.initAs2d(8, 8, 1, {0}, Vex::kTileModeThin_1dThin, Vex::kNumFragments1);
    EXPECT_EQ(nothing.m_size, 0u);
    EXPECT_EQ(nothing.m_align, 256u);
}

TEST(Descriptors, KeepTheirFieldsInTheirPlaces) {
    Vex::Texture texture;
    std::fill(std::begin(texture.m_regs), std::end(texture.m_regs), 0xFFFFFFFF);
    texture.setDataFormat({0xFF555549}); // what does not fit is cut off, here and below
    texture.setMinLodClamp(0xFAAA);
    texture.setWidthMinus1(0xFEAAA);
    texture.setHeightMinus1(0xFD555);
    texture.setMipLevelRange(0xF5, 0xFA);
    texture.setTileMode(Vex::TileMode(0xF5));
    texture.setTextureType(Vex::kTextureType2dArray);
    texture.setDepthMinus1(0xFEAAA);
    texture.setPitchMinus1(0xF5555);
    texture.setNumFragments(Vex::NumFragments(0xFA));
    texture.setArrayView(0xF5555, 0xFEAAA);
    texture.setResourceMemoryType(Vex::kResourceMemoryTypePrivate);
    const std::uint32_t expected[8] = {0xFFFFFFFF,
                                       0xFF | 0xAAA << 8 | 0x09 << 20 | 5 << 26 | 3u << 30,
                                       0x2AAA | 0x1555 << 14 | 15u << 28,
                                       0x555 | 5 << 12 | 10 << 16 | 21 << 20 | 7 << 25 | 13u << 28,
                                       0x0AAA | 0x1555 << 13 | 2 << 27 | 7u << 29,
                                       0x1555 | 0x0AAA << 13 | 63u << 26,
                                       0xFFFFF | 96 << 20 | 31u << 27,
                                       0xFFFFFFFF};
    EXPECT_TRUE(std::equal(std::begin(expected), std::end(expected), texture.m_regs));
    EXPECT_EQ(texture.getDataFormat().m_word, 0x555509u);
    EXPECT_EQ(texture.getResourceMemoryType(), Vex::kResourceMemoryTypePrivate);
    EXPECT_EQ(texture.getMinLodClamp(), 0xAAAu);

    Vex::Buffer buffer;
    buffer.setFormat({0xFF924F3A});
    buffer.setStride(0xFFFF);
    buffer.setResourceMemoryType(Vex::kResourceMemoryTypeSystemCoherent);
    EXPECT_EQ(buffer.m_regs[1], 0x3FFF0000u);
    EXPECT_EQ(buffer.m_regs[3], 0x924u | 15u << 12 | 0x3Au << 16 | 110u << 22);
    EXPECT_EQ(buffer.getDataFormat().m_word, 0x924F3Au);
}

TEST(Descriptors, InitGivesTypeCountsAndViewOfEachShape) {
    using Fields =
        std::vector<unsigned>; // type, width, height, depth, last mip, last slice, fragments, pitch
    constexpr auto kMode = Vex::kTileModeThin_1dThin;
    constexpr unsigned kMost = 0xFFFFFFFF;
    Vex::Texture t;
    const auto fields = [&](Vex::SizeAlign) {
        EXPECT_EQ(t.m_regs[0] | t.m_regs[7] | t.getBaseMipLevel() | t.getBaseArraySlice(), 0u);
        EXPECT_EQ(t.getTileMode(), kMode);
        EXPECT_EQ(t.getResourceMemoryType(), Vex::kResourceMemoryTypeReadOnly);
        return Fields{t.getTextureType(),  t.getWidth(),          t.getHeight(),       t.getDepth(),
                      t.getLastMipLevel(), t.getLastArraySlice(), t.getNumFragments(), t.getPitch()};
    };
    const auto flat = [&](unsigned w, unsigned h, unsigned mips, Vex::DataFormat format, unsigned fragments) {
        return fields(t.initAs2d(w, h, mips, format, kMode, Vex::NumFragments(fragments)));
    };
    const auto array = [&](unsigned w, unsigned h, unsigned slices, unsigned pitch, unsigned mips,
                           unsigned fragments, bool cube) {
        const auto log2 = Vex::NumFragments(fragments);
        return fields(t.initAs2dArray(w, h, slices, pitch, mips, kR8, kMode, log2, cube));
    };
    t.m_regs[0] = t.m_regs[7] = kMost;
    EXPECT_EQ(flat(300, 200, 5, kR8, 0), (Fields{9, 300, 200, 1, 4, 0, 0, 304}));
    EXPECT_EQ(flat(9, 9, 1, kR8, 2), (Fields{14, 9, 9, 1, 0, 0, 2, 16}));
    EXPECT_EQ(flat(7, 7, 1, {0}, 0), (Fields{9, 7, 7, 1, 0, 0, 0, 7}));
    EXPECT_EQ(array(8, 9, 1, 0, 1, 0, false), (Fields{13, 8, 9, 1, 0, 0, 0, 8}));
    EXPECT_EQ(array(8, 9, 4, 99, 1, 0, false), (Fields{13, 8, 9, 4, 0, 3, 0, 99}));
    EXPECT_EQ(array(8, 8, 4, 0, 1, 3, false), (Fields{15, 8, 8, 4, 0, 3, 3, 8}));
    EXPECT_EQ(array(8, 8, 2, 0, 1, 0, true), (Fields{11, 8, 8, 2, 0, 11, 0, 8}));
    EXPECT_EQ(array(kMost, kMost, kMost, kMost, kMost, 0, true),
              (Fields{11, 16384, 16384, 1365, 15, 8189, 0, 16384}));
    EXPECT_EQ(fields(t.initAs3d(8, 9, 10, 4, kR8, kMode)), (Fields{10, 8, 9, 10, 3, 0, 0, 8}));
    EXPECT_EQ(fields(t.initAs3d(0, 0, 0, 0, kR8, kMode)), (Fields{10, 1, 1, 1, 0, 0, 0, 8}));
}

TEST(DataFormats, TellBitsBytesAndComponents) {
    constexpr unsigned kRows[][4] = {{0, 0, 0, 0},   {13, 96, 12, 3}, {33, 0, 0, 0},  {35, 4, 8, 4},
                                     {38, 4, 8, 1},  {39, 8, 16, 2},  {40, 8, 16, 3}, {41, 8, 16, 4},
                                     {58, 16, 2, 3}, {59, 0, 0, 0},   {255, 0, 0, 0}};
    for (const auto& [number, bits, bytes, components] : kRows) {
        Vex::DataFormat format;
        format.init(Vex::SurfaceFormat(number), Vex::kTextureChannelTypeFloat, Vex::kTextureChannelW,
                    Vex::kTextureChannelX, Vex::kTextureChannel1, Vex::kTextureChannel0);
        EXPECT_EQ(format.m_word, number | 0x067700u);
        EXPECT_EQ(format.getBitsPerElement(), bits) << number;
        EXPECT_EQ(format.getBytesPerElement(), bytes) << number;
        EXPECT_EQ(format.getNumComponents(), components) << number;
    }
}
