// The squared error of endpoints, as the decoder will have it: for one pair, with a texel in each lane, or
// for many, with a pair in each lane. Both add up texel by texel.
#pragma once

#include "raw/blocks/bc6_ramp_lanes.h"

namespace qor::Texsmith::Raw {

template <typename Lanes> class Bc6Evaluate {
    using Float = typename Lanes::Float;
    using Int = typename Lanes::Int;

public:
    static float evaluate(const Bc6Subset& subset, const Bc6Rule& rule, const Bc6Choices& choices,
                          std::uint8_t* indices) {
        float error = 0.0f;
        choose(rule, [&](auto kind) { error = evaluateOne<decltype(kind)>(subset, rule, choices, indices); });
        return error;
    }

    static void evaluateSteps(const Bc6Subset& subset, const Bc6Rule& rule, const Bc6Choices& choices,
                              const std::uint8_t* masks, unsigned count, float* errors) {
        choose(rule, [&](auto kind) {
            for (unsigned i = 0; i < count; i += Lanes::kCount) {
                store(errors + i,
                      errorsOf<decltype(kind)>(subset, rule, Line(choices, Lanes::loadBytes(masks + i))));
            }
        });
    }

private:
    template <unsigned kIndexBits, bool kSigned, Bc6Metric kMetric> struct Kind {
        static constexpr bool kIsSigned = kSigned;
        static constexpr bool kByValue = kMetric == Bc6Metric::Values;
        static Bc6Ramp<Lanes> ramp() { return Bc6Ramp<Lanes>(kIndexBits); }
    };

    template <unsigned kIndexBits, bool kSigned, typename Work>
    static void chooseMetric(Bc6Metric metric, Work work) {
        if (metric == Bc6Metric::Values) {
            work(Kind<kIndexBits, kSigned, Bc6Metric::Values>());
        } else {
            work(Kind<kIndexBits, kSigned, Bc6Metric::Positions>());
        }
    }
    template <unsigned kIndexBits, typename Work> static void chooseSign(Bc6Format format, Work work) {
        if (format.m_isSigned) {
            chooseMetric<kIndexBits, true>(format.m_metric, work);
        } else {
            chooseMetric<kIndexBits, false>(format.m_metric, work);
        }
    }
    template <typename Work> static void choose(const Bc6Rule& rule, Work work) {
        if (rule.m_indexBits == 4) {
            chooseSign<4>(rule.m_format, work);
        } else {
            chooseSign<3>(rule.m_format, work);
        }
    }

    static Float pick(Int mask, Float a, Float b) { return floatsOf(select(mask, bitsOf(a), bitsOf(b))); }

    struct Line {
        Float m_code[3], m_codeStep[3]; // in 64ths, with the half that rounding adds
        Float m_decoded[3], m_decodedStep[3];

        // The same in all lanes: that of mask 0.
        explicit Line(const Bc6Choices& choices) : Line(choices, Lanes::splat(0u)) {}

        Line(const Bc6Choices& choices, Int masks) {
            for (unsigned channel = 0; channel < 3; ++channel) {
                const Int first = chosen(masks, channel), second = chosen(masks, channel + 3);
                const Float code = other(first, choices.m_code[0][channel]);
                const Float decoded = other(first, choices.m_decoded[0][channel]);
                m_code[channel] = code * Lanes::splat(64.0f) + Lanes::splat(32.0f);
                m_codeStep[channel] = other(second, choices.m_code[1][channel]) - code;
                m_decoded[channel] = decoded;
                m_decodedStep[channel] = other(second, choices.m_decoded[1][channel]) - decoded;
            }
        }

    private:
        static Int chosen(Int masks, unsigned bit) {
            const Int one = Lanes::splat(1u << bit);
            return equal(masks & one, one);
        }
        static Float other(Int mask, const float (&numbers)[2]) {
            return pick(mask, Lanes::splat(numbers[1]), Lanes::splat(numbers[0]));
        }
    };

    struct Texels {
        Float m_position[3], m_squaredWeight[3], m_target[3];
        Int m_topIndex;

        // As many as there are lanes, from one on.
        static Texels load(const Bc6Subset& subset, unsigned at) {
            Texels texels;
            for (unsigned channel = 0; channel < 3; ++channel) {
                texels.m_position[channel] = Lanes::loadFloats(&subset.m_position[channel][at]);
                texels.m_squaredWeight[channel] = Lanes::loadFloats(&subset.m_squaredWeight[channel][at]);
                texels.m_target[channel] = Lanes::loadFloats(&subset.m_target[channel][at]);
            }
            texels.m_topIndex = Lanes::loadInts(&subset.m_topIndex[at]);
            return texels;
        }
        // One in all lanes.
        static Texels splat(const Bc6Subset& subset, unsigned at) {
            Texels texels;
            for (unsigned channel = 0; channel < 3; ++channel) {
                texels.m_position[channel] = Lanes::splat(subset.m_position[channel][at]);
                texels.m_squaredWeight[channel] = Lanes::splat(subset.m_squaredWeight[channel][at]);
                texels.m_target[channel] = Lanes::splat(subset.m_target[channel][at]);
            }
            texels.m_topIndex = Lanes::splat(subset.m_topIndex[at]);
            return texels;
        }
    };

    // In 128ths from end to end; not a number where the ends are equal.
    static Float placeOnLine(const Texels& texels, const Line& line) {
        Float along = Lanes::splat(0.0f), length = Lanes::splat(0.0f);
        for (unsigned channel = 0; channel < 3; ++channel) {
            const Float weighted = texels.m_squaredWeight[channel] * line.m_decodedStep[channel];
            along = along + weighted * (texels.m_position[channel] - line.m_decoded[channel]);
            length = length + weighted * line.m_decodedStep[channel];
        }
        return along / length * Lanes::splat(128.0f);
    }

    // The last step of the decoder: 31/64 of the code, or 31/32 of its magnitude; then its value.
    template <typename Kind> static Float decode(Int code) {
        if constexpr (Kind::kIsSigned) {
            const Int sign = shiftRightSigned<31>(code);
            const Int magnitude = (code ^ sign) - sign;
            const Int half = shiftRight<5>(shiftLeft<5>(magnitude) - magnitude);
            if constexpr (Kind::kByValue) {
                return floatsOf(bitsOf(valueOf(half)) | (sign & Lanes::splat(0x80000000u)));
            } else {
                return toFloats((half ^ sign) - sign);
            }
        } else {
            const Int half = shiftRight<6>(shiftLeft<5>(code) - code);
            return Kind::kByValue ? valueOf(half) : toFloats(half);
        }
    }
    // Exact for every finite half.
    static Float valueOf(Int half) { return floatsOf(shiftLeft<13>(half)) * Lanes::splat(0x1p112f); }

    template <typename Kind> static Float errorAt(const Texels& texels, const Line& line, Float weight) {
        Float error = Lanes::splat(0.0f);
        for (unsigned channel = 0; channel < 3; ++channel) {
            const Float code = line.m_codeStep[channel] * weight + line.m_code[channel]; // whole numbers
            const Float value = decode<Kind>(shiftRightSigned<6>(truncateToInts(code)));
            const Float difference = value - texels.m_target[channel];
            error = error + difference * difference;
        }
        return error;
    }

    struct Choice {
        Int m_index;
        Float m_error;
    };

    template <typename Kind>
    static void tryIndex(const Texels& texels, const Line& line, Int index, Int allowed, Choice* best) {
        const Float error = errorAt<Kind>(texels, line, Kind::ramp().weight(index));
        const Int better = less(error, best->m_error) & allowed;
        best->m_index = select(better, index, best->m_index);
        best->m_error = pick(better, error, best->m_error);
    }

    template <typename Kind>
    static void retry(const Texels& texels, const Line& line, const Bc6Rule& rule, Float place,
                      Choice* best) {
        const Float magnified = best->m_error * Lanes::splat(16.0f);
        const Int toward = less(Lanes::splat(rule.m_retryAbove), magnified);
        if (!anyLane(toward)) {
            return;
        }
        const Int first = best->m_index, one = Lanes::splat(1u);
        const Int isAbove = less(Kind::ramp().weight(first) * Lanes::splat(2.0f), place);
        const Int up = minimumSigned(first + one, texels.m_topIndex);
        const Int down = maximumSigned(first - one, Lanes::splat(0u));
        tryIndex<Kind>(texels, line, select(isAbove, up, down), toward, best);
        if (rule.m_retryLevel >= 2) {
            const Int both = less(Lanes::splat(rule.m_retryBothAbove), magnified);
            tryIndex<Kind>(texels, line, select(isAbove, down, up), both, best);
        }
    }

    template <typename Kind>
    static Choice chooseIndex(const Texels& texels, const Line& line, const Bc6Rule& rule) {
        const Float place = Bc6Ramp<Lanes>::roundPlace(placeOnLine(texels, line));
        Choice best;
        best.m_index = minimumSigned(Kind::ramp().nearest(place), texels.m_topIndex);
        best.m_error = errorAt<Kind>(texels, line, Kind::ramp().weight(best.m_index));
        if (rule.m_retryLevel > 0) {
            retry<Kind>(texels, line, rule, place, &best);
        }
        return best;
    }

    template <typename Kind>
    static float evaluateOne(const Bc6Subset& subset, const Bc6Rule& rule, const Bc6Choices& choices,
                             std::uint8_t* indices) {
        const Line line(choices);
        alignas(32) float errors[kBc6Texels] = {};
        for (unsigned at = 0; at < subset.m_count; at += Lanes::kCount) {
            const Choice choice = chooseIndex<Kind>(Texels::load(subset, at), line, rule);
            store(&errors[at], choice.m_error);
            Lanes::storeBytes(indices + at, choice.m_index);
        }
        float error = errors[0];
        for (unsigned i = 1; i < subset.m_count; ++i) {
            error += errors[i];
        }
        return error;
    }

    template <typename Kind>
    static Float errorsOf(const Bc6Subset& subset, const Bc6Rule& rule, const Line& line) {
        Float error = chooseIndex<Kind>(Texels::splat(subset, 0), line, rule).m_error;
        for (unsigned i = 1; i < subset.m_count; ++i) {
            error = error + chooseIndex<Kind>(Texels::splat(subset, i), line, rule).m_error;
        }
        return error;
    }
};

} // namespace qor::Texsmith::Raw
