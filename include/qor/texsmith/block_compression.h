// The classic way to decode blocks, and single pixels between floats and a format.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/format.h"
#include "qor/texsmith/raw/normalization_policy.h"
#include "qor/texsmith/raw/vector_math.h"
#include "qor/vex/data_format.h"

#include <cstdint>

namespace qor::Texsmith {

using Vex::DataFormat;

// Decodes blocks of one format. Holds no mutable state: one object serves any number of threads.
class QOR_TEXSMITH_API CpuBlockDecoder {
public:
    using Decode = void (*)(void* decompressedData, const std::uint8_t* compressedData,
                            const CpuBlockDecoder& decoder);

    enum OutputType : std::int32_t {
        kOutputTypeFloats = 0, // 16 ColorRGBA32F
        kOutputTypeBytes = 3,  // 16 texels of R, G, B, A bytes
    };

    std::uint32_t m_formatIndex; // 0 = BC1 to 6 = BC7
    std::uint32_t m_bytesPerBlock;
    bool m_isSigned;                           // the channel type is SNorm
    Raw::EncoderConfiguration m_configuration; // of the format; its BC6 settings tell of signed formats too
    std::int32_t m_outputType;                 // an OutputType
    Decode m_decode;                           // null for formats that are not block compressed

    // A format that is not block compressed is reported, and makes a decoder that is not initialized.
    explicit CpuBlockDecoder(DataFormat format);

    // Decodes one block to what m_outputType says, and returns where the next one begins. The lanes of floats
    // that the format lacks stay as they were. Null, after a report, when the decoder is not initialized or a
    // pointer is null.
    const std::uint8_t* decode(void* decompressedData, const std::uint8_t* compressedData) const;
};

// Decodes one block to 16 floats, and returns where the next one begins, or null as decode does.
// `remapSigned` maps signed formats of bytes to 0..1; BC4 and BC5 go by g_normalizationPolicy alone, and BC6
// gives its values as they are. A null decoder is reported as the other null pointers are.
QOR_TEXSMITH_API const std::uint8_t* blockDecompress(ColorRGBA32F* output, const std::uint8_t* compressedData,
                                                     CpuBlockDecoder* decoder, bool remapSigned);

// Encodes single pixels to an uncompressed format, as g_normalizationPolicy said when the object was made.
// Under 0 the pixel is normalised, and signed formats store v * 2 - 1; under 1 values pass as they are, and
// integers are rounded. Formats without texels, and any other policy, encode nothing.
class QOR_TEXSMITH_API PixelEncoder {
public:
    using Encode = void (*)(const PixelEncoder& code, void* destination, const VectorFloat& pixel);

    DataFormat m_format; // with the channel type that the policy makes of it
    Raw::SurfaceFormatInfo m_info;
    Encode m_encode;

    explicit PixelEncoder(DataFormat format);
    void encode(void* destination, const VectorFloat& pixel) const;
};

// The way back. Gives zeros where the encoder encodes nothing.
class QOR_TEXSMITH_API PixelDecoder {
public:
    using Decode = VectorFloat (*)(const PixelDecoder& code, const void* source);

    DataFormat m_format;
    Raw::SurfaceFormatInfo m_info;
    Decode m_decode;

    explicit PixelDecoder(DataFormat format);
    VectorFloat decode(const void* source) const;
};

} // namespace qor::Texsmith
