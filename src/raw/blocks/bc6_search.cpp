#include "raw/blocks/bc6_search.h"

#include "qor/texsmith/tools_assert.h"
#include "raw/blocks/bc6_endpoints.h"
#include "raw/blocks/bptc_tables.h"
#include "simd/power.h"

#include <algorithm>
#include <bit>
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

// The texels of each entry's subsets, in row order.
struct TexelLists {
    std::uint8_t m_texels[kBc6Entries][2][kBc6Texels];
    std::uint8_t m_counts[kBc6Entries][2];
};

constexpr TexelLists makeTexelLists() {
    TexelLists lists = {};
    for (unsigned entry = 0; entry < kBc6Entries; ++entry) {
        for (unsigned texel = 0; texel < kBc6Texels; ++texel) {
            const unsigned subset = entry == kBc6WholeBlock ? 0 : subsetOfTwo(entry, texel);
            lists.m_texels[entry][subset][lists.m_counts[entry][subset]++] = static_cast<std::uint8_t>(texel);
        }
    }
    return lists;
}
constexpr TexelLists kTexelLists = makeTexelLists();

void gather(const Bc6Planes& planes, unsigned entry, unsigned index, Bc6Subset* subset) {
    const std::uint32_t top = entry == kBc6WholeBlock ? 15 : 7;
    const unsigned anchor = anchorOf(entry, index);
    subset->m_count = kTexelLists.m_counts[entry][index];
    subset->m_texels = kTexelLists.m_texels[entry][index];
    for (unsigned lane = 0; lane < kBc6Texels; ++lane) { // those behind the last one repeat texel 0
        const unsigned texel = subset->m_texels[lane];
        subset->m_topIndex[lane] = texel == anchor ? top >> 1 : top;
        for (unsigned channel = 0; channel < 3; ++channel) {
            subset->m_position[channel][lane] = planes.m_position[channel][texel];
            subset->m_squaredWeight[channel][lane] = planes.m_squaredWeight[channel][texel];
            subset->m_target[channel][lane] = planes.m_target[channel][texel];
        }
    }
}

// The numbers of a subset, and those a step further.
Bc6Choices choicesOf(const Bc6Numbers& numbers, unsigned subset, const Bc6Mode& mode, bool isSigned) {
    Bc6Choices choices;
    for (unsigned end = 0; end < 2; ++end) {
        for (unsigned channel = 0; channel < 3; ++channel) {
            std::int32_t number = numbers.m_numbers[2 * subset + end][channel];
            for (unsigned other = 0; other < 2; ++other) {
                const std::int32_t code = widenBc6(number, mode.m_endpointBits, isSigned);
                choices.m_code[end][channel][other] = static_cast<float>(code);
                choices.m_decoded[end][channel][other] = static_cast<float>(decodeBc6Code(code, isSigned));
                number += numbers.m_steps[2 * subset + end][channel];
            }
        }
    }
    return choices;
}

// Sets of steps are masks with bit channel + 3 * end; sets of these are words with a bit for each mask.
struct StepSets {
    std::uint64_t m_around[64]; // those with one step more
    std::uint64_t
        m_withWays[3][16]; // by which of the four ways a channel may go: neither end, one, the other, both
};

constexpr StepSets makeStepSets() {
    StepSets sets = {};
    for (unsigned mask = 0; mask < 64; ++mask) {
        for (unsigned bit = 1; bit < 64; bit *= 2) {
            sets.m_around[mask] |= (mask & bit) == 0 ? std::uint64_t{1} << (mask | bit) : 0;
        }
        for (unsigned channel = 0; channel < 3; ++channel) {
            const unsigned way = (mask >> channel & 1) | (mask >> (channel + 2) & 2);
            for (unsigned ways = 0; ways < 16; ++ways) {
                sets.m_withWays[channel][ways] |= std::uint64_t{ways >> way & 1} << mask;
            }
        }
    }
    return sets;
}
constexpr StepSets kStepSets = makeStepSets();

struct Candidate {
    unsigned m_mode;
    unsigned m_entry;
    Bc6Numbers m_numbers;
};

class Search {
public:
    Search(const ColorRGBA32F* block, const Bc6Plan& plan, const Bc6Kernels& kernels, Bc6Effort* effort)
        : m_plan(plan), m_kernels(kernels), m_effort(effort), m_bestError(kNoError), m_best{} {
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
    Bc6Planes m_planes;
    Bc6Estimates m_estimates;
    std::uint64_t m_keys[kBc6Entries]; // estimates, and below them the entries from 1 on
    std::uint64_t m_lastKey = 0;       // of the entries in batches so far
    float m_bestError;
    Candidate m_best;

    // Of the entry being tried.
    unsigned m_entry, m_subsetCount;
    bool m_isWide;
    Bc6Subset m_subsets[2];
    Bc6Choices m_choices[2]; // of the subsets, for the numbers last tried
    float m_errors[2];

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

    Bc6Result constantBlock() const {
        Bc6Result result = {};
        result.m_mode = 13;
        for (unsigned channel = 0; channel < 3; ++channel) {
            const std::int32_t number = bc6NumberOfHalf(m_planes.m_pattern[channel][0], isSigned());
            result.m_words[channel] = static_cast<std::uint16_t>(number);
        }
        return result;
    }

    // From the lowest estimate up; of equals the lowest entry first.
    void walkEntries() {
        m_kernels.m_estimate(m_planes, &m_estimates);
        for (unsigned entry = 0; entry < kBc6Entries; ++entry) {
            m_keys[entry] =
                std::uint64_t{std::bit_cast<std::uint32_t>(m_estimates.m_error[entry])} << 8 | (entry + 1);
        }
        const bool allSmooth = squaredSpread(m_planes, 0xFFFF) < 25;
        float previous = 0.0f;
        for (unsigned walked = 0; walked < m_plan.m_entryLimit;) {
            Batch batch;
            fillBatch(std::min(m_plan.m_entryLimit - walked, Bc6Fits::kRoom), &batch);
            for (unsigned i = 0; i < batch.m_count; ++i, ++walked) {
                const float estimate = m_estimates.m_error[batch.m_entries[i]];
                holds(estimate >= previous, "fChiSqr_est >= fChiSqr_est_prev", __LINE__);
                previous = estimate;
                m_isWide = !allSmooth && !isSmooth(batch.m_entries[i]);
                if (m_plan.m_partitionCutoffs[m_isWide].drops(estimate, m_bestError)) {
                    return;
                }
                walkModes(batch, i);
            }
        }
    }

    // The next entries, and their lines.
    struct Batch {
        std::uint8_t m_entries[Bc6Fits::kRoom];
        unsigned m_count = 0;
        Bc6Fits m_fits;
    };

    void fillBatch(unsigned count, Batch* batch) {
        std::uint64_t least[Bc6Fits::kRoom];
        for (const std::uint64_t key : m_keys) {
            if (key > m_lastKey && (batch->m_count < count || key < least[count - 1])) {
                unsigned at = batch->m_count < count ? batch->m_count++ : count - 1;
                for (; at > 0 && least[at - 1] > key; --at) {
                    least[at] = least[at - 1];
                }
                least[at] = key;
            }
        }
        for (unsigned i = 0; i < batch->m_count; ++i) {
            batch->m_entries[i] = static_cast<std::uint8_t>((least[i] & 0xFF) - 1);
            m_lastKey = least[i];
        }
        m_kernels.m_fit(m_planes, m_estimates, batch->m_entries, batch->m_count, &batch->m_fits);
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

    // What rounding the ends adds at the least with two subsets, whose finest numbers have eleven bits: a
    // step is 15.5 half bits then, and a tenth of the error of even rounding is what the steps around leave
    // of it.
    float errorOfRounding() const {
        constexpr float kStep = 15.5f;
        return m_estimates.m_squaredWeights * (0.1f * kStep * kStep / 12.0f);
    }

    // An entry whose line is no better than the best block so far, before its ends are rounded, is left out.
    void walkModes(const Batch& batch, unsigned at) {
        ++m_effort->m_entries;
        const bool isParted = batch.m_entries[at] != kBc6WholeBlock;
        if (batch.m_fits.m_error[at] + (isParted ? errorOfRounding() : 0.0f) >= m_bestError) {
            return;
        }
        openEntry(batch.m_entries[at]);
        Bc6Codes codes = {};
        for (unsigned end = 0; end < 2 * m_subsetCount; ++end) {
            for (unsigned channel = 0; channel < 3; ++channel) {
                const float position = batch.m_fits.m_ends[end / 2][end % 2][channel][at];
                codes[end][channel] = toBc6Code(toBc6Position(position, isSigned()), isSigned());
            }
        }
        unsigned needs[3];
        for (unsigned channel = 0; channel < 3; ++channel) {
            needs[channel] = bitsNeeded(codes, channel);
        }
        if (m_subsetCount == 1) {
            walkModesOfOneSubset(codes, *std::max_element(needs, needs + 3));
        } else {
            walkModesOfTwoSubsets(codes, needs);
        }
    }

    unsigned bitsNeeded(const Bc6Codes& codes, unsigned channel) const {
        unsigned bits = 0;
        for (unsigned end = 1; end < 2 * m_subsetCount; ++end) {
            bits = std::max(bits, bitsOfBc6Difference(codes[end][channel], codes[0][channel]));
        }
        return bits;
    }

    // The need has some to spare: the next finer mode is tried too, and holds where its differences fit.
    void walkModesOfOneSubset(const Bc6Codes& codes, unsigned need) {
        unsigned mode = need < 5 ? 13 : need < 13 ? 12 : need < 15 ? 11 : 10;
        for (mode = std::min(mode + 1, 13u); mode >= 10; --mode) {
            if (tryMode(mode, codes) != Tried::OutOfRange) {
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

    // The finest first, and coarser ones for as long as they are better. Of modes with as many bits the
    // lowest one that holds.
    void walkModesOfTwoSubsets(const Bc6Codes& codes, const unsigned (&needs)[3]) {
        for (unsigned next = 10; next > 0;) {
            const unsigned bits = kBc6ModeTable[next - 1].m_endpointBits;
            unsigned chosen = kBc6Modes;
            for (; next > 0 && kBc6ModeTable[next - 1].m_endpointBits == bits; --next) {
                chosen = hasRoom(kBc6ModeTable[next - 1], needs) ? next - 1 : chosen;
            }
            if (chosen != kBc6Modes && tryMode(chosen, codes) == Tried::Worse) {
                return;
            }
        }
    }

    float evaluate(unsigned subset, const Bc6Choices& choices, std::uint8_t* indices) {
        ++m_effort->m_evaluations;
        return m_kernels.m_evaluate(m_subsets[subset], rule(), choices, indices);
    }

    void evaluateSteps(unsigned subset, const Bc6Choices& choices, const std::uint8_t* masks, unsigned count,
                       float* errors) {
        m_effort->m_evaluations += count;
        m_kernels.m_evaluateSteps(m_subsets[subset], rule(), choices, masks, count, errors);
    }

    enum class Tried { OutOfRange, Worse, Better };

    // Whether the rounded numbers fit the mode, and are better than what was best before.
    Tried tryMode(unsigned number, const Bc6Codes& codes) {
        const Bc6Mode& mode = kBc6ModeTable[number];
        Bc6Numbers numbers;
        quantiseBc6(codes, mode, isSigned(), &numbers);
        if (!areInRange(numbers.m_numbers, mode)) {
            return Tried::OutOfRange;
        }
        ++m_effort->m_modes;
        std::uint8_t indices[kBc6Texels];
        float error = 0.0f;
        for (unsigned subset = 0; subset < m_subsetCount; ++subset) {
            m_choices[subset] = choicesOf(numbers, subset, mode, isSigned());
            m_errors[subset] = evaluate(subset, m_choices[subset], indices);
            error += m_errors[subset];
            if (error > m_bestError && m_plan.m_modeCutoffs[m_isWide].drops(error, m_bestError)) {
                return Tried::Worse; // and the other subset can only add to it
            }
        }
        const float bestBefore = m_bestError;
        keepIfBetter(number, numbers, error);
        if (m_plan.m_quality.searchDepth > 0 && !m_plan.m_modeCutoffs[m_isWide].drops(error, bestBefore)) {
            const int depth = error < m_plan.m_quality.refineBelow ? 1 : m_plan.m_quality.searchDepth;
            searchAround(mode, depth, &numbers);
            keepIfBetter(number, numbers, m_subsetCount == 1 ? m_errors[0] : m_errors[0] + m_errors[1]);
        }
        return error < bestBefore ? Tried::Better : Tried::Worse;
    }

    void keepIfBetter(unsigned mode, const Bc6Numbers& numbers, float error) {
        if (error < m_bestError) {
            m_bestError = error;
            m_best.m_mode = mode;
            m_best.m_entry = m_entry;
            m_best.m_numbers = numbers;
        }
    }

    // For one channel of all endpoints.
    bool isInRange(const std::int32_t (&numbers)[4], unsigned channel, const Bc6Mode& mode) const {
        bool holds = isBc6NumberInRange(numbers[0], mode.m_endpointBits, isSigned());
        for (unsigned end = 1; end < mode.endpoints(); ++end) {
            holds &= isBc6NumberInRange(numbers[end], mode.m_endpointBits, isSigned());
            holds &=
                mode.isDirect() || isBc6DeltaInRange(numbers[end], numbers[0], mode.m_deltaBits[channel]);
        }
        return holds;
    }

    bool areInRange(const std::int32_t (&numbers)[4][3], const Bc6Mode& mode) const {
        bool holds = true;
        for (unsigned channel = 0; channel < 3; ++channel) {
            const std::int32_t ends[4] = {numbers[0][channel], numbers[1][channel], numbers[2][channel],
                                          numbers[3][channel]};
            holds &= isInRange(ends, channel, mode);
        }
        return holds;
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

    // Bit `mask` tells whether a set of steps, with bit channel + 3 * end, may be taken: all have another
    // side, and the mode holds what they lead to.
    using Allowed = std::uint64_t;

    Allowed allowedSteps(const Bc6Numbers& numbers, const Bc6Mode& mode, unsigned subset) const {
        Allowed allowed = ~Allowed{0};
        for (unsigned channel = 0; channel < 3; ++channel) {
            unsigned ways = 0;
            for (unsigned taken = 0; taken < 4; ++taken) {
                ways |= static_cast<unsigned>(mayTake(taken, numbers, mode, subset, channel)) << taken;
            }
            allowed &= kStepSets.m_withWays[channel][ways];
        }
        return allowed;
    }

    bool mayTake(unsigned taken, const Bc6Numbers& numbers, const Bc6Mode& mode, unsigned subset,
                 unsigned channel) const {
        std::int32_t ends[4] = {};
        bool exists = true;
        for (unsigned end = 0; end < mode.endpoints(); ++end) {
            const bool moves = end / 2 == subset && (taken >> end % 2 & 1) != 0;
            const int step = moves ? numbers.m_steps[end][channel] : 0;
            ends[end] = numbers.m_numbers[end][channel] + step;
            exists &= !moves || step != 0;
        }
        return exists && isInRange(ends, channel, mode);
    }

    static void take(unsigned mask, unsigned subset, Bc6Numbers* numbers) {
        for (unsigned bit = 0; bit < 6; ++bit) {
            if ((mask >> bit & 1) != 0) {
                const unsigned end = 2 * subset + bit / 3;
                numbers->m_numbers[end][bit % 3] += numbers->m_steps[end][bit % 3];
            }
        }
    }

    void searchAllSteps(const Bc6Mode& mode, unsigned subset, Bc6Numbers* numbers) {
        const Allowed allowed = allowedSteps(*numbers, mode, subset);
        std::uint8_t masks[64] = {};
        unsigned count = 0;
        for (Allowed rest = allowed & ~Allowed{1}; rest != 0; rest &= rest - 1) {
            masks[count++] = static_cast<std::uint8_t>(std::countr_zero(rest));
        }
        float errors[64];
        evaluateSteps(subset, m_choices[subset], masks, count, errors);
        unsigned best = 0;
        for (unsigned i = 0; i < count; ++i) {
            if (errors[i] < m_errors[subset]) {
                m_errors[subset] = errors[i];
                best = masks[i];
            }
        }
        take(best, subset, numbers);
    }

    // Sets of steps in the order of a search in breadth, each once.
    class Queue {
    public:
        explicit Queue(Allowed allowed) : m_open(allowed & ~Allowed{1}) { pushAround(0); }

        // The sets that have one more step.
        void pushAround(unsigned mask) {
            for (Allowed next = m_open & kStepSets.m_around[mask]; next != 0; next &= next - 1) {
                push(static_cast<std::uint8_t>(std::countr_zero(next)));
            }
            m_open &= ~kStepSets.m_around[mask];
        }
        unsigned size() const { return static_cast<std::uint8_t>(m_end - m_start); }
        std::uint8_t pop() { return m_masks[m_start++]; }

    private:
        Allowed m_open; // not yet pushed
        std::uint8_t m_masks[256];
        std::uint8_t m_start = 0, m_end = 0; // wrap

        void push(std::uint8_t mask) {
            if (holds(size() < 0xFF, "(uint8_t)(iDirQueueEnd - iDirQueueStart) < 0xFF", __LINE__)) {
                m_masks[m_end++] = mask;
            }
        }
    };

    // The first set that improves becomes the origin of a new search, with the same steps.
    void searchByBreadth(const Bc6Mode& mode, unsigned subset, Bc6Numbers* numbers) {
        while (searchOnceByBreadth(mode, subset, numbers)) {
        }
    }

    bool searchOnceByBreadth(const Bc6Mode& mode, unsigned subset, Bc6Numbers* numbers) {
        constexpr unsigned kAtOnce = 8;
        const Allowed allowed = allowedSteps(*numbers, mode, subset);
        Queue queue(allowed);
        while (queue.size() > 0) {
            std::uint8_t masks[kAtOnce] = {};
            unsigned count = 0;
            while (count < kAtOnce && queue.size() > 0) {
                masks[count++] = queue.pop();
            }
            float errors[kAtOnce];
            evaluateSteps(subset, m_choices[subset], masks, count, errors);
            for (unsigned i = 0; i < count; ++i) {
                if (errors[i] < m_errors[subset]) {
                    m_errors[subset] = errors[i];
                    take(masks[i], subset, numbers);
                    m_choices[subset] = choicesOf(*numbers, subset, mode, isSigned());
                    return true;
                }
                queue.pushAround(masks[i]);
            }
        }
        return false;
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
            evaluate(subset, choicesOf(m_best.m_numbers, subset, mode, isSigned()), indices);
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
                const std::int32_t first = isDelta ? m_best.m_numbers.m_numbers[0][channel] : 0;
                const unsigned bits = isDelta ? mode.m_deltaBits[channel] : mode.m_endpointBits;
                const std::int32_t word =
                    (m_best.m_numbers.m_numbers[end][channel] - first) & ((1 << bits) - 1);
                result->m_words[3 * end + channel] = static_cast<std::uint16_t>(word);
            }
        }
    }
};

} // namespace

Bc6Cutoff::Bc6Cutoff(float factor, float scale)
    : m_factor(factor), m_inverseScale(1.0f / scale), m_bend(power(1.0f / scale, 1.937984585762024f)) {}

bool Bc6Cutoff::drops(float error, float best) const {
    if (best == kNoError || (m_factor >= 1.0f && error <= best)) {
        return false;
    }
    return compress(error) > m_factor * compress(best);
}

// The two branches meet at the bend.
float Bc6Cutoff::compress(float error) const {
    return error < m_bend ? error : power(error, 0.484f) * m_inverseScale;
}

namespace {

Bc6Plan planOf(const Bc6QualitySettings& quality, Bc6Format format) {
    return {{{quality.partitionCutoffSmooth, quality.partitionScaleSmooth},
             {quality.partitionCutoffWide, quality.partitionScaleWide}},
            {{quality.modeCutoffSmooth, quality.modeScaleSmooth},
             {quality.modeCutoffWide, quality.modeScaleWide}},
            quality,
            format,
            kBc6Entries};
}

// Errors in half bits count dark and bright texels alike. Trying all sets of steps once finds as much as a
// search in breadth with its restarts.
Bc6Plan bestPlan(bool isSigned) {
    Bc6QualitySettings quality = {};
    quality.partitionCutoffSmooth = quality.partitionCutoffWide = 1.4f;
    quality.partitionScaleSmooth = quality.partitionScaleWide = 56.0f;
    quality.modeCutoffSmooth = quality.modeCutoffWide = 1.1f;
    quality.modeScaleSmooth = quality.modeScaleWide = 20.0f;
    quality.searchDepth = 1;
    return planOf(quality, {isSigned, Bc6Metric::Positions});
}

} // namespace

Bc6Plan makeBc6Plan(const EncoderConfiguration& configuration) {
    const bool isSigned = configuration.isSigned();
    const bool isBest =
        configuration.m_effort == kEncoderEffortHigh || configuration.m_effort == kEncoderEffortBest;
    return isBest ? bestPlan(isSigned) : planOf(configuration.m_bc6Quality, {isSigned, Bc6Metric::Values});
}

Bc6Result searchBc6Block(const ColorRGBA32F* block, const Bc6Plan& plan, const Bc6Kernels& kernels,
                         Bc6Effort* effort) {
    return Search(block, plan, kernels, effort).run();
}

} // namespace qor::Texsmith::Raw
