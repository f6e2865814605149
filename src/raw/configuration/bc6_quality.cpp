// The table that turns a quality into settings of the BC6H encoder.

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/tools_assert.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <iterator>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\configuration";

struct Row {
    float m_key;
    float m_linear[8];    // partition and mode cutoffs and scales
    float m_geometric[3]; // refineBelow, indexRetryAbove, indexRetryBothAbove
    int m_searchDepth;
    int m_indexRetryLevel;
};

// clang-format off
constexpr Row kRows[] = {
//          smooth blocks:                wide blocks:
//          partition       mode          partition       mode            refine     retry     retry both
//  key     cutoff  scale   cutoff scale  cutoff  scale   cutoff scale    below      above     above    depth level
    {0.3f,  {1.0f,   28.0f, 0.4f,  20.0f,  1.0f,   28.0f, 0.1f,  28.0f}, {64.0f,     64.0f,    64.0f},    1, 0},
    {0.4f,  {1.2f,   36.0f, 0.4f,  20.0f,  1.1f,   28.0f, 0.2f,  28.0f}, {64.0f,     64.0f,    64.0f},    1, 0},
    {0.5f,  {1.2f,   36.0f, 1.0f,  20.0f,  1.1f,   28.0f, 0.3f,  24.0f}, {64.0f,     64.0f,    64.0f},    1, 0},
    {0.6f,  {1.3f,   48.0f, 1.05f, 20.0f,  1.1f,   28.0f, 0.4f,  20.0f}, {64.0f,     64.0f,    64.0f},    2, 0},
    {0.75f, {1.4f,   52.0f, 1.1f,  20.0f,  1.1f,   28.0f, 0.4f,  20.0f}, {1.0f,      64.0f,    64.0f},    2, 0},
    {1.0f,  {1.4f,   56.0f, 1.1f,  20.0f,  1.3f,   40.0f, 0.4f,  20.0f}, {0.03125f,  64.0f,    64.0f},    2, 0},
    {3.0f,  {1.4f,   56.0f, 1.1f,  20.0f,  1.3f,   40.0f, 0.4f,  20.0f}, {0.011049f, 64.0f,    64.0f},    2, 0},
    {4.0f,  {1.4f,   56.0f, 1.1f,  20.0f,  1.3f,   40.0f, 0.4f,  20.0f}, {1.5e-05f,  16.0f,    64.0f},    2, 0},
    {4.25f, {1.4f,   60.0f, 1.1f,  20.0f,  1.3f,   44.0f, 0.4f,  20.0f}, {0.0f,      0.5f,     64.0f},    2, 1},
    {4.5f,  {1.4f,   60.0f, 1.1f,  20.0f,  1.3f,   48.0f, 0.4f,  20.0f}, {0.0f,      0.25f,    2.0f},     2, 2},
    {5.0f,  {1.4f,   60.0f, 1.1f,  20.0f,  1.3f,   48.0f, 0.4f,  20.0f}, {0.0f,      0.03125f, 0.5f},     2, 2},
    {6.0f,  {1.4f,   60.0f, 1.1f,  20.0f,  1.3f,   48.0f, 0.4f,  20.0f}, {0.0f,      9.7e-05f, 0.25f},    2, 2},
    {6.5f,  {1.5f,   56.0f, 1.1f,  20.0f,  1.3f,   48.0f, 0.4f,  20.0f}, {0.0f,      1.5e-05f, 0.03125f}, 2, 2},
    {7.0f,  {1.6f,   56.0f, 1.1f,  20.0f,  2.4f,   56.0f, 0.5f,  20.0f}, {0.0f,      0.0f,     1.5e-05f}, 2, 2},
    {14.0f, {1.8f,   56.0f, 1.3f,  20.0f,  3.0f,   56.0f, 0.7f,  20.0f}, {0.0f,      0.0f,     0.0f},     2, 2},
    {37.0f, {2.0f,   56.0f, 1.6f,  36.0f,  3.0f,   56.0f, 0.9f,  28.0f}, {0.0f,      0.0f,     0.0f},     2, 2},
    {50.0f, {4.0f,   56.0f, 2.0f,  44.0f,  4.0f,   56.0f, 2.0f,  44.0f}, {0.0f,      0.0f,     0.0f},     2, 2},
};
// clang-format on

constexpr float Bc6QualitySettings::*kLinearFields[] = {
    &Bc6QualitySettings::partitionCutoffSmooth, &Bc6QualitySettings::partitionScaleSmooth,
    &Bc6QualitySettings::modeCutoffSmooth,      &Bc6QualitySettings::modeScaleSmooth,
    &Bc6QualitySettings::partitionCutoffWide,   &Bc6QualitySettings::partitionScaleWide,
    &Bc6QualitySettings::modeCutoffWide,        &Bc6QualitySettings::modeScaleWide};
constexpr float Bc6QualitySettings::*kGeometricFields[] = {&Bc6QualitySettings::refineBelow,
                                                           &Bc6QualitySettings::indexRetryAbove,
                                                           &Bc6QualitySettings::indexRetryBothAbove};

// Interpolation in the logarithm ends at the upper one of these; below, it is led to the lower row in a
// straight line. The lower one, exactly half of it, stands for the logarithm of a value that is nearly zero.
constexpr float kFloor = std::bit_cast<float>(0x37800080u);
constexpr float kHalfFloor = std::bit_cast<float>(0x37000080u);

float interpolate(float low, float high, float t) { return (1.0f - t) * low + t * high; }

// In double precision and rounded once: the C library's log and exp differ between systems in the last bit
// of a double, which the rounding hides but for one value in some hundred millions.
float interpolateGeometrically(float low, float high, float t) {
    const double u = 1.0f - t;
    if (high > kFloor) {
        return static_cast<float>(std::exp(std::log(double{low}) * u + std::log(double{high}) * t));
    }
    if (low > kFloor) {
        const double logFloor = std::log(double{kFloor}), logHalfFloor = std::log(double{kHalfFloor});
        const double m = std::log(double{low}) * u + logHalfFloor * t;
        if (m > logFloor) {
            return static_cast<float>(std::exp(m));
        }
        const double mixed = (logFloor - m) * high + (m - logHalfFloor) * 0x1p-16;
        return static_cast<float>(mixed / std::log(2.0));
    }
    return interpolate(low, high, t);
}

void takeRow(Bc6QualitySettings& settings, const Row& row) {
    for (std::size_t i = 0; i < std::size(kLinearFields); ++i) {
        settings.*kLinearFields[i] = row.m_linear[i];
    }
    for (std::size_t i = 0; i < std::size(kGeometricFields); ++i) {
        settings.*kGeometricFields[i] = row.m_geometric[i];
    }
    settings.searchDepth = row.m_searchDepth;
    settings.indexRetryLevel = row.m_indexRetryLevel;
    settings.reservedCount = 0;
}

void mixRows(Bc6QualitySettings& settings, const Row& low, const Row& high, float quality) {
    const float t = (quality - low.m_key) / (high.m_key - low.m_key);
    for (std::size_t i = 0; i < std::size(kLinearFields); ++i) {
        settings.*kLinearFields[i] = interpolate(low.m_linear[i], high.m_linear[i], t);
    }
    for (std::size_t i = 0; i < std::size(kGeometricFields); ++i) {
        settings.*kGeometricFields[i] = interpolateGeometrically(low.m_geometric[i], high.m_geometric[i], t);
    }
    settings.searchDepth = low.m_searchDepth;
    settings.indexRetryLevel = low.m_indexRetryLevel;
    settings.quality = quality;
}

} // namespace

void Bc6QualitySettings::setFromQuality(float value) {
    if (value < 0.0f) {
        toolsAssert(kSourcePath, __LINE__, "fQuality parameter must not be negative.");
    }
    const Row* high =
        std::find_if(std::begin(kRows), std::end(kRows), [&](const Row& row) { return row.m_key > value; });
    if (high == std::end(kRows)) {
        takeRow(*this, *std::prev(high));
    } else if (high == std::begin(kRows)) {
        takeRow(*this, *high);
    } else {
        mixRows(*this, *std::prev(high), *high, value);
    }
}

} // namespace qor::Texsmith::Raw
