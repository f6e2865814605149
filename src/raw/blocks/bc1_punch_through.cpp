#include "raw/blocks/bc1_punch_through.h"

#include "raw/blocks/bc1_best_pair_lanes.h"
#include "raw/blocks/bc1_pair_search.h"
#include "raw/blocks/bc1_punch_through_lanes.h"
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

using Colours = Bc1ThreeColours<Lanes4>;

// The 5:6:5 words of all texels, and the part of the problem that depends on the texels alone.
void quantiseTexels(const Planes& planes, std::uint32_t (&words)[kTexelsPerBlock], PairProblem* problem) {
    const Float4 red = splat(kRedWeight), green = splat(kGreenWeight), blue = splat(kBlueWeight);
    const Float4 half = splat(0.5f);
    for (unsigned v = 0; v < 4; ++v) {
        const Int4 word = Colours::wordOf({planes.m_r[v], planes.m_g[v], planes.m_b[v]});
        const Colours::Rgb colour = Colours::colourOf(word);
        store(words + 4 * v, word);
        Float4 halves[4] = {colour.r * red * half, colour.g * green * half, colour.b * blue * half,
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

std::uint32_t chooseIndices(const Planes& planes, Words words, float alphaThreshold) {
    const Colours colours(splat(words.m_word0), splat(words.m_word1));
    std::uint32_t indices = 0;
    for (unsigned v = 0; v < 4; ++v) {
        const Int4 chosen = colours.indexOf({planes.m_r[v], planes.m_g[v], planes.m_b[v]}, planes.m_a[v],
                                            splat(alphaThreshold));
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

// By the search itself.
void encodeOne(std::uint8_t* destination, const ColorRGBA32F* block, float alphaThreshold) {
    const BestPairKernel wide = mayUseAvx2() ? getBestPairAvx2() : nullptr;
    encode(destination, block, alphaThreshold, wide != nullptr ? wide : BestPairSearch<Lanes4>::findBest);
}

void encodeOne(std::uint8_t* destination, const ColourSource& source, float alphaThreshold) {
    if (source.m_texels != nullptr) {
        encodeOne(destination, reinterpret_cast<const ColorRGBA32F*>(source.m_texels), alphaThreshold);
        return;
    }
    ColorRGBA32F texels[kTexelsPerBlock];
    for (unsigned i = 0; i < kTexelsPerBlock; ++i) {
        const std::uint8_t* pixel = source.m_rows + i / kBlockSide * source.m_pitch + i % kBlockSide * 4;
        const auto unit = [pixel](unsigned channel) {
            return static_cast<float>(pixel[channel]) * kByteToUnit;
        };
        texels[i] = {unit(0), unit(1), unit(2), unit(3)};
    }
    encodeOne(destination, texels, alphaThreshold);
}

// So many are searched in less time than a vector takes.
constexpr unsigned kFewBlocks = 2;

void encodeBlocks(std::uint8_t* destination, const ColourSource& source, std::size_t count,
                  float alphaThreshold) {
    const PunchThroughKernel wide = mayUseAvx2() ? getPunchThroughKernelAvx2() : nullptr;
    const PunchThroughKernel kernel = wide != nullptr ? wide : PunchThroughRun<Lanes4>::encode;
    for (std::size_t done = 0; done < count; done += kPunchThroughBlocks) {
        const auto here = static_cast<unsigned>(std::min<std::size_t>(kPunchThroughBlocks, count - done));
        bool isOpen[kPunchThroughBlocks];
        if (here > kFewBlocks) {
            kernel(destination + 8 * done, source.from(done), here, alphaThreshold, isOpen);
        } else {
            std::fill_n(isOpen, here, true);
        }
        for (unsigned block = 0; block < here; ++block) {
            if (isOpen[block]) {
                encodeOne(destination + 8 * (done + block), source.from(done + block), alphaThreshold);
            }
        }
    }
}

} // namespace

void encodeBc1PunchThroughBlocks(void* destination, const ColorRGBA32F* points, std::size_t count,
                                 float alphaThreshold) {
    encodeBlocks(static_cast<std::uint8_t*>(destination), {&points->r, nullptr, 0}, count, alphaThreshold);
}

void encodeBc1PunchThroughRows(void* destination, const std::uint8_t* rows, std::size_t pitch,
                               std::size_t count, float alphaThreshold) {
    encodeBlocks(static_cast<std::uint8_t*>(destination), {nullptr, rows, pitch}, count, alphaThreshold);
}

void encodeBc1PunchThrough(void* destination, const ColorRGBA32F* block, float alphaThreshold) {
    encodeOne(static_cast<std::uint8_t*>(destination), block, alphaThreshold);
}

} // namespace qor::Texsmith::Raw
