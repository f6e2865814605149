#include "qor/texsmith/texsmith.h"
#include "raw/mips/choose_downsample.h"
#include "raw/mips/downsample_window.h"
#include "raw/mips/halving_kernels.h"
#include "raw/texels/srgb_bytes.h"
#include "simd/dispatch.h"
#include "support/hooked_manager.h"
#include "support/report_recorder.h"
#include "support/surfaces.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <vector>

namespace {

using namespace qor;
using namespace qor::Texsmith;
using namespace TestSupport;

constexpr char kFloats[] = "R32G32B32A32Float";

Vex::Texture makeVolume(const char* format, unsigned width, unsigned height, unsigned depth, unsigned mips) {
    return makeTexture({"", Vex::kTextureType3d, width, height, depth, mips, 0, 0}, formatNamed(format));
}

// The left half of a wider surface, whose right half is somebody else's.
class LeftHalf : public TestImage {
public:
    explicit LeftHalf(const Vex::Texture& texture, unsigned seed = 0)
        : TestImage(texture, seed), m_bytes(bytes().size() * 2, 0xA5) {}
    std::vector<std::uint8_t> m_bytes;

private:
    const std::type_info* doGetRowsClass() const override { return &typeid(LeftHalf); }
    Raw::ElementRows doGetElementRows(const Raw::SurfaceIndex* index) const override {
        std::size_t offset = 0;
        for (unsigned mip = 0; mip < index->mip; ++mip) {
            offset += std::size_t{getBytes(mip)} * 2;
        }
        const unsigned wide = getPixelsWide(index->mip), tall = getPixelsTall(index->mip);
        return {const_cast<std::uint8_t*>(m_bytes.data()) + offset, std::size_t{wide} * 8, wide, tall};
    }
};

using Rgba = std::array<float, 4>;
Rgba& texel(TestImage& image, const Raw::SurfaceIndex& index, unsigned x, unsigned y) {
    const auto row = reinterpret_cast<Rgba*>(image.getMemoryRegion(&index).begin);
    return row[y * image.getPixelsWide(index.mip) + x];
}

Raw::SurfaceIndex at(unsigned mip, unsigned depth = 0) {
    Raw::SurfaceIndex index;
    index.mip = mip;
    index.depth = depth;
    return index;
}

TEST(Windows, EqualExactQuotientsAndStayInside) {
    for (unsigned source = 1; source < 200; ++source) {
        for (unsigned destination = 1; destination <= source; ++destination) {
            for (const unsigned x : {0u, destination / 2, destination - 1}) {
                const Raw::Window window = Raw::windowUnder(x, source, destination);
                const long double scale = static_cast<long double>(source);
                ASSERT_EQ(window.m_begin, std::floor(x * scale / destination))
                    << source << ' ' << destination;
                ASSERT_EQ(window.m_end, std::ceil((x + 1) * scale / destination));
                ASSERT_LE(window.m_end, source);
            }
        }
    }
}

// A box filter leaves a constant alone, whatever the sizes, and the windows of the edge count only texels
// that exist.
TEST(MipMaps, KeepAConstantInEveryFormat) {
    for (const char* format : {"R8G8B8A8Unorm", "R8G8B8A8UnormSrgb", "R8G8B8A8Uint", "R16G16Snorm", "R16Uint",
                               "R16Sint", kFloats}) {
        for (const unsigned size : {55u, 57u, 64u, 93u}) {
            TestImage source(makeFlat(format, size, size - 2));
            std::fill(source.bytes().begin(), source.bytes().end(), std::uint8_t{0x3F});
            Raw::MemoryMappedImage mips;
            Configuration configuration = onThisThread();
            ASSERT_EQ(0, Raw::makeMipMaps(&source, &mips, formatNamed(format), &configuration));
            const MemoryRegion made = mips.getMemoryRegion();
            for (const std::uint8_t* byte = made.begin; byte < made.end; ++byte) {
                ASSERT_EQ(*byte, 0x3F) << format << ' ' << size << " byte " << byte - made.begin;
            }
        }
    }
}

// What of a block lies beyond the edge is no reason to change the block. There are more callbacks than rows.
TEST(MipMaps, FillBlocksBeyondTheEdgeWithTheEdge) {
    TestImage source(makeFlat("R8Unorm", 203, 149));
    std::fill(source.bytes().begin(), source.bytes().end(), std::uint8_t{0x3F});
    Raw::MemoryMappedImage mips;
    Configuration configuration = onThisThread();
    ReportRecorder reports;
    ASSERT_EQ(0, Raw::makeMipMaps(&source, &mips, formatNamed("Bc4Unorm"), &configuration));
    EXPECT_EQ(reports.texts(), "");
    const Raw::SurfaceIndex first = at(1);
    const std::uint8_t* block = mips.getMemoryRegion(&first).begin;
    for (const std::uint8_t* other = block; other < mips.getMemoryRegion().end; other += 8) {
        ASSERT_EQ(std::memcmp(block, other, 8), 0) << other - block;
    }
    Raw::MemoryMappedImage decoded;
    Raw::reallocate(&decoded, &mips, formatNamed("R8Unorm"));
    ASSERT_EQ(Raw::kErrorNone, Raw::reformat(&mips, &decoded, &configuration));
    EXPECT_EQ(*decoded.getMemoryRegion(&first).begin, 0x3F);
}

// Against the mean in doubles of an independent walk, for ratios that are no whole numbers: a ramp keeps its
// centre, and a mean of anything is the mean.
TEST(MipMaps, AreMeansOfWhatLiesUnderThem) {
    for (const auto& [from, to] :
         {std::pair{23u, 5u}, {62u, 7u}, {64u, 32u}, {6u, 3u}, {40u, 10u}, {5u, 5u}}) {
        TestImage source(makeFlat(kFloats, from, from)), destination(makeFlat(kFloats, to, to));
        for (unsigned i = 0; i < from * from; ++i) {
            const auto x = static_cast<float>(i % from);
            texel(source, kFirstSurface, i % from, i / from) = {x, static_cast<float>(i * 7919 % 101), 0, 1};
        }
        Configuration configuration = onThisThread();
        ASSERT_EQ(0, Raw::surfaceDownsample2d(&source, {}, &destination, {}, &configuration));
        double ramp = 0;
        for (unsigned i = 0; i < to * to; ++i) {
            const unsigned x = i % to, y = i / to;
            double sum = 0, count = 0;
            for (unsigned v = y * from / to; v * to < (y + 1) * from; ++v) {
                for (unsigned u = x * from / to; u * to < (x + 1) * from; ++u, ++count) {
                    sum += static_cast<double>(texel(source, kFirstSurface, u, v)[1]);
                }
            }
            const Rgba made = texel(destination, kFirstSurface, x, y);
            ASSERT_NEAR(made[1], sum / count, 1e-4) << from << " to " << to << " at " << x << ", " << y;
            ramp += static_cast<double>(made[0]);
        }
        EXPECT_NEAR(ramp / (to * to), (from - 1) / 2.0, 1e-4); // sums of about 50 floats
    }
}

Vex::Texture evenFlat(const char* format, unsigned mips) { return makeFlat(format, 1184, 136, mips); }
Vex::Texture oddFlat(const char* format, unsigned mips) { return makeFlat(format, 35, 57, mips); }
Vex::Texture twiceOdd(const char* format, unsigned mips) { return makeFlat(format, 38, 6, mips); }
Vex::Texture evenVolume(const char* format, unsigned mips) { return makeVolume(format, 40, 16, 8, mips); }
Vex::Texture oddVolume(const char* format, unsigned mips) { return makeVolume(format, 16, 8, 7, mips); }

// Rows in memory against blocks, which the base line makes, one callback against many and against a pool.
TEST(MipMaps, AreTheSameBitsEveryWay) {
    Raw::ThreadpoolJobManager pool;
    for (const char* format : {"R8G8B8A8Unorm", "R8G8B8A8Snorm", "B8G8R8A8UnormSrgb", "R8G8B8A8UnormSrgb",
                               "R5G6B5Unorm", "R16G16B16A16Float", "R8G8B8A8Uint", kFloats}) {
        for (const auto make : {&evenFlat, &oddFlat, &twiceOdd, &evenVolume, &oddVolume}) {
            const Vex::Texture shape = make(format, 1), chain = make(format, 3);
            TestImage source(shape, 5);
            ImageByTiles blockwise(shape, 5), byBlocks(chain);
            TestImage byRows(chain), shared(chain);
            Configuration one = onThisThread(), many = configurationOf(&pool);
            one.m_callbacksPerJob = 1;
            ASSERT_EQ(0, Raw::makeMipMaps(&source, &byRows, &one));
            Simd::allowAvx2(false);
            ASSERT_EQ(0, Raw::makeMipMaps(&blockwise, &byBlocks, &one));
            Simd::allowAvx2(true);
            ASSERT_EQ(0, Raw::makeMipMaps(&source, &shared, &many));
            EXPECT_EQ(byRows.bytes(), byBlocks.bytes()) << format;
            EXPECT_EQ(byRows.bytes(), shared.bytes()) << format;
        }
    }
}

TEST(MipMaps, WriteNothingBesideTheirRows) {
    LeftHalf source(makeFlat("R8G8B8A8Unorm", 32, 16)), made(makeFlat("R8G8B8A8Unorm", 32, 16, 3));
    std::fill(source.m_bytes.begin(), source.m_bytes.end(), std::uint8_t{0x3F});
    Configuration configuration = onThisThread();
    ASSERT_EQ(0, Raw::makeMipMaps(&source, &made, &configuration));
    std::size_t offset = 0;
    for (unsigned mip = 0; mip < 3; ++mip) {
        for (unsigned row = 0; row < made.getPixelsTall(mip); ++row) {
            for (unsigned byte = 0; byte < made.getPixelsWide(mip) * 8; ++byte, ++offset) {
                const bool isOurs = byte < made.getPixelsWide(mip) * 4;
                ASSERT_EQ(made.m_bytes[offset], isOurs ? 0x3F : 0xA5) << mip << ' ' << row << ' ' << byte;
            }
        }
    }
}

std::vector<std::uint8_t> halveBytes(
    const char* format, std::vector<std::uint8_t> bytes, unsigned size,
    const std::function<void(TestImage&)>& change = [](TestImage&) {}) {
    TestImage source(makeFlat(format, size, size)), destination(makeFlat(format, size / 2, size / 2));
    source.bytes() = std::move(bytes);
    source.resize(source.bytes().size());
    change(source);
    Configuration configuration = onThisThread();
    EXPECT_EQ(0, Raw::surfaceDownsample2d(&source, {}, &destination, {}, &configuration));
    return destination.bytes();
}

// Bytes round up at each of two steps: at most one above the float mean, and never below it.
TEST(MipMaps, AverageBytesLikeFloatsWithinOne) {
    const auto scaled = [](TestImage& image) { // by one, but not by the identity
        Raw::Modifiers modifiers;
        modifiers.m_decode.m_add = {{1e-9f, 0, 0, 0}};
        image.setModifiers(modifiers);
    };
    TestImage noise(makeFlat("R8G8B8A8Unorm", 64, 64), 9);
    for (const char* format : {"R8G8B8A8Unorm", "R8G8B8A8Snorm"}) {
        const auto asBytes = halveBytes(format, noise.bytes(), 64);
        const auto asFloats = halveBytes(format, noise.bytes(), 64, scaled);
        const bool isSigned = format[9] == 'n' && format[8] == 'S';
        for (std::size_t i = 0; i < asBytes.size(); ++i) {
            const auto value = [=](std::uint8_t byte) {
                return isSigned ? int{static_cast<std::int8_t>(byte)} : int{byte};
            };
            ASSERT_LE(std::abs(value(asBytes[i]) - value(asFloats[i])), 1) << format << ' ' << i;
        }
    }
    std::vector<std::uint8_t> steps(8 * 8 * 4, 1);
    for (std::size_t i = 0; i < steps.size(); i += 8) {
        std::fill_n(&steps[i], 4, std::uint8_t{2});
    }
    EXPECT_EQ(halveBytes("R8G8B8A8Unorm", steps, 8), std::vector<std::uint8_t>(4 * 4 * 4, 2));
}

TEST(MipMaps, AverageSrgbAsLight) {
    std::vector<std::uint8_t> checker(8 * 8 * 4);
    for (unsigned i = 0; i < 64; ++i) {
        std::fill_n(&checker[i * 4], 4, (i + i / 8) % 2 != 0 ? std::uint8_t{255} : std::uint8_t{0});
    }
    const auto half = halveBytes("R8G8B8A8UnormSrgb", checker, 8);
    EXPECT_EQ(std::vector<std::uint8_t>(half.begin(), half.begin() + 4),
              (std::vector<std::uint8_t>{188, 188, 188, 128}));
}

// All squares of bytes that are near each other, and some that are not, in both orders of the sum.
TEST(MipMaps, AverageSrgbBytesAsTheirFloats) {
    if (Raw::halveSrgbKernel(false) == nullptr) {
        GTEST_SKIP() << "this build goes through floats always";
    }
    const auto decoded = [](std::uint8_t byte) { return Raw::g_srgbBytes.m_floats[byte]; };
    std::vector<std::uint8_t> upper, lower, made;
    for (unsigned least = 0; least < 256; ++least) {
        const unsigned reach = std::min(least / 16 + 8, 256 - least), count = reach * reach * reach * reach;
        upper.resize(8 * count);
        lower.resize(8 * count);
        made.resize(4 * count);
        for (unsigned i = 0; i < count; ++i) {
            std::fill_n(&upper[8 * i], 4, std::uint8_t(least + i % reach));
            std::fill_n(&upper[8 * i + 4], 4, std::uint8_t(least + i / reach % reach));
            std::fill_n(&lower[8 * i], 4, std::uint8_t(least + i / (reach * reach) % reach));
            std::fill_n(&lower[8 * i + 4], 4, std::uint8_t(least + i / (reach * reach * reach)));
        }
        const std::uint8_t* rows[] = {upper.data(), lower.data()};
        for (const bool isInOrder : {false, true}) {
            Raw::halveSrgbKernel(isInOrder)(made.data(), rows, count);
            for (unsigned i = 0; i < count; ++i) {
                const std::uint8_t a = upper[8 * i], b = upper[8 * i + 4], c = lower[8 * i],
                                   d = lower[8 * i + 4];
                const float top = decoded(a) + decoded(b);
                const float sum = isInOrder ? top + decoded(c) + decoded(d) : top + (decoded(c) + decoded(d));
                ASSERT_EQ(made[4 * i + 1], Raw::srgbByte(sum * 0.25f))
                    << +a << ' ' << +b << ' ' << +c << ' ' << +d;
                ASSERT_EQ(made[4 * i + 3], (a + b + c + d + 2) / 4);
            }
        }
    }
}

TEST(MipMaps, AverageVolumesOfOddDepthInAllThreeDirections) {
    TestImage source(makeVolume(kFloats, 5, 4, 7, 1)), chain(makeVolume(kFloats, 5, 4, 7, 3));
    for (unsigned z = 0; z < 7; ++z) {
        for (unsigned i = 0; i < 20; ++i) {
            texel(source, at(0, z), i % 5, i / 5) = {static_cast<float>(z), static_cast<float>(i % 5), 0, 1};
        }
    }
    Configuration configuration = onThisThread();
    ASSERT_EQ(0, Raw::makeMipMaps(&source, &chain, &configuration));
    for (const unsigned z : {0u, 1u, 2u}) { // 7 slices to 3: each covers three, the shared ones twice
        EXPECT_EQ(texel(chain, at(1, z), 0, 0)[0], 1.0f + 2.0f * static_cast<float>(z));
    }
    EXPECT_EQ(texel(chain, at(1), 0, 0)[1], 1.0f);
    EXPECT_EQ(texel(chain, at(2), 0, 0)[0], 3.0f);
    configuration.m_encoderConfiguration.m_mipsFromPreviousMip = false;
    ASSERT_EQ(0, Raw::makeMipMaps(&source, &chain, &configuration));
    EXPECT_EQ(texel(chain, at(2), 0, 0)[0], 3.0f);
    EXPECT_EQ(texel(chain, at(2), 0, 0)[1], 2.0f);
}

TEST(MipMaps, MakeTheDescriptorOfTheSource) {
    for (const Shape& shape : kShapes) {
        TestImage source(makeTexture(shape, formatNamed("R8Unorm")), 3);
        Raw::MemoryMappedImage made;
        const bool isMsaa = shape.m_log2Fragments != 0;
        ReportRecorder reports;
        unsigned progress = 10;
        Configuration configuration = onThisThread();
        const int error =
            Raw::makeMipMaps(&source, &made, formatNamed("R16Unorm"), &configuration, &progress);
        if (isMsaa) {
            TestImage sameShape(source.getTexture());
            EXPECT_NE(error, 0);
            EXPECT_NE(Raw::makeMipMaps(&source, &sameShape, &configuration), 0);
            EXPECT_EQ(reports.texts(), "can't make mips for an MSAA texture.\n"
                                       "can't make mips for an MSAA texture.\n");
            continue;
        }
        EXPECT_EQ(error, 0) << shape.m_name << reports.texts();
        EXPECT_TRUE(reports.empty()) << reports.texts();
        EXPECT_TRUE(Raw::dimensionsAreIdenticalExceptMips(&source, &made)) << shape.m_name;
        const Raw::SurfaceCount count = made.getSurfaceCount();
        EXPECT_EQ(count.mips, shape.m_width < 16 ? 4u : 5u) << shape.m_name;
        EXPECT_EQ(progress, 10 + count.mips * count.faces * count.arrayEntries) << shape.m_name;
    }
}

TEST(MipMaps, StopWithTheirOwnErrorAndKeepWhatIsDone) {
    for (const char* format : {"R8G8B8A8Unorm", "R8G8B8A8Uint"}) {
        TestImage source(makeFlat("R8G8B8A8Unorm", 512, 256), 7);
        Raw::MemoryMappedImage whole;
        Configuration configuration = onThisThread();
        ASSERT_EQ(Raw::makeMipMaps(&source, &whole, formatNamed(format), &configuration), 0);
        for (const int jobs : {0, 1}) {
            Raw::MemoryMappedImage made;
            volatile unsigned abort = 0;
            int left = jobs;
            HookedManager manager([&](const Raw::Job&) { abort = left-- <= 0 ? 1 : 0; });
            Configuration stopped = configurationOf(&manager);
            stopped.m_abort = &abort;
            unsigned progress = 0;
            EXPECT_EQ(Raw::makeMipMaps(&source, &made, formatNamed(format), &stopped, &progress),
                      static_cast<int>(Raw::kErrorAborted));
            EXPECT_GE(progress, static_cast<unsigned>(jobs));
            EXPECT_LT(progress, whole.getSurfaceCount().mips);
            for (unsigned mip = 0; mip < progress; ++mip) {
                const Raw::SurfaceIndex index = at(mip);
                const auto expected = whole.getMemoryRegion(&index), finished = made.getMemoryRegion(&index);
                EXPECT_EQ(std::memcmp(expected.begin, finished.begin, expected.length()), 0) << mip;
            }
        }
    }
}

TEST(MipMaps, ReportWhatTheyCannotUse) {
    TestImage image(makeFlat("R8Unorm", 8, 8)), other(makeFlat("R8Unorm", 8, 4, 2));
    ReportRecorder reports;
    Configuration configuration = onThisThread();
    Raw::makeMipMaps(&image, &other, &configuration);
    EXPECT_EQ(reports.assertions().at(0).m_text,
              "source and destination must have same dimensions, except for mips");
    reports.clear();
    Raw::MemoryMappedImage chain;
    ASSERT_EQ(Raw::makeMipMaps(&image, &chain, formatNamed("R8Unorm"), &configuration), 0);
    const Raw::SurfaceIndex top;
    Raw::AsSurfaceElementProvider view(&chain, &top);
    Raw::ElementProvider* const sources[] = {&chain, &view};
    for (Raw::ElementProvider* const source : sources) {
        reports.clear();
        EXPECT_NE(Raw::makeMipMaps(source, &chain, formatNamed("R16Unorm"), &configuration), 0);
        EXPECT_EQ(reports.texts(), "source and destination must not be the same image.\n");
        EXPECT_EQ(chain.getDataFormat(), formatNamed("R8Unorm"));
    }
}

TEST(MipMaps, AreMadeOfSurfacesThatExist) {
    TestImage source(makeVolume("R8Unorm", 8, 8, 4, 1), 1), made(makeVolume("R8Unorm", 4, 4, 2, 1));
    Configuration configuration = onThisThread();
    const std::vector<std::uint8_t> before = made.bytes();
    for (const Raw::SurfaceIndex index : {at(0, 2), at(0, 0xFFFFFFFF), at(1), at(31)}) {
        const ReportRecorder reports;
        EXPECT_NE(Raw::surfaceDownsample3d(&source, {}, &made, index, &configuration), 0);
        EXPECT_NE(
            Raw::surfaceDownsample2d(&source, index.mip == 0 ? at(0, 4) : index, &made, {}, &configuration),
            0);
        EXPECT_EQ(reports.texts(), "Assertion 'destinationIndex is a surface of destination' failed.\n"
                                   "Assertion 'sourceIndex is a surface of source' failed.\n");
    }
    EXPECT_EQ(made.bytes(), before);
}

TEST(MipMaps, WithoutMemoryToWorkInReportOnce) {
    TestImage source(makeFlat("R8Unorm", 1022, 1022), 1);
    Raw::MemoryMappedImage made;
    Raw::ThreadpoolJobManager pool;
    Configuration configuration = configurationOf(&pool);
    configuration.m_allocator.m_allocate = [](void*, unsigned long long, unsigned long long) -> void* {
        return nullptr;
    };
    for (const auto mode : {ReportRecorder::kReturn, ReportRecorder::kThrow}) {
        const ReportRecorder reports(mode);
        EXPECT_NE(Raw::makeMipMaps(&source, &made, formatNamed("Bc4Unorm"), &configuration), 0);
        EXPECT_EQ(reports.texts(), "there is no memory to make a mip in.\n");
    }
}

TEST(MipMaps, AreSharedOutWhateverTheNumberOfCallbacks) {
    TestImage source(makeFlat("R8G8B8A8Unorm", 1024, 1024), 1);
    for (const unsigned callbacks : {2u, 32u}) {
        Raw::MemoryMappedImage made;
        unsigned shared = 0; // jobs that more than one thread may work on
        HookedManager manager([&](const Raw::Job& job) { shared += job.getCallbacks() > 1 ? 1u : 0u; });
        Configuration configuration = configurationOf(&manager);
        configuration.m_callbacksPerJob = callbacks;
        ASSERT_EQ(Raw::makeMipMaps(&source, &made, source.getDataFormat(), &configuration), 0);
        EXPECT_EQ(shared, 2u) << callbacks; // mips 0 with 1, and 2
    }
}

} // namespace
