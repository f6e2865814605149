// Texel codecs: stored texels to working values and back, with swizzle and transform around the row's
// functions.
//
// None of these is exported. Each looks its row up once per call. Rows with null functions must be kept away
// by the caller.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/format.h"
#include "qor/texsmith/raw/vector_math.h"
#include "raw/texels/swizzle.h"

namespace qor::Texsmith::Raw {

// No run handed to an encoder step may be longer. A longer one is reported and encoded in runs of this many.
inline constexpr int kMaxCount = 16;

// Row function, swizzle, then the transform where the name says so. Sources and destinations of the row pitch
// kind are buffers of stored elements (a Block or Tile), or surfaces.
void decodeBlock8(Block8* block, const void* source, unsigned rowPitchInBytes,
                  const DecoderConfiguration* configuration);
void decodeBlockAndModify(Block* block, const void* source, unsigned rowPitchInBytes,
                          const DecoderConfiguration* configuration);
void decodeTexelRun(VectorFloat* texels, const void* source, const DecoderConfiguration* configuration,
                    int count);
void decodeTileAndModify(Tile* tile, const void* source, unsigned rowPitchInBytes,
                         const DecoderConfiguration* configuration);
void hardwareDecodeBlockAndModify(Block* block, const void* source, unsigned rowPitchInBytes,
                                  const DecoderConfiguration* configuration);
void hardwareDecodeTexelRun(VectorFloat* texels, const void* source,
                            const DecoderConfiguration* configuration, int count);

// Transform (not for Block8), swizzle, then the row function, on a copy of the source. The swizzle is
// deliberately not inverted: a format that is not its own inverse loses channels.
void encodeBlock8(void* destination, unsigned rowPitchInBytes, const Block8* block,
                  const EncoderConfiguration* configuration);
void encodeBlockAndModify(void* destination, unsigned rowPitchInBytes, const Block* block,
                          const EncoderConfiguration* configuration);
void encodeTexelRun(void* destination, const VectorFloat* texels, const EncoderConfiguration* configuration,
                    int count);
void encodeTileAndModify(void* destination, unsigned rowPitchInBytes, const Tile* tile,
                         const EncoderConfiguration* configuration);

} // namespace qor::Texsmith::Raw
