// The plain back end of float4.h, and the meaning of each operation.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace qor::Texsmith::Simd::Scalar {

struct Float4 {
    float m_lanes[4];
};
struct Int4 {
    std::uint32_t m_lanes[4];
};

template <typename Result, typename Operation> inline Result eachLane(Operation operation) {
    return {{operation(0), operation(1), operation(2), operation(3)}};
}

inline Float4 splat(float value) { return {{value, value, value, value}}; }
inline Int4 splat(std::uint32_t value) { return {{value, value, value, value}}; }

// From and to 16 bytes of any alignment.
inline Float4 loadFloats(const void* source) {
    Float4 result;
    std::memcpy(&result, source, sizeof result);
    return result;
}
inline Int4 loadInts(const void* source) {
    Int4 result;
    std::memcpy(&result, source, sizeof result);
    return result;
}
inline void store(void* destination, Float4 a) { std::memcpy(destination, &a, sizeof a); }
inline void store(void* destination, Int4 a) { std::memcpy(destination, &a, sizeof a); }

inline Float4 operator+(Float4 a, Float4 b) {
    return eachLane<Float4>([&](int i) { return a.m_lanes[i] + b.m_lanes[i]; });
}
inline Float4 operator-(Float4 a, Float4 b) {
    return eachLane<Float4>([&](int i) { return a.m_lanes[i] - b.m_lanes[i]; });
}
inline Float4 operator*(Float4 a, Float4 b) {
    return eachLane<Float4>([&](int i) { return a.m_lanes[i] * b.m_lanes[i]; });
}
inline Float4 operator/(Float4 a, Float4 b) {
    return eachLane<Float4>([&](int i) { return a.m_lanes[i] / b.m_lanes[i]; });
}
inline Float4 squareRoot(Float4 a) {
    return eachLane<Float4>([&](int i) { return std::sqrt(a.m_lanes[i]); });
}

// The second operand when either is a NaN, and of two zeros.
inline Float4 minimum(Float4 a, Float4 b) {
    return eachLane<Float4>([&](int i) { return a.m_lanes[i] < b.m_lanes[i] ? a.m_lanes[i] : b.m_lanes[i]; });
}
inline Float4 maximum(Float4 a, Float4 b) {
    return eachLane<Float4>([&](int i) { return a.m_lanes[i] > b.m_lanes[i] ? a.m_lanes[i] : b.m_lanes[i]; });
}

// Clears the sign, of a NaN too.
inline Float4 absolute(Float4 a) {
    return eachLane<Float4>([&](int i) {
        return std::bit_cast<float>(std::bit_cast<std::uint32_t>(a.m_lanes[i]) & 0x7FFFFFFFu);
    });
}

// All ones in the lanes where the comparison holds, which it does not for a NaN.
inline Int4 less(Float4 a, Float4 b) {
    return eachLane<Int4>([&](int i) { return a.m_lanes[i] < b.m_lanes[i] ? 0xFFFFFFFFu : 0u; });
}
inline Int4 lessOrEqual(Float4 a, Float4 b) {
    return eachLane<Int4>([&](int i) { return a.m_lanes[i] <= b.m_lanes[i] ? 0xFFFFFFFFu : 0u; });
}
inline Int4 equal(Float4 a, Float4 b) {
    return eachLane<Int4>([&](int i) { return a.m_lanes[i] == b.m_lanes[i] ? 0xFFFFFFFFu : 0u; });
}
// Of n lanes: folds the upper half onto the lower one until one lane is left.
inline float sumOfLanes(Float4 a) { return (a.m_lanes[0] + a.m_lanes[2]) + (a.m_lanes[1] + a.m_lanes[3]); }
// The lanes are the elements of a square: lane i of row k becomes lane k of row i.
inline void transpose(Float4 (&rows)[4]) {
    for (int i = 0; i < 4; ++i) {
        for (int k = 0; k < i; ++k) {
            const float kept = rows[i].m_lanes[k];
            rows[i].m_lanes[k] = rows[k].m_lanes[i];
            rows[k].m_lanes[i] = kept;
        }
    }
}

inline Int4 operator+(Int4 a, Int4 b) {
    return eachLane<Int4>([&](int i) { return a.m_lanes[i] + b.m_lanes[i]; });
}
inline Int4 operator-(Int4 a, Int4 b) {
    return eachLane<Int4>([&](int i) { return a.m_lanes[i] - b.m_lanes[i]; });
}
// The lower 32 bits of the products.
inline Int4 operator*(Int4 a, Int4 b) {
    return eachLane<Int4>([&](int i) { return a.m_lanes[i] * b.m_lanes[i]; });
}
inline Int4 operator&(Int4 a, Int4 b) {
    return eachLane<Int4>([&](int i) { return a.m_lanes[i] & b.m_lanes[i]; });
}
inline Int4 operator|(Int4 a, Int4 b) {
    return eachLane<Int4>([&](int i) { return a.m_lanes[i] | b.m_lanes[i]; });
}
inline Int4 operator^(Int4 a, Int4 b) {
    return eachLane<Int4>([&](int i) { return a.m_lanes[i] ^ b.m_lanes[i]; });
}
inline Int4 operator~(Int4 a) {
    return eachLane<Int4>([&](int i) { return ~a.m_lanes[i]; });
}
template <int kBits> inline Int4 shiftLeft(Int4 a) {
    return eachLane<Int4>([&](int i) { return a.m_lanes[i] << kBits; });
}
template <int kBits> inline Int4 shiftRight(Int4 a) {
    return eachLane<Int4>([&](int i) { return a.m_lanes[i] >> kBits; });
}
template <int kBits> inline Int4 shiftRightSigned(Int4 a) {
    return eachLane<Int4>(
        [&](int i) { return static_cast<std::uint32_t>(static_cast<std::int32_t>(a.m_lanes[i]) >> kBits); });
}
// By a number of bits below 32 that is known at run time only.
struct ShiftCount {
    unsigned m_bits;
};
inline ShiftCount shiftCount(unsigned bits) { return {bits}; }
inline Int4 shiftLeft(Int4 a, ShiftCount count) {
    return eachLane<Int4>([&](int i) { return a.m_lanes[i] << count.m_bits; });
}
inline Int4 shiftRight(Int4 a, ShiftCount count) {
    return eachLane<Int4>([&](int i) { return a.m_lanes[i] >> count.m_bits; });
}
// Each lane by a number of its own, below 32. Slow where the machine has no instruction for it.
inline Int4 shiftLeft(Int4 a, Int4 counts) {
    return eachLane<Int4>([&](int i) { return a.m_lanes[i] << counts.m_lanes[i]; });
}
inline Int4 shiftRight(Int4 a, Int4 counts) {
    return eachLane<Int4>([&](int i) { return a.m_lanes[i] >> counts.m_lanes[i]; });
}
// All ones in the lanes where the signed comparison holds.
inline Int4 greaterSigned(Int4 a, Int4 b) {
    return eachLane<Int4>([&](int i) {
        const bool greater =
            static_cast<std::int32_t>(a.m_lanes[i]) > static_cast<std::int32_t>(b.m_lanes[i]);
        return greater ? 0xFFFFFFFFu : 0u;
    });
}
inline Int4 equal(Int4 a, Int4 b) {
    return eachLane<Int4>([&](int i) { return a.m_lanes[i] == b.m_lanes[i] ? 0xFFFFFFFFu : 0u; });
}
// Whether any lane of a mask is ones, and whether all are.
inline bool anyLane(Int4 mask) {
    return (mask.m_lanes[0] | mask.m_lanes[1] | mask.m_lanes[2] | mask.m_lanes[3]) != 0;
}
inline bool allLanes(Int4 mask) {
    return (mask.m_lanes[0] & mask.m_lanes[1] & mask.m_lanes[2] & mask.m_lanes[3]) != 0;
}
// Bit i tells of lane i of a mask.
inline std::uint32_t laneBits(Int4 mask) {
    return (mask.m_lanes[0] & 1) | (mask.m_lanes[1] & 2) | (mask.m_lanes[2] & 4) | (mask.m_lanes[3] & 8);
}
// `a` where the mask is ones, `b` where it is zero.
inline Int4 select(Int4 mask, Int4 a, Int4 b) {
    return eachLane<Int4>(
        [&](int i) { return (a.m_lanes[i] & mask.m_lanes[i]) | (b.m_lanes[i] & ~mask.m_lanes[i]); });
}

inline Float4 select(Int4 mask, Float4 a, Float4 b) {
    return std::bit_cast<Float4>(select(mask, std::bit_cast<Int4>(a), std::bit_cast<Int4>(b)));
}
inline Int4 minimumSigned(Int4 a, Int4 b) { return select(greaterSigned(a, b), b, a); }
inline Int4 maximumSigned(Int4 a, Int4 b) { return select(greaterSigned(a, b), a, b); }
// Modulo 2^32.
inline std::uint32_t sumOfLanes(Int4 a) { return a.m_lanes[0] + a.m_lanes[1] + a.m_lanes[2] + a.m_lanes[3]; }

// The same bits as the other kind.
inline Int4 bitsOf(Float4 a) { return std::bit_cast<Int4>(a); }
inline Float4 floatsOf(Int4 a) { return std::bit_cast<Float4>(a); }

// In each group of four lanes, lane i of the result is lane kI of the operand.
template <int kX, int kY, int kZ, int kW> inline Int4 shuffle(Int4 a) {
    return {{a.m_lanes[kX], a.m_lanes[kY], a.m_lanes[kZ], a.m_lanes[kW]}};
}
template <int kX, int kY, int kZ, int kW> inline Float4 shuffle(Float4 a) {
    return {{a.m_lanes[kX], a.m_lanes[kY], a.m_lanes[kZ], a.m_lanes[kW]}};
}
inline Float4 makeFloats(float x, float y, float z, float w) { return {{x, y, z, w}}; }
inline Int4 makeInts(std::uint32_t x, std::uint32_t y, std::uint32_t z, std::uint32_t w) {
    return {{x, y, z, w}};
}

// One lane for each byte or 16-bit part of a number, from its least significant end; and back, from lanes
// that fit.
inline Int4 fromBytes(std::uint32_t bytes) {
    return {{bytes & 0xFF, bytes >> 8 & 0xFF, bytes >> 16 & 0xFF, bytes >> 24}};
}
inline Int4 fromWords(std::uint64_t words) {
    return eachLane<Int4>([&](int i) { return static_cast<std::uint32_t>(words >> 16 * i & 0xFFFF); });
}
inline std::uint32_t toBytes(Int4 a) {
    return a.m_lanes[0] | a.m_lanes[1] << 8 | a.m_lanes[2] << 16 | a.m_lanes[3] << 24;
}
inline std::uint64_t toWords(Int4 a) {
    return (a.m_lanes[0] | static_cast<std::uint64_t>(a.m_lanes[1]) << 16) |
           static_cast<std::uint64_t>(a.m_lanes[2] | a.m_lanes[3] << 16) << 32;
}

// The lanes of four vectors, as signed numbers, as the nearest bytes, in order.
inline Int4 packBytes(const Int4 (&parts)[4]) {
    return eachLane<Int4>(
        [&](int i) { return toBytes(minimumSigned(maximumSigned(parts[i], splat(0u)), splat(255u))); });
}
// Those of two as 16-bit words; for lanes that fit.
inline Int4 packWords(Int4 low, Int4 high) {
    const std::uint64_t words[2] = {toWords(low), toWords(high)};
    return loadInts(words);
}

// From signed integers, and back: to nearest with ties to even, or toward zero. What is not a number or does
// not fit gives 0x80000000.
inline Float4 toFloats(Int4 a) {
    return eachLane<Float4>(
        [&](int i) { return static_cast<float>(static_cast<std::int32_t>(a.m_lanes[i])); });
}
inline std::uint32_t truncateLane(float value) {
    const bool fits = value >= -2147483648.0f && value < 2147483648.0f;
    return fits ? static_cast<std::uint32_t>(static_cast<std::int32_t>(value)) : 0x80000000u;
}
inline std::uint32_t roundLane(float value) {
    const float below = std::floor(value);
    const float rest = value - below;
    const bool odd = (truncateLane(below) & 1) != 0;
    return truncateLane(rest > 0.5f || (rest == 0.5f && odd) ? below + 1.0f : below);
}
inline Int4 truncateToInts(Float4 a) {
    return eachLane<Int4>([&](int i) { return truncateLane(a.m_lanes[i]); });
}
inline Int4 roundToInts(Float4 a) {
    return eachLane<Int4>([&](int i) { return roundLane(a.m_lanes[i]); });
}

// What makes vectors out of other things, for a class of lanes.
struct Backend {
    using Float = Float4;
    using Int = Int4;

    static Float splat(float value) { return Scalar::splat(value); }
    static Int splat(std::uint32_t value) { return Scalar::splat(value); }
    static ShiftCount shiftCount(unsigned bits) { return Scalar::shiftCount(bits); }
    static Float loadFloats(const void* source) { return Scalar::loadFloats(source); }
    static Int loadInts(const void* source) { return Scalar::loadInts(source); }
    static Float makeFloats(float x, float y, float z, float w) { return Scalar::makeFloats(x, y, z, w); }
    static Int makeInts(std::uint32_t x, std::uint32_t y, std::uint32_t z, std::uint32_t w) {
        return Scalar::makeInts(x, y, z, w);
    }
    static Int fromBytes(std::uint32_t bytes) { return Scalar::fromBytes(bytes); }
    static Int fromWords(std::uint64_t words) { return Scalar::fromWords(words); }
};

} // namespace qor::Texsmith::Simd::Scalar
