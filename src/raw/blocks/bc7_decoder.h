// Decoder of BC7, exact to the published format. Any 16 bytes decode to something: the reserved mode to
// zeros, alpha included.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qor::Texsmith::Raw {

// 16 texels of R, G, B, A as bytes, from a block of 16 bytes. sRGB is left as it is stored.
void decodeBc7Block(std::uint8_t* destination, const std::uint8_t* source);
// `count` blocks to 4 rows of 16 * count bytes, `pitch` bytes apart.
void decodeBc7Run(std::uint8_t* destination, std::size_t pitch, const std::uint8_t* source,
                  std::size_t count);

} // namespace qor::Texsmith::Raw
