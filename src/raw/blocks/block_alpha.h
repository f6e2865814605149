// The alpha halves of blocks of BC2 and BC3, 8 bytes each.
#pragma once

#include "qor/texsmith/raw/vector_math.h"

namespace qor::Texsmith::Raw {

void encodeBc2Alpha(void* destination, const ColorRGBA32F* block);
void encodeBc3Alpha(void* destination, const ColorRGBA32F* block);

} // namespace qor::Texsmith::Raw
