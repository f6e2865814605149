// Eight pixels at a time.
#include "raw/memory/byte_triples.h"

#if defined(__AVX2__)

#    include <immintrin.h>

namespace qor::Texsmith::Raw {
namespace {

// Reads 28 bytes for 24.
std::size_t widen(std::uint8_t* to, const std::uint8_t* from, std::size_t pixels) {
    const __m256i places =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1));
    std::size_t done = 0;
    for (; pixels - done >= 10; done += 8) {
        const auto* low = reinterpret_cast<const __m128i*>(from + done * 3);
        const auto* high = reinterpret_cast<const __m128i*>(from + done * 3 + 12);
        const __m256i both =
            _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_loadu_si128(low)), _mm_loadu_si128(high), 1);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to + done * 4), _mm256_shuffle_epi8(both, places));
    }
    return done;
}

std::size_t narrow(std::uint8_t* to, const std::uint8_t* from, std::size_t pixels) {
    const __m256i places =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
    const __m256i together = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7);
    std::size_t done = 0;
    for (; pixels - done >= 8; done += 8) {
        const __m256i in = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from + done * 4));
        const __m256i out = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(in, places), together);
        std::uint8_t* at = to + done * 3;
        _mm_storeu_si128(reinterpret_cast<__m128i*>(at), _mm256_castsi256_si128(out));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(at + 16), _mm256_extracti128_si256(out, 1));
    }
    return done;
}

constexpr TripleKernels kKernels = {&widen, &narrow};

} // namespace

const TripleKernels* getTripleKernelsAvx2() { return &kKernels; }

} // namespace qor::Texsmith::Raw

#else

namespace qor::Texsmith::Raw {

const TripleKernels* getTripleKernelsAvx2() { return nullptr; }

} // namespace qor::Texsmith::Raw
#endif
