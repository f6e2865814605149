#include "raw/bc1_punch_through.h"

#include "raw/bc1_colours.h"
#include "raw/bc1_four_lanes.h"
#include "raw/bc1_pair_lanes.h"
#include "raw/bc1_pair_search.h"
#include "raw/block_encoders.h"
#include "simd/dispatch.h"

#include <cstring>
#include <utility>

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
        FourLanes::loadTexels(channels, &block[4 * v].r, 4);
        planes.m_r[v] = channels[0];
        planes.m_g[v] = channels[1];
        planes.m_b[v] = channels[2];
        planes.m_a[v] = channels[3];
    }
    return planes;
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

// The different words of a block, and where each stands for the first and for the second time.
struct DifferentWords {
    unsigned m_count = 0;
    std::uint32_t m_words[kTexelsPerBlock];
    unsigned m_first[kTexelsPerBlock];
    unsigned m_second[kTexelsPerBlock];

    void add(std::uint32_t word, unsigned place) {
        unsigned i = 0;
        while (i < m_count && m_words[i] != word) {
            ++i;
        }
        if (i == m_count) {
            ++m_count;
            m_words[i] = word;
            m_first[i] = place;
            m_second[i] = kTexelsPerBlock;
        } else if (m_second[i] == kTexelsPerBlock) {
            m_second[i] = place;
        }
    }
};

// In the order of the places in the block, without pairs whose words repeat an earlier one.
void listPairs(const DifferentWords& ends, PairProblem* problem) {
    unsigned count = 0;
    const auto add = [&](unsigned first, unsigned second) {
        problem->m_pairs[count][0] = static_cast<unsigned char>(first);
        problem->m_pairs[count++][1] = static_cast<unsigned char>(second);
    };
    for (unsigned i = 0; i < ends.m_count; ++i) {
        unsigned j = i + 1;
        for (; j < ends.m_count && ends.m_first[j] < ends.m_second[i]; ++j) {
            add(i, j);
        }
        if (ends.m_second[i] < kTexelsPerBlock) {
            add(i, i);
        }
        for (; j < ends.m_count; ++j) {
            add(i, j);
        }
    }
    problem->m_pairCount = count;
}

void scaleColours(const Planes& planes, const DifferentWords& ends, PairProblem* problem) {
    for (unsigned v = 0; v < 4; ++v) {
        store(problem->m_texels[0] + 4 * v, planes.m_r[v] * splat(kRedWeight));
        store(problem->m_texels[1] + 4 * v, planes.m_g[v] * splat(kGreenWeight));
        store(problem->m_texels[2] + 4 * v, planes.m_b[v] * splat(kBlueWeight));
    }
    problem->m_endCount = ends.m_count;
    for (unsigned i = 0; i < ends.m_count; ++i) {
        const ColorRGBA32F colour = rgb565ToFloat(ends.m_words[i]);
        problem->m_ends[0][i] = colour.r * kRedWeight;
        problem->m_ends[1][i] = colour.g * kGreenWeight;
        problem->m_ends[2][i] = colour.b * kBlueWeight;
    }
}

struct Words {
    std::uint32_t m_word0, m_word1; // word0 <= word1
};

// What searchBc1Pair finds in three-colour mode without generations.
Words findBestWords(const Planes& planes, BestPairKernel findBest) {
    std::uint32_t words[kTexelsPerBlock];
    quantise(planes, words);
    DifferentWords ends;
    for (unsigned i = 0; i < kTexelsPerBlock; ++i) {
        ends.add(words[i], i);
    }
    if (ends.m_count == 1) {
        return {words[0], words[0]};
    }
    PairProblem problem;
    scaleColours(planes, ends, &problem);
    listPairs(ends, &problem);
    const unsigned char(&best)[2] = problem.m_pairs[findBest(problem)];
    const std::uint32_t first = ends.m_words[best[0]], second = ends.m_words[best[1]];
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
