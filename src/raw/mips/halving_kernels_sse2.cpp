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

// The places of the bits that are set in a byte, and how many they are.
struct SetBits {
    std::uint8_t m_places[256][8];
    std::uint8_t m_counts[256];
};
constexpr SetBits makeSetBits() {
    SetBits bits = {};
    for (unsigned byte = 0; byte < 256; ++byte) {
        for (unsigned bit = 0; bit < 8; ++bit) {
            if ((byte >> bit & 1) != 0) {
                bits.m_places[byte][bits.m_counts[byte]++] = static_cast<std::uint8_t>(bit);
            }
        }
    }
    return bits;
}
constexpr SetBits kSetBits = makeSetBits();

// Writes eight numbers, of which those of the set bits count.
std::size_t addPlaces(std::uint16_t* apart, std::size_t count, unsigned byte, std::size_t first) {
    const __m128i places = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(kSetBits.m_places[byte]));
    const __m128i words = _mm_unpacklo_epi8(places, _mm_setzero_si128());
    _mm_storeu_si128(reinterpret_cast<__m128i*>(apart + count),
                     _mm_add_epi16(words, _mm_set1_epi16(static_cast<short>(first))));
    return count + kSetBits.m_counts[byte];
}

// The left and the right texels of four squares.
struct Columns {
    __m128i m_left, m_right;
};
Columns loadColumns(const std::uint8_t* row) {
    const __m128 first = _mm_loadu_ps(reinterpret_cast<const float*>(row));
    const __m128 second = _mm_loadu_ps(reinterpret_cast<const float*>(row + 16));
    return {_mm_castps_si128(_mm_shuffle_ps(first, second, 0x88)),
            _mm_castps_si128(_mm_shuffle_ps(first, second, 0xDD))};
}

// (a + b + c + d + 2) / 4 in each byte. The mean of the two means is one too much where one of these has been
// rounded up and it has, too.
__m128i meanOf(Columns upper, Columns lower) {
    const __m128i top = _mm_avg_epu8(upper.m_left, upper.m_right);
    const __m128i bottom = _mm_avg_epu8(lower.m_left, lower.m_right);
    const __m128i wasRounded =
        _mm_or_si128(_mm_xor_si128(upper.m_left, upper.m_right), _mm_xor_si128(lower.m_left, lower.m_right));
    const __m128i isTooMuch =
        _mm_and_si128(_mm_and_si128(wasRounded, _mm_xor_si128(top, bottom)), _mm_set1_epi8(1));
    return _mm_sub_epi8(_mm_avg_epu8(top, bottom), isTooMuch);
}

// All ones where the mean as light may have another byte: but where all four are equal, or the least is 9 or
// more (below, the curve is a line, and ties go either way) and none is further from it than 6 + (least - 12)
// / 16.
__m128i areApart(Columns upper, Columns lower) {
    const __m128i least =
        _mm_min_epu8(_mm_min_epu8(upper.m_left, upper.m_right), _mm_min_epu8(lower.m_left, lower.m_right));
    const __m128i greatest =
        _mm_max_epu8(_mm_max_epu8(upper.m_left, upper.m_right), _mm_max_epu8(lower.m_left, lower.m_right));
    const __m128i onCurve = _mm_subs_epu8(least, _mm_set1_epi8(8)); // 0: on the line
    const __m128i sixteenths =
        _mm_and_si128(_mm_srli_epi16(_mm_subs_epu8(onCurve, _mm_set1_epi8(4)), 4), _mm_set1_epi8(15));
    const __m128i isOnLine = _mm_cmpeq_epi8(onCurve, _mm_setzero_si128());
    const __m128i reach = _mm_andnot_si128(isOnLine, _mm_add_epi8(sixteenths, _mm_set1_epi8(6)));
    const __m128i beyond = _mm_subs_epu8(_mm_sub_epi8(greatest, least), reach);
    return _mm_xor_si128(_mm_cmpeq_epi8(beyond, _mm_setzero_si128()), _mm_set1_epi8(-1));
}

std::size_t meanBytes(std::uint8_t* destination, const std::uint8_t* upperRow, const std::uint8_t* lowerRow,
                      std::size_t count, std::uint16_t* apart) {
    constexpr unsigned kColours = 0x7777; // the mean of alpha is a plain one
    std::size_t apartCount = 0;
    for (std::size_t offset = 0; offset < 4 * count; offset += 16) {
        const Columns upper = loadColumns(upperRow + 2 * offset), lower = loadColumns(lowerRow + 2 * offset);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(destination + offset), meanOf(upper, lower));
        const unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(areApart(upper, lower))) & kColours;
        apartCount = addPlaces(apart, apartCount, mask & 0xFF, offset);
        apartCount = addPlaces(apart, apartCount, mask >> 8, offset + 8);
    }
    return apartCount;
}

} // namespace

MeanBytes meanBytesKernelSse2() { return meanBytes; }

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
MeanBytes meanBytesKernelSse2() { return nullptr; }

} // namespace qor::Texsmith::Raw

#endif
