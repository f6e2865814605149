#include "qor/texsmith/raw/half.h"
#include "raw/blocks/bc6_decoder.h"
#include "raw/blocks/bc7_decoder.h"
#include "raw/blocks/block_runs.h"
#include "simd/dispatch.h"
#include "support/bit_patterns.h"
#include "support/bptc_oracle.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <random>
#include <vector>

namespace {

using namespace qor;
using namespace qor::Texsmith;
using namespace TestSupport;

constexpr std::size_t kBlockBytes = 16;

// Of each mode. Enough for all partitions, rotations and index selections to come up many times.
std::size_t blocksOfAMode() { return runsSlowly() ? 1000000 : 4000; }

// Random blocks that begin with the bits of a mode. A third of the bytes is 0 or 255, for the ends of ranges.
class RandomBlocks {
public:
    RandomBlocks(std::size_t count, unsigned mode, unsigned modeBits) : m_bytes(count * kBlockBytes) {
        std::mt19937 random(mode * 64 + modeBits);
        for (std::uint8_t& byte : m_bytes) {
            const auto value = static_cast<std::uint32_t>(random());
            byte = static_cast<std::uint8_t>(value >> 8 & 7) > 4 ? static_cast<std::uint8_t>(0 - (value & 1))
                                                                 : static_cast<std::uint8_t>(value);
        }
        for (std::size_t at = 0; at < m_bytes.size(); at += kBlockBytes) {
            const unsigned mask = (1u << modeBits) - 1;
            m_bytes[at] = static_cast<std::uint8_t>((m_bytes[at] & ~mask) | mode);
        }
    }
    const std::uint8_t* data() const { return m_bytes.data(); }
    std::size_t count() const { return m_bytes.size() / kBlockBytes; }
    const std::uint8_t* block(std::size_t i) const { return &m_bytes[i * kBlockBytes]; }

private:
    std::vector<std::uint8_t> m_bytes;
};

// Rows of a run that are longer than its blocks; what lies behind must stay.
template <typename Texels> class Rows {
public:
    explicit Rows(std::size_t blocks)
        : m_pitch(blocks * sizeof(Texels) / 4 + 5), m_bytes(4 * m_pitch, 0xCD) {}
    void put(std::size_t block, const Texels& texels) {
        constexpr std::size_t kRow = sizeof(Texels) / 4;
        for (std::size_t row = 0; row < 4; ++row) {
            std::memcpy(&m_bytes[row * m_pitch + block * kRow],
                        reinterpret_cast<const std::uint8_t*>(&texels) + row * kRow, kRow);
        }
    }
    std::uint8_t* data() { return m_bytes.data(); }
    std::size_t pitch() const { return m_pitch; }
    bool operator==(const Rows&) const = default;

private:
    std::size_t m_pitch;
    std::vector<std::uint8_t> m_bytes;
};

using FloatTexels = std::array<std::array<std::uint32_t, 4>, 16>;

FloatTexels floatsOf(const Oracle::HalfTexels& halves) {
    FloatTexels floats;
    for (unsigned i = 0; i < 64; ++i) {
        floats[i / 4][i % 4] =
            std::bit_cast<std::uint32_t>(static_cast<float>(Raw::Half(halves[i / 4][i % 4])));
    }
    return floats;
}

// As the texel codec stores a half: denormals become the least normal number.
Oracle::HalfTexels storedHalves(Oracle::HalfTexels halves) {
    for (auto& texel : halves) {
        for (std::uint16_t& half : texel) {
            half =
                (half & 0x7C00) == 0 && (half & 0x3FF) != 0 ? std::uint16_t((half & 0x8000) | 0x400) : half;
        }
    }
    return halves;
}

TEST(Bc7Decoder, GivesThePublishedTexelsInEveryMode) {
    for (unsigned mode = 0; mode <= 8; ++mode) {
        SCOPED_TRACE(mode);
        const RandomBlocks blocks(mode < 8 ? blocksOfAMode() : 16, 1u << mode & 255, std::min(mode + 1, 8u));
        std::vector<Oracle::ByteTexels> expected(blocks.count());
        Rows<Oracle::ByteTexels> expectedRows(blocks.count());
        for (std::size_t i = 0; i < blocks.count(); ++i) {
            expected[i] = Oracle::decodeBc7(blocks.block(i));
            expectedRows.put(i, expected[i]);
            Oracle::ByteTexels texels;
            Raw::decodeBc7Block(texels[0].data(), blocks.block(i));
            ASSERT_EQ(texels, expected[i]) << i;
        }
        for (const bool wide : {false, true}) {
            Simd::allowAvx2(wide);
            Rows<Oracle::ByteTexels> rows(blocks.count());
            Raw::findBlockRunDecoder(Vex::kSurfaceFormatBc7)(rows.data(), rows.pitch(), blocks.data(),
                                                             blocks.count());
            EXPECT_EQ(rows, expectedRows) << wide;
        }
    }
}

void checkBc6(unsigned mode, unsigned modeBits, std::size_t count, bool isSigned) {
    SCOPED_TRACE(testing::Message() << mode << " " << isSigned);
    const RandomBlocks blocks(count, mode, modeBits);
    Rows<Oracle::HalfTexels> expectedHalves(count);
    Rows<FloatTexels> expectedFloats(count);
    for (std::size_t i = 0; i < count; ++i) {
        const Oracle::HalfTexels expected = Oracle::decodeBc6(blocks.block(i), isSigned);
        expectedHalves.put(i, storedHalves(expected));
        expectedFloats.put(i, floatsOf(expected));
        FloatTexels texels;
        Raw::decodeBc6(reinterpret_cast<ColorRGBA32F*>(&texels), blocks.block(i), isSigned);
        ASSERT_EQ(texels, floatsOf(expected)) << i;
    }
    for (const bool wide : {false, true}) {
        Simd::allowAvx2(wide);
        Rows<Oracle::HalfTexels> halves(count);
        Raw::findHalfRunDecoder(Vex::kSurfaceFormatBc6, isSigned)(halves.data(), halves.pitch(),
                                                                  blocks.data(), count);
        EXPECT_EQ(halves, expectedHalves) << wide;
        Rows<FloatTexels> floats(count);
        Raw::findFloatRunDecoder(Vex::kSurfaceFormatBc6, isSigned)(floats.data(), floats.pitch(),
                                                                   blocks.data(), count);
        EXPECT_EQ(floats, expectedFloats) << wide;
    }
}

TEST(Bc6Decoder, GivesThePublishedTexelsInEveryMode) {
    for (const bool isSigned : {false, true}) {
        for (const Oracle::Bc6Layout& layout : Oracle::kBc6Layouts) {
            checkBc6(layout.m_mode, layout.m_modeBits, blocksOfAMode() / 2, isSigned);
        }
        for (const unsigned reserved : {0x13u, 0x17u, 0x1Bu, 0x1Fu}) {
            checkBc6(reserved, 5, 16, isSigned);
        }
    }
}

} // namespace
