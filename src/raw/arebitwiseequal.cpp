// The door to comparisons of stored bytes, of providers and of images.
#include "qor/texsmith/raw/comparison.h"
#include "raw/configuration/check_configuration.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\arebitwiseequal";

bool checkArguments(const void* a, const void* b, const Configuration* configuration) {
    const bool hasA = checkNotNull(a, kSourcePath, "a must not be NULL.");
    const bool hasB = checkNotNull(b, kSourcePath, "b must not be NULL.");
    return checkJobManager(configuration, kSourcePath) && hasA && hasB;
}

// `message` tells that the two are not comparable.
bool checkComparable(const ElementProvider* a, const ElementProvider* b, const char* message) {
    const bool areComparable = areBitwiseComparableForEquality(a, b);
    if (!areComparable) {
        toolsAssert(kSourcePath, __LINE__, message);
    }
    return areComparable;
}

} // namespace

Error areBitwiseEqual(const ElementProvider* a, const ElementProvider* b, Configuration* configuration) {
    if (!checkArguments(a, b, configuration)) {
        return kErrorFailed;
    }
    checkComparable(a, b,
                    "ElementProviders a and b are not bitwise comparable for equality, because dimensions "
                    "and/or format are different.");
    AreBitwiseEqualPerTile perTile(a, b); // makes the same check, and then finds no two tiles equal
    PerTileJob job(a, &perTile, configuration);
    return configuration->m_jobManager->submitAndStall(&job);
}

Error areBitwiseEqual(const Image* a, const Image* b, Configuration* configuration) {
    if (!checkArguments(a, b, configuration)) {
        return kErrorFailed;
    }
    const bool areComparable =
        checkComparable(a, b,
                        "Images a and b are not bitwise comparable for equality, because dimensions and/or "
                        "format are different.");
    const Error error = areBitwiseEqual(a->getMemoryRegion(), b->getMemoryRegion(), configuration);
    return areComparable ? error : kErrorFailed;
}

} // namespace qor::Texsmith::Raw
