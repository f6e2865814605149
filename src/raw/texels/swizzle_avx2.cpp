#include "raw/texels/swizzle_avx2.h"

#if defined(__AVX2__)

#    include <immintrin.h>

namespace qor::Texsmith::Raw {
namespace {

__m128i load(ByteWords words) {
    return _mm_set_epi64x(static_cast<long long>(words.m_high), static_cast<long long>(words.m_low));
}

void shuffleBytes(void* texels, unsigned count, ByteWords fromWords, ByteWords onesWords) {
    const __m128i from = load(fromWords), ones = load(onesWords);
    const __m256i from2 = _mm256_broadcastsi128_si256(from), ones2 = _mm256_broadcastsi128_si256(ones);
    auto* at = static_cast<char*>(texels);
    for (; count >= 2; count -= 2, at += 32) {
        auto* pair = reinterpret_cast<__m256i*>(at);
        const __m256i moved = _mm256_shuffle_epi8(_mm256_loadu_si256(pair), from2);
        _mm256_storeu_si256(pair, _mm256_or_si256(moved, ones2));
    }
    if (count != 0) {
        auto* last = reinterpret_cast<__m128i*>(at);
        _mm_storeu_si128(last, _mm_or_si128(_mm_shuffle_epi8(_mm_loadu_si128(last), from), ones));
    }
}

} // namespace

ShuffleBytes getShuffleBytesAvx2() { return &shuffleBytes; }

} // namespace qor::Texsmith::Raw

#else

namespace qor::Texsmith::Raw {

ShuffleBytes getShuffleBytesAvx2() { return nullptr; }

} // namespace qor::Texsmith::Raw

#endif
