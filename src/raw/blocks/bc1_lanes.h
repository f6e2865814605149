// The fit of BC1 endpoints for as many blocks as a vector has lanes, one block a lane.
//
// The same steps in the same order as in bc1_group.cpp; where that takes a branch, this takes both and
// chooses by a mask. Indices are worked on as steps 0 to 3 from color0 to color1, kept as floats, so that the
// sums of the least squares are small exact integers.
#pragma once

#include "raw/blocks/bc1_fit.h"
#include "raw/blocks/bc1_single_colour.h"
#include "raw/texels/sides.h"
#include "simd/fast_rsqrt_lanes.h"

#include <cstring>

namespace qor::Texsmith::Raw {

// Texels of four floats, block after block, or four rows of pixels of four bytes.
struct ColourSource {
    const float* m_texels; // null: pixels
    const std::uint8_t* m_rows;
    std::size_t m_pitch;

    // Without the first `blocks`.
    ColourSource from(std::size_t blocks) const {
        return {m_texels == nullptr ? nullptr : m_texels + 64 * blocks,
                m_texels == nullptr ? m_rows + 16 * blocks : nullptr, m_pitch};
    }
};

// Writes `count` blocks, `stride` bytes apart.
using Bc1Kernel = void (*)(std::uint8_t* destination, std::size_t stride, const ColourSource& source,
                           std::size_t count);
// Ways to search, from the quickest on.
struct Bc1Kernels {
    Bc1Kernel m_normal, m_high, m_best;
};
// Null where the build has none.
const Bc1Kernels* getBc1KernelsAvx2();

template <typename Lanes> class Bc1Lanes {
public:
    using Float = typename Lanes::Float;
    using Int = typename Lanes::Int;
    static constexpr unsigned kCount = Lanes::kCount;

    struct Rgb {
        Float r, g, b;

        friend Rgb operator+(Rgb x, Rgb y) { return {x.r + y.r, x.g + y.g, x.b + y.b}; }
        friend Rgb operator-(Rgb x, Rgb y) { return {x.r - y.r, x.g - y.g, x.b - y.b}; }
        friend Rgb operator*(Rgb x, Float y) { return {x.r * y, x.g * y, x.b * y}; }
    };
    // Levels of 5:6:5 colours as floats.
    struct Endpoints {
        Rgb m_first, m_second;
    };

    // The blocks of a whole vector.
    void load(const ColourSource& source) {
        if (source.m_texels != nullptr) {
            loadTexels(source.m_texels);
        } else {
            loadPixels(source.m_rows, source.m_pitch);
        }
    }
    void fit() {
        findMeanAndRange();
        const Rgb v = findAxis();
        const Float square = dot(v, v);
        const Float range = m_range.r + m_range.g + m_range.b;
        const Int flat = less(range, floats(kFlatRange)) | less(square, floats(kLeastAxisSquare));
        m_axis = v * Simd::fastRsqrtLanes<Lanes>(square);
        Endpoints ends = refine(refine(endpointsAlong(m_axis)));
        const Int indices = packIndices(ends);
        ends = takeFlat(flat, ends);
        order(wordOf(ends.m_first), wordOf(ends.m_second), select(flat, ints(kAllIndices2), indices));
    }
    // Of the first `count` blocks.
    void write(std::uint8_t* destination, std::size_t stride, unsigned count) const {
        std::uint32_t colours[kCount], indices[kCount];
        store(colours, m_colours);
        store(indices, m_indices);
        for (unsigned lane = 0; lane < count; ++lane) {
            std::memcpy(destination + stride * lane, &colours[lane], 4);
            std::memcpy(destination + stride * lane + 4, &indices[lane], 4);
        }
    }

    // For a search that goes on from here.
    const Rgb* points() const { return m_points; }
    Rgb axis() const { return m_axis; }
    Endpoints endpoints() const {
        return {levelsOf(m_colours & ints(0xFFFF)), levelsOf(shiftRight<16>(m_colours))};
    }
    void set(Endpoints ends, Int indices) { order(wordOf(ends.m_first), wordOf(ends.m_second), indices); }

private:
    // Over a block's texels, whose steps are u: of u, of its square, and of the texel times 3 - u.
    struct Sums {
        Float m_steps, m_squares;
        Rgb m_weighted;
    };
    // From the first endpoint to the second; 0 where they are equal, so that all steps are 0 too.
    struct Line {
        Rgb m_start, m_direction;
    };

    static Float floats(float value) { return Lanes::splat(value); }
    static Int ints(std::uint32_t value) { return Lanes::splat(value); }
    static Float dot(Rgb a, Rgb b) { return a.r * b.r + a.g * b.g + a.b * b.b; }
    static Rgb pick(Int mask, Rgb a, Rgb b) {
        return {select(mask, a.r, b.r), select(mask, a.g, b.g), select(mask, a.b, b.b)};
    }
    static Float roundToEven(Float x) { return x + floats(kRoundingShift) - floats(kRoundingShift); }

    void loadTexels(const float* texels) {
        for (unsigned t = 0; t < kTexelsPerBlock; ++t) {
            Float channels[4];
            Lanes::loadTexels(channels, texels + 4 * t, 4 * kTexelsPerBlock);
            m_points[t] = {channels[0], channels[1], channels[2]};
        }
    }

    // The four pixels of a block's row are taken for a texel of four floats.
    void loadPixels(const std::uint8_t* rows, std::size_t pitch) {
        const auto unit = [](Int byte) { return toFloats(byte & ints(255)) * floats(kByteToUnit); };
        for (unsigned row = 0; row < kBlockSide; ++row) {
            Float columns[4];
            Lanes::loadTexels(columns, reinterpret_cast<const float*>(rows + row * pitch), 4);
            for (unsigned column = 0; column < kBlockSide; ++column) {
                const Int pixel = bitsOf(columns[column]);
                m_points[kBlockSide * row + column] = {unit(pixel), unit(shiftRight<8>(pixel)),
                                                       unit(shiftRight<16>(pixel))};
            }
        }
    }

    void findMeanAndRange() {
        Rgb sum = m_points[0], low = sum, high = sum;
        for (unsigned t = 1; t < kTexelsPerBlock; ++t) {
            const Rgb p = m_points[t];
            sum = sum + p;
            low = {minimum(p.r, low.r), minimum(p.g, low.g), minimum(p.b, low.b)};
            high = {maximum(p.r, high.r), maximum(p.g, high.g), maximum(p.b, high.b)};
        }
        m_mean = sum * floats(1.0f / kTexelsPerBlock);
        m_range = high - low;
    }

    Rgb findAxis() const {
        const Float zero = floats(0.0f);
        Float rr = zero, rg = zero, rb = zero, gg = zero, gb = zero, bb = zero;
        for (const Rgb& p : m_points) {
            const Rgb d = p - m_mean;
            rr = rr + d.r * d.r;
            rg = rg + d.r * d.g;
            rb = rb + d.r * d.b;
            gg = gg + d.g * d.g;
            gb = gb + d.g * d.b;
            bb = bb + d.b * d.b;
        }
        Rgb v = m_range;
        for (int round = 0; round < 4; ++round) {
            v = Rgb{rr, rg, rb} * v.r + Rgb{rg, gg, gb} * v.g + Rgb{rb, gb, bb} * v.b;
        }
        return v;
    }

    static Float quantise(Float e, float levels) {
        return roundToEven(minimum(maximum(e, floats(0.0f)) * floats(levels), floats(levels)));
    }
    static Rgb quantise(Rgb e) {
        return {quantise(e.r, kRedBlueLevels), quantise(e.g, kGreenLevels), quantise(e.b, kRedBlueLevels)};
    }
    static Int wordOf(Rgb levels) {
        return truncateToInts(levels.r * floats(2048.0f) + levels.g * floats(32.0f) + levels.b);
    }
    static Rgb levelsOf(Int word) {
        return {toFloats(shiftRight<11>(word) & ints(31)), toFloats(shiftRight<5>(word) & ints(63)),
                toFloats(word & ints(31))};
    }

    Endpoints endpointsAlong(Rgb axis) const {
        Float low = dot(axis, m_points[0]), high = low;
        for (unsigned t = 1; t < kTexelsPerBlock; ++t) {
            const Float along = dot(axis, m_points[t]);
            low = minimum(along, low);
            high = maximum(along, high);
        }
        const Float centre = dot(axis, m_mean);
        return {quantise(m_mean + axis * (low - centre)), quantise(m_mean + axis * (high - centre))};
    }

    // From the table of single colours, for the mean of each block.
    Int flatWords() const {
        const Float means[3] = {m_mean.r, m_mean.g, m_mean.b};
        static constexpr std::uint32_t kFields[3] = {kRedFields, kGreenFields, kBlueFields};
        std::uint32_t words[kCount] = {};
        for (int channel = 0; channel < 3; ++channel) {
            std::uint32_t bytes[kCount];
            store(bytes, truncateToInts(quantise(means[channel], 255.0f)));
            for (unsigned lane = 0; lane < kCount; ++lane) {
                words[lane] |= kSingleColourEndpoints.m_words[bytes[lane]] & kFields[channel];
            }
        }
        return Lanes::loadInts(words);
    }
    Endpoints takeFlat(Int mask, Endpoints other) const {
        if (!anyLane(mask)) {
            return other;
        }
        const Int words = flatWords();
        return {pick(mask, levelsOf(words & ints(0xFFFF)), other.m_first),
                pick(mask, levelsOf(shiftRight<16>(words)), other.m_second)};
    }

    static Line lineThrough(Endpoints ends) {
        const auto widen = [](Rgb q) {
            return Rgb{q.r * floats(kRedBlueStep), q.g * floats(kGreenStep), q.b * floats(kRedBlueStep)};
        };
        const Rgb start = widen(ends.m_first);
        const Rgb way = widen(ends.m_second) - start;
        const Float square = dot(way, way);
        const Int differ = less(floats(0.0f), square);
        const auto part = [&](Float x) { return floatsOf(bitsOf(x / square) & differ); };
        return {start, {part(way.r), part(way.g), part(way.b)}};
    }
    static Float shiftedStep(const Line& line, Rgb p) {
        const Float along = dot(p - line.m_start, line.m_direction);
        const Float step = minimum(maximum(along, floats(0.0f)) * floats(3.0f), floats(3.0f));
        return step + floats(kRoundingShift);
    }

    Sums sumSteps(Endpoints ends) const {
        const Line line = lineThrough(ends);
        const Float zero = floats(0.0f);
        Sums sums = {zero, zero, {zero, zero, zero}};
        for (const Rgb& p : m_points) {
            const Float step = shiftedStep(line, p) - floats(kRoundingShift);
            sums.m_steps = sums.m_steps + step;
            sums.m_squares = sums.m_squares + step * step;
            sums.m_weighted = sums.m_weighted + p * (floats(3.0f) - step);
        }
        return sums;
    }

    // Least squares. The determinant is 0 where all steps are equal.
    Endpoints refine(Endpoints ends) const {
        const Sums sums = sumSteps(ends);
        const Float bb = sums.m_squares;
        const Float aa = floats(9.0f * kTexelsPerBlock) - floats(6.0f) * sums.m_steps + bb;
        const Float ab = floats(3.0f) * sums.m_steps - bb;
        const Float determinant = aa * bb - ab * ab;
        const Float f = floats(3.0f) / determinant;
        const Rgb x = sums.m_weighted;
        const Rgb y = m_mean * floats(3.0f * kTexelsPerBlock) - x;
        const Rgb first = x * (bb * f) - y * (ab * f);
        const Rgb second = y * (aa * f) - x * (ab * f);
        return takeFlat(equal(bitsOf(determinant), ints(0)), {quantise(first), quantise(second)});
    }

    // Two bits a texel.
    //
    // A step with the rounding shift added is a float whose bits are kShiftBits + step. Adding these up, each
    // moved up by two bits from the one before, gives the fields of the steps and beside them kShiftBits *
    // (1 + 4 + 16 ...), modulo 2^32; that product is taken away at the end, in place of kShiftBits each time.
    // Steps 0, 1, 2, 3 are the indices 0, 2, 3, 1: the upper bit of an index is the exclusive or of the
    // step's two bits, the lower one is the step's upper bit.
    Int packIndices(Endpoints ends) const {
        const Line line = lineThrough(ends);
        Int word = ints(0);
        for (unsigned t = kTexelsPerBlock; t-- > 0;) {
            word = shiftLeft<2>(word) + bitsOf(shiftedStep(line, m_points[t]));
        }
        constexpr std::uint32_t kShiftBits = 0x4B400000u, kOncePerTexel = 0x55555555u;
        word = word - ints(kShiftBits * kOncePerTexel);
        const Int low = word & ints(0x55555555);
        const Int high = shiftRight<1>(word) & ints(0x55555555);
        return shiftLeft<1>(high ^ low) | high;
    }

    void order(Int first, Int second, Int indices) {
        const Int swap = greaterSigned(second, first);
        m_colours = select(swap, second | shiftLeft<16>(first), first | shiftLeft<16>(second));
        m_indices = indices ^ (swap & ints(kSwapEndpoints));
    }

    Rgb m_points[kTexelsPerBlock];
    Rgb m_mean, m_range;
    Rgb m_axis; // of about unit length; of no use where a block is flat
    Int m_colours, m_indices;
};

// Runs of blocks by whole vectors. `Search` goes on from the fit.
template <typename Lanes, typename Search>
void encodeBc1Run(std::uint8_t* destination, std::size_t stride, const ColourSource& source,
                  std::size_t count) {
    constexpr unsigned kCount = Lanes::kCount;
    for (std::size_t done = 0; done < count; done += kCount) {
        const unsigned here = count - done < kCount ? static_cast<unsigned>(count - done) : kCount;
        ColourSource part = source.from(done);
        float texels[64 * kCount];
        std::uint8_t rows[kBlockSide][16 * kCount];
        if (here < kCount && part.m_texels != nullptr) {
            std::memset(texels, 0, sizeof texels);
            std::memcpy(texels, part.m_texels, here * 64 * sizeof(float));
            part.m_texels = texels;
        } else if (here < kCount) {
            std::memset(rows, 0, sizeof rows);
            for (unsigned row = 0; row < kBlockSide; ++row) {
                std::memcpy(rows[row], part.m_rows + row * part.m_pitch, std::size_t{16} * here);
            }
            part = {nullptr, rows[0], sizeof rows[0]};
        }
        Bc1Lanes<Lanes> blocks;
        blocks.load(part);
        blocks.fit();
        Search::improve(&blocks);
        blocks.write(destination + done * stride, stride, here);
    }
}

struct NoBc1Search {
    template <typename Blocks> static void improve(Blocks*) {}
};

} // namespace qor::Texsmith::Raw
