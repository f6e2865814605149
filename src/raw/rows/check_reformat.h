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

// What follows the pointers. False without a job manager; differing dimensions are only reported.
inline bool checkReformatWork(const ElementProvider* source, const ElementProvider* destination,
                              const Configuration* configuration, const char* file) {
    const bool hasManager =
        configuration != nullptr && checkNotNull(configuration->m_jobManager, file, kNeedsJobManager);
    if (source != nullptr && destination != nullptr && !dimensionsAreIdentical(source, destination)) {
        toolsAssert(file, __LINE__, "source and destination must have the same dimensions.");
    }
    return hasManager;
}

inline bool checkReformatArguments(const ElementProvider* source, const ElementProvider* destination,
                                   const Configuration* configuration, const char* file) {
    const bool hasPointers = checkReformatPointers(source, destination, configuration, file);
    const bool canWork = checkReformatWork(source, destination, configuration, file);
    return hasPointers && canWork;
}

} // namespace qor::Texsmith::Raw
