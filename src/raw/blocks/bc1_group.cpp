// The fit of BC1 endpoints in scalar code, for any number of blocks. The kernels over lanes (bc1_lanes.h) do
// the same for single blocks: they add up in the same order, texel after texel, and give the same bits.
#include "raw/blocks/bc1_group.h"

#include "raw/blocks/bc1_fit.h"
#include "raw/blocks/bc1_search_lanes.h"
#include "raw/blocks/bc1_single_colour.h"
#include "raw/texels/sides.h"
#include "simd/dispatch.h"
#include "simd/fast_rsqrt.h"
#include "simd/lanes4.h"

#include <algorithm>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

// The second operand when either is a NaN.
float lesser(float a, float b) { return a < b ? a : b; }
float greater(float a, float b) { return a > b ? a : b; }
float roundToEven(float x) { return (x + kRoundingShift) - kRoundingShift; }

struct Rgb {
    float r, g, b;
};
Rgb operator+(Rgb a, Rgb b) { return {a.r + b.r, a.g + b.g, a.b + b.b}; }
Rgb operator-(Rgb a, Rgb b) { return {a.r - b.r, a.g - b.g, a.b - b.b}; }
Rgb operator*(Rgb a, float b) { return {a.r * b, a.g * b, a.b * b}; }
Rgb operator/(Rgb a, float b) { return {a.r / b, a.g / b, a.b / b}; }
float dot(Rgb a, Rgb b) { return a.r * b.r + a.g * b.g + a.b * b.b; }
Rgb lesser(Rgb a, Rgb b) { return {lesser(a.r, b.r), lesser(a.g, b.g), lesser(a.b, b.b)}; }
Rgb greater(Rgb a, Rgb b) { return {greater(a.r, b.r), greater(a.g, b.g), greater(a.b, b.b)}; }

// One run of the fit: the points, and the result as far as it is known.
class GroupFit {
public:
    GroupFit(const ColorRGBA32F* points, unsigned blockCount)
        : m_points(points), m_blockCount(blockCount), m_pointCount(kTexelsPerBlock * blockCount) {}

    Bc1GroupResult run();

private:
    Rgb point(unsigned i) const { return {m_points[i].r, m_points[i].g, m_points[i].b}; }
    unsigned indexOf(unsigned i) const { return m_result.indices[i / 16] >> 2 * (i % 16) & 3; }

    void findMeanAndRange();
    Rgb findAxis() const;
    void fit(Rgb axis);
    void setFlat();
    void assignIndices();
    bool allIndicesEqual() const;
    void refineEndpoints();
    void setIndices(std::uint32_t word) { std::fill_n(m_result.indices, m_blockCount, word); }
    void order();

    const ColorRGBA32F* m_points;
    unsigned m_blockCount;
    unsigned m_pointCount;
    Rgb m_mean = {};
    Rgb m_range = {};
    Bc1GroupResult m_result = {};
};

void GroupFit::findMeanAndRange() {
    Rgb sum = point(0), low = point(0), high = point(0);
    for (unsigned i = 1; i < m_pointCount; ++i) {
        sum = sum + point(i);
        low = lesser(point(i), low);
        high = greater(point(i), high);
    }
    m_mean = sum / static_cast<float>(m_pointCount);
    m_range = high - low;
}

// The principal axis of the points, by power iteration on their covariance. Not of unit length.
Rgb GroupFit::findAxis() const {
    Rgb rows[3] = {};
    for (unsigned i = 0; i < m_pointCount; ++i) {
        const Rgb d = point(i) - m_mean;
        rows[0] = rows[0] + d * d.r;
        rows[1] = rows[1] + d * d.g;
        rows[2] = rows[2] + d * d.b;
    }
    Rgb v = m_range;
    for (int round = 0; round < 4; ++round) {
        v = rows[0] * v.r + rows[1] * v.g + rows[2] * v.b;
    }
    return v;
}

std::uint16_t quantise(Rgb e) {
    const auto level = [](float value, float levels) {
        return static_cast<std::uint32_t>(roundToEven(lesser(greater(value, 0.0f) * levels, levels)));
    };
    const std::uint32_t word =
        level(e.r, kRedBlueLevels) << 11 | level(e.g, kGreenLevels) << 5 | level(e.b, kRedBlueLevels);
    return static_cast<std::uint16_t>(word);
}

Rgb widen(std::uint16_t word) {
    return {static_cast<float>(word >> 11) * kRedBlueStep, static_cast<float>(word >> 5 & 63) * kGreenStep,
            static_cast<float>(word & 31) * kRedBlueStep};
}

void GroupFit::fit(Rgb axis) {
    float low = dot(axis, point(0)), high = low;
    for (unsigned i = 1; i < m_pointCount; ++i) {
        const float t = dot(axis, point(i));
        low = lesser(t, low);
        high = greater(t, high);
    }
    const float centre = dot(axis, m_mean);
    m_result.color0 = quantise(m_mean + axis * (low - centre));
    m_result.color1 = quantise(m_mean + axis * (high - centre));
    assignIndices();
    for (int round = 0; round < 2; ++round) {
        refineEndpoints();
        assignIndices();
    }
}

void GroupFit::setFlat() {
    const auto entry = [](float mean) {
        const float byte = roundToEven(lesser(greater(mean, 0.0f) * 255.0f, 255.0f));
        return kSingleColourEndpoints.m_words[static_cast<unsigned>(byte)];
    };
    const std::uint32_t word =
        (entry(m_mean.r) & kRedFields) | (entry(m_mean.g) & kGreenFields) | (entry(m_mean.b) & kBlueFields);
    m_result.color0 = static_cast<std::uint16_t>(word);
    m_result.color1 = static_cast<std::uint16_t>(word >> 16);
    setIndices(kAllIndices2);
}

void GroupFit::assignIndices() {
    setIndices(0);
    if (m_result.color0 == m_result.color1) {
        return;
    }
    static constexpr std::uint32_t kIndexOfStep[] = {0, 2, 3, 1};
    const Rgb start = widen(m_result.color0);
    const Rgb way = widen(m_result.color1) - start;
    const Rgb direction = way / dot(way, way);
    for (unsigned i = 0; i < m_pointCount; ++i) {
        const float t = dot(point(i) - start, direction);
        const float step = roundToEven(lesser(greater(t, 0.0f) * 3.0f, 3.0f));
        m_result.indices[i / 16] |= kIndexOfStep[static_cast<unsigned>(step)] << 2 * (i % 16);
    }
}

bool GroupFit::allIndicesEqual() const {
    const std::uint32_t repeated = (m_result.indices[0] & 3) * 0x55555555;
    return std::all_of(m_result.indices, m_result.indices + m_blockCount,
                       [repeated](std::uint32_t word) { return word == repeated; });
}

// Least squares: the endpoints that suit the indices best.
void GroupFit::refineEndpoints() {
    if (allIndicesEqual()) {
        setFlat();
        return;
    }
    static constexpr int kWeights[] = {3, 0, 2, 1}; // of color0, in thirds
    int aa = 0, bb = 0, ab = 0;
    Rgb x = {};
    for (unsigned i = 0; i < m_pointCount; ++i) {
        const int weight = kWeights[indexOf(i)];
        aa += weight * weight;
        bb += (3 - weight) * (3 - weight);
        ab += weight * (3 - weight);
        x = x + point(i) * static_cast<float>(weight);
    }
    const Rgb y = m_mean * static_cast<float>(3 * m_pointCount) - x;
    const float f = 3.0f / static_cast<float>(aa * bb - ab * ab); // not 0, as the indices differ
    const float a = static_cast<float>(aa) * f, b = static_cast<float>(bb) * f;
    const float c = static_cast<float>(ab) * f;
    m_result.color0 = quantise(x * b - y * c);
    m_result.color1 = quantise(y * a - x * c);
}

// Four-colour mode, unless the colours are equal.
void GroupFit::order() {
    if (m_result.color0 >= m_result.color1) {
        return;
    }
    std::swap(m_result.color0, m_result.color1);
    for (std::uint32_t& word : m_result.indices) {
        word ^= kSwapEndpoints;
    }
}

Bc1GroupResult GroupFit::run() {
    findMeanAndRange();
    const Rgb v = findAxis();
    const float square = dot(v, v);
    if (m_range.r + m_range.g + m_range.b < kFlatRange || square < kLeastAxisSquare) {
        setFlat();
    } else {
        fit(v * Simd::fastRsqrt(square));
    }
    order();
    return m_result;
}

constexpr Bc1Kernels kBaseKernels = makeBc1Kernels<Simd::Lanes4>();

bool isLong(EncoderEffort effort) { return effort == kEncoderEffortHigh || effort == kEncoderEffortBest; }

Bc1Kernel kernelFor(const Bc1Kernels& kernels, EncoderEffort effort) {
    return !isLong(effort) ? kernels.m_normal
                           : (effort == kEncoderEffortBest ? kernels.m_best : kernels.m_high);
}

// Whole vectors of eight, and the rest by fours.
void encode(std::uint8_t* destination, std::size_t stride, const ColourSource& source, std::size_t count,
            EncoderEffort effort) {
    const Bc1Kernels* wide = Simd::mayUseAvx2() ? getBc1KernelsAvx2() : nullptr;
    const std::size_t done = wide != nullptr ? count / 8 * 8 : 0;
    if (done != 0) {
        kernelFor(*wide, effort)(destination, stride, source, done);
    }
    kernelFor(kBaseKernels, effort)(destination + stride * done, stride, source.from(done), count - done);
}

} // namespace

void encodeBc1Group(void* destination, const ColorRGBA32F* points, unsigned blockCount) {
    if (blockCount == 0 || blockCount > kMaxBlocksPerGroup) {
        return;
    }
    const Bc1GroupResult result = GroupFit(points, blockCount).run();
    std::memcpy(destination, &result, 4 + 4 * blockCount);
}

void encodeBc1Blocks(void* destination, std::size_t stride, const ColorRGBA32F* points, std::size_t count,
                     EncoderEffort effort) {
    if (count == 1 && !isLong(effort)) {
        encodeBc1Group(destination, points, 1);
    } else {
        encode(static_cast<std::uint8_t*>(destination), stride, {&points->r, nullptr, 0}, count, effort);
    }
}

void encodeBc1Rows(void* destination, std::size_t stride, const std::uint8_t* rows, std::size_t pitch,
                   std::size_t count, EncoderEffort effort) {
    encode(static_cast<std::uint8_t*>(destination), stride, {nullptr, rows, pitch}, count, effort);
}

} // namespace qor::Texsmith::Raw
