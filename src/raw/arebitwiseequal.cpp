#include "qor/texsmith/raw/comparison.h"
#include "raw/configuration/check_configuration.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\arebitwiseequal";

// The two must be comparable: `message` tells that they are not.
bool checkArguments(const ElementProvider* a, const ElementProvider* b, const Configuration* configuration,
                    const char* message) {
    const bool hasA = checkNotNull(a, kSourcePath, "a must not be NULL.");
    const bool hasB = checkNotNull(b, kSourcePath, "b must not be NULL.");
    const bool hasManager = checkJobManager(configuration, kSourcePath);
    if (hasA && hasB && !areBitwiseComparableForEquality(a, b)) {
        toolsAssert(kSourcePath, __LINE__, message);
    }
    return hasA && hasB && hasManager;
}

} // namespace

Error areBitwiseEqual(const ElementProvider* a, const ElementProvider* b, Configuration* configuration) {
    if (!checkArguments(a, b, configuration,
                        "ElementProviders a and b are not bitwise comparable for equality, because "
                        "dimensions and/or format are different.")) {
        return kErrorFailed;
    }
    AreBitwiseEqualPerTile perTile(a, b);
    PerTileJob job(a, &perTile, configuration);
    return configuration->m_jobManager->submitAndStall(&job);
}

Error areBitwiseEqual(const Image* a, const Image* b, Configuration* configuration) {
    if (!checkArguments(a, b, configuration,
                        "Images a and b are not bitwise comparable for equality, because dimensions and/or "
                        "format are different.")) {
        return kErrorFailed;
    }
    return areBitwiseEqual(a->getMemoryRegion(), b->getMemoryRegion(), configuration);
}

} // namespace qor::Texsmith::Raw
