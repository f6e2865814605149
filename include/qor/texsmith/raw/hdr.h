// Radiance HDR: pictures of light, whose pixels are three mantissas and one exponent, a byte each.
//
// Arguments, threads and failures are as in raw/helpers.h.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/image.h"

namespace qor::Texsmith::Raw {

// Reads flat lines and both forms of runs into a two-dimensional image in R9G9B9E5Float and sets identity
// modifiers. Exponents beyond the format's range are clamped. A first line or a FORMAT line that names
// something else is reported; reading goes on, and gives kErrorFailed. Without a line of sizes "-Y height +X
// width", in either sign, nothing is read; a file that ends early gives the texels it has, zeros for the
// rest, a warning and kErrorFailed. Null arguments are reported.
QOR_TEXSMITH_API Error convertFromHdr(MemoryRegion* source, ReallocatableImage* destination,
                                      Configuration* configuration);
// Writes the first surface flat, without runs. A first pixel (2, 2, below 128), and any pixel (1, 1, 1),
// would be read as the beginning of one: mantissas this small come only from values near 2^-23.
QOR_TEXSMITH_API Error convertToHdr(const Image* source, ResizableMemoryRegion* destination,
                                    Configuration* configuration);

} // namespace qor::Texsmith::Raw
