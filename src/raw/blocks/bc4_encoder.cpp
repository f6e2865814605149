// The fit of a channel's two endpoints.
//
// All work is in 64ths of a level against the decoder's own palette: first a range, then steps of least
// squares, then a walk over neighbouring pairs of endpoints as long as the error falls.
#include "raw/blocks/bc4_encoder.h"

#include "qor/texsmith/raw/normalization_policy.h"
#include "raw/blocks/bc4_kernels.h"
#include "raw/blocks/bc4_weights.h"
#include "raw/texels/sides.h"
#include "simd/dispatch.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace qor::Texsmith::Raw {
namespace {

constexpr int kLevel = 64;
constexpr unsigned kSquareSteps = 2;
constexpr unsigned kMostRounds = 8;

// What endpoints may be.
struct Range {
    int m_least;
    int m_greatest;
};

// `least` and `greatest` are the last two entries, in levels; 0 where these are mixes.
constexpr Bc4Mode modeOf(const Bc4Weights& weights, int least, int greatest) {
    Bc4Mode mode = {};
    std::copy_n(weights.m_first, 8, mode.m_first);
    std::copy_n(weights.m_second, 8, mode.m_second);
    mode.m_constant[6] = static_cast<std::int16_t>(least * kLevel);
    mode.m_constant[7] = static_cast<std::int16_t>(greatest * kLevel);
    return mode;
}
constexpr Bc4Mode kEightValues = modeOf(kBc4EightValues, 0, 0);
constexpr Bc4Mode kSixUnsigned = modeOf(kBc4SixValues, 0, 255);
constexpr Bc4Mode kSixSigned = modeOf(kBc4SixValues, -127, 127);

// The loops over 16 texels are written so that compilers make vectors of them.
struct Palette {
    std::int16_t m_entries[8];

    Palette(const Bc4Mode& mode, Bc4Endpoints ends) {
        for (unsigned i = 0; i < 8; ++i) {
            m_entries[i] = static_cast<std::int16_t>(mode.m_first[i] * ends.a + mode.m_second[i] * ends.b +
                                                     mode.m_constant[i]);
        }
    }
};

std::int16_t distance(std::int16_t a, std::int16_t b) {
    return static_cast<std::int16_t>(std::max(a, b) - std::min(a, b));
}

void errorsScalar(const Bc4Values& values, const Bc4Mode& mode, const Bc4Endpoints* ends, unsigned count,
                  std::uint32_t* errors) {
    for (unsigned i = 0; i < count; ++i) {
        const Palette palette(mode, ends[i]);
        std::int16_t best[kTexelsPerBlock];
        std::fill_n(best, kTexelsPerBlock, std::int16_t{0x7FFF});
        for (const std::int16_t entry : palette.m_entries) {
            for (unsigned texel = 0; texel < kTexelsPerBlock; ++texel) {
                const std::int16_t found = distance(values.m_texels[texel], entry);
                best[texel] = found < best[texel] ? found : best[texel];
            }
        }
        errors[i] = 0;
        for (const std::int16_t found : best) {
            errors[i] += static_cast<std::uint32_t>(found * found);
        }
    }
}

void codesScalar(const Bc4Values& values, const Bc4Mode& mode, Bc4Endpoints ends, std::uint16_t* codes) {
    const Palette palette(mode, ends);
    std::int16_t best[kTexelsPerBlock];
    std::fill_n(best, kTexelsPerBlock, std::int16_t{0x7FFF});
    for (std::uint16_t code = 0; code < 8; ++code) {
        for (unsigned texel = 0; texel < kTexelsPerBlock; ++texel) {
            const std::int16_t found = distance(values.m_texels[texel], palette.m_entries[code]);
            const bool isNearer = found < best[texel];
            codes[texel] = isNearer ? code : codes[texel];
            best[texel] = isNearer ? found : best[texel];
        }
    }
}

Bc4Sums sumsScalar(const Bc4Values& values, const Bc4Mode& mode, Bc4Endpoints ends) {
    std::uint16_t codes[kTexelsPerBlock];
    codesScalar(values, mode, ends, codes);
    Bc4Sums sums = {};
    for (unsigned texel = 0; texel < kTexelsPerBlock; ++texel) {
        const std::int32_t first = mode.m_first[codes[texel]], second = mode.m_second[codes[texel]];
        sums.m_firstFirst += first * first;
        sums.m_firstSecond += first * second;
        sums.m_secondSecond += second * second;
        sums.m_firstValue += first * values.m_texels[texel];
        sums.m_secondValue += second * values.m_texels[texel];
    }
    return sums;
}

constexpr Bc4Kernels kScalarKernels = {&errorsScalar, &sumsScalar, &codesScalar};

const Bc4Kernels& chooseKernels() {
    const Bc4Kernels* wide = Simd::mayUseAvx2() ? bc4KernelsAvx2() : nullptr;
    wide = wide != nullptr ? wide : bc4KernelsSse2();
    return wide != nullptr ? *wide : *bc4KernelsScalar();
}

struct Fit {
    Bc4Endpoints m_ends;
    std::uint32_t m_error;
};

// Finds endpoints for one mode. Palettes of eight values need a > b, those of six a <= b.
class Fitter {
public:
    Fitter(const Bc4Kernels& kernels, const Bc4Values& values, const Bc4Mode& mode, Range range, bool isEight)
        : m_kernels(kernels), m_values(values), m_mode(mode), m_range(range), m_isEight(isEight) {}

    // Starts from the greatest and the least value, in 64ths of a level.
    Fit fit(int high, int low) const {
        const int top = roundToLevel(high), bottom = roundToLevel(low);
        Fit best = measured(m_isEight ? ordered(top, bottom) : ordered(bottom, top));
        improve<&Fitter::stepBySquares>(&best, kSquareSteps);
        improve<&Fitter::stepToNeighbour>(&best, kMostRounds);
        return best;
    }

private:
    static int roundToLevel(int value) { return (value + kLevel / 2) >> 6; }
    static int divideRounded(std::int64_t a, std::int64_t b) {
        const std::int64_t doubled = 2 * a + (a < 0 ? -b : b);
        return static_cast<int>(doubled / (2 * b));
    }

    // In the range, and in the order that the mode needs.
    Bc4Endpoints ordered(int a, int b) const {
        a = std::clamp(a, m_range.m_least, m_range.m_greatest);
        b = std::clamp(b, m_range.m_least, m_range.m_greatest);
        if ((a > b) != m_isEight) {
            std::swap(a, b);
        }
        if (m_isEight && a == b) {
            (a < m_range.m_greatest ? a : b) += a < m_range.m_greatest ? 1 : -1;
        }
        return {static_cast<std::int16_t>(a), static_cast<std::int16_t>(b)};
    }
    bool isAllowed(int a, int b) const {
        return a >= m_range.m_least && a <= m_range.m_greatest && b >= m_range.m_least &&
               b <= m_range.m_greatest && (a > b) == m_isEight;
    }

    // As long as it helps, and at most `most` times.
    template <bool (Fitter::*kStep)(Fit*) const> void improve(Fit* best, unsigned most) const {
        for (unsigned i = 0; i < most && best->m_error != 0; ++i) {
            if (!(this->*kStep)(best)) {
                return;
            }
        }
    }

    Fit measured(Bc4Endpoints ends) const {
        Fit result = {ends, 0};
        m_kernels.m_errors(m_values, m_mode, &ends, 1, &result.m_error);
        return result;
    }

    // The endpoints that are best for the entries that the texels have now.
    bool stepBySquares(Fit* best) const {
        const Bc4Sums sums = m_kernels.m_sums(m_values, m_mode, best->m_ends);
        const std::int64_t aa = sums.m_firstFirst, ab = sums.m_firstSecond, bb = sums.m_secondSecond;
        const std::int64_t ax = sums.m_firstValue, bx = sums.m_secondValue;
        const std::int64_t determinant = aa * bb - ab * ab;
        if (determinant == 0) {
            return false;
        }
        const Fit next = measured(ordered(divideRounded(ax * bb - bx * ab, determinant),
                                          divideRounded(bx * aa - ax * ab, determinant)));
        const bool isBetter = next.m_error < best->m_error;
        *best = isBetter ? next : *best;
        return isBetter;
    }

    bool stepToNeighbour(Fit* best) const {
        Bc4Endpoints around[8];
        unsigned count = 0;
        for (int step = 0; step < 9; ++step) {
            const int a = best->m_ends.a + step / 3 - 1, b = best->m_ends.b + step % 3 - 1;
            if (step != 4 && isAllowed(a, b)) {
                around[count++] = {static_cast<std::int16_t>(a), static_cast<std::int16_t>(b)};
            }
        }
        std::uint32_t errors[8];
        m_kernels.m_errors(m_values, m_mode, around, count, errors);
        bool isBetter = false;
        for (unsigned i = 0; i < count; ++i) {
            if (errors[i] < best->m_error) {
                *best = {around[i], errors[i]};
                isBetter = true;
            }
        }
        return isBetter;
    }

    const Bc4Kernels& m_kernels;
    const Bc4Values& m_values;
    const Bc4Mode& m_mode;
    Range m_range;
    bool m_isEight;
};

// Where all texels are equal, entry 2 or 7 of eight can be any value in 64ths: steps from the level below
// with 55 * first + 9 * second = the rest or the same with the weights swapped, and first > second. The
// smallest difference, for the sake of decoders that mix by exact sevenths. A whole level is entry 0.
struct Steps {
    int m_first;
    int m_second;
};

constexpr std::array<Steps, kLevel> makeSteps() {
    constexpr int kReach = 32;
    std::array<Steps, kLevel> steps = {{{0, -1}}};
    const auto offer = [&](int rest, Steps offered) {
        if (rest <= 0 || rest >= kLevel) {
            return;
        }
        Steps& row = steps[static_cast<std::size_t>(rest)];
        const int difference = row.m_first - row.m_second;
        row = difference == 0 || offered.m_first - offered.m_second < difference ? offered : row;
    };
    for (int first = -kReach; first <= kReach; ++first) {
        for (int second = -kReach; second < first; ++second) {
            offer(55 * first + 9 * second, {first, second});
            offer(9 * first + 55 * second, {first, second});
        }
    }
    return steps;
}
constexpr std::array<Steps, kLevel> kSteps = makeSteps();

constexpr bool everyRestIsReached() {
    for (const Steps& steps : kSteps) {
        if (steps.m_first <= steps.m_second) {
            return false;
        }
    }
    return true;
}
static_assert(everyRestIsReached());

struct Extent {
    int m_low;
    int m_high;
};

Extent extentOf(const Bc4Values& values) {
    const auto [low, high] = std::minmax_element(values.m_texels, values.m_texels + kTexelsPerBlock);
    return {*low, *high};
}

// Without the values that six-value palettes hold anyway. Low > high if nothing is left.
Extent innerExtentOf(const Bc4Values& values, Range range) {
    constexpr int kNear = kLevel * 3 / 2;
    Extent inner = {range.m_greatest * kLevel, range.m_least * kLevel};
    for (const int value : values.m_texels) {
        if (value > range.m_least * kLevel + kNear && value < range.m_greatest * kLevel - kNear) {
            inner = {std::min(inner.m_low, value), std::max(inner.m_high, value)};
        }
    }
    return inner;
}

bool touchesEnds(Extent extent, Range range) {
    constexpr int kNear = kLevel * 3 / 2;
    return extent.m_low <= range.m_least * kLevel + kNear ||
           extent.m_high >= range.m_greatest * kLevel - kNear;
}

struct Choice {
    Bc4Endpoints m_ends;
    const Bc4Mode* m_mode;
};

bool chooseForConstant(int value, Range range, Choice* choice) {
    const int level = value >> 6;
    const Steps steps = kSteps[static_cast<std::size_t>(value & (kLevel - 1))];
    const int a = level + steps.m_first, b = level + steps.m_second;
    const bool isPossible = a <= range.m_greatest && b >= range.m_least;
    if (isPossible) {
        *choice = {{static_cast<std::int16_t>(a), static_cast<std::int16_t>(b)}, &kEightValues};
    }
    return isPossible;
}

Choice choose(const Bc4Kernels& kernels, const Bc4Values& values, bool isSigned) {
    const Range range = isSigned ? Range{-127, 127} : Range{0, 255};
    const Extent extent = extentOf(values);
    Choice choice = {};
    if (extent.m_low == extent.m_high && chooseForConstant(extent.m_low, range, &choice)) {
        return choice;
    }
    const Fit eight = Fitter(kernels, values, kEightValues, range, true).fit(extent.m_high, extent.m_low);
    choice = {eight.m_ends, &kEightValues};
    if (eight.m_error != 0 && touchesEnds(extent, range)) {
        const Bc4Mode& mode = isSigned ? kSixSigned : kSixUnsigned;
        const Extent inner = innerExtentOf(values, range);
        const Fit six = Fitter(kernels, values, mode, range, false).fit(inner.m_high, inner.m_low);
        if (six.m_error < eight.m_error) {
            choice = {six.m_ends, &mode};
        }
    }
    return choice;
}

// Clamped, in 64ths of a level, halves away from zero; a NaN gives the least.
Bc4Values gather(const ColorRGBA32F* block, unsigned channel, bool isSigned) {
    const bool remaps = isSigned && g_normalizationPolicy == kNormalizationPolicyUnit;
    const float least = isSigned ? -1.0f : 0.0f, most = isSigned ? 127.0f * kLevel : 255.0f * kLevel;
    Bc4Values values;
    for (unsigned texel = 0; texel < kTexelsPerBlock; ++texel) {
        const float lanes[4] = {block[texel].r, block[texel].g, block[texel].b, block[texel].a};
        const float value = remaps ? lanes[channel & 3] * 2.0f - 1.0f : lanes[channel & 3];
        const float atLeast = value > least ? value : least;
        const float scaled = (atLeast < 1.0f ? atLeast : 1.0f) * most;
        values.m_texels[texel] = static_cast<std::int16_t>(scaled + (scaled < 0.0f ? -0.5f : 0.5f));
    }
    return values;
}

} // namespace

const Bc4Kernels* bc4KernelsScalar() { return &kScalarKernels; }

void encodeBc4Channel(void* destination, const ColorRGBA32F* block, unsigned channel, bool isSigned) {
    const Bc4Kernels& kernels = chooseKernels();
    const Bc4Values values = gather(block, channel, isSigned);
    const Choice choice = choose(kernels, values, isSigned);
    std::uint16_t codes[kTexelsPerBlock];
    kernels.m_codes(values, *choice.m_mode, choice.m_ends, codes);
    std::uint64_t packed = static_cast<std::uint8_t>(choice.m_ends.a) |
                           std::uint64_t{static_cast<std::uint8_t>(choice.m_ends.b)} << 8;
    for (unsigned texel = 0; texel < kTexelsPerBlock; ++texel) {
        packed |= std::uint64_t{codes[texel]} << (16 + 3 * texel);
    }
    std::memcpy(destination, &packed, sizeof packed);
}

} // namespace qor::Texsmith::Raw
