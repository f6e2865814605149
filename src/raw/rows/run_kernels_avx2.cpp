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

// No kernels with tables: the instruction that gathers is no faster than the base line's byte by byte.
template <bool kStreams>
constexpr RunKernel kKernels[kRunCount] = {
    &swizzle<kStreams, 4>,
    &swizzle<kStreams, 8>,
    Kernels<kStreams>::kBytesToFloats,
    Kernels<kStreams>::kBytesToHalves,
    &RunLanes::floatsToBytes<EightTexels<kStreams>>,
    Kernels<kStreams>::kHalvesToBytes,
    Kernels<kStreams>::kFloatsToHalves,
    Kernels<kStreams>::kHalvesToFloats,
    &RunLanes::floatsToSrgb<EightTexels<kStreams>>,
    &RunLanes::halvesToSrgb<EightTexels<kStreams>>,
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
