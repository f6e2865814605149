// Decoder of BC7 with all texels of a block at once.
#pragma once

#include "raw/blocks/block_runs.h"

namespace qor::Texsmith::Raw {

DecodeBlockRun getBc7RunDecoderAvx2(); // null where the build has none

} // namespace qor::Texsmith::Raw
