#include "gpu_address/micro_tile_avx2.h"

#if defined(__AVX2__)

#    include <immintrin.h>

namespace qor::GpuAddress {

namespace {

// A line of 64 bytes of a plane holds squares: of 4 x 4 elements of 4 bytes, of 4 x 2 of 8, of 2 x 2 of 16.
// Lines are written whole, in either order, so that streamed stores fill the lines that they open.

constexpr std::size_t kHalf = 32;

__m256i load(const std::uint8_t* from) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from)); }

template <bool kStreamed> void store(std::uint8_t* to, __m256i value) {
    if constexpr (kStreamed) {
        _mm256_stream_si256(reinterpret_cast<__m256i*>(to), value);
    } else {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), value);
    }
}

__m256i lowHalves(__m256i a, __m256i b) { return _mm256_permute2x128_si256(a, b, 0x20); }
__m256i highHalves(__m256i a, __m256i b) { return _mm256_permute2x128_si256(a, b, 0x31); }

template <unsigned kBytes, bool kStreamed> struct Plane;

template <bool kStreamed> struct Plane<4, kStreamed> {
    static void tile(std::uint8_t* plane, const std::uint8_t* rows, std::size_t pitch) {
        for (unsigned half = 0; half < 2; ++half, plane += 128, rows += 4 * pitch) {
            const __m256i a = load(rows), b = load(rows + pitch);
            const __m256i c = load(rows + 2 * pitch), d = load(rows + 3 * pitch);
            const __m256i ab0 = _mm256_unpacklo_epi64(a, b), ab1 = _mm256_unpackhi_epi64(a, b);
            const __m256i cd0 = _mm256_unpacklo_epi64(c, d), cd1 = _mm256_unpackhi_epi64(c, d);
            store<kStreamed>(plane, lowHalves(ab0, ab1));
            store<kStreamed>(plane + 32, lowHalves(cd0, cd1));
            store<kStreamed>(plane + 64, highHalves(ab0, ab1));
            store<kStreamed>(plane + 96, highHalves(cd0, cd1));
        }
    }
    // Two rows.
    static void detilePair(const std::uint8_t* plane, std::uint8_t* rows, std::size_t pitch) {
        const __m256i left = load(plane), right = load(plane + 64);
        const __m256i first = lowHalves(left, right), second = highHalves(left, right);
        store<kStreamed>(rows, _mm256_unpacklo_epi64(first, second));
        store<kStreamed>(rows + pitch, _mm256_unpackhi_epi64(first, second));
    }
    static std::size_t pairOffset(unsigned pair) { return (pair & 1) * 32 + (pair >> 1) * 128; }
};

template <bool kStreamed> struct Plane<8, kStreamed> {
    static void tile(std::uint8_t* plane, const std::uint8_t* rows, std::size_t pitch) {
        for (unsigned pair = 0; pair < 4; ++pair, rows += 2 * pitch) {
            std::uint8_t* left = plane + pairOffset(pair);
            tileSquares(left, rows, pitch);
            tileSquares(left + 128, rows + kHalf, pitch);
        }
    }
    static void tileSquares(std::uint8_t* line, const std::uint8_t* rows, std::size_t pitch) {
        const __m256i a = load(rows), b = load(rows + pitch);
        store<kStreamed>(line, lowHalves(a, b));
        store<kStreamed>(line + kHalf, highHalves(a, b));
    }
    static void detilePair(const std::uint8_t* left, std::uint8_t* rows, std::size_t pitch) {
        const __m256i a = load(left), b = load(left + kHalf), c = load(left + 128), d = load(left + 160);
        store<kStreamed>(rows, lowHalves(a, b));
        store<kStreamed>(rows + kHalf, lowHalves(c, d));
        store<kStreamed>(rows + pitch, highHalves(a, b));
        store<kStreamed>(rows + pitch + kHalf, highHalves(c, d));
    }
    static std::size_t pairOffset(unsigned pair) { return (pair & 1) * 64 + (pair >> 1) * 256; }
};

template <bool kStreamed> struct Plane<16, kStreamed> {
    static constexpr unsigned kSquares[4] = {0, 64, 256, 320};

    static void tile(std::uint8_t* plane, const std::uint8_t* rows, std::size_t pitch) {
        for (unsigned pair = 0; pair < 4; ++pair, rows += 2 * pitch) {
            for (unsigned i = 0; i < 4; ++i) {
                std::uint8_t* line = plane + pairOffset(pair) + kSquares[i];
                store<kStreamed>(line, load(rows + i * kHalf));
                store<kStreamed>(line + kHalf, load(rows + pitch + i * kHalf));
            }
        }
    }
    static void detilePair(const std::uint8_t* squares, std::uint8_t* rows, std::size_t pitch) {
        for (unsigned row = 0; row < 2; ++row, rows += pitch, squares += kHalf) {
            for (unsigned i = 0; i < 4; ++i) {
                store<kStreamed>(rows + i * kHalf, load(squares + kSquares[i]));
            }
        }
    }
    static std::size_t pairOffset(unsigned pair) { return (pair & 1) * 128 + (pair >> 1) * 512; }
};

std::uint64_t offsetOf(const MicroTileRow& row, std::uint32_t column) {
    const std::uint32_t mask = (std::uint32_t{1} << row.m_columnShift) - 1;
    const std::uint64_t first = std::uint64_t{column >> row.m_columnShift} * row.m_macroCount;
    return (first + ((column & mask) ^ row.m_swizzle)) * row.m_microBytes;
}

template <unsigned kBytes, bool kStreamed>
void tilePlanes(std::uint8_t* tiled, const std::uint8_t* linear, std::size_t pitch, const MicroTileRow& row,
                std::uint32_t first, std::uint32_t columns) {
    for (std::uint32_t column = first; column < first + columns; ++column, linear += 8 * kBytes) {
        Plane<kBytes, kStreamed>::tile(tiled + offsetOf(row, column), linear, pitch);
    }
}

// The swizzle hides the order of planes from the processor, which would wait for each of them, so they are
// fetched ahead: in the order of memory, which the processor then goes on with by itself. The place need not
// be inside the surface, as nothing is read.
template <unsigned kBytes>
void fetchPlane(const std::uint8_t* tiled, const MicroTileRow& row, std::uint32_t column) {
    constexpr std::size_t kLine = 64, kPlane = 64 * kBytes;
    MicroTileRow inOrder = row;
    inOrder.m_swizzle = 0;
    const std::uintptr_t first =
        reinterpret_cast<std::uintptr_t>(tiled) + offsetOf(inOrder, column) + row.m_bytesAhead;
    for (std::size_t at = 0; at < kPlane; at += kLine) {
        _mm_prefetch(reinterpret_cast<const char*>(first + at), _MM_HINT_T0);
    }
}

// Two planes at a time, since a row of one is half a line at 4 bytes.
template <unsigned kBytes, bool kStreamed>
void detilePlanes(const std::uint8_t* tiled, std::uint8_t* linear, std::size_t pitch, const MicroTileRow& row,
                  std::uint32_t first, std::uint32_t columns) {
    using Moves = Plane<kBytes, kStreamed>;
    for (std::uint32_t done = 0; done < columns; done += 2, linear += 16 * kBytes) {
        const std::uint8_t* left = tiled + offsetOf(row, first + done);
        const bool hasRight = done + 1 < columns;
        const std::uint8_t* right = hasRight ? tiled + offsetOf(row, first + done + 1) : left;
        if constexpr (kStreamed) {
            fetchPlane<kBytes>(tiled, row, first + done);
            fetchPlane<kBytes>(tiled, row, first + done + 1);
        }
        for (unsigned pair = 0; pair < 4; ++pair) {
            std::uint8_t* rows = linear + 2 * pair * pitch;
            Moves::detilePair(left + Moves::pairOffset(pair), rows, pitch);
            if (hasRight) {
                Moves::detilePair(right + Moves::pairOffset(pair), rows + 8 * kBytes, pitch);
            }
        }
    }
}

template <unsigned kBytes> TilePlanes tilePlanesFor(bool streamed) {
    return streamed ? tilePlanes<kBytes, true> : tilePlanes<kBytes, false>;
}
template <unsigned kBytes> DetilePlanes detilePlanesFor(bool streamed) {
    return streamed ? detilePlanes<kBytes, true> : detilePlanes<kBytes, false>;
}

} // namespace

TilePlanes tilePlanesAvx2(unsigned elementBytes, bool streamed) {
    switch (elementBytes) {
    case 4:
        return tilePlanesFor<4>(streamed);
    case 8:
        return tilePlanesFor<8>(streamed);
    case 16:
        return tilePlanesFor<16>(streamed);
    default:
        return nullptr;
    }
}

DetilePlanes detilePlanesAvx2(unsigned elementBytes, bool streamed) {
    switch (elementBytes) {
    case 4:
        return detilePlanesFor<4>(streamed);
    case 8:
        return detilePlanesFor<8>(streamed);
    case 16:
        return detilePlanesFor<16>(streamed);
    default:
        return nullptr;
    }
}

void finishStreamedPlanes() { _mm_sfence(); }

} // namespace qor::GpuAddress

#else

namespace qor::GpuAddress {

TilePlanes tilePlanesAvx2(unsigned, bool) { return nullptr; }
DetilePlanes detilePlanesAvx2(unsigned, bool) { return nullptr; }
void finishStreamedPlanes() {}

} // namespace qor::GpuAddress

#endif
