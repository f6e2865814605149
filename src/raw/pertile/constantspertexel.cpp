// The pass that counts zeros and ones in each channel.
#include "qor/texsmith/raw/statistics.h"
#include "raw/frame/check.h"

#include <algorithm>
#include <iterator>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\pertile\\constantspertexel";

} // namespace

ConstantsPerTexel::ConstantsPerTexel(ConstantCounts* destination, const ElementProvider* source,
                                     Configuration* configuration)
    : PerTexel(source, configuration), m_destination(destination) {
    if (!checkNotNull(destination, kSourcePath, "destination must not be NULL.")) {
        refuse();
    }
    leaveOutTransforms();
}

Error ConstantsPerTexel::doPrologue(unsigned) const {
    std::fill(std::begin(m_slots), std::end(m_slots), ConstantCounts{});
    return kErrorNone;
}

void ConstantsPerTexel::doTexels(unsigned callbackId, const VectorFloat* texels, unsigned count) const {
    ConstantCounts counts = {};
    for (unsigned i = 0; i < count; ++i) {
        for (unsigned lane = 0; lane < 4; ++lane) {
            counts.m_zeros[lane] += texels[i][lane] == 0.0f ? 1u : 0u;
            counts.m_ones[lane] += texels[i][lane] == 1.0f ? 1u : 0u;
        }
    }
    for (unsigned lane = 0; lane < 4; ++lane) {
        m_slots[callbackId].m_zeros[lane] += counts.m_zeros[lane];
        m_slots[callbackId].m_ones[lane] += counts.m_ones[lane];
    }
}

Error ConstantsPerTexel::doEpilogue(unsigned callbacks) const {
    if (m_destination == nullptr) {
        return kErrorFailed;
    }
    *m_destination = {};
    for (unsigned slot = 0; slot < callbacks; ++slot) {
        for (unsigned lane = 0; lane < 4; ++lane) {
            m_destination->m_zeros[lane] += m_slots[slot].m_zeros[lane];
            m_destination->m_ones[lane] += m_slots[slot].m_ones[lane];
        }
    }
    return kErrorNone;
}

} // namespace qor::Texsmith::Raw
