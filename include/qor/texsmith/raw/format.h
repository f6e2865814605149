// What the library knows of memory layouts of texels: one row per surface format, and formats by name.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/vector_math.h"
#include "qor/vex/data_format.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

// Codec functions of a row. Sources and destinations never overlap. Runs handed to an encoder have at most 16
// texels; longer ones are reported.
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

// One row. Fields of functions may be null; a caller must not call a null one. The member forms forward their
// arguments unchanged and apply neither swizzle nor transform.
struct QOR_TEXSMITH_API SurfaceFormatInfo {
    std::uint32_t surfaceFormat;
    std::uint8_t blockWidth;      // texels across one element: 1, or 4
    std::uint8_t blockHeight;     // texels down one element
    std::uint8_t bytesPerElement; // one texel, or one compressed block
    std::uint8_t bitsPerChannel[4];
    std::uint8_t channels;
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
QOR_TEXSMITH_API extern const std::uint8_t g_bytesPerElementFromSurfaceFormat[Vex::kSurfaceFormatCount];
}

// A number of 59 or more is reported and gives row 0.
QOR_TEXSMITH_API const SurfaceFormatInfo& getSurfaceFormatInfo(Vex::SurfaceFormat surfaceFormat);
QOR_TEXSMITH_API std::uint32_t getSurfaceFormatInfos();

struct NamedDataFormat {
    const char* m_name;
    Vex::DataFormat m_dataFormat;
};

QOR_TEXSMITH_API int getNamedDataFormatCount();
// {"Invalid", 0} for an index out of range.
QOR_TEXSMITH_API NamedDataFormat getNamedDataFormat(int index);
// Finds a format by name, whatever its case. Returns an Error.
QOR_TEXSMITH_API int makeDataFormat(Vex::DataFormat* destination, const char* source,
                                    Configuration* configuration);

} // namespace qor::Texsmith::Raw
