// The fast effort of BC6H: eight blocks at once, each in one piece, without a search.
#pragma once

#include "qor/texsmith/raw/vector_math.h"
#include "raw/blocks/bc6_kernels.h"

#include <cstddef>
#include <cstdint>

namespace qor::Texsmith::Raw {

// `count` times 16 texels to `count` blocks of 16 bytes.
void encodeBc6Groups(std::uint8_t* destination, const ColorRGBA32F* source, bool isSigned,
                     const Bc6Kernels& kernels, std::size_t count);

} // namespace qor::Texsmith::Raw
