// The functions that the rows of the format table are made of.
#pragma once

#include "qor/texsmith/raw/format.h"

namespace qor::Texsmith::Raw {

// The row's channels are bit fields, converted as the format's channel type says.
void packedEncodeTexels(void* destination, const VectorFloat* source, const Vex::DataFormat* format,
                        int count);
void packedDecodeTexels(VectorFloat* destination, const void* source, const Vex::DataFormat* format,
                        int count);
void packedHardwareDecodeTexels(VectorFloat* destination, const void* source, const Vex::DataFormat* format,
                                int count);

// Three mantissas with one exponent, whatever the channel type.
void sharedExponentEncodeTexels(void* destination, const VectorFloat* source, const Vex::DataFormat* format,
                                int count);
void sharedExponentDecodeTexels(VectorFloat* destination, const void* source, const Vex::DataFormat* format,
                                int count);

// Nothing is stored, zeros are read.
void nullEncodeTexels(void* destination, const VectorFloat* source, const Vex::DataFormat* format, int count);
void nullDecodeTexels(VectorFloat* destination, const void* source, const Vex::DataFormat* format, int count);

// Blocks and tiles, row by row through the texel functions of the texture's format.
void encodeBlockByRows(void* destination, unsigned rowPitchInBytes, const Block* source,
                       const EncoderConfiguration* configuration);
void decodeBlockByRows(Block* destination, const void* source, unsigned rowPitchInBytes,
                       const DecoderConfiguration* configuration);
void hardwareDecodeBlockByRows(Block* destination, const void* source, unsigned rowPitchInBytes,
                               const DecoderConfiguration* configuration);
void encodeTileByRows(void* destination, unsigned rowPitchInBytes, const Tile* source,
                      const EncoderConfiguration* configuration);
void decodeTileByRows(Tile* destination, const void* source, unsigned rowPitchInBytes,
                      const DecoderConfiguration* configuration);

// Tiles as four blocks: top left, top right, bottom left, bottom right.
void encodeTileByBlocks(void* destination, unsigned rowPitchInBytes, const Tile* source,
                        const EncoderConfiguration* configuration);
void decodeTileByBlocks(Tile* destination, const void* source, unsigned rowPitchInBytes,
                        const DecoderConfiguration* configuration);

// The stored bytes themselves.
void copyFromBlock8(void* destination, unsigned rowPitchInBytes, const Block8* source,
                    const EncoderConfiguration* configuration);
void copyToBlock8(Block8* destination, const void* source, unsigned rowPitchInBytes,
                  const DecoderConfiguration* configuration);

} // namespace qor::Texsmith::Raw
