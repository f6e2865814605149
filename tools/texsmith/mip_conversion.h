// Conversion that adds all mips on the way.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/error.h"
#include "qor/texsmith/raw/memory_region.h"

#include <string>

namespace Tool {

// Throws UsageFailure for a type of file that holds no mips.
void checkHoldsMips(const std::string& destination);

// Like convertWithResult, with a chain of mips made from the first level, in its format. The names tell the
// types.
qor::Texsmith::Raw::Error convertWithMips(qor::Texsmith::MemoryRegion* source, const std::string& sourceName,
                                          qor::Texsmith::Raw::ResizableMemoryRegion* destination,
                                          const std::string& destinationName,
                                          qor::Texsmith::Configuration* configuration);

} // namespace Tool
