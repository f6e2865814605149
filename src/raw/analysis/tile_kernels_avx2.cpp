// The kernels of tile_kernels.h for AVX2: two texels in a register.
#include "raw/analysis/tile_kernels.h"

#if defined(__AVX2__)
#    include "raw/analysis/range_and_sum_lanes.h"
#    include "raw/analysis/round_to_bytes_lanes.h"
#    include "raw/analysis/squared_error_lanes.h"
#    include "simd/lanes8_avx2.h"
#endif

namespace qor::Texsmith::Raw {

#if defined(__AVX2__)
namespace {

using Simd::Avx2::Float8;
using Lanes = Simd::Avx2::Lanes8;

// Four texels are loaded into both halves of a register; a shuffle then takes texels 0 and 1, or 2 and 3, one
// to each half, and each byte to the low end of its lane.
class ByteLoader {
public:
    explicit ByteLoader(const ByteLanes& lanes)
        : m_first(selects(lanes, 0)), m_second(selects(lanes, 8)),
          m_whole(
              _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(lanes.m_whole)))),
          m_scale(_mm256_set1_ps(static_cast<float>(1.0 / 255))) {}

    void load(__m256& first, __m256& second, const std::uint8_t* source) const {
        const __m256i texels =
            _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(source)));
        first = expand(texels, m_first);
        second = expand(texels, m_second);
    }

private:
    static __m256i selects(const ByteLanes& lanes, unsigned firstByte) {
        alignas(32) std::uint8_t control[32] = {};
        for (unsigned i = 0; i < 32; ++i) {
            const unsigned texelByte = firstByte + (i / 16) * 4, lane = i / 4 % 4;
            const bool isByte = i % 4 == 0 && lanes.m_byte[lane] != ByteLanes::kNoByte;
            control[i] = static_cast<std::uint8_t>(isByte ? texelByte + lanes.m_byte[lane] : 0x80u);
        }
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(control));
    }
    __m256 expand(__m256i texels, __m256i select) const {
        const __m256i whole = _mm256_or_si256(_mm256_shuffle_epi8(texels, select), m_whole);
        return _mm256_mul_ps(_mm256_cvtepi32_ps(whole), m_scale);
    }

    __m256i m_first, m_second, m_whole;
    __m256 m_scale;
};

// For bytes that stand in their lanes already.
class PlainByteLoader {
public:
    explicit PlainByteLoader(const ByteLanes&) : m_scale(_mm256_set1_ps(static_cast<float>(1.0 / 255))) {}

    static bool isEnoughFor(const ByteLanes& lanes) {
        bool isPlain = true;
        for (unsigned lane = 0; lane < 4; ++lane) {
            isPlain = isPlain && lanes.m_byte[lane] == lane;
        }
        return isPlain;
    }
    void load(__m256& first, __m256& second, const std::uint8_t* source) const {
        first = expand(source);
        second = expand(source + 8);
    }

private:
    __m256 expand(const std::uint8_t* source) const {
        const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(source));
        return _mm256_mul_ps(_mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(bytes)), m_scale);
    }

    __m256 m_scale;
};

// Eight rows of two surfaces are more streams than the processor follows by itself.
void fetchAhead(const std::uint8_t* row) {
    constexpr std::uintptr_t kBytesAhead = 512;
    _mm_prefetch(reinterpret_cast<const char*>(reinterpret_cast<std::uintptr_t>(row) + kBytesAhead),
                 _MM_HINT_T0);
}

template <typename Loader> void loadRow(Float8 (&pairs)[4], const Loader& loader, const std::uint8_t* row) {
    loader.load(pairs[0].m_lanes, pairs[1].m_lanes, row);
    loader.load(pairs[2].m_lanes, pairs[3].m_lanes, row + 16);
}

void decodeByteTiles(Tile* tiles, const ByteTiles& source, unsigned count) {
    const ByteLoader loader(source.m_lanes);
    for (unsigned i = 0; i < count; ++i) {
        float* texels = tiles[i].m_texels[0].m_lanes;
        const std::uint8_t* at = source.m_source + std::size_t{32} * i;
        for (unsigned row = 0; row < 8; ++row, texels += 32, at += source.m_pitch) {
            Float8 pairs[4];
            loadRow(pairs, loader, at);
            for (unsigned pair = 0; pair < 4; ++pair) {
                store(texels + 8 * pair, pairs[pair]);
            }
        }
    }
}

// Of tiles side by side. A row of a tile has eight texels: one for each of the partial sums.
template <unsigned kTiles, typename Loader>
void sumSideBySide(VectorFloat* sums, const Loader& loaderA, const Loader& loaderB, const ByteTiles& a,
                   const ByteTiles& b, unsigned first) {
    const std::uint8_t* rowA = a.m_source + std::size_t{32} * first;
    const std::uint8_t* rowB = b.m_source + std::size_t{32} * first;
    EightSums<Lanes> partial[kTiles];
    for (unsigned row = 0; row < 8; ++row, rowA += a.m_pitch, rowB += b.m_pitch) {
        fetchAhead(rowA);
        fetchAhead(rowB);
        for (unsigned tile = 0; tile < kTiles; ++tile) {
            Float8 pairsA[4], pairsB[4];
            loadRow(pairsA, loaderA, rowA + 32 * tile);
            loadRow(pairsB, loaderB, rowB + 32 * tile);
            for (unsigned pair = 0; pair < 4; ++pair) {
                const Float8 square = SquaredDifference<Lanes>()(pairsA[pair], pairsB[pair]);
                partial[tile].m_pairs[pair] = partial[tile].m_pairs[pair] + square;
            }
        }
    }
    for (unsigned tile = 0; tile < kTiles; ++tile) {
        partial[tile].fold(sums[first + tile].m_lanes);
    }
}

// Two at a time have whole lines of the caches. Rows that lie a power of two apart push each other out of the
// nearest cache, so that the other half of a line would have to come again.
template <typename Loader>
void sumByteSquares(VectorFloat* sums, const ByteTiles& a, const ByteTiles& b, unsigned count) {
    const Loader loaderA(a.m_lanes), loaderB(b.m_lanes);
    unsigned done = 0;
    for (; done + 2 <= count; done += 2) {
        sumSideBySide<2>(sums, loaderA, loaderB, a, b, done);
    }
    if (done < count) {
        sumSideBySide<1>(sums, loaderA, loaderB, a, b, done);
    }
}

void sumsOfByteSquares(VectorFloat* sums, const ByteTiles& a, const ByteTiles& b, unsigned count) {
    const bool arePlain = PlainByteLoader::isEnoughFor(a.m_lanes) && PlainByteLoader::isEnoughFor(b.m_lanes);
    (arePlain ? sumByteSquares<PlainByteLoader> : sumByteSquares<ByteLoader>)(sums, a, b, count);
}

} // namespace

const TileKernels* getTileKernelsAvx2() {
    static constexpr TileKernels kKernels = {&decodeByteTiles,     &addRangeAndSum<Lanes>,
                                             &roundToBytes<Lanes>, &sumOfSquares<Lanes>,
                                             &sumsOfByteSquares,   &sumsOfFloatSquares<Lanes>};
    return &kKernels;
}

#else

const TileKernels* getTileKernelsAvx2() { return nullptr; }

#endif

} // namespace qor::Texsmith::Raw
