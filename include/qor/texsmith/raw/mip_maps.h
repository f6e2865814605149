// Mip chains by a box filter: each texel is the mean of the texels under it.
//
// Surfaces of four bytes a texel that halve exactly are averaged as bytes, rounding up at each of two steps
// (three in a volume); all others are averaged as floats, sRGB as linear light. The two differ by at most one
// step of a byte. Texels that lie under two texels of the smaller surface count in both. Results are the same
// bits on every machine and for every number of threads.
//
// Null arguments, a null job manager and differing dimensions are reported. kErrorAborted where the abort
// word ended the work: the surfaces done so far stay. kErrorFailed for a format that cannot be read or
// written.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/element_provider.h"
#include "qor/texsmith/raw/image.h"

namespace qor::Texsmith::Raw {

// Fills every mip of `destination` from the top level of `source`, which is converted where the formats or
// modifiers differ. The encoder's m_mipsFromPreviousMip chooses what a mip is made from: the mip before it,
// or the top level of `source`. `*progress` grows by one for each finished mip of each face or array entry,
// for another thread to watch; it is not set to zero first. They return an Error.
QOR_TEXSMITH_API int makeMipMaps(ElementProvider* source, ElementProvider* destination,
                                 Configuration* configuration);
QOR_TEXSMITH_API int makeMipMaps(ElementProvider* source, ElementProvider* destination,
                                 Configuration* configuration, volatile unsigned* progress);
// Size the destination first.
QOR_TEXSMITH_API int makeMipMaps(ElementProvider* source, ReallocatableImage* destination,
                                 Vex::DataFormat format, Configuration* configuration);
QOR_TEXSMITH_API int makeMipMaps(ElementProvider* source, ReallocatableImage* destination,
                                 Vex::DataFormat format, Configuration* configuration,
                                 volatile unsigned* progress);

// Makes `destination` a texture of the type and size of `source` in another format, with all mips down to
// one texel. A texture with several fragments is reported and gives a descriptor of zeros. Always 0.
QOR_TEXSMITH_API int reallocateAndAddMips(ElementProvider* source, ReallocatableImage* destination,
                                          Vex::DataFormat format);

// Makes one surface from one that is as large or larger. Returns an Error.
QOR_TEXSMITH_API int surfaceDownsample2d(ElementProvider* source, SurfaceIndex sourceIndex,
                                         ElementProvider* destination, SurfaceIndex destinationIndex,
                                         Configuration* configuration);

} // namespace qor::Texsmith::Raw
