#include "raw/blocks/channel_decoders.h"

#if defined(__AVX2__)

#    include "raw/blocks/bc4_palette_avx2.h"

#    include <immintrin.h>

namespace qor::Texsmith::Raw {
namespace {

using namespace Bc4Avx2;

constexpr std::size_t kBlocksAtOnce = 8;

// The 16 codes of three bits of that channel, as bytes in order: a row in each 32-bit lane, whose 12 bits are
// halved twice.
__m256i codesOf(__m256i blocks, int at) {
    const int row = at | (at + 1) << 8; // with zeros above
    const int none = static_cast<int>(0x80800000);
    const auto bytes = [&](int first) { return none | (row + first * 0x0101); };
    const __m256i places =
        _mm256_setr_epi32(bytes(2), bytes(3), bytes(5), bytes(6), bytes(2), bytes(3), bytes(5), bytes(6));
    const __m256i rows =
        _mm256_srlv_epi32(_mm256_shuffle_epi8(blocks, places), _mm256_setr_epi32(0, 4, 0, 4, 0, 4, 0, 4));
    const __m256i low = _mm256_and_si256(rows, _mm256_set1_epi32(0x0FFF));
    const __m256i pairs =
        _mm256_and_si256(_mm256_or_si256(low, _mm256_slli_epi32(low, 10)), _mm256_set1_epi32(0x003F003F));
    return _mm256_and_si256(_mm256_or_si256(pairs, _mm256_slli_epi32(pairs, 5)),
                            _mm256_set1_epi32(0x07070707));
}

// Two stored channels of each half, 16 texels each.
struct TwoChannels {
    __m256i m_first, m_second;

    explicit TwoChannels(__m256i blocks) {
        const __m256i palettes = _mm256_packus_epi16(entriesOf(blocks, 0), entriesOf(blocks, 8));
        m_first = _mm256_shuffle_epi8(palettes, codesOf(blocks, 0));
        m_second = _mm256_shuffle_epi8(palettes, _mm256_or_si256(codesOf(blocks, 8), _mm256_set1_epi8(8)));
    }
};

// Blocks i and i + 4 in the halves of texels i; their other channel.
struct EightBlocks {
    __m256i m_red[4], m_green[4];
};

EightBlocks decodeBc4Eight(const std::uint8_t* source) {
    const TwoChannels first(loadHalves(source, source + 32)), second(loadHalves(source + 16, source + 48));
    const __m256i zero = _mm256_setzero_si256();
    return {{first.m_first, first.m_second, second.m_first, second.m_second}, {zero, zero, zero, zero}};
}

EightBlocks decodeBc5Eight(const std::uint8_t* source) {
    EightBlocks blocks;
    for (int i = 0; i < 4; ++i) {
        const TwoChannels both(loadHalves(source + 16 * i, source + 16 * i + 64));
        blocks.m_red[i] = both.m_first;
        blocks.m_green[i] = both.m_second;
    }
    return blocks;
}

void storeHalves(std::uint8_t* low, std::uint8_t* high, __m256i a) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(low), _mm256_castsi256_si128(a));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(high), _mm256_extracti128_si256(a, 1));
}

// One byte a texel: the blocks' rows are the lanes of a square.
void writeBytes(std::uint8_t* destination, std::size_t pitch, const EightBlocks& blocks) {
    const __m256i* const red = blocks.m_red;
    const __m256i top01 = _mm256_unpacklo_epi32(red[0], red[1]),
                  top23 = _mm256_unpacklo_epi32(red[2], red[3]);
    const __m256i low01 = _mm256_unpackhi_epi32(red[0], red[1]),
                  low23 = _mm256_unpackhi_epi32(red[2], red[3]);
    const __m256i rows[4] = {_mm256_unpacklo_epi64(top01, top23), _mm256_unpackhi_epi64(top01, top23),
                             _mm256_unpacklo_epi64(low01, low23), _mm256_unpackhi_epi64(low01, low23)};
    for (std::size_t y = 0; y < 4; ++y) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(destination + y * pitch), rows[y]);
    }
}

// Red and green side by side: rows 0 and 1, or 2 and 3, of block i.
template <bool kIsUpper> __m256i pairRows(const EightBlocks& blocks, int i) {
    return kIsUpper ? _mm256_unpacklo_epi8(blocks.m_red[i], blocks.m_green[i])
                    : _mm256_unpackhi_epi8(blocks.m_red[i], blocks.m_green[i]);
}

template <bool kIsUpper>
void writeTwoPairRows(std::uint8_t* destination, std::size_t pitch, const EightBlocks& blocks) {
    for (int i = 0; i < 4; i += 2) {
        const __m256i first = pairRows<kIsUpper>(blocks, i), second = pairRows<kIsUpper>(blocks, i + 1);
        std::uint8_t* const to = destination + 8 * i;
        storeHalves(to, to + 32, _mm256_unpacklo_epi64(first, second));
        storeHalves(to + pitch, to + pitch + 32, _mm256_unpackhi_epi64(first, second));
    }
}
void writePairs(std::uint8_t* destination, std::size_t pitch, const EightBlocks& blocks) {
    writeTwoPairRows<true>(destination, pitch, blocks);
    writeTwoPairRows<false>(destination + 2 * pitch, pitch, blocks);
}

template <bool kIsUpper>
void writeTwoPixelRows(std::uint8_t* destination, std::size_t pitch, const EightBlocks& blocks) {
    const __m256i rest = _mm256_set1_epi16(static_cast<short>(0xFF00));
    for (int i = 0; i < 4; ++i) {
        const __m256i rows = pairRows<kIsUpper>(blocks, i);
        std::uint8_t* const to = destination + 16 * i;
        storeHalves(to, to + 64, _mm256_unpacklo_epi16(rows, rest));
        storeHalves(to + pitch, to + pitch + 64, _mm256_unpackhi_epi16(rows, rest));
    }
}
void writePixels(std::uint8_t* destination, std::size_t pitch, const EightBlocks& blocks) {
    writeTwoPixelRows<true>(destination, pitch, blocks);
    writeTwoPixelRows<false>(destination + 2 * pitch, pitch, blocks);
}

using DecodeEight = EightBlocks (*)(const std::uint8_t* source);
using WriteEight = void (*)(std::uint8_t* destination, std::size_t pitch, const EightBlocks& blocks);

template <DecodeEight kDecode, std::size_t kBlockBytes, WriteEight kWrite, std::size_t kTexelBytes>
std::size_t decodeEights(std::uint8_t* destination, std::size_t pitch, const std::uint8_t* source,
                         std::size_t count) {
    std::size_t done = 0;
    for (; done + kBlocksAtOnce <= count; done += kBlocksAtOnce) {
        kWrite(destination + done * 4 * kTexelBytes, pitch, kDecode(source + done * kBlockBytes));
    }
    return done;
}

constexpr ChannelKernelsAvx2 kKernels = {
    &decodeEights<decodeBc4Eight, 8, writeBytes, 1>,
    &decodeEights<decodeBc5Eight, 16, writePairs, 2>,
    {&decodeEights<decodeBc4Eight, 8, writePixels, 4>, &decodeEights<decodeBc5Eight, 16, writePixels, 4>}};

} // namespace

const ChannelKernelsAvx2* channelKernelsAvx2() { return &kKernels; }

} // namespace qor::Texsmith::Raw

#else

namespace qor::Texsmith::Raw {

const ChannelKernelsAvx2* channelKernelsAvx2() { return nullptr; }

} // namespace qor::Texsmith::Raw

#endif
