// Means of squares of 2 x 2 texels, or of cubes of 2 x 2 x 2.
//
// A kernel makes `count` texels of a row from the rows above which it lies: two of them, or the two of the
// first slice and the two of the second.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qor::Texsmith::Raw {

// Texels of four bytes. The slices are averaged first, then the rows, then the columns, rounding up each
// time.
using HalveBytes = void (*)(std::uint8_t* destination, const std::uint8_t* const* rows, std::size_t count);
// How the rows hold their texels.
enum class TexelKind {
    kFloats,      // four of them
    kSrgb,        // bytes red, green, blue and a linear alpha
    kSrgbSwapped, // blue, green, red, alpha
};
// To texels of four floats.
using HalveTexels = void (*)(float* destination, const void* const* rows, std::size_t count);

HalveBytes halveBytesKernel(bool isVolume, bool isSigned);
// Texels of four bytes, three of which are colours in sRGB: from two rows, what halveTexelsKernel or
// halveTexelsInOrderKernel and then the encoder of sRGB give. Quick where bytes lie near their neighbours;
// tells for how many colours they do not. Null where the build has none.
using HalveSrgb = std::size_t (*)(std::uint8_t* destination, const std::uint8_t* const* rows,
                                  std::size_t count);
HalveSrgb halveSrgbKernel(bool isInOrder);
// Each slice is (a + b) + (c + d).
HalveTexels halveTexelsKernel(TexelKind kind, bool isVolume);
// The four texels one after the other, as windows of any size are summed up.
HalveTexels halveTexelsInOrderKernel(TexelKind kind);

// The same for counts that are multiples of kBytesStep. Null where the build has none.
inline constexpr std::size_t kBytesStep = 4;
HalveBytes halveBytesKernelSse2(bool isVolume, bool isSigned);
// And of texels of floats, for multiples of kFloatsStep.
inline constexpr std::size_t kFloatsStep = 2;
HalveTexels halveFloatsKernelAvx2(bool isVolume);
// Two rows' plain means of bytes, and the places in `apart` where a colour's bytes are so far apart that they
// do not tell its mean as light. Returns how many these are, at most 3 * count; there is room for kApartRoom
// more.
using MeanBytes = std::size_t (*)(std::uint8_t* destination, const std::uint8_t* upper,
                                  const std::uint8_t* lower, std::size_t count, std::uint16_t* apart);
inline constexpr std::size_t kApartRoom = 8;
MeanBytes meanBytesKernelSse2();

} // namespace qor::Texsmith::Raw
