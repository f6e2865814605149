#include "qor/texsmith/raw/reformat.h"

#include "raw/frame/check.h"
#include "raw/job/reformatcachedjob.h"
#include "raw/job/reformatmipcrunchyjob.h"
#include "raw/pertile/reformatpertile.h"
#include "raw/pertile/reformatpertile8.h"
#include "raw/rows/check_reformat.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\reformat";

bool transformsNothing(const ElementProvider& source, const ElementProvider& destination,
                       const Configuration& configuration) {
    return source.getModifiers().m_decode.isNop() &&
           configuration.m_decoderConfiguration.m_transform.isNop() &&
           destination.getModifiers().m_encode.isNop() &&
           configuration.m_encoderConfiguration.m_transform.isNop();
}

Error runOverTiles(const ElementProvider* source, PerTile* perTile, Configuration* configuration) {
    PerTileJob job(source, perTile, configuration);
    return configuration->m_jobManager->submitAndStall(&job);
}

template <typename CrunchyJob>
Error reformatInGroups(const ElementProvider* source, ElementProvider* destination,
                       Configuration* configuration, unsigned a, unsigned b) {
    if (!checkReformatArguments(source, destination, configuration, kSourcePath) ||
        !ReformatBlockJob::canReformat(source, destination)) {
        return kErrorFailed;
    }
    CrunchyJob job(source, destination, configuration, a, b);
    return configuration->m_jobManager->submitAndStall(&job);
}

} // namespace

Error reformat(const ElementProvider* source, ElementProvider* destination, Configuration* configuration) {
    if (!checkReformatArguments(source, destination, configuration, kSourcePath)) {
        return kErrorFailed;
    }
    const bool keepsValues = transformsNothing(*source, *destination, *configuration);
    if (keepsValues && source->getDataFormat() == destination->getDataFormat()) {
        return copy(destination, source, configuration);
    }
    if (keepsValues && ReformatPerTile8::canReformat(source, destination)) {
        ReformatPerTile8 perTile(source, destination, configuration);
        return runOverTiles(source, &perTile, configuration);
    }
    if (!ReformatPerTile::canReformat(source, destination)) {
        return kErrorFailed;
    }
    ReformatPerTile perTile(source, destination, configuration);
    return runOverTiles(source, &perTile, configuration);
}

int reformatCached(const ElementProvider* source, ElementProvider* destination, Configuration* configuration,
                   const unsigned char* state, int stateLength) {
    const bool hasPointers = checkReformatPointers(source, destination, configuration, kSourcePath);
    const bool hasState = checkNotNull(state, kSourcePath, "state must not be NULL.");
    const bool canWork = checkReformatWork(source, destination, configuration, kSourcePath);
    if (!hasPointers || !hasState || !canWork || stateLength < 0 ||
        !ReformatBlockJob::canReformat(source, destination)) {
        return static_cast<int>(kErrorFailed);
    }
    ReformatCachedJob job(source, destination, configuration, state, static_cast<std::uint32_t>(stateLength));
    const Error error = configuration->m_jobManager->submitAndStall(&job);
    if (error == kErrorNone) {
        job.sealCache();
    }
    return static_cast<int>(error);
}

Error reformatCrunchy(const ElementProvider* source, ElementProvider* destination,
                      Configuration* configuration, unsigned a, unsigned b) {
    return reformatInGroups<ReformatCrunchyJob>(source, destination, configuration, a, b);
}

Error reformatMipCrunchy(const ElementProvider* source, ElementProvider* destination,
                         Configuration* configuration, unsigned a, unsigned b) {
    return reformatInGroups<ReformatMipCrunchyJob>(source, destination, configuration, a, b);
}

} // namespace qor::Texsmith::Raw
