#include "raw/blocks/bc6_search.h"

#include "qor/texsmith/tools_assert.h"
#include "raw/blocks/bc6_endpoints.h"
#include "raw/blocks/bptc_tables.h"
#include "simd/power.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\bc6";
constexpr float kNoError = std::numeric_limits<float>::max();

bool holds(bool condition, const char* text, int line) {
    if (!condition) {
        toolsAssert(kSourcePath, line, "Assertion '%s' failed.", text);
    }
    return condition;
}

float power(float base, float exponent) {
    const Simd::Float4 logarithm = Simd::log2Approximately(Simd::splat(base));
    alignas(16) float result[4];
    store(result, Simd::exp2Approximately(logarithm * Simd::splat(exponent)));
    return result[0];
}

// Errors are compared with the best one by a curve that is flatter for large ones. The two branches meet.
class Cutoff {
public:
    Cutoff(float factor, float scale)
        : m_factor(factor), m_inverseScale(1.0f / scale), m_bend(power(1.0f / scale, 1.937984585762024f)) {}

    bool drops(float error, float best) const {
        if (m_factor >= 1.0f && error <= best) {
            return false;
        }
        return best < kNoError && compress(error) > m_factor * compress(best);
    }

private:
    float m_factor, m_inverseScale, m_bend;

    float compress(float error) const {
        return error < m_bend ? error : power(error, 0.484f) * m_inverseScale;
    }
};

// For blocks of small and of large exponent spread.
struct Cutoffs {
    Cutoff m_partition[2];
    Cutoff m_mode[2];

    explicit Cutoffs(const Bc6QualitySettings& quality)
        : m_partition{{quality.partitionCutoffSmooth, quality.partitionScaleSmooth},
                      {quality.partitionCutoffWide, quality.partitionScaleWide}},
          m_mode{{quality.modeCutoffSmooth, quality.modeScaleSmooth},
                 {quality.modeCutoffWide, quality.modeScaleWide}} {}
};

std::uint16_t maskOf(unsigned entry, unsigned subset) {
    const std::uint16_t second = entry == kBc6WholeBlock ? 0 : kBc7Partitions2[entry];
    return subset == 0 ? static_cast<std::uint16_t>(~second) : second;
}

unsigned anchorOf(unsigned entry, unsigned subset) { return subset == 0 ? 0 : kBc7SecondAnchors2[entry]; }

// The square of the exponents' spread, over the channels, for the texels of a mask.
int squaredSpread(const Bc6Planes& planes, std::uint16_t mask) {
    int sum = 0;
    for (const auto& exponents : planes.m_exponent) {
        std::int32_t least = exponents[0], greatest = exponents[0];
        bool first = true;
        for (unsigned texel = 0; texel < kBc6Texels; ++texel) {
            if ((mask >> (15 - texel) & 1) != 0) {
                least = first ? exponents[texel] : std::min(least, exponents[texel]);
                greatest = first ? exponents[texel] : std::max(greatest, exponents[texel]);
                first = false;
            }
        }
        sum += (greatest - least) * (greatest - least);
    }
    return sum;
}

void gather(const Bc6Planes& planes, unsigned entry, unsigned index, Bc6Subset* subset) {
    const std::uint16_t mask = maskOf(entry, index);
    const std::uint32_t top = entry == kBc6WholeBlock ? 15 : 7;
    subset->m_count = 0;
    for (unsigned texel = 0; texel < kBc6Texels; ++texel) {
        if ((mask >> (15 - texel) & 1) == 0) {
            continue;
        }
        const unsigned lane = subset->m_count++;
        const bool isAnchor = texel == anchorOf(entry, index);
        subset->m_anchor = isAnchor ? lane : subset->m_anchor;
        subset->m_texels[lane] = static_cast<std::uint8_t>(texel);
        subset->m_topIndex[lane] = isAnchor ? top >> 1 : top;
        subset->m_present[lane] = 0xFFFFFFFF;
        for (unsigned channel = 0; channel < 3; ++channel) {
            const float weight = planes.m_weight[channel][texel];
            subset->m_position[channel][lane] = planes.m_position[channel][texel];
            subset->m_squaredWeight[channel][lane] = weight * weight;
            subset->m_target[channel][lane] = planes.m_target[channel][texel];
        }
    }
    for (unsigned lane = subset->m_count; lane < kBc6Texels; ++lane) {
        subset->m_topIndex[lane] = subset->m_present[lane] = 0;
        for (unsigned channel = 0; channel < 3; ++channel) {
            subset->m_position[channel][lane] = subset->m_target[channel][lane] = 0.0f;
            subset->m_squaredWeight[channel][lane] = 1.0f;
        }
    }
}

Bc6Ends endsOf(const std::int32_t (*numbers)[3], const Bc6Mode& mode, bool isSigned) {
    Bc6Ends ends;
    for (unsigned end = 0; end < 2; ++end) {
        for (unsigned channel = 0; channel < 3; ++channel) {
            const std::int32_t code = widenBc6(numbers[end][channel], mode.m_endpointBits, isSigned);
            ends.m_code[end][channel] = static_cast<float>(code);
            ends.m_decoded[end][channel] = static_cast<float>(decodeBc6Code(code, isSigned));
        }
    }
    return ends;
}

struct Candidate {
    unsigned m_mode;
    unsigned m_entry;
    std::int32_t m_numbers[4][3];
};

class Search {
public:
    Search(const ColorRGBA32F* block, const Bc6Plan& plan, const Bc6Kernels& kernels, Bc6Effort* effort)
        : m_plan(plan), m_kernels(kernels), m_effort(effort), m_cutoffs(plan.m_quality),
          m_bestError(kNoError), m_best{} {
        kernels.m_prepare(block, plan.m_format, &m_planes);
    }

    Bc6Result run() {
        if (isConstant()) {
            return constantBlock();
        }
        walkEntries();
        return makeResult();
    }

private:
    const Bc6Plan& m_plan;
    const Bc6Kernels& m_kernels;
    Bc6Effort* m_effort;
    const Cutoffs m_cutoffs;
    Bc6Planes m_planes;
    Bc6Estimates m_estimates;
    float m_bestError;
    Candidate m_best;

    // Of the entry being tried.
    unsigned m_entry, m_subsetCount;
    bool m_isWide;
    Bc6Subset m_subsets[2];
    float m_errors[2]; // of the subsets, for the numbers last tried

    bool isSigned() const { return m_plan.m_format.m_isSigned; }

    Bc6Rule rule() const {
        const Bc6QualitySettings& quality = m_plan.m_quality;
        return {m_plan.m_format, m_subsetCount == 1 ? 4u : 3u, quality.indexRetryLevel,
                quality.indexRetryAbove, quality.indexRetryBothAbove};
    }

    bool isConstant() const {
        std::uint32_t difference = 0;
        for (const auto& plane : m_planes.m_pattern) {
            for (unsigned texel = 1; texel < kBc6Texels; ++texel) {
                difference |= plane[texel] ^ plane[0];
            }
        }
        return difference == 0;
    }

    // The exact inverse of the decoder's last step.
    Bc6Result constantBlock() const {
        Bc6Result result = {};
        result.m_mode = 13;
        for (unsigned channel = 0; channel < 3; ++channel) {
            const std::uint32_t pattern = m_planes.m_pattern[channel][0], magnitude = pattern & 0x7FFF;
            std::uint32_t word = (pattern * 64 + 63) / 31;
            if (isSigned()) {
                word = (magnitude * 32 + 31) / 31;
                word = pattern == magnitude ? word : 0 - word;
                word = pattern >= 0xFC00 ? 0x8000 : word;
            }
            result.m_words[channel] = static_cast<std::uint16_t>(word);
        }
        return result;
    }

    // From the lowest estimate up; of equals the lowest entry first.
    void walkEntries() {
        m_kernels.m_estimate(m_planes, &m_estimates);
        std::uint64_t keys[kBc6Entries];
        for (unsigned entry = 0; entry < kBc6Entries; ++entry) {
            keys[entry] =
                std::uint64_t{std::bit_cast<std::uint32_t>(m_estimates.m_error[entry])} << 8 | entry;
        }
        const bool allSmooth = squaredSpread(m_planes, 0xFFFF) < 25;
        std::uint64_t previous = 0;
        for (unsigned tried = 0; tried < m_plan.m_entryLimit; ++tried) {
            std::uint64_t* least = std::min_element(keys, keys + kBc6Entries);
            const unsigned entry = *least & 0xFF;
            holds(*least >= previous, "fChiSqr_est >= fChiSqr_est_prev", __LINE__);
            previous = *least;
            *least = ~std::uint64_t{0};
            m_isWide = !allSmooth && !isSmooth(entry);
            if (m_cutoffs.m_partition[m_isWide].drops(m_estimates.m_error[entry], m_bestError)) {
                return;
            }
            walkModes(entry);
        }
    }

    bool isSmooth(unsigned entry) const {
        const bool first = squaredSpread(m_planes, maskOf(entry, 0)) < 25;
        return first && (entry == kBc6WholeBlock || squaredSpread(m_planes, maskOf(entry, 1)) < 25);
    }

    void openEntry(unsigned entry) {
        m_entry = entry;
        m_subsetCount = entry == kBc6WholeBlock ? 1 : 2;
        for (unsigned subset = 0; subset < m_subsetCount; ++subset) {
            gather(m_planes, entry, subset, &m_subsets[subset]);
        }
    }

    void walkModes(unsigned entry) {
        ++m_effort->m_entries;
        openEntry(entry);
        Bc6Positions positions = {};
        for (unsigned subset = 0; subset < m_subsetCount; ++subset) {
            fit(subset, &positions[2 * subset]);
        }
        unsigned needs[3];
        for (unsigned channel = 0; channel < 3; ++channel) {
            needs[channel] = bitsNeeded(positions, channel);
        }
        if (m_subsetCount == 1) {
            walkModesOfOneSubset(positions, *std::max_element(needs, needs + 3));
        } else {
            walkModesOfTwoSubsets(positions, needs);
        }
    }

    void fit(unsigned subset, std::int32_t (*positions)[3]) {
        float mean[3], axis[3];
        for (unsigned channel = 0; channel < 3; ++channel) {
            mean[channel] = m_estimates.m_mean[subset][channel][m_entry];
            axis[channel] = m_estimates.m_axis[subset][channel][m_entry];
        }
        Bc6Line line;
        m_kernels.m_fit(m_subsets[subset], mean, axis, m_subsetCount == 1 ? 4 : 3, &line);
        for (unsigned end = 0; end < 2; ++end) {
            for (unsigned channel = 0; channel < 3; ++channel) {
                positions[end][channel] = toBc6Position(line.m_ends[end][channel], isSigned());
            }
        }
    }

    unsigned bitsNeeded(const Bc6Positions& positions, unsigned channel) const {
        const std::int64_t first = toBc6Code(positions[0][channel], isSigned());
        unsigned bits = 0;
        for (unsigned end = 1; end < 2 * m_subsetCount; ++end) {
            bits = std::max(bits, bitsOfBc6Difference(toBc6Code(positions[end][channel], isSigned()), first));
        }
        return bits;
    }

    // The need has some to spare: the next finer mode is tried too, and holds where its differences fit.
    void walkModesOfOneSubset(const Bc6Positions& positions, unsigned need) {
        unsigned mode = need < 5 ? 13 : need < 13 ? 12 : need < 15 ? 11 : 10;
        for (mode = std::min(mode + 1, 13u); mode >= 10; --mode) {
            if (tryMode(mode, positions)) {
                return;
            }
        }
    }

    static bool hasRoom(const Bc6Mode& mode, const unsigned (&needs)[3]) {
        for (unsigned channel = 0; channel < 3; ++channel) {
            if (!mode.isDirect() && needs[channel] > mode.m_deltaBits[channel] + 16u - mode.m_endpointBits) {
                return false;
            }
        }
        return true;
    }

    // The finest first. Of modes with as many bits the lowest one that holds.
    void walkModesOfTwoSubsets(const Bc6Positions& positions, const unsigned (&needs)[3]) {
        for (unsigned next = 10; next > 0;) {
            const unsigned bits = kBc6ModeTable[next - 1].m_endpointBits;
            unsigned chosen = kBc6Modes;
            for (; next > 0 && kBc6ModeTable[next - 1].m_endpointBits == bits; --next) {
                chosen = hasRoom(kBc6ModeTable[next - 1], needs) ? next - 1 : chosen;
            }
            if (chosen != kBc6Modes) {
                tryMode(chosen, positions);
            }
        }
    }

    float evaluate(unsigned subset, const Bc6Ends* ends, unsigned count, float* errors) {
        m_effort->m_evaluations += count;
        m_kernels.m_evaluate(m_subsets[subset], rule(), ends, count, errors);
        return errors[0];
    }

    // False where the mode cannot hold the rounded numbers.
    bool tryMode(unsigned number, const Bc6Positions& positions) {
        const Bc6Mode& mode = kBc6ModeTable[number];
        Bc6Numbers numbers;
        quantiseBc6(positions, mode, isSigned(), &numbers);
        if (!areInRange(numbers.m_numbers, mode)) {
            return false;
        }
        ++m_effort->m_modes;
        float error = 0.0f;
        for (unsigned subset = 0; subset < m_subsetCount; ++subset) {
            const Bc6Ends ends = endsOf(&numbers.m_numbers[2 * subset], mode, isSigned());
            error += evaluate(subset, &ends, 1, &m_errors[subset]);
        }
        const float bestBefore = m_bestError;
        keepIfBetter(number, numbers, error);
        if (m_plan.m_quality.searchDepth > 0 && !m_cutoffs.m_mode[m_isWide].drops(error, bestBefore)) {
            const int depth = error < m_plan.m_quality.refineBelow ? 1 : m_plan.m_quality.searchDepth;
            searchAround(mode, depth, &numbers);
            keepIfBetter(number, numbers, m_subsetCount == 1 ? m_errors[0] : m_errors[0] + m_errors[1]);
        }
        return true;
    }

    void keepIfBetter(unsigned mode, const Bc6Numbers& numbers, float error) {
        if (error < m_bestError) {
            m_bestError = error;
            m_best.m_mode = mode;
            m_best.m_entry = m_entry;
            std::memcpy(m_best.m_numbers, numbers.m_numbers, sizeof m_best.m_numbers);
        }
    }

    bool areInRange(const std::int32_t (&numbers)[4][3], const Bc6Mode& mode) const {
        for (unsigned end = 0; end < mode.endpoints(); ++end) {
            for (unsigned channel = 0; channel < 3; ++channel) {
                const std::int32_t number = numbers[end][channel];
                if (!isBc6NumberInRange(number, mode.m_endpointBits, isSigned()) ||
                    (end > 0 && !mode.isDirect() &&
                     !isBc6DeltaInRange(number, numbers[0][channel], mode.m_deltaBits[channel]))) {
                    return false;
                }
            }
        }
        return true;
    }

    void searchAround(const Bc6Mode& mode, int depth, Bc6Numbers* numbers) {
        for (unsigned subset = 0; subset < m_subsetCount; ++subset) {
            if (depth >= 2) {
                searchByBreadth(mode, subset, numbers);
            } else {
                searchAllSteps(mode, subset, numbers);
            }
        }
    }

    // The components of a subset whose rounding has another side.
    struct Directions {
        unsigned m_count = 0;
        std::uint8_t m_end[6], m_channel[6];

        Directions(const Bc6Numbers& numbers, unsigned subset) {
            for (unsigned end = 2 * subset; end < 2 * subset + 2; ++end) {
                for (unsigned channel = 0; channel < 3; ++channel) {
                    if (numbers.m_steps[end][channel] != 0) {
                        m_end[m_count] = static_cast<std::uint8_t>(end);
                        m_channel[m_count++] = static_cast<std::uint8_t>(channel);
                    }
                }
            }
        }

        void apply(unsigned mask, Bc6Numbers* numbers) const {
            for (unsigned i = 0; i < m_count; ++i) {
                if ((mask >> i & 1) != 0) {
                    numbers->m_numbers[m_end[i]][m_channel[i]] += numbers->m_steps[m_end[i]][m_channel[i]];
                }
            }
        }
    };

    // The error of a subset with some steps taken; none where they leave the mode's ranges.
    float errorOf(unsigned mask, const Directions& directions, const Bc6Numbers& numbers, const Bc6Mode& mode,
                  unsigned subset) {
        Bc6Numbers stepped = numbers;
        directions.apply(mask, &stepped);
        if (!areInRange(stepped.m_numbers, mode)) {
            return kNoError;
        }
        const Bc6Ends ends = endsOf(&stepped.m_numbers[2 * subset], mode, isSigned());
        float error;
        return evaluate(subset, &ends, 1, &error);
    }

    void searchAllSteps(const Bc6Mode& mode, unsigned subset, Bc6Numbers* numbers) {
        const Directions directions(*numbers, subset);
        unsigned bestMask = 0;
        for (unsigned mask = 1; mask < 1u << directions.m_count; ++mask) {
            const float error = errorOf(mask, directions, *numbers, mode, subset);
            if (error < m_errors[subset]) {
                m_errors[subset] = error;
                bestMask = mask;
            }
        }
        directions.apply(bestMask, numbers);
    }

    // Sets of steps by their size. The first that improves becomes the origin of a new search.
    void searchByBreadth(const Bc6Mode& mode, unsigned subset, Bc6Numbers* numbers) {
        const Directions directions(*numbers, subset);
        std::uint8_t queue[256];
        std::uint8_t start = 0, end = 0; // wrap
        std::uint64_t seen = 1;
        const auto push = [&](unsigned mask) {
            if ((seen >> mask & 1) == 0 &&
                holds(static_cast<std::uint8_t>(end - start) < 0xFF,
                      "(uint8_t)(iDirQueueEnd - iDirQueueStart) < 0xFF", __LINE__)) {
                seen |= std::uint64_t{1} << mask;
                queue[end++] = static_cast<std::uint8_t>(mask);
            }
        };
        const auto pushNext = [&](unsigned mask) {
            for (unsigned i = 0; i < directions.m_count; ++i) {
                push(mask | 1u << i);
            }
        };
        pushNext(0);
        while (start != end) {
            const unsigned mask = queue[start++];
            const float error = errorOf(mask, directions, *numbers, mode, subset);
            if (error < m_errors[subset]) {
                m_errors[subset] = error;
                directions.apply(mask, numbers);
                start = end;
                seen = 1;
                pushNext(0);
            } else if (error != kNoError) {
                pushNext(mask);
            }
        }
    }

    Bc6Result makeResult() {
        Bc6Result result = {};
        result.m_mode = m_best.m_mode;
        result.m_error = m_bestError;
        const Bc6Mode& mode = kBc6ModeTable[m_best.m_mode];
        openEntry(m_best.m_entry);
        result.m_partition = m_subsetCount == 1 ? 0 : m_best.m_entry;
        for (unsigned subset = 0; subset < m_subsetCount; ++subset) {
            std::uint8_t indices[kBc6Texels];
            const Bc6Ends ends = endsOf(&m_best.m_numbers[2 * subset], mode, isSigned());
            m_kernels.m_findIndices(m_subsets[subset], rule(), ends, indices);
            for (unsigned lane = 0; lane < m_subsets[subset].m_count; ++lane) {
                result.m_indices[m_subsets[subset].m_texels[lane]] = indices[lane];
            }
        }
        storeWords(mode, &result);
        return result;
    }

    void storeWords(const Bc6Mode& mode, Bc6Result* result) const {
        for (unsigned end = 0; end < mode.endpoints(); ++end) {
            for (unsigned channel = 0; channel < 3; ++channel) {
                const bool isDelta = end > 0 && !mode.isDirect();
                const std::int32_t first = isDelta ? m_best.m_numbers[0][channel] : 0;
                const unsigned bits = isDelta ? mode.m_deltaBits[channel] : mode.m_endpointBits;
                const std::int32_t word = (m_best.m_numbers[end][channel] - first) & ((1 << bits) - 1);
                result->m_words[3 * end + channel] = static_cast<std::uint16_t>(word);
            }
        }
    }
};

} // namespace

Bc6Plan makeBc6Plan(const EncoderConfiguration& configuration) {
    return {configuration.m_bc6Quality, {configuration.isSigned(), Bc6Metric::Values}, kBc6Entries};
}

Bc6Result searchBc6Block(const ColorRGBA32F* block, const Bc6Plan& plan, const Bc6Kernels& kernels,
                         Bc6Effort* effort) {
    return Search(block, plan, kernels, effort).run();
}

} // namespace qor::Texsmith::Raw
