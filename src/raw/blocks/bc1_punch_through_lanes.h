// BC1 with transparency, one block in each lane: the pair of colours that bc1_best_pair_lanes.h finds, and
// the indices.
//
// Let d and e be the squared distances of a texel from two ends, and g that between the ends. The texel's
// squared distance from their middle is (d + e) / 2 - g / 4, and so twice the least of the three is d + e -
// max(|d - e|, g / 2), whose sum over the texels takes four operations for each. Its last digits are not
// those of the search: where the second best pair comes so near that they might decide, the block is left
// open.
#pragma once

#include "raw/blocks/bc1_lanes.h"
#include "raw/blocks/bc1_pair_search.h"

namespace qor::Texsmith::Raw {

inline constexpr unsigned kPunchThroughBlocks = 64; // as many as one call takes

// Writes `count` blocks of 8 bytes and tells which of them are left open: these are to be searched.
using PunchThroughKernel = void (*)(std::uint8_t* destination, const ColourSource& source, unsigned count,
                                    float alphaThreshold, bool* isOpen);
// Null where the build has none.
PunchThroughKernel getPunchThroughKernelAvx2();

// Three colours, and which of them texels take.
template <typename Lanes> class Bc1ThreeColours {
public:
    using Float = typename Lanes::Float;
    using Int = typename Lanes::Int;
    struct Rgb {
        Float r, g, b;
    };

    // Of 5:6:5 words.
    Bc1ThreeColours(Int word0, Int word1)
        : m_first(colourOf(bytesOf(word0))), m_second(colourOf(bytesOf(word1))) {
        const Bytes a = bytesOf(word0), b = bytesOf(word1);
        const auto middle = [](Int x, Int y) { return shiftRight<1>(x + y + Lanes::splat(1u)); };
        m_middle = colourOf({middle(a.r, b.r), middle(a.g, b.g), middle(a.b, b.b)});
    }

    // What toLevel gives.
    template <int kBits> static Int levelOf(Float value) {
        const Float levels = Lanes::splat(static_cast<float>((1 << kBits) - 1));
        const Float scaled = maximum(value, Lanes::splat(0.0f)) * levels + Lanes::splat(0.5f);
        return truncateToInts(minimum(scaled, levels));
    }
    static Int wordOf(Rgb p) {
        return shiftLeft<11>(levelOf<5>(p.r)) | shiftLeft<5>(levelOf<6>(p.g)) | levelOf<5>(p.b);
    }
    // What rgb565ToFloat gives.
    static Rgb colourOf(Int word) { return colourOf(bytesOf(word)); }

    // A later colour wins only where it is strictly nearer, so that equal words give index 0.
    Int indexOf(Rgb p, Float alpha, Float alphaThreshold) const {
        const Float toFirst = distance(m_first, p), toSecond = distance(m_second, p);
        const Int secondWins = less(toSecond, toFirst);
        const Int middleWins = less(distance(m_middle, p), select(secondWins, toSecond, toFirst));
        const Int opaque = select(middleWins, Lanes::splat(2u), secondWins & Lanes::splat(1u));
        return select(less(alpha, alphaThreshold), Lanes::splat(3u), opaque);
    }

private:
    struct Bytes {
        Int r, g, b;
    };

    // By bit replication.
    static Bytes bytesOf(Int word) {
        const Int r = shiftRight<11>(word), g = shiftRight<5>(word) & Lanes::splat(63u);
        const Int b = word & Lanes::splat(31u);
        return {shiftLeft<3>(r) | shiftRight<2>(r), shiftLeft<2>(g) | shiftRight<4>(g),
                shiftLeft<3>(b) | shiftRight<2>(b)};
    }
    static Rgb colourOf(Bytes bytes) {
        const auto widen = [](Int byte) {
            return minimum(toFloats(byte) * Lanes::splat(0.003921569f), Lanes::splat(1.0f));
        };
        return {widen(bytes.r), widen(bytes.g), widen(bytes.b)};
    }
    static Float distance(Rgb colour, Rgb p) {
        const Float dr = p.r - colour.r, dg = p.g - colour.g, db = p.b - colour.b;
        return Lanes::splat(0.59f) * (dg * dg) + Lanes::splat(0.3f) * (dr * dr) +
               Lanes::splat(0.11f) * (db * db);
    }

    Rgb m_first, m_second, m_middle;
};

template <typename Lanes> class PunchThroughRun {
public:
    static void encode(std::uint8_t* destination, const ColourSource& source, unsigned count,
                       float alphaThreshold, bool* isOpen) {
        PunchThroughRun run(source);
        for (unsigned at = 0; at < count; at += kCount) {
            run.quantise(at, count - at < kCount ? count - at : kCount);
        }
        run.sort(count);
        for (unsigned at = 0; at < count; at += kCount) {
            run.encodeGroup(run.m_order + at, count - at < kCount ? count - at : kCount, destination,
                            alphaThreshold, isOpen);
        }
    }

private:
    using Float = typename Lanes::Float;
    using Int = typename Lanes::Int;
    using Colours = Bc1ThreeColours<Lanes>;
    using Rgb = typename Colours::Rgb;
    static constexpr unsigned kCount = Lanes::kCount;
    static constexpr unsigned kMost = kPunchThroughBlocks;

    struct Texels {
        Rgb m_colours[kTexelsPerBlock];
        Float m_alphas[kTexelsPerBlock];
    };
    // The ends of the blocks of one vector, of which each two make a pair.
    struct Ends {
        unsigned m_count; // of the block that has most
        std::uint32_t m_words[kTexelsPerBlock][kCount];
        Rgb m_halves[kTexelsPerBlock];                       // half of each colour, scaled by the weights
        Float m_distances[kTexelsPerBlock][kTexelsPerBlock]; // of the texels from each
        Float m_sums[kTexelsPerBlock]; // of these; infinite where a block has no such end
        Float m_greatestSum;
    };
    struct Choice {
        Int m_pair;   // of ends, the second in the low byte
        Int m_isSure; // a mask
    };

    explicit PunchThroughRun(const ColourSource& source) : m_source(source) {}

    static Float squared(Rgb p) { return p.r * p.r + p.g * p.g + p.b * p.b; }
    static Rgb minus(Rgb p, Rgb q) { return {p.r - q.r, p.g - q.g, p.b - q.b}; }
    static Rgb scaled(Rgb p) {
        return {p.r * Lanes::splat(kRedWeight), p.g * Lanes::splat(kGreenWeight),
                p.b * Lanes::splat(kBlueWeight)};
    }

    // As many blocks of those listed as a vector has lanes.
    void load(const std::uint8_t* blocks, Texels* texels) const {
        if (m_source.m_texels != nullptr) {
            loadFloats(blocks, texels);
        } else {
            loadPixels(blocks, texels);
        }
    }
    void loadFloats(const std::uint8_t* blocks, Texels* texels) const {
        float gathered[kCount][4 * kTexelsPerBlock];
        for (unsigned lane = 0; lane < kCount; ++lane) {
            std::memcpy(gathered[lane], m_source.m_texels + std::size_t{64} * blocks[lane],
                        sizeof gathered[lane]);
        }
        for (unsigned t = 0; t < kTexelsPerBlock; ++t) {
            Float channels[4];
            Lanes::loadTexels(channels, gathered[0] + 4 * t, 4 * kTexelsPerBlock);
            texels->m_colours[t] = {channels[0], channels[1], channels[2]};
            texels->m_alphas[t] = channels[3];
        }
    }
    // The four pixels of a block's row are taken for a texel of four floats.
    void loadPixels(const std::uint8_t* blocks, Texels* texels) const {
        const auto unit = [](Int byte) {
            return toFloats(byte & Lanes::splat(255u)) * Lanes::splat(kByteToUnit);
        };
        for (unsigned row = 0; row < kBlockSide; ++row) {
            float gathered[kCount][4];
            for (unsigned lane = 0; lane < kCount; ++lane) {
                std::memcpy(gathered[lane],
                            m_source.m_rows + row * m_source.m_pitch + std::size_t{16} * blocks[lane], 16);
            }
            Float columns[4];
            Lanes::loadTexels(columns, gathered[0], 4);
            for (unsigned column = 0; column < kBlockSide; ++column) {
                const Int pixel = bitsOf(columns[column]);
                const unsigned t = kBlockSide * row + column;
                texels->m_colours[t] = {unit(pixel), unit(shiftRight<8>(pixel)), unit(shiftRight<16>(pixel))};
                texels->m_alphas[t] = unit(shiftRight<24>(pixel));
            }
        }
    }

    // The words of the blocks from number `at` on, and at which texels new ones stand.
    void quantise(unsigned at, unsigned here) {
        std::uint8_t blocks[kCount];
        for (unsigned lane = 0; lane < kCount; ++lane) {
            blocks[lane] = static_cast<std::uint8_t>(at + (lane < here ? lane : 0));
        }
        Texels texels;
        load(blocks, &texels);
        Int words[kTexelsPerBlock], areNew = Lanes::splat(0u), count = areNew;
        for (unsigned t = 0; t < kTexelsPerBlock; ++t) {
            words[t] = Colours::wordOf(texels.m_colours[t]);
            store(m_words[t] + at, words[t]);
            Int isOld = Lanes::splat(0u);
            for (unsigned before = 0; before < t; ++before) {
                isOld = isOld | equal(words[before], words[t]);
            }
            areNew = areNew | (~isOld & Lanes::splat(1u << t));
            count = count + Lanes::splat(1u) + isOld;
        }
        store(m_endCounts + at, count);
        std::uint32_t bits[kCount];
        store(bits, areNew);
        for (unsigned lane = 0; lane < here; ++lane) {
            for (unsigned t = 0, end = 0; t < kTexelsPerBlock; ++t) {
                m_places[at + lane][end] = static_cast<std::uint8_t>(t);
                end += bits[lane] >> t & 1;
            }
        }
    }

    // By the number of ends, so that the blocks of a vector have about as many pairs to try.
    void sort(unsigned count) {
        unsigned at[kTexelsPerBlock + 2] = {};
        for (unsigned block = 0; block < count; ++block) {
            ++at[m_endCounts[block] + 1];
        }
        for (unsigned ends = 1; ends < kTexelsPerBlock + 1; ++ends) {
            at[ends] += at[ends - 1];
        }
        for (unsigned block = 0; block < count; ++block) {
            m_order[at[m_endCounts[block]]++] = static_cast<std::uint8_t>(block);
        }
        std::memset(m_order + count, m_order[count - 1], kCount);
    }

    void encodeGroup(const std::uint8_t* blocks, unsigned here, std::uint8_t* destination,
                     float alphaThreshold, bool* isOpen) const {
        Texels texels;
        load(blocks, &texels);
        Ends ends;
        const Int counts = takeWords(blocks, &ends);
        measureEnds(texels, counts, &ends);
        const Choice choice = choosePair(ends, counts);
        std::uint32_t pairs[kCount], isSure[kCount], colours[kCount], indices[kCount];
        store(pairs, choice.m_pair);
        store(isSure, choice.m_isSure);
        for (unsigned lane = 0; lane < kCount; ++lane) {
            const std::uint32_t a = ends.m_words[pairs[lane] >> 8][lane];
            const std::uint32_t b = ends.m_words[pairs[lane] & 0xFF][lane];
            colours[lane] = a < b ? a | b << 16 : b | a << 16;
        }
        store(indices, indicesOf(texels, Lanes::loadInts(colours), alphaThreshold));
        for (unsigned lane = 0; lane < here; ++lane) {
            std::memcpy(destination + 8 * blocks[lane], &colours[lane], 4);
            std::memcpy(destination + 8 * blocks[lane] + 4, &indices[lane], 4);
            isOpen[blocks[lane]] = isSure[lane] == 0;
        }
    }

    // Tells how many ends each block has; the first one stands in for those that it has not.
    Int takeWords(const std::uint8_t* blocks, Ends* ends) const {
        std::uint32_t counts[kCount];
        ends->m_count = m_endCounts[blocks[kCount - 1]]; // they are in order
        for (unsigned lane = 0; lane < kCount; ++lane) {
            const unsigned block = blocks[lane];
            counts[lane] = m_endCounts[block];
            for (unsigned end = 0; end < ends->m_count; ++end) {
                const unsigned place = end < counts[lane] ? m_places[block][end] : 0;
                ends->m_words[end][lane] = m_words[place][block];
            }
        }
        return Lanes::loadInts(counts);
    }

    static void measureEnds(const Texels& texels, Int counts, Ends* ends) {
        Rgb points[kTexelsPerBlock];
        for (unsigned t = 0; t < kTexelsPerBlock; ++t) {
            points[t] = scaled(texels.m_colours[t]);
        }
        const Float endless = floatsOf(Lanes::splat(0x7F800000u)), half = Lanes::splat(0.5f);
        ends->m_greatestSum = Lanes::splat(0.0f);
        for (unsigned end = 0; end < ends->m_count; ++end) {
            const Rgb colour = scaled(Colours::colourOf(Lanes::loadInts(ends->m_words[end])));
            ends->m_halves[end] = {colour.r * half, colour.g * half, colour.b * half};
            Float sum = Lanes::splat(0.0f);
            for (unsigned t = 0; t < kTexelsPerBlock; ++t) {
                const Float distance = squared(minus(points[t], colour));
                ends->m_distances[end][t] = distance;
                sum = sum + distance;
            }
            const Int exists = greaterSigned(counts, Lanes::splat(end));
            ends->m_sums[end] = select(exists, sum, endless);
            ends->m_greatestSum = maximum(ends->m_greatestSum, select(exists, sum, Lanes::splat(0.0f)));
        }
    }

    // Twice the errors of the pairs of one end and each of those before it. Some texels after the other, so
    // that their distances from that end stay in registers.
    static void measurePairs(const Ends& ends, unsigned second, Float (&errors)[kTexelsPerBlock]) {
        constexpr unsigned kAtOnce = 8;
        Float limits[kTexelsPerBlock];
        for (unsigned first = 0; first < second; ++first) {
            const Float quarter = squared(minus(ends.m_halves[first], ends.m_halves[second]));
            limits[first] = quarter + quarter;
            errors[first] = ends.m_sums[first] + ends.m_sums[second];
        }
        for (unsigned t = 0; t < kTexelsPerBlock; t += kAtOnce) {
            Float here[kAtOnce];
            for (unsigned i = 0; i < kAtOnce; ++i) {
                here[i] = ends.m_distances[second][t + i];
            }
            for (unsigned first = 0; first < second; ++first) {
                const Float limit = limits[first];
                Float error = errors[first];
                for (unsigned i = 0; i < kAtOnce; ++i) {
                    error = error - maximum(absolute(ends.m_distances[first][t + i] - here[i]), limit);
                }
                errors[first] = error;
            }
        }
    }

    // Sure where all other pairs are worse by more than can come of rounding, here and in the search, and two
    // times the first end too, which the search may prefer.
    static Choice choosePair(const Ends& ends, Int counts) {
        const Float endless = floatsOf(Lanes::splat(0x7F800000u));
        Float best = endless, next = endless;
        Int pair = Lanes::splat(0u);
        for (unsigned second = 1; second < ends.m_count; ++second) {
            Float errors[kTexelsPerBlock];
            measurePairs(ends, second, errors);
            for (unsigned first = 0; first < second; ++first) {
                const Float error = errors[first];
                const Int isBest = less(error, best);
                next = minimum(next, select(isBest, best, error));
                best = select(isBest, error, best);
                pair = select(isBest, Lanes::splat(first << 8 | second), pair);
            }
        }
        const Float rounding = ends.m_greatestSum * Lanes::splat(kRoundingOfSums);
        const Float inSearch = squareRoot(maximum(best, Lanes::splat(0.0f)) + rounding);
        const Float limit = best + (rounding + inSearch * Lanes::splat(kRoundingOfMiddle));
        const Int mayBeFirst =
            equal(shiftRight<8>(pair), Lanes::splat(0u)) & ~less(limit, ends.m_sums[0] + ends.m_sums[0]);
        const Int isSure = less(limit, next) & ~mayBeFirst;
        return {pair, isSure | equal(counts, Lanes::splat(1u))};
    }

    static Int indicesOf(const Texels& texels, Int colours, float alphaThreshold) {
        const Colours palette(colours & Lanes::splat(0xFFFFu), shiftRight<16>(colours));
        const Float threshold = Lanes::splat(alphaThreshold);
        Int indices = Lanes::splat(0u);
        for (unsigned t = kTexelsPerBlock; t-- > 0;) {
            indices =
                shiftLeft<2>(indices) | palette.indexOf(texels.m_colours[t], texels.m_alphas[t], threshold);
        }
        return indices;
    }

    // Bounds, with room to spare. Each distance is right to 5 roundings, sums of 16 to 16 more, of two pairs:
    // below 2^-16 of the greatest sum. The middle's rounding moves each texel by 2^-23 at most, its distance
    // from there by twice as much times the root of it.
    static constexpr float kRoundingOfSums = 2e-5f;
    static constexpr float kRoundingOfMiddle = 4e-6f;

    const ColourSource& m_source;
    std::uint32_t m_words[kTexelsPerBlock][kMost]; // of each texel
    std::uint32_t m_endCounts[kMost];              // how many different words a block has
    std::uint8_t m_places[kMost][kTexelsPerBlock]; // the texels with these
    std::uint8_t m_order[kMost + kCount];
};

} // namespace qor::Texsmith::Raw
