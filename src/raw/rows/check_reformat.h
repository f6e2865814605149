// The checks that reformat and its parts share.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/element_provider.h"
#include "raw/configuration/check_configuration.h"

namespace qor::Texsmith::Raw {

// All of these report in the name of `file`.
inline bool checkReformatPointers(const ElementProvider* source, const ElementProvider* destination,
                                  const Configuration* configuration, const char* file) {
    const bool hasSource = checkNotNull(source, file, "source must not be NULL.");
    const bool hasDestination = checkNotNull(destination, file, "destination must not be NULL.");
    const bool hasConfiguration = checkNotNull(configuration, file, "configuration must not be NULL.");
    return hasSource && hasDestination && hasConfiguration;
}

struct ReformatChecks {
    bool m_canWork;  // else nothing is done
    bool m_areAlike; // in dimensions: else what fits is converted, and the call fails all the same

    Error resultOf(Error work) const { return m_areAlike ? work : kErrorFailed; }
};

// What follows the pointers.
inline ReformatChecks checkReformatWork(const ElementProvider* source, const ElementProvider* destination,
                                        const Configuration* configuration, const char* file) {
    const bool hasManager =
        configuration != nullptr && checkNotNull(configuration->m_jobManager, file, kNeedsJobManager);
    const bool areAlike =
        source == nullptr || destination == nullptr || dimensionsAreIdentical(source, destination);
    if (!areAlike) {
        toolsAssert(file, __LINE__, "source and destination must have the same dimensions.");
    }
    return {hasManager, areAlike};
}

inline ReformatChecks checkReformatArguments(const ElementProvider* source,
                                             const ElementProvider* destination,
                                             const Configuration* configuration, const char* file) {
    const bool hasPointers = checkReformatPointers(source, destination, configuration, file);
    const ReformatChecks checks = checkReformatWork(source, destination, configuration, file);
    return {hasPointers && checks.m_canWork, checks.m_areAlike};
}

} // namespace qor::Texsmith::Raw
