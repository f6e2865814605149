// The steps of a conversion: load, resize, add mips, change the format, write.
#pragma once

#include "conversion_options.h"

#include "qor/texsmith/raw/memory_region.h"

#include <string>

namespace Tool {

// With no option set this is the library's own conversion, but that a DDS file gets the extended header when
// the classic one would bring back another format. What a file cannot keep is told on the standard error
// stream.
qor::Texsmith::Raw::Error convertRegions(qor::Texsmith::MemoryRegion* source, const std::string& sourceName,
                                         qor::Texsmith::Raw::ResizableMemoryRegion* destination,
                                         const std::string& destinationName, const ConversionOptions& options,
                                         qor::Texsmith::Configuration* configuration);

} // namespace Tool
