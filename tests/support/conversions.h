// Elements of any format, and their conversion tile by tile, which every other way has to equal to the bit.
#pragma once

#include "raw/texels/area_conversion.h"
#include "support/bit_patterns.h"

#include <cstring>
#include <vector>

namespace TestSupport {

namespace Raw = qor::Texsmith::Raw;
namespace Vex = qor::Vex;

// On the heap, so that the sanitizer sees what is read or written beside them.
using Bytes = std::vector<std::uint8_t>;

inline constexpr std::uint32_t kXyzw = 0xFAC000;

inline unsigned bytesPerElement(Vex::DataFormat format) {
    return Raw::getSurfaceFormatInfo(format.getSurfaceFormat()).bytesPerElement;
}

inline Vex::DataFormat withSwizzle(std::uint32_t word, RandomBits& random) {
    return {random.word() % 4 == 0 ? word | kXyzw : word | (random.word() & 0xFFF000)};
}

inline Raw::Transform noTransform() {
    Raw::Transform transform;
    transform.Init();
    return transform;
}

// A matrix that adds NaNs, denormals and infinities of several lanes.
inline Raw::Transform someTransform(float power = 1) {
    Raw::Transform transform;
    transform.m_multiply = {{{{0.5f, 1, 0, 3}}, {{-1, 2, 0.1f, 0}}, {{0, 0.25f, 1, 7}}, {{1, 0, 1.5f, -1}}}};
    transform.m_add = {{0.25f, -1, 0, 0.5f}};
    transform.m_power = {{power, power, power, power}};
    return transform;
}

inline Raw::TileConversion stepsBetween(Vex::DataFormat from, Vex::DataFormat to,
                                        const Raw::Transform& decode = noTransform(),
                                        const Raw::Transform& encode = noTransform()) {
    Vex::Texture source, destination;
    source.setDataFormat(from);
    destination.setDataFormat(to);
    Raw::DecoderConfiguration decoder;
    Raw::EncoderConfiguration encoder;
    decoder.setTexture(&source);
    encoder.setTexture(&destination);
    decoder.m_transform = decode;
    encoder.m_transform = encode;
    return Raw::TileConversion(decoder, encoder);
}

// All 16-bit words in turn where a channel or an element has that size, floats of all kinds for 32-bit
// channels, and random bits else.
inline Bytes elementsOf(Vex::DataFormat format, std::size_t count, RandomBits& random) {
    const Raw::SurfaceFormatInfo& row = Raw::getSurfaceFormatInfo(format.getSurfaceFormat());
    Bytes elements(count * row.bytesPerElement);
    random.fill(elements.data(), elements.size());
    const bool hasLanes = row.bitsPerChannel[0] == 32;
    const std::size_t step = hasLanes ? 4 : row.bitsPerChannel[0] == 16 || row.bytesPerElement == 2 ? 2 : 0;
    for (std::size_t at = 0; step != 0 && at < elements.size(); at += step) {
        const std::uint32_t word = hasLanes ? random.lane() : static_cast<std::uint16_t>(at / 2 * 0x9E37);
        std::memcpy(&elements[at], &word, step); // the low bytes stand first
    }
    return elements;
}

// By tiles, the last one filled up.
inline Bytes byTiles(const Raw::TileConversion& steps, Bytes elements, std::size_t count) {
    const unsigned from = bytesPerElement(steps.decoder().getTexture()->getDataFormat());
    const unsigned to = bytesPerElement(steps.encoder().getTexture()->getDataFormat());
    const std::size_t tiles = (count + 63) / 64;
    elements.resize(tiles * 64 * from);
    Bytes converted(tiles * 64 * to);
    for (std::size_t tile = 0; tile < tiles; ++tile) {
        steps.convert(&converted[tile * 64 * to], to * 8, &elements[tile * 64 * from], from * 8);
    }
    converted.resize(count * to);
    return converted;
}

} // namespace TestSupport
