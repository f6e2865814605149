// Block decoders: 4 x 4 texels from blocks of BC1 to BC5. Any bytes decode to something.
#pragma once

#include "qor/texsmith/raw/vector_math.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

// 16 texels of R, G, B, A as bytes. BC1 reads 8 bytes, the other two 16.
void decodeBc1(std::uint8_t* destination, const std::uint8_t* source);
void decodeBc2(std::uint8_t* destination, const std::uint8_t* source);
void decodeBc3(std::uint8_t* destination, const std::uint8_t* source);
// The same into rows of a picture: 4 rows of 16 bytes, `pitch` bytes apart.
void decodeBc1(std::uint8_t* destination, std::size_t pitch, const std::uint8_t* source);
void decodeBc2(std::uint8_t* destination, std::size_t pitch, const std::uint8_t* source);
void decodeBc3(std::uint8_t* destination, std::size_t pitch, const std::uint8_t* source);
// Lane 0, and lane 1 for BC5; the other lanes of the 16 texels stay as they are. Signed blocks give 0..1
// under normalization policy 0, and -1..1 under 1.
void decodeBc4(ColorRGBA32F* destination, const std::uint8_t* source, bool isSigned);
void decodeBc5(ColorRGBA32F* destination, const std::uint8_t* source, bool isSigned);

} // namespace qor::Texsmith::Raw
