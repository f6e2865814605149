// The pass that finds range and mean.
#include "qor/texsmith/raw/statistics.h"
#include "raw/analysis/min_max_mean.h"
#include "raw/analysis/range_and_sum_lanes.h"
#include "raw/analysis/tile_kernels.h"
#include "raw/frame/check.h"
#include "simd/dispatch.h"
#include "simd/lanes4x2.h"

#include <algorithm>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\pertile\\minmaxmeanpertexel";

AddRangeAndSum chooseKernel() {
    const TileKernels* wide = Simd::mayUseAvx2() ? getTileKernelsAvx2() : nullptr;
    return wide != nullptr ? wide->m_addRangeAndSum : &addRangeAndSum<Simd::Lanes4x2>;
}

} // namespace

MinMaxMeanPerTexel::MinMaxMeanPerTexel(MinMaxMean* destination, const ElementProvider* source,
                                       Configuration* configuration)
    : PerTexel(source, configuration), m_destination(destination) {
    if (!checkNotNull(destination, kSourcePath, "destination must not be NULL.")) {
        refuse();
    }
}

Error MinMaxMeanPerTexel::doPrologue(unsigned) const {
    std::for_each(std::begin(m_slots), std::end(m_slots), [](MinMaxMean& slot) { slot.Clear(); });
    return kErrorNone;
}

void MinMaxMeanPerTexel::doTexels(unsigned callbackId, const VectorFloat* texels, unsigned count) const {
    for (unsigned i = 0; i < count; ++i) {
        m_slots[callbackId].Add(texels[i]);
    }
}

void MinMaxMeanPerTexel::doTiles(unsigned callbackId, const Tile* tiles, unsigned count) const {
    addTiles(m_slots[callbackId], tiles, count, chooseKernel());
}

Error MinMaxMeanPerTexel::doEpilogue(unsigned callbacks) const {
    if (m_destination == nullptr) {
        return kErrorFailed;
    }
    m_destination->Clear();
    std::for_each(m_slots, m_slots + callbacks, [this](const MinMaxMean& slot) { m_destination->Add(slot); });
    return kErrorNone;
}

} // namespace qor::Texsmith::Raw
