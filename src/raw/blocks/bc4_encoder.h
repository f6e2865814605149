// One channel of 16 texels as a block of BC4.
#pragma once

#include "qor/texsmith/raw/vector_math.h"

namespace qor::Texsmith::Raw {

// Writes 8 bytes. Clamps to 0..1, or to -1..1 when signed, after the policy's mapping.
void encodeBc4Channel(void* destination, const ColorRGBA32F* block, unsigned channel, bool isSigned);

} // namespace qor::Texsmith::Raw
