// Sums over 16 lanes and the ramp of indices, for the kernels of BC6H.
#pragma once

#include "raw/blocks/bc6_kernels.h"

namespace qor::Texsmith::Raw {

template <typename Lanes> struct Bc6Sums {
    using Float = typename Lanes::Float;
    using Int = typename Lanes::Int;
    static constexpr unsigned kVectors = kBc6Texels / Lanes::kCount;

    static Float present(const Bc6Subset& subset, unsigned at, Float value) {
        return floatsOf(bitsOf(value) & Lanes::loadInts(&subset.m_present[at]));
    }

    // Folds the upper half onto the lower one until one lane is left.
    static float fold(const Float (&parts)[kVectors]) {
        if constexpr (kVectors == 4) {
            return sumOfLanes((parts[0] + parts[2]) + (parts[1] + parts[3]));
        } else {
            static_assert(kVectors == 2);
            return sumOfLanes(parts[0] + parts[1]);
        }
    }

    // Of `term(at)` over the lanes of the subset that are present.
    template <typename Term> static float sum(const Bc6Subset& subset, Term term) {
        Float parts[kVectors];
        for (unsigned i = 0; i < kVectors; ++i) {
            const unsigned at = i * Lanes::kCount;
            parts[i] = at < subset.m_count ? present(subset, at, term(at)) : Lanes::splat(0.0f);
        }
        return fold(parts);
    }
};

// Which index is nearest to a place on the line, in 128ths from end to end, and how far along it lies.
template <typename Lanes, unsigned kIndexBits> struct Bc6Ramp {
    using Float = typename Lanes::Float;
    using Int = typename Lanes::Int;

    // Whole 128ths, ties to even. What is not a number is 0.
    static Float roundPlace(Float place) {
        const Float clamped = minimum(maximum(place, Lanes::splat(0.0f)), Lanes::splat(128.0f));
        const Float magic = Lanes::splat(8388608.0f);
        return (clamped + magic) - magic;
    }

    // In 64ths: 4 i + (i + 2) / 4 and 9 i + i / 4 are the published weights.
    static Float weight(Int index) { return toFloats(index) * Lanes::splat(kSlope) + quarter(index); }

    // The nearest index, the higher one of two: a first guess that is at most one too high, less one where
    // the place lies below the middle between the guess and the index before it.
    static Int nearest(Float place) {
        const Int guess =
            truncateToInts(place * Lanes::splat(kTop / 128.0f) + Lanes::splat(kOffset / 128.0f));
        const Int before = guess - Lanes::splat(1u);
        const Float middle =
            (toFloats(guess) + toFloats(before)) * Lanes::splat(kSlope) + quarter(guess) + quarter(before);
        return guess + less(place, middle);
    }

private:
    static constexpr float kSlope = kIndexBits == 4 ? 4.0f : 9.0f;
    static constexpr float kTop = kIndexBits == 4 ? 15.0f : 7.0f;
    static constexpr float kOffset = kIndexBits == 4 ? 75.0f : 69.0f;

    static Float quarter(Int index) {
        return toFloats(shiftRightSigned<2>(index + Lanes::splat(kIndexBits == 4 ? 2u : 0u)));
    }
};

} // namespace qor::Texsmith::Raw
