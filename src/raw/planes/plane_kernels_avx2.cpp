// The kernels of planes for AVX2, over eight lanes.
#include "raw/planes/plane_kernels.h"

#if defined(__AVX2__)

#    include "raw/planes/plane_kernels_lanes.h"
#    include "simd/lanes8_avx2.h"

namespace qor::Texsmith::Raw {
namespace {

using namespace Simd::Avx2;

void gatherTwos(std::uint32_t* words, const void* source, std::size_t count) {
    constexpr int kEven = 0x88, kOdd = 0xDD, kInOrder = 0xD8;
    const auto* from = static_cast<const std::uint8_t*>(source);
    for (std::size_t i = 0; i < count; i += 8, from += 64) {
        const __m256 a = loadFloats(from).m_lanes, b = loadFloats(from + 32).m_lanes;
        const __m256i even = _mm256_castps_si256(_mm256_shuffle_ps(a, b, kEven));
        const __m256i odd = _mm256_castps_si256(_mm256_shuffle_ps(a, b, kOdd));
        store(words + i, Int8{_mm256_permute4x64_epi64(even, kInOrder)});
        store(words + kPlaneTexels + i, Int8{_mm256_permute4x64_epi64(odd, kInOrder)});
    }
}

void scatterTwos(void* destination, const std::uint32_t* words, std::size_t count) {
    auto* to = static_cast<std::uint8_t*>(destination);
    for (std::size_t i = 0; i < count; i += 8, to += 64) {
        const __m256i a = loadInts(words + i).m_lanes, b = loadInts(words + kPlaneTexels + i).m_lanes;
        const __m256i low = _mm256_unpacklo_epi32(a, b), high = _mm256_unpackhi_epi32(a, b);
        store(to, Int8{_mm256_permute2x128_si256(low, high, 0x20)});
        store(to + 32, Int8{_mm256_permute2x128_si256(low, high, 0x31)});
    }
}

constexpr PlaneKernels makeWideKernels() {
    PlaneKernels kernels = Planes::makeKernels<Lanes8>();
    kernels.m_gather[8] = &gatherTwos;
    kernels.m_scatter[8] = &scatterTwos;
    return kernels;
}

constinit const PlaneKernels g_wideKernels = makeWideKernels();

} // namespace

const PlaneKernels* getPlaneKernelsAvx2() { return &g_wideKernels; }

} // namespace qor::Texsmith::Raw

#else

namespace qor::Texsmith::Raw {

const PlaneKernels* getPlaneKernelsAvx2() { return nullptr; }

} // namespace qor::Texsmith::Raw

#endif
