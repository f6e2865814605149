// Block codecs over runs: many blocks that lie side by side, in one call.
//
// Looked up once per operation. Each gives what the function for one block gives on each of them.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/vector_math.h"

#include <cstddef>
#include <cstdint>

namespace qor::Texsmith::Raw {

// `count` blocks to 4 rows of 16 * count bytes of R, G, B, A, `pitch` bytes apart.
using DecodeBlockRun = void (*)(std::uint8_t* destination, std::size_t pitch, const std::uint8_t* source,
                                std::size_t count);
// Bc1, Bc2, Bc3 and Bc7. Null for all other formats.
DecodeBlockRun findBlockRunDecoder(Vex::SurfaceFormat format);
// The same with an alpha of 255 everywhere. Bc1. Null for all other formats.
DecodeBlockRun findOpaqueRunDecoder(Vex::SurfaceFormat format);
// Of unsigned fractions, to the bytes that the decoded texels are stored as: to one byte a texel from Bc4, to
// two from Bc5, or to four from both: red, green or 0, 0, 255. Null for all others.
DecodeBlockRun findChannelRunDecoder(Vex::SurfaceFormat format, unsigned texelBytes);
// As the first one, to four floats for each texel, or to four halves, whose denormals become the least normal
// number as the codec of texels would store them. Bc6. Null for all other formats.
DecodeBlockRun findFloatRunDecoder(Vex::SurfaceFormat format, bool isSigned);
DecodeBlockRun findHalfRunDecoder(Vex::SurfaceFormat format, bool isSigned);

// `count` times 16 texels, block after block, to `count` blocks.
using EncodeBlockRun = void (*)(std::uint8_t* destination, const ColorRGBA32F* source,
                                const EncoderConfiguration& configuration, std::size_t count);
// Bc1 to Bc7. Null for all other formats.
EncodeBlockRun findBlockRunEncoder(Vex::SurfaceFormat format);

// From four rows of pixels of four bytes, `pitch` bytes apart: what the bytes over 255 as texels give.
using EncodeByteRun = void (*)(std::uint8_t* destination, const std::uint8_t* rows, std::size_t pitch,
                               const EncoderConfiguration& configuration, std::size_t count);
struct ByteRunEncoder {
    EncodeByteRun m_encode; // null where there is none for these settings
    unsigned m_lanes;       // how many bytes of a pixel count, from the first on
};
ByteRunEncoder findByteRunEncoder(const EncoderConfiguration& configuration);

} // namespace qor::Texsmith::Raw
