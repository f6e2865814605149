#include "raw/texels/codec.h"
#include "raw/texels/generic_codec.h"
#include "raw/texels/kernels.h"
#include "raw/texels/srgb.h"
#include "simd/dispatch.h"
#include "support/bit_patterns.h"
#include "support/report_recorder.h"
#include "support/slow_codec.h"
#include "support/surfaces.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <tuple>

namespace qor::Texsmith::Raw {
namespace {

using TestSupport::bitsOf;
using TestSupport::encoderFor;
using TestSupport::floatOf;
using TestSupport::laneBits;
using TestSupport::RandomBits;
using TestSupport::ReportRecorder;
using TestSupport::SlowCodec;

constexpr std::uint32_t kXyzw = 0xFAC000;

bool isPacked(unsigned surfaceFormat) {
    return g_surfaceFormatInfo[surfaceFormat].encodeTexels == g_surfaceFormatInfo[1].encodeTexels;
}

// Elements in which every channel of up to 16 bits takes all its values, or its ends and random ones.
std::vector<std::uint8_t> elementsOf(const SlowCodec& slow, RandomBits& random) {
    const unsigned widest = std::max({slow.width(0), slow.width(1), slow.width(2), slow.width(3)});
    const unsigned count = 1u << (widest > 16 ? 11 : widest);
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

// The sanitizer sees what is read or written beside a vector.
using Bytes = std::vector<std::uint8_t>;

// Decodes runs of many lengths into destinations whose lanes hold `kept`, compares with the slow codec and
// with the generic one, and gives the texels.
std::vector<VectorFloat> compareDecoding(const SlowCodec& slow, Vex::DataFormat format, const Bytes& elements,
                                         std::uint32_t kept) {
    const unsigned bytes = slow.bytes(), type = format.getTextureChannelType();
    const SurfaceFormatInfo& row = getSurfaceFormatInfo(format.getSurfaceFormat());
    const float lane = floatOf(kept);
    std::vector<VectorFloat> all(elements.size() / bytes, {{lane, lane, lane, lane}}), generic(all);
    genericDecode(generic.data(), elements.data(), row, Vex::TextureChannelType(type),
                  static_cast<int>(all.size()));
    for (std::size_t done = 0, run = 1; done < all.size(); done += run, run = run % 37 + 1) {
        run = std::min(run, all.size() - done);
        const Bytes source(&elements[done * bytes], &elements[done * bytes] + run * bytes);
        const bool hardware = type != Vex::kTextureChannelTypeSrgb && run % 2 == 0; // only sRGB differs
        (hardware ? row.hardwareDecodeTexels : row.decodeTexels)(&all[done], source.data(), &format,
                                                                 static_cast<int>(run));
    }
    EXPECT_EQ(0, std::memcmp(all.data(), generic.data(), all.size() * 16)) << std::hex << format.m_word;
    for (std::size_t i = 0; i < all.size() * 4; ++i) {
        const auto c = static_cast<unsigned>(i % 4);
        const std::uint32_t raw = slow.width(c) == 0 ? kept : slow.extract(&elements[i / 4 * bytes], c);
        if (slow.decode(raw, c, type) != laneBits(all[i / 4], c)) {
            ADD_FAILURE() << std::hex << format.m_word << " raw " << raw << " lane " << c;
            break;
        }
    }
    return all;
}

void compareEncoding(const SlowCodec& slow, Vex::DataFormat format, const std::vector<VectorFloat>& texels) {
    const unsigned bytes = slow.bytes(), type = format.getTextureChannelType();
    const SurfaceFormatInfo& row = getSurfaceFormatInfo(format.getSurfaceFormat());
    for (std::size_t done = 0, run = 1; done < texels.size(); done += run, run = run % 16 + 1) {
        run = std::min(run, texels.size() - done);
        Bytes stored(run * bytes), generic(stored);
        row.Encode(stored.data(), &texels[done], &format, static_cast<int>(run));
        genericEncode(generic.data(), &texels[done], row, Vex::TextureChannelType(type),
                      static_cast<int>(run));
        ASSERT_EQ(generic, stored) << std::hex << format.m_word;
        for (std::size_t i = 0; i < run * 4; ++i) {
            const auto c = static_cast<unsigned>(i % 4);
            const std::uint32_t value = laneBits(texels[done + i / 4], c);
            ASSERT_EQ(slow.encode(value, c, type), slow.extract(&stored[i / 4 * bytes], c))
                << std::hex << format.m_word << " value " << value << " lane " << c;
        }
    }
}

std::vector<VectorFloat> randomTexels(RandomBits& random, std::size_t count) {
    std::vector<VectorFloat> texels(count);
    std::generate_n(texels[0].m_lanes, 4 * count, [&] { return floatOf(random.lane()); });
    return texels;
}

TEST(FormatCodec, EveryFormatAndChannelTypeAgreesWithTheSlowCodec) {
    RandomBits random;
    unsigned kernels = 0;
    for (unsigned word = 0; word < 0x1000; ++word) {
        const unsigned surfaceFormat = word & 0xFF;
        if (surfaceFormat >= Vex::kSurfaceFormatCount || !isPacked(surfaceFormat)) {
            continue;
        }
        const SlowCodec slow(surfaceFormat);
        const Vex::DataFormat format = {word | kXyzw};
        const Bytes elements = elementsOf(slow, random);
        const Bytes few(&elements[0],
                        &elements[std::min(elements.size() - 1, std::size_t{48} * slow.bytes())]);
        compareEncoding(slow, format, compareDecoding(slow, format, elements, 0));
        for (const std::uint32_t kept : {0x80000000u, 0xFFFFFFFFu, 0x3F800000u, random.word()}) {
            compareDecoding(slow, format, few, kept);
        }
        const bool isFast = findDecodeKernel(format) != nullptr;
        compareEncoding(slow, format, randomTexels(random, isFast ? 20000 : 1000));
        kernels += isFast ? 1 : 0;
    }
    EXPECT_EQ(25u, kernels);
}

// Where the rules are surprising: denormals, the ends, and the sums that wrap in 24 bits.
TEST(FormatCodec, Corners) {
    // clang-format off
    const std::tuple<unsigned, float, std::uint32_t> kStored[] = { // word, lane X, channel X
        {0x001, 0.5f, 128}, {0x001, NAN, 0}, {0x001, 2.0f, 255}, {0x101, NAN, 0x81}, {0x004, 1.0f, 0xFFFFFFFF},
        {0x014, 1.0f, 0}, {0x214, 1e9f, 0}, {0x614, 1.0f, 0x800000}, {0x114, 1.0f, 0x7FFFFF},
        {0xA14, 1.0f, 0xFFFFFF}, {0xB14, 1.0f, 0xFFFFFF}, {0x706, -1.0f, 0}, {0x706, 1e30f, 0x7BF},
        {0x706, 1e-30f, 0x040}, {0x702, 65520.0f, 0x7BFF}, {0x702, -0.0f, 0x8000}, {0x702, 1e-7f, 0x0400},
        {0x702, HUGE_VALF, 0x7C00}, {0x112, -1.0f, 0}, {0x312, -7.0f, 1}, {0x304, -1e20f, 0x80000000}};
    const std::tuple<unsigned, std::uint32_t, std::uint32_t> kRead[] = { // word, channel X, lane X
        {0x101, 0x80, 0xBF800000}, {0x112, 1, 0xBF800000}, {0x702, 0x7C00, 0x7F800000}, {0x702, 1, 0x00002000},
        {0xB04, 0x80000000, 0xC0000000}, {0xB04, 0xFFFFFFFF, 0xBF800000}, {0x614, 0x800000, 0xBF800000}};
    // clang-format on
    for (const auto& [word, value, expected] : kStored) {
        const Vex::DataFormat format = {word};
        const VectorFloat texel = {{value}};
        std::uint8_t stored[16] = {};
        getSurfaceFormatInfo(format.getSurfaceFormat()).encodeOne(stored, &texel, &format);
        EXPECT_EQ(expected, SlowCodec(word & 0xFF).extract(stored, 0)) << std::hex << word;
    }
    for (const auto& [word, stored, expected] : kRead) {
        const Vex::DataFormat format = {word};
        VectorFloat texel = {};
        getSurfaceFormatInfo(format.getSurfaceFormat()).decodeOne(&texel, &stored, &format);
        EXPECT_EQ(expected, laneBits(texel, 0)) << std::hex << word;
    }
}

TEST(FormatCodec, EveryPairOfSelectsMovesLanesAndBytes) {
    RandomBits random;
    for (unsigned turn = 0; turn < 2 * 4096; ++turn) {
        const unsigned index = turn / 2;
        Simd::allowAvx2(turn % 2 != 0); // at last it is
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
        swizzleFloats(index, texels, 3);
        swizzleBytes(index, bytes, 3);
        ASSERT_EQ(0, std::memcmp(texels, expectedLanes, sizeof texels)) << std::oct << index;
        ASSERT_EQ(0, std::memcmp(bytes, expectedBytes, sizeof bytes)) << std::oct << index;
    }
}

TEST(FormatCodec, RunsAboveSixteenAreReportedOnceAndEncodedWhole) {
    std::vector<VectorFloat> texels(17, {{0, 0.5f, 1, 1}});
    for (const Vex::DataFormat format : {Vex::kDataFormatR8G8B8A8Unorm,
                                         Vex::kDataFormatR8G8B8A8UnormSrgb,
                                         Vex::kDataFormatR4G4B4A4Unorm,
                                         {0xFAC022}}) {
        const EncoderConfiguration configuration = encoderFor(format);
        const SurfaceFormatInfo& row = getSurfaceFormatInfo(format.getSurfaceFormat());
        Bytes single(row.bytesPerElement), run(17 * single.size()), direct(run);
        row.Encode(single.data(), texels.data(), &format, 1);
        ReportRecorder recorder;
        encodeTexelRun(run.data(), texels.data(), &configuration, 17);
        EXPECT_EQ("Assertion 'count <= kMaxCount' failed.\n", recorder.texts());
        EXPECT_EQ("raw\\format", recorder.assertions()[0].m_file);
        row.Encode(direct.data(), texels.data(), &format, 17);
        EXPECT_EQ(2u, recorder.assertions().size());
        EXPECT_EQ(run, direct);
        EXPECT_TRUE(std::equal(single.begin(), single.end(), &run[16 * single.size()]));
        decodeTexelRun(texels.data(), run.data(), &configuration, 17); // no such limit
        EXPECT_EQ(2u, recorder.assertions().size());
        texels.assign(17, {{0, 0.5f, 1, 1}});
    }
}

TEST(FormatCodec, HardwareReadingOfSrgbRepeatsTheFirstElement) {
    const std::uint8_t source[] = {0, 255, 17, 51, 9, 9, 9, 9, 34, 34, 34, 34, 1, 1, 1, 1};
    const EncoderConfiguration four = encoderFor(Vex::kDataFormatB8G8R8A8UnormSrgb),
                               two = encoderFor(Vex::DataFormat{0xFAC903});
    VectorFloat texels[17];
    hardwareDecodeTexelRun(texels, source, &four, 17);
    for (const VectorFloat& texel : texels) {
        const VectorFloat expected = {{floatOf(0x3BB80000), 1, 0, 51.0f / 255.0f}};
        EXPECT_EQ(0, std::memcmp(&expected, &texel, sizeof texel));
    }
    hardwareDecodeTexelRun(texels, source + 3, &two, 1); // the bytes that are not there count as 0
    EXPECT_EQ(0x3D080000u, laneBits(texels[0], 0));
    EXPECT_EQ(0u, laneBits(texels[0], 2) | laneBits(texels[0], 3));
    Block block;
    hardwareDecodeBlockAndModify(&block, source, 4, &four); // each row its own first element
    EXPECT_EQ(laneBits(block.m_texels[11], 1), 0x3C830000u);
}

TEST(FormatCodec, SharedExponent) {
    const Vex::DataFormat format = Vex::kDataFormatR9G9B9E5Float;
    const SurfaceFormatInfo& row = g_surfaceFormatInfo[34];
    const std::pair<float, float> kValues[] = {{257.5f, 258}, {1e-6f, 268 * 0x1p-23f}, {1e6f, 124928},
                                               {-1, 0},       {HUGE_VALF, 65536},      {NAN, 98304}};
    const auto storeAndRead = [&](float value) {
        const VectorFloat texel = {{value, 0, 0, 7}};
        VectorFloat back;
        std::uint32_t stored;
        row.encodeOne(&stored, &texel, &format);
        row.hardwareDecodeOne(&back, &stored, &format);
        return back;
    };
    for (const auto& [value, back] : kValues) {
        EXPECT_EQ(back, storeAndRead(value)[0]);
    }
    EXPECT_EQ(0.0f, storeAndRead(1)[3]);
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

// Rows apart and rows together; what stands beside them stays.
TEST(FormatCodec, BlocksAndTilesAreTheirRows) {
    RandomBits random;
    for (const std::uint32_t word : {0xFAC00A, 0x22C105, 0xFAC70E, 0x3AC70D, 0x3AC722, 0x204030, 0x22C037}) {
        const EncoderConfiguration configuration = encoderFor(Vex::DataFormat{word});
        const Vex::DataFormat format = {word};
        const SurfaceFormatInfo& row = getSurfaceFormatInfo(format.getSurfaceFormat());
        const unsigned bytes = row.bytesPerElement;
        for (const unsigned pitch : {8 * bytes, 8 * bytes + 5}) {
            SCOPED_TRACE(testing::Message() << std::hex << word << " pitch " << pitch);
            Bytes source(7 * pitch + 8 * bytes), tileBytes(source.size(), 0xCD), blockBytes(tileBytes);
            random.fill(source.data(), source.size());
            Tile tile = {}, expected = {};
            Block block = {};
            row.Decode(&tile, source.data(), pitch, &configuration);
            row.Decode(&block, source.data(), pitch, &configuration);
            row.Encode(tileBytes.data(), pitch, &tile, &configuration);
            row.Encode(blockBytes.data(), pitch, &block, &configuration);
            for (unsigned y = 0; y < 8; ++y) {
                const std::size_t at = y * pitch;
                Bytes stored(8 * bytes);
                VectorFloat* texels = &expected.m_texels[8 * y];
                row.Decode(texels, &source[at], &format, 8);
                row.Encode(stored.data(), texels, &format, 8);
                EXPECT_TRUE(y > 3 || std::memcmp(texels, &block.m_texels[4 * y], 64) == 0);
                EXPECT_TRUE(std::equal(stored.begin(), stored.end(), &tileBytes[at]));
                EXPECT_TRUE(y == 7 || pitch == 8 * bytes || tileBytes[at + 8 * bytes] == 0xCD);
                std::fill(stored.begin() + (y < 4 ? 4 * bytes : 0), stored.end(), 0xCD);
                EXPECT_TRUE(std::equal(stored.begin(), stored.end(), &blockBytes[at]));
            }
            EXPECT_EQ(0, std::memcmp(&expected, &tile, sizeof tile));
        }
    }
}

TEST(FormatCodec, StepsAroundTheRowComeInTheirOrder) {
    EncoderConfiguration bgra = encoderFor(Vex::kDataFormatB8G8R8A8Unorm);
    bgra.m_transform.m_multiply[0] = {{2, 0, 0, 0}}; // doubles red
    bgra.m_transform.m_power = {{2, 2, 2, 2}};
    const float red = 102 * (1.0f / 255);
    const std::uint8_t area[256] = {0, 51, 102, 255};
    std::uint8_t back[256];
    VectorFloat texel = {};
    decodeTexelRun(&texel, area, &bgra, 1); // no transform when reading a run
    EXPECT_EQ(red, texel[0]);
    encodeTexelRun(back, &texel, &bgra, 1);
    EXPECT_EQ(163, back[2]); // (2 * 0.4)^2
    Tile tile;
    decodeTileAndModify(&tile, area, 32, &bgra);
    EXPECT_EQ(2 * (red * red), tile.m_texels[0][0]);
    encodeTileAndModify(back, 32, &tile, &bgra);
    EXPECT_EQ(104, back[2]); // (2 * 0.32)^2
    Block block;
    decodeBlockAndModify(&block, area, 32, &bgra);
    EXPECT_EQ(2 * (red * red), block.m_texels[0][0]);
    encodeBlockAndModify(back, 32, &block, &bgra);
    EXPECT_EQ(104, back[2]);
    Block8 block8;
    decodeBlock8(&block8, area, 32, &bgra); // the stored bytes, swizzled
    EXPECT_EQ(102, block8.m_texels[0][0]);
    encodeBlock8(back, 32, &block8, &bgra);
    EXPECT_EQ(0, std::memcmp(area, back, 4));
}

TEST(FormatCodec, SwizzlesAreNotInvertedWhenStored) {
    const VectorFloat texel = {{1, 0, 0, 0.4f}};
    std::uint8_t stored[2] = {9, 9};
    const EncoderConfiguration alpha = encoderFor(Vex::kDataFormatA8Unorm),
                               pair = encoderFor(Vex::kDataFormatL8A8Unorm);
    encodeTexelRun(stored, &texel, &alpha, 1);
    EXPECT_EQ(0, stored[0]);
    encodeTexelRun(stored, &texel, &pair, 1);
    EXPECT_EQ(0xFFFF, stored[0] << 8 | stored[1]);
}

TEST(FormatCodec, AreasNeedNoClearingAndEmptyRowsNoCare) {
    const std::int32_t source[64] = {-1, -2, -8388607}; // the third is a NaN to a matrix
    const std::pair<std::uint32_t, std::array<std::uint32_t, 4>> kCases[] = {
        {0xFAC504, {0xFF800001, 0, 0, 0}},                                                 // 32 SInt
        {0xFAC601, {SlowCodec(1).decode(0xFF, 0, 6), 0xBF800000, 0xBF800000, 0xBF800000}}, // 8 SNormNoZero
        {0xFAC610,
         {SlowCodec(16).decode(30, 0, 6), SlowCodec(16).decode(63, 1, 6), SlowCodec(16).decode(31, 2, 6),
          0xBF800000}},                    // 5_6_5
        {0x3AC021, {0, 0, 0, 0x3F800000}}, // a row without functions
        {0x000000, {0, 0, 0, 0}}};
    for (const auto& [word, expected] : kCases) {
        const EncoderConfiguration configuration = encoderFor(Vex::DataFormat{word});
        Tile tile;
        std::uint8_t stored[256] = {7};
        std::memset(static_cast<void*>(&tile), 0xCD, sizeof tile);
        decodeTileAndModify(&tile, source, 32, &configuration);
        EXPECT_EQ(expected, (std::bit_cast<std::array<std::uint32_t, 4>>(tile.m_texels[2])))
            << std::hex << word;
        encodeTileAndModify(stored, 32, &tile, &configuration);
        EXPECT_EQ(word < 0xFAC000, stored[0] == 7);
        EXPECT_TRUE(word != 0xFAC504 || std::memcmp(source, stored, sizeof source) == 0);
        encodeTexelRun(stored, &tile.m_texels[2], &configuration, 1);
        EXPECT_TRUE(word != 0xFAC504 || std::memcmp(&source[2], stored, 4) == 0);
    }
    VectorFloat texel = {{1, 2, 3, 4}};
    const Vex::DataFormat none = {0};
    g_surfaceFormatInfo[0].decodeOne(&texel, source, &none);
    EXPECT_EQ((std::array<std::uint32_t, 4>{}), (std::bit_cast<std::array<std::uint32_t, 4>>(texel)));
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
