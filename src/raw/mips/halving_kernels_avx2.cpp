// The halving of texels of four floats for AVX2: two at a time.
#include "raw/mips/halving_kernels.h"

#if defined(__AVX2__)

#    include "simd/canonical_nan.h"
#    include "simd/lanes8_avx2.h"

namespace qor::Texsmith::Raw {
namespace {

using Simd::Avx2::Float8;
using Simd::Avx2::Lanes8;

// Texel x and the next but one.
Float8 load(const void* row, std::size_t x) {
    const float* texels = static_cast<const float*>(row) + 4 * x;
    return Simd::Avx2::loadHalves(texels, texels + 8);
}

Float8 sumOfSquares(const void* upper, const void* lower, std::size_t x) {
    return (load(upper, 2 * x) + load(upper, 2 * x + 1)) + (load(lower, 2 * x) + load(lower, 2 * x + 1));
}

template <bool kVolume> void halveFloats(float* destination, const void* const* rows, std::size_t count) {
    const Float8 scale = Lanes8::splat(kVolume ? 0.125f : 0.25f);
    for (std::size_t x = 0; x < count; x += kFloatsStep) {
        Float8 sum = sumOfSquares(rows[0], rows[1], x);
        if constexpr (kVolume) {
            sum = sum + sumOfSquares(rows[2], rows[3], x);
        }
        store(destination + 4 * x, Simd::canonical<Lanes8>(sum * scale));
    }
}

} // namespace

HalveTexels halveFloatsKernelAvx2(bool isVolume) { return isVolume ? halveFloats<true> : halveFloats<false>; }

} // namespace qor::Texsmith::Raw

#else

namespace qor::Texsmith::Raw {

HalveTexels halveFloatsKernelAvx2(bool) { return nullptr; }

} // namespace qor::Texsmith::Raw

#endif
