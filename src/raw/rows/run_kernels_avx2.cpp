#include "raw/rows/run_kernels.h"

#if defined(__AVX2__)
#    include "raw/rows/run_kernels_lanes.h"
#    include "simd/float8_avx2.h"

namespace qor::Texsmith::Raw {
namespace {

template <bool kStreams> struct Eight {
    using Ints = Simd::Avx2::Int8;
    using Floats = Simd::Avx2::Float8;
    static constexpr unsigned kCount = 8;

    static Ints splat(std::uint32_t value) { return Simd::Avx2::splat(value); }
    static Floats splatFloat(float value) { return Simd::Avx2::splat(value); }
    static Ints repeat(const std::uint32_t* lanes) { return {repeatBytes(lanes)}; }
    static Ints gather(const std::uint32_t* table, Ints places) {
        return {_mm256_i32gather_epi32(reinterpret_cast<const int*>(table), places.m_lanes, 4)};
    }

    struct Moves {
        __m256i m_control;
        __m256i m_ones;
    };
    static Moves movesOf(const RunSettings& settings) {
        return {repeatBytes(settings.m_moves.m_control), repeatBytes(settings.m_moves.m_ones)};
    }
    static Ints swizzle(Ints texels, Moves moves) {
        return {_mm256_or_si256(_mm256_shuffle_epi8(texels.m_lanes, moves.m_control), moves.m_ones)};
    }

    static Ints load(const std::uint8_t* source) { return Simd::Avx2::loadInts(source); }
    static Ints loadBytes(const std::uint8_t* source) {
        return {_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(source)))};
    }
    static Ints loadWords(const std::uint8_t* source) {
        return {_mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(source)))};
    }
    static void store(std::uint8_t* destination, Ints lanes) { storeVector(destination, lanes.m_lanes); }
    // The packs work within the halves of a vector.
    static void storeBytes(std::uint8_t* destination, const Ints (&parts)[4]) {
        const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
        const __m256i low = _mm256_packs_epi32(parts[0].m_lanes, parts[1].m_lanes);
        const __m256i high = _mm256_packs_epi32(parts[2].m_lanes, parts[3].m_lanes);
        storeVector(destination, _mm256_permutevar8x32_epi32(_mm256_packus_epi16(low, high), order));
    }
    static void storeWords(std::uint8_t* destination, Ints low, Ints high) {
        const __m256i words = _mm256_packus_epi32(low.m_lanes, high.m_lanes);
        storeVector(destination, _mm256_permute4x64_epi64(words, 0xD8));
    }

    static __m256i repeatBytes(const void* bytes) {
        return _mm256_broadcastsi128_si256(_mm_loadu_si128(static_cast<const __m128i*>(bytes)));
    }
    static void storeVector(std::uint8_t* destination, __m256i vector) {
        if constexpr (kStreams) {
            _mm256_stream_si256(reinterpret_cast<__m256i*>(destination), vector);
        } else {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(destination), vector);
        }
    }
};

template <bool kStreams, unsigned kBytesPerTexel>
void swizzle(void* destination, const void* source, std::size_t groups, const RunSettings& settings) {
    using Lanes = Eight<kStreams>;
    const auto moves = Lanes::movesOf(settings);
    auto* to = static_cast<std::uint8_t*>(destination);
    const auto* from = static_cast<const std::uint8_t*>(source);
    for (std::size_t i = 0; i < groups * kTexelsPerGroup * kBytesPerTexel; i += 64) {
        Lanes::store(to + i, Lanes::swizzle(Lanes::load(from + i), moves));
        Lanes::store(to + i + 32, Lanes::swizzle(Lanes::load(from + i + 32), moves));
    }
}

template <bool kStreams> using Kernels = RunLanes::Kernels<Eight<kStreams>>;

// Tables are looked up byte by byte on the base line: gathering is no faster.
template <bool kStreams>
constexpr RunKernel kKernels[kRunCount] = {
    &swizzle<kStreams, 4>,
    &swizzle<kStreams, 8>,
    Kernels<kStreams>::kBytesToFloats,
    Kernels<kStreams>::kBytesToHalves,
    &RunLanes::floatsToBytes<Eight<kStreams>>,
    Kernels<kStreams>::kHalvesToBytes,
    Kernels<kStreams>::kFloatsToHalves,
    Kernels<kStreams>::kHalvesToFloats,
    &RunLanes::floatsToSrgb<Eight<kStreams>>,
    &RunLanes::halvesToSrgb<Eight<kStreams>>,
    Kernels<kStreams>::kBytesToTens,
    Kernels<kStreams>::kTensToBytes,
    Kernels<kStreams>::kBytesToFiveSixFive,
    Kernels<kStreams>::kFiveSixFiveToBytes,
    nullptr,
    nullptr,
    nullptr,
};

} // namespace

WideRunKernels getRunKernelsAvx2() { return {kKernels<false>, kKernels<true>}; }

} // namespace qor::Texsmith::Raw

#else

namespace qor::Texsmith::Raw {
WideRunKernels getRunKernelsAvx2() { return {nullptr, nullptr}; }
} // namespace qor::Texsmith::Raw
#endif
