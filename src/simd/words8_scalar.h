// The plain back end of words.h, and the meaning of each operation.
#pragma once

#include "simd/float4_scalar.h"

#include <bit>
#include <cstdint>
#include <cstring>

namespace qor::Texsmith::Simd::Scalar {

struct Word8 {
    std::int16_t m_lanes[8];
};
struct Wide8 {
    Int4 m_low, m_high; // lanes 0 to 3, and 4 to 7
};

template <typename Operation> inline Word8 eachWord(Operation operation) {
    Word8 result;
    for (int i = 0; i < 8; ++i) {
        result.m_lanes[i] = static_cast<std::int16_t>(operation(i));
    }
    return result;
}
template <typename Operation> inline Wide8 eachWide(Operation operation) {
    Wide8 result;
    for (int i = 0; i < 4; ++i) {
        result.m_low.m_lanes[i] = static_cast<std::uint32_t>(operation(i));
        result.m_high.m_lanes[i] = static_cast<std::uint32_t>(operation(i + 4));
    }
    return result;
}

inline Word8 operator+(Word8 a, Word8 b) {
    return eachWord([&](int i) { return a.m_lanes[i] + b.m_lanes[i]; });
}
inline Word8 operator-(Word8 a, Word8 b) {
    return eachWord([&](int i) { return a.m_lanes[i] - b.m_lanes[i]; });
}
inline Word8 operator*(Word8 a, Word8 b) {
    return eachWord([&](int i) { return a.m_lanes[i] * b.m_lanes[i]; });
}
inline Word8 operator&(Word8 a, Word8 b) {
    return eachWord([&](int i) { return a.m_lanes[i] & b.m_lanes[i]; });
}
inline Word8 operator|(Word8 a, Word8 b) {
    return eachWord([&](int i) { return a.m_lanes[i] | b.m_lanes[i]; });
}
inline Word8 operator^(Word8 a, Word8 b) {
    return eachWord([&](int i) { return a.m_lanes[i] ^ b.m_lanes[i]; });
}
// The upper 16 bits of the products.
inline Word8 multiplyHigh(Word8 a, Word8 b) {
    return eachWord([&](int i) { return a.m_lanes[i] * b.m_lanes[i] >> 16; });
}
inline Word8 minimumSigned(Word8 a, Word8 b) {
    return eachWord([&](int i) { return a.m_lanes[i] < b.m_lanes[i] ? a.m_lanes[i] : b.m_lanes[i]; });
}
inline Word8 maximumSigned(Word8 a, Word8 b) {
    return eachWord([&](int i) { return a.m_lanes[i] > b.m_lanes[i] ? a.m_lanes[i] : b.m_lanes[i]; });
}
inline Word8 greaterSigned(Word8 a, Word8 b) {
    return eachWord([&](int i) { return a.m_lanes[i] > b.m_lanes[i] ? -1 : 0; });
}
inline Word8 equal(Word8 a, Word8 b) {
    return eachWord([&](int i) { return a.m_lanes[i] == b.m_lanes[i] ? -1 : 0; });
}
inline Word8 select(Word8 mask, Word8 a, Word8 b) {
    return eachWord(
        [&](int i) { return (a.m_lanes[i] & mask.m_lanes[i]) | (b.m_lanes[i] & ~mask.m_lanes[i]); });
}
inline bool anyLane(Word8 mask) {
    std::int16_t any = 0;
    for (const std::int16_t lane : mask.m_lanes) {
        any = static_cast<std::int16_t>(any | lane);
    }
    return any != 0;
}
template <int kBits> inline Word8 shiftLeft(Word8 a) {
    return eachWord([&](int i) { return static_cast<std::uint32_t>(a.m_lanes[i]) << kBits; });
}
template <int kBits> inline Word8 shiftRight(Word8 a) {
    return eachWord([&](int i) { return static_cast<std::uint16_t>(a.m_lanes[i]) >> kBits; });
}
template <int kBits> inline Word8 shiftRightSigned(Word8 a) {
    return eachWord([&](int i) { return a.m_lanes[i] >> kBits; });
}

inline Wide8 widen(Word8 a) {
    return eachWide([&](int i) { return std::int32_t{a.m_lanes[i]}; });
}
inline Wide8 interleave(Word8 a, Word8 b) {
    return eachWide([&](int i) {
        return static_cast<std::uint16_t>(a.m_lanes[i]) | static_cast<std::uint32_t>(b.m_lanes[i]) << 16;
    });
}
// Modulo 2^32.
inline Wide8 sumOfProducts(Word8 a, Word8 b, Word8 c, Word8 d) {
    return eachWide([&](int i) {
        return static_cast<std::uint32_t>(a.m_lanes[i] * b.m_lanes[i]) +
               static_cast<std::uint32_t>(c.m_lanes[i] * d.m_lanes[i]);
    });
}
inline std::int16_t saturated(std::uint32_t lane) {
    const auto value = static_cast<std::int32_t>(lane);
    return static_cast<std::int16_t>(value < -32768 ? -32768 : value > 32767 ? 32767 : value);
}
inline Word8 narrow(Wide8 a) {
    Word8 result;
    for (int i = 0; i < 4; ++i) {
        result.m_lanes[i] = saturated(a.m_low.m_lanes[i]);
        result.m_lanes[i + 4] = saturated(a.m_high.m_lanes[i]);
    }
    return result;
}
inline void store(void* destination, Word8 a) { std::memcpy(destination, &a, sizeof a); }
inline void storeWide(void* destination, Wide8 a) { std::memcpy(destination, &a, sizeof a); }

struct WordBackend {
    using Word = Word8;
    using Wide = Wide8;
    static constexpr unsigned kCount = 8;

    static Word splat(int value) {
        return eachWord([&](int) { return value; });
    }
    static Word load(const void* source) {
        Word result;
        std::memcpy(&result, source, sizeof result);
        return result;
    }
    static Wide loadWide(const void* source) {
        Wide result;
        std::memcpy(&result, source, sizeof result);
        return result;
    }
};

} // namespace qor::Texsmith::Simd::Scalar
