// Portable Network Graphics, where this build has a codec for it.
//
// Arguments, threads and failures are as in raw/helpers.h.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/image.h"

namespace qor::Texsmith::Raw {

// Reads pictures of 1 to 16 bits, grey, colour or palette, with alpha or without, plain or interlaced, into a
// two-dimensional image with identity modifiers: L8Unorm, L8A8Unorm, an R8G8B8A8Unorm whose W may be 1, or
// the same with 16 bits. The channel type is m_textureChannelType of the configuration, where an sRGB type
// makes grey with alpha R8G8B8A8 and 16 bits linear. What the file says of gamma and profiles plays no part.
// Null arguments are reported. A faulty file gives a warning and kErrorFailed; one that is damaged behind its
// header also gives the texels that are there, and zeros for the rest. Without a codec a warning and
// kErrorWicFactory.
QOR_TEXSMITH_API Error convertFromPng(MemoryRegion* source, ReallocatableImage* destination,
                                      Configuration* configuration);
// Writes the first surface with 8 bits a channel, or with 16 where the source has more than 8 or floats; grey
// where X, Y and Z select one channel, and with alpha where W selects one; grey with alpha only for L8A8Unorm
// and L16A16Unorm themselves, and four channels for all other formats of that kind. A source of 8 bits with
// an sRGB type keeps its bytes, and the file is marked as sRGB.
QOR_TEXSMITH_API Error convertToPng(const Image* source, ResizableMemoryRegion* destination,
                                    Configuration* configuration);

} // namespace qor::Texsmith::Raw
