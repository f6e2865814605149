// Texels to positions, weights and targets.
#pragma once

#include "raw/blocks/bc6_kernels.h"

namespace qor::Texsmith::Raw {

// A value as a position: its magnitude's half pattern times 65536, cut off, with the sign put back.
template <typename Lanes> struct Bc6Position {
    using Float = typename Lanes::Float;
    using Int = typename Lanes::Int;

    Float m_value;    // clamped
    Float m_position; // in half bits
    Int m_pattern;    // the half, rounded
    Int m_field;      // its exponent field, 1 for denormals

    Bc6Position(Float channel, bool isSigned) {
        // A NaN becomes the greatest value, and -0 the least one where that is 0.
        const Float least = Lanes::splat(isSigned ? -kGreatest : 0.0f);
        m_value = maximum(minimum(channel, Lanes::splat(kGreatest)), least);
        const Int sign = shiftRightSigned<31>(bitsOf(m_value));
        Int bits = domainBits(bitsOf(m_value) & Lanes::splat(0x7FFFFFFFu));
        const Int vanished = equal(bits, Lanes::splat(0u)) & sign;
        bits = select(vanished, Lanes::splat(1u), bits); // what is negative stays so
        m_field = maximumSigned(shiftRight<26>(bits), Lanes::splat(1u));
        m_position = toFloats((bits ^ sign) - sign) * Lanes::splat(0x1p-16f);
        const Int rounded = shiftRight<16>(bits + Lanes::splat(0x8000u));
        m_pattern = minimumSigned(rounded, Lanes::splat(0x7BFFu)) | (sign & Lanes::splat(0x8000u));
    }

private:
    static constexpr float kGreatest = 65504.0f;

    static Int domainBits(Int magnitude) {
        constexpr std::uint32_t kRebias = 0x40000000; // -112 << 26
        const Int normal = shiftLeft<3>(magnitude) + Lanes::splat(kRebias);
        const Int denormal = truncateToInts(floatsOf(magnitude) * Lanes::splat(0x1p40f));
        return select(less(floatsOf(magnitude), Lanes::splat(0x1p-14f)), denormal, normal);
    }
};

template <typename Lanes> class Bc6Prepare {
    using Float = typename Lanes::Float;

public:
    static void prepare(const ColorRGBA32F* block, Bc6Format format, Bc6Planes* planes) {
        for (unsigned at = 0; at < kBc6Texels; at += Lanes::kCount) {
            Float channels[4];
            Lanes::loadTexels(channels, &block[at].r, 4);
            for (unsigned channel = 0; channel < 3; ++channel) {
                const Bc6Position<Lanes> position(channels[channel], format.m_isSigned);
                storeChannel(position, format.m_metric == Bc6Metric::Values, planes, channel, at);
            }
        }
    }

private:
    static void storeChannel(const Bc6Position<Lanes>& position, bool byValue, Bc6Planes* planes,
                             unsigned channel, unsigned at) {
        constexpr std::uint32_t kStepOfField0 = 127 - 15 - 10; // the float exponent of 2^(field - 25)
        const Float step = floatsOf(shiftLeft<23>(position.m_field + Lanes::splat(kStepOfField0)));
        const Float weight = byValue ? step : Lanes::splat(1.0f);
        store(&planes->m_position[channel][at], position.m_position);
        store(&planes->m_weight[channel][at], weight);
        store(&planes->m_squaredWeight[channel][at], weight * weight);
        store(&planes->m_target[channel][at], byValue ? position.m_value : position.m_position);
        store(&planes->m_exponent[channel][at], position.m_field - Lanes::splat(15u));
        store(&planes->m_pattern[channel][at], position.m_pattern);
    }
};

} // namespace qor::Texsmith::Raw
