// The table of surface formats, made at compile time.
#include "qor/texsmith/raw/format.h"

#include "qor/texsmith/tools_assert.h"
#include "raw/blocks/table_functions.h"
#include "raw/texels/table_functions.h"
#include "vex/surface_formats.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\format";

using Vex::SurfaceFormat;

template <EncodeTexels kEncode>
void encodeOneTexel(void* destination, const VectorFloat* source, const Vex::DataFormat* format) {
    kEncode(destination, source, format, 1);
}

template <DecodeTexels kDecode>
void decodeOneTexel(VectorFloat* destination, const void* source, const Vex::DataFormat* format) {
    kDecode(destination, source, format, 1);
}

constexpr float unormScaleOf(unsigned bits) {
    return bits == 0 ? 1.0f : static_cast<float>(1.0 / static_cast<double>((1ull << bits) - 1));
}

constexpr float snormScaleOf(unsigned bits) {
    return bits <= 1 ? 1.0f : static_cast<float>(1.0 / static_cast<double>((1ull << (bits - 1)) - 1));
}

// What follows from the widths of the channels.
constexpr SurfaceFormatInfo withWidths(SurfaceFormat format, std::uint8_t x, std::uint8_t y, std::uint8_t z,
                                       std::uint8_t w) {
    SurfaceFormatInfo row = {};
    const std::uint8_t widths[4] = {x, y, z, w};
    unsigned bits = 0;
    row.surfaceFormat = format;
    row.blockWidth = row.blockHeight = 1;
    for (unsigned channel = 0; channel < 4; ++channel) {
        row.bitsPerChannel[channel] = widths[channel];
        row.channels = static_cast<std::uint8_t>(row.channels + (widths[channel] != 0 ? 1 : 0));
        row.channelShift[channel] = static_cast<std::uint8_t>(bits);
        row.unormScale[channel] = unormScaleOf(widths[channel]);
        row.snormScale[channel] = snormScaleOf(widths[channel]);
        bits += widths[channel];
    }
    row.bytesPerElement = static_cast<std::uint8_t>(bits / 8);
    return row;
}

template <EncodeTexels kEncode, DecodeTexels kDecode, DecodeTexels kHardwareDecode>
constexpr SurfaceFormatInfo withTexels(SurfaceFormatInfo row) {
    row.encodeOne = &encodeOneTexel<kEncode>;
    row.decodeOne = &decodeOneTexel<kDecode>;
    row.hardwareDecodeOne = &decodeOneTexel<kHardwareDecode>;
    row.encodeTexels = kEncode;
    row.decodeTexels = kDecode;
    row.hardwareDecodeTexels = kHardwareDecode;
    row.encodeBlock = &encodeBlockByRows;
    row.decodeBlock = &decodeBlockByRows;
    row.hardwareDecodeBlock = &hardwareDecodeBlockByRows;
    row.encodeTile = &encodeTileByRows;
    row.decodeTile = &decodeTileByRows;
    return row;
}

// The codec classes.
constexpr SurfaceFormatInfo packed(SurfaceFormat format, std::uint8_t x, std::uint8_t y = 0,
                                   std::uint8_t z = 0, std::uint8_t w = 0) {
    return withTexels<&packedEncodeTexels, &packedDecodeTexels, &packedHardwareDecodeTexels>(
        withWidths(format, x, y, z, w));
}

constexpr SurfaceFormatInfo packedWithBlock8(SurfaceFormat format, std::uint8_t x, std::uint8_t y,
                                             std::uint8_t z, std::uint8_t w) {
    SurfaceFormatInfo row = packed(format, x, y, z, w);
    row.encodeBlock8 = &copyFromBlock8;
    row.decodeBlock8 = &copyToBlock8;
    return row;
}

constexpr SurfaceFormatInfo packedByBlocks(SurfaceFormat format, std::uint8_t x, std::uint8_t y = 0) {
    SurfaceFormatInfo row = packed(format, x, y);
    row.encodeTile = &encodeTileByBlocks;
    row.decodeTile = &decodeTileByBlocks;
    return row;
}

constexpr SurfaceFormatInfo sharedExponent(SurfaceFormat format, std::uint8_t x, std::uint8_t y,
                                           std::uint8_t z, std::uint8_t w) {
    return withTexels<&sharedExponentEncodeTexels, &sharedExponentDecodeTexels, &sharedExponentDecodeTexels>(
        withWidths(format, x, y, z, w));
}

constexpr SurfaceFormatInfo withoutTexels(SurfaceFormat format) {
    return withTexels<&nullEncodeTexels, &nullDecodeTexels, &nullDecodeTexels>(
        withWidths(format, 0, 0, 0, 0));
}

// Without functions, which come with a format's block codec.
constexpr SurfaceFormatInfo compressed(SurfaceFormat format, std::uint8_t bytes) {
    SurfaceFormatInfo row = withWidths(format, 0, 0, 0, 0);
    row.blockWidth = row.blockHeight = 4;
    row.bytesPerElement = bytes;
    return row;
}

template <SurfaceFormat kFormat> constexpr SurfaceFormatInfo colourBlocks(std::uint8_t bytes) {
    SurfaceFormatInfo row = compressed(kFormat, bytes);
    row.decodeBlock8 = &ColourBlocks<kFormat>::decodeBytes;
    row.decodeBlock = &ColourBlocks<kFormat>::decode;
    row.hardwareDecodeBlock = &ColourBlocks<kFormat>::hardwareDecode;
    row.decodeTile = &decodeTileByBlocks;
    row.encodeBlock8 = &ColourBlocks<kFormat>::encodeBytes;
    row.encodeBlock = &ColourBlocks<kFormat>::encode;
    row.encodeTile = &ColourBlocks<kFormat>::encodeTile;
    return row;
}

template <SurfaceFormat kFormat> constexpr SurfaceFormatInfo channelBlocks(std::uint8_t bytes) {
    SurfaceFormatInfo row = compressed(kFormat, bytes);
    row.decodeBlock = &ChannelBlocks<kFormat>::decode;
    row.hardwareDecodeBlock = &ChannelBlocks<kFormat>::decode;
    row.decodeTile = &decodeTileByBlocks;
    row.encodeBlock = &ChannelBlocks<kFormat>::encode;
    row.encodeTile = &ChannelBlocks<kFormat>::encodeTile;
    return row;
}

constexpr SurfaceFormatInfo kEmpty = {};

} // namespace

// By number: the codec class, the format, then the widths of the channels from the least significant bit on,
// or the bytes of a compressed block.
// clang-format off
constexpr SurfaceFormatInfo g_surfaceFormatInfo[Vex::kSurfaceFormatCount] = {
    /*  0 */ withoutTexels(Vex::kSurfaceFormatInvalid),
    /*  1 */ packed(Vex::kSurfaceFormat8,              8),
    /*  2 */ packed(Vex::kSurfaceFormat16,            16),
    /*  3 */ packed(Vex::kSurfaceFormat8_8,            8,  8),
    /*  4 */ packed(Vex::kSurfaceFormat32,            32),
    /*  5 */ packed(Vex::kSurfaceFormat16_16,         16, 16),
    /*  6 */ packed(Vex::kSurfaceFormat10_11_11,      11, 11, 10),
    /*  7 */ packed(Vex::kSurfaceFormat11_11_10,      10, 11, 11),
    /*  8 */ packed(Vex::kSurfaceFormat10_10_10_2,     2, 10, 10, 10),
    /*  9 */ packed(Vex::kSurfaceFormat2_10_10_10,    10, 10, 10,  2),
    /* 10 */ packedWithBlock8(Vex::kSurfaceFormat8_8_8_8, 8, 8, 8, 8),
    /* 11 */ packed(Vex::kSurfaceFormat32_32,         32, 32),
    /* 12 */ packed(Vex::kSurfaceFormat16_16_16_16,   16, 16, 16, 16),
    /* 13 */ packed(Vex::kSurfaceFormat32_32_32,      32, 32, 32),
    /* 14 */ packed(Vex::kSurfaceFormat32_32_32_32,   32, 32, 32, 32),
    /* 15 */ kEmpty,
    /* 16 */ packed(Vex::kSurfaceFormat5_6_5,          5,  6,  5),
    /* 17 */ packed(Vex::kSurfaceFormat1_5_5_5,        5,  5,  5,  1),
    /* 18 */ packed(Vex::kSurfaceFormat5_5_5_1,        1,  5,  5,  5),
    /* 19 */ packed(Vex::kSurfaceFormat4_4_4_4,        4,  4,  4,  4),
    /* 20 */ packed(Vex::kSurfaceFormat8_24,          24,  8),
    /* 21 */ packed(Vex::kSurfaceFormat24_8,           8, 24),
    /* 22 */ packed(Vex::kSurfaceFormatX24_8_32,      32,  8, 24),
    /* 23 */ kEmpty, kEmpty, kEmpty, kEmpty, kEmpty, kEmpty, kEmpty,
    /* 30 */ kEmpty, kEmpty,
    /* 32 */ kEmpty, // GB_GR
    /* 33 */ kEmpty, // BG_RG
    /* 34 */ sharedExponent(Vex::kSurfaceFormat5_9_9_9, 9, 9, 9, 5),
    /* 35 */ colourBlocks<Vex::kSurfaceFormatBc1>(8),
    /* 36 */ colourBlocks<Vex::kSurfaceFormatBc2>(16),
    /* 37 */ colourBlocks<Vex::kSurfaceFormatBc3>(16),
    /* 38 */ channelBlocks<Vex::kSurfaceFormatBc4>(8),
    /* 39 */ channelBlocks<Vex::kSurfaceFormatBc5>(16),
    /* 40 */ channelBlocks<Vex::kSurfaceFormatBc6>(16),
    /* 41 */ colourBlocks<Vex::kSurfaceFormatBc7>(16),
    /* 42 */ kEmpty, kEmpty,
    /* 44 */ packedByBlocks(Vex::kSurfaceFormatFmask8_S2_F1,   8),
    /* 45 */ packedByBlocks(Vex::kSurfaceFormatFmask8_S4_F1,   8),
    /* 46 */ packedByBlocks(Vex::kSurfaceFormatFmask8_S8_F1,   8),
    /* 47 */ packedByBlocks(Vex::kSurfaceFormatFmask8_S2_F2,   8),
    /* 48 */ packedByBlocks(Vex::kSurfaceFormatFmask8_S4_F2,   8),
    /* 49 */ packedByBlocks(Vex::kSurfaceFormatFmask8_S4_F4,   8),
    /* 50 */ packedByBlocks(Vex::kSurfaceFormatFmask16_S16_F1, 16),
    /* 51 */ packedByBlocks(Vex::kSurfaceFormatFmask16_S8_F2,  16),
    /* 52 */ packedByBlocks(Vex::kSurfaceFormatFmask32_S16_F2, 32),
    /* 53 */ packedByBlocks(Vex::kSurfaceFormatFmask32_S8_F4,  32),
    /* 54 */ packedByBlocks(Vex::kSurfaceFormatFmask32_S8_F8,  32),
    /* 55 */ packedByBlocks(Vex::kSurfaceFormatFmask64_S16_F4, 32, 32),
    /* 56 */ packedByBlocks(Vex::kSurfaceFormatFmask64_S16_F8, 32, 32),
    /* 57 */ packed(Vex::kSurfaceFormat4_4,            4,  4),
    /* 58 */ packed(Vex::kSurfaceFormat6_5_5,          5,  5,  6),
};

constexpr std::uint8_t VexTexture::g_bytesPerElementFromSurfaceFormat[Vex::kSurfaceFormatCount] = {
//   0   1   2   3   4   5   6   7   8   9
     0,  1,  2,  2,  4,  4,  4,  4,  4,  4, //  0
     4,  8,  8, 12, 16,  0,  2,  2,  2,  2, // 10
     4,  4,  8,  0,  0,  0,  0,  0,  0,  0, // 20
     0,  0,  0,  0,  4,  8, 16, 16,  8, 16, // 30
    16, 16,  0,  0,  1,  1,  1,  1,  1,  1, // 40
     2,  2,  4,  4,  4,  8,  8,  1,  2,     // 50
};
// clang-format on

namespace {

constexpr unsigned populatedRows() {
    unsigned rows = 0;
    for (const SurfaceFormatInfo& row : g_surfaceFormatInfo) {
        rows += row.blockWidth != 0 ? 1 : 0;
    }
    return rows;
}

constexpr bool rowsStandAtTheirNumbers() {
    for (unsigned number = 0; number < Vex::kSurfaceFormatCount; ++number) {
        const SurfaceFormatInfo& row = g_surfaceFormatInfo[number];
        if (row.surfaceFormat != (row.blockWidth != 0 ? number : 0)) {
            return false;
        }
    }
    return true;
}

constexpr bool agreesWithTheDescriptorLayer() {
    for (unsigned number = 0; number < Vex::kSurfaceFormatCount; ++number) {
        const SurfaceFormatInfo& row = g_surfaceFormatInfo[number];
        const bool sameChannels =
            Vex::isBlockCompressed(number) || row.channels == Vex::kNumComponents[number];
        if (row.bytesPerElement != Vex::kBytesPerElement[number] || !sameChannels ||
            row.bytesPerElement != VexTexture::g_bytesPerElementFromSurfaceFormat[number]) {
            return false;
        }
    }
    return true;
}

constexpr bool noChannelStraddlesAWord() {
    for (const SurfaceFormatInfo& row : g_surfaceFormatInfo) {
        for (unsigned channel = 0; channel < row.channels; ++channel) {
            if (row.channelShift[channel] % 32 + row.bitsPerChannel[channel] > 32) {
                return false;
            }
        }
    }
    return true;
}

static_assert(populatedRows() == 45);
static_assert(rowsStandAtTheirNumbers());
static_assert(agreesWithTheDescriptorLayer());
static_assert(noChannelStraddlesAWord());

// 1 << shift, the shift taken modulo 64, as in the 64-bit registers that this is cut from.
constexpr std::uint64_t shiftedOne(unsigned shift) { return 1ull << (shift & 63); }

} // namespace

const SurfaceFormatInfo& getSurfaceFormatInfo(Vex::SurfaceFormat surfaceFormat) {
    if (surfaceFormat >= Vex::kSurfaceFormatCount) {
        toolsAssert(kSourcePath, __LINE__,
                    "surfaceFormat must have a valid entry in the g_surfaceFormatInfo table.");
        return g_surfaceFormatInfo[0];
    }
    return g_surfaceFormatInfo[surfaceFormat];
}

std::uint32_t getSurfaceFormatInfos() { return Vex::kSurfaceFormatCount; }

std::uint32_t SurfaceFormatInfo::maxUnormValue(unsigned channel) const {
    return static_cast<std::uint32_t>(shiftedOne(bitsPerChannel[channel & 3]) - 1);
}

int SurfaceFormatInfo::maxSnormValue(unsigned channel) const {
    return static_cast<int>(static_cast<std::uint32_t>(shiftedOne(bitsPerChannel[channel & 3] - 1u) - 1));
}

int SurfaceFormatInfo::minSnormValue(unsigned channel) const {
    return static_cast<int>(static_cast<std::uint32_t>(0 - shiftedOne(bitsPerChannel[channel & 3] - 1u)));
}

void SurfaceFormatInfo::Encode(void* QOR_TEXSMITH_RESTRICT destination,
                               const VectorFloat* QOR_TEXSMITH_RESTRICT source, const Vex::DataFormat* format,
                               int count) const {
    encodeTexels(destination, source, format, count);
}

void SurfaceFormatInfo::Decode(VectorFloat* QOR_TEXSMITH_RESTRICT destination,
                               const void* QOR_TEXSMITH_RESTRICT source, const Vex::DataFormat* format,
                               int count) const {
    decodeTexels(destination, source, format, count);
}

void SurfaceFormatInfo::HardwareDecode(VectorFloat* QOR_TEXSMITH_RESTRICT destination,
                                       const void* QOR_TEXSMITH_RESTRICT source,
                                       const Vex::DataFormat* format, int count) const {
    hardwareDecodeTexels(destination, source, format, count);
}

void SurfaceFormatInfo::Encode(void* QOR_TEXSMITH_RESTRICT destination, unsigned rowPitchInBytes,
                               const Block8* QOR_TEXSMITH_RESTRICT source,
                               const EncoderConfiguration* configuration) const {
    encodeBlock8(destination, rowPitchInBytes, source, configuration);
}

void SurfaceFormatInfo::Encode(void* QOR_TEXSMITH_RESTRICT destination, unsigned rowPitchInBytes,
                               const Block* QOR_TEXSMITH_RESTRICT source,
                               const EncoderConfiguration* configuration) const {
    encodeBlock(destination, rowPitchInBytes, source, configuration);
}

void SurfaceFormatInfo::Encode(void* QOR_TEXSMITH_RESTRICT destination, unsigned rowPitchInBytes,
                               const Tile* QOR_TEXSMITH_RESTRICT source,
                               const EncoderConfiguration* configuration) const {
    encodeTile(destination, rowPitchInBytes, source, configuration);
}

void SurfaceFormatInfo::Decode(Block8* QOR_TEXSMITH_RESTRICT destination,
                               const void* QOR_TEXSMITH_RESTRICT source, unsigned rowPitchInBytes,
                               const DecoderConfiguration* configuration) const {
    decodeBlock8(destination, source, rowPitchInBytes, configuration);
}

void SurfaceFormatInfo::Decode(Block* QOR_TEXSMITH_RESTRICT destination,
                               const void* QOR_TEXSMITH_RESTRICT source, unsigned rowPitchInBytes,
                               const DecoderConfiguration* configuration) const {
    decodeBlock(destination, source, rowPitchInBytes, configuration);
}

void SurfaceFormatInfo::Decode(Tile* QOR_TEXSMITH_RESTRICT destination,
                               const void* QOR_TEXSMITH_RESTRICT source, unsigned rowPitchInBytes,
                               const DecoderConfiguration* configuration) const {
    decodeTile(destination, source, rowPitchInBytes, configuration);
}

void SurfaceFormatInfo::HardwareDecode(Block* QOR_TEXSMITH_RESTRICT destination,
                                       const void* QOR_TEXSMITH_RESTRICT source, unsigned rowPitchInBytes,
                                       const DecoderConfiguration* configuration) const {
    hardwareDecodeBlock(destination, source, rowPitchInBytes, configuration);
}

} // namespace qor::Texsmith::Raw
