// Decoder of BC6H with all texels of a block at once.
#pragma once

#include "raw/blocks/block_runs.h"

namespace qor::Texsmith::Raw {

struct Bc6DecodersAvx2 {
    DecodeBlockRun m_toHalves;
    DecodeBlockRun m_toFloats;
    DecodeBlockRun m_signedToHalves;
    DecodeBlockRun m_signedToFloats;
};
const Bc6DecodersAvx2* getBc6DecodersAvx2(); // null where the build has none

} // namespace qor::Texsmith::Raw
