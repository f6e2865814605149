// A search for a pair of BC1 endpoints by trial.
//
// Colours are compared in a space that weights red, green and blue as the eye does. The first candidates are
// the pairs of the block's own texels, quantised; after them a genetic search may go on, with random numbers
// from one generator for the process. Without generations nothing global is touched.
#pragma once

#include "qor/texsmith/raw/vector_math.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

struct PairSearchSettings {
    std::uint32_t eliteCount;  // of the best candidates, which live on
    std::uint32_t sampleCount; // of others, which live on by chance
    std::uint32_t randomCount; // of new ones in each generation
    std::uint32_t generationCount;
    std::uint32_t stagnationLimit; // generations without a better candidate
    float targetError;
};

struct PairCandidate {
    ColorRGBA32F color0, color1; // 0 to 1, alpha 1
    std::uint32_t word0, word1;  // the same as 5:6:5
    float error;
    std::uint32_t paletteSize; // 3 or 4
};

inline constexpr PairSearchSettings kPunchThroughSearch = {10, 10, 50, 0, 2, 0.001f};

// The weights of red, green and blue are the roots of 0.3, 0.59 and 0.11.
inline constexpr float kRedWeight = 0.5477225575f;
inline constexpr float kGreenWeight = 0.7681145748f;
inline constexpr float kBlueWeight = 0.3316624790f;

// The best pair for the 16 texels of a block; of equal ones the first. Its words are in the order that makes
// decoders take the mode: word0 <= word1 with three colours, word0 >= word1 with four.
void searchBc1Pair(const ColorRGBA32F* block, bool threeColourMode, const PairSearchSettings& settings,
                   PairCandidate* best);

} // namespace qor::Texsmith::Raw
