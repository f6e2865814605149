// The door to changes of format: chooses between a copy, stored bytes and floats, by tiles or by blocks.
#include "qor/texsmith/raw/reformat.h"

#include "raw/frame/check.h"
#include "raw/job/reformatcachedjob.h"
#include "raw/job/reformatmipcrunchyjob.h"
#include "raw/job_manager/run_job.h"
#include "raw/pertile/reformatpertile.h"
#include "raw/pertile/reformatpertile8.h"
#include "raw/rows/check_reformat.h"
#include "raw/surfaces/extent.h"

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

// A plain format takes about four times as long as a copy; what it takes to encode a block, every thread is
// worth.
std::uint64_t workOf(const ElementProvider& source, const ElementProvider& destination) {
    const bool encodes = destination.getDataFormat().isBlockCompressedFormat();
    return encodes ? ~std::uint64_t{0} : 4 * (bytesOf(source) + bytesOf(destination));
}

Error runOverTiles(const ElementProvider* source, const ElementProvider* destination, PerTile* perTile,
                   Configuration* configuration) {
    PerTileJob job(source, perTile, configuration);
    return runJob(configuration->m_jobManager, &job, workOf(*source, *destination));
}

template <typename CrunchyJob>
Error reformatInGroups(const ElementProvider* source, ElementProvider* destination,
                       Configuration* configuration, unsigned a, unsigned b) {
    if (!ReformatBlockJob::canReformat(source, destination)) {
        return kErrorFailed;
    }
    CrunchyJob job(source, destination, configuration, a, b);
    return configuration->m_jobManager->submitAndStall(&job);
}

// Asks for mip 1 of the destination, which reports that there is none.
bool checkHasMip1(const ElementProvider& destination) {
    return destination.getBlocksTall(1) != 0 && destination.getSurfaceCount().mips > 1;
}

bool checkGroups(const ElementProvider& destination, unsigned a, unsigned b) {
    const bool isBc1 = check(destination.getDataFormat().getSurfaceFormat() == Vex::kSurfaceFormatBc1,
                             kSourcePath, "destination is BC1");
    const bool fit = check(ReformatMipCrunchyJob::groupsFit(a, b), kSourcePath, "a * b >= 1 && a * b <= 4");
    return checkHasMip1(destination) && isBc1 && fit;
}

Error reformatAlike(const ElementProvider* source, ElementProvider* destination,
                    Configuration* configuration) {
    const bool keepsValues = transformsNothing(*source, *destination, *configuration);
    if (keepsValues && source->getDataFormat() == destination->getDataFormat()) {
        return copy(destination, source, configuration);
    }
    if (keepsValues && ReformatPerTile8::canReformat(source, destination)) {
        ReformatPerTile8 perTile(source, destination, configuration);
        return runOverTiles(source, destination, &perTile, configuration);
    }
    if (!ReformatPerTile::canReformat(source, destination)) {
        return kErrorFailed;
    }
    ReformatPerTile perTile(source, destination, configuration);
    return runOverTiles(source, destination, &perTile, configuration);
}

} // namespace

Error reformat(const ElementProvider* source, ElementProvider* destination, Configuration* configuration) {
    const ReformatChecks checks = checkReformatArguments(source, destination, configuration, kSourcePath);
    return checks.m_canWork ? checks.resultOf(reformatAlike(source, destination, configuration))
                            : kErrorFailed;
}

int reformatCached(const ElementProvider* source, ElementProvider* destination, Configuration* configuration,
                   const unsigned char* state, int stateLength) {
    const bool hasPointers = checkReformatPointers(source, destination, configuration, kSourcePath);
    const bool hasState = checkNotNull(state, kSourcePath, "state must not be NULL.");
    const ReformatChecks checks = checkReformatWork(source, destination, configuration, kSourcePath);
    const bool hasLength = check(stateLength >= 0, kSourcePath, "stateLength >= 0");
    if (!hasPointers || !hasState || !checks.m_canWork || !hasLength ||
        !ReformatBlockJob::canReformat(source, destination)) {
        return static_cast<int>(kErrorFailed);
    }
    ReformatCachedJob job(source, destination, configuration, state, static_cast<std::uint32_t>(stateLength));
    const Error error = configuration->m_jobManager->submitAndStall(&job);
    if (error == kErrorNone) {
        job.sealCache();
    }
    return static_cast<int>(checks.resultOf(error));
}

Error reformatCrunchy(const ElementProvider* source, ElementProvider* destination,
                      Configuration* configuration, unsigned a, unsigned b) {
    const ReformatChecks checks = checkReformatArguments(source, destination, configuration, kSourcePath);
    return checks.m_canWork ? checks.resultOf(reformatInGroups<ReformatCrunchyJob>(source, destination,
                                                                                   configuration, a, b))
                            : kErrorFailed;
}

Error reformatMipCrunchy(const ElementProvider* source, ElementProvider* destination,
                         Configuration* configuration, unsigned a, unsigned b) {
    const ReformatChecks checks = checkReformatArguments(source, destination, configuration, kSourcePath);
    if (!checks.m_canWork || !checkGroups(*destination, a, b)) {
        return kErrorFailed;
    }
    return checks.resultOf(reformatInGroups<ReformatMipCrunchyJob>(source, destination, configuration, a, b));
}

} // namespace qor::Texsmith::Raw
