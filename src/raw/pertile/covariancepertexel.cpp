// The pass that sums up the covariance of the channels.
#include "qor/texsmith/raw/matrix.h"
#include "qor/texsmith/raw/statistics.h"
#include "raw/frame/check.h"
#include "simd/float4.h"

#include <algorithm>
#include <iterator>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\pertile\\covariancepertexel";

} // namespace

CovariancePerTexel::CovariancePerTexel(Matrix* destination, const VectorFloat& centre,
                                       const ElementProvider* source, Configuration* configuration)
    : PerTexel(source, configuration), m_destination(destination), m_centre(centre) {
    if (!checkNotNull(destination, kSourcePath, "destination must not be NULL.")) {
        refuse();
    }
}

Error CovariancePerTexel::doPrologue(unsigned) const {
    std::fill(std::begin(m_slots), std::end(m_slots), Slot{{}, m_centre});
    return kErrorNone;
}

void CovariancePerTexel::doTexels(unsigned callbackId, const VectorFloat* texels, unsigned count) const {
    Slot& slot = m_slots[callbackId];
    const Simd::Float4 centre = Simd::loadFloats(&slot.m_centre);
    Simd::Float4 rows[4];
    for (unsigned row = 0; row < 4; ++row) {
        rows[row] = Simd::loadFloats(&slot.m_rows[row]);
    }
    for (unsigned i = 0; i < count; ++i) {
        VectorFloat lanes;
        const Simd::Float4 difference = Simd::loadFloats(&texels[i]) - centre;
        Simd::store(&lanes, difference);
        for (unsigned row = 0; row < 4; ++row) {
            rows[row] = rows[row] + Simd::splat(lanes[row]) * difference;
        }
    }
    for (unsigned row = 0; row < 4; ++row) {
        Simd::store(&slot.m_rows[row], rows[row]);
    }
}

Error CovariancePerTexel::doEpilogue(unsigned callbacks) const {
    if (m_destination == nullptr) {
        return kErrorFailed;
    }
    *m_destination = {};
    std::for_each(m_slots, m_slots + callbacks, [this](const Slot& slot) { *m_destination += slot.m_rows; });
    return kErrorNone;
}

} // namespace qor::Texsmith::Raw
