#include "raw/blocks/bc1_pair_search.h"

#include "raw/blocks/bc1_colours.h"
#include "raw/texels/sides.h"

#include <algorithm>
#include <atomic>
#include <limits>
#include <utility>
#include <vector>

namespace qor::Texsmith::Raw {
namespace {

using Population = std::vector<PairCandidate>;

std::atomic<std::uint32_t> s_random{7564231};

std::uint32_t drawRandom() {
    std::uint32_t state = s_random.load(std::memory_order_relaxed);
    std::uint32_t next;
    do {
        next = static_cast<std::uint32_t>(std::uint64_t(state) * 62089911 % 4294967295);
    } while (!s_random.compare_exchange_weak(state, next, std::memory_order_relaxed));
    return next;
}

struct Scaled {
    float r, g, b;
};

Scaled scale(const ColorRGBA32F& c) { return {c.r * kRedWeight, c.g * kGreenWeight, c.b * kBlueWeight}; }

float squaredDistance(Scaled p, Scaled q) {
    const float r = p.r - q.r, g = p.g - q.g, b = p.b - q.b;
    return r * r + g * g + b * b;
}

// The second operand when either is a NaN.
float lesser(float a, float b) { return a < b ? a : b; }

// Folds the upper half onto the lower one until one is left, as the wide kernels do.
float foldedSum(float (&errors)[kTexelsPerBlock]) {
    for (unsigned half = kTexelsPerBlock / 2; half > 0; half /= 2) {
        for (unsigned i = 0; i < half; ++i) {
            errors[i] += errors[i + half];
        }
    }
    return errors[0];
}

class PairSearch {
public:
    PairSearch(const ColorRGBA32F* block, bool threeColourMode, const PairSearchSettings& settings);

    PairCandidate run();

private:
    PairCandidate make(std::uint32_t word0, std::uint32_t word1) const;
    float errorOf(Scaled a, Scaled b) const;
    void addPairsOfTexels(const ColorRGBA32F* block);
    void addNeighbours(const PairCandidate& candidate, Population* population) const;
    Population nextGeneration() const;
    void runGenerations();

    Scaled m_texels[kTexelsPerBlock];
    bool m_threeColourMode;
    PairSearchSettings m_settings;
    Population m_population;
};

PairSearch::PairSearch(const ColorRGBA32F* block, bool threeColourMode, const PairSearchSettings& settings)
    : m_threeColourMode(threeColourMode), m_settings(settings) {
    std::transform(block, block + kTexelsPerBlock, m_texels, scale);
    addPairsOfTexels(block);
}

float PairSearch::errorOf(Scaled a, Scaled b) const {
    const auto mix = [&](float weightA, float weightB, float divisor) {
        return Scaled{(weightA * a.r + weightB * b.r) / divisor, (weightA * a.g + weightB * b.g) / divisor,
                      (weightA * a.b + weightB * b.b) / divisor};
    };
    const Scaled inner[2] = {m_threeColourMode ? mix(1.0f, 1.0f, 2.0f) : mix(2.0f, 1.0f, 3.0f),
                             mix(1.0f, 2.0f, 3.0f)};
    float errors[kTexelsPerBlock];
    for (unsigned t = 0; t < kTexelsPerBlock; ++t) {
        const Scaled p = m_texels[t];
        const float ends = lesser(squaredDistance(p, a), squaredDistance(p, b));
        errors[t] = lesser(ends, squaredDistance(p, inner[0]));
        if (!m_threeColourMode) {
            errors[t] = lesser(errors[t], squaredDistance(p, inner[1]));
        }
    }
    return foldedSum(errors);
}

PairCandidate PairSearch::make(std::uint32_t word0, std::uint32_t word1) const {
    const ColorRGBA32F color0 = rgb565ToFloat(word0), color1 = rgb565ToFloat(word1);
    return {color0, color1, word0, word1, errorOf(scale(color0), scale(color1)), m_threeColourMode ? 3u : 4u};
}

void PairSearch::addPairsOfTexels(const ColorRGBA32F* block) {
    std::uint32_t words[kTexelsPerBlock];
    std::transform(block, block + kTexelsPerBlock, words, floatToRgb565);
    const std::size_t kept = std::size_t(m_settings.eliteCount) + m_settings.sampleCount;
    m_population.reserve(kept * 13 + m_settings.randomCount);
    for (unsigned i = 0; i < kTexelsPerBlock; ++i) {
        for (unsigned j = i + 1; j < kTexelsPerBlock; ++j) {
            m_population.push_back(make(words[i], words[j]));
        }
    }
}

// Each field of each word one up and one down, wrapping within itself.
void PairSearch::addNeighbours(const PairCandidate& candidate, Population* population) const {
    static constexpr std::pair<std::uint32_t, std::uint32_t> kFields[] = {
        {0xF800, 1 << 11}, {0x07E0, 1 << 5}, {0x001F, 1}};
    const auto step = [](std::uint32_t word, std::uint32_t field, std::uint32_t by) {
        return (word & ~field) | ((word + by) & field);
    };
    for (const auto& [field, unit] : kFields) {
        for (const std::uint32_t by : {unit, 0u - unit}) {
            population->push_back(make(step(candidate.word0, field, by), candidate.word1));
            population->push_back(make(candidate.word0, step(candidate.word1, field, by)));
        }
    }
}

// A NaN counts as the largest error.
bool isBetter(const PairCandidate& a, const PairCandidate& b) {
    constexpr float kWorst = std::numeric_limits<float>::infinity();
    return lesser(a.error, kWorst) < lesser(b.error, kWorst);
}

// From a sorted population.
Population PairSearch::nextGeneration() const {
    const std::size_t eliteCount = std::min<std::size_t>(m_settings.eliteCount, m_population.size());
    const std::size_t others = m_population.size() - eliteCount;
    Population next(m_population.begin(), m_population.begin() + static_cast<std::ptrdiff_t>(eliteCount));
    for (std::uint32_t i = 0; i < m_settings.sampleCount && others > 0; ++i) {
        next.push_back(m_population[eliteCount + drawRandom() % others]);
    }
    const std::size_t kept = next.size();
    next.reserve(kept * 13 + m_settings.randomCount);
    for (std::size_t i = 0; i < kept; ++i) {
        const PairCandidate candidate = next[i];
        addNeighbours(candidate, &next);
    }
    const auto randomWord = [] {
        const std::uint32_t r = drawRandom() & 31, g = drawRandom() & 63, b = drawRandom() & 31;
        return r << 11 | g << 5 | b;
    };
    for (std::uint32_t i = 0; i < m_settings.randomCount; ++i) {
        const std::uint32_t word0 = randomWord();
        next.push_back(make(word0, randomWord()));
    }
    return next;
}

void PairSearch::runGenerations() {
    std::uint32_t lastImproved = 0; // how many generations had been then
    std::stable_sort(m_population.begin(), m_population.end(), isBetter);
    for (std::uint32_t generation = 0; generation < m_settings.generationCount; ++generation) {
        const bool stagnates = generation - lastImproved > m_settings.stagnationLimit;
        if (m_population.front().error <= m_settings.targetError || stagnates) {
            return;
        }
        Population next = nextGeneration();
        if (next.empty()) {
            return;
        }
        std::stable_sort(next.begin(), next.end(), isBetter);
        if (isBetter(next.front(), m_population.front())) {
            lastImproved = generation + 1;
        }
        m_population.swap(next);
    }
}

PairCandidate PairSearch::run() {
    if (m_settings.generationCount > 0) {
        runGenerations();
    }
    return *std::min_element(m_population.begin(), m_population.end(), isBetter);
}

} // namespace

void searchBc1Pair(const ColorRGBA32F* block, bool threeColourMode, const PairSearchSettings& settings,
                   PairCandidate* best) {
    *best = PairSearch(block, threeColourMode, settings).run();
    const bool outOfOrder = threeColourMode ? best->word0 > best->word1 : best->word0 < best->word1;
    if (outOfOrder) {
        std::swap(best->word0, best->word1);
        std::swap(best->color0, best->color1);
    }
}

} // namespace qor::Texsmith::Raw
