// The error measures of comparison.h: sums of squared differences, weighed in several ways.
#include "raw/analysis/squared_error_lanes.h"

#include "qor/texsmith/raw/comparison.h"
#include "simd/canonical_nan.h"
#include "simd/dispatch.h"
#include "simd/lanes4.h"
#include "simd/lanes4x2.h"

#include <algorithm>
#include <cmath>

namespace qor::Texsmith::Raw {
namespace {

using Lanes = Simd::Lanes4x2;
using Pair = Lanes::Float; // of texels

Pair alphas(Pair texels) { return shuffle<3, 3, 3, 3>(texels); }
Pair withAlphas(Pair colours, Pair alphas) {
    static constexpr std::uint32_t kAlpha[4] = {0, 0, 0, 0xFFFFFFFF};
    return select(Lanes::repeatInts(kAlpha), alphas, colours);
}

// Weighs the error of colours; alpha counts as it is.
Pair weigh(Pair weight, Pair a, Pair b) {
    const Pair difference = a - b;
    return withAlphas(weight * difference * difference, difference * difference);
}

struct WeighedByFirst {
    Pair operator()(Pair a, Pair b) const { return weigh(alphas(a), a, b); }
};

struct WeighedByBoth {
    Pair operator()(Pair a, Pair b) const {
        return weigh((alphas(a) + alphas(b)) * Lanes::splat(0.5f), a, b);
    }
};

struct Premultiplied {
    Pair operator()(Pair a, Pair b) const {
        const Pair difference = a - b;
        const Pair colours = alphas(b) * b - alphas(a) * a;
        return withAlphas(colours * colours, difference * difference);
    }
};

VectorFloat normalOf(const float* texel) {
    const float x = 2.0f * texel[0] - 1.0f, y = 2.0f * texel[1] - 1.0f, square = x * x + y * y;
    return {{x, y, std::sqrt(1.0f - (square < 1.0f ? square : 1.0f)), 0.0f}};
}

struct TangentSpaceNormals {
    Pair operator()(Pair a, Pair b) const {
        float texelsA[8], texelsB[8];
        store(texelsA, a);
        store(texelsB, b);
        VectorFloat squares[2];
        for (unsigned texel = 0; texel < 2; ++texel) {
            const VectorFloat u = normalOf(texelsA + 4 * texel), v = normalOf(texelsB + 4 * texel);
            for (unsigned lane = 0; lane < 4; ++lane) {
                const float half = (u[lane] - v[lane]) * 0.5f;
                squares[texel][lane] = half * half;
            }
        }
        return Lanes::loadFloats(squares[0].m_lanes);
    }
};

// The texels past the last whole eight. Those that are not there add what two equal texels of zeros add.
template <typename Term>
void addRest(EightSums<Lanes>& sums, const VectorFloat* a, const VectorFloat* b, unsigned count, Term term) {
    VectorFloat restOfA[8] = {}, restOfB[8] = {};
    std::copy_n(a, count, restOfA);
    std::copy_n(b, count, restOfB);
    addTerms(sums, restOfA[0].m_lanes, restOfB[0].m_lanes, 8, term);
}

template <typename Term>
VectorFloat sumOf(const VectorFloat* a, const VectorFloat* b, unsigned count, Term term) {
    const unsigned whole = count & ~7u;
    EightSums<Lanes> sums;
    addTerms(sums, a->m_lanes, b->m_lanes, whole, term);
    if (whole != count) {
        addRest(sums, a + whole, b + whole, count - whole, term);
    }
    VectorFloat result;
    sums.fold(result.m_lanes);
    return Simd::canonical<Simd::Lanes4>(result);
}

} // namespace

VectorFloat StandardSquaredErrorCalculator::doCalculate(const VectorFloat* a, const VectorFloat* b,
                                                        unsigned count) const {
    return sumOf(a, b, count, SquaredDifference<Lanes>());
}

VectorFloat TangentSpaceNormalErrorCalculator::doCalculate(const VectorFloat* a, const VectorFloat* b,
                                                           unsigned count) const {
    return sumOf(a, b, count, TangentSpaceNormals());
}

VectorFloat SpecialSquaredErrorCalculator0::doCalculate(const VectorFloat* a, const VectorFloat* b,
                                                        unsigned count) const {
    return sumOf(a, b, count, WeighedByFirst());
}

VectorFloat SpecialSquaredErrorCalculator1::doCalculate(const VectorFloat* a, const VectorFloat* b,
                                                        unsigned count) const {
    return sumOf(a, b, count, WeighedByBoth());
}

VectorFloat SpecialSquaredErrorCalculator2::doCalculate(const VectorFloat* a, const VectorFloat* b,
                                                        unsigned count) const {
    return sumOf(a, b, count, Premultiplied());
}

} // namespace qor::Texsmith::Raw
