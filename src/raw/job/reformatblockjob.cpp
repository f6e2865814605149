#include "raw/job/reformatblockjob.h"

#include "raw/rows/steps.h"
#include "raw/surfaces/extent.h"
#include "raw/texels/texture_format.h"

#include <algorithm>

namespace qor::Texsmith::Raw {

ReformatBlockJob::ReformatBlockJob(const ElementProvider* source, const ElementProvider* destination,
                                   Configuration* configuration)
    : PerBlockRowsJob(source, configuration), m_source(*source), m_destination(*destination),
      m_steps(stepsBetween<BlockConversion>(*source, *destination, *configuration)),
      m_sourcePitch(packedPitchInBytes(infoOf(source->getDataFormat()), 4)),
      m_destinationPitch(packedPitchInBytes(infoOf(destination->getDataFormat()), 4)) {
    setName("ReformatBlockJob");
}

bool ReformatBlockJob::canReformat(const ElementProvider* source, const ElementProvider* destination) {
    return BlockConversion::canConvert(source->getDataFormat(), destination->getDataFormat());
}

Error ReformatBlockJob::doPerSurfaceCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex) const {
    const unsigned tall = blocksOf(m_destination.getTexture(), surfaceIndex->mip).m_tall;
    const WorkItems pairs = getWorkItems(callbackId, (tall + 1) / 2);
    return doPerBlockRowsCallback(callbackId, surfaceIndex, pairs.m_begin * 2,
                                  std::min(pairs.m_end * 2, tall));
}

Error ReformatBlockJob::doPerBlockRowsCallback(unsigned, const SurfaceIndex* surfaceIndex, unsigned begin,
                                               unsigned end) const {
    const unsigned wide = blocksOf(m_destination.getTexture(), surfaceIndex->mip).m_wide;
    for (unsigned y = begin; y < end; ++y) {
        if (isAborted()) {
            return kErrorAborted;
        }
        for (unsigned x = 0; x < wide; ++x) {
            doBlock(surfaceIndex, x, y);
        }
    }
    return kErrorNone;
}

void ReformatBlockJob::doBlock(const SurfaceIndex* surfaceIndex, unsigned x, unsigned y) const {
    Block raw = {}, encoded = {};
    m_source.getBlock(surfaceIndex, &raw, x, y);
    convertBlock(&encoded, raw);
    m_destination.putBlock(surfaceIndex, &encoded, x, y);
}

} // namespace qor::Texsmith::Raw
