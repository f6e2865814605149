#include "gpu_address/micro_tile_sse2.h"

#if defined(TEXSMITH_MICRO_TILE_SSE2)

#    include "gpu_address/array_modes.h"

#    include <emmintrin.h>

namespace qor::GpuAddress {

namespace {

// Elements a0 a1 ... of a row and b0 b1 ... of the one below stand in memory as
//
//   a0 a1 b0 b1 a2 a3 b2 b3  (two more rows)  a4 a5 b4 b5 a6 a7 b6 b7  (two more rows)
//
// and four such rows make one half of a plane.

__m128i load(const std::uint8_t* from) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from)); }
__m128i loadHalf(const std::uint8_t* from) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from)); }
void store(std::uint8_t* to, __m128i value) { _mm_storeu_si128(reinterpret_cast<__m128i*>(to), value); }
void storeHalf(std::uint8_t* to, __m128i value) { _mm_storel_epi64(reinterpret_cast<__m128i*>(to), value); }

constexpr int kSwapMiddle = 0xD8; // 0 2 1 3

// Moves kRows rows; `plane` is where the first of them begins.
template <unsigned kBytes> struct Quads;

template <> struct Quads<4> {
    static constexpr unsigned kRows = 2;
    static void move(std::uint8_t* plane, const std::uint8_t* rows, std::size_t pitch) {
        for (unsigned half = 0; half < 2; ++half, plane += 64, rows += 16) {
            const __m128i a = load(rows);
            const __m128i b = load(rows + pitch);
            store(plane, _mm_unpacklo_epi64(a, b));
            store(plane + 16, _mm_unpackhi_epi64(a, b));
        }
    }
    static void move(const std::uint8_t* plane, std::uint8_t* rows, std::size_t pitch) {
        for (unsigned half = 0; half < 2; ++half, plane += 64, rows += 16) {
            const __m128i left = load(plane);
            const __m128i right = load(plane + 16);
            store(rows, _mm_unpacklo_epi64(left, right));
            store(rows + pitch, _mm_unpackhi_epi64(left, right));
        }
    }
};

template <> struct Quads<2> {
    static constexpr unsigned kRows = 2;
    static void move(std::uint8_t* plane, const std::uint8_t* rows, std::size_t pitch) {
        const __m128i a = load(rows);
        const __m128i b = load(rows + pitch);
        store(plane, _mm_unpacklo_epi32(a, b));
        store(plane + 32, _mm_unpackhi_epi32(a, b));
    }
    static void move(const std::uint8_t* plane, std::uint8_t* rows, std::size_t pitch) {
        const __m128i left = _mm_shuffle_epi32(load(plane), kSwapMiddle);
        const __m128i right = _mm_shuffle_epi32(load(plane + 32), kSwapMiddle);
        store(rows, _mm_unpacklo_epi64(left, right));
        store(rows + pitch, _mm_unpackhi_epi64(left, right));
    }
};

template <> struct Quads<1> {
    static constexpr unsigned kRows = 4;
    static void move(std::uint8_t* plane, const std::uint8_t* rows, std::size_t pitch) {
        const __m128i upper = _mm_unpacklo_epi16(loadHalf(rows), loadHalf(rows + pitch));
        const __m128i lower = _mm_unpacklo_epi16(loadHalf(rows + 2 * pitch), loadHalf(rows + 3 * pitch));
        store(plane, _mm_unpacklo_epi64(upper, lower));
        store(plane + 16, _mm_unpackhi_epi64(upper, lower));
    }
    static void move(const std::uint8_t* plane, std::uint8_t* rows, std::size_t pitch) {
        const __m128i left = load(plane);
        const __m128i right = load(plane + 16);
        storeTwoRows(rows, pitch, _mm_unpacklo_epi64(left, right));
        storeTwoRows(rows + 2 * pitch, pitch, _mm_unpackhi_epi64(left, right));
    }
    // Pairs a01 b01 a23 b23 a45 b45 a67 b67.
    static void storeTwoRows(std::uint8_t* rows, std::size_t pitch, __m128i pairs) {
        const __m128i low = _mm_shufflelo_epi16(pairs, kSwapMiddle);
        const __m128i both = _mm_shuffle_epi32(_mm_shufflehi_epi16(low, kSwapMiddle), kSwapMiddle);
        storeHalf(rows, both);
        storeHalf(rows + pitch, _mm_srli_si128(both, 8));
    }
};

template <typename Direction, unsigned kBytes>
inline void movePlane(typename Direction::Tiled plane, typename Direction::Linear linear, std::size_t pitch) {
    using Rows = Quads<kBytes>;
    for (unsigned y = 0; y < kMicroTileSide; y += Rows::kRows) {
        Rows::move(plane + (unsigned{kSpread[y]} << 1) * kBytes, linear + y * pitch, pitch);
    }
}

template <typename Direction, unsigned kBytes>
void movePlanes(typename Direction::Tiled tiled, typename Direction::Linear linear, std::size_t pitch,
                const MicroTileRow& row, std::uint32_t first, std::uint32_t columns) {
    for (std::uint32_t column = first; column < first + columns; ++column) {
        movePlane<Direction, kBytes>(tiled + planeOffset(row, column), linear, pitch);
        linear += kMicroTileSide * kBytes;
    }
}

} // namespace

template <typename Direction> MovePlanes<Direction> mortonPlanesSse2(unsigned elementBytes) {
    switch (elementBytes) {
    case 1:
        return movePlanes<Direction, 1>;
    case 2:
        return movePlanes<Direction, 2>;
    case 4:
        return movePlanes<Direction, 4>;
    default:
        return nullptr;
    }
}

template MovePlanes<ToTiled> mortonPlanesSse2<ToTiled>(unsigned);
template MovePlanes<ToLinear> mortonPlanesSse2<ToLinear>(unsigned);

} // namespace qor::GpuAddress

#endif
