#include "raw/planes/plane_kernels.h"

#if defined(__AVX2__)

#    include "raw/planes/plane_kernels_lanes.h"
#    include "simd/float8_avx2.h"

namespace qor::Texsmith::Raw {
namespace {

using namespace Simd::Avx2;

struct EightLanes {
    using Float = Float8;
    using Int = Int8;
    static constexpr std::size_t kLanes = 8;

    static Int ints(std::uint32_t value) { return splat(value); }
    static Float floats(float value) { return splat(value); }
    static Int load(const void* source) { return loadInts(source); }
    static auto count(unsigned bits) { return shiftCount(bits); }
    template <int kBits> static Int shiftLeftBy(Int a) { return shiftLeft<kBits>(a); }
    template <int kBits> static Int shiftRightBy(Int a) { return shiftRight<kBits>(a); }
};

__m128i loadHalf(const void* source) { return _mm_loadu_si128(static_cast<const __m128i*>(source)); }

// Eight lanes of 16 bits, in order.
__m128i toPairs(const std::uint32_t* words) {
    const __m256i lanes = loadInts(words).m_lanes;
    return _mm_packus_epi32(_mm256_castsi256_si128(lanes), _mm256_extracti128_si256(lanes, 1));
}

void gatherBytes(std::uint32_t* words, const void* source, std::size_t count) {
    const auto* from = static_cast<const std::uint8_t*>(source);
    for (std::size_t i = 0; i < count; i += 8) {
        const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from + i));
        store(words + i, Int8{_mm256_cvtepu8_epi32(bytes)});
    }
}

void scatterBytes(void* destination, const std::uint32_t* words, std::size_t count) {
    auto* to = static_cast<std::uint8_t*>(destination);
    for (std::size_t i = 0; i < count; i += 8) {
        const __m128i pairs = toPairs(words + i);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(to + i), _mm_packus_epi16(pairs, pairs));
    }
}

void gatherPairs(std::uint32_t* words, const void* source, std::size_t count) {
    const auto* from = static_cast<const std::uint8_t*>(source);
    for (std::size_t i = 0; i < count; i += 8) {
        store(words + i, Int8{_mm256_cvtepu16_epi32(loadHalf(from + 2 * i))});
    }
}

void scatterPairs(void* destination, const std::uint32_t* words, std::size_t count) {
    auto* to = static_cast<std::uint8_t*>(destination);
    for (std::size_t i = 0; i < count; i += 8) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + 2 * i), toPairs(words + i));
    }
}

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

void gatherFours(std::uint32_t* words, const void* source, std::size_t count) {
    const auto* from = static_cast<const std::uint8_t*>(source);
    for (std::size_t i = 0; i < count; i += 8, from += 128) {
        Float8 rows[4] = {loadHalves(from, from + 64), loadHalves(from + 16, from + 80),
                          loadHalves(from + 32, from + 96), loadHalves(from + 48, from + 112)};
        transpose(rows);
        for (unsigned word = 0; word < 4; ++word) {
            store(&words[word * kPlaneTexels + i], rows[word]);
        }
    }
}

void scatterFours(void* destination, const std::uint32_t* words, std::size_t count) {
    auto* to = static_cast<float*>(destination);
    for (std::size_t i = 0; i < count; i += 8, to += 32) {
        Float8 rows[4];
        for (unsigned word = 0; word < 4; ++word) {
            rows[word] = loadFloats(&words[word * kPlaneTexels + i]);
        }
        transpose(rows);
        for (unsigned texel = 0; texel < 4; ++texel) {
            _mm_storeu_ps(to + 4 * texel, _mm256_castps256_ps128(rows[texel].m_lanes));
            _mm_storeu_ps(to + 4 * texel + 16, _mm256_extractf128_ps(rows[texel].m_lanes, 1));
        }
    }
}

constexpr PlaneKernels makeWideKernels() {
    PlaneKernels kernels = Planes::makeKernels<EightLanes>();
    kernels.m_gather[1] = &gatherBytes;
    kernels.m_gather[2] = &gatherPairs;
    kernels.m_gather[8] = &gatherTwos;
    kernels.m_gather[16] = &gatherFours;
    kernels.m_scatter[1] = &scatterBytes;
    kernels.m_scatter[2] = &scatterPairs;
    kernels.m_scatter[8] = &scatterTwos;
    kernels.m_scatter[16] = &scatterFours;
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
