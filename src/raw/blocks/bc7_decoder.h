// Decoder of BC7, exact to the published format. Any 16 bytes decode to something: the reserved mode to
// zeros, alpha included.
#pragma once

#include "raw/blocks/block_runs.h"

namespace qor::Texsmith::Raw {

// 16 texels of R, G, B, A as bytes, from a block of 16 bytes. sRGB is left as it is stored.
void decodeBc7Block(std::uint8_t* destination, const std::uint8_t* source);
// For many of them in one call.
DecodeBlockRun findBc7RunDecoder();

} // namespace qor::Texsmith::Raw
