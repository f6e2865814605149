// What the library knows of memory layouts of texels: one row per surface format, and formats by name.
//
// A surface format says how the bits of an element lie; with a channel type and four selects it makes a
// format word (qor/vex/data_format.h). Decoding turns stored elements into texels of four lanes: unpack,
// convert by the channel type, swizzle, transform. Encoding goes the other way, in the other order. The
// functions of a row do the unpacking and converting alone; reformat (raw/reformat.h) does all of it for
// whole surfaces, and most users need nothing else:
//
//     Vex::DataFormat format;
//     makeDataFormat(&format, "R8G8B8A8Unorm", &configuration);
//     const unsigned bytes = getSurfaceFormatInfo(format.getSurfaceFormat()).bytesPerElement; // 4
//     VectorFloat texel = {};
//     getSurfaceFormatInfo(format.getSurfaceFormat()).Decode(&texel, stored, &format, 1);
//
// Everything here is constant: it may be used by any number of threads and from static constructors, and
// nothing is owned or kept. Half floats follow IEEE 754, with the roundings that raw/half.h tells; sRGB is
// the curve of IEC 61966-2-1, which changes from its straight part to its power at 0.040448237 of the encoded
// values; formats with a shared exponent are those of the OpenGL extension EXT_texture_shared_exponent;
// compressed blocks are those of Direct3D (BC1 to BC7).
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/vector_math.h"
#include "qor/vex/data_format.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

// Codec functions of a row. Sources and destinations never overlap; a null one is not looked for. `format` is
// read for its channel type, and for the selects by those functions that need them. Runs are packed: `count`
// elements of bytesPerElement bytes on the one side, `count` texels of 16 bytes on the other. Runs handed to
// an encoder have at most 16 texels; longer ones are reported. An area is a block of 4 x 4 or a tile of 8 x 8
// texels; on its stored side, rows of elements lie `rowPitchInBytes` apart, and the configuration's texture
// tells the format. Decoders leave the lanes of channels that the format lacks as they are.
using EncodeTexels = void (*)(void* destination, const VectorFloat* source, const Vex::DataFormat* format,
                              int count);
using DecodeTexels = void (*)(VectorFloat* destination, const void* source, const Vex::DataFormat* format,
                              int count);
using EncodeOne = void (*)(void* destination, const VectorFloat* source, const Vex::DataFormat* format);
using DecodeOne = void (*)(VectorFloat* destination, const void* source, const Vex::DataFormat* format);
template <typename X>
using EncodeArea = void (*)(void* destination, unsigned rowPitchInBytes, const X* source,
                            const EncoderConfiguration* configuration);
template <typename X>
using DecodeArea = void (*)(X* destination, const void* source, unsigned rowPitchInBytes,
                            const DecoderConfiguration* configuration);

// One row. Fields of functions may be null, where the format has no such thing: compressed formats have no
// texels on their own, and only formats of eight bits a channel have the forms for Block8. A caller must not
// call a null one. The member forms forward their arguments unchanged and apply neither swizzle nor
// transform. The hardware's forms give what the graphics hardware reads: sRGB from a table of 256 entries of
// 16 bits.
struct QOR_TEXSMITH_API SurfaceFormatInfo {
    std::uint32_t surfaceFormat;
    std::uint8_t blockWidth;        // texels across one element: 1, or 4
    std::uint8_t blockHeight;       // texels down one element
    std::uint8_t bytesPerElement;   // one texel, or one compressed block
    std::uint8_t bitsPerChannel[4]; // channel 0 first, which lies in the lowest bits but for a few formats
    std::uint8_t channels;          // stored ones; 0 for a row without a format
    EncodeOne encodeOne;
    DecodeOne decodeOne;
    DecodeOne hardwareDecodeOne;
    EncodeTexels encodeTexels;
    DecodeTexels decodeTexels;
    DecodeTexels hardwareDecodeTexels;
    EncodeArea<Block8> encodeBlock8;
    DecodeArea<Block8> decodeBlock8;
    EncodeArea<Block> encodeBlock;
    DecodeArea<Block> decodeBlock;
    DecodeArea<Block> hardwareDecodeBlock;
    EncodeArea<Tile> encodeTile;
    DecodeArea<Tile> decodeTile;
    std::uint8_t channelShift[4]; // bit position in the element, from its least significant bit
    float unormScale[4];          // stored value to 0..1
    float snormScale[4];          // stored value to -1..1

    // What a channel of that many bits stores for 1 as UNorm, and for 1 and -1 as SNorm.
    std::uint32_t maxUnormValue(unsigned channel) const;
    int maxSnormValue(unsigned channel) const;
    int minSnormValue(unsigned channel) const;

    void Encode(void* QOR_TEXSMITH_RESTRICT destination, const VectorFloat* QOR_TEXSMITH_RESTRICT source,
                const Vex::DataFormat* format, int count) const;
    void Decode(VectorFloat* QOR_TEXSMITH_RESTRICT destination, const void* QOR_TEXSMITH_RESTRICT source,
                const Vex::DataFormat* format, int count) const;
    void HardwareDecode(VectorFloat* QOR_TEXSMITH_RESTRICT destination,
                        const void* QOR_TEXSMITH_RESTRICT source, const Vex::DataFormat* format,
                        int count) const;
    void Encode(void* QOR_TEXSMITH_RESTRICT destination, unsigned rowPitchInBytes,
                const Block8* QOR_TEXSMITH_RESTRICT source, const EncoderConfiguration* configuration) const;
    void Encode(void* QOR_TEXSMITH_RESTRICT destination, unsigned rowPitchInBytes,
                const Block* QOR_TEXSMITH_RESTRICT source, const EncoderConfiguration* configuration) const;
    void Encode(void* QOR_TEXSMITH_RESTRICT destination, unsigned rowPitchInBytes,
                const Tile* QOR_TEXSMITH_RESTRICT source, const EncoderConfiguration* configuration) const;
    void Decode(Block8* QOR_TEXSMITH_RESTRICT destination, const void* QOR_TEXSMITH_RESTRICT source,
                unsigned rowPitchInBytes, const DecoderConfiguration* configuration) const;
    void Decode(Block* QOR_TEXSMITH_RESTRICT destination, const void* QOR_TEXSMITH_RESTRICT source,
                unsigned rowPitchInBytes, const DecoderConfiguration* configuration) const;
    void Decode(Tile* QOR_TEXSMITH_RESTRICT destination, const void* QOR_TEXSMITH_RESTRICT source,
                unsigned rowPitchInBytes, const DecoderConfiguration* configuration) const;
    void HardwareDecode(Block* QOR_TEXSMITH_RESTRICT destination, const void* QOR_TEXSMITH_RESTRICT source,
                        unsigned rowPitchInBytes, const DecoderConfiguration* configuration) const;
};

// 59 rows, constant-initialised, indexed by surface format. Rows without a format are all zero.
QOR_TEXSMITH_API extern const SurfaceFormatInfo g_surfaceFormatInfo[Vex::kSurfaceFormatCount];

namespace VexTexture {
// Bytes of an element by surface format, for those who want nothing else; 0 where there are no texels.
QOR_TEXSMITH_API extern const std::uint8_t g_bytesPerElementFromSurfaceFormat[Vex::kSurfaceFormatCount];
} // namespace VexTexture

// A number of 59 or more is reported and gives row 0.
QOR_TEXSMITH_API const SurfaceFormatInfo& getSurfaceFormatInfo(Vex::SurfaceFormat surfaceFormat);
// How many rows there are.
QOR_TEXSMITH_API std::uint32_t getSurfaceFormatInfos();

// The formats that have a name, such as "Bc1Unorm"; qor/vex/data_formats.h has them as constants.
struct NamedDataFormat {
    const char* m_name; // lives as long as the library
    Vex::DataFormat m_dataFormat;
};

QOR_TEXSMITH_API int getNamedDataFormatCount();
// {"Invalid", 0} for an index out of range.
QOR_TEXSMITH_API NamedDataFormat getNamedDataFormat(int index);
// Finds a format by name, whatever its case, or reads the fields that a text in JSON names, which leaves all
// others of `*destination` as they were. Reading takes memory from the configuration's allocator. Null
// pointers are reported; without a configuration the work is done all the same, with g_mallocAllocator.
// Returns an Error: an unknown name is kErrorFailed, and leaves `*destination` alone.
QOR_TEXSMITH_API int makeDataFormat(Vex::DataFormat* destination, const char* source,
                                    Configuration* configuration);

} // namespace qor::Texsmith::Raw
