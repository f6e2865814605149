#include "raw/blocks/block_decoders_avx2.h"

#if defined(__AVX2__)

#    include "raw/blocks/bc4_palette_avx2.h"

#    include <immintrin.h>

namespace qor::Texsmith::Raw {
namespace {

using namespace Bc4Avx2;

constexpr std::size_t kBlocksAtOnce = 8;

// Blocks 0 to 3 stand in the low half of a register, 4 to 7 in the high half: nothing has to cross halves.
struct Colours {
    __m256i m_endpoints; // color0 in the low word, color1 in the high one; a lane per block
    __m256i m_indices;
};

// Four entries per block, as pixels: palette i holds blocks i and i + 4.
struct Palettes {
    __m256i m_blocks[4];
};

__m256i interleave(__m256i low, __m256i high, int part) {
    const __m256 a = _mm256_castsi256_ps(low), b = _mm256_castsi256_ps(high);
    return _mm256_castps_si256(part == 0 ? _mm256_shuffle_ps(a, b, 0x88) : _mm256_shuffle_ps(a, b, 0xDD));
}

// Red and blue widened to eight bits in the words of each lane, then green and full alpha.
struct Wide {
    __m256i m_redBlue;
    __m256i m_greenAlpha;
};

Wide widen(__m256i colour) {
    const __m256i red = _mm256_and_si256(_mm256_srli_epi32(colour, 11), _mm256_set1_epi32(31));
    const __m256i blue = _mm256_and_si256(_mm256_slli_epi32(colour, 16), _mm256_set1_epi32(31 << 16));
    const __m256i green = _mm256_and_si256(_mm256_srli_epi32(colour, 5), _mm256_set1_epi32(63));
    const __m256i both = _mm256_mullo_epi16(_mm256_or_si256(red, blue), _mm256_set1_epi16(33));
    const __m256i wideGreen = _mm256_srli_epi16(_mm256_mullo_epi16(green, _mm256_set1_epi32(65)), 4);
    return {_mm256_srli_epi16(both, 2), _mm256_or_si256(wideGreen, _mm256_set1_epi32(255 << 16))};
}

__m256i pixels(Wide colour) {
    return _mm256_or_si256(colour.m_redBlue, _mm256_slli_epi32(colour.m_greenAlpha, 8));
}

__m256i mixWords(__m256i heavy, __m256i light) {
    const __m256i sum = _mm256_add_epi16(_mm256_mullo_epi16(heavy, _mm256_set1_epi16(43)),
                                         _mm256_mullo_epi16(light, _mm256_set1_epi16(21)));
    return _mm256_srli_epi16(_mm256_add_epi16(sum, _mm256_set1_epi16(32)), 6);
}

__m256i mix(const Wide& heavy, const Wide& light) {
    return pixels(
        {mixWords(heavy.m_redBlue, light.m_redBlue), mixWords(heavy.m_greenAlpha, light.m_greenAlpha)});
}

template <bool kThreeColours> Palettes makePalettes(__m256i endpoints) {
    const __m256i color0 = _mm256_and_si256(endpoints, _mm256_set1_epi32(0xFFFF));
    const __m256i color1 = _mm256_srli_epi32(endpoints, 16);
    const Wide a = widen(color0), b = widen(color1);
    const __m256i entry0 = pixels(a), entry1 = pixels(b);
    __m256i entry2 = mix(a, b), entry3 = mix(b, a);
    if constexpr (kThreeColours) {
        const __m256i four = _mm256_cmpgt_epi32(color0, color1);
        entry2 = _mm256_blendv_epi8(_mm256_avg_epu8(entry0, entry1), entry2, four);
        entry3 = _mm256_and_si256(entry3, four);
    }
    const __m256i low01 = _mm256_unpacklo_epi32(entry0, entry1),
                  low23 = _mm256_unpacklo_epi32(entry2, entry3);
    const __m256i high01 = _mm256_unpackhi_epi32(entry0, entry1),
                  high23 = _mm256_unpackhi_epi32(entry2, entry3);
    return {{_mm256_unpacklo_epi64(low01, low23), _mm256_unpackhi_epi64(low01, low23),
             _mm256_unpacklo_epi64(high01, high23), _mm256_unpackhi_epi64(high01, high23)}};
}

// Row `row` of two blocks: the lanes of `indices` hold the index word of the lane's block.
__m256i lookUpRow(__m256i palette, __m256i indices, int row) {
    const __m256i shifts =
        _mm256_add_epi32(_mm256_setr_epi32(0, 2, 4, 6, 0, 2, 4, 6), _mm256_set1_epi32(8 * row));
    return _mm256_castps_si256(
        _mm256_permutevar_ps(_mm256_castsi256_ps(palette), _mm256_srlv_epi32(indices, shifts)));
}

void storeRow(std::uint8_t* destination, __m256i row) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(destination), _mm256_castsi256_si128(row));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(destination + 64), _mm256_extracti128_si256(row, 1));
}

__m256i spreadIndices(__m256i indices, int block) {
    switch (block) {
    case 0:
        return _mm256_shuffle_epi32(indices, 0x00);
    case 1:
        return _mm256_shuffle_epi32(indices, 0x55);
    case 2:
        return _mm256_shuffle_epi32(indices, 0xAA);
    default:
        return _mm256_shuffle_epi32(indices, 0xFF);
    }
}

struct NoAlpha {
    static constexpr std::size_t kBlockBytes = 8;
    static constexpr bool kThreeColours = true;

    static Colours load(const std::uint8_t* source) {
        const __m256i first = loadHalves(source, source + 32), second = loadHalves(source + 16, source + 48);
        return {interleave(first, second, 0), interleave(first, second, 1)};
    }
    NoAlpha(const std::uint8_t*, int) {}
    __m256i replace(__m256i texels, int) const { return texels; }
};

struct Opaque : NoAlpha {
    using NoAlpha::NoAlpha;
    __m256i replace(__m256i texels, int) const {
        return _mm256_or_si256(texels, _mm256_set1_epi32(static_cast<int>(0xFF000000u)));
    }
};

struct WithAlpha {
    static constexpr std::size_t kBlockBytes = 16;
    static constexpr bool kThreeColours = false;

    static __m256i loadPair(const std::uint8_t* source, int block) {
        return loadHalves(source + 16 * block, source + 16 * block + 64);
    }
    static Colours load(const std::uint8_t* source) {
        const __m256i first = _mm256_unpackhi_epi32(loadPair(source, 0), loadPair(source, 1));
        const __m256i second = _mm256_unpackhi_epi32(loadPair(source, 2), loadPair(source, 3));
        return {_mm256_unpacklo_epi64(first, second), _mm256_unpackhi_epi64(first, second)};
    }
    static __m256i withoutAlpha(__m256i texels) {
        return _mm256_and_si256(texels, _mm256_set1_epi32(0x00FFFFFF));
    }
};

// Bytes `at` to `at + 3` of each half of a vector, in all four lanes of that half.
__m256i spreadDoubleWord(__m256i pair, int at) {
    const int bytes = at | (at + 1) << 8 | (at + 2) << 16 | (at + 3) << 24;
    return _mm256_shuffle_epi8(pair, _mm256_set1_epi32(bytes));
}

// Four bits per texel, times 17: the two nibbles of the pixel's top byte are equal.
class PlainAlpha : public WithAlpha {
public:
    PlainAlpha(const std::uint8_t* source, int block) {
        const __m256i pair = loadPair(source, block);
        m_upper = spreadDoubleWord(pair, 0);
        m_lower = spreadDoubleWord(pair, 4);
    }
    __m256i replace(__m256i texels, int row) const {
        const __m256i shifts = _mm256_sub_epi32(_mm256_setr_epi32(28, 24, 20, 16, 28, 24, 20, 16),
                                                _mm256_set1_epi32(row % 2 * 16));
        const __m256i top = _mm256_and_si256(_mm256_sllv_epi32(row < 2 ? m_upper : m_lower, shifts),
                                             _mm256_set1_epi32(static_cast<int>(0xF0000000u)));
        return _mm256_or_si256(withoutAlpha(texels), _mm256_or_si256(top, _mm256_srli_epi32(top, 4)));
    }

private:
    __m256i m_upper; // the codes of the upper two rows
    __m256i m_lower;
};

// Three bits per texel choose out of eight bytes.
class MixedAlpha : public WithAlpha {
public:
    MixedAlpha(const std::uint8_t* source, int block) {
        const __m256i pair = loadPair(source, block);
        m_palette = makePalette(pair);
        m_upper = spreadDoubleWord(pair, 2);
        m_lower = spreadDoubleWord(pair, 5);
    }
    __m256i replace(__m256i texels, int row) const {
        const __m256i shifts = _mm256_sub_epi32(_mm256_setr_epi32(24, 21, 18, 15, 24, 21, 18, 15),
                                                _mm256_set1_epi32(row % 2 * 12));
        const __m256i top = _mm256_and_si256(_mm256_sllv_epi32(row < 2 ? m_upper : m_lower, shifts),
                                             _mm256_set1_epi32(0x07000000));
        const __m256i selects = _mm256_or_si256(top, _mm256_set1_epi32(0x00808080)); // others become 0
        return _mm256_or_si256(withoutAlpha(texels), _mm256_shuffle_epi8(m_palette, selects));
    }

private:
    static __m256i makePalette(__m256i pair) {
        const __m256i entries = entriesOf(pair, 0);
        return _mm256_packus_epi16(entries, entries);
    }

    __m256i m_palette;
    __m256i m_upper;
    __m256i m_lower;
};

template <typename Alpha>
void decodeEight(std::uint8_t* destination, std::size_t pitch, const std::uint8_t* source) {
    const Colours colours = Alpha::load(source);
    const Palettes palettes = makePalettes<Alpha::kThreeColours>(colours.m_endpoints);
    for (int block = 0; block < 4; ++block) {
        const Alpha alpha(source, block);
        const __m256i indices = spreadIndices(colours.m_indices, block);
        for (int row = 0; row < 4; ++row) {
            const __m256i texels = lookUpRow(palettes.m_blocks[block], indices, row);
            storeRow(destination + static_cast<std::size_t>(row) * pitch + 16 * block,
                     alpha.replace(texels, row));
        }
    }
}

template <typename Alpha>
std::size_t decodeEights(std::uint8_t* destination, std::size_t pitch, const std::uint8_t* source,
                         std::size_t count) {
    std::size_t done = 0;
    for (; done + kBlocksAtOnce <= count; done += kBlocksAtOnce) {
        decodeEight<Alpha>(destination + done * 16, pitch, source + done * Alpha::kBlockBytes);
    }
    return done;
}

constexpr BlockKernelsAvx2 kKernels = {&decodeEights<NoAlpha>, &decodeEights<Opaque>,
                                       &decodeEights<PlainAlpha>, &decodeEights<MixedAlpha>};

} // namespace

const BlockKernelsAvx2* blockKernelsAvx2() { return &kKernels; }

} // namespace qor::Texsmith::Raw

#else

namespace qor::Texsmith::Raw {

const BlockKernelsAvx2* blockKernelsAvx2() { return nullptr; }

} // namespace qor::Texsmith::Raw

#endif
