// The sRGB encoder of runs for AVX2: eight floats at a time, by the pieces of srgb_run_table.h.
#include "raw/texels/srgb_run_table.h"

#if defined(__AVX2__)

#    include "simd/float8_avx2.h"

namespace qor::Texsmith::Raw {
namespace {

using namespace Simd::Avx2;

struct FourPieces {
    __m256d m_inverses, m_powers;
};

__m128d loadPiece(int index) { return _mm_loadu_pd(&g_srgbTable.m_pieces[index].m_inverse); }

FourPieces loadPieces(__m128i indices) {
    const __m256d even =
        _mm256_set_m128d(loadPiece(_mm_extract_epi32(indices, 2)), loadPiece(_mm_cvtsi128_si32(indices)));
    const __m256d odd =
        _mm256_set_m128d(loadPiece(_mm_extract_epi32(indices, 3)), loadPiece(_mm_extract_epi32(indices, 1)));
    return {_mm256_unpacklo_pd(even, odd), _mm256_unpackhi_pd(even, odd)};
}

__m128 power(__m128 x, __m128i indices) {
    const FourPieces pieces = loadPieces(indices);
    const __m256d one = _mm256_set1_pd(1.0);
    const __m256d r = _mm256_sub_pd(_mm256_mul_pd(_mm256_cvtps_pd(x), pieces.m_inverses), one);
    const double* terms = g_srgbTable.m_binomials;
    __m256d sum = _mm256_set1_pd(terms[kSrgbTerms - 1]);
    for (int i = kSrgbTerms - 2; i >= 0; --i) {
        sum = _mm256_add_pd(_mm256_mul_pd(sum, r), _mm256_set1_pd(terms[i]));
    }
    const __m256d rest = _mm256_mul_pd(pieces.m_powers, _mm256_mul_pd(sum, r));
    return _mm256_cvtpd_ps(_mm256_add_pd(pieces.m_powers, rest));
}

Float8 clampToOne(Float8 x) { return minimum(maximum(x, splat(0.0f)), splat(1.0f)); }

Float8 encode(Float8 x) {
    const Float8 onCurve = maximum(x, splat(kSrgbLinearEnd));
    const Int8 indices = shiftRight<kSrgbPieceShift>(bitsOf(onCurve)) - splat(kSrgbFirstPiece);
    const __m128 low =
        power(_mm256_castps256_ps128(onCurve.m_lanes), _mm256_castsi256_si128(indices.m_lanes));
    const __m128 high =
        power(_mm256_extractf128_ps(onCurve.m_lanes, 1), _mm256_extracti128_si256(indices.m_lanes, 1));
    const Float8 curve = Float8{_mm256_set_m128(high, low)} * splat(kSrgbScale) - splat(kSrgbOffset);
    const Float8 line = x * splat(kSrgbLinearSlope);
    const __m256 isCurve = _mm256_cmp_ps(x.m_lanes, splat(kSrgbLinearEnd).m_lanes, _CMP_GT_OQ);
    return {_mm256_blendv_ps(line.m_lanes, curve.m_lanes, isCurve)};
}

void encodeRun(float* destination, const float* source, std::size_t count) {
    for (std::size_t i = 0; i < count; i += 8) {
        store(destination + i, encode(clampToOne(loadFloats(source + i))));
    }
}

void encodeTexels(float* destination, const float* source, std::size_t count) {
    constexpr int kAlphas = 0x88;
    for (std::size_t i = 0; i < count; i += 8) {
        const Float8 x = clampToOne(loadFloats(source + i));
        store(destination + i, Float8{_mm256_blend_ps(encode(x).m_lanes, x.m_lanes, kAlphas)});
    }
}

constexpr SrgbKernels kKernels = {encodeRun, encodeTexels};

} // namespace

const SrgbKernels* getSrgbKernelsAvx2() { return &kKernels; }

} // namespace qor::Texsmith::Raw

#else

namespace qor::Texsmith::Raw {

const SrgbKernels* getSrgbKernelsAvx2() { return nullptr; }

} // namespace qor::Texsmith::Raw

#endif
