#include "raw/bc1_punch_through.h"

#include "raw/bc1_colours.h"
#include "raw/bc1_four_lanes.h"
#include "raw/bc1_pair_lanes.h"
#include "raw/bc1_pair_search.h"
#include "raw/block_encoders.h"
#include "simd/dispatch.h"

#include <bit>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

using namespace Simd;

constexpr float kWeights[4] = {kRedWeight, kGreenWeight, kBlueWeight, 0.0f};

// The texels of a block, four a vector.
struct Planes {
    Float4 m_r[4], m_g[4], m_b[4], m_a[4];
};

Planes loadPlanes(const ColorRGBA32F* block) {
    Planes planes;
    for (unsigned v = 0; v < 4; ++v) {
        Float4 channels[4];
        FourLanes::loadTexels(channels, &block[4 * v].r, 4);
        planes.m_r[v] = channels[0];
        planes.m_g[v] = channels[1];
        planes.m_b[v] = channels[2];
        planes.m_a[v] = channels[3];
    }
    return planes;
}

// rgb565ToFloat in lanes, but for alpha, which is 0.
Float4 widen(std::uint32_t word) {
    const Int4 fields = makeInts(word >> 11, word >> 5 & 63, word & 31, 0);
    const Int4 five = shiftLeft<3>(fields) | shiftRight<2>(fields);
    const Int4 six = shiftLeft<2>(fields) | shiftRight<4>(fields);
    const Int4 bytes = select(makeInts(0, ~0u, 0, 0), six, five);
    return minimum(toFloats(bytes) * splat(0.003921569f), splat(1.0f));
}

// toLevel in lanes.
Int4 toLevels(Float4 values, float levels) {
    const Float4 scaled = maximum(values, splat(0.0f)) * splat(levels) + splat(0.5f);
    return truncateToInts(minimum(scaled, splat(levels)));
}

void quantise(const Planes& planes, std::uint32_t (&words)[kTexelsPerBlock]) {
    for (unsigned v = 0; v < 4; ++v) {
        const Int4 r = toLevels(planes.m_r[v], 31.0f), b = toLevels(planes.m_b[v], 31.0f);
        const Int4 g = toLevels(planes.m_g[v], 63.0f);
        store(words + 4 * v, shiftLeft<11>(r) | shiftLeft<5>(g) | b);
    }
}

// The different words of a block, and where each stands first.
struct DifferentWords {
    unsigned m_count = 0;
    std::uint32_t m_words[kTexelsPerBlock];
    unsigned m_places[kTexelsPerBlock];
    unsigned m_secondPlaceOfFirst; // where word 0 stands again, or 16
};

DifferentWords findDifferent(const std::uint32_t (&words)[kTexelsPerBlock]) {
    const Int4 all[4] = {loadInts(words), loadInts(words + 4), loadInts(words + 8), loadInts(words + 12)};
    DifferentWords found;
    for (unsigned i = 0; i < kTexelsPerBlock; ++i) {
        const Int4 word = splat(words[i]);
        const std::uint32_t same = laneBits(equal(all[0], word)) | laneBits(equal(all[1], word)) << 4 |
                                   laneBits(equal(all[2], word)) << 8 | laneBits(equal(all[3], word)) << 12;
        if (i == 0) {
            found.m_secondPlaceOfFirst = static_cast<unsigned>(std::countr_zero((same & ~1u) | 1u << 16));
        }
        found.m_words[found.m_count] = words[i];
        found.m_places[found.m_count] = i;
        found.m_count += (same & ((1u << i) - 1)) == 0 ? 1 : 0; // without a branch: hard to foretell
    }
    return found;
}

void scaleColours(const Planes& planes, const DifferentWords& ends, PairProblem* problem) {
    for (unsigned v = 0; v < 4; ++v) {
        store(problem->m_texels[0] + 4 * v, planes.m_r[v] * splat(kRedWeight));
        store(problem->m_texels[1] + 4 * v, planes.m_g[v] * splat(kGreenWeight));
        store(problem->m_texels[2] + 4 * v, planes.m_b[v] * splat(kBlueWeight));
    }
    const Float4 weights = loadFloats(kWeights);
    for (unsigned i = 0; i < ends.m_count; ++i) {
        store(problem->m_halves[i], widen(ends.m_words[i]) * weights * splat(0.5f));
    }
    problem->m_endCount = ends.m_count;
}

struct Words {
    std::uint32_t m_word0, m_word1; // word0 <= word1
};

// What searchBc1Pair finds in three-colour mode without generations. Pairs whose words repeat those of an
// earlier pair cannot win. One of equal words is never better than one of that word and another; it can come
// first only where its word is the block's first.
Words findBestWords(const Planes& planes, BestPairKernel findBest) {
    std::uint32_t words[kTexelsPerBlock];
    quantise(planes, words);
    const DifferentWords ends = findDifferent(words);
    if (ends.m_count == 1) {
        return {words[0], words[0]};
    }
    PairProblem problem;
    scaleColours(planes, ends, &problem);
    const BestPair best = findBest(problem);
    if (best.m_first == 0 && best.m_firstSuffices &&
        ends.m_secondPlaceOfFirst < ends.m_places[best.m_second]) {
        return {words[0], words[0]};
    }
    const std::uint32_t first = ends.m_words[best.m_first], second = ends.m_words[best.m_second];
    return {first < second ? first : second, first < second ? second : first};
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
    return wide != nullptr ? wide : PairLanes<FourLanes>::findBest;
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
