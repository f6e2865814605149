// Texture descriptors as JSON texts, for files that declare a surface and hold no texels.
//
// Arguments, threads and failures are as in raw/helpers.h.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/image.h"

namespace qor::Texsmith::Raw {

// Reallocates the destination to the descriptor and sets identity modifiers; the texels are whatever that
// leaves. What the text does not name is zero. A text that is not whole, and a descriptor of an image without
// bytes, give a warning and kErrorFailed, and leave the destination alone. Null arguments are reported.
QOR_TEXSMITH_API Error convertFromTsh(MemoryRegion* source, ReallocatableImage* destination,
                                      Configuration* configuration);
// Writes the descriptor, without a terminator.
QOR_TEXSMITH_API Error convertToTsh(const Image* source, ResizableMemoryRegion* destination,
                                    Configuration* configuration);

} // namespace qor::Texsmith::Raw
