// How the kernels find the channels of one element: four lanes of raw values, zero where there is no channel.
#pragma once

#include "simd/float4.h"

#include <cstdint>
#include <cstring>

namespace qor::Texsmith::Raw::Layout {

using Simd::Int4;

template <int kCount> struct Bytes {
    static constexpr int kBytes = kCount;
    static constexpr unsigned kWidths[4] = {8, kCount > 1 ? 8 : 0, kCount > 2 ? 8 : 0, kCount > 3 ? 8 : 0};

    static Int4 load(const std::uint8_t* source) {
        std::uint32_t bytes = 0;
        std::memcpy(&bytes, source, kBytes);
        return Simd::fromBytes(bytes);
    }
    static void store(std::uint8_t* destination, Int4 lanes) {
        const std::uint32_t bytes = Simd::toBytes(lanes);
        std::memcpy(destination, &bytes, kBytes);
    }
};

template <int kCount> struct Words {
    static constexpr int kBytes = 2 * kCount;
    static constexpr unsigned kWidths[4] = {16, kCount > 1 ? 16 : 0, kCount > 2 ? 16 : 0,
                                            kCount > 3 ? 16 : 0};

    static Int4 load(const std::uint8_t* source) {
        std::uint64_t words = 0;
        std::memcpy(&words, source, kBytes);
        return Simd::fromWords(words);
    }
    static void store(std::uint8_t* destination, Int4 lanes) {
        const std::uint64_t words = Simd::toWords(lanes);
        std::memcpy(destination, &words, kBytes);
    }
};

// Whole 32-bit lanes.
template <int kCount> struct DoubleWords {
    static constexpr int kBytes = 4 * kCount;

    static Int4 load(const std::uint8_t* source) {
        std::uint32_t lanes[4] = {};
        std::memcpy(lanes, source, kBytes);
        return Simd::loadInts(lanes);
    }
    static void store(std::uint8_t* destination, Int4 lanes) {
        std::uint32_t stored[4];
        Simd::store(stored, lanes);
        std::memcpy(destination, stored, kBytes);
    }
};

//   31 30 29      20 19      10 9        0
//   |  W  |    Z    |    Y    |    X    |
struct Tens {
    static constexpr int kBytes = 4;
    static constexpr unsigned kWidths[4] = {10, 10, 10, 2};

    static Int4 load(const std::uint8_t* source) {
        std::uint32_t word;
        std::memcpy(&word, source, kBytes);
        return Simd::makeInts(word & 0x3FF, word >> 10 & 0x3FF, word >> 20 & 0x3FF, word >> 30);
    }
    static void store(std::uint8_t* destination, Int4 lanes) {
        std::uint32_t values[4];
        Simd::store(values, lanes);
        const std::uint32_t word = values[0] | values[1] << 10 | values[2] << 20 | values[3] << 30;
        std::memcpy(destination, &word, kBytes);
    }
};

} // namespace qor::Texsmith::Raw::Layout
