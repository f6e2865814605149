// Between DDS and the native container, where texels only change their order: what convert does for the two.
#pragma once

#include "qor/texsmith/raw/image.h"

namespace qor::Texsmith::Raw {

// Null arguments and a missing job manager are reported. A file that ends early is converted as far as it
// goes and gives kErrorFailed.
Error convertDdsToVxf(MemoryRegion* source, ResizableMemoryRegion* destination, Configuration* configuration);
// The first texture of the file, with a header of `version`.
Error convertVxfToDds(MemoryRegion* source, ResizableMemoryRegion* destination, unsigned version,
                      Configuration* configuration);

} // namespace qor::Texsmith::Raw
