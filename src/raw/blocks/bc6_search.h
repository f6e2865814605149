// The search for the best block of BC6H.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "raw/blocks/bc6_kernels.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

// Errors are compared with the best one on a curve that is flatter for large ones.
class Bc6Cutoff {
public:
    Bc6Cutoff(float factor, float scale);
    // Whether the error exceeds the best one, on the curve, by more than the factor. Never before there is
    // one.
    bool drops(float error, float best) const;

private:
    float m_factor;
    float m_inverseScale;
    float m_bend; // below it the curve is straight

    float compress(float error) const;
};

// How hard to search, from the settings of a configuration.
struct Bc6Plan {
    Bc6Cutoff m_partitionCutoffs[2]; // for blocks of small and of large exponent spread
    Bc6Cutoff m_modeCutoffs[2];
    Bc6QualitySettings m_quality;
    Bc6Format m_format;
    unsigned m_entryLimit; // of the 33 ways to part a block
};
Bc6Plan makeBc6Plan(const EncoderConfiguration& configuration);

struct Bc6Result {
    unsigned m_mode;
    unsigned m_partition;
    float m_error; // as decoded
    std::uint16_t m_words[kBc6Words];
    std::uint8_t m_indices[kBc6Texels];
};

// What a search has looked at, for measurements.
struct Bc6Effort {
    unsigned m_entries = 0;
    unsigned m_modes = 0;
    unsigned m_evaluations = 0;
};

Bc6Result searchBc6Block(const ColorRGBA32F* block, const Bc6Plan& plan, const Bc6Kernels& kernels,
                         Bc6Effort* effort);

} // namespace qor::Texsmith::Raw
