// Colours of 5:6:5 bits, red on top, as the endpoints of BC1 hold them.
#pragma once

#include "qor/texsmith/raw/vector_math.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

// To the nearest level. Below 0 and a NaN give 0, above 1 gives the highest level.
inline std::uint32_t toLevel(float value, float levels) {
    const float scaled = (value > 0.0f ? value : 0.0f) * levels + 0.5f;
    return static_cast<std::uint32_t>(scaled < levels ? scaled : levels);
}

inline std::uint32_t floatToRgb565(const ColorRGBA32F& colour) {
    return toLevel(colour.r, 31.0f) << 11 | toLevel(colour.g, 63.0f) << 5 | toLevel(colour.b, 31.0f);
}

inline float byteToFloat(std::uint32_t byte) {
    const float value = static_cast<float>(byte) * 0.003921569f;
    return value < 1.0f ? value : 1.0f;
}

// By bit replication to 8 bits; alpha is 1.
inline ColorRGBA32F rgb565ToFloat(std::uint32_t word) {
    const std::uint32_t r = word >> 11 & 31, g = word >> 5 & 63, b = word & 31;
    return {byteToFloat(r << 3 | r >> 2), byteToFloat(g << 2 | g >> 4), byteToFloat(b << 3 | b >> 2), 1.0f};
}

} // namespace qor::Texsmith::Raw
