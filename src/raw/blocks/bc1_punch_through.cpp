#include "raw/blocks/bc1_punch_through.h"

#include "raw/blocks/bc1_best_pair_lanes.h"
#include "raw/blocks/bc1_colours.h"
#include "raw/blocks/bc1_pair_search.h"
#include "raw/texels/sides.h"
#include "simd/dispatch.h"
#include "simd/lanes4.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

using namespace Simd;

// The texels of a block, four a vector.
struct Planes {
    Float4 m_r[4], m_g[4], m_b[4], m_a[4];
};

Planes loadPlanes(const ColorRGBA32F* block) {
    Planes planes;
    for (unsigned v = 0; v < 4; ++v) {
        Float4 channels[4];
        Lanes4::loadTexels(channels, &block[4 * v].r, 4);
        planes.m_r[v] = channels[0];
        planes.m_g[v] = channels[1];
        planes.m_b[v] = channels[2];
        planes.m_a[v] = channels[3];
    }
    return planes;
}

// What toLevel gives, and the float that rgb565ToFloat widens it to.
struct Levels {
    Int4 m_levels;
    Float4 m_widened;
};

template <int kBits> Levels quantise(Float4 values) {
    const Float4 levels = splat(static_cast<float>((1 << kBits) - 1));
    const Float4 scaled = maximum(values, splat(0.0f)) * levels + splat(0.5f);
    const Int4 level = truncateToInts(minimum(scaled, levels));
    const Int4 byte = shiftLeft<8 - kBits>(level) | shiftRight<2 * kBits - 8>(level);
    return {level, minimum(toFloats(byte) * splat(0.003921569f), splat(1.0f))};
}

// The 5:6:5 words of all texels, and the part of the problem that depends on the texels alone.
void quantiseTexels(const Planes& planes, std::uint32_t (&words)[kTexelsPerBlock], PairProblem* problem) {
    const Float4 red = splat(kRedWeight), green = splat(kGreenWeight), blue = splat(kBlueWeight);
    const Float4 half = splat(0.5f);
    for (unsigned v = 0; v < 4; ++v) {
        const Levels r = quantise<5>(planes.m_r[v]), b = quantise<5>(planes.m_b[v]);
        const Levels g = quantise<6>(planes.m_g[v]);
        store(words + 4 * v, shiftLeft<11>(r.m_levels) | shiftLeft<5>(g.m_levels) | b.m_levels);
        Float4 halves[4] = {r.m_widened * red * half, g.m_widened * green * half, b.m_widened * blue * half,
                            splat(0.0f)};
        transpose(halves);
        for (unsigned i = 0; i < 4; ++i) {
            store(problem->m_halves[4 * v + i], halves[i]);
        }
        store(problem->m_texels[0] + 4 * v, planes.m_r[v] * red);
        store(problem->m_texels[1] + 4 * v, planes.m_g[v] * green);
        store(problem->m_texels[2] + 4 * v, planes.m_b[v] * blue);
    }
}

// Lists the texels whose words are new, which are the ends to choose from. Returns the place where the first
// texel's word stands again, or 16.
unsigned findDifferent(const std::uint32_t (&words)[kTexelsPerBlock], PairProblem* problem) {
    const Int4 all[4] = {loadInts(words), loadInts(words + 4), loadInts(words + 8), loadInts(words + 12)};
    const auto placesOf = [&](std::uint32_t word) {
        const Int4 sought = splat(word);
        return laneBits(equal(all[0], sought)) | laneBits(equal(all[1], sought)) << 4 |
               laneBits(equal(all[2], sought)) << 8 | laneBits(equal(all[3], sought)) << 12;
    };
    unsigned count = 0;
    for (unsigned i = 0; i < kTexelsPerBlock; ++i) {
        problem->m_places[count] = i;
        count += (placesOf(words[i]) & ((1u << i) - 1)) == 0
                     ? 1
                     : 0; // without a branch, which no processor could predict
    }
    problem->m_endCount = count;
    return static_cast<unsigned>(std::countr_zero((placesOf(words[0]) & ~1u) | 1u << kTexelsPerBlock));
}

struct Words {
    std::uint32_t m_word0, m_word1; // word0 <= word1
};

// What searchBc1Pair finds in three-colour mode without generations. Pairs whose words repeat those of an
// earlier pair cannot win. One of equal words is never better than one of that word and another; it can come
// first only where its word is the block's first.
Words findBestWords(const Planes& planes, BestPairKernel findBest) {
    std::uint32_t words[kTexelsPerBlock];
    PairProblem problem;
    quantiseTexels(planes, words, &problem);
    const unsigned secondPlace = findDifferent(words, &problem);
    if (problem.m_endCount == 1) {
        return {words[0], words[0]};
    }
    const BestPair best = findBest(problem);
    const unsigned first = problem.m_places[best.m_first], second = problem.m_places[best.m_second];
    if (first == 0 && best.m_firstSuffices && secondPlace < second) {
        return {words[0], words[0]};
    }
    return {std::min(words[first], words[second]), std::max(words[first], words[second])};
}

std::uint32_t middleByte(float a, float b) {
    const auto byte = [](float x) { return static_cast<std::uint32_t>(double(x) * 255.0 + 0.5); };
    return (byte(a) + byte(b) + 1) >> 1;
}

ColorRGBA32F middleOf(const ColorRGBA32F& a, const ColorRGBA32F& b) {
    return {byteToFloat(middleByte(a.r, b.r)), byteToFloat(middleByte(a.g, b.g)),
            byteToFloat(middleByte(a.b, b.b)), 1.0f};
}

Float4 distanceTo(const ColorRGBA32F& colour, Float4 r, Float4 g, Float4 b) {
    const Float4 dr = r - splat(colour.r), dg = g - splat(colour.g), db = b - splat(colour.b);
    return splat(0.59f) * (dg * dg) + splat(0.3f) * (dr * dr) + splat(0.11f) * (db * db);
}

// A later colour wins only where it is strictly nearer, so that equal words give index 0.
std::uint32_t chooseIndices(const Planes& planes, Words words, float alphaThreshold) {
    const ColorRGBA32F first = rgb565ToFloat(words.m_word0), second = rgb565ToFloat(words.m_word1);
    const ColorRGBA32F middle = middleOf(first, second);
    std::uint32_t indices = 0;
    for (unsigned v = 0; v < 4; ++v) {
        const Float4 r = planes.m_r[v], g = planes.m_g[v], b = planes.m_b[v];
        const Float4 toFirst = distanceTo(first, r, g, b), toSecond = distanceTo(second, r, g, b);
        const Int4 secondWins = less(toSecond, toFirst);
        const Float4 least = floatsOf(select(secondWins, bitsOf(toSecond), bitsOf(toFirst)));
        const Int4 middleWins = less(distanceTo(middle, r, g, b), least);
        const Int4 opaque = select(middleWins, splat(2u), secondWins & splat(1u));
        const Int4 chosen = select(less(planes.m_a[v], splat(alphaThreshold)), splat(3u), opaque);
        const std::uint32_t bytes = toBytes(chosen);
        indices |= ((bytes | bytes >> 6 | bytes >> 12 | bytes >> 18) & 0xFF) << 8 * v;
    }
    return indices;
}

void encode(std::uint8_t* destination, const ColorRGBA32F* block, float alphaThreshold,
            BestPairKernel findBest) {
    const Planes planes = loadPlanes(block);
    const Words words = findBestWords(planes, findBest);
    const std::uint32_t colours = words.m_word0 | words.m_word1 << 16;
    const std::uint32_t indices = chooseIndices(planes, words, alphaThreshold);
    std::memcpy(destination, &colours, 4);
    std::memcpy(destination + 4, &indices, 4);
}

BestPairKernel chooseKernel() {
    const BestPairKernel wide = mayUseAvx2() ? getBestPairAvx2() : nullptr;
    return wide != nullptr ? wide : BestPairSearch<Lanes4>::findBest;
}

} // namespace

void encodeBc1PunchThroughBlocks(void* destination, const ColorRGBA32F* points, unsigned count,
                                 float alphaThreshold) {
    const BestPairKernel findBest = chooseKernel();
    for (unsigned i = 0; i < count; ++i) {
        encode(static_cast<std::uint8_t*>(destination) + 8 * i, points + kTexelsPerBlock * i, alphaThreshold,
               findBest);
    }
}

void encodeBc1PunchThrough(void* destination, const ColorRGBA32F* block, float alphaThreshold) {
    encodeBc1PunchThroughBlocks(destination, block, 1, alphaThreshold);
}

} // namespace qor::Texsmith::Raw
