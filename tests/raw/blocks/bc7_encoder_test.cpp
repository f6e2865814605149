#include "raw/blocks/bc7_encoder.h"

#include "raw/blocks/bc7_few_colours.h"
#include "raw/blocks/bc7_partition_lanes.h"
#include "raw/blocks/bc7_tables.h"
#include "raw/blocks/bc7_writers.h"
#include "raw/blocks/block_encoders.h"
#include "raw/texels/srgb.h"
#include "simd/dispatch.h"
#include "simd/lanes4.h"
#include "support/bptc_oracle.h"
#include "support/report_recorder.h"
#include "support/surfaces.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>
#include <set>
#include <vector>

namespace {

using namespace qor;
using namespace qor::Texsmith;
using namespace qor::Texsmith::Raw;
using namespace TestSupport;

// Numbers below a limit, from 0 on.
class Random {
public:
    explicit Random(unsigned seed) : m_engine(seed) {}
    unsigned operator()(unsigned limit = 256) { return static_cast<unsigned>(m_engine()) % limit; }

private:
    std::mt19937 m_engine;
};

using Rgba = std::array<std::uint8_t, 4>;
using Bytes = std::array<std::uint8_t, 16>;

struct Pixels {
    Rgba m_texels[16];

    std::vector<ColorRGBA32F> floats() const {
        std::vector<ColorRGBA32F> floats;
        for (const Rgba& texel : m_texels) {
            floats.push_back(
                {float(texel[0]) / 255, float(texel[1]) / 255, float(texel[2]) / 255, float(texel[3]) / 255});
        }
        return floats;
    }
};

unsigned modeOf(const Bytes& block) {
    unsigned mode = 0;
    while (mode < 8 && (block[0] >> mode & 1) == 0) {
        ++mode;
    }
    return mode;
}

Bytes encoded(const Pixels& pixels, EncoderEffort effort = kEncoderEffortNormal) {
    Bytes block;
    encodeBc7Blocks(block.data(), pixels.floats().data(), 1, effort);
    return block;
}

// The largest difference of a channel from what was put in.
int worstMiss(const Pixels& pixels, const Bytes& block) {
    const Oracle::ByteTexels decoded = Oracle::decodeBc7(block.data());
    int worst = 0;
    for (unsigned i = 0; i < 64; ++i) {
        worst = std::max(worst, std::abs(decoded[i / 4][i % 4] - pixels.m_texels[i / 4][i % 4]));
    }
    return worst;
}

// Noise, gradients along some direction, two regions, and few colours; opaque or not.
Pixels randomPixels(Random& random, bool opaque) {
    Pixels pixels;
    const unsigned kind = random(4), step = random(9), colours = 1 + random(6);
    Rgba ends[6];
    for (Rgba& end : ends) {
        end = {std::uint8_t(random()), std::uint8_t(random()), std::uint8_t(random()),
               std::uint8_t(random())};
    }
    for (unsigned i = 0; i < 16; ++i) {
        for (unsigned channel = 0; channel < 4; ++channel) {
            const unsigned base = ends[kind == 2 && i % 4 > step % 4 ? 1 : 0][channel];
            const unsigned noise = random(4);
            const unsigned values[] = {unsigned(random()), base + step * i, base + noise,
                                       ends[random(2) == 0 ? i % colours : 0][channel]};
            pixels.m_texels[i][channel] = std::uint8_t(std::min(values[kind] & 511, 255u));
        }
        pixels.m_texels[i][3] = opaque ? 255 : pixels.m_texels[i][3];
    }
    return pixels;
}

TEST(Bc7Encoder, SolidColoursComeBackExactly) {
    Random random(1);
    for (const char* name : {"Bc7Unorm", "Bc7UnormSrgb"}) {
        const EncoderConfiguration configuration = encoderFor(name);
        const bool isSrgb = std::strlen(name) > 8;
        for (unsigned i = 0; i < 256 + 500; ++i) {
            const auto any = [&] { return std::uint8_t(i < 256 ? i : random()); };
            const Rgba colour = {any(), any(), any(), any()};
            const auto linear = [&](unsigned channel) {
                const float value = float(colour[channel]) / 255;
                return isSrgb && channel < 3 ? srgbDecode(value) : value;
            };
            Pixels pixels;
            std::fill_n(pixels.m_texels, 16, colour);
            const std::vector<ColorRGBA32F> texels(16, {linear(0), linear(1), linear(2), linear(3)});
            Bytes block;
            encodeBc7Block(block.data(), texels.data(), configuration);
            ASSERT_EQ(0, worstMiss(pixels, block)) << name << " " << i;
            ASSERT_EQ(5u, modeOf(block));
        }
    }
}

TEST(Bc7Encoder, FewColoursTakeTheirShortCuts) {
    Random random(2);
    for (unsigned i = 0; i < 2000; ++i) {
        const unsigned count = 2 + i % 3, partition = random(64);
        const bool opaque = random(2) == 0;
        Rgba colours[4];
        for (Rgba& colour : colours) {
            colour = {std::uint8_t(random()), std::uint8_t(random()), std::uint8_t(random()),
                      std::uint8_t(opaque ? 255 : random(254))};
        }
        Pixels pixels;
        for (unsigned texel = 0; texel < 16; ++texel) {
            const unsigned subset = subsetOfTwo(partition, texel);
            const unsigned number = count == 2 ? random(2) : 2 * subset + random(2);
            pixels.m_texels[texel] = colours[std::min(number, count - 1)];
        }
        const Bytes block = encoded(pixels);
        const std::set<Rgba> distinct(pixels.m_texels, pixels.m_texels + 16);
        if (distinct.size() <= 2) {
            EXPECT_EQ(5u, modeOf(block));
            EXPECT_LE(worstMiss(pixels, block), 1);
        } else if (partition < 32) { // those beyond are not looked through
            EXPECT_EQ(opaque ? 3u : 7u, modeOf(block)) << partition;
            EXPECT_LE(worstMiss(pixels, block), opaque ? 1 : 4);
        }
    }
}

// Never less than 255 where all alphas are, at any effort, and no mode without alpha where some are not.
TEST(Bc7Encoder, AlphaDecidesTheModes) {
    Random random(3);
    const bool isSlow = std::getenv("TEXSMITH_SLOW") != nullptr;
    std::set<unsigned> opaqueModes, alphaModes;
    for (unsigned i = 0; i < (isSlow ? 1000000u : 3000u); ++i) {
        const bool opaque = i % 2 == 0;
        const Pixels pixels = randomPixels(random, opaque);
        const unsigned pair = i / 2;
        const auto effort = EncoderEffort(pair % 8 == 0 ? pair / 8 % 4 : pair % 2);
        const Bytes block = encoded(pixels, effort);
        const Oracle::ByteTexels decoded = Oracle::decodeBc7(block.data());
        const auto isBelow = [](const auto& texel) { return texel[3] < 255; };
        const bool hadAlpha = std::any_of(pixels.m_texels, pixels.m_texels + 16,
                                          [](const Rgba& texel) { return texel[3] < 254; });
        if (opaque) {
            ASSERT_FALSE(std::any_of(decoded.begin(), decoded.end(), isBelow)) << i;
            opaqueModes.insert(modeOf(block));
        } else if (hadAlpha) {
            alphaModes.insert(modeOf(block));
        }
        // A line through the mean is never worse than the mean by more than rounding.
        double missed = 0, spread = 0;
        for (unsigned channel = 0; channel < 4; ++channel) {
            double sum = 0, squares = 0;
            for (unsigned texel = 0; texel < 16; ++texel) {
                const double value = pixels.m_texels[texel][channel];
                sum += value, squares += value * value;
                missed += (value - decoded[texel][channel]) * (value - decoded[texel][channel]);
            }
            spread += squares - sum * sum / 16;
        }
        ASSERT_LE(missed, spread + 16 * 4 * 4) << i << " mode " << modeOf(block) << " effort " << effort;
    }
    EXPECT_EQ((std::set<unsigned>{0, 1, 2, 3, 4, 5, 6}), opaqueModes);
    EXPECT_EQ((std::set<unsigned>{4, 5, 6, 7}), alphaModes);
}

// Blocks share lanes with whatever stands beside them, and more than 64 are done in several goes.
TEST(Bc7Encoder, RunsOfAnyLengthAndWidthGiveTheBytesOfSingleBlocks) {
    constexpr unsigned kBlocks = 75;
    Random random(4);
    std::vector<ColorRGBA32F> texels;
    for (unsigned i = 0; i < kBlocks; ++i) {
        const auto block = randomPixels(random, i % 3 != 0).floats();
        texels.insert(texels.end(), block.begin(), block.end());
    }
    for (unsigned effort = 0; effort < 4; ++effort) {
        std::vector<std::uint8_t> single(16 * kBlocks), run(16 * kBlocks);
        for (unsigned i = 0; i < kBlocks; ++i) {
            encodeBc7Blocks(&single[16 * i], &texels[16 * i], 1, EncoderEffort(effort));
        }
        for (const bool wide : {true, false}) {
            Simd::allowAvx2(wide);
            encodeBc7Blocks(run.data(), texels.data(), kBlocks, EncoderEffort(effort));
            EXPECT_EQ(single, run) << effort << wide;
        }
        Simd::allowAvx2(true);
    }
}

// Ends that are exchanged, with indices counted from the other side, are the same block: whatever stands at
// the anchors, packing must come out alike, and the texels of the first and last index are the ends.
template <int kMode> void checkWriter() {
    constexpr Bc7Mode kLayout = kBc7Modes[kMode];
    constexpr unsigned kTop = (1u << kLayout.m_indexBits) - 1,
                       kScalarTop = (1u << kLayout.m_secondIndexBits) - 1;
    Random random(kMode);
    for (unsigned i = 0; i < 256; ++i) {
        Bc7Candidate candidate = {}, mirrored;
        candidate.m_partition = i % (1u << kLayout.m_partitionBits);
        candidate.m_rotation = i % (1u << kLayout.m_rotationBits);
        candidate.m_hasAlpha = i % 2 == 0 || kLayout.m_alphaBits == 0 || kLayout.m_rotationBits != 0;
        for (auto& subset : candidate.m_ends) {
            for (auto& end : subset) {
                for (float& channel : end) {
                    channel = float(random(256)) / 255;
                }
                end[3] = candidate.m_hasAlpha && kLayout.m_alphaBits != 0 ? end[3] : 1.0f;
            }
        }
        mirrored = candidate;
        for (unsigned texel = 0; texel < 16; ++texel) {
            candidate.m_indices[texel] = std::uint8_t(random(3) == 0 ? random(kTop + 1) : random(2) * kTop);
            candidate.m_scalarIndices[texel] = std::uint8_t(random(2) * kScalarTop);
            mirrored.m_indices[texel] = std::uint8_t(kTop - candidate.m_indices[texel]);
            mirrored.m_scalarIndices[texel] = std::uint8_t(kScalarTop - candidate.m_scalarIndices[texel]);
        }
        for (auto& subset : mirrored.m_ends) {
            std::swap(subset[0], subset[1]);
        }
        writeBc7Mode<kMode>(candidate);
        writeBc7Mode<kMode>(mirrored);
        ASSERT_EQ(0, std::memcmp(candidate.m_bytes, mirrored.m_bytes, 16)) << kMode << " " << i;
        const Oracle::ByteTexels decoded = Oracle::decodeBc7(candidate.m_bytes);
        for (unsigned texel = 0; texel < 16; ++texel) {
            const unsigned subset = bc7SubsetOf(kLayout.m_subsets, candidate.m_partition, texel);
            for (unsigned channel = 0; channel < 4; ++channel) {
                const bool isScalar =
                    kLayout.m_secondIndexBits != 0 && channel == (candidate.m_rotation + 3) % 4;
                const unsigned index = (isScalar ? candidate.m_scalarIndices : candidate.m_indices)[texel];
                const unsigned top = isScalar ? kScalarTop : kTop;
                if (index == 0 || index == top) {
                    const float wanted = candidate.m_ends[subset][index == 0 ? 0 : 1][channel] * 255;
                    const unsigned bits =
                        kLayout.m_colourBits + (kLayout.m_pBits == Bc7PBits::None ? 0u : 1u);
                    EXPECT_NEAR(decoded[texel][channel], wanted, float(256 >> bits) + 1)
                        << kMode << " " << i << " " << texel << " " << channel;
                }
            }
        }
    }
}

TEST(Bc7Encoder, WritersKeepEndsAndIndicesWithEveryPartition) {
    checkWriter<0>();
    checkWriter<1>();
    checkWriter<2>();
    checkWriter<3>();
    checkWriter<4>();
    checkWriter<5>();
    checkWriter<6>();
    checkWriter<7>();
}

TEST(Bc7Encoder, WritersReportWhatTheirModeDoesNotHave) {
    ReportRecorder reports;
    Bc7Candidate candidate = {};
    candidate.m_partition = 16;
    writeBc7Mode<0>(candidate);
    candidate.m_partition = 0;
    candidate.m_rotation = 1;
    writeBc7Mode<6>(candidate);
    candidate.m_rotation = 0;
    candidate.m_indices[3] = 4;
    writeBc7Mode<3>(candidate);
    EXPECT_EQ(3u, reports.assertions().size());
    EXPECT_EQ(0,
              std::count_if(candidate.m_bytes, candidate.m_bytes + 16, [](int byte) { return byte != 0; }));
}

template <int kChannels, int kSubsets, int kBits> void checkSearch(unsigned blocks) {
    using Lanes = Simd::Lanes4;
    Random random(kSubsets);
    for (unsigned i = 0; i < blocks; ++i) {
        std::vector<ColorRGBA32F> texels;
        for (unsigned lane = 0; lane < Lanes::kCount; ++lane) {
            const auto block = randomPixels(random, kChannels == 3).floats();
            texels.insert(texels.end(), block.begin(), block.end());
        }
        const Bc7Lanes::BlockTexels<Lanes> inLanes(&texels[0].r, kChannels == 4);
        Bc7Lanes::PartitionLines<Lanes, kChannels, kSubsets> lines;
        lines.findLines(inLanes);
        for (unsigned lane = 0; lane < Lanes::kCount; ++lane) {
            constexpr unsigned kWanted = 3;
            Bc7Lanes::FoundPartition pruned[kWanted], full[kWanted], first;
            lines.template search<kBits>(lane, pruned, kWanted);
            lines.template search<kBits>(lane, full, kWanted, false);
            lines.template search<kBits>(lane, &first, 1);
            for (unsigned rank = 0; rank < kWanted; ++rank) {
                ASSERT_EQ(full[rank].m_partition, pruned[rank].m_partition) << i;
                ASSERT_EQ(full[rank].m_error, pruned[rank].m_error) << i;
            }
            ASSERT_EQ(full[0].m_partition, first.m_partition) << i;
        }
    }
}

TEST(Bc7Encoder, PrunedSearchFindsWhatTheFullOneFinds) {
    checkSearch<3, 2, 2>(150);
    checkSearch<3, 2, 3>(150);
    checkSearch<4, 2, 2>(150);
    checkSearch<3, 3, 2>(150);
}

} // namespace
