// Sums over 16 lanes and the ramp of indices, for the kernels of BC6H.
#pragma once

#include "raw/blocks/bc6_kernels.h"

namespace qor::Texsmith::Raw {

template <typename Lanes> struct Bc6Sums {
    using Float = typename Lanes::Float;
    using Int = typename Lanes::Int;
    static constexpr unsigned kVectors = kBc6Texels / Lanes::kCount;

    // Folds the upper half onto the lower one until one lane is left.
    static float fold(const Float (&parts)[kVectors]) {
        if constexpr (kVectors == 4) {
            return sumOfLanes((parts[0] + parts[2]) + (parts[1] + parts[3]));
        } else {
            static_assert(kVectors == 2);
            return sumOfLanes(parts[0] + parts[1]);
        }
    }
};

// Which index is nearest to a place on the line, in 128ths from end to end, and how far along it lies. The
// width of the indices may differ from lane to lane.
template <typename Lanes> class Bc6Ramp {
    using Float = typename Lanes::Float;
    using Int = typename Lanes::Int;

public:
    // In all lanes.
    explicit Bc6Ramp(unsigned indexBits) : Bc6Ramp(Lanes::splat(indexBits == 4 ? 0xFFFFFFFFu : 0u)) {}

    // A mask of the lanes with indices of four bits; the others have three.
    explicit Bc6Ramp(Int isFour)
        : m_slope(pick(isFour, 4.0f, 9.0f)), m_top(pick(isFour, 15.0f / 128.0f, 7.0f / 128.0f)),
          m_offset(pick(isFour, 75.0f / 128.0f, 69.0f / 128.0f)), m_quarterOffset(isFour & Lanes::splat(2u)) {
    }

    // Whole 128ths, ties to even. What is not a number is 0.
    static Float roundPlace(Float place) {
        const Float clamped = minimum(maximum(place, Lanes::splat(0.0f)), Lanes::splat(128.0f));
        const Float magic = Lanes::splat(8388608.0f);
        return (clamped + magic) - magic;
    }

    // In 64ths: 4 i + (i + 2) / 4 and 9 i + i / 4 are the published weights.
    Float weight(Int index) const { return toFloats(index) * m_slope + toFloats(quarter(index)); }

    // The nearest index, the higher one of two: a first guess that is at most one too high, less one where
    // the place lies below the middle between the guess and the index before it.
    Int nearest(Float place) const {
        const Int guess = truncateToInts(place * m_top + m_offset);
        const Int before = guess - Lanes::splat(1u);
        const Float middle = toFloats(guess + before) * m_slope + toFloats(quarter(guess) + quarter(before));
        return guess + less(place, middle);
    }

private:
    Float m_slope, m_top, m_offset;
    Int m_quarterOffset;

    static Float pick(Int mask, float a, float b) {
        return floatsOf(select(mask, bitsOf(Lanes::splat(a)), bitsOf(Lanes::splat(b))));
    }
    Int quarter(Int index) const { return shiftRightSigned<2>(index + m_quarterOffset); }
};

} // namespace qor::Texsmith::Raw
