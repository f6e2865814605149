// The classic way to encode and decode blocks. Single pixels stand in per_pixel_codes.h.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/image.h"
#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/normalization_policy.h"
#include "qor/texsmith/raw/vector_math.h"
#include "qor/vex/data_format.h"

#include <cstddef>
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

// Encodes rows of blocks of a classic picture. Values go to the encoders as the planes hold them, through the
// sRGB curve where the format or the picture's sRGB modes say so. Positions beyond the right or bottom edge
// deliberately repeat the block's first texel.
//
// Holds no mutable state: threads may encode different rows at once. Neither the picture nor the destination
// is owned.
class QOR_TEXSMITH_API CpuBlockEncoder {
public:
    using ReadChannel = float (*)(const float* base, std::size_t index);

    bool m_hasOpacityThreshold; // BC1 of a picture that asks for transparency
    ReadChannel m_readChannel[4];
    const float* m_channelData[4]; // never null: channels without pixels point at a zero
    const Image* m_image;
    std::uint8_t* m_destination;
    std::uint32_t m_formatIndex; // 0 = BC1 to 6 = BC7
    std::uint32_t m_bytesPerBlock;
    bool m_isSigned;
    Raw::EncoderConfiguration m_configuration;
    std::size_t m_channelStride[4]; // floats from one pixel to the next; 0 for constants

    // Another format than BC1 to BC7, and a picture with too few planes, are reported; the first encodes
    // nothing then, the second takes zeros.
    CpuBlockEncoder(std::uint8_t* destination, const Image* image, DataFormat format);

    // Encodes one block, and returns m_bytesPerBlock. An invalid format index is reported, and writes
    // nothing.
    unsigned encode(void* destination, const ColorRGBA32F block[16]) const;
    // Encodes the rows of blocks from `firstBlockRow` to before `endBlockRow`, and returns where they begin.
    std::uint8_t* compressPixels(unsigned firstBlockRow, unsigned endBlockRow) const;
    void encodeRows(unsigned firstBlockRow, unsigned endBlockRow) const {
        compressPixels(firstBlockRow, endBlockRow);
    }
    // The block whose first texel is (x, y), as 16 texels of four floats. Zeros when (x, y) lies outside.
    void GetBlockRGBA(float* out, unsigned x, unsigned y) const;
    unsigned getNumberOfRows() const; // of blocks

private:
    void initChannels(std::uint32_t channelType);
    bool isPacked() const;
    void gatherBlocks(ColorRGBA32F* texels, unsigned x, unsigned y, unsigned count) const;
    void gatherChannel(ColorRGBA32F* texels, unsigned channel, std::size_t pixel, unsigned columns) const;
    void encodeRun(std::uint8_t* destination, const ColorRGBA32F* texels, unsigned count) const;
    void encodeChannels(std::uint8_t* destination, const ColorRGBA32F* texels, unsigned count) const;
};

} // namespace qor::Texsmith
