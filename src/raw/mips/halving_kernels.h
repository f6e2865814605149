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
// Each slice is (a + b) + (c + d).
HalveTexels halveTexelsKernel(TexelKind kind, bool isVolume);
// The four texels one after the other, as windows of any size are summed up.
HalveTexels halveTexelsInOrderKernel(TexelKind kind);

// The same for counts that are multiples of kBytesStep. Null where the build has none.
inline constexpr std::size_t kBytesStep = 4;
HalveBytes halveBytesKernelSse2(bool isVolume, bool isSigned);

} // namespace qor::Texsmith::Raw
