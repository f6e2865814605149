// srgbEncode on many numbers at a time, with its bits.
#pragma once

#include <cstddef>

namespace qor::Texsmith::Raw {

// Linear to sRGB, as srgbEncode does it for each. In place is fine.
void srgbEncodeRun(float* destination, const float* source, std::size_t count);

// Texels of four floats: red, green and blue are encoded, alpha is clamped to 0..1 (a NaN counts as 0).
void srgbEncodeTexels(float* destination, const float* source, std::size_t texelCount);

} // namespace qor::Texsmith::Raw
