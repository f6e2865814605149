// Endpoints of BC7 in the precision of a mode, and the error of what they decode to, in lanes.
#pragma once

#include "raw/blocks/bc7_line_lanes.h"
#include "raw/blocks/bc7_tables.h"

namespace qor::Texsmith::Raw::Bc7Lanes {

// R, G, B, A of both ends of each subset, 0..1 but for what a line overshoots.
template <typename Lanes, int kSubsets> struct Ends { typename Lanes::Float m_channels[kSubsets][2][4]; };

// As stored, and as decoded: levels of 0..255.
template <typename Lanes, int kSubsets> struct QuantisedEnds {
    typename Lanes::Int m_codes[kSubsets][2][4];
    typename Lanes::Int m_pBits[kSubsets][2];
    typename Lanes::Float m_levels[kSubsets][2][4];
};

// A NaN gives 0.
template <typename Lanes> inline typename Lanes::Float clamped(typename Lanes::Float value, float top) {
    return minimum(maximum(value, Lanes::splat(0.0f)), Lanes::splat(top));
}

template <typename Lanes, int kBits> inline typename Lanes::Float levelOf(typename Lanes::Int code) {
    if constexpr (kBits == 8) {
        return toFloats(code);
    } else {
        return toFloats(shiftLeft<8 - kBits>(code) | shiftRight<2 * kBits - 8>(code));
    }
}

template <typename Lanes, int kBits> inline typename Lanes::Int roundedCode(typename Lanes::Float value) {
    constexpr float kTop = (1 << kBits) - 1;
    return truncateToInts(clamped<Lanes>(value * Lanes::splat(kTop) + Lanes::splat(0.5f), kTop));
}

// The code whose level is nearest.
template <typename Lanes, int kBits> inline typename Lanes::Int nearestCode(typename Lanes::Float value) {
    constexpr float kTop = (1 << kBits) - 1;
    const auto level = clamped<Lanes>(value * Lanes::splat(255.0f), 255.0f);
    const auto code = roundedCode<Lanes, kBits>(value);
    const auto miss = level - levelOf<Lanes, kBits>(code);
    const auto sideways = select(less(miss, Lanes::splat(0.0f)), Lanes::splat(-1.0f), Lanes::splat(1.0f));
    const auto neighbour = truncateToInts(clamped<Lanes>(toFloats(code) + sideways, kTop));
    const auto otherMiss = level - levelOf<Lanes, kBits>(neighbour);
    return select(less(absolute(otherMiss), absolute(miss)), neighbour, code);
}

// Of the codes of kBits bits and a p-bit below them, the nearest one; without the p-bit.
template <typename Lanes, int kBits>
inline typename Lanes::Int nearestCodeAbove(typename Lanes::Int pBit, typename Lanes::Float value) {
    constexpr float kTop = (1 << kBits) - 1, kFullTop = (2 << kBits) - 1;
    const auto half = Lanes::splat(0.5f);
    const auto code = (value * Lanes::splat(kFullTop) - toFloats(pBit)) * half + half;
    return truncateToInts(clamped<Lanes>(code, kTop));
}

// Green counts most, then red, alpha and blue.
template <typename Lanes, int kChannels>
inline typename Lanes::Int votedPBit(const typename Lanes::Int (&codes)[4]) {
    constexpr std::uint32_t kVotes[4] = {3, 6, 1, 2};
    const auto one = Lanes::splat(1u);
    auto sum = Lanes::splat(0u);
    for (int channel = 0; channel < kChannels; ++channel) {
        sum = sum + select(equal(codes[channel] & one, one), Lanes::splat(kVotes[channel]), Lanes::splat(0u));
    }
    return greaterSigned(sum, Lanes::splat(5u)) & one;
}

// Endpoints of one mode. Blocks without alpha keep it at 255 in every mode.
template <typename Lanes, int kMode, bool kHasAlpha> class Quantiser {
public:
    using Float = typename Lanes::Float;
    using Int = typename Lanes::Int;
    static constexpr Bc7Mode kLayout = kBc7Modes[kMode];
    static constexpr int kSubsets = kLayout.m_subsets;
    static constexpr int kColourBits = kLayout.m_colourBits;
    static constexpr int kChannels = kLayout.m_alphaBits != 0 ? 4 : 3;
    static constexpr int kPBit = kLayout.m_pBits == Bc7PBits::None ? 0 : 1;

    static QuantisedEnds<Lanes, kSubsets> quantise(const Ends<Lanes, kSubsets>& ends) {
        QuantisedEnds<Lanes, kSubsets> result;
        for (int subset = 0; subset < kSubsets; ++subset) {
            const auto& channels = ends.m_channels[subset];
            if constexpr (kMode == 1) {
                quantiseShared(channels, result, subset);
            } else {
                quantiseEnd(channels[0], result, subset, 0);
                quantiseEnd(channels[1], result, subset, 1);
            }
        }
        return result;
    }

    // With given p-bits.
    static void quantiseWith(Int pBit, const Float (&channels)[4], QuantisedEnds<Lanes, kSubsets>& result,
                             int subset, int end) {
        for (int channel = 0; channel < kChannels; ++channel) {
            result.m_codes[subset][end][channel] =
                nearestCodeAbove<Lanes, kColourBits>(pBit, channels[channel]);
        }
        setLevels(pBit, result, subset, end);
    }

    // One code to a neighbour, if there is one.
    static void move(QuantisedEnds<Lanes, kSubsets>& ends, int subset, int end, int channel, float step) {
        const float top =
            static_cast<float>((1 << (channel < 3 ? kLayout.m_colourBits : kLayout.m_alphaBits)) - 1);
        Int& code = ends.m_codes[subset][end][channel];
        code = truncateToInts(clamped<Lanes>(toFloats(code) + Lanes::splat(step), top));
        setLevels(ends.m_pBits[subset][end], ends, subset, end);
    }

private:
    static void setLevels(Int pBit, QuantisedEnds<Lanes, kSubsets>& result, int subset, int end) {
        result.m_pBits[subset][end] = pBit;
        auto& codes = result.m_codes[subset][end];
        auto& levels = result.m_levels[subset][end];
        for (int channel = 0; channel < 3; ++channel) {
            const Int full = kPBit != 0 ? shiftLeft<1>(codes[channel]) | pBit : codes[channel];
            levels[channel] = levelOf<Lanes, kColourBits + kPBit>(full);
        }
        if constexpr (kLayout.m_alphaBits != 0) {
            const Int full = kPBit != 0 ? shiftLeft<1>(codes[3]) | pBit : codes[3];
            levels[3] = levelOf<Lanes, kLayout.m_alphaBits + kPBit>(full);
        } else {
            codes[3] = Lanes::splat(0u);
            levels[3] = Lanes::splat(255.0f);
        }
    }

    static void quantiseEnd(const Float (&channels)[4], QuantisedEnds<Lanes, kSubsets>& result, int subset,
                            int end) {
        Int(&codes)[4] = result.m_codes[subset][end];
        Int pBit = Lanes::splat(0u);
        if constexpr (kMode == 2 || kMode == 4) {
            for (int channel = 0; channel < 3; ++channel) {
                codes[channel] = nearestCode<Lanes, kColourBits>(channels[channel]);
            }
            if constexpr (kMode == 4) {
                codes[3] = nearestCode<Lanes, 6>(channels[3]);
            }
        } else if constexpr (kMode == 5) {
            for (int channel = 0; channel < 3; ++channel) {
                codes[channel] = shiftRight<1>(roundedCode<Lanes, 8>(channels[channel]));
            }
            codes[3] = roundedCode<Lanes, 8>(channels[3]);
        } else if constexpr (kMode == 6 && !kHasAlpha) {
            // Rounding up at the top of a p-bit that is set anyway would brighten by half a level.
            pBit = Lanes::splat(1u);
            for (int channel = 0; channel < 4; ++channel) {
                const Float level = clamped<Lanes>(channels[channel] * Lanes::splat(255.0f), 255.0f);
                codes[channel] = shiftRight<1>(truncateToInts(level));
            }
        } else {
            for (int channel = 0; channel < kChannels; ++channel) {
                codes[channel] = roundedCode<Lanes, kColourBits + 1>(channels[channel]);
            }
            pBit = votedPBit<Lanes, kChannels>(codes);
            for (int channel = 0; channel < kChannels; ++channel) {
                codes[channel] = kMode == 6 ? shiftRight<1>(codes[channel])
                                            : nearestCodeAbove<Lanes, kColourBits>(pBit, channels[channel]);
            }
        }
        setLevels(pBit, result, subset, end);
    }

    // One p-bit for both ends: the one that keeps them better.
    static void quantiseShared(const Float (&channels)[2][4], QuantisedEnds<Lanes, kSubsets>& result,
                               int subset) {
        QuantisedEnds<Lanes, kSubsets> tried[2];
        Float errors[2];
        for (unsigned bit = 0; bit < 2; ++bit) {
            errors[bit] = Lanes::splat(0.0f);
            for (int end = 0; end < 2; ++end) {
                quantiseWith(Lanes::splat(bit), channels[end], tried[bit], subset, end);
                for (int channel = 0; channel < 3; ++channel) {
                    const Float miss = channels[end][channel] * Lanes::splat(255.0f) -
                                       tried[bit].m_levels[subset][end][channel];
                    errors[bit] = errors[bit] + miss * miss;
                }
            }
        }
        const auto takesOne = less(errors[1], errors[0]);
        for (int end = 0; end < 2; ++end) {
            result.m_pBits[subset][end] = takesOne & Lanes::splat(1u);
            for (int channel = 0; channel < 4; ++channel) {
                result.m_codes[subset][end][channel] = select(
                    takesOne, tried[1].m_codes[subset][end][channel], tried[0].m_codes[subset][end][channel]);
                result.m_levels[subset][end][channel] =
                    select(takesOne, tried[1].m_levels[subset][end][channel],
                           tried[0].m_levels[subset][end][channel]);
            }
        }
    }
};

// One channel of two ends as the decoder mixes it: (weight * m_slope + m_base) / 64, rounded down, with
// weights counted from the middle. Whole numbers throughout.
template <typename Lanes, int kSubsets> struct Mix {
    typename Lanes::Float m_slope[kSubsets];
    typename Lanes::Float m_base[kSubsets];

    Mix(const QuantisedEnds<Lanes, kSubsets>& ends, int channel) {
        for (int subset = 0; subset < kSubsets; ++subset) {
            const auto first = ends.m_levels[subset][0][channel], second = ends.m_levels[subset][1][channel];
            m_slope[subset] = second - first;
            m_base[subset] = (first + second) * Lanes::splat(32.0f) + Lanes::splat(32.0f);
        }
    }
};

template <typename Lanes>
inline typename Lanes::Float mixedLevel(typename Lanes::Float slope, typename Lanes::Float base,
                                        typename Lanes::Float weight) {
    return toFloats(truncateToInts((weight * slope + base) * Lanes::splat(1.0f / 64.0f)));
}

template <typename Lanes>
inline typename Lanes::Float squaredMiss(typename Lanes::Float level, typename Lanes::Float wanted) {
    const auto miss = level * Lanes::splat(1.0f / 255.0f) - wanted;
    return miss * miss;
}

} // namespace qor::Texsmith::Raw::Bc7Lanes
