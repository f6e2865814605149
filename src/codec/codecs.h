// The codecs of this build, one a file. Which of those by outside libraries there are is decided by the
// build.
#pragma once

#include "raw/files/codec.h"

namespace qor::Texsmith::Raw {

extern const Codec g_bmpCodec;
extern const Codec g_exrCodec;
extern const Codec g_gifCodec;
extern const Codec g_jpegCodec;
extern const Codec g_pngCodec;
extern const Codec g_tiffCodec;

} // namespace qor::Texsmith::Raw
