// The search for the best block of BC6H.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "raw/blocks/bc6_kernels.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

// How hard to search, from the settings of a configuration.
struct Bc6Plan {
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
