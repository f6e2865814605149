#include "raw/blocks/block_decoders.h"

#include "raw/blocks/block_runs.h"
#include "raw/texels/srgb.h"
#include "simd/dispatch.h"
#include "support/block_oracle.h"
#include "support/report_recorder.h"
#include "support/surfaces.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <random>

namespace {

using namespace qor;
using namespace qor::Texsmith;
using namespace TestSupport;

// 37/64 for 4/7 and a rounding.
constexpr double kWeightTolerance = 2.21;

class Policy {
public:
    explicit Policy(unsigned policy) { g_normalizationPolicy = NormalizationPolicy(policy); }
    ~Policy() { g_normalizationPolicy = kNormalizationPolicyUnit; }
};

std::vector<std::uint8_t> randomBytes(std::size_t count) {
    std::mt19937 random(11);
    std::vector<std::uint8_t> bytes(count);
    for (std::uint8_t& byte : bytes) {
        byte = static_cast<std::uint8_t>(random());
    }
    return bytes;
}

void store(std::uint8_t* to, std::uint64_t value, unsigned bytes) {
    for (unsigned i = 0; i < bytes; ++i) {
        to[i] = static_cast<std::uint8_t>(value >> 8 * i);
    }
}

unsigned mixed(unsigned a, unsigned b, unsigned index, bool three) {
    const unsigned four[] = {a, b, (43 * a + 21 * b + 32) / 64, (21 * a + 43 * b + 32) / 64};
    return three && index >= 2 ? (index == 2 ? (a + b + 1) / 2 : 0) : four[index];
}

// The entries of an alpha or single-channel block times 64.
int entry64(int a, int b, unsigned code, int least, int greatest) {
    const int eight[8][2] = {{64, 0}, {0, 64}, {55, 9}, {46, 18}, {37, 27}, {27, 37}, {18, 46}, {9, 55}};
    const int six[6][2] = {{64, 0}, {0, 64}, {51, 13}, {38, 26}, {26, 38}, {13, 51}};
    if (a <= b && code >= 6) {
        return 64 * (code == 6 ? least : greatest);
    }
    const int* weights = a > b ? eight[code] : six[code];
    return weights[0] * a + weights[1] * b;
}

TEST(BlockDecoders, ColoursFollowTheFixedWeightsForAllPairsOfFieldValues) {
    using Decode = void (*)(std::uint8_t*, const std::uint8_t*);
    const Decode decoders[] = {&Raw::decodeBc1, &Raw::decodeBc2, &Raw::decodeBc3};
    for (unsigned pair = 0; pair < 64 * 64; ++pair) {
        const unsigned i = pair / 64, j = pair % 64;
        const unsigned color0 = (i & 31) << 11 | i << 5 | (i * 7 & 31);
        const unsigned color1 = (j & 31) << 11 | j << 5 | (j * 5 & 31);
        std::uint8_t block[16] = {};
        store(block + 8, color0 | color1 << 16 | 0x1BE4E41Bull << 32, 8);
        const Oracle::Texel a = Oracle::endpoint(color0), b = Oracle::endpoint(color1);
        for (unsigned bc = 1; bc <= 3; ++bc) {
            const std::uint8_t* source = bc == 1 ? block + 8 : block;
            std::uint8_t texels[16][4];
            decoders[bc - 1](texels[0], source);
            const Oracle::Texels ideal = Oracle::decode(bc, source);
            for (unsigned texel = 0; texel < 16; ++texel) {
                const unsigned index = Oracle::bitsAt(block + 8, 32 + 2 * texel, 2);
                const bool three = bc == 1 && color0 <= color1;
                for (unsigned channel = 0; channel < 3; ++channel) {
                    ASSERT_EQ(texels[texel][channel],
                              mixed(unsigned(a[channel]), unsigned(b[channel]), index, three))
                        << bc << " " << pair << " " << index;
                    ASSERT_NEAR(texels[texel][channel], ideal[texel][channel], kWeightTolerance);
                }
                ASSERT_EQ(texels[texel][3], ideal[texel][3]);
            }
        }
    }
}

// Codes 0 to 7 twice, upwards and downwards; all 65,536 pairs.
TEST(BlockDecoders, ValuesFollowTheFixedWeightsForAllPairs) {
    const Policy asTheyAre(1);
    for (unsigned pair = 0; pair < 65536; ++pair) {
        std::uint8_t block[16] = {};
        store(block, pair | 0xFAC688ull << 16 | 0x053977ull << 40, 8);
        std::uint8_t bytes[16][4];
        Raw::decodeBc3(bytes[0], block);
        const Oracle::Texels ideal = Oracle::decode(3, block), idealSigned = Oracle::decode(4, block, true);
        ColorRGBA32F unsignedTexels[16], signedTexels[16];
        Raw::decodeBc4(unsignedTexels, block, false);
        Raw::decodeBc4(signedTexels, block, true);
        const int a = int(pair & 255), b = int(pair >> 8);
        const int signedA = std::max<int>(std::int8_t(a), -127),
                  signedB = std::max<int>(std::int8_t(b), -127);
        for (unsigned texel = 0; texel < 16; ++texel) {
            const unsigned code = Oracle::bitsAt(block, 16 + 3 * texel, 3);
            const int entry = entry64(a, b, code, 0, 255);
            ASSERT_EQ(bytes[texel][3], (entry + 32) >> 6);
            ASSERT_NEAR(bytes[texel][3], ideal[texel][3], kWeightTolerance);
            ASSERT_EQ(unsignedTexels[texel].r, float(entry) * 6.127451e-5f);
            const int signedEntry = entry64(signedA, signedB, code, -127, 127);
            ASSERT_EQ(signedTexels[texel].r, float(signedEntry) * 0.0001230315f) << pair << " " << code;
            ASSERT_NEAR(signedTexels[texel].r * 127, idealSigned[texel][0], kWeightTolerance);
        }
    }
}

TEST(BlockDecoders, Bc2AlphaIsFourBitsPerTexel) {
    std::uint8_t block[16] = {}, texels[16][4];
    store(block, 0xFEDCBA9876543210, 8);
    Raw::decodeBc2(texels[0], block);
    for (unsigned texel = 0; texel < 16; ++texel) {
        EXPECT_EQ(texels[texel][3], texel * 17);
    }
}

TEST(BlockDecoders, Bc5FillsTwoLanesAndThePolicyMapsSignedValues) {
    const std::vector<std::uint8_t> block = randomBytes(16);
    for (const unsigned policy : {0u, 1u}) {
        const Policy used(policy);
        for (const bool isSigned : {false, true}) {
            ColorRGBA32F red[16] = {}, green[16] = {}, both[16];
            std::fill_n(both, 16, ColorRGBA32F{7, 7, 7, 7});
            Raw::decodeBc4(red, block.data(), isSigned);
            Raw::decodeBc4(green, block.data() + 8, isSigned);
            Raw::decodeBc5(both, block.data(), isSigned);
            const Oracle::Texels ideal = Oracle::decode(5, block.data(), isSigned);
            for (unsigned texel = 0; texel < 16; ++texel) {
                EXPECT_EQ(both[texel].r, red[texel].r);
                EXPECT_EQ(both[texel].g, green[texel].r);
                EXPECT_EQ(both[texel].b + both[texel].a, 14.0f);
                const double unit = ideal[texel][0] / (isSigned ? 127 : 255);
                EXPECT_NEAR(both[texel].r, isSigned && policy == 0 ? unit * 0.5 + 0.5 : unit, 0.018);
            }
        }
    }
}

// 19 blocks: two groups of eight and a rest; rows are longer than the blocks, and nothing else is touched.
TEST(BlockDecoders, RunsGiveWhatTheBlocksGive) {
    using DecodeRows = void (*)(std::uint8_t*, std::size_t, const std::uint8_t*);
    const DecodeRows decoders[] = {&Raw::decodeBc1, &Raw::decodeBc2, &Raw::decodeBc3};
    constexpr std::size_t kBlocks = 19, kPitch = kBlocks * 16 + 5;
    std::vector<std::uint8_t> source = randomBytes(kBlocks * 16);
    std::fill_n(source.begin(), 24, std::uint8_t{0x55}); // equal colours, equal ends
    for (unsigned bc = 1; bc <= 3; ++bc) {
        for (const std::size_t count : {0u, 1u, 7u, 8u, 16u, 19u}) {
            const std::vector<std::uint8_t> used(source.begin(),
                                                 source.begin() + std::ptrdiff_t(count * (bc == 1 ? 8 : 16)));
            std::vector<std::uint8_t> expected(4 * kPitch, 0xCD);
            for (std::size_t block = 0; block < count; ++block) {
                decoders[bc - 1](expected.data() + block * 16, kPitch,
                                 used.data() + block * (bc == 1 ? 8 : 16));
            }
            for (const bool wide : {false, true}) {
                Simd::allowAvx2(wide);
                std::vector<std::uint8_t> rows(4 * kPitch, 0xCD);
                Raw::findBlockRunDecoder(Vex::SurfaceFormat(Vex::kSurfaceFormatBc1 + bc - 1))(
                    rows.data(), kPitch, used.data(), count);
                EXPECT_EQ(rows, expected) << bc << " " << count << " " << wide;
            }
        }
    }
    EXPECT_EQ(Raw::findBlockRunDecoder(Vex::kSurfaceFormatBc4), nullptr);
}

TEST(BlockDecoders, RowsDecodeBytesAsTheChannelTypeSays) {
    const std::vector<std::uint8_t> block = randomBytes(16);
    std::uint8_t bytes[16][4];
    Raw::decodeBc3(bytes[0], block.data());
    const Raw::SurfaceFormatInfo& row = Raw::getSurfaceFormatInfo(Vex::kSurfaceFormatBc3);
    for (const Vex::TextureChannelType type :
         {Vex::kTextureChannelTypeUNorm, Vex::kTextureChannelTypeSNorm, Vex::kTextureChannelTypeSrgb}) {
        const Raw::EncoderConfiguration configuration =
            encoderFor(Vex::DataFormat{Vex::kDataFormatBc3Unorm.m_word | type << 8});
        Raw::Block texels = {}, hardware = {};
        Raw::Block8 stored = {};
        row.Decode(&texels, block.data(), 0, &configuration);
        row.HardwareDecode(&hardware, block.data(), 0, &configuration);
        row.Decode(&stored, block.data(), 0, &configuration);
        EXPECT_EQ(0, std::memcmp(&stored, bytes, sizeof bytes));
        for (unsigned texel = 0; texel < 16; ++texel) {
            const std::uint8_t red = bytes[texel][0];
            const float expected = type == Vex::kTextureChannelTypeSNorm
                                       ? std::max(std::int8_t(red) * (1.0f / 127), -1.0f)
                                   : type == Vex::kTextureChannelTypeSrgb ? Raw::g_srgbDecodedBytes[red]
                                                                          : red * (1.0f / 255);
            EXPECT_EQ(texels.m_texels[texel][0], expected);
            // The hardware's table goes by the first texel.
            EXPECT_EQ(hardware.m_texels[texel][0],
                      type != Vex::kTextureChannelTypeSrgb
                          ? expected
                          : std::bit_cast<float>(std::uint32_t{Raw::g_hardwareSrgbWords[bytes[0][0]]} << 16));
        }
    }
}

TEST(BlockCompression, DecodesOneBlockAndGivesTheNext) {
    const std::vector<std::uint8_t> block = randomBytes(16);
    std::uint8_t bytes[64];
    for (unsigned bc = 1; bc <= 7; ++bc) {
        for (const unsigned type : {0u, 1u}) {
            CpuBlockDecoder decoder({0xFAC000u | type << 8 | (Vex::kSurfaceFormatBc1 + bc - 1)});
            EXPECT_EQ(decoder.m_formatIndex, bc - 1);
            EXPECT_EQ(decoder.m_configuration.m_bc6Quality.quality, 1.0f);
            ColorRGBA32F texels[2][16] = {};
            for (const bool remap : {false, true}) {
                const std::uint8_t* next = blockDecompress(texels[remap], block.data(), &decoder, remap);
                EXPECT_EQ(next, block.data() + (bc == 1 || bc == 4 ? 8 : 16));
            }
            if (bc >= 4 && bc <= 6) {
                EXPECT_EQ(0, std::memcmp(texels[0], texels[1], sizeof texels[0]));
                continue;
            }
            decoder.decode(bytes, block.data());
            for (unsigned texel = 0; texel < 16; ++texel) {
                const float value = type == 0 ? bytes[4 * texel] / 255.0f
                                              : std::max(std::int8_t(bytes[4 * texel]) / 127.0f, -1.0f);
                EXPECT_NEAR(texels[0][texel].r, value, 1e-6); // a product against a quotient
                EXPECT_NEAR(texels[1][texel].r, type == 0 ? value : value * 0.5f + 0.5f, 1e-6);
            }
        }
    }
}

TEST(BlockCompression, ReportsWhatItCannotDecode) {
    const ReportRecorder reports;
    std::uint8_t block[16] = {};
    ColorRGBA32F texels[16];
    CpuBlockDecoder plain(Vex::kDataFormatR8G8B8A8Unorm), bc1(Vex::kDataFormatBc1Unorm);
    EXPECT_EQ(plain.decode(texels, block), nullptr);
    EXPECT_EQ(bc1.decode(nullptr, nullptr), nullptr);
    EXPECT_EQ(blockDecompress(nullptr, block, &bc1, false), nullptr);
    bc1.m_outputType = 5;
    EXPECT_EQ(blockDecompress(texels, block, &bc1, false), nullptr);
    EXPECT_EQ(blockDecompress(texels, block, nullptr, false), nullptr);
    EXPECT_EQ(reports.texts(), "Only BC formats are allowed. Format's surface format passed is: 0xA!!!.\n"
                               " CpuBlockDecoder is not initialized.\n"
                               "compressedData  pointer is NULL.\n"
                               "decompressedData  pointer is NULL.\n"
                               "decompressedData  pointer is NULL.\n"
                               "Invalid/unsupported output format 5\ndecoder must not be NULL.\n");
    EXPECT_EQ(reports.assertions()[0].m_file, "block_compression");
    for (const unsigned type : {0u, 1u}) { // UNorm, SNorm
        const CpuBlockDecoder bc6({0xFAC028 | type << 8});
        EXPECT_EQ(bc6.m_configuration.m_bc6Quality.reservedCount, static_cast<int>(type));
    }
}

// A pixel of 0.5 in red and what is stored for it, under each policy, and what comes back.
TEST(BlockCompression, PixelCodesFollowThePolicy) {
    struct Case {
        unsigned m_policy;
        Vex::TextureChannelType m_type;
        float m_value;
        std::uint8_t m_stored;
        float m_back;
    };
    const Case cases[] = {
        {0, Vex::kTextureChannelTypeUNorm, 0.5f, 128, 128 / 255.0f},
        {0, Vex::kTextureChannelTypeSNorm, 0.5f, 0, 0.5f},
        {0, Vex::kTextureChannelTypeSNorm, 1.0f, 127, 1.0f},
        {0, Vex::kTextureChannelTypeUBNorm, 0.5f, 128, 0.5f},
        {0, Vex::kTextureChannelTypeSInt, 1.0f, 127, 1.0f},
        {0, Vex::kTextureChannelTypeSInt, 0.0f, 128, 0.0f},
        {0, Vex::kTextureChannelTypeUInt, 1.0f, 255, 1.0f},
        {0, Vex::kTextureChannelTypeSrgb, 0.5f, 128, 128 / 255.0f},
        {1, Vex::kTextureChannelTypeSrgb, 0.5f, 128, 128 / 255.0f},
        {1, Vex::kTextureChannelTypeSNorm, 0.5f, 64, 64 / 127.0f},
        {1, Vex::kTextureChannelTypeUInt, 2.5f, 2, 2.0f},
        {1, Vex::kTextureChannelTypeSInt, -3.5f, 252, -4.0f},
        {1, Vex::kTextureChannelTypeUScaled, 200.0f, 200, 200.0f},
        {2, Vex::kTextureChannelTypeUNorm, 0.5f, 0xEE, 0.0f},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.m_policy << " " << c.m_type << " " << c.m_value);
        const Policy used(c.m_policy);
        const Vex::DataFormat format = {0xFAC00Au | c.m_type << 8};
        std::uint8_t stored[4] = {0xEE, 0xEE, 0xEE, 0xEE};
        PixelEncoder(format).encode(stored, {{c.m_value, 0, 0, 0}});
        EXPECT_EQ(stored[0], c.m_stored);
        EXPECT_NEAR(PixelDecoder(format).decode(stored)[0], c.m_back, 1e-6f); // products against quotients
    }
    std::uint8_t untouched = 5;
    PixelEncoder(Vex::kDataFormatBc1Unorm).encode(&untouched, {});
    EXPECT_EQ(untouched, 5);
    EXPECT_EQ(PixelDecoder(Vex::kDataFormatBc1Unorm).decode(&untouched)[0], 0.0f);
}

} // namespace
