// Decoders of BC1 to BC5 straight from the published layouts: bit by bit, with ideal halves, thirds, fifths
// and sevenths in double precision.
#pragma once

#include <array>
#include <cstdint>

namespace TestSupport::Oracle {

// Channels R, G, B, A on a scale of 255; signed values on one of 127.
using Texel = std::array<double, 4>;
using Texels = std::array<Texel, 16>;

inline unsigned bitsAt(const std::uint8_t* block, unsigned at, unsigned count) {
    unsigned value = 0;
    for (unsigned bit = 0; bit < count; ++bit) {
        value |= (block[(at + bit) / 8] >> (at + bit) % 8 & 1u) << bit;
    }
    return value;
}

inline Texel endpoint(unsigned word) {
    const unsigned red = word >> 11, green = word >> 5 & 63, blue = word & 31;
    return {double(red << 3 | red >> 2), double(green << 2 | green >> 4), double(blue << 3 | blue >> 2), 255};
}

inline Texel mixed(const Texel& a, const Texel& b, double share) {
    Texel result = a;
    for (unsigned channel = 0; channel < 4; ++channel) {
        result[channel] += (b[channel] - a[channel]) * share;
    }
    return result;
}

inline void decodeColours(Texels& texels, const std::uint8_t* block, bool mayHaveThree) {
    const unsigned word0 = bitsAt(block, 0, 16), word1 = bitsAt(block, 16, 16);
    const Texel a = endpoint(word0), b = endpoint(word1);
    const bool three = mayHaveThree && word0 <= word1;
    const Texel palette[4] = {a, b, mixed(a, b, three ? 1.0 / 2 : 1.0 / 3),
                              three ? Texel{} : mixed(a, b, 2.0 / 3)};
    for (unsigned texel = 0; texel < 16; ++texel) {
        texels[texel] = palette[bitsAt(block, 32 + 2 * texel, 2)];
    }
}

inline void decodeValues(Texels& texels, unsigned channel, const std::uint8_t* block, bool isSigned) {
    const auto end = [&](unsigned i) {
        const int value = isSigned ? static_cast<std::int8_t>(block[i]) : block[i];
        return value == -128 ? -127.0 : double(value);
    };
    const double a = end(0), b = end(1);
    const unsigned parts = a > b ? 7 : 5;
    for (unsigned texel = 0; texel < 16; ++texel) {
        const unsigned code = bitsAt(block, 16 + 3 * texel, 3);
        double value = code == 0 ? a : code == 1 ? b : a + (b - a) * (code - 1) / parts;
        if (parts == 5 && code >= 6) {
            value = code == 6 ? (isSigned ? -127 : 0) : (isSigned ? 127 : 255);
        }
        texels[texel][channel] = value;
    }
}

inline Texels decode(unsigned bc, const std::uint8_t* block, bool isSigned = false) {
    Texels texels = {};
    if (bc <= 3) {
        decodeColours(texels, bc == 1 ? block : block + 8, bc == 1);
    }
    for (unsigned texel = 0; texel < 16 && bc == 2; ++texel) {
        texels[texel][3] = bitsAt(block, 4 * texel, 4) * 17;
    }
    if (bc >= 3) {
        decodeValues(texels, bc == 3 ? 3 : 0, block, isSigned);
    }
    if (bc == 5) {
        decodeValues(texels, 1, block + 8, isSigned);
    }
    return texels;
}

} // namespace TestSupport::Oracle
