#include "raw/rows/row_conversion.h"

#include "qor/vex/data_formats.h"
#include "raw/texels/srgb.h"
#include "raw/texels/srgb_bytes.h"
#include "simd/dispatch.h"
#include "support/conversions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iomanip>
#include <numeric>

namespace qor::Texsmith::Raw {
namespace {

using namespace TestSupport;
using TestSupport::stepsBetween;

// Those with kernels for their pairs: 8_8_8_8 UNorm and sRGB, 2_10_10_10, 5_6_5, words, halves, floats.
constexpr std::uint32_t kFrequent[] = {0x00A, 0x90A, 0x009, 0x010, 0x00C, 0x70C, 0x70E};

// Runs `make()`'s conversion with all instruction sets and stores, on runs that begin at every element of an
// aligned vector and, where the length is odd, end with the allocation, where the sanitizer watches.
template <typename Make>
void expectRuns(const char* what, Vex::DataFormat from, Vex::DataFormat to, Make make, const Bytes& source,
                const Bytes& expected, std::initializer_list<std::size_t> longRuns) {
    const unsigned fromBytes = bytesPerElement(from), toBytes = bytesPerElement(to);
    std::vector<std::size_t> runs(71);
    std::iota(runs.begin(), runs.end(), 0);
    runs.insert(runs.end(), longRuns);
    for (const bool wide : {false, true}) {
        Simd::allowAvx2(wide);
        const auto conversion = make();
        for (const std::size_t run : runs) {
            const RowStores stores =
                run / 3 % 2 != 0 || run > 1000 ? RowStores::kStreaming : RowStores::kCached;
            const std::size_t before = run % 17 * toBytes + (run % 11 == 5), behind = run % 2 != 0 ? 0 : 32;
            const Bytes exact(source.begin(), source.begin() + static_cast<long>(run * fromBytes));
            Bytes result(before + run * toBytes + behind, 0xA5), whole = result;
            std::copy_n(expected.begin(), run * toBytes, whole.begin() + static_cast<long>(before));
            conversion.convert(result.data() + before, exact.data(), run, stores);
            ASSERT_EQ(result == whole, true)
                << what << std::hex << " from 0x" << from.m_word << " to 0x" << to.m_word << std::dec << ", "
                << run << " elements, " << (wide ? "wide" : "base line");
        }
    }
    Simd::allowAvx2(true);
}

void expectSteps(Vex::DataFormat from, Vex::DataFormat to, const Bytes& source, std::size_t longRun) {
    const TileConversion steps = stepsBetween(from, to);
    const std::size_t most = std::max<std::size_t>(longRun, 70);
    expectRuns("rows", from, to, [&] { return RowConversion(steps); }, source, byTiles(steps, source, most),
               {longRun});
}

TEST(RowConversion, GivesTheBitsOfTheStepsForFrequentPairsWithAnySwizzles) {
    RandomBits random;
    constexpr std::size_t kLong = 16384 + 37; // all halves, in texels of four
    for (const std::uint32_t from : kFrequent) {
        const Bytes source = elementsOf({from}, 4 * kLong, random);
        for (const std::uint32_t to : kFrequent) {
            expectSteps({from | kXyzw}, {to | kXyzw}, source, from == 0x010 ? 4 * kLong : kLong);
            for (unsigned i = 0; i < 12; ++i) {
                expectSteps(withSwizzle(from, random), withSwizzle(to, random), source, 1100);
            }
        }
    }
}

TEST(RowConversion, GivesTheBitsOfTheStepsForFewChannelsInTheirPlaces) {
    RandomBits random;
    constexpr std::size_t kLong = 65536 + 91;
    constexpr std::uint32_t kOne[] = {0x001, 0x002, 0x702, 0x704}, kTwo[] = {0x003, 0x005, 0x705, 0x70B};
    for (unsigned from = 0; from < 4; ++from) {
        const Bytes one = elementsOf({kOne[from]}, kLong, random),
                    two = elementsOf({kTwo[from]}, kLong, random);
        for (unsigned to = 0; to < 4; ++to) {
            expectSteps({kOne[from] | kXyzw}, {kOne[to] | kXyzw}, one, kLong);
            expectSteps({kTwo[from] | 0x22C000}, {kTwo[to] | kXyzw}, two, kLong); // X, Y, 0, 1
        }
    }
}

// Alone: denormals and NaNs, which the test above has in every run, take another way.
TEST(RowConversion, CutsNumbersToHalvesAsTheStepsDo) {
    RandomBits random;
    Bytes source;
    for (std::uint32_t upper = 0; upper < 0x10000; ++upper) {
        const std::uint32_t exponent = upper >> 7 & 0xFF;
        const std::uint32_t bits = exponent == 0 || exponent == 0xFF
                                       ? (upper << 16 & 0x80000000) | exponent << 23
                                       : upper << 16 | (random.word() & 0xFFFF);
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(&bits);
        source.insert(source.end(), bytes, bytes + sizeof bits);
    }
    expectSteps({kXyzw | 0x70E}, {kXyzw | 0x70C}, source, 0x4000);
}

// Those whose elements are texels, with every channel type that they can have.
std::vector<std::uint32_t> allFormats() {
    std::vector<std::uint32_t> formats;
    for (unsigned format = 1; format < Vex::kSurfaceFormatCount; ++format) {
        for (unsigned type = 0; type < 14; ++type) {
            if (type != 8 && RowConversion::canConvert({format}, {format})) {
                formats.push_back(type << 8 | format);
            }
        }
    }
    return formats;
}

TEST(RowConversion, GivesTheBitsOfTheStepsForAllPairsOfFormatsPlainAndTransformed) {
    constexpr std::size_t kCount = 43;
    RandomBits random;
    const std::vector<std::uint32_t> formats = allFormats();
    ASSERT_GT(formats.size(), 400u);
    unsigned turn = 0;
    for (const std::uint32_t first : formats) {
        const Vex::DataFormat from = withSwizzle(first, random);
        const Bytes source = elementsOf(from, kCount, random);
        for (const std::uint32_t second : formats) {
            const Vex::DataFormat to = withSwizzle(second, random);
            constexpr float kPowers[] = {1, 1, 1, 2, 0.5f, 2.2f};
            const Transform none = noTransform(), some = someTransform(kPowers[turn % std::size(kPowers)]);
            const TileConversion transformed =
                stepsBetween(from, to, turn % 3 != 1 ? some : none, turn % 3 != 2 ? some : none);
            for (const TileConversion& steps : {stepsBetween(from, to), transformed}) {
                Simd::allowAvx2(++turn / 2 % 2 != 0);
                Bytes result(kCount * bytesPerElement(to));
                RowConversion(steps).convert(result.data(), source.data(), kCount, RowStores::kCached);
                ASSERT_EQ(result == byTiles(steps, source, kCount), true)
                    << std::hex << "from 0x" << from.m_word << " to 0x" << to.m_word << ", turn " << turn;
            }
        }
    }
    Simd::allowAvx2(true);
}

TEST(RowConversion, GivesTheBitsOfTheStepsForAnyRunOfAnyFormat) {
    RandomBits random;
    const std::vector<std::uint32_t> formats = allFormats();
    std::vector<std::uint32_t> destinations = formats;
    std::mt19937 order(1);
    std::shuffle(destinations.begin(), destinations.end(), order);
    for (std::size_t i = 0; i < formats.size(); ++i) {
        const Vex::DataFormat from = withSwizzle(formats[i], random);
        expectSteps(from, withSwizzle(destinations[i], random), elementsOf(from, 700, random), 700);
    }
}

void swizzleTexel(std::uint8_t* texel, Vex::DataFormat format) {
    const std::uint8_t values[8] = {0, 255, 0, 0, texel[0], texel[1], texel[2], texel[3]};
    for (unsigned lane = 0; lane < 4; ++lane) {
        texel[lane] = values[format.getChannel(lane)];
    }
}

TEST(ByteConversion, TakesOneSwizzleAfterTheOther) {
    RandomBits random;
    const Bytes source = elementsOf({0x00A}, 1100, random);
    for (std::uint32_t selects = 0; selects < 4096; ++selects) {
        // Each as either of the two, and with another of its kind.
        const std::uint32_t other = random.word() & 0xFFF000, own = selects << 12;
        const bool first = random.word() % 2 != 0;
        const Vex::DataFormat from = {0x00A | (first ? own : other)}, to = {0x00A | (first ? other : own)};
        Bytes expected = source;
        for (std::size_t at = 0; at < expected.size(); at += 4) {
            swizzleTexel(&expected[at], from);
            swizzleTexel(&expected[at], to);
        }
        const bool isCommon = selects % 61 == 0;
        const std::size_t run = isCommon ? 1100 : 35;
        for (const bool wide : {false, true}) {
            Simd::allowAvx2(wide);
            Bytes result(run * 4);
            ByteConversion(from, to).convert(result.data(), source.data(), run, RowStores::kCached);
            ASSERT_TRUE(std::equal(result.begin(), result.end(), expected.begin()))
                << std::hex << from.m_word << " to " << to.m_word;
        }
        if (isCommon) {
            expectRuns("bytes", from, to, [&] { return ByteConversion(from, to); }, source, expected, {1100});
        }
    }
    Simd::allowAvx2(true);
    const Vex::DataFormat same = {0x00A | kXyzw}, swapped = Vex::kDataFormatB8G8R8A8Unorm; // its own inverse
    for (const Vex::DataFormat format : {same, swapped}) {
        expectRuns("identity", format, format, [&] { return ByteConversion(format, format); }, source, source,
                   {1100});
    }
}

std::uint32_t slowSrgbByte(std::uint32_t bits) {
    const float encoded = srgbEncode(floatOf(bits));
    return static_cast<std::uint32_t>(255.0f * encoded + 0.5f);
}

TEST(SrgbBytes, AgreeWithTheCurveOnBothSidesOfEveryStep) {
    std::vector<std::uint32_t> floats;
    std::uint32_t last = 0;
    for (std::uint32_t byte = 1; byte < 256; ++byte) { // the first float with this byte
        std::uint32_t low = last, high = bitsOf(1.0f);
        while (high - low > 1) {
            const std::uint32_t middle = low + (high - low) / 2;
            (slowSrgbByte(middle) < byte ? low : high) = middle;
        }
        ASSERT_EQ(slowSrgbByte(high), byte);
        floats.insert(floats.end(), {high - 1, high, high + 1});
        last = high;
    }
    for (std::uint64_t bits = 0; bits <= 0xFFFFFFFF; bits += 0x7FFF) {
        floats.push_back(static_cast<std::uint32_t>(bits));
    }
    floats.insert(floats.end(), {0x7F800000, 0xFF800000, 0x7FC00000, 0xFFC00000, 0x80000000, 0x39000000});
    floats.resize(floats.size() / 4 * 4);
    Bytes source(floats.size() * 4), expected(floats.size());
    std::memcpy(source.data(), floats.data(), source.size());
    for (std::size_t i = 0; i < floats.size(); ++i) {
        const float clamped = std::min(std::max(0.0f, floatOf(floats[i])), 1.0f); // a NaN gives 0
        const auto linear = static_cast<std::uint8_t>(255.0f * clamped + 0.5f);
        const auto curved = static_cast<std::uint8_t>(slowSrgbByte(floats[i]));
        expected[i] = i % 4 == 3 ? linear : curved;
        ASSERT_EQ(srgbByte(floatOf(floats[i])), curved) << std::hex << floats[i];
    }
    const Vex::DataFormat from = {kXyzw | 0x70E}, to = {kXyzw | 0x90A};
    const TileConversion steps = stepsBetween(from, to);
    expectRuns("sRGB", from, to, [&] { return RowConversion(steps); }, source, expected, {floats.size() / 4});
}

TEST(CopyRow, CopiesFromAndToAnyAddress) {
    RandomBits random;
    Bytes source(9000);
    random.fill(source.data(), source.size());
    for (std::size_t bytes = 0; bytes < 9000; bytes += bytes < 200 ? 1 : 977) {
        Bytes result(bytes + bytes % 67, 0xA5), expected = result;
        const Bytes exact(source.begin(), source.begin() + static_cast<long>(bytes));
        std::copy(exact.begin(), exact.end(), expected.begin() + static_cast<long>(bytes % 67));
        copyRow(result.data() + bytes % 67, exact.data(), bytes, RowStores::kStreaming);
        ASSERT_EQ(result, expected) << bytes;
    }
}

} // namespace
} // namespace qor::Texsmith::Raw
