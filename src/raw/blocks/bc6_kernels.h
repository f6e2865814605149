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
    alignas(32) float m_weight[3][kBc6Texels]; // difference of error by difference of position
    alignas(32) float m_squaredWeight[3][kBc6Texels];
    alignas(32) float m_target[3][kBc6Texels];          // what a decoded value is compared with
    alignas(32) std::int32_t m_exponent[3][kBc6Texels]; // of the half, -14 for the least ones
    alignas(32) std::uint32_t m_pattern[3][kBc6Texels]; // the half, rounded
};

// For each entry the expected squared error, and each subset's line: a mean and a direction in positions,
// zero where all texels are equal. There is room for whole vectors.
struct Bc6Estimates {
    static constexpr unsigned kRoom = 40;
    alignas(32) float m_error[kRoom];
    float m_squaredWeights; // of all texels and channels
    alignas(32) float m_mean[2][3][kRoom];
    alignas(32) float m_axis[2][3][kRoom];
};

// The texels of one subset in row order. What lies behind them is any numbers.
struct Bc6Subset {
    unsigned m_count;
    const std::uint8_t* m_texels;
    alignas(32) float m_position[3][kBc6Texels];
    alignas(32) float m_squaredWeight[3][kBc6Texels];
    alignas(32) float m_target[3][kBc6Texels];
    alignas(32) std::uint32_t m_topIndex[kBc6Texels]; // the highest that the texel may take
};

// For up to eight entries: the ends of their lines in positions, by subset, end and channel, turned so that
// the anchors take low indices; and the squared error that indices leave, before the ends are rounded.
struct Bc6Fits {
    static constexpr unsigned kRoom = 8;
    alignas(32) float m_error[kRoom];
    alignas(32) float m_ends[2][2][3][kRoom];
};

// A pair of quantised endpoints, and for each component another number: as 16-bit codes that the decoder
// interpolates, and what these decode to. Bit channel + 3 * end of a mask chooses the other number.
struct Bc6Choices {
    float m_code[2][3][2];
    float m_decoded[2][3][2];
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

// Eight blocks in one piece, one in each lane.
struct Bc6Group {
    static constexpr unsigned kBlocks = 8;
    alignas(32) float m_position[kBc6Texels][3][kBlocks];
    std::uint32_t m_firstPattern[3][kBlocks];        // the halves of texel 0
    alignas(32) std::uint32_t m_changes[kBlocks];    // 0 where all texels have the same halves
    alignas(32) float m_ends[2][3][kBlocks];         // positions, turned so that texel 0 takes a low index
    alignas(32) float m_decoded[2][3][kBlocks];      // what the rounded ends decode to
    alignas(32) std::uint32_t m_indices[2][kBlocks]; // four bits for each of eight texels
};

struct Bc6Kernels {
    void (*m_prepare)(const ColorRGBA32F* block, Bc6Format format, Bc6Planes* planes);
    void (*m_estimate)(const Bc6Planes& planes, Bc6Estimates* estimates);
    // At most eight entries.
    void (*m_fit)(const Bc6Planes& planes, const Bc6Estimates& estimates, const std::uint8_t* entries,
                  unsigned count, Bc6Fits* fits);
    // The squared error for the choice of mask 0, and its indices: 16, in the subset's order.
    float (*m_evaluate)(const Bc6Subset& subset, const Bc6Rule& rule, const Bc6Choices& choices,
                        std::uint8_t* indices);
    // The squared errors for `count` masks. Both arrays have room for a multiple of eight.
    void (*m_evaluateSteps)(const Bc6Subset& subset, const Bc6Rule& rule, const Bc6Choices& choices,
                            const std::uint8_t* masks, unsigned count, float* errors);
    // Positions, changes and ends of eight blocks, and their indices for the decoded ends.
    void (*m_fitGroup)(const ColorRGBA32F* blocks, bool isSigned, Bc6Group* group);
    void (*m_findGroupIndices)(Bc6Group* group);
};

// Those of the widest instruction set that may be used now. All give the same bits.
const Bc6Kernels& bc6Kernels();

// Null where the build has none.
const Bc6Kernels* bc6KernelsAvx2();

} // namespace qor::Texsmith::Raw
