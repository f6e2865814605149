// Portable float maps.
//
// Arguments, threads and failures are as in raw/helpers.h.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/image.h"

namespace qor::Texsmith::Raw {

enum PfmChannels : unsigned { kPfmChannels1 = 1, kPfmChannels3 = 3 };

// Reads "Pf" as L32Float and "PF" as R32G32B32X32Float into a two-dimensional image and sets identity
// modifiers. The scale plays no part: floats are taken as they lie, in the machine's order, and rows in the
// file's, unless the reading options say otherwise. A file that is shorter than its sizes ask for is refused
// before anything is allocated. Null arguments are reported.
QOR_TEXSMITH_API Error convertFromPfm(MemoryRegion* source, ReallocatableImage* destination,
                                      Configuration* configuration);
// Writes the first surface, with a scale of -1; its rows from the top down, or, with kReadPfmBottomUp, as the
// published format has them.
QOR_TEXSMITH_API Error convertToPfm(const Image* source, ResizableMemoryRegion* destination,
                                    PfmChannels channels, Configuration* configuration);

} // namespace qor::Texsmith::Raw
