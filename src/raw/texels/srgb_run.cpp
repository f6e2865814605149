#include "raw/texels/srgb_run.h"

#include "raw/texels/exact_power.h"
#include "raw/texels/srgb_run_table.h"
#include "simd/dispatch.h"

#include <bit>

namespace qor::Texsmith::Raw {
namespace {

constexpr double kExponent = static_cast<double>(0.41666666f);

// What exactPower computes, before its last rounding to single precision.
constexpr double powerOf(float base) {
    const std::uint32_t bits = std::bit_cast<std::uint32_t>(base);
    const bool upper = (bits & 0x7FFFFF) > 0x3504F3;
    const int scale = static_cast<int>(bits >> 23) - (upper ? 126 : 127);
    const std::uint32_t mantissa = (bits & 0x7FFFFF) | (upper ? 0x3F000000u : 0x3F800000u);
    const SplitDouble log = splitLog2(std::bit_cast<float>(mantissa));
    const double whole = kExponent * scale;
    const int n = static_cast<int>(whole + kExponent * log.m_high - 0.5);
    const double t = (((whole - n) + kExponent * log.m_high) + kExponent * log.m_low) * 0.69314718055994531;
    const double power = 1.0 + (t + t * t * polynomial(kInverseFactorials, t));
    return power * std::bit_cast<double>(static_cast<std::uint64_t>(n + 1023) << 52);
}

constexpr SrgbTable makeTable() {
    SrgbTable table = {};
    for (std::uint32_t i = 0; i < kSrgbPieceCount; ++i) {
        const std::uint32_t first = (kSrgbFirstPiece + i) << kSrgbPieceShift;
        const float middle = std::bit_cast<float>(first | 1u << (kSrgbPieceShift - 1));
        table.m_pieces[i] = {1.0 / static_cast<double>(middle), powerOf(middle)};
    }
    double term = 1.0;
    for (int i = 0; i < kSrgbTerms; ++i) {
        term *= (kExponent - i) / (i + 1);
        table.m_binomials[i] = term;
    }
    return table;
}

constexpr float clampToOne(float x) {
    const float low = x > 0.0f ? x : 0.0f;
    return low < 1.0f ? low : 1.0f;
}

float encode(float linear) {
    const float x = clampToOne(linear);
    if (x <= kSrgbLinearEnd) {
        return x * kSrgbLinearSlope;
    }
    const std::uint32_t index = (std::bit_cast<std::uint32_t>(x) >> kSrgbPieceShift) - kSrgbFirstPiece;
    const SrgbPiece& piece = g_srgbTable.m_pieces[index];
    const double r = static_cast<double>(x) * piece.m_inverse - 1.0;
    const double rest = r * polynomial(g_srgbTable.m_binomials, r);
    return static_cast<float>(piece.m_power + piece.m_power * rest) * kSrgbScale - kSrgbOffset;
}

constexpr std::size_t kLanes = 8;

// How many floats the wide kernel has done.
std::size_t runWide(void (*SrgbKernels::*kernel)(float*, const float*, std::size_t), float* destination,
                    const float* source, std::size_t count) {
    const SrgbKernels* kernels = Simd::mayUseAvx2() ? getSrgbKernelsAvx2() : nullptr;
    if (kernels == nullptr) {
        return 0;
    }
    const std::size_t whole = count / kLanes * kLanes;
    (kernels->*kernel)(destination, source, whole);
    return whole;
}

} // namespace

constinit const SrgbTable g_srgbTable = makeTable();

void srgbEncodeRun(float* destination, const float* source, std::size_t count) {
    for (std::size_t i = runWide(&SrgbKernels::m_run, destination, source, count); i < count; ++i) {
        destination[i] = encode(source[i]);
    }
}

void srgbEncodeTexels(float* destination, const float* source, std::size_t texelCount) {
    const std::size_t count = 4 * texelCount;
    for (std::size_t i = runWide(&SrgbKernels::m_texels, destination, source, count); i < count; ++i) {
        destination[i] = i % 4 == 3 ? clampToOne(source[i]) : encode(source[i]);
    }
}

} // namespace qor::Texsmith::Raw
