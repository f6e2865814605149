// Mip chains by a box filter: each texel is the mean of the texels under it.
//
// Surfaces that halve exactly, with sizes that are multiples of 4, and keep their format are averaged as
// bytes if that is 8_8_8_8 of type UNorm, UBNormNoZero or SNormNoZero and the source's decode and the
// destination's encode modifiers do nothing. Each of two steps (three in a volume) rounds up. All others are
// averaged as floats, sRGB as linear light. The two differ by at most one step of a byte. Averages of bytes
// deliberately ignore the transforms of the configuration, and so does the copy of the top level where
// formats and modifiers agree. Texels that lie under two texels of the smaller surface count in both. Results
// are the same bits on every machine and for every number of threads.
//
// Null arguments, a null job manager, differing dimensions, textures of several fragments and a lack of
// memory to work in are reported, and the call returns kErrorFailed, as it does for a format that cannot be
// read or written. kErrorAborted where the abort word ended the work: the surfaces done so far stay.
//
// Sources and destinations stay the caller's and must not be used elsewhere during a call.
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
// Size the destination first, as reallocateAndAddMips does. A source that shows the destination itself is
// reported and refused, and so is one of several fragments; the destination is then left alone.
QOR_TEXSMITH_API int makeMipMaps(ElementProvider* source, ReallocatableImage* destination,
                                 Vex::DataFormat format, Configuration* configuration);
QOR_TEXSMITH_API int makeMipMaps(ElementProvider* source, ReallocatableImage* destination,
                                 Vex::DataFormat format, Configuration* configuration,
                                 volatile unsigned* progress);

// Makes `destination` a texture of the type and size of `source` in another format, with all mips down to
// one texel. A texture with several fragments is reported and gives a descriptor of zeros; null arguments and
// a source that shows the destination itself are reported and change nothing. Always 0, deliberately.
QOR_TEXSMITH_API int reallocateAndAddMips(ElementProvider* source, ReallocatableImage* destination,
                                          Vex::DataFormat format);

// Makes one surface from one that is as large or larger. An index that names no surface is reported, and
// kErrorFailed. Returns an Error.
QOR_TEXSMITH_API int surfaceDownsample2d(ElementProvider* source, SurfaceIndex sourceIndex,
                                         ElementProvider* destination, SurfaceIndex destinationIndex,
                                         Configuration* configuration);

} // namespace qor::Texsmith::Raw
