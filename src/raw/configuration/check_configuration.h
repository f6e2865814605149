// The checks of functions that run jobs.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "raw/frame/check.h"

namespace qor::Texsmith::Raw {

inline constexpr char kNeedsJobManager[] =
    "configuration->m_jobManager parameter must not be NULL - this function runs jobs.";

// Reports in the name of `file`, the settings before their manager.
inline bool checkJobManager(const Configuration* configuration, const char* file,
                            int line = QOR_TEXSMITH_CALLER_LINE) {
    return checkNotNull(configuration, file, "configuration must not be NULL.", line) &&
           checkNotNull(configuration->m_jobManager, file, kNeedsJobManager, line);
}

} // namespace qor::Texsmith::Raw
