// The codecs of this build, one a file. Which of those by outside libraries there are is decided by the
// build.
#pragma once

#include "raw/files/codec.h"

namespace qor::Texsmith::Raw {

extern const Codec g_bmpCodec;
extern const Codec g_jpegCodec;
extern const Codec g_pngCodec;

} // namespace qor::Texsmith::Raw
