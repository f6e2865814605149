// Conversion into a pixel format that the user names.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/error.h"
#include "qor/texsmith/raw/memory_region.h"

#include <string>

namespace Tool {

// Throws UsageFailure for a name that no format has.
qor::Vex::DataFormat findFormat(const std::string& name);

// Like convertWithResult, with the texels in `format`. Hints on the standard error stream where the picture
// would look better in another format.
qor::Texsmith::Raw::Error convertToFormat(qor::Texsmith::MemoryRegion* source, const std::string& sourceName,
                                          qor::Texsmith::Raw::ResizableMemoryRegion* destination,
                                          const std::string& destinationName, qor::Vex::DataFormat format,
                                          qor::Texsmith::Configuration* configuration);

} // namespace Tool
