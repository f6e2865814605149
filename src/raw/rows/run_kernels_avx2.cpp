// The kernels of run_kernels.h for AVX2, eight lanes at a time: one form with normal stores, one that
// streams.
#include "raw/rows/run_kernels.h"

#if defined(__AVX2__)
#    include "raw/rows/run_kernels_lanes.h"
#    include "simd/lanes8_avx2.h"

namespace qor::Texsmith::Raw {
namespace {

template <bool kStreams> struct EightTexels : Simd::Avx2::Lanes8 {
    struct Moves {
        __m256i m_control;
        __m256i m_ones;
    };
    static Moves movesOf(const RunSettings& settings) {
        return {repeatBytes(settings.m_moves.m_control), repeatBytes(settings.m_moves.m_ones)};
    }
    static Int swizzle(Int texels, Moves moves) {
        return {_mm256_or_si256(_mm256_shuffle_epi8(texels.m_lanes, moves.m_control), moves.m_ones)};
    }
    static void write(std::uint8_t* destination, Int texels) {
        if constexpr (kStreams) {
            _mm256_stream_si256(reinterpret_cast<__m256i*>(destination), texels.m_lanes);
        } else {
            store(destination, texels);
        }
    }

private:
    static __m256i repeatBytes(const void* bytes) {
        return _mm256_broadcastsi128_si256(_mm_loadu_si128(static_cast<const __m128i*>(bytes)));
    }
};

template <bool kStreams, unsigned kBytesPerTexel>
void swizzle(void* destination, const void* source, std::size_t groups, const RunSettings& settings) {
    using Lanes = EightTexels<kStreams>;
    const auto moves = Lanes::movesOf(settings);
    auto* to = static_cast<std::uint8_t*>(destination);
    const auto* from = static_cast<const std::uint8_t*>(source);
    for (std::size_t i = 0; i < groups * kTexelsPerGroup * kBytesPerTexel; i += 64) {
        Lanes::write(to + i, Lanes::swizzle(Lanes::loadInts(from + i), moves));
        Lanes::write(to + i + 32, Lanes::swizzle(Lanes::loadInts(from + i + 32), moves));
    }
}

template <bool kStreams> using Kernels = RunLanes::Kernels<EightTexels<kStreams>>;

// Halves as floats of their value. A denormal is larger here than the codecs have it, but its byte is 0.
struct LoadHalves {
    static constexpr unsigned kBytes = 2;
    static Simd::Avx2::Int8 load(const std::uint8_t* source) {
        const __m128i halves = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source));
        return {_mm256_castps_si256(_mm256_cvtph_ps(halves))};
    }
};

// The processor cuts floats off as the codecs do, and turns too large ones into the largest number, too. What
// is below the least normal half is raised to it, but for zeros. Of denormals and NaNs it makes something
// else: their bits are left in `others`.
__m128i cutToHalves(__m256 values, __m256& others) {
    const __m256 sign = _mm256_set1_ps(-0.0f);
    const __m256 magnitude = _mm256_andnot_ps(sign, values);
    const __m256 isNormal = _mm256_cmp_ps(magnitude, _mm256_set1_ps(0x1p-126f), _CMP_GE_OQ);
    const __m256 raised = _mm256_and_ps(isNormal, _mm256_max_ps(magnitude, _mm256_set1_ps(0x1p-14f)));
    others = _mm256_or_ps(others, _mm256_andnot_ps(isNormal, magnitude));
    return _mm256_cvtps_ph(_mm256_or_ps(raised, _mm256_and_ps(values, sign)), _MM_FROUND_TO_ZERO);
}

Simd::Avx2::Int8 sixteenHalves(const float* from, __m256& others) {
    const __m256i low = _mm256_castsi128_si256(cutToHalves(_mm256_loadu_ps(from), others));
    return {_mm256_inserti128_si256(low, cutToHalves(_mm256_loadu_ps(from + 8), others), 1)};
}

template <bool kStreams>
void floatsToHalves(void* destination, const void* source, std::size_t groups, const RunSettings&) {
    using Lanes = EightTexels<kStreams>;
    using V = RunLanes::Values<Lanes>;
    auto* to = static_cast<std::uint8_t*>(destination);
    const auto* from = static_cast<const float*>(source);
    const float* const end = from + groups * kTexelsPerGroup * 4;
    for (; from != end; from += 32, to += 64) {
        __m256 others = _mm256_setzero_ps();
        Simd::Avx2::Int8 halves[2] = {sixteenHalves(from, others), sixteenHalves(from + 16, others)};
        if (_mm256_testz_si256(_mm256_castps_si256(others), _mm256_castps_si256(others)) == 0) {
            for (unsigned i = 0; i < 2; ++i) {
                halves[i] = packWords(V::halvesOfFloats(Lanes::loadInts(from + 16 * i)),
                                      V::halvesOfFloats(Lanes::loadInts(from + 16 * i + 8)));
            }
        }
        Lanes::write(to, halves[0]);
        Lanes::write(to + 32, halves[1]);
    }
}

// No kernels with tables: the instruction that gathers is no faster than the base line's byte by byte.
template <bool kStreams>
constexpr RunKernel kKernels[kRunCount] = {
    &swizzle<kStreams, 4>,
    &swizzle<kStreams, 8>,
    Kernels<kStreams>::kBytesToFloats,
    Kernels<kStreams>::kBytesToHalves,
    Kernels<kStreams>::kBytesToWords,
    Kernels<kStreams>::kFloatsToBytes,
    &RunLanes::floatsToBytes<EightTexels<kStreams>, LoadHalves>,
    Kernels<kStreams>::kWordsToBytes,
    &floatsToHalves<kStreams>,
    Kernels<kStreams>::kHalvesToFloats,
    &RunLanes::floatsToSrgb<EightTexels<kStreams>>,
    nullptr,
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
