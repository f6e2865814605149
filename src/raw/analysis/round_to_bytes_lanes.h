// Texels to bytes for histograms, over eight lanes: two texels a vector.
#pragma once

#include "raw/analysis/tile_kernels.h"

namespace qor::Texsmith::Raw {

template <typename Lanes> class ByteRounding {
public:
    explicit ByteRounding(const ByteRange& before)
        : m_lowest(Lanes::repeatFloats(before.m_min)), m_highest(Lanes::repeatFloats(before.m_max)),
          m_outside(Lanes::splat(0u)), m_noByte(Lanes::splat(0u)) {}

    typename Lanes::Int round(const float* texels) {
        const Float value = Lanes::loadFloats(texels), zero = Lanes::splat(0.0f);
        m_lowest = minimum(value, m_lowest);
        m_highest = maximum(value, m_highest);
        const Float unit = maximum(minimum(Lanes::splat(1.0f), value), zero); // a NaN becomes 0
        m_outside = m_outside | (bitsOf(value + zero) ^ bitsOf(unit)); // -0 becomes +0, which is inside
        const Float scaled = unit * Lanes::splat(255.0f);
        const auto byte = truncateToInts(scaled + Lanes::splat(0.5f));
        m_noByte = m_noByte | (bitsOf(toFloats(byte)) ^ bitsOf(scaled));
        return byte;
    }

    // A zero comes out as +0, so that the order in which zeros were met does not show.
    void addTo(ByteRange& range) const {
        float low[8], high[8];
        store(low, m_lowest);
        store(high, m_highest);
        for (unsigned i = 0; i < 4; ++i) {
            range.m_min[i] = (low[i] < low[i + 4] ? low[i] : low[i + 4]) + 0.0f;
            range.m_max[i] = (high[i] > high[i + 4] ? high[i] : high[i + 4]) + 0.0f;
        }
        range.m_isOutside = range.m_isOutside || hasBits(m_outside);
        range.m_isNoByte = range.m_isNoByte || hasBits(m_noByte);
    }

private:
    using Float = typename Lanes::Float;
    using Int = typename Lanes::Int;

    static bool hasBits(Int a) { return !allLanes(equal(a, Lanes::splat(0u))); }

    Float m_lowest, m_highest;
    Int m_outside, m_noByte; // bits that were found to differ
};

template <typename Lanes>
void roundToBytes(ByteRange& range, std::uint8_t* bytes, const float* texels, unsigned count) {
    ByteRounding<Lanes> rounding(range);
    for (unsigned i = 0; i < count; i += 8, texels += 32, bytes += 32) {
        typename Lanes::Int pairs[4];
        for (unsigned pair = 0; pair < 4; ++pair) {
            pairs[pair] = rounding.round(texels + 8 * pair);
        }
        store(bytes, packBytes(pairs));
    }
    rounding.addTo(range);
}

} // namespace qor::Texsmith::Raw
