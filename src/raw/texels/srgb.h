// The sRGB curves, the same bits on every machine.
#pragma once

#include <array>
#include <cstdint>

namespace qor::Texsmith::Raw {

// Both clamp to 0..1 first; a NaN counts as 0.
float srgbDecode(float encoded);
float srgbEncode(float linear);

// The decoded values of stored bytes: srgbDecode(byte * (1.0f / 255)).
extern const std::array<float, 256> g_srgbDecodedBytes;
// What the graphics hardware gives for a byte: the high half of a float, whose low half is 0. It is up to 0.4
// per cent away from the curve.
extern const std::uint16_t g_hardwareSrgbWords[256];

} // namespace qor::Texsmith::Raw
