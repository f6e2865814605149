// Plain records of texels and vectors.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qor::Texsmith::Raw {

// One texel, or one stored element of up to 16 bytes. Lanes X, Y, Z, W hold floats, except for the channel
// types UInt, SInt and UBInt, where they hold integers in the same 32 bits.
struct alignas(16) VectorFloat {
    float m_lanes[4];

    constexpr float& operator[](std::size_t lane) { return m_lanes[lane]; }
    constexpr float operator[](std::size_t lane) const { return m_lanes[lane]; }
};

// Four rows, the images of the axes X, Y, Z, W: M * v = v.x * row 0 + v.y * row 1 + v.z * row 2 + v.w *
// row 3.
struct alignas(16) Matrix {
    VectorFloat m_rows[4];

    constexpr VectorFloat& operator[](std::size_t row) { return m_rows[row]; }
    constexpr const VectorFloat& operator[](std::size_t row) const { return m_rows[row]; }
};

// One texel as floats R, G, B, A.
struct ColorRGBA32F {
    float r, g, b, a;
};

// 4 x 4 texels in row order; also a buffer of 256 bytes for a block of stored elements.
struct alignas(16) Block {
    VectorFloat m_texels[16];
};

// 8 x 8 texels in row order; also a buffer of 1024 bytes for a tile of stored elements.
struct alignas(16) Tile {
    VectorFloat m_texels[64];
};

// 4 x 4 texels of four bytes, channels 0 to 3, in row order.
struct alignas(16) Block8 {
    std::uint8_t m_texels[16][4];
};

// A lowest and a highest value, lane by lane.
struct MinMax {
    VectorFloat min;
    VectorFloat max;
};

static_assert(sizeof(VectorFloat) == 16 && sizeof(Matrix) == 64 && sizeof(ColorRGBA32F) == 16);
static_assert(sizeof(Block) == 256 && sizeof(Tile) == 1024 && sizeof(Block8) == 64);

} // namespace qor::Texsmith::Raw

namespace qor::Texsmith {
using Raw::ColorRGBA32F;
using Raw::VectorFloat;
} // namespace qor::Texsmith
