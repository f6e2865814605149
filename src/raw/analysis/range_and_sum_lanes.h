// The least, the greatest and the sum of whole tiles, over eight lanes: two texels a vector.
#pragma once

#include "raw/analysis/tile_kernels.h"

namespace qor::Texsmith::Raw {

template <typename Lanes> class RangeAndSumOfTiles {
public:
    explicit RangeAndSumOfTiles(const RangeAndSum& before)
        : m_lowest{Lanes::repeatFloats(before.m_min), Lanes::repeatFloats(before.m_min)},
          m_highest{Lanes::repeatFloats(before.m_max), Lanes::repeatFloats(before.m_max)},
          m_sum(Lanes::repeatFloats(before.m_sum)) {}

    void add(const float* texels) {
        const Float pair = sumOfHalves<1>(texels);
        float both[8];
        store(both, pair);
        m_sum = m_sum + (Lanes::repeatFloats(both) + Lanes::repeatFloats(both + 4));
    }

    // A zero comes out as +0, so that the order in which zeros were met does not show.
    RangeAndSum result() const {
        RangeAndSum result;
        float low[8], high[8], sum[8];
        store(low, minimum(m_lowest[0], m_lowest[1]));
        store(high, maximum(m_highest[0], m_highest[1]));
        store(sum, m_sum);
        for (unsigned i = 0; i < 4; ++i) {
            result.m_min[i] = (low[i] < low[i + 4] ? low[i] : low[i + 4]) + 0.0f;
            result.m_max[i] = (high[i] > high[i + 4] ? high[i] : high[i + 4]) + 0.0f;
            result.m_sum[i] = sum[i];
        }
        return result;
    }

private:
    using Float = typename Lanes::Float;
    static constexpr unsigned kTexels = 64;

    // The sum of every kStride-th pair of texels. Folding the tile, the upper half of its pairs onto the
    // lower, again and again, would leave the same sum here; the recursion keeps fewer vectors at a time.
    template <unsigned kStride> Float sumOfHalves(const float* texels) {
        if constexpr (kStride * 2 < kTexels / 2) {
            const Float lower = sumOfHalves<kStride * 2>(texels);
            return lower + sumOfHalves<kStride * 2>(texels + kStride * 8);
        } else {
            const Float lower = Lanes::loadFloats(texels), upper = Lanes::loadFloats(texels + kStride * 8);
            m_lowest[0] = minimum(lower, m_lowest[0]);
            m_lowest[1] = minimum(upper, m_lowest[1]);
            m_highest[0] = maximum(lower, m_highest[0]);
            m_highest[1] = maximum(upper, m_highest[1]);
            return lower + upper;
        }
    }

    Float m_lowest[2], m_highest[2], m_sum;
};

template <typename Lanes> void addRangeAndSum(RangeAndSum& total, const float* tiles, unsigned count) {
    RangeAndSumOfTiles<Lanes> sums(total);
    for (unsigned i = 0; i < count; ++i) {
        sums.add(tiles + i * std::size_t{256});
    }
    total = sums.result();
}

} // namespace qor::Texsmith::Raw
