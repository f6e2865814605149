// The codec of bitmaps that every build has.
#pragma once

#include "raw/codec.h"

namespace qor::Texsmith::Codecs {

extern const Raw::Codec g_bmpCodec;

} // namespace qor::Texsmith::Codecs
