// The fit of the two endpoints of BC4, one block in each word of a vector.
//
// All work is in 64ths of a level: first the range of the texels, then steps of least squares, then a walk
// over neighbouring pairs of endpoints as long as the error falls. Values of signed blocks are moved up to
// begin at 0, as both kinds mix their endpoints alike.
#pragma once

#include "raw/blocks/bc4_constant.h"
#include "raw/blocks/bc4_weights.h"
#include "raw/blocks/value_blocks_lanes.h"

namespace qor::Texsmith::Raw {

// How far the search goes.
struct Bc4Plan {
    unsigned m_squareSteps;
    unsigned m_rounds; // of looking at the neighbours
    bool m_triesSix;   // palettes of six values where texels are near the ends of the range
    bool m_isExact;    // measures each step, and texels take the entries that are nearest to the last 64th
};

struct Bc4Source {
    ChannelSource m_channel;
    bool m_isSigned;
    bool m_remaps; // from 0..1 to -1..1
};

using Bc4Kernel = void (*)(std::uint8_t* destination, std::size_t stride, const Bc4Source& source,
                           std::size_t count, const Bc4Plan& plan);
// Null where the build has none.
Bc4Kernel getBc4KernelAvx2();

// One palette: its two endpoints at the distance of kSteps steps, and besides, in that of six values, the
// ends of the range. The texels of a block are a word each of 16 vectors; or, where kVectors is less, all
// words of those, and then sums over them stand in all words.
template <typename Words, bool kEight, unsigned kVectors = kTexelsPerBlock> class Bc4Palette {
public:
    using Word = typename Words::Word;
    using Wide = typename Words::Wide;
    using Lanes = typename Words::Lanes;
    using Float = typename Lanes::Float;
    using Int = typename Lanes::Int;
    using Texels = Word[kVectors];

    struct Ends {
        Word m_low, m_high;
    };

    explicit Bc4Palette(int most) : m_most(most) {}

    // In the range and in order; apart, as palettes of eight values need it.
    Ends ordered(Ends ends) const {
        const Word zero = Words::splat(0), most = Words::splat(m_most);
        const Word a = minimumSigned(maximumSigned(ends.m_low, zero), most);
        const Word b = minimumSigned(maximumSigned(ends.m_high, zero), most);
        const Word low = minimumSigned(a, b), high = maximumSigned(a, b);
        if constexpr (!kEight) {
            return {low, high};
        }
        const Word one = equal(low, high) & Words::splat(1), isTop = equal(high, most);
        return {low - (one & isTop), high + (one & (isTop ^ Words::splat(-1)))};
    }

    // The sum of squared distances, 2^31 less, so that signed comparisons have the range that it needs.
    Wide errorOf(const Texels& texels, Ends ends) const {
        const Line line(ends);
        Wide sum = everywhere(0);
        for (unsigned texel = 0; texel < kVectors; texel += 2) {
            const Word a = distanceOf(line, texels[texel]), b = distanceOf(line, texels[texel + 1]);
            sum = add(sum, sumOfProducts(a, a, b, b));
        }
        return add(total(sum), everywhere(0x80000000u));
    }

    // The endpoints that are best for the entries that the texels have now.
    Ends bestFor(const Texels& texels, Ends ends) const {
        const Line line(ends);
        const Word one = Words::splat(1);
        Sums sums = {everywhere(0), everywhere(0), everywhere(0), everywhere(0), Words::splat(0)};
        for (unsigned texel = 0; texel < kVectors; texel += 2) {
            const Placed a = place(line, texels[texel]), b = place(line, texels[texel + 1]);
            sums.m_weights = add(sums.m_weights, sumOfProducts(a.m_weight, one, b.m_weight, one));
            sums.m_squares =
                add(sums.m_squares, sumOfProducts(a.m_weight, a.m_weight, b.m_weight, b.m_weight));
            sums.m_values = add(sums.m_values, sumOfProducts(a.m_value, one, b.m_value, one));
            sums.m_products =
                add(sums.m_products, sumOfProducts(a.m_weight, a.m_value, b.m_weight, b.m_value));
            sums.m_count = sums.m_count + a.m_one + b.m_one;
        }
        const Wide weights = total(sums.m_weights), squares = total(sums.m_squares);
        const Wide values = total(sums.m_values), products = total(sums.m_products);
        const Wide count = total(widen(sums.m_count));
        const Steps low = solve(weights.m_low, squares.m_low, values.m_low, products.m_low, count.m_low);
        const Steps high =
            solve(weights.m_high, squares.m_high, values.m_high, products.m_high, count.m_high);
        const Word toLow = narrow(Wide{low.m_low, high.m_low});
        const Word toHigh = narrow(Wide{low.m_high, high.m_high});
        const Word isSolved = narrow(Wide{low.m_isSolved, high.m_isSolved});
        return ordered({ends.m_low + (toLow & isSolved), select(isSolved, ends.m_low + toHigh, ends.m_high)});
    }

    // How many steps each texel is from the lower endpoint.
    static void stepsOf(const Texels& texels, Ends ends, Texels& steps) {
        const Line line(ends);
        for (unsigned texel = 0; texel < kVectors; ++texel) {
            steps[texel] = line.stepsTo(texels[texel] - line.m_start);
        }
    }

private:
    static constexpr int kSteps = kEight ? 7 : 5;

    // 2^12 * kSteps / difference, which is 2^18 * kSteps over the difference in 64ths.
    static Int factorOf(Int difference) {
        const Float least = Lanes::splat(1.0f);
        return roundToInts(Lanes::splat(4096.0f * kSteps) / maximum(toFloats(difference), least));
    }

    struct Line {
        Word m_start, m_difference, m_factor; // the start in 64ths

        explicit Line(Ends ends) : m_start(shiftLeft<6>(ends.m_low)), m_difference(ends.m_high - ends.m_low) {
            const Wide wide = widen(m_difference);
            m_factor = narrow(Wide{factorOf(wide.m_low), factorOf(wide.m_high)});
        }
        // The product is four times the steps, cut to a whole number.
        Word stepsTo(Word value) const {
            const Word rounded = multiplyHigh(value, m_factor) + Words::splat(2);
            return minimumSigned(maximumSigned(shiftRightSigned<2>(rounded), Words::splat(0)),
                                 Words::splat(kSteps));
        }
    };

    // The weight of the upper endpoint, as decoders round it.
    static Word weightOf(Word steps) {
        if constexpr (kEight) {
            return steps * Words::splat(9) - greaterSigned(steps, Words::splat(3));
        } else {
            return steps * Words::splat(13) + greaterSigned(steps, Words::splat(2));
        }
    }

    Word distanceToEnds(Word texel) const { return minimumSigned(texel, Words::splat(m_most * 64) - texel); }

    Word distanceOf(const Line& line, Word texel) const {
        const Word value = texel - line.m_start;
        const Word distance = value - weightOf(line.stepsTo(value)) * line.m_difference;
        if constexpr (kEight) {
            return distance;
        } else {
            return minimumSigned(ValueBlocks<Words>::absolute(distance), distanceToEnds(texel));
        }
    }

    // A texel for the least squares: its weight and what it lies above the start; all 0 where an end of the
    // range is nearer.
    struct Placed {
        Word m_weight, m_value, m_one;
    };
    Placed place(const Line& line, Word texel) const {
        const Word value = texel - line.m_start, weight = weightOf(line.stepsTo(value));
        if constexpr (kEight) {
            return {weight, value, Words::splat(1)};
        } else {
            const Word distance = ValueBlocks<Words>::absolute(value - weight * line.m_difference);
            const Word isOut = greaterSigned(distance, distanceToEnds(texel));
            const Word zero = Words::splat(0);
            return {select(isOut, zero, weight), select(isOut, zero, value),
                    select(isOut, zero, Words::splat(1))};
        }
    }

    struct Sums {
        Wide m_weights, m_squares, m_values, m_products;
        Word m_count;
    };
    // In levels, from the present lower endpoint.
    struct Steps {
        Int m_low, m_high, m_isSolved;
    };
    // value = c + s * weight.
    static Steps solve(Int weights, Int squares, Int values, Int products, Int count) {
        const Float w = toFloats(weights), ww = toFloats(squares), x = toFloats(values);
        const Float n = toFloats(count), one = Lanes::splat(1.0f);
        const Float determinant = n * ww - w * w;
        const Int isSolved = less(Lanes::splat(0.5f), determinant);
        const Float s = (n * toFloats(products) - w * x) / select(isSolved, determinant, one);
        const Float c = (x - s * w) / maximum(n, one);
        const auto levels = [](Float value) {
            const Float scaled = value * Lanes::splat(1.0f / 64);
            return roundToInts(minimum(maximum(scaled, Lanes::splat(-1024.0f)), Lanes::splat(1024.0f)));
        };
        return {levels(c), levels(c + s * Lanes::splat(64.0f)), isSolved};
    }

    static Wide everywhere(std::uint32_t value) {
        const Int lanes = Lanes::splat(value);
        return {lanes, lanes};
    }
    static Wide total(Wide sums) {
        if constexpr (kVectors == kTexelsPerBlock) {
            return sums;
        } else {
            return everywhere(sumOfLanes(sums.m_low + sums.m_high));
        }
    }
    static Wide add(Wide a, Wide b) { return {a.m_low + b.m_low, a.m_high + b.m_high}; }

    int m_most;
};

// A run of blocks, up to kMost at a time; or one block, whose texels fill the vectors, while all words agree
// on everything else.
template <typename Words, bool kIsOne = false> class Bc4Run {
public:
    static void encode(std::uint8_t* destination, std::size_t stride, const Bc4Source& source,
                       std::size_t count, const Bc4Plan& plan) {
        for (std::size_t done = 0; done < count; done += kMost) {
            const unsigned part = count - done < kMost ? static_cast<unsigned>(count - done) : kMost;
            Bc4Run run(source, plan);
            run.load(done, part);
            run.fit(part);
            run.write(destination + done * stride, stride, part);
        }
    }

private:
    using Word = typename Words::Word;
    using Wide = typename Words::Wide;
    using Lanes = typename Words::Lanes;
    using Float = typename Lanes::Float;
    using Int = typename Lanes::Int;
    static constexpr unsigned kCount = Words::kCount;
    static constexpr unsigned kVectors = kIsOne ? kTexelsPerBlock / kCount : kTexelsPerBlock; // of a group
    using Texels = Word[kVectors];
    using Eight = Bc4Palette<Words, true, kVectors>;
    using Six = Bc4Palette<Words, false, kVectors>;
    static constexpr unsigned kGroups = kIsOne ? 1 : 8;
    static constexpr unsigned kMost = kGroups * kCount;
    static constexpr int kNear = 64 * 3 / 2;    // what counts as an end of the range
    static constexpr unsigned kFirstRounds = 2; // before blocks are listed

    Bc4Run(const Bc4Source& source, const Bc4Plan& plan)
        : m_source(source), m_plan(plan), m_most(source.m_isSigned ? 254 : 255) {}

    // Clamped, halves away from zero; a NaN gives the least.
    Int levelsOf(Float value) const {
        if (!m_source.m_isSigned) {
            const Float clamped = minimum(maximum(value, Lanes::splat(0.0f)), Lanes::splat(1.0f));
            return truncateToInts(clamped * Lanes::splat(255.0f * 64) + Lanes::splat(0.5f));
        }
        const Float mapped = m_source.m_remaps ? value * Lanes::splat(2.0f) - Lanes::splat(1.0f) : value;
        const Float clamped = minimum(maximum(mapped, Lanes::splat(-1.0f)), Lanes::splat(1.0f));
        const Float scaled = clamped * Lanes::splat(127.0f * 64);
        const Float half = select(less(scaled, Lanes::splat(0.0f)), Lanes::splat(-0.5f), Lanes::splat(0.5f));
        return truncateToInts(scaled + half) + Lanes::splat(127u * 64);
    }

    void load(std::size_t first, unsigned count) {
        if constexpr (kIsOne) {
            loadOne(first);
        } else {
            for (unsigned at = 0; at < count; at += kCount) {
                ValueBlocks<Words>::load(
                    m_values[at / kCount], m_source.m_channel, first + at, count - at,
                    [this](Float value) { return levelsOf(value); },
                    [](Int byte) { return shiftLeft<6>(byte); });
            }
        }
    }
    // Of floats.
    void loadOne(std::size_t block) {
        const float* texels = m_source.m_channel.m_texels + block * 4 * kTexelsPerBlock;
        for (unsigned texel = 0; texel < kTexelsPerBlock; texel += Lanes::kCount) {
            Float channels[4];
            Lanes::loadTexels(channels, texels + 4 * texel, 4);
            Lanes::storeWords(&m_values[0][0][0] + texel, levelsOf(channels[m_source.m_channel.m_channel]));
        }
    }

    // ---- the search

    // What the blocks have come to with one kind of palette, and the numbers of those still worked on.
    struct Fits {
        std::int16_t m_low[kMost], m_high[kMost];
        std::int32_t m_errors[kMost];
        unsigned m_blocks[kMost];
        unsigned m_count = 0;

        // Lists the blocks where the mask says so, beginning with number `first`.
        void list(unsigned first, unsigned count, const std::int16_t* mask) {
            for (unsigned i = 0; i < count; ++i) {
                m_blocks[m_count] = first + i;
                m_count += mask[i] != 0 ? 1 : 0;
            }
        }
    };
    // As many of these blocks as a vector holds.
    template <typename Palette> struct Group {
        Texels m_texels;
        typename Palette::Ends m_ends;
        Wide m_error;
    };

    static Word isLess(Wide a, Wide b) {
        return narrow(Wide{greaterSigned(b.m_low, a.m_low), greaterSigned(b.m_high, a.m_high)});
    }

    // Takes other endpoints where they are better; tells where.
    template <typename Palette>
    static Word improve(const Palette& palette, typename Palette::Ends ends, Group<Palette>* group) {
        const Wide error = palette.errorOf(group->m_texels, ends);
        const Word isBetter = isLess(error, group->m_error);
        const Wide mask = widen(isBetter);
        group->m_ends = {select(isBetter, ends.m_low, group->m_ends.m_low),
                         select(isBetter, ends.m_high, group->m_ends.m_high)};
        group->m_error = {select(mask.m_low, error.m_low, group->m_error.m_low),
                          select(mask.m_high, error.m_high, group->m_error.m_high)};
        return isBetter;
    }

    template <typename Palette>
    Word improveByNeighbours(const Palette& palette, Group<Palette>* group) const {
        if constexpr (kIsOne) {
            return improveOneByNeighbours(palette, group);
        } else {
            const typename Palette::Ends centre = group->m_ends;
            Word isBetter = Words::splat(0);
            for (int step = 0; step < 9; ++step) {
                if (step != 4) {
                    const typename Palette::Ends ends =
                        palette.ordered({centre.m_low + Words::splat(step / 3 - 1),
                                         centre.m_high + Words::splat(step % 3 - 1)});
                    isBetter = isBetter | improve(palette, ends, group);
                }
            }
            return isBetter;
        }
    }

    // The same for one block, a neighbour in each word: the first of the best ones.
    template <bool kEight>
    Word improveOneByNeighbours(const Bc4Palette<Words, kEight, kVectors>& palette,
                                Group<Bc4Palette<Words, kEight, kVectors>>* group) const {
        static constexpr std::int16_t kLowSteps[] = {-1, -1, -1, 0, 0, 1, 1, 1};
        static constexpr std::int16_t kHighSteps[] = {-1, 0, 1, -1, 1, -1, 0, 1};
        static_assert(kCount == sizeof kLowSteps / sizeof kLowSteps[0]);
        const auto ends = palette.ordered(
            {group->m_ends.m_low + Words::load(kLowSteps), group->m_ends.m_high + Words::load(kHighSteps)});
        Word texels[kTexelsPerBlock];
        for (unsigned texel = 0; texel < kTexelsPerBlock; ++texel) {
            texels[texel] = Words::splat(m_values[0][texel / kCount][texel % kCount]);
        }
        std::int32_t errors[kCount], error[kCount];
        std::int16_t low[kCount], high[kCount];
        storeWide(errors, Bc4Palette<Words, kEight>(m_most).errorOf(texels, {ends.m_low, ends.m_high}));
        storeWide(error, group->m_error);
        store(low, ends.m_low);
        store(high, ends.m_high);
        unsigned best = 0;
        for (unsigned i = 1; i < kCount; ++i) {
            best = errors[i] < errors[best] ? i : best;
        }
        if (errors[best] >= error[0]) {
            return Words::splat(0);
        }
        group->m_ends = {Words::splat(low[best]), Words::splat(high[best])};
        group->m_error = everywhere(errors[best]);
        return Words::splat(-1);
    }
    static Wide everywhere(std::int32_t error) {
        const Int lanes = Lanes::splat(static_cast<std::uint32_t>(error));
        return {lanes, lanes};
    }

    // From the least and the greatest value, in 64ths: by least squares, and the first rounds of looking at
    // the neighbours. Tells which blocks the last round has improved.
    template <typename Palette> Word start(Word low, Word high, Group<Palette>* group) const {
        const Palette palette(m_most);
        const auto toLevel = [](Word value) { return shiftRightSigned<6>(value + Words::splat(32)); };
        group->m_ends = palette.ordered({toLevel(low), toLevel(high)});
        if (!m_plan.m_isExact) {
            for (unsigned i = 0; i < m_plan.m_squareSteps; ++i) {
                group->m_ends = palette.bestFor(group->m_texels, group->m_ends);
            }
            group->m_error = {Lanes::splat(0u), Lanes::splat(0u)};
            return Words::splat(0);
        }
        group->m_error = palette.errorOf(group->m_texels, group->m_ends);
        for (unsigned i = 0; i < m_plan.m_squareSteps; ++i) {
            if (!anyLane(improve(palette, palette.bestFor(group->m_texels, group->m_ends), group))) {
                break;
            }
        }
        Word isBetter = Words::splat(0);
        for (unsigned i = 0; i < kFirstRounds && i < m_plan.m_rounds; ++i) {
            isBetter = improveByNeighbours(palette, group);
            if (!anyLane(isBetter)) {
                break;
            }
        }
        return isBetter;
    }

    // What is known of the blocks from number `at` on; of one block, in all words.
    static Word ofBlocks(const std::int16_t* values, unsigned at) {
        return kIsOne ? Words::splat(values[0]) : Words::load(values + at);
    }

    void loadGroup(unsigned group, Texels& texels) const {
        for (unsigned v = 0; v < kVectors; ++v) {
            texels[v] = Words::load(m_values[group][v]);
        }
    }
    // The texels of some blocks side by side.
    void gather(const unsigned* blocks, unsigned count, Texels& texels) const {
        if constexpr (kIsOne) {
            loadGroup(0, texels);
        } else {
            alignas(32) std::int16_t values[kTexelsPerBlock][kCount] = {};
            for (unsigned i = 0; i < count; ++i) {
                const auto& group = m_values[blocks[i] / kCount];
                const unsigned lane = blocks[i] % kCount;
                for (unsigned texel = 0; texel < kTexelsPerBlock; ++texel) {
                    values[texel][i] = group[texel][lane];
                }
            }
            for (unsigned texel = 0; texel < kTexelsPerBlock; ++texel) {
                texels[texel] = Words::load(values[texel]);
            }
        }
    }

    template <typename Palette>
    static void take(const Fits& fits, const unsigned* blocks, unsigned count, Group<Palette>* group) {
        if constexpr (kIsOne) {
            group->m_ends = {ofBlocks(fits.m_low, 0), ofBlocks(fits.m_high, 0)};
            group->m_error = everywhere(fits.m_errors[0]);
            return;
        }
        std::int16_t low[kCount] = {}, high[kCount] = {};
        std::int32_t errors[kCount] = {};
        for (unsigned i = 0; i < count; ++i) {
            low[i] = fits.m_low[blocks[i]];
            high[i] = fits.m_high[blocks[i]];
            errors[i] = fits.m_errors[blocks[i]];
        }
        group->m_ends = {Words::load(low), Words::load(high)};
        group->m_error = Words::loadWide(errors);
    }
    template <typename Palette>
    static void put(const Group<Palette>& group, const unsigned* blocks, unsigned count, Fits* fits) {
        std::int16_t low[kCount], high[kCount];
        std::int32_t errors[kCount];
        store(low, group.m_ends.m_low);
        store(high, group.m_ends.m_high);
        storeWide(errors, group.m_error);
        for (unsigned i = 0; i < count; ++i) {
            fits->m_low[blocks[i]] = low[i];
            fits->m_high[blocks[i]] = high[i];
            fits->m_errors[blocks[i]] = errors[i];
        }
    }

    // The other rounds, over the listed blocks. Those that a round has not improved leave the list, so that
    // the vectors stay full.
    template <typename Palette> void walk(Fits* fits) const {
        const Palette palette(m_most);
        for (unsigned round = kFirstRounds; round < m_plan.m_rounds && fits->m_count != 0; ++round) {
            unsigned kept = 0;
            for (unsigned done = 0; done < fits->m_count; done += kCount) {
                const unsigned left = fits->m_count - done, count = left < kCount ? left : kCount;
                unsigned blocks[kCount];
                std::memcpy(blocks, fits->m_blocks + done, count * sizeof(unsigned));
                Group<Palette> group;
                gather(blocks, count, group.m_texels);
                take(*fits, blocks, count, &group);
                std::int16_t isBetter[kCount];
                store(isBetter, improveByNeighbours(palette, &group));
                put(group, blocks, count, fits);
                for (unsigned i = 0; i < count; ++i) {
                    fits->m_blocks[kept] = blocks[i];
                    kept += isBetter[i] != 0 ? 1 : 0;
                }
            }
            fits->m_count = kept;
        }
    }

    void fit(unsigned count) {
        for (unsigned at = 0; at < count; at += kCount) {
            startEight(at, count - at < kCount ? count - at : kCount);
        }
        walk<Eight>(&m_eight);
        std::memset(m_isSix, 0, sizeof m_isSix);
        fitSix();
    }

    // Makes the least and the greatest value of all words that of each, where they are of one block.
    static void reach(Word* low, Word* high) {
        if constexpr (kIsOne) {
            std::int16_t lows[kCount], highs[kCount];
            store(lows, *low);
            store(highs, *high);
            for (unsigned i = 1; i < kCount; ++i) {
                lows[0] = lows[i] < lows[0] ? lows[i] : lows[0];
                highs[0] = highs[i] > highs[0] ? highs[i] : highs[0];
            }
            *low = Words::splat(lows[0]);
            *high = Words::splat(highs[0]);
        }
    }

    void startEight(unsigned at, unsigned count) {
        Group<Eight> group;
        loadGroup(at / kCount, group.m_texels);
        Word low = group.m_texels[0], high = low;
        for (const Word& texel : group.m_texels) {
            low = minimumSigned(low, texel);
            high = maximumSigned(high, texel);
        }
        reach(&low, &high);
        const Word isBetter = start(low, high, &group);
        store(m_eight.m_low + at, group.m_ends.m_low);
        store(m_eight.m_high + at, group.m_ends.m_high);
        storeWide(m_eight.m_errors + at, group.m_error);
        if (anyLane(isBetter)) {
            std::int16_t mask[kCount];
            store(mask, isBetter);
            m_eight.list(at, count, mask);
        }
        const Word isWhole = equal(shiftLeft<10>(low), Words::splat(0)); // without a rest in 64ths
        const Word isConstant = equal(low, high) & (isWhole ^ Words::splat(-1));
        if (anyLane(isConstant)) {
            fitConstants(at, low, isConstant);
        }
        const Word touches = greaterSigned(Words::splat(kNear + 1), low) |
                             greaterSigned(high, Words::splat(m_most * 64 - kNear - 1));
        if (m_plan.m_triesSix && anyLane(touches)) {
            std::int16_t mask[kCount];
            store(mask, touches);
            m_six.list(at, count, mask);
        }
    }

    void fitConstants(unsigned at, Word values, Word isConstant) {
        std::int16_t value[kCount], isOne[kCount];
        store(value, values);
        store(isOne, isConstant);
        for (unsigned i = 0; i < kCount; ++i) {
            const Bc4Steps steps = kBc4ConstantSteps.m_steps[value[i] & 63];
            const int high = (value[i] >> 6) + steps.m_first, low = (value[i] >> 6) + steps.m_second;
            if (isOne[i] != 0 && high <= m_most && low >= 0) {
                m_eight.m_high[at + i] = static_cast<std::int16_t>(high);
                m_eight.m_low[at + i] = static_cast<std::int16_t>(low);
                m_eight.m_errors[at + i] = kNoError;
            }
        }
    }

    // Of the listed blocks, which have texels near the ends of the range.
    void fitSix() {
        unsigned blocks[kMost], listed = 0;
        for (unsigned i = 0; i < m_six.m_count; ++i) {
            blocks[listed] = m_six.m_blocks[i];
            listed += m_eight.m_errors[blocks[listed]] != kNoError ? 1 : 0;
        }
        m_six.m_count = 0;
        for (unsigned done = 0; done < listed; done += kCount) {
            startSix(blocks + done, listed - done < kCount ? listed - done : kCount);
        }
        walk<Six>(&m_six);
        for (unsigned i = 0; i < listed; ++i) {
            const unsigned block = blocks[i];
            m_isSix[block] = m_six.m_errors[block] < m_eight.m_errors[block] ? -1 : 0;
        }
    }

    void startSix(const unsigned* blocks, unsigned count) {
        Group<Six> group;
        gather(blocks, count, group.m_texels);
        Word low = Words::splat(m_most * 64), high = Words::splat(0); // without the ends of the range
        const Word least = Words::splat(kNear), greatest = Words::splat(m_most * 64 - kNear);
        for (const Word& texel : group.m_texels) {
            const Word isInner = greaterSigned(texel, least) & greaterSigned(greatest, texel);
            low = select(isInner, minimumSigned(low, texel), low);
            high = select(isInner, maximumSigned(high, texel), high);
        }
        reach(&low, &high);
        std::int16_t isBetter[kCount];
        store(isBetter, start(low, high, &group));
        put(group, blocks, count, &m_six);
        for (unsigned i = 0; i < count; ++i) {
            m_six.m_blocks[m_six.m_count] = blocks[i];
            m_six.m_count += isBetter[i] != 0 ? 1 : 0;
        }
    }

    // ---- the bits

    // Entry i of the palettes, in 64ths.
    Word entry(int i, Word first, Word second, Word isSix) const {
        const auto mix = [&](const Bc4Weights& weights) {
            return first * Words::splat(weights.m_first[i]) + second * Words::splat(weights.m_second[i]);
        };
        const Word last = Words::splat(i == 7 ? m_most * 64 : 0);
        return select(isSix, i < 6 ? mix(kBc4SixValues) : last, mix(kBc4EightValues));
    }

    // Of eight values: steps 0, 1 ... 7 from the lower endpoint are the codes 1, 7, 6 ... 2, 0.
    static void codesOfSteps(Texels& steps) {
        for (Word& step : steps) {
            const Word code = (Words::splat(8) - step) & Words::splat(7);
            step = code ^ (greaterSigned(Words::splat(2), code) & Words::splat(1));
        }
    }

    void write(std::uint8_t* destination, std::size_t stride, unsigned count) const {
        for (unsigned group = 0; group * kCount < count; ++group) {
            const unsigned at = group * kCount, left = count - at < kCount ? count - at : kCount;
            const Word isSix = ofBlocks(m_isSix, at);
            const Word low = select(isSix, ofBlocks(m_six.m_low, at), ofBlocks(m_eight.m_low, at));
            const Word high = select(isSix, ofBlocks(m_six.m_high, at), ofBlocks(m_eight.m_high, at));
            const Word first = select(isSix, low, high), second = select(isSix, high, low);
            Texels texels, codes;
            loadGroup(group, texels);
            if (m_plan.m_isExact) {
                Word entries[8];
                for (int i = 0; i < 8; ++i) {
                    entries[i] = entry(i, first, second, isSix);
                }
                ValueBlocks<Words>::nearestEntries(texels, entries, codes);
            } else {
                Eight::stepsOf(texels, {low, high}, codes);
                codesOfSteps(codes);
            }
            const Word base = Words::splat(m_source.m_isSigned ? 127 : 0);
            if constexpr (kIsOne) {
                writeOne(destination, first - base, second - base, codes);
            } else {
                ValueBlocks<Words>::write(destination + at * stride, stride, left, first - base,
                                          second - base, codes);
            }
        }
    }

    static void writeOne(std::uint8_t* destination, Word first, Word second, const Texels& codes) {
        std::int16_t ends[2][kCount], texels[kVectors][kCount];
        store(ends[0], first);
        store(ends[1], second);
        std::uint64_t bits = 0;
        for (unsigned v = 0; v < kVectors; ++v) {
            store(texels[v], codes[v]);
        }
        for (unsigned texel = kTexelsPerBlock; texel-- > 0;) {
            bits = bits << 3 | static_cast<std::uint64_t>(texels[texel / kCount][texel % kCount]);
        }
        bits = bits << 16 | (static_cast<std::uint64_t>(ends[1][0]) & 0xFF) << 8 |
               (static_cast<std::uint64_t>(ends[0][0]) & 0xFF);
        std::memcpy(destination, &bits, sizeof bits);
    }

    static constexpr std::int32_t kNoError = INT32_MIN;

    const Bc4Source& m_source;
    const Bc4Plan& m_plan;
    int m_most;                                                   // levels
    alignas(32) std::int16_t m_values[kGroups][kVectors][kCount]; // by texel, then by block; of one, by texel
    std::int16_t m_isSix[kMost];                                  // masks
    Fits m_eight, m_six;
};

} // namespace qor::Texsmith::Raw
