// Texels to positions, weights and targets.
#pragma once

#include "raw/blocks/bc6_kernels.h"

namespace qor::Texsmith::Raw {

template <typename Lanes> class Bc6Prepare {
    using Float = typename Lanes::Float;
    using Int = typename Lanes::Int;

public:
    static void prepare(const ColorRGBA32F* block, Bc6Format format, Bc6Planes* planes) {
        const Float least = Lanes::splat(format.m_isSigned ? -kGreatest : 0.0f);
        for (unsigned at = 0; at < kBc6Texels; at += Lanes::kCount) {
            Float channels[4];
            Lanes::loadTexels(channels, &block[at].r, 4);
            for (unsigned channel = 0; channel < 3; ++channel) {
                // A NaN becomes the greatest value, and -0 the least one where that is 0.
                const Float value = maximum(minimum(channels[channel], Lanes::splat(kGreatest)), least);
                prepareChannel(value, format, planes, channel, at);
            }
        }
    }

private:
    static constexpr float kGreatest = 65504.0f;
    static constexpr unsigned kFraction = 16; // bits of a position behind the half's

    // The magnitude's half pattern times 65536, cut off.
    static Int domainBits(Int magnitude) {
        constexpr std::uint32_t kRebias = 0x40000000; // -112 << 26
        const Int normal = shiftLeft<3>(magnitude) + Lanes::splat(kRebias);
        const Int denormal = truncateToInts(floatsOf(magnitude) * Lanes::splat(0x1p40f));
        return select(less(floatsOf(magnitude), Lanes::splat(0x1p-14f)), denormal, normal);
    }

    static Int withSign(Int magnitude, Int sign) { return (magnitude ^ sign) - sign; }

    static void prepareChannel(Float value, Bc6Format format, Bc6Planes* planes, unsigned channel,
                               unsigned at) {
        const Int sign = shiftRightSigned<31>(bitsOf(value));
        Int bits = domainBits(bitsOf(value) & Lanes::splat(0x7FFFFFFFu));
        const Int vanished = equal(bits, Lanes::splat(0u)) & sign;
        bits = select(vanished, Lanes::splat(1u), bits); // what is negative stays so
        const Int field = maximumSigned(shiftRight<26>(bits), Lanes::splat(1u));
        const Int half =
            minimumSigned(shiftRight<kFraction>(bits + Lanes::splat(0x8000u)), Lanes::splat(0x7BFFu));
        const Float position = toFloats(withSign(bits, sign)) * Lanes::splat(0x1p-16f);
        const bool byValue = format.m_metric == Bc6Metric::Values;
        constexpr std::uint32_t kStepOfField0 = 127 - 15 - 10; // the float exponent of 2^(field - 25)
        const Float step = floatsOf(shiftLeft<23>(field + Lanes::splat(kStepOfField0)));
        store(&planes->m_position[channel][at], position);
        const Float weight = byValue ? step : Lanes::splat(1.0f);
        store(&planes->m_weight[channel][at], weight);
        store(&planes->m_squaredWeight[channel][at], weight * weight);
        store(&planes->m_target[channel][at], byValue ? value : position);
        store(&planes->m_exponent[channel][at], field - Lanes::splat(15u));
        store(&planes->m_pattern[channel][at], half | (sign & Lanes::splat(0x8000u)));
    }
};

} // namespace qor::Texsmith::Raw
