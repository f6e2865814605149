// The checks that every reader and writer of a kind of file makes of its arguments.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "raw/check.h"

namespace qor::Texsmith::Raw {

// Makes all three checks, whatever the first ones say.
inline bool checkConvertArguments(const void* source, const void* destination,
                                  const Configuration* configuration, const char* sourcePath) {
    bool good = checkNotNull(source, sourcePath, "source must not be NULL.");
    good &= checkNotNull(destination, sourcePath, "destination must not be NULL.");
    good &= checkNotNull(configuration, sourcePath, "configuration must not be NULL.");
    return good;
}

} // namespace qor::Texsmith::Raw
