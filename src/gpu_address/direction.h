// The two directions of a move, so that each walk is written once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qor::GpuAddress {

// An element narrower than a byte: the byte's other bits stay.
inline void copyBits(std::uint8_t* to, std::uint64_t toBit, const std::uint8_t* from, std::uint64_t fromBit,
                     unsigned bits) {
    const unsigned mask = (1u << bits) - 1;
    const unsigned value = from[fromBit / 8] >> (fromBit % 8) & mask;
    std::uint8_t& byte = to[toBit / 8];
    byte = static_cast<std::uint8_t>((byte & ~(mask << (toBit % 8))) | value << (toBit % 8));
}

inline void copyElement(std::uint8_t* to, std::uint64_t toBit, const std::uint8_t* from,
                        std::uint64_t fromBit, unsigned bits) {
    if (bits < 8) {
        copyBits(to, toBit, from, fromBit, bits);
    } else {
        std::memcpy(to + toBit / 8, from + fromBit / 8, bits / 8);
    }
}

struct ToTiled {
    using Tiled = std::uint8_t*;
    using Linear = const std::uint8_t*;

    static void move(Tiled tiled, Linear linear, std::size_t bytes) { std::memcpy(tiled, linear, bytes); }
    static void moveElement(Tiled tiled, std::uint64_t tiledBit, Linear linear, std::uint64_t linearBit,
                            unsigned bits) {
        copyElement(tiled, tiledBit, linear, linearBit, bits);
    }
};

struct ToLinear {
    using Tiled = const std::uint8_t*;
    using Linear = std::uint8_t*;

    static void move(Tiled tiled, Linear linear, std::size_t bytes) { std::memcpy(linear, tiled, bytes); }
    static void moveElement(Tiled tiled, std::uint64_t tiledBit, Linear linear, std::uint64_t linearBit,
                            unsigned bits) {
        copyElement(linear, linearBit, tiled, tiledBit, bits);
    }
};

} // namespace qor::GpuAddress
