// Windows bitmaps.
//
// Arguments, threads and failures are as in raw/helpers.h.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/image.h"

namespace qor::Texsmith::Raw {

// Reads into a two-dimensional image, top row first, and sets identity modifiers. Plain files of 24 and 32
// bits are B8G8R8X8Unorm with the channel type of the configuration. All others go to the codec of this
// machine: ours takes 1, 4, 8 and 16 bits, runs and bit fields, whose alpha makes it B8G8R8A8Unorm. A file
// that ends early gives the texels it has, zeros for the rest, a warning and kErrorFailed. Null arguments are
// reported.
QOR_TEXSMITH_API Error convertFromBmp(MemoryRegion* source, ReallocatableImage* destination,
                                      Configuration* configuration);
// Writes the first surface by the codec of this machine. Ours writes 24 bits, or 32 where the format has an
// alpha channel, and keeps the bytes of sRGB formats.
QOR_TEXSMITH_API Error convertToBmp(const Image* source, ResizableMemoryRegion* destination,
                                    Configuration* configuration);

} // namespace qor::Texsmith::Raw
