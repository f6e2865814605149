#include "qor/texsmith/raw/comparison.h"
#include "raw/check_job_manager.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\arebitwiseequal";

} // namespace

Error areBitwiseEqual(const ElementProvider* a, const ElementProvider* b, Configuration* configuration) {
    const bool hasA = checkNotNull(a, kSourcePath, "a must not be NULL.");
    const bool hasB = checkNotNull(b, kSourcePath, "b must not be NULL.");
    const bool hasManager = checkJobManager(configuration, kSourcePath);
    if (!hasA || !hasB || !hasManager) {
        return kErrorFailed;
    }
    if (!areBitwiseComparableForEquality(a, b)) {
        toolsAssert(kSourcePath, __LINE__,
                    "ElementProviders a and b are not bitwise comparable for equality, because dimensions "
                    "and/or format are different.");
    }
    AreBitwiseEqualPerTile perTile(a, b);
    PerTileJob job(a, &perTile, configuration);
    return configuration->m_jobManager->submitAndStall(&job);
}

} // namespace qor::Texsmith::Raw
