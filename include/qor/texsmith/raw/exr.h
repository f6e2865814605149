// OpenEXR, where this build has a codec for it.
//
// Arguments, threads and failures are as in raw/helpers.h.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/image.h"

namespace qor::Texsmith::Raw {

// Reads files of one part, by scanlines or tiles, into a two-dimensional image of the data window with
// identity modifiers: R, G and B with or without A, or Y, or the only channel as grey, in halves where all of
// these are halves and else in floats. Values stay as they are, also where they were multiplied by alpha.
// Channels that are left out are named in a warning, and the result is kErrorNone all the same. Null
// arguments are reported. A faulty file gives a warning and kErrorFailed; one that is damaged behind its
// header also gives the rows before the fault, and zeros for the rest. Without a codec a warning and
// kErrorWicFactory.
QOR_TEXSMITH_API Error convertFromExr(MemoryRegion* source, ReallocatableImage* destination,
                                      Configuration* configuration);
// Writes the first surface, compressed without loss: in halves where they hold the values of its format, and
// else in floats. sRGB formats become linear.
QOR_TEXSMITH_API Error convertToExr(const Image* source, ResizableMemoryRegion* destination,
                                    Configuration* configuration);

} // namespace qor::Texsmith::Raw
