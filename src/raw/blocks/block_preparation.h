// What texels go through before they are compressed.
#pragma once

#include "qor/texsmith/raw/vector_math.h"
#include "qor/vex/data_format.h"

namespace qor::Texsmith::Raw {

// Clamps all channels to 0..1, and encodes red, green and blue where the channel type is sRGB. In place is
// fine.
void prepareBlockForEncoding(ColorRGBA32F* output, const ColorRGBA32F* source,
                             Vex::TextureChannelType channelType, unsigned blockCount);

} // namespace qor::Texsmith::Raw
