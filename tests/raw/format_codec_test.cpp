#include "raw/format_codec.h"
#include "raw/format_generic.h"
#include "raw/format_kernels.h"
#include "raw/srgb.h"
#include "support/bit_patterns.h"
#include "support/report_recorder.h"
#include "support/slow_codec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

namespace qor::Texsmith::Raw {
namespace {

using TestSupport::bitsOf;
using TestSupport::floatOf;
using TestSupport::laneBits;
using TestSupport::RandomBits;
using TestSupport::ReportRecorder;
using TestSupport::SlowCodec;

constexpr std::uint32_t kXyzw = 0xFAC000;
constexpr unsigned kChannelTypes[] = {0, 1, 2, 3, 4, 5, 6, 7, 9, 10, 11, 12, 13};

Vex::DataFormat makeWord(unsigned surfaceFormat, unsigned type, std::uint32_t selects = kXyzw) {
    return {surfaceFormat | type << 8 | selects};
}

bool isPacked(unsigned surfaceFormat) {
    return g_surfaceFormatInfo[surfaceFormat].encodeTexels == g_surfaceFormatInfo[1].encodeTexels;
}

// A block of exactly so many bytes: the sanitizer sees an access beside it.
std::unique_ptr<std::uint8_t[]> exactly(std::size_t bytes) { return std::make_unique<std::uint8_t[]>(bytes); }

EncoderConfiguration configurationFor(Vex::DataFormat format) {
    Vex::Texture texture;
    texture.setDataFormat(format);
    EncoderConfiguration configuration;
    configuration.setTexture(&texture);
    return configuration;
}

// Elements in which every channel of up to 16 bits takes all its values, or its ends and random ones.
std::vector<std::uint8_t> elementsOf(const SlowCodec& slow, RandomBits& random) {
    const unsigned widest = std::max({slow.width(0), slow.width(1), slow.width(2), slow.width(3)});
    const unsigned count = 1u << std::min(widest, 16u);
    std::vector<std::uint8_t> elements(std::size_t{count} * slow.bytes());
    for (unsigned i = 0; i < count; ++i) {
        for (unsigned channel = 0; channel < 4; ++channel) {
            const std::uint32_t ends[] = {0, ~0u, slow.mask(channel) / 2, slow.mask(channel) / 2 + 1};
            const std::uint32_t wide = i < 4 ? ends[i] : random.word();
            slow.insert(&elements[std::size_t{i} * slow.bytes()], channel,
                        slow.width(channel) > 16 ? wide : i * (2 * channel + 1) + channel);
        }
    }
    return elements;
}

class CodecPair {
public:
    CodecPair(unsigned surfaceFormat, unsigned type)
        : m_slow(surfaceFormat), m_row(g_surfaceFormatInfo[surfaceFormat]), m_type(type),
          m_format(makeWord(surfaceFormat, type)) {}

    // In runs of many lengths, over destinations that hold `kept` in each lane.
    std::vector<VectorFloat> decodeAll(const std::vector<std::uint8_t>& elements, std::uint32_t kept) const {
        const auto count = static_cast<int>(elements.size() / m_slow.bytes());
        std::vector<VectorFloat> texels(static_cast<std::size_t>(count));
        for (int done = 0, run = 1; done < count; done += run, run = run % 37 + 1) {
            run = std::min(run, count - done);
            const auto bytes = static_cast<std::size_t>(run) * m_slow.bytes();
            const auto source = exactly(bytes);
            std::copy_n(&elements[static_cast<std::size_t>(done) * m_slow.bytes()], bytes, source.get());
            const float lane = floatOf(kept);
            std::fill_n(&texels[static_cast<std::size_t>(done)], run, VectorFloat{{lane, lane, lane, lane}});
            m_row.Decode(&texels[static_cast<std::size_t>(done)], source.get(), &m_format, run);
        }
        return texels;
    }
    void expectDecoded(const std::vector<std::uint8_t>& elements, const std::vector<VectorFloat>& texels,
                       std::uint32_t kept) const {
        for (std::size_t i = 0; i < texels.size(); ++i) {
            for (unsigned lane = 0; lane < 4; ++lane) {
                const std::uint32_t raw =
                    m_slow.width(lane) == 0 ? kept : m_slow.extract(&elements[i * m_slow.bytes()], lane);
                ASSERT_EQ(m_slow.decode(raw, lane, m_type), laneBits(texels[i], lane))
                    << "raw " << std::hex << raw << " lane " << lane;
            }
        }
    }
    void expectEncoded(const std::vector<VectorFloat>& texels) const {
        for (std::size_t done = 0; done < texels.size(); done += 16) {
            const std::size_t run = std::min<std::size_t>(texels.size() - done, 1 + done / 16 % 16);
            const auto stored = exactly(run * m_slow.bytes());
            m_row.Encode(stored.get(), &texels[done], &m_format, static_cast<int>(run));
            for (std::size_t i = 0; i < run * 4; ++i) {
                const auto lane = static_cast<unsigned>(i % 4);
                const std::uint32_t value = laneBits(texels[done + i / 4], lane);
                ASSERT_EQ(m_slow.encode(value, lane, m_type),
                          m_slow.extract(&stored[i / 4 * m_slow.bytes()], lane))
                    << "value " << std::hex << value << " lane " << lane;
            }
        }
    }

private:
    SlowCodec m_slow;
    const SurfaceFormatInfo& m_row;
    unsigned m_type;
    Vex::DataFormat m_format;
};

TEST(FormatCodec, EveryFormatAndChannelTypeAgreesWithTheSlowCodec) {
    RandomBits random;
    for (unsigned format = 0; format < Vex::kSurfaceFormatCount; ++format) {
        if (!isPacked(format)) {
            continue;
        }
        const std::vector<std::uint8_t> elements = elementsOf(SlowCodec(format), random);
        std::vector<std::uint8_t> few(
            elements.begin(), elements.begin() + std::min<std::ptrdiff_t>(std::ssize(elements),
                                                                          48 * SlowCodec(format).bytes()));
        for (const unsigned type : kChannelTypes) {
            SCOPED_TRACE(testing::Message() << "format " << format << " type " << type);
            const CodecPair pair(format, type);
            const std::vector<VectorFloat> texels = pair.decodeAll(elements, 0);
            ASSERT_NO_FATAL_FAILURE(pair.expectDecoded(elements, texels, 0));
            ASSERT_NO_FATAL_FAILURE(pair.expectEncoded(texels));
            for (const std::uint32_t kept : {0x80000000u, 0xFFFFFFFFu, 0x3F800000u, random.word()}) {
                ASSERT_NO_FATAL_FAILURE(pair.expectDecoded(few, pair.decodeAll(few, kept), kept));
            }
            std::vector<VectorFloat> values(1500);
            for (VectorFloat& value : values) {
                value = {{floatOf(random.lane()), floatOf(random.lane()), floatOf(random.lane()),
                          floatOf(random.lane())}};
            }
            ASSERT_NO_FATAL_FAILURE(pair.expectEncoded(values));
        }
    }
}

TEST(FormatCodec, KernelsGiveTheBitsOfTheGenericCodec) {
    RandomBits random;
    unsigned kernels = 0;
    constexpr int kCount = 20011;
    for (std::uint32_t word = 0; word < 0x1000; ++word) {
        const Vex::DataFormat format = {word};
        const auto decode = findDecodeKernel(format);
        const auto encode = findEncodeKernel(format);
        if (decode == nullptr && encode == nullptr) {
            continue;
        }
        SCOPED_TRACE(testing::Message() << std::hex << word);
        ASSERT_TRUE(isPacked(word & 0xFF));
        const SurfaceFormatInfo& row = g_surfaceFormatInfo[word & 0xFF];
        const std::size_t bytes = std::size_t{row.bytesPerElement} * kCount;
        const auto stored = exactly(bytes), expectedStored = exactly(bytes);
        std::vector<VectorFloat> expected(kCount), texels(kCount);
        random.fill(stored.get(), bytes);
        genericDecode(expected.data(), stored.get(), row, format.getTextureChannelType(), kCount);
        decode(texels.data(), stored.get(), kCount);
        EXPECT_EQ(0, std::memcmp(expected.data(), texels.data(), kCount * sizeof(VectorFloat)));
        kernels += 1 + (encode != nullptr ? 1 : 0);
        if (encode != nullptr) {
            std::generate_n(texels[0].m_lanes, 4 * kCount, [&] { return floatOf(random.lane()); });
            genericEncode(expectedStored.get(), texels.data(), row, format.getTextureChannelType(), kCount);
            encode(stored.get(), texels.data(), kCount);
            EXPECT_EQ(0, std::memcmp(expectedStored.get(), stored.get(), bytes));
        }
    }
    EXPECT_GE(kernels, 40u);
}

TEST(FormatCodec, SixteenBitFloatKernelCompressesEveryFloatLikeTheGenericCodec) {
    const Vex::DataFormat format = makeWord(Vex::kSurfaceFormat16, 7);
    const auto encode = findEncodeKernel(format);
    const std::uint64_t step = TestSupport::runsSlowly() ? 1 : 4099;
    for (std::uint64_t bits = 0; bits <= 0xFFFFFFFF; bits += step) {
        const VectorFloat texel = {{floatOf(static_cast<std::uint32_t>(bits))}};
        std::uint16_t fast = 0, expected = 0;
        encode(&fast, &texel, 1);
        genericEncode(&expected, &texel, g_surfaceFormatInfo[2], Vex::kTextureChannelTypeFloat, 1);
        ASSERT_EQ(expected, fast) << std::hex << bits;
    }
}

// What one channel stores, and what it reads, where the rules are surprising.
TEST(FormatCodec, Corners) {
    constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const struct {
        unsigned m_surfaceFormat, m_type;
        float m_value;
        std::uint32_t m_stored;
    } kStored[] = {
        {1, 0, 0.5f, 128},         {1, 0, kNan, 0},
        {1, 0, 2.0f, 255},         {1, 1, -1.0f, 0x81},
        {1, 1, kNan, 0x81},        {17, 1, 1.0f, 15},
        {4, 0, 1.0f, 0xFFFFFFFF},  {4, 1, 1.0f, 0x7FFFFFFF},
        {4, 1, -1.0f, 0x80000000}, {20, 0, 1.0f, 0},
        {20, 2, 1e9f, 0},          {20, 6, 1.0f, 0x800000},
        {20, 1, 1.0f, 0x7FFFFF},   {20, 10, 1.0f, 0xFFFFFF},
        {20, 11, 1.0f, 0xFFFFFF},  {6, 7, -1.0f, 0},
        {6, 7, 1e30f, 0x7BF},      {6, 7, 1e-30f, 0x040},
        {6, 7, 0.0f, 0},           {6, 7, kNan, 0},
        {2, 7, 65520.0f, 0x7BFF},  {2, 7, -0.0f, 0x8000},
        {2, 7, kInfinity, 0x7C00}, {2, 7, 1e-7f, 0x0400},
        {18, 3, 7.0f, 0},          {18, 3, -7.0f, 1},
        {18, 1, -1.0f, 0},         {4, 3, -1e20f, 0x80000000},
    };
    for (const auto& corner : kStored) {
        const Vex::DataFormat format = makeWord(corner.m_surfaceFormat, corner.m_type);
        const VectorFloat texel = {{corner.m_value}};
        std::uint8_t stored[16] = {};
        g_surfaceFormatInfo[corner.m_surfaceFormat].encodeOne(stored, &texel, &format);
        EXPECT_EQ(corner.m_stored, SlowCodec(corner.m_surfaceFormat).extract(stored, 0))
            << corner.m_surfaceFormat << " " << corner.m_type << " " << corner.m_value;
    }
    const struct {
        unsigned m_surfaceFormat, m_type;
        std::uint32_t m_stored, m_bits;
    } kRead[] = {{1, 1, 0x80, 0xBF800000},        {18, 1, 1, 0xBF800000},
                 {2, 7, 0x7C00, 0x7F800000},      {2, 7, 0x0001, 0x00002000},
                 {4, 11, 0x80000000, 0xC0000000}, {4, 11, 0xFFFFFFFF, 0xBF800000},
                 {20, 6, 0x800000, 0xBF800000}};
    for (const auto& corner : kRead) {
        const Vex::DataFormat format = makeWord(corner.m_surfaceFormat, corner.m_type);
        std::uint8_t stored[16];
        std::memcpy(stored, &corner.m_stored, 4);
        VectorFloat texel = {};
        g_surfaceFormatInfo[corner.m_surfaceFormat].decodeOne(&texel, stored, &format);
        EXPECT_EQ(corner.m_bits, laneBits(texel, 0)) << corner.m_surfaceFormat << " " << corner.m_type;
    }
}

TEST(FormatCodec, ChannelTypesWithoutAMeaningReadAndStoreZeros) {
    for (const unsigned type : {8u, 14u, 15u}) {
        const Vex::DataFormat format = makeWord(Vex::kSurfaceFormat8_8_8_8, type);
        std::uint32_t stored = 0x12345678;
        VectorFloat texel = {{1, 2, 3, 4}};
        g_surfaceFormatInfo[10].decodeOne(&texel, &stored, &format);
        EXPECT_EQ(0u, laneBits(texel, 0) | laneBits(texel, 1) | laneBits(texel, 2) | laneBits(texel, 3));
        g_surfaceFormatInfo[10].encodeOne(&stored, &texel, &format);
        EXPECT_EQ(0u, stored);
    }
}

TEST(FormatCodec, EveryPairOfSelectsMovesLanesAndBytes) {
    RandomBits random;
    for (unsigned index = 0; index < 4096; ++index) {
        std::uint32_t lanes[12], expectedLanes[12];
        std::uint8_t bytes[48], expectedBytes[48];
        random.fill(lanes, sizeof lanes);
        random.fill(bytes, sizeof bytes);
        for (unsigned i = 0; i < 48; ++i) {
            const unsigned select = index >> 3 * (3 - i % 4) & 7;
            const unsigned from = i / 4 * 4 + (select & 3);
            expectedLanes[i % 12] = select >= 4 ? lanes[from % 12] : select == 1 ? 0x3F800000 : 0;
            expectedBytes[i] = select >= 4 ? bytes[from] : select == 1 ? 255 : 0;
        }
        alignas(16) VectorFloat texels[3];
        std::memcpy(texels, lanes, sizeof lanes);
        g_swizzleFloat[index](texels, 3);
        g_swizzle8[index](bytes, 3);
        ASSERT_EQ(0, std::memcmp(texels, expectedLanes, sizeof texels)) << std::oct << index;
        ASSERT_EQ(0, std::memcmp(bytes, expectedBytes, sizeof bytes)) << std::oct << index;
    }
    const Vex::DataFormat identity = {kXyzw};
    EXPECT_EQ(g_swizzleFloat[swizzleIndex(identity)], g_swizzle8[swizzleIndex(identity)]);
    EXPECT_EQ(g_swizzleFloat[02346], g_swizzleFloat[00046]);
}

TEST(FormatCodec, RunsAboveSixteenAreReportedOnceAndEncodedWhole) {
    const EncoderConfiguration configuration = configurationFor({0xFAC00A});
    std::vector<VectorFloat> texels(17, {{0, 0.5f, 1, 1}});
    std::vector<std::uint32_t> expected(17, 0xFFFF8000), stored(17);
    const Vex::DataFormat format = {0xFAC00A};
    ReportRecorder recorder;
    encodeTexelRun(stored.data(), texels.data(), &configuration, 17);
    EXPECT_EQ(expected, stored);
    EXPECT_EQ("Assertion 'count <= kMaxCount' failed.\n", recorder.texts());
    EXPECT_EQ("raw\\format", recorder.assertions()[0].m_file);
    recorder.clear();
    for (const unsigned surfaceFormat : {10u, 9u, 17u, 34u}) {
        const Vex::DataFormat word = makeWord(surfaceFormat, 0);
        stored.assign(17, 0);
        g_surfaceFormatInfo[surfaceFormat].Encode(stored.data(), texels.data(), &word, 17);
        EXPECT_EQ(1u, recorder.assertions().size());
        recorder.clear();
    }
    g_surfaceFormatInfo[10].Decode(texels.data(), expected.data(), &format, 17);
    decodeTexelRun(texels.data(), expected.data(), &configuration, 17);
    EXPECT_EQ(1.0f, texels[16][2]);
    EXPECT_TRUE(recorder.empty());
}

TEST(FormatCodec, HardwareReadingOfSrgbRepeatsTheFirstElement) {
    const std::uint8_t source[] = {0, 255, 17, 51, 9, 9, 9, 9, 34, 34, 34, 34, 1, 1, 1, 1};
    const EncoderConfiguration four = configurationFor({0xFAC90A}), two = configurationFor({0xFAC903});
    VectorFloat texels[17];
    hardwareDecodeTexelRun(texels, source, &four, 17);
    for (const VectorFloat& texel : texels) {
        EXPECT_EQ(0x00000000u, laneBits(texel, 0));
        EXPECT_EQ(0x3F800000u, laneBits(texel, 1));
        EXPECT_EQ(0x3BB80000u, laneBits(texel, 2));
        EXPECT_EQ(bitsOf(51.0f / 255.0f), laneBits(texel, 3));
    }
    hardwareDecodeTexelRun(texels, source + 3, &two, 1); // the bytes that are not there count as 0
    EXPECT_EQ(0x3D080000u, laneBits(texels[0], 0));
    EXPECT_EQ(0u, laneBits(texels[0], 2) | laneBits(texels[0], 3));
    Block block;
    hardwareDecodeBlockAndModify(&block, source, 4, &four);
    EXPECT_EQ(0x3B8B0000u & 0xFF000000u, laneBits(block.m_texels[7], 0) & 0xFF000000u);
    EXPECT_EQ(laneBits(block.m_texels[8], 1), 0x3C830000u);
    EXPECT_EQ(laneBits(block.m_texels[11], 1), 0x3C830000u);
}

TEST(FormatCodec, SharedExponent) {
    const Vex::DataFormat format = {0x3AC722};
    const SurfaceFormatInfo& row = g_surfaceFormatInfo[34];
    const struct {
        float m_value, m_back;
    } kValues[] = {{0, 0},  {1, 1},           {1e-6f, 268 * 0x1p-23f}, {1e6f, 124928},
                   {-1, 0}, {130816, 130816}, {HUGE_VALF, 65536},      {std::nanf(""), 98304}};
    const auto storeAndRead = [&](float value) {
        const VectorFloat texel = {{value, 0, 0, 7}};
        VectorFloat back;
        std::uint32_t stored;
        row.encodeOne(&stored, &texel, &format);
        row.hardwareDecodeOne(&back, &stored, &format);
        return back;
    };
    for (const auto& value : kValues) {
        EXPECT_EQ(value.m_back, storeAndRead(value.m_value)[0]);
        EXPECT_EQ(0.0f, storeAndRead(value.m_value)[3]);
    }
    unsigned changed = 0;
    for (std::uint32_t word = 0; word < 16384; ++word) { // a mantissa and an exponent
        const std::uint32_t stored = (word & 511) * 0x40201 | word >> 9 << 27;
        VectorFloat texel;
        row.decodeOne(&texel, &stored, &format);
        ASSERT_EQ(std::ldexp(word & 511, static_cast<int>(word >> 9) - 23), texel[2]);
        changed += storeAndRead(texel[2])[0] != texel[2] ? 1 : 0;
    }
    EXPECT_EQ(502u, changed);
}

// Rows apart, rows together, and beside them bytes that must stay.
TEST(FormatCodec, BlocksAndTilesAreTheirRows) {
    RandomBits random;
    for (const std::uint32_t word :
         {0xFAC00Au, 0x22C105u, 0xFAC70Eu, 0x3AC70Du, 0x3AC722u, 0x204030u, 0x22C037u}) {
        SCOPED_TRACE(testing::Message() << std::hex << word);
        const EncoderConfiguration configuration = configurationFor({word});
        const Vex::DataFormat format = {word};
        const SurfaceFormatInfo& row = g_surfaceFormatInfo[word & 0xFF];
        const unsigned bytes = row.bytesPerElement;
        for (const unsigned pitch : {8 * bytes, 8 * bytes + 5}) {
            const std::size_t size = 7 * pitch + 8 * bytes;
            const auto source = exactly(size), tileBytes = exactly(size), blockBytes = exactly(size);
            random.fill(source.get(), size);
            Tile tile = {}, expected = {};
            Block block = {};
            row.Decode(&tile, source.get(), pitch, &configuration);
            row.Decode(&block, source.get(), pitch, &configuration);
            std::fill_n(tileBytes.get(), size, std::uint8_t{0xCD});
            std::fill_n(blockBytes.get(), size, std::uint8_t{0xCD});
            row.Encode(tileBytes.get(), pitch, &tile, &configuration);
            row.Encode(blockBytes.get(), pitch, &block, &configuration);
            for (unsigned y = 0; y < 8; ++y) {
                const std::size_t at = y * pitch;
                std::vector<std::uint8_t> stored(8 * bytes);
                row.Decode(&expected.m_texels[8 * y], &source[at], &format, 8);
                row.Encode(stored.data(), &expected.m_texels[8 * y], &format, 8);
                EXPECT_EQ(0, std::memcmp(&expected.m_texels[8 * y], &tile.m_texels[8 * y], 128));
                EXPECT_TRUE(std::equal(stored.begin(), stored.end(), &tileBytes[at]));
                EXPECT_TRUE(y == 7 || pitch == 8 * bytes || tileBytes[at + 8 * bytes] == 0xCD);
                EXPECT_EQ(y < 4, std::equal(stored.begin(), stored.begin() + 4 * bytes, &blockBytes[at]));
                EXPECT_EQ(0xCD, blockBytes[at + 4 * bytes]);
                EXPECT_TRUE(y > 3 || std::memcmp(&expected.m_texels[8 * y], &block.m_texels[4 * y], 64) == 0);
            }
        }
    }
}

TEST(FormatCodec, StepsAroundTheRowComeInTheirOrder) {
    EncoderConfiguration bgra = configurationFor({0xF2E00A});
    bgra.m_transform.m_multiply[0] = {{2, 0, 0, 0}}; // doubles red
    const std::uint8_t stored[] = {0, 51, 102, 255};
    std::uint8_t back[4] = {};
    VectorFloat texel = {};
    decodeTexelRun(&texel, stored, &bgra, 1); // no transform when reading a run
    EXPECT_EQ(bitsOf(102 * (1.0f / 255)), laneBits(texel, 0));
    encodeTexelRun(back, &texel, &bgra, 1);
    EXPECT_EQ(204, back[2]);
    std::uint8_t area[256] = {}, areaBack[256] = {};
    std::copy_n(stored, 4, area);
    Tile tile;
    decodeTileAndModify(&tile, area, 32, &bgra);
    EXPECT_EQ(bitsOf(204 * (1.0f / 255)), laneBits(tile.m_texels[0], 0));
    encodeTileAndModify(areaBack, 32, &tile, &bgra);
    EXPECT_EQ(255, areaBack[2]);
    EXPECT_EQ(51, areaBack[1]);
    Block block;
    decodeBlockAndModify(&block, area, 32, &bgra);
    EXPECT_EQ(laneBits(tile.m_texels[0], 0), laneBits(block.m_texels[0], 0));
    encodeBlockAndModify(areaBack, 32, &block, &bgra);
    EXPECT_EQ(255, areaBack[2]);
    Block8 block8;
    decodeBlock8(&block8, area, 32, &bgra); // stored bytes, swizzled
    EXPECT_EQ(102, block8.m_texels[0][0]);
    encodeBlock8(areaBack, 32, &block8, &bgra);
    EXPECT_EQ(0, std::memcmp(stored, areaBack, 4));
}

TEST(FormatCodec, SwizzlesAreNotInvertedWhenStored) {
    const VectorFloat texel = {{1, 0, 0, 0.4f}};
    std::uint8_t stored[2] = {9, 9};
    const EncoderConfiguration alpha = configurationFor({0x800001}), pair = configurationFor({0xB24003});
    encodeTexelRun(stored, &texel, &alpha, 1);
    EXPECT_EQ(0, stored[0]);
    encodeTexelRun(stored, &texel, &pair, 1);
    EXPECT_EQ(255, stored[0]);
    EXPECT_EQ(255, stored[1]);
}

TEST(FormatCodec, IntegersSurviveAndAbsentChannelsReadTheSameEachTime) {
    const std::int32_t negative[64] = {-1, -2, -8388609};
    const EncoderConfiguration integers = configurationFor({0xFAC504}), noZero = configurationFor({0xFAC601});
    Tile tile;
    std::memset(static_cast<void*>(&tile), 0xCD, sizeof tile);
    decodeTileAndModify(&tile, negative, 32, &integers);
    EXPECT_EQ(0xFF7FFFFFu, laneBits(tile.m_texels[2], 0));
    EXPECT_EQ(0u, laneBits(tile.m_texels[2], 3));
    Block block;
    std::memset(static_cast<void*>(&block), 0xCD, sizeof block);
    decodeBlockAndModify(&block, negative, 4, &noZero);
    EXPECT_EQ(-1.0f, block.m_texels[5][2]);
}

TEST(FormatCodec, RowsWithoutFunctionsLeaveZeros) {
    const EncoderConfiguration empty = configurationFor({0x3AC021}), invalid = configurationFor({0});
    for (const EncoderConfiguration* configuration : {&empty, &invalid}) {
        const std::uint8_t source[4] = {};
        std::uint8_t stored[4] = {7};
        Tile tile;
        std::memset(static_cast<void*>(&tile), 0xCD, sizeof tile);
        decodeTileAndModify(&tile, source, 0, configuration);
        EXPECT_EQ(0u, laneBits(tile.m_texels[63], 2) & 0x7FFFFFFF);
        encodeTileAndModify(stored, 0, &tile, configuration);
        encodeTexelRun(stored, tile.m_texels, configuration, 1);
        EXPECT_EQ(7, stored[0]);
    }
}

TEST(Srgb, PowersAreThePreciseOnesRounded) {
    const std::uint32_t step = TestSupport::runsSlowly() ? 1 : 11;
    unsigned differences = 0;
    std::string list;
    for (std::uint32_t bits = 0; bits <= 0x40000000; bits += bits < 0x3B000000 ? step * 1024 : step) {
        const float x = floatOf(bits);
        const bool same = bitsOf(SlowCodec::fromSrgb(x)) == bitsOf(srgbDecode(x)) &&
                          bitsOf(SlowCodec::toSrgb(x)) == bitsOf(srgbEncode(x));
        if (!same && differences++ < 20) {
            list += std::to_string(bits) + " ";
        }
    }
    EXPECT_EQ(0u, differences) << list;
    EXPECT_EQ(1.0f, srgbDecode(2.0f));
    EXPECT_EQ(0.0f, srgbDecode(std::nanf("")));
    EXPECT_EQ(0x3F7FFFFFu, bitsOf(srgbEncode(1.0f)));
}

TEST(Srgb, TablesFollowTheCurve) {
    constexpr std::uint16_t kKnown[] = {0x0000, 0x3BB8, 0x3C83, 0x3D08, 0x3D6D, 0x3DBA, 0x3E08, 0x3E3D,
                                        0x3E7C, 0x3EA3, 0x3ECE, 0x3EFE, 0x3F1B, 0x3F39, 0x3F5B, 0x3F80};
    const SlowCodec bytes(Vex::kSurfaceFormat8_8_8_8);
    for (unsigned byte = 0; byte < 256; ++byte) {
        const std::uint32_t bits = bytes.decode(byte, 0, 9);
        EXPECT_EQ(bits, bitsOf(g_srgbDecodedBytes[byte])) << byte;
        EXPECT_EQ((bits + 0x8000) >> 16, g_hardwareSrgbWords[byte]) << byte;
        EXPECT_TRUE(byte % 17 != 0 || kKnown[byte / 17] == g_hardwareSrgbWords[byte]) << byte;
        EXPECT_EQ(byte, bytes.encode(bits, 0, 9));
        EXPECT_EQ(byte, bytes.encode(std::uint32_t{g_hardwareSrgbWords[byte]} << 16, 0, 9));
    }
}

} // namespace
} // namespace qor::Texsmith::Raw
