// The data behind srgbEncodeRun, and its wide kernels.
//
// The range of the power is cut into pieces of 1/32 of an octave. With c the middle of the piece and
// r = x / c - 1, the power is c^y * (1 + r)^y, whose binomial series is over after eight terms. That is exact
// to about 2^-51, and every float between the limits was compared: the rounded power is the one of
// exactPower.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qor::Texsmith::Raw {

inline constexpr float kSrgbLinearEnd = 0.0031306685f; // up to here the curve is a line
inline constexpr float kSrgbLinearSlope = 12.92f;
inline constexpr float kSrgbScale = 1.055f;
inline constexpr float kSrgbOffset = 0.055f;

// A piece has the upper 14 bits of its floats in common.
inline constexpr int kSrgbPieceShift = 18;
inline constexpr std::uint32_t kSrgbFirstPiece = 0x3B4D2BE7 >> kSrgbPieceShift;
inline constexpr std::uint32_t kSrgbPieceCount = (0x3F800000 >> kSrgbPieceShift) - kSrgbFirstPiece + 1;

struct SrgbPiece {
    double m_inverse; // of the middle
    double m_power;
};
inline constexpr int kSrgbTerms = 7;
struct SrgbTable {
    SrgbPiece m_pieces[kSrgbPieceCount];
    double m_binomials[kSrgbTerms]; // but for the first, which is 1
};
extern const SrgbTable g_srgbTable;

// Encode a count of floats that is a multiple of eight.
struct SrgbKernels {
    void (*m_run)(float* destination, const float* source, std::size_t count);
    void (*m_texels)(float* destination, const float* source, std::size_t count);
};
// Null where the build has none.
const SrgbKernels* getSrgbKernelsAvx2();

} // namespace qor::Texsmith::Raw
