// The entry points of the block encoders: alpha and colour halves, the settings, and runs of blocks.
#include "raw/blocks/block_encoders.h"

#include "raw/blocks/bc1_group.h"
#include "raw/blocks/bc1_punch_through.h"
#include "raw/blocks/bc4_encoder.h"
#include "raw/blocks/bc6_encoder.h"
#include "raw/blocks/bc7_encoder.h"
#include "raw/blocks/block_alpha.h"
#include "raw/blocks/block_preparation.h"
#include "raw/blocks/block_runs.h"
#include "raw/configuration/external_compressor.h"
#include "raw/texels/sides.h"
#include "raw/texels/table_functions.h"
#include "raw/texels/texture_format.h"

#include <algorithm>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

constexpr float kAlphaThreshold = 0.5f;
constexpr std::size_t kColourAt = 8; // behind the alpha half

ExternalEncode externalBc1(const EncoderConfiguration& configuration) {
    const ExternalCompressor* table = configuration.m_externalCompressor;
    return table != nullptr ? table->m_encodeBc1 : nullptr;
}

ExternalEncode externalBc3(const EncoderConfiguration& configuration) {
    const ExternalCompressor* table = configuration.m_externalCompressor;
    return table != nullptr ? table->m_encodeBc3 : nullptr;
}

bool hasExternalBc7(const EncoderConfiguration& configuration) {
    const ExternalCompressor* table = configuration.m_externalCompressor;
    return table != nullptr && table->m_encodeBc7 != nullptr && configuration.m_externalProfile != nullptr;
}

// Texels of four bytes with the configuration's channel type.
Block8 toBytes(const ColorRGBA32F* block, const EncoderConfiguration& configuration) {
    const Vex::DataFormat format = formatOf(&configuration).withSurfaceFormat(Vex::kSurfaceFormat8_8_8_8);
    VectorFloat texels[kTexelsPerBlock];
    std::memcpy(texels, block, sizeof texels);
    Block8 bytes;
    packedEncodeTexels(&bytes, texels, &format, kTexelsPerBlock);
    return bytes;
}

ExternalSurface surfaceOf(const Block8& bytes) { return {bytes.m_texels[0], 4, 4, 16}; }

void encodeOutside(ExternalEncode encode, std::uint8_t* destination, const ColorRGBA32F* block,
                   const EncoderConfiguration& configuration, bool keepsAlpha) {
    Block8 bytes = toBytes(block, configuration);
    for (auto& texel : bytes.m_texels) {
        texel[3] = keepsAlpha ? texel[3] : 0xFF;
    }
    const ExternalSurface surface = surfaceOf(bytes);
    encode(&surface, destination);
}

void prepare(ColorRGBA32F* output, const ColorRGBA32F* source, const EncoderConfiguration& configuration,
             unsigned blockCount) {
    prepareBlockForEncoding(output, source, formatOf(&configuration).getTextureChannelType(), blockCount);
}

// At the efforts that search long, single blocks take the same way as runs of them.
void encodeOneColour(std::uint8_t* destination, const ColorRGBA32F* prepared,
                     const EncoderConfiguration& configuration) {
    encodeBc1Blocks(destination, 8, prepared, 1, configuration.m_effort);
}

void encodeColourHalf(std::uint8_t* destination, const ColorRGBA32F* block,
                      const EncoderConfiguration& configuration) {
    if (const ExternalEncode encode = externalBc1(configuration); encode != nullptr) {
        encodeOutside(encode, destination, block, configuration, false);
        return;
    }
    ColorRGBA32F prepared[kTexelsPerBlock];
    prepare(prepared, block, configuration, 1);
    encodeOneColour(destination, prepared, configuration);
}

// Toward zero, into 64 bits; what does not fit and a NaN give the least number, as in the processor.
std::int64_t truncateToInt64(float value) {
    constexpr float kLimit = 9223372036854775808.0f;
    return value >= -kLimit && value < kLimit ? static_cast<std::int64_t>(value) : INT64_MIN;
}

// Texels come here without having been clamped, deliberately: of a value out of range the low four bits stay.
void encodeUnpreparedBc2Alpha(std::uint8_t* destination, const ColorRGBA32F* block) {
    std::uint64_t packed = 0;
    for (unsigned texel = 0; texel < kTexelsPerBlock; ++texel) {
        const std::int64_t value = truncateToInt64(block[texel].a * 15.0f + 0.5f);
        packed |= (static_cast<std::uint64_t>(value) & 15) << 4 * texel;
    }
    std::memcpy(destination, &packed, sizeof packed);
}

// Runs are cut into groups that fit the stack, of a multiple of the eight blocks that the widest kernel
// takes.
constexpr std::size_t kRunBlocks = 16;
// BC7 and BC1 with transparency sort the blocks of a run first, and want enough of each kind to fill the
// lanes.
constexpr std::size_t kSortedBlocks = 64;

using EncodeGroup = void (*)(std::uint8_t* destination, const ColorRGBA32F* source,
                             const EncoderConfiguration& configuration, unsigned count);

template <EncodeGroup kEncode, std::size_t kBlockBytes, std::size_t kGroup = kRunBlocks>
void encodeByGroups(std::uint8_t* destination, const ColorRGBA32F* source,
                    const EncoderConfiguration& configuration, std::size_t count) {
    for (std::size_t block = 0; block < count; block += kGroup) {
        kEncode(destination + block * kBlockBytes, source + block * kTexelsPerBlock, configuration,
                static_cast<unsigned>(std::min(kGroup, count - block)));
    }
}

using EncodeBlock = void (*)(std::uint8_t* destination, const ColorRGBA32F* source,
                             const EncoderConfiguration& configuration);

template <EncodeBlock kEncode, std::size_t kBlockBytes>
void encodeOneByOne(std::uint8_t* destination, const ColorRGBA32F* source,
                    const EncoderConfiguration& configuration, std::size_t count) {
    for (std::size_t block = 0; block < count; ++block) {
        kEncode(destination + block * kBlockBytes, source + block * kTexelsPerBlock, configuration);
    }
}

void encodeOneBc1Block(std::uint8_t* destination, const ColorRGBA32F* source,
                       const EncoderConfiguration& configuration) {
    encodeBc1Block(destination, source, configuration, 1);
}

void encodeBc1Prepared(std::uint8_t* destination, const ColorRGBA32F* source,
                       const EncoderConfiguration& configuration, unsigned count) {
    ColorRGBA32F texels[kRunBlocks * kTexelsPerBlock];
    prepare(texels, source, configuration, count);
    encodeBc1Blocks(destination, 8, texels, count, configuration.m_effort);
}

void encodePunchThroughPrepared(std::uint8_t* destination, const ColorRGBA32F* source,
                                const EncoderConfiguration& configuration, unsigned count) {
    ColorRGBA32F texels[kSortedBlocks * kTexelsPerBlock];
    prepare(texels, source, configuration, count);
    encodeBc1PunchThroughBlocks(destination, texels, count, kAlphaThreshold);
}

void encodeBc1Run(std::uint8_t* destination, const ColorRGBA32F* source,
                  const EncoderConfiguration& configuration, std::size_t count) {
    if (externalBc1(configuration) != nullptr) {
        encodeOneByOne<&encodeOneBc1Block, 8>(destination, source, configuration, count);
    } else if (configuration.m_formatUsesChannelW) {
        encodeByGroups<&encodePunchThroughPrepared, 8, kSortedBlocks>(destination, source, configuration,
                                                                      count);
    } else {
        encodeByGroups<&encodeBc1Prepared, 8>(destination, source, configuration, count);
    }
}

void encodeBc2Group(std::uint8_t* destination, const ColorRGBA32F* source,
                    const EncoderConfiguration& configuration, unsigned count) {
    ColorRGBA32F texels[kRunBlocks * kTexelsPerBlock];
    prepare(texels, source, configuration, count);
    encodeBc1Blocks(destination + kColourAt, 16, texels, count, configuration.m_effort);
    for (unsigned block = 0; block < count; ++block) {
        encodeUnpreparedBc2Alpha(destination + block * 16, source + block * kTexelsPerBlock);
    }
}

void encodeBc2Run(std::uint8_t* destination, const ColorRGBA32F* source,
                  const EncoderConfiguration& configuration, std::size_t count) {
    if (externalBc1(configuration) != nullptr) {
        encodeOneByOne<&encodeBc2Block, 16>(destination, source, configuration, count);
    } else {
        encodeByGroups<&encodeBc2Group, 16>(destination, source, configuration, count);
    }
}

// Prepared twice, as in encodeBc3Block.
void encodeBc3Group(std::uint8_t* destination, const ColorRGBA32F* source,
                    const EncoderConfiguration& configuration, unsigned count) {
    ColorRGBA32F texels[kRunBlocks * kTexelsPerBlock];
    prepare(texels, source, configuration, count);
    encodeBc3AlphaBlocks(destination, 16, texels, count);
    if (formatOf(&configuration).getTextureChannelType() == Vex::kTextureChannelTypeSrgb) {
        prepare(texels, texels, configuration, count); // clamping twice changes nothing
    }
    encodeBc1Blocks(destination + kColourAt, 16, texels, count, configuration.m_effort);
}

void encodeBc3Run(std::uint8_t* destination, const ColorRGBA32F* source,
                  const EncoderConfiguration& configuration, std::size_t count) {
    if (externalBc1(configuration) != nullptr || externalBc3(configuration) != nullptr) {
        encodeOneByOne<&encodeBc3Block, 16>(destination, source, configuration, count);
    } else {
        encodeByGroups<&encodeBc3Group, 16>(destination, source, configuration, count);
    }
}

void encodeBc4Run(std::uint8_t* destination, const ColorRGBA32F* source,
                  const EncoderConfiguration& configuration, std::size_t count) {
    encodeBc4Blocks(destination, 8, source, 0, configuration.isSigned(), count, configuration.m_effort);
}

void encodeBc5Run(std::uint8_t* destination, const ColorRGBA32F* source,
                  const EncoderConfiguration& configuration, std::size_t count) {
    for (const unsigned channel : {0u, 1u}) {
        encodeBc4Blocks(destination + 8 * channel, 16, source, channel, configuration.isSigned(), count,
                        configuration.m_effort);
    }
}

void encodeBc7Prepared(std::uint8_t* destination, const ColorRGBA32F* source,
                       const EncoderConfiguration& configuration, unsigned count) {
    ColorRGBA32F prepared[kSortedBlocks * kTexelsPerBlock];
    prepare(prepared, source, configuration, count);
    encodeBc7Blocks(destination, prepared, count, configuration.m_effort);
}

void encodeBc7Run(std::uint8_t* destination, const ColorRGBA32F* source,
                  const EncoderConfiguration& configuration, std::size_t count) {
    if (hasExternalBc7(configuration)) {
        encodeOneByOne<&encodeBc7Block, 16>(destination, source, configuration, count);
        return;
    }
    encodeByGroups<&encodeBc7Prepared, 16, kSortedBlocks>(destination, source, configuration, count);
}

void encodeBc1ByteRun(std::uint8_t* destination, const std::uint8_t* rows, std::size_t pitch,
                      const EncoderConfiguration& configuration, std::size_t count) {
    encodeBc1Rows(destination, 8, rows, pitch, count, configuration.m_effort);
}

void encodePunchThroughByteRun(std::uint8_t* destination, const std::uint8_t* rows, std::size_t pitch,
                               const EncoderConfiguration&, std::size_t count) {
    encodeBc1PunchThroughRows(destination, rows, pitch, count, kAlphaThreshold);
}

void encodeBc3ByteRun(std::uint8_t* destination, const std::uint8_t* rows, std::size_t pitch,
                      const EncoderConfiguration& configuration, std::size_t count) {
    encodeBc3AlphaRows(destination, 16, rows, pitch, count);
    encodeBc1Rows(destination + kColourAt, 16, rows, pitch, count, configuration.m_effort);
}

void encodeBc4ByteRun(std::uint8_t* destination, const std::uint8_t* rows, std::size_t pitch,
                      const EncoderConfiguration& configuration, std::size_t count) {
    encodeBc4Rows(destination, 8, rows, pitch, 0, count, configuration.m_effort);
}

void encodeBc5ByteRun(std::uint8_t* destination, const std::uint8_t* rows, std::size_t pitch,
                      const EncoderConfiguration& configuration, std::size_t count) {
    encodeBc4Rows(destination, 16, rows, pitch, 0, count, configuration.m_effort);
    encodeBc4Rows(destination + 8, 16, rows, pitch, 1, count, configuration.m_effort);
}

} // namespace

void encodeBc1Block(std::uint8_t* destination, const ColorRGBA32F* source,
                    const EncoderConfiguration& configuration, unsigned blockCount) {
    if (const ExternalEncode encode = externalBc1(configuration); encode != nullptr) {
        encodeOutside(encode, destination, source, configuration, configuration.m_formatUsesChannelW);
        return;
    }
    ColorRGBA32F prepared[kMaxBlocksPerGroup * kTexelsPerBlock];
    if (configuration.m_formatUsesChannelW) {
        prepare(prepared, source, configuration, 1);
        encodeBc1PunchThrough(destination, prepared, kAlphaThreshold);
    } else if (blockCount == 1) {
        prepare(prepared, source, configuration, 1);
        encodeOneColour(destination, prepared, configuration);
    } else if (blockCount <= kMaxBlocksPerGroup) {
        prepare(prepared, source, configuration, blockCount);
        encodeBc1Group(destination, prepared, blockCount);
    }
}

void encodeBc2Block(std::uint8_t* destination, const ColorRGBA32F* source,
                    const EncoderConfiguration& configuration) {
    encodeUnpreparedBc2Alpha(destination, source);
    encodeColourHalf(destination + kColourAt, source, configuration);
}

// The colours are deliberately prepared twice: those of sRGB formats are encoded twice.
void encodeBc3Block(std::uint8_t* destination, const ColorRGBA32F* source,
                    const EncoderConfiguration& configuration) {
    if (const ExternalEncode encode = externalBc3(configuration); encode != nullptr) {
        encodeOutside(encode, destination, source, configuration, true);
        return;
    }
    ColorRGBA32F prepared[kTexelsPerBlock];
    prepare(prepared, source, configuration, 1);
    encodeBc3Alpha(destination, prepared);
    encodeColourHalf(destination + kColourAt, prepared, configuration);
}

void encodeBc4Block(std::uint8_t* destination, const ColorRGBA32F* source,
                    const EncoderConfiguration& configuration) {
    encodeBc4Run(destination, source, configuration, 1);
}

void encodeBc5Block(std::uint8_t* destination, const ColorRGBA32F* source,
                    const EncoderConfiguration& configuration) {
    encodeBc5Run(destination, source, configuration, 1);
}

void encodeBc7Block(std::uint8_t* destination, const ColorRGBA32F* source,
                    const EncoderConfiguration& configuration) {
    if (hasExternalBc7(configuration)) {
        const Block8 bytes = toBytes(source, configuration);
        const ExternalSurface surface = surfaceOf(bytes);
        configuration.m_externalCompressor->m_encodeBc7(&surface, destination,
                                                        configuration.m_externalProfile);
        return;
    }
    encodeBc7Prepared(destination, source, configuration, 1);
}

EncodeBlockRun findBlockRunEncoder(Vex::SurfaceFormat format) {
    switch (format) {
    case Vex::kSurfaceFormatBc1:
        return &encodeBc1Run;
    case Vex::kSurfaceFormatBc2:
        return &encodeBc2Run;
    case Vex::kSurfaceFormatBc3:
        return &encodeBc3Run;
    case Vex::kSurfaceFormatBc4:
        return &encodeBc4Run;
    case Vex::kSurfaceFormatBc5:
        return &encodeBc5Run;
    case Vex::kSurfaceFormatBc6:
        return &encodeBc6Blocks;
    case Vex::kSurfaceFormatBc7:
        return &encodeBc7Run;
    default:
        return nullptr;
    }
}

// Of unsigned fractions, whose preparation changes nothing.
ByteRunEncoder findByteRunEncoder(const EncoderConfiguration& configuration) {
    const Vex::DataFormat format = formatOf(&configuration);
    const bool isOutside = externalBc1(configuration) != nullptr || externalBc3(configuration) != nullptr;
    if (format.getTextureChannelType() != Vex::kTextureChannelTypeUNorm) {
        return {nullptr, 0};
    }
    switch (format.getSurfaceFormat()) {
    case Vex::kSurfaceFormatBc1:
        if (configuration.m_formatUsesChannelW) {
            return {isOutside ? nullptr : &encodePunchThroughByteRun, 4};
        }
        return {isOutside ? nullptr : &encodeBc1ByteRun, 3};
    case Vex::kSurfaceFormatBc3:
        return {isOutside ? nullptr : &encodeBc3ByteRun, 4};
    case Vex::kSurfaceFormatBc4:
        return {&encodeBc4ByteRun, 1};
    case Vex::kSurfaceFormatBc5:
        return {&encodeBc5ByteRun, 2};
    default:
        return {nullptr, 0};
    }
}

} // namespace qor::Texsmith::Raw
