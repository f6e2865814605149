// The checks that every reader and writer of a kind of file makes of its arguments.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "raw/configuration/check_configuration.h"

namespace qor::Texsmith::Raw {

// Makes all three checks, whatever the first ones say.
inline bool checkConvertArguments(const void* source, const void* destination,
                                  const Configuration* configuration, const char* sourcePath) {
    bool good = checkNotNull(source, sourcePath, "source must not be NULL.");
    good &= checkNotNull(destination, sourcePath, "destination must not be NULL.");
    good &= checkNotNull(configuration, sourcePath, "configuration must not be NULL.");
    return good;
}

// The same for those that run jobs, which need a manager as well.
inline bool checkConvertJobArguments(const void* source, const void* destination,
                                     const Configuration* configuration, const char* sourcePath) {
    bool good = checkConvertArguments(source, destination, configuration, sourcePath);
    if (configuration != nullptr) {
        good &= checkNotNull(configuration->m_jobManager, sourcePath, kNeedsJobManager);
    }
    return good;
}

} // namespace qor::Texsmith::Raw
