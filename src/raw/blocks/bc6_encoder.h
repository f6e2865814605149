// The encoder of BC6H: 4 x 4 texels of floats to blocks of 16 bytes. None of these is exported.
//
// Texels are in row order; alpha plays no part. Values are clamped to 0..65504, or -65504..65504 where the
// configuration's channel type is signed; a NaN becomes 65504. All functions may run at once on different
// blocks and allocate nothing.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/vector_math.h"
#include "raw/blocks/bc6_tables.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace qor::Texsmith::Raw {

// Above 1 the encoder warns of every block: its mode, its partition and its error. Set it before work starts.
extern int g_bc6LogThreshold;

// Of the blocks encoded so far, those of one colour left out: statistics, which do not feed back.
extern std::atomic<float> g_bc6ErrorSum;
extern std::atomic<float> g_bc6ErrorMax;

// The entry point of the format table and the block jobs: through the external compressor if the
// configuration has a profile of it, else as encodeBc6.
void encodeBc6Block(std::uint8_t* destination, const ColorRGBA32F* source,
                    const EncoderConfiguration& configuration);
// The same for `count` blocks, one after the other.
void encodeBc6Blocks(std::uint8_t* destination, const ColorRGBA32F* source,
                     const EncoderConfiguration& configuration, std::size_t count);

// One block: searched and packed, or with the fast effort taken in one piece and without a search, which
// neither logs nor counts.
void encodeBc6(std::uint8_t* destination, const ColorRGBA32F* block,
               const EncoderConfiguration& configuration);

// The number of the mode chosen. Words are endpoints or differences, channel + 3 * endpoint, masked to their
// bits; those that the mode does not have are 0.
unsigned searchBc6(std::uint16_t (&encodedEndpoints)[kBc6Words], std::uint8_t (&indices)[16],
                   unsigned* partition, const ColorRGBA32F* block, const EncoderConfiguration& configuration);

// Writes 16 bytes. A mode that does not exist is reported and writes nothing.
void packBc6(std::uint8_t* destination, unsigned mode, const std::uint16_t (&encodedEndpoints)[kBc6Words],
             const std::uint8_t (&indices)[16], unsigned partition);

} // namespace qor::Texsmith::Raw
