// The long search for BC1's endpoints, one block a lane: all splits of the texels in the order of their main
// axis, exact least squares for the best of these, and every pair of endpoints measured as decoders mix it.
#pragma once

#include "raw/blocks/bc1_lanes.h"
#include "raw/blocks/bc1_splits.h"

namespace qor::Texsmith::Raw {

// Splits fall into kClasses classes by i + j + k, and the best of each class is a candidate: neighbours of
// the best split are in other classes. With kClimbs the endpoints' neighbours follow until none is better.
template <typename Lanes, int kClasses, bool kClimbs> class Bc1Search {
public:
    using Blocks = Bc1Lanes<Lanes>;

    static void improve(Blocks* blocks) {
        if constexpr (kClimbs) { // from what the shorter search finds, so that no block gets worse
            Bc1Search<Lanes, 2, false>::improve(blocks);
        }
        Bc1Search search(*blocks);
        search.run(*blocks);
        blocks->set(search.m_best, search.codes());
    }

private:
    using Float = typename Lanes::Float;
    using Int = typename Lanes::Int;
    using Rgb = typename Blocks::Rgb;
    using Endpoints = typename Blocks::Endpoints;
    static constexpr float kRedBlueScale = 31.0f / 255, kGreenScale = 63.0f / 255;

    static Float floats(float value) { return Lanes::splat(value); }
    static Int ints(std::uint32_t value) { return Lanes::splat(value); }
    static Rgb pick(Int mask, Rgb a, Rgb b) {
        return {select(mask, a.r, b.r), select(mask, a.g, b.g), select(mask, a.b, b.b)};
    }
    static Float floor(Float positive) { return toFloats(truncateToInts(positive)); }

    explicit Bc1Search(const Blocks& blocks) : m_best(blocks.endpoints()) {
        for (unsigned t = 0; t < kTexelsPerBlock; ++t) {
            m_points[t] = blocks.points()[t] * floats(255.0f);
        }
        m_error = errorOf(m_best);
    }

    void run(const Blocks& blocks) {
        const Places places(m_points, blocks.axis());
        Split splits[kClasses];
        places.rank(splits);
        for (const Split& split : splits) {
            const Clusters clusters = clustersOf(places, split);
            take(bestFor(clusters, solve(clusters)));
        }
        take(bestFor(clustersOf(m_best), m_best));
        while (kClimbs && climb()) {
        }
    }

    // ---- colours as decoders have them, in levels of a byte

    static Float widen(Float level, float scale) { return floor(level * floats(scale)); }
    static constexpr float kWidenFive = 33.0f / 4, kWidenSix = 65.0f / 16;

    struct Entries {
        Float m_entries[4];

        Entries(Float first, Float second, float scale) {
            const Float a = widen(first, scale), b = widen(second, scale);
            const auto mix = [](Float heavy, Float light) {
                return floor((heavy * floats(43.0f) + light * floats(21.0f) + floats(32.0f)) *
                             floats(1.0f / 64));
            };
            m_entries[0] = a;
            m_entries[1] = b;
            m_entries[2] = mix(a, b);
            m_entries[3] = mix(b, a);
        }
    };
    struct Palette {
        Entries m_r, m_g, m_b;

        explicit Palette(Endpoints ends)
            : m_r(ends.m_first.r, ends.m_second.r, kWidenFive),
              m_g(ends.m_first.g, ends.m_second.g, kWidenSix),
              m_b(ends.m_first.b, ends.m_second.b, kWidenFive) {}

        Float distance(Rgb p, int entry) const {
            const Float r = p.r - m_r.m_entries[entry], g = p.g - m_g.m_entries[entry];
            const Float b = p.b - m_b.m_entries[entry];
            return r * r + g * g + b * b;
        }
    };

    Float errorOf(Endpoints ends) const {
        const Palette palette(ends);
        Float sum = floats(0.0f);
        for (const Rgb& p : m_points) {
            const Float outer = minimum(palette.distance(p, 0), palette.distance(p, 1));
            const Float inner = minimum(palette.distance(p, 2), palette.distance(p, 3));
            sum = sum + minimum(outer, inner);
        }
        return sum;
    }

    // Entry numbers, the lowest of equally near ones.
    static Int nearest(const Palette& palette, Rgb p) {
        Float best = palette.distance(p, 0);
        Int code = ints(0);
        for (int entry = 1; entry < 4; ++entry) {
            const Float distance = palette.distance(p, entry);
            code = select(less(distance, best), ints(static_cast<std::uint32_t>(entry)), code);
            best = minimum(distance, best);
        }
        return code;
    }
    Int codes() const {
        const Palette palette(m_best);
        Int word = ints(0);
        for (unsigned t = kTexelsPerBlock; t-- > 0;) {
            word = shiftLeft<2>(word) | nearest(palette, m_points[t]);
        }
        return word;
    }

    // ---- which texels take which entry

    struct Clusters {
        Float m_counts[4];
        Rgb m_sums[4];
    };

    // Up to which texel, in the order of the line, an entry is taken.
    struct Split {
        Float m_bounds[3]; // places on the line
    };

    // The texels' places on the line, from their mean, in ascending order.
    struct Places {
        Places(const Rgb (&points)[kTexelsPerBlock], Rgb axis) {
            Float sum = floats(0.0f);
            for (unsigned t = 0; t < kTexelsPerBlock; ++t) {
                m_places[t] = axis.r * points[t].r + axis.g * points[t].g + axis.b * points[t].b;
                sum = sum + m_places[t];
            }
            const Float mean = sum * floats(1.0f / kTexelsPerBlock);
            for (unsigned t = 0; t < kTexelsPerBlock; ++t) {
                m_places[t] = m_places[t] - mean;
                m_sorted[t + 1] = m_places[t];
            }
            m_sorted[0] = floats(-1e9f);
            sort();
            m_sums[0] = floats(0.0f);
            for (unsigned t = 0; t < kTexelsPerBlock; ++t) {
                m_sums[t + 1] = m_sums[t] - m_sorted[t + 1];
            }
        }

        // Batcher's odd-even merge sort.
        void sort() {
            constexpr unsigned kAll = kTexelsPerBlock;
            for (unsigned run = 1; run < kAll; run *= 2) {
                for (unsigned gap = run; gap > 0; gap /= 2) {
                    for (unsigned first = gap % run; first + gap < kAll; first += 2 * gap) {
                        for (unsigned i = first; i < first + gap && i + gap < kAll; ++i) {
                            if (i / (2 * run) == (i + gap) / (2 * run)) {
                                Float& low = m_sorted[i + 1];
                                Float& high = m_sorted[i + 1 + gap];
                                const Float lesser = minimum(low, high);
                                high = maximum(low, high);
                                low = lesser;
                            }
                        }
                    }
                }
            }
        }

        // The best split of each class. Sums of places that begin with the least are never positive, so that
        // with their sign turned the scores need no squares.
        void rank(Split (&splits)[kClasses]) const {
            Float best[kClasses];
            Int where[kClasses]; // 17 * i + j
            for (int c = 0; c < kClasses; ++c) {
                best[c] = floats(-1.0f);
                where[c] = ints(0);
            }
            const float* scale = kBc1SplitScales.m_scales;
            for (unsigned i = 0; i <= kTexelsPerBlock; ++i) {
                for (unsigned j = i; j <= kTexelsPerBlock; ++j) {
                    Float scores[kClasses]; // by k - j
                    for (Float& score : scores) {
                        score = floats(-1.0f);
                    }
                    rankFrom(m_sums[i] + m_sums[j], j, scale, scores);
                    scale += kTexelsPerBlock + 1 - j;
                    for (unsigned c = 0; c < kClasses; ++c) {
                        const unsigned which = (i + j + j + c) % kClasses;
                        const Int isBetter = less(best[which], scores[c]);
                        best[which] = maximum(scores[c], best[which]);
                        where[which] = select(isBetter, ints(17 * i + j), where[which]);
                    }
                }
            }
            for (unsigned c = 0; c < kClasses; ++c) {
                splits[c] = finish(where[c], c);
            }
        }
        void rankFrom(Float sum, unsigned j, const float* scale, Float (&scores)[kClasses]) const {
            unsigned k = j;
            for (; k + kClasses <= kTexelsPerBlock + 1; k += kClasses, scale += kClasses) {
                for (unsigned c = 0; c < kClasses; ++c) {
                    scores[c] = maximum((sum + m_sums[k + c]) * floats(scale[c]), scores[c]);
                }
            }
            for (unsigned c = 0; k + c <= kTexelsPerBlock; ++c) {
                scores[c] = maximum((sum + m_sums[k + c]) * floats(scale[c]), scores[c]);
            }
        }
        // Finds the k that belongs to the i and j of each lane.
        Split finish(Int where, unsigned classNumber) const {
            const Float i = floor((toFloats(where) + floats(0.5f)) * floats(1.0f / 17));
            const Float j = toFloats(where) - i * floats(17.0f);
            const Float sumI = at(m_sums, i), sumJ = at(m_sums, j);
            Float best = floats(-1.0f), chosen = j;
            for (unsigned k = 0; k <= kTexelsPerBlock; ++k) {
                const Float other = floats(static_cast<float>(k)), all = i + j + other;
                const Float x = sumI + sumJ + m_sums[k];
                const Float v = floats(5.0f) * i + floats(3.0f) * j + other - all * all * floats(1.0f / 16);
                const Float turns = floor((all + floats(0.5f)) * floats(1.0f / kClasses));
                const Int isOfClass =
                    equal(all - turns * floats(float{kClasses}), floats(static_cast<float>(classNumber)));
                const Int isAllowed = isOfClass & lessOrEqual(j, other) & less(floats(0.01f), v);
                const Float score = x * x / v;
                const Int isBetter = less(best, score) & isAllowed;
                best = select(isBetter, score, best);
                chosen = select(isBetter, other, chosen);
            }
            return {{at(m_sorted, i), at(m_sorted, j), at(m_sorted, chosen)}};
        }
        static Float at(const Float (&row)[kTexelsPerBlock + 1], Float place) {
            Float found = row[0];
            for (unsigned t = 1; t <= kTexelsPerBlock; ++t) {
                found = select(equal(place, floats(static_cast<float>(t))), row[t], found);
            }
            return found;
        }

        Float m_places[kTexelsPerBlock];
        Float m_sorted[kTexelsPerBlock + 1]; // behind one that is less than all
        Float m_sums[kTexelsPerBlock + 1];   // of the first texels, with the sign turned
    };

    // Where places are equal, all of them take the same entry.
    Clusters clustersOf(const Places& places, const Split& split) const {
        const Float zero = floats(0.0f);
        Float counts[3] = {zero, zero, zero};
        Rgb sums[3] = {{zero, zero, zero}, {zero, zero, zero}, {zero, zero, zero}};
        for (unsigned t = 0; t < kTexelsPerBlock; ++t) {
            for (int bound = 0; bound < 3; ++bound) {
                const Int isWithin = lessOrEqual(places.m_places[t], split.m_bounds[bound]);
                addWhere(isWithin, m_points[t], &counts[bound], &sums[bound]);
            }
        }
        const Rgb all = sumOfPoints();
        return {{counts[0], floats(float{kTexelsPerBlock}) - counts[2], counts[1] - counts[0],
                 counts[2] - counts[1]},
                {sums[0], all - sums[2], sums[1] - sums[0], sums[2] - sums[1]}};
    }
    // By the nearest entries.
    Clusters clustersOf(Endpoints ends) const {
        const Float zero = floats(0.0f);
        Clusters clusters = {
            {zero, zero, zero, zero},
            {{zero, zero, zero}, {zero, zero, zero}, {zero, zero, zero}, {zero, zero, zero}}};
        const Palette palette(ends);
        for (const Rgb& p : m_points) {
            const Int code = nearest(palette, p);
            for (int entry = 0; entry < 4; ++entry) {
                addWhere(equal(code, ints(static_cast<std::uint32_t>(entry))), p, &clusters.m_counts[entry],
                         &clusters.m_sums[entry]);
            }
        }
        return clusters;
    }
    static void addWhere(Int mask, Rgb p, Float* count, Rgb* sum) {
        const auto masked = [&](Float x) { return floatsOf(bitsOf(x) & mask); };
        *count = *count + masked(floats(1.0f));
        *sum = *sum + Rgb{masked(p.r), masked(p.g), masked(p.b)};
    }
    Rgb sumOfPoints() const {
        Rgb sum = m_points[0];
        for (unsigned t = 1; t < kTexelsPerBlock; ++t) {
            sum = sum + m_points[t];
        }
        return sum;
    }

    // ---- endpoints

    // Least squares; the best endpoints so far where one entry has all texels.
    Endpoints solve(const Clusters& clusters) const {
        const Float* n = clusters.m_counts;
        const Rgb* s = clusters.m_sums;
        const Float two = floats(2.0f), three = floats(3.0f), four = floats(4.0f), nine = floats(9.0f);
        const Float aa = nine * n[0] + four * n[2] + n[3], bb = nine * n[1] + n[2] + four * n[3];
        const Float ab = two * (n[2] + n[3]);
        const Rgb x = s[0] * three + s[2] * two + s[3], y = s[1] * three + s[2] + s[3] * two;
        const Float determinant = aa * bb - ab * ab;
        const Int isSolved = less(floats(0.5f), determinant);
        const Float f = three / select(isSolved, determinant, floats(1.0f));
        const Rgb first = (x * bb - y * ab) * f, second = (y * aa - x * ab) * f;
        return {pick(isSolved, levelsOf(first), m_best.m_first),
                pick(isSolved, levelsOf(second), m_best.m_second)};
    }
    static Float levelOf(Float value, float scale, float most) {
        return floor(minimum(maximum(value * floats(scale) + floats(0.5f), floats(0.0f)), floats(most)));
    }
    static Rgb levelsOf(Rgb value) {
        return {levelOf(value.r, kRedBlueScale, kRedBlueLevels), levelOf(value.g, kGreenScale, kGreenLevels),
                levelOf(value.b, kRedBlueScale, kRedBlueLevels)};
    }

    struct Pair {
        Float m_first, m_second;
    };

    // One channel's levels, at most one step from those given, whose entries suit the clusters best.
    static Pair bestLevels(const Float (&counts)[4], const Float (&sums)[4], Pair centre, float scale,
                           float most) {
        Pair best = centre;
        Float least = floats(1e30f);
        for (int step = 0; step < 9; ++step) {
            const Pair pair = stepped(centre, step, most);
            const Entries entries(pair.m_first, pair.m_second, scale);
            Float error = floats(0.0f);
            for (int entry = 0; entry < 4; ++entry) {
                const Float value = entries.m_entries[entry];
                error = error + value * (counts[entry] * value - (sums[entry] + sums[entry]));
            }
            const Int isBetter = less(error, least);
            least = minimum(error, least);
            best = {select(isBetter, pair.m_first, best.m_first),
                    select(isBetter, pair.m_second, best.m_second)};
        }
        return best;
    }
    static Pair stepped(Pair centre, int step, float most) {
        const auto moved = [most](Float level, int by) {
            return minimum(maximum(level + floats(static_cast<float>(by)), floats(0.0f)), floats(most));
        };
        return {moved(centre.m_first, step / 3 - 1), moved(centre.m_second, step % 3 - 1)};
    }

    static Endpoints bestFor(const Clusters& clusters, Endpoints centre) {
        const Rgb* s = clusters.m_sums;
        const Float r[4] = {s[0].r, s[1].r, s[2].r, s[3].r}, g[4] = {s[0].g, s[1].g, s[2].g, s[3].g};
        const Float b[4] = {s[0].b, s[1].b, s[2].b, s[3].b};
        const Pair red = bestLevels(clusters.m_counts, r, {centre.m_first.r, centre.m_second.r}, kWidenFive,
                                    kRedBlueLevels);
        const Pair green =
            bestLevels(clusters.m_counts, g, {centre.m_first.g, centre.m_second.g}, kWidenSix, kGreenLevels);
        const Pair blue = bestLevels(clusters.m_counts, b, {centre.m_first.b, centre.m_second.b}, kWidenFive,
                                     kRedBlueLevels);
        return {{red.m_first, green.m_first, blue.m_first}, {red.m_second, green.m_second, blue.m_second}};
    }

    // Where these are better. Tells whether they are in any lane.
    bool take(Endpoints ends) {
        const Float error = errorOf(ends);
        const Int isBetter = less(error, m_error);
        m_error = minimum(error, m_error);
        m_best = {pick(isBetter, ends.m_first, m_best.m_first),
                  pick(isBetter, ends.m_second, m_best.m_second)};
        return anyLane(isBetter);
    }

    // All pairs of levels around those of one channel after the other.
    bool climb() {
        bool isBetter = false;
        for (int step = 0; step < 27; ++step) {
            if (step % 9 == 0) {
                m_centre = m_best;
            }
            Endpoints ends = m_centre;
            const auto move = [&](Float Rgb::*channel, float most) {
                const Pair pair = stepped({ends.m_first.*channel, ends.m_second.*channel}, step % 9, most);
                ends.m_first.*channel = pair.m_first;
                ends.m_second.*channel = pair.m_second;
            };
            if (step < 9) {
                move(&Rgb::r, kRedBlueLevels);
            } else if (step < 18) {
                move(&Rgb::g, kGreenLevels);
            } else {
                move(&Rgb::b, kRedBlueLevels);
            }
            isBetter = take(ends) || isBetter;
        }
        return isBetter;
    }

    Rgb m_points[kTexelsPerBlock]; // in levels of a byte
    Endpoints m_best, m_centre;
    Float m_error;
};

// The three ways of one class of lanes.
template <typename Lanes> constexpr Bc1Kernels makeBc1Kernels() {
    return {&encodeBc1Run<Lanes, NoBc1Search>, &encodeBc1Run<Lanes, Bc1Search<Lanes, 2, false>>,
            &encodeBc1Run<Lanes, Bc1Search<Lanes, 8, true>>};
}

} // namespace qor::Texsmith::Raw
