// The squared error of endpoints, as the decoder will have it.
#pragma once

#include "raw/blocks/bc6_sums_lanes.h"

namespace qor::Texsmith::Raw {

template <typename Lanes> class Bc6Evaluate {
    using Float = typename Lanes::Float;
    using Int = typename Lanes::Int;
    using Sums = Bc6Sums<Lanes>;

public:
    static void evaluate(const Bc6Subset& subset, const Bc6Rule& rule, const Bc6Ends* ends, unsigned count,
                         float* errors) {
        choose(rule, [&](auto kind) { evaluateAll<decltype(kind)>(subset, rule, ends, count, errors); });
    }

    static void findIndices(const Bc6Subset& subset, const Bc6Rule& rule, const Bc6Ends& ends,
                            std::uint8_t* indices) {
        choose(rule, [&](auto kind) { storeIndices<decltype(kind)>(subset, rule, ends, indices); });
    }

private:
    template <unsigned kIndexBits, bool kSigned, Bc6Metric kMetric> struct Kind {
        static constexpr bool kIsSigned = kSigned;
        static constexpr bool kByValue = kMetric == Bc6Metric::Values;
        using Ramp = Bc6Ramp<Lanes, kIndexBits>;
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

    // The ends in all lanes.
    struct Line {
        Float m_code[3], m_codeStep[3]; // in 64ths, with the half that rounding adds
        Float m_decoded[3], m_decodedStep[3];

        explicit Line(const Bc6Ends& ends) {
            for (unsigned channel = 0; channel < 3; ++channel) {
                const float code = ends.m_code[0][channel], decoded = ends.m_decoded[0][channel];
                m_code[channel] = Lanes::splat(code * 64.0f + 32.0f);
                m_codeStep[channel] = Lanes::splat(ends.m_code[1][channel] - code);
                m_decoded[channel] = Lanes::splat(decoded);
                m_decodedStep[channel] = Lanes::splat(ends.m_decoded[1][channel] - decoded);
            }
        }
    };

    // In 128ths from end to end; not a number where the ends are equal.
    static Float placeOnLine(const Bc6Subset& subset, unsigned at, const Line& line) {
        Float along = Lanes::splat(0.0f), length = Lanes::splat(0.0f);
        for (unsigned channel = 0; channel < 3; ++channel) {
            const Float weighted =
                Lanes::loadFloats(&subset.m_squaredWeight[channel][at]) * line.m_decodedStep[channel];
            const Float offset = Lanes::loadFloats(&subset.m_position[channel][at]) - line.m_decoded[channel];
            along = along + weighted * offset;
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

    template <typename Kind>
    static Float errorAt(const Bc6Subset& subset, unsigned at, const Line& line, Float weight) {
        Float error = Lanes::splat(0.0f);
        for (unsigned channel = 0; channel < 3; ++channel) {
            const Float code = line.m_codeStep[channel] * weight + line.m_code[channel]; // whole numbers
            const Float value = decode<Kind>(shiftRightSigned<6>(truncateToInts(code)));
            const Float difference = value - Lanes::loadFloats(&subset.m_target[channel][at]);
            error = error + difference * difference;
        }
        return Sums::present(subset, at, error);
    }

    struct Choice {
        Int m_index;
        Float m_error;
    };

    template <typename Kind>
    static void tryIndex(const Bc6Subset& subset, unsigned at, const Line& line, Int index, Int allowed,
                         Choice* best) {
        const Float error = errorAt<Kind>(subset, at, line, Kind::Ramp::weight(index));
        const Int better = less(error, best->m_error) & allowed;
        best->m_index = select(better, index, best->m_index);
        best->m_error = floatsOf(select(better, bitsOf(error), bitsOf(best->m_error)));
    }

    template <typename Kind>
    static void retry(const Bc6Subset& subset, unsigned at, const Line& line, const Bc6Rule& rule,
                      Float place, Int top, Choice* best) {
        const Float magnified = best->m_error * Lanes::splat(16.0f);
        const Int toward = less(Lanes::splat(rule.m_retryAbove), magnified);
        if (!anyLane(toward)) {
            return;
        }
        const Int first = best->m_index, one = Lanes::splat(1u);
        const Int isAbove = less(Kind::Ramp::weight(first) * Lanes::splat(2.0f), place);
        const Int up = minimumSigned(first + one, top), down = maximumSigned(first - one, Lanes::splat(0u));
        tryIndex<Kind>(subset, at, line, select(isAbove, up, down), toward, best);
        if (rule.m_retryLevel >= 2) {
            const Int both = less(Lanes::splat(rule.m_retryBothAbove), magnified);
            tryIndex<Kind>(subset, at, line, select(isAbove, down, up), both, best);
        }
    }

    template <typename Kind>
    static Choice chooseIndices(const Bc6Subset& subset, unsigned at, const Line& line, const Bc6Rule& rule) {
        const Float place = Kind::Ramp::roundPlace(placeOnLine(subset, at, line));
        const Int top = Lanes::loadInts(&subset.m_topIndex[at]);
        Choice best;
        best.m_index = minimumSigned(Kind::Ramp::nearest(place), top);
        best.m_error = errorAt<Kind>(subset, at, line, Kind::Ramp::weight(best.m_index));
        if (rule.m_retryLevel > 0) {
            retry<Kind>(subset, at, line, rule, place, top, &best);
        }
        return best;
    }

    template <typename Kind>
    static void evaluateAll(const Bc6Subset& subset, const Bc6Rule& rule, const Bc6Ends* ends, unsigned count,
                            float* errors) {
        for (unsigned i = 0; i < count; ++i) {
            const Line line(ends[i]);
            errors[i] = Sums::sum(
                subset, [&](unsigned at) { return chooseIndices<Kind>(subset, at, line, rule).m_error; });
        }
    }

    template <typename Kind>
    static void storeIndices(const Bc6Subset& subset, const Bc6Rule& rule, const Bc6Ends& ends,
                             std::uint8_t* indices) {
        const Line line(ends);
        for (unsigned at = 0; at < kBc6Texels; at += Lanes::kCount) {
            Lanes::storeBytes(indices + at, chooseIndices<Kind>(subset, at, line, rule).m_index);
        }
    }
};

} // namespace qor::Texsmith::Raw
