// Least, greatest and mean of texels, one by one and in whole tiles.
#include "qor/texsmith/raw/statistics.h"

#include "raw/analysis/min_max_mean.h"
#include "raw/analysis/range_and_sum_lanes.h"
#include "simd/canonical_nan.h"
#include "simd/lanes4.h"
#include "simd/lanes4x2.h"

#include <algorithm>
#include <limits>

namespace qor::Texsmith::Raw {
namespace {

constexpr float kLargest = std::numeric_limits<float>::max();
constexpr float kLeastPositive = std::numeric_limits<float>::min();

} // namespace

void MinMaxMean::Clear() {
    min = {{kLargest, kLargest, kLargest, kLargest}};
    max = {{kLeastPositive, kLeastPositive, kLeastPositive, kLeastPositive}};
    sum = {};
    count = 0;
}

void MinMaxMean::Add(const VectorFloat& texel) {
    for (unsigned lane = 0; lane < 4; ++lane) {
        min[lane] = (texel[lane] < min[lane] ? texel[lane] : min[lane]) + 0.0f;
        max[lane] = (texel[lane] > max[lane] ? texel[lane] : max[lane]) + 0.0f;
        sum[lane] += texel[lane];
    }
    sum = Simd::canonical<Simd::Lanes4>(sum);
    ++count;
}

void MinMaxMean::Add(const Tile& tile) { addTiles(*this, &tile, 1, &addRangeAndSum<Simd::Lanes4x2>); }

void MinMaxMean::Add(const MinMaxMean& other) {
    for (unsigned lane = 0; lane < 4; ++lane) {
        min[lane] = std::min(min[lane], other.min[lane]);
        max[lane] = std::max(max[lane], other.max[lane]);
        sum[lane] += other.sum[lane];
    }
    sum = Simd::canonical<Simd::Lanes4>(sum);
    count += other.count;
}

VectorFloat MinMaxMean::Mean() const {
    const auto texels = static_cast<float>(count);
    return Simd::canonical<Simd::Lanes4>(
        VectorFloat{{sum[0] / texels, sum[1] / texels, sum[2] / texels, sum[3] / texels}});
}

void addTiles(MinMaxMean& total, const Tile* tiles, unsigned count, AddRangeAndSum add) {
    RangeAndSum lanes;
    std::copy_n(total.min.m_lanes, 4, lanes.m_min);
    std::copy_n(total.max.m_lanes, 4, lanes.m_max);
    std::copy_n(total.sum.m_lanes, 4, lanes.m_sum);
    add(lanes, tiles->m_texels[0].m_lanes, count);
    std::copy_n(lanes.m_min, 4, total.min.m_lanes);
    std::copy_n(lanes.m_max, 4, total.max.m_lanes);
    std::copy_n(lanes.m_sum, 4, total.sum.m_lanes);
    total.sum = Simd::canonical<Simd::Lanes4>(total.sum);
    total.count += 64 * count;
}

} // namespace qor::Texsmith::Raw
