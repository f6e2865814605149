#include "raw/texels/generic_codec.h"

#include "raw/texels/lanes.h"

#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

struct RowLanes {
    Lane m_lanes[4];
    explicit RowLanes(const SurfaceFormatInfo& row) : m_lanes{{row, 0}, {row, 1}, {row, 2}, {row, 3}} {}
};

using LaneConversion = std::uint32_t (*)(std::uint32_t value, const Lane& lane);

template <LaneConversion kConvert> void convertTexel(RawTexel* texel, const RowLanes& lanes) {
    for (unsigned lane = 0; lane < 4; ++lane) {
        texel->m_lanes[lane] = kConvert(texel->m_lanes[lane], lanes.m_lanes[lane]);
    }
}

template <LaneConversion kConvert>
void decodeRun(VectorFloat* destination, const void* source, const SurfaceFormatInfo& row, int count) {
    const RowLanes lanes(row);
    const auto* at = static_cast<const std::uint8_t*>(source);
    for (int i = 0; i < count; ++i, at += row.bytesPerElement) {
        RawTexel texel;
        std::memcpy(&texel, &destination[i], sizeof texel);
        unpackTexel(&texel, at, row);
        convertTexel<kConvert>(&texel, lanes);
        std::memcpy(&destination[i], &texel, sizeof texel);
    }
}

template <LaneConversion kConvert>
void encodeRun(void* destination, const VectorFloat* source, const SurfaceFormatInfo& row, int count) {
    const RowLanes lanes(row);
    auto* at = static_cast<std::uint8_t*>(destination);
    for (int i = 0; i < count; ++i, at += row.bytesPerElement) {
        RawTexel texel;
        std::memcpy(&texel, &source[i], sizeof texel);
        convertTexel<kConvert>(&texel, lanes);
        packTexel(at, texel, row);
    }
}

std::uint32_t maskOf(const SurfaceFormatInfo& row, unsigned channel) {
    return static_cast<std::uint32_t>((1ull << row.bitsPerChannel[channel]) - 1);
}

// By channel type.
using DecodeRow = void (*)(VectorFloat*, const void*, const SurfaceFormatInfo&, int);
constexpr DecodeRow kDecoders[16] = {
    &decodeRun<DecodeLane::asUNorm>,       &decodeRun<DecodeLane::asSNorm>,
    &decodeRun<DecodeLane::asUScaled>,     &decodeRun<DecodeLane::asSScaled>,
    &decodeRun<DecodeLane::asUInt>,        &decodeRun<DecodeLane::asSInt>,
    &decodeRun<DecodeLane::asSNormNoZero>, &decodeRun<DecodeLane::asFloat>,
    &decodeRun<DecodeLane::asZero>,        &decodeRun<DecodeLane::asSrgb>,
    &decodeRun<DecodeLane::asUBNorm>,      &decodeRun<DecodeLane::asUBNormNoZero>,
    &decodeRun<DecodeLane::asUBInt>,       &decodeRun<DecodeLane::asUBScaled>,
    &decodeRun<DecodeLane::asZero>,        &decodeRun<DecodeLane::asZero>};

using EncodeRow = void (*)(void*, const VectorFloat*, const SurfaceFormatInfo&, int);
constexpr EncodeRow kEncoders[16] = {
    &encodeRun<EncodeLane::asUNorm>,       &encodeRun<EncodeLane::asSNorm>,
    &encodeRun<EncodeLane::asUScaled>,     &encodeRun<EncodeLane::asSScaled>,
    &encodeRun<EncodeLane::asUInt>,        &encodeRun<EncodeLane::asSInt>,
    &encodeRun<EncodeLane::asSNormNoZero>, &encodeRun<EncodeLane::asFloat>,
    &encodeRun<EncodeLane::asZero>,        &encodeRun<EncodeLane::asSrgb>,
    &encodeRun<EncodeLane::asUBNorm>,      &encodeRun<EncodeLane::asUBNormNoZero>,
    &encodeRun<EncodeLane::asUBInt>,       &encodeRun<EncodeLane::asUBScaled>,
    &encodeRun<EncodeLane::asZero>,        &encodeRun<EncodeLane::asZero>};

} // namespace

// No channel straddles a 32-bit word. Lanes above the channels are left alone.
void unpackTexel(RawTexel* texel, const void* source, const SurfaceFormatInfo& row) {
    std::uint32_t words[4] = {};
    std::memcpy(words, source, row.bytesPerElement);
    for (unsigned channel = 0; channel < row.channels; ++channel) {
        const unsigned shift = row.channelShift[channel];
        texel->m_lanes[channel] = words[shift / 32] >> shift % 32 & maskOf(row, channel);
    }
}

void packTexel(void* destination, const RawTexel& texel, const SurfaceFormatInfo& row) {
    std::uint32_t words[4] = {};
    for (unsigned channel = 0; channel < row.channels; ++channel) {
        const unsigned shift = row.channelShift[channel];
        words[shift / 32] |= (texel.m_lanes[channel] & maskOf(row, channel)) << shift % 32;
    }
    std::memcpy(destination, words, row.bytesPerElement);
}

void genericDecode(VectorFloat* destination, const void* source, const SurfaceFormatInfo& row,
                   Vex::TextureChannelType channelType, int count) {
    kDecoders[channelType & 15](destination, source, row, count);
}

void genericEncode(void* destination, const VectorFloat* source, const SurfaceFormatInfo& row,
                   Vex::TextureChannelType channelType, int count) {
    kEncoders[channelType & 15](destination, source, row, count);
}

} // namespace qor::Texsmith::Raw
