// JPEG, where this build has a codec for it.
//
// Arguments, threads and failures are as in raw/helpers.h.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/image.h"

namespace qor::Texsmith::Raw {

// Reads grey and colour of 8 bits, sequential or progressive, into L8Unorm or an R8G8B8A8Unorm whose W is 1,
// with m_textureChannelType of the configuration as the channel type and identity modifiers. An orientation
// in the file plays no part. Null arguments are reported. A faulty file, or one of four channels, gives a
// warning and kErrorFailed; one that is damaged behind its header also gives the texels that are there, and
// zeros for missing rows. Without a codec a warning and kErrorWicFactory.
QOR_TEXSMITH_API Error convertFromJpg(MemoryRegion* source, ReallocatableImage* destination,
                                      Configuration* configuration);
// Writes the first surface without alpha, grey where X, Y and Z select one channel, at quality 95 and with
// all channels at full size. A source with an sRGB type keeps its bytes; others are written as UNorm.
QOR_TEXSMITH_API Error convertToJpg(const Image* source, ResizableMemoryRegion* destination,
                                    Configuration* configuration);

} // namespace qor::Texsmith::Raw
