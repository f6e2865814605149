// The halving of bytes with SSE2.
#include "raw/mips/halving_kernels.h"

#if !defined(TEXSMITH_SCALAR) && (defined(__SSE2__) || defined(_M_X64))

#    include <emmintrin.h>

namespace qor::Texsmith::Raw {
namespace {

template <bool kSigned> __m128i load(const std::uint8_t* source) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source));
    return kSigned ? _mm_xor_si128(bytes, _mm_set1_epi8(-128)) : bytes;
}

// Four texels, their rows and slices averaged.
template <bool kVolume, bool kSigned> __m128i columns(const std::uint8_t* const* rows, std::size_t offset) {
    const auto row = [=](unsigned index) { return load<kSigned>(rows[index] + offset); };
    if constexpr (kVolume) {
        return _mm_avg_epu8(_mm_avg_epu8(row(0), row(2)), _mm_avg_epu8(row(1), row(3)));
    } else {
        return _mm_avg_epu8(row(0), row(1));
    }
}

template <bool kVolume, bool kSigned>
void halveBytes(std::uint8_t* destination, const std::uint8_t* const* rows, std::size_t count) {
    for (std::size_t offset = 0; offset < 4 * count; offset += 16) {
        const __m128 left = _mm_castsi128_ps(columns<kVolume, kSigned>(rows, 2 * offset));
        const __m128 right = _mm_castsi128_ps(columns<kVolume, kSigned>(rows, 2 * offset + 16));
        const __m128i even = _mm_castps_si128(_mm_shuffle_ps(left, right, 0x88));
        const __m128i odd = _mm_castps_si128(_mm_shuffle_ps(left, right, 0xDD));
        const __m128i mean = _mm_avg_epu8(even, odd);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(destination + offset),
                         kSigned ? _mm_xor_si128(mean, _mm_set1_epi8(-128)) : mean);
    }
}

} // namespace

HalveBytes halveBytesKernelSse2(bool isVolume, bool isSigned) {
    if (isVolume) {
        return isSigned ? halveBytes<true, true> : halveBytes<true, false>;
    }
    return isSigned ? halveBytes<false, true> : halveBytes<false, false>;
}

} // namespace qor::Texsmith::Raw

#else

namespace qor::Texsmith::Raw {

HalveBytes halveBytesKernelSse2(bool, bool) { return nullptr; }

} // namespace qor::Texsmith::Raw

#endif
