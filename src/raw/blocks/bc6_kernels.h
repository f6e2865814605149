// The inner loops of the BC6H encoder, on the 16 texels of a block or on the texels of a subset.
//
// A position is a half-float bit pattern taken as a number, with a fraction, negative for negative values.
// Positions are nearly the logarithms of values; errors are measured on decoded values, or, where an effort
// says so, on positions.
#pragma once

#include "qor/texsmith/raw/vector_math.h"
#include "raw/blocks/bc6_tables.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

inline constexpr unsigned kBc6Texels = 16;
inline constexpr unsigned kBc6Entries = kBc6Partitions + 1; // ways to part a block; the last is in one piece
inline constexpr unsigned kBc6WholeBlock = kBc6Partitions;

enum class Bc6Metric : std::uint8_t {
    Values,   // squared differences of the decoded values
    Positions // squared differences of their bit patterns
};

struct Bc6Format {
    bool m_isSigned;
    Bc6Metric m_metric;
};

// By channel and texel.
struct Bc6Planes {
    alignas(32) float m_position[3][kBc6Texels];
    alignas(32) float m_weight[3][kBc6Texels];          // difference of error by difference of position
    alignas(32) float m_target[3][kBc6Texels];          // what a decoded value is compared with
    alignas(32) std::int32_t m_exponent[3][kBc6Texels]; // of the half, -14 for the least ones
    alignas(32) std::uint32_t m_pattern[3][kBc6Texels]; // the half, rounded
};

// For each entry the expected squared error, and each subset's line: a mean and a direction in positions,
// zero where all texels are equal. There is room for whole vectors.
struct Bc6Estimates {
    static constexpr unsigned kRoom = 40;
    alignas(32) float m_error[kRoom];
    alignas(32) float m_mean[2][3][kRoom];
    alignas(32) float m_axis[2][3][kRoom];
};

// The texels of one subset in row order, one in each lane. Lanes behind them are not present.
struct Bc6Subset {
    unsigned m_count;
    std::uint8_t m_texels[kBc6Texels];
    alignas(32) float m_position[3][kBc6Texels];
    alignas(32) float m_squaredWeight[3][kBc6Texels];
    alignas(32) float m_target[3][kBc6Texels];
    alignas(32) std::uint32_t m_present[kBc6Texels];  // all ones or zero
    alignas(32) std::uint32_t m_topIndex[kBc6Texels]; // the highest that the texel may take
    unsigned m_anchor;                                // lane of the texel whose index lacks the top bit
};

// Two positions for each channel.
struct Bc6Line {
    float m_ends[2][3];
};

// A pair of quantised endpoints: as 16-bit codes that the decoder interpolates, and what these decode to.
struct Bc6Ends {
    float m_code[2][3];
    float m_decoded[2][3];
};

struct Bc6Rule {
    Bc6Format m_format;
    unsigned m_indexBits; // 3 or 4
    // A texel whose error exceeds these also tries the next index towards its place on the line (level 1), or
    // both neighbours (level 2).
    int m_retryLevel;
    float m_retryAbove;
    float m_retryBothAbove;
};

struct Bc6Kernels {
    void (*m_prepare)(const ColorRGBA32F* block, Bc6Format format, Bc6Planes* planes);
    void (*m_estimate)(const Bc6Planes& planes, Bc6Estimates* estimates);
    // The ends between which the indices serve the subset best. Turned so that the anchor takes a low index.
    void (*m_fit)(const Bc6Subset& subset, const float (&mean)[3], const float (&axis)[3], unsigned indexBits,
                  Bc6Line* line);
    // The squared error for each of `count` pairs of ends.
    void (*m_evaluate)(const Bc6Subset& subset, const Bc6Rule& rule, const Bc6Ends* ends, unsigned count,
                       float* errors);
    // Writes 16 indices, in the subset's order.
    void (*m_findIndices)(const Bc6Subset& subset, const Bc6Rule& rule, const Bc6Ends& ends,
                          std::uint8_t* indices);
};

// Those of the widest instruction set that may be used now. All give the same bits.
const Bc6Kernels& bc6Kernels();

// Null where the build has none.
const Bc6Kernels* bc6KernelsAvx2();

} // namespace qor::Texsmith::Raw
