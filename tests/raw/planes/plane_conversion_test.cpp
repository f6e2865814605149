#include "raw/planes/plane_conversion.h"

#include "simd/dispatch.h"
#include "support/bit_patterns.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace qor::Texsmith::Raw {
namespace {

using TestSupport::floatOf;
using TestSupport::RandomBits;

// The sanitizer sees what is read or written beside a vector.
using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t kXyzw = 0xFAC000, kFloats = 0xFAC70E;
constexpr std::uint32_t kSelects[] = {kXyzw, 0xF2E000, 0xB24000, 0x73D000, 0x204000, 0xE09000};

EncoderConfiguration configurationFor(std::uint32_t word, const Transform& transform) {
    Vex::Texture texture;
    texture.setDataFormat({word});
    EncoderConfiguration configuration;
    configuration.setTexture(&texture);
    configuration.m_transform = transform;
    return configuration;
}

Transform noTransform() {
    Transform transform;
    transform.Init();
    return transform;
}

Transform someTransform() {
    Transform transform = noTransform();
    transform.m_multiply = {{{{0.5f, 1, 0, 3}}, {{-1, 2, 0.1f, 0}}, {{0, 0.25f, 1, 7}}, {{1, 0, 1.5f, -1}}}};
    transform.m_add = {{0.25f, -1, 0, 0.5f}};
    return transform;
}

unsigned bytesOf(std::uint32_t word) { return g_surfaceFormatInfo[word & 0xFF].bytesPerElement; }

// Tile by tile; the last one has elements to spare.
Bytes convertInTiles(const TileConversion& steps, const Bytes& source, unsigned fromBytes, unsigned toBytes) {
    const std::size_t count = source.size() / fromBytes, tiles = (count + 63) / 64;
    Bytes padded(source), result(tiles * 64 * toBytes);
    padded.resize(tiles * 64 * fromBytes);
    for (std::size_t tile = 0; tile < tiles; ++tile) {
        steps.convert(&result[tile * 64 * toBytes], 8 * toBytes, &padded[tile * 64 * fromBytes],
                      8 * fromBytes);
    }
    result.resize(count * toBytes);
    return result;
}

class PlaneConversionTest : public testing::Test {
protected:
    ~PlaneConversionTest() override { Simd::allowAvx2(true); }

    Bytes elements(std::uint32_t word, std::size_t count) {
        Bytes bytes(count * bytesOf(word));
        m_random.fill(bytes.data(), bytes.size());
        const bool hasWords = g_surfaceFormatInfo[word & 0xFF].bitsPerChannel[0] == 32;
        for (std::size_t at = 0; hasWords && at < bytes.size(); at += 4) {
            const std::uint32_t lane = m_random.lane();
            std::memcpy(&bytes[at], &lane, 4);
        }
        return bytes;
    }

    // Whether there is a conversion in planes; if so, all of its runs have to be right.
    bool compare(std::uint32_t from, std::uint32_t to, const Transform& decode, const Transform& encode,
                 std::size_t count) {
        const TileConversion steps(configurationFor(from, decode), configurationFor(to, encode));
        const Bytes source = elements(from, count),
                    expected = convertInTiles(steps, source, bytesOf(from), bytesOf(to));
        for (const bool wide : {false, true}) {
            Simd::allowAvx2(wide);
            const PlaneConversion planes(steps);
            if (!planes.isUsable()) {
                return false;
            }
            Bytes converted(expected.size(), 0xCD);
            planes.convert(converted.data(), source.data(), source.size() / bytesOf(from));
            const auto at = std::mismatch(expected.begin(), expected.end(), converted.begin()).first;
            if (at != expected.end()) {
                ADD_FAILURE() << std::hex << from << " to " << to << (wide ? " wide" : "") << " differs at "
                              << std::dec << at - expected.begin() << " of " << expected.size();
            }
        }
        return true;
    }

    std::size_t nextLength() { return m_length = m_length % 70 + 1; }

    RandomBits m_random;
    std::size_t m_length = 0;
};

bool isTexelFormat(unsigned surfaceFormat) {
    const SurfaceFormatInfo& info = g_surfaceFormatInfo[surfaceFormat];
    return info.channels != 0 && info.decodeTexels != nullptr;
}

bool mustBeUsable(unsigned surfaceFormat, unsigned type) {
    const std::uint8_t* bits = g_surfaceFormatInfo[surfaceFormat].bitsPerChannel;
    const bool hasWords = std::find(bits, bits + 4, 32) != bits + 4;
    const bool keepsWords = type == 4 || type == 5 || type == 7 || type == 12;
    return surfaceFormat == 34 || (type != 8 && type < 14 && (!hasWords || keepsWords));
}

TEST_F(PlaneConversionTest, EveryFormatAndChannelTypeGivesTheBitsOfTheTile) {
    // To and from floats, and from and to formats of each kind.
    constexpr std::uint32_t kOthers[] = {kFloats,  0xFAC70E, 0x32E010, 0xFAC50A, 0x3AC722,
                                         0xFAC003, 0x204704, 0xFAC706, 0xFAC909, 0xFAC40C};
    const Transform none = noTransform(), some = someTransform();
    unsigned turn = 0;
    for (unsigned word = 0; word < 0x1000; ++word) {
        const unsigned surfaceFormat = word & 0xFF, type = word >> 8;
        if (surfaceFormat >= Vex::kSurfaceFormatCount || !isTexelFormat(surfaceFormat)) {
            continue;
        }
        const bool usable = mustBeUsable(surfaceFormat, type);
        for (unsigned i = 0; i < 4; ++i, ++turn) {
            const std::uint32_t selects = i == 0 ? kXyzw : kSelects[turn % std::size(kSelects)];
            const std::uint32_t other = i < 2 ? kFloats : kOthers[turn % std::size(kOthers)];
            const Transform &decode = i == 3 && turn % 3 != 0 ? some : none,
                            &encode = i == 3 && turn % 3 != 1 ? some : none;
            const std::size_t length = i == 0 ? nextLength() + 256 : nextLength();
            EXPECT_EQ(usable, compare(word | selects, other, decode, encode, length)) << std::hex << word;
            EXPECT_EQ(usable, compare(other, word | selects, decode, encode, length)) << std::hex << word;
        }
    }
}

TEST_F(PlaneConversionTest, EveryRunLength) {
    for (const auto& [from, to] : {std::pair{0x32E010u, 0xFAC013u},
                                   {0x22C005u, 0x22C003u},
                                   {0x3AC706u, 0x3AC722u},
                                   {0xFAC70Cu, 0xFAC70Eu},
                                   {0xFAC001u, 0x3AC70Du}}) {
        for (std::size_t length = 0; length <= 70; ++length) {
            EXPECT_TRUE(compare(from, to, noTransform(), noTransform(), length));
        }
    }
}

TEST_F(PlaneConversionTest, PowersAreLeftToTheTile) {
    Transform power = noTransform();
    power.m_power = {{1, 1, 1, 2}};
    EXPECT_FALSE(compare(kFloats, 0xFAC013, power, noTransform(), 5));
    EXPECT_FALSE(compare(kFloats, 0xFAC013, noTransform(), power, 5));
}

} // namespace
} // namespace qor::Texsmith::Raw
