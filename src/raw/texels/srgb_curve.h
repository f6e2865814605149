// The sRGB curves as constant expressions, for the tables made from them.
#pragma once

#include "raw/texels/exact_power.h"

namespace qor::Texsmith::Raw::SrgbCurve {

constexpr float clampToOne(float x) {
    const float low = x > 1.0f ? 1.0f : x;
    return low > 0.0f ? low : 0.0f;
}

// The limit is not the usual 0.04045: with it the two branches meet.
constexpr float decode(float encoded) {
    const float x = clampToOne(encoded);
    return x <= 0.040448237f ? x / 12.92f : exactPower((x + 0.055f) / 1.055f, 2.4f);
}

constexpr float encode(float linear) {
    const float x = clampToOne(linear);
    return x <= 0.0031306685f ? x * 12.92f : exactPower(x, 0.41666666f) * 1.055f - 0.055f;
}

} // namespace qor::Texsmith::Raw::SrgbCurve
