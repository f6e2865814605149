// OpenEXR, where this build has a codec for it.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/image.h"

namespace qor::Texsmith::Raw {

// Null arguments are reported. Without a codec a warning and kErrorWicFactory.
QOR_TEXSMITH_API Error convertFromExr(MemoryRegion* source, ReallocatableImage* destination,
                                      Configuration* configuration);
QOR_TEXSMITH_API Error convertToExr(const Image* source, ResizableMemoryRegion* destination,
                                    Configuration* configuration);

} // namespace qor::Texsmith::Raw
