// Truevision TGA.
//
// Arguments, threads and failures are as in raw/helpers.h.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/image.h"

namespace qor::Texsmith::Raw {

// Reads types 1, 2, 3, 9, 10 and 11 into a two-dimensional image and sets identity modifiers. The channel
// type is m_textureChannelType of the configuration, whose reading options say whether attribute bits count.
// Null arguments are reported. A faulty header gives a warning, its kErrorTga... code, and leaves the
// destination alone; so does one that claims far more than the file holds, with kErrorFailed; a file that
// ends early gives the texels it has, zeros for the rest, a warning and kErrorFailed.
QOR_TEXSMITH_API Error convertFromTga(MemoryRegion* source, ReallocatableImage* destination,
                                      Configuration* configuration);
// Writes the first surface as an uncompressed image of 32 bits, top row first.
QOR_TEXSMITH_API Error convertToTga(const Image* source, ResizableMemoryRegion* destination,
                                    Configuration* configuration);

} // namespace qor::Texsmith::Raw
