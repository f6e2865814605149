// Blocks decoded one at a time, and single pixels to and from any format, for the classic interface.
#include "qor/texsmith/block_compression.h"

#include "raw/blocks/bc6_decoder.h"
#include "raw/blocks/bc7_decoder.h"
#include "raw/blocks/block_decoders.h"
#include "raw/frame/check.h"

#include <cstring>

namespace qor::Texsmith {
namespace {

constexpr char kSourcePath[] = "block_compression";

constexpr unsigned kBytesOfTexels = 64;
constexpr float kUnsignedScale = 0.003921569f, kSignedScale = 0.007874016f;
constexpr float kDefaultBc6Quality = 1.0f;

using Raw::checkNotNull;

template <void (*kDecode)(std::uint8_t* destination, const std::uint8_t* source)>
void decodeToBytes(void* decompressedData, const std::uint8_t* compressedData, const CpuBlockDecoder&) {
    kDecode(static_cast<std::uint8_t*>(decompressedData), compressedData);
}

template <void (*kDecode)(ColorRGBA32F* destination, const std::uint8_t* source, bool isSigned)>
void decodeToFloats(void* decompressedData, const std::uint8_t* compressedData,
                    const CpuBlockDecoder& decoder) {
    kDecode(static_cast<ColorRGBA32F*>(decompressedData), compressedData, decoder.m_isSigned);
}

struct Decoder {
    CpuBlockDecoder::OutputType m_outputType;
    CpuBlockDecoder::Decode m_decode;
};

// From BC1 on.
constexpr Decoder kDecoders[] = {
    {CpuBlockDecoder::kOutputTypeBytes, &decodeToBytes<&Raw::decodeBc1>},
    {CpuBlockDecoder::kOutputTypeBytes, &decodeToBytes<&Raw::decodeBc2>},
    {CpuBlockDecoder::kOutputTypeBytes, &decodeToBytes<&Raw::decodeBc3>},
    {CpuBlockDecoder::kOutputTypeFloats, &decodeToFloats<&Raw::decodeBc4>},
    {CpuBlockDecoder::kOutputTypeFloats, &decodeToFloats<&Raw::decodeBc5>},
    {CpuBlockDecoder::kOutputTypeFloats, &decodeToFloats<&Raw::decodeBc6>},
    {CpuBlockDecoder::kOutputTypeBytes, &decodeToBytes<&Raw::decodeBc7Block>},
};
constexpr Decoder kNoDecoder = {CpuBlockDecoder::kOutputTypeFloats, nullptr};

float clampTo(float value, float low, float high) { return value < low ? low : value > high ? high : value; }

float fromUnsignedByte(std::uint8_t byte) {
    return clampTo(static_cast<float>(byte) * kUnsignedScale, 0.0f, 1.0f);
}
float fromSignedByte(std::uint8_t byte) {
    return clampTo(static_cast<float>(static_cast<std::int8_t>(byte)) * kSignedScale, -1.0f, 1.0f);
}
float fromRemappedByte(std::uint8_t byte) {
    const float value = static_cast<float>(static_cast<std::int8_t>(byte)) * kSignedScale;
    return clampTo((value + 1.0f) * 0.5f, 0.0f, 1.0f);
}

void bytesToFloats(ColorRGBA32F* output, const std::uint8_t* bytes, float (*convert)(std::uint8_t byte)) {
    for (unsigned texel = 0; texel < kBytesOfTexels / 4; ++texel, bytes += 4) {
        output[texel] = {convert(bytes[0]), convert(bytes[1]), convert(bytes[2]), convert(bytes[3])};
    }
}

} // namespace

CpuBlockDecoder::CpuBlockDecoder(DataFormat format)
    : m_formatIndex(format.getSurfaceFormat() - Vex::kSurfaceFormatBc1),
      m_bytesPerBlock(format.getBitsPerElement() * 2),
      m_isSigned(format.getTextureChannelType() == Vex::kTextureChannelTypeSNorm) {
    const bool isBlockFormat = format.isBlockCompressedFormat();
    if (!isBlockFormat) {
        toolsAssert(kSourcePath, __LINE__,
                    "Only BC formats are allowed. Format's surface format passed is: 0x%X!!!.",
                    static_cast<unsigned>(format.getSurfaceFormat()));
    }
    Raw::Texture texture;
    texture.setDataFormat(format);
    m_configuration.setTexture(&texture);
    m_configuration.m_bc6Quality.setFromQuality(kDefaultBc6Quality);
    m_configuration.m_bc6Quality.reservedCount = m_isSigned ? 1 : 0; // the word that tells of signed formats
    const Decoder& decoder = isBlockFormat ? kDecoders[m_formatIndex] : kNoDecoder;
    m_outputType = decoder.m_outputType;
    m_decode = decoder.m_decode;
}

const std::uint8_t* CpuBlockDecoder::decode(void* decompressedData,
                                            const std::uint8_t* compressedData) const {
    const auto decodeBlock = m_decode;
    bool holds = decodeBlock != nullptr;
    if (!holds) {
        toolsAssert(kSourcePath, __LINE__, " CpuBlockDecoder is not initialized.");
    }
    holds &= checkNotNull(compressedData, kSourcePath, "compressedData  pointer is NULL.");
    holds &= checkNotNull(decompressedData, kSourcePath, "decompressedData  pointer is NULL.");
    if (!holds) {
        return nullptr;
    }
    decodeBlock(decompressedData, compressedData, *this);
    return compressedData + m_bytesPerBlock;
}

const std::uint8_t* blockDecompress(ColorRGBA32F* output, const std::uint8_t* compressedData,
                                    CpuBlockDecoder* decoder, bool remapSigned) {
    if (!checkNotNull(decoder, kSourcePath, "decoder must not be NULL.")) {
        return nullptr;
    }
    if (decoder->m_outputType == CpuBlockDecoder::kOutputTypeFloats) {
        return decoder->decode(output, compressedData);
    }
    if (decoder->m_outputType != CpuBlockDecoder::kOutputTypeBytes) {
        toolsAssert(kSourcePath, __LINE__, "Invalid/unsupported output format %i",
                    static_cast<int>(decoder->m_outputType));
        return nullptr;
    }
    std::uint8_t bytes[kBytesOfTexels];
    const std::uint8_t* next = decoder->decode(output == nullptr ? nullptr : bytes, compressedData);
    if (next != nullptr) {
        bytesToFloats(output, bytes,
                      !decoder->m_isSigned ? &fromUnsignedByte
                      : remapSigned        ? &fromRemappedByte
                                           : &fromSignedByte);
    }
    return next;
}

} // namespace qor::Texsmith
