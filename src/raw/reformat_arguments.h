// The checks that reformat and its parts share.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/element_provider.h"
#include "raw/check_job_manager.h"

namespace qor::Texsmith::Raw {

// Reports in the name of `file`. False where going on would meet a null pointer; differing dimensions are
// only reported.
inline bool checkReformatArguments(const ElementProvider* source, const ElementProvider* destination,
                                   const Configuration* configuration, const char* file) {
    const bool hasSource = checkNotNull(source, file, "source must not be NULL.");
    const bool hasDestination = checkNotNull(destination, file, "destination must not be NULL.");
    const bool hasManager = checkJobManager(configuration, file);
    if (hasSource && hasDestination && !dimensionsAreIdentical(source, destination)) {
        toolsAssert(file, __LINE__, "source and destination must have the same dimensions.");
    }
    return hasSource && hasDestination && hasManager;
}

} // namespace qor::Texsmith::Raw
