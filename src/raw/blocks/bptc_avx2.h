// What the wide decoders of BC6H and BC7 have in common: fields of a block taken out all at once. Only for
// files that are compiled for AVX2.
#pragma once

#include "raw/blocks/bptc_indices.h"
#include "raw/blocks/bptc_tables.h"

#include <immintrin.h>

#include <cstdint>
#include <cstring>

namespace qor::Texsmith::Raw::BptcAvx2 {

struct Avx2Build; // for templates that other builds share

inline constexpr unsigned kTexels = 16;
inline constexpr std::uint8_t kNoByte = 0x80; // in the control of a shuffle: a zero

inline __m256i load(const void* source) { return _mm256_load_si256(static_cast<const __m256i*>(source)); }
inline __m256i loadTwice(const void* source) {
    return _mm256_broadcastsi128_si256(_mm_loadu_si128(static_cast<const __m128i*>(source)));
}
inline __m256i splat(std::uint64_t value) { return _mm256_set1_epi64x(static_cast<long long>(value)); }

// The halves of a block as numbers.
struct Halves {
    std::uint64_t m_low;
    std::uint64_t m_high;

    explicit Halves(const std::uint8_t* source) {
        std::memcpy(&m_low, source, 8);
        std::memcpy(&m_high, source + 8, 8);
    }
    // The bits from one on, 64 of them or as many as there are.
    template <unsigned kAt> std::uint64_t from() const {
        if constexpr (kAt >= 64) {
            return m_high >> (kAt - 64);
        } else {
            return m_low >> kAt | m_high << (64 - kAt);
        }
    }
};

// How to take fields of up to 8 bits out of a block into words: the two bytes that hold each, a factor that
// moves the field to its place, and a mask.
struct alignas(32) Fields {
    std::uint8_t m_bytes[32];
    std::uint16_t m_factors[16];
    std::uint16_t m_masks[16];

    // `count` bits of the block, to the bits of word `word` from `to` on, which is at least at % 8.
    constexpr void set(unsigned word, unsigned at, unsigned count, unsigned to) {
        m_bytes[2 * word] = static_cast<std::uint8_t>(at / 8);
        m_bytes[2 * word + 1] = static_cast<std::uint8_t>(at / 8 + 1 < 16 ? at / 8 + 1 : kNoByte);
        m_factors[word] = static_cast<std::uint16_t>(1u << (to - at % 8));
        m_masks[word] = static_cast<std::uint16_t>(((1u << count) - 1) << to);
    }
};

// Without the mask: bits below a field, and above it where there is room, come along.
inline __m256i take(__m256i block, const Fields& fields) {
    const __m256i words = _mm256_shuffle_epi8(block, load(fields.m_bytes));
    return _mm256_mullo_epi16(words, load(fields.m_factors));
}
inline __m256i takeMasked(__m256i block, const Fields& fields) {
    return _mm256_and_si256(take(block, fields), load(fields.m_masks));
}

// Which texel stands in which word.
struct TexelOrder {
    std::uint8_t m_texels[kTexels];
};
inline constexpr TexelOrder kUpperAndLowerRows = {{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}};
inline constexpr TexelOrder kLeftAndRightColumns = {{0, 1, 4, 5, 8, 9, 12, 13, 2, 3, 6, 7, 10, 11, 14, 15}};

// The indices of 16 texels, of equal width, to the tops of words.
constexpr Fields makeIndexFields(unsigned bits, const TexelOrder& order) {
    Fields fields = {};
    for (unsigned word = 0; word < kTexels; ++word) {
        fields.set(word, order.m_texels[word] * bits, bits, 16 - bits);
    }
    return fields;
}
template <unsigned kBits, const TexelOrder& kOrder>
inline constexpr Fields kIndexFields = makeIndexFields(kBits, kOrder);

struct alignas(16) Weights {
    std::uint8_t m_weights[16];
};
constexpr Weights makeWeights(unsigned bits) {
    Weights weights = {};
    for (unsigned index = 0; index < 1u << bits; ++index) {
        weights.m_weights[index] = bits == 2   ? kBptcWeights2[index]
                                   : bits == 3 ? kBptcWeights3[index]
                                               : kBptcWeights4[index];
    }
    return weights;
}
template <unsigned kBits> inline constexpr Weights kWeights = makeWeights(kBits);

// The weights of 16 texels, as words.
template <unsigned kBits, const TexelOrder& kOrder> __m256i weightsOf(std::uint64_t indices) {
    const __m256i tops = take(splat(indices), kIndexFields<kBits, kOrder>);
    return _mm256_shuffle_epi8(loadTwice(kWeights<kBits>.m_weights), _mm256_srli_epi16(tops, 16 - kBits));
}

} // namespace qor::Texsmith::Raw::BptcAvx2
