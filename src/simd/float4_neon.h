// The NEON back end of float4.h, for 64-bit ARM; float4_scalar.h tells what each operation means.
#pragma once

#include <cstdint>

#include <arm_neon.h>

namespace qor::Texsmith::Simd::Neon {

struct Float4 {
    float32x4_t m_lanes;
};
struct Int4 {
    uint32x4_t m_lanes;
};

inline int32x4_t signedLanes(Int4 a) { return vreinterpretq_s32_u32(a.m_lanes); }
inline Int4 fromSigned(int32x4_t lanes) { return {vreinterpretq_u32_s32(lanes)}; }

inline Float4 splat(float value) { return {vdupq_n_f32(value)}; }
inline Int4 splat(std::uint32_t value) { return {vdupq_n_u32(value)}; }

inline Int4 loadInts(const void* source) {
    return {vreinterpretq_u32_u8(vld1q_u8(static_cast<const std::uint8_t*>(source)))};
}
inline Float4 loadFloats(const void* source) { return {vreinterpretq_f32_u32(loadInts(source).m_lanes)}; }
inline void store(void* destination, Int4 a) {
    vst1q_u8(static_cast<std::uint8_t*>(destination), vreinterpretq_u8_u32(a.m_lanes));
}
inline void store(void* destination, Float4 a) {
    vst1q_u8(static_cast<std::uint8_t*>(destination), vreinterpretq_u8_f32(a.m_lanes));
}

inline Int4 bitsOf(Float4 a) { return {vreinterpretq_u32_f32(a.m_lanes)}; }
inline Float4 floatsOf(Int4 a) { return {vreinterpretq_f32_u32(a.m_lanes)}; }

inline Float4 operator+(Float4 a, Float4 b) { return {vaddq_f32(a.m_lanes, b.m_lanes)}; }
inline Float4 operator-(Float4 a, Float4 b) { return {vsubq_f32(a.m_lanes, b.m_lanes)}; }
inline Float4 operator*(Float4 a, Float4 b) { return {vmulq_f32(a.m_lanes, b.m_lanes)}; }
inline Float4 operator/(Float4 a, Float4 b) { return {vdivq_f32(a.m_lanes, b.m_lanes)}; }
inline Float4 squareRoot(Float4 a) { return {vsqrtq_f32(a.m_lanes)}; }
inline Float4 absolute(Float4 a) { return {vabsq_f32(a.m_lanes)}; }

inline Int4 less(Float4 a, Float4 b) { return {vcltq_f32(a.m_lanes, b.m_lanes)}; }
inline Int4 lessOrEqual(Float4 a, Float4 b) { return {vcleq_f32(a.m_lanes, b.m_lanes)}; }
inline Int4 equal(Float4 a, Float4 b) { return {vceqq_f32(a.m_lanes, b.m_lanes)}; }
inline Int4 select(Int4 mask, Int4 a, Int4 b) { return {vbslq_u32(mask.m_lanes, a.m_lanes, b.m_lanes)}; }
inline Float4 select(Int4 mask, Float4 a, Float4 b) {
    return {vbslq_f32(mask.m_lanes, a.m_lanes, b.m_lanes)};
}
// The instructions for minimum and maximum have other rules for NaNs and zeros.
inline Float4 minimum(Float4 a, Float4 b) { return select(less(a, b), a, b); }
inline Float4 maximum(Float4 a, Float4 b) { return select(less(b, a), a, b); }

inline float sumOfLanes(Float4 a) {
    const float32x2_t pairs = vadd_f32(vget_low_f32(a.m_lanes), vget_high_f32(a.m_lanes));
    return vget_lane_f32(pairs, 0) + vget_lane_f32(pairs, 1);
}
inline void transpose(Float4 (&rows)[4]) {
    const float32x4x2_t first = vtrnq_f32(rows[0].m_lanes, rows[1].m_lanes);
    const float32x4x2_t last = vtrnq_f32(rows[2].m_lanes, rows[3].m_lanes);
    for (int i = 0; i < 2; ++i) {
        rows[i].m_lanes = vcombine_f32(vget_low_f32(first.val[i]), vget_low_f32(last.val[i]));
        rows[i + 2].m_lanes = vcombine_f32(vget_high_f32(first.val[i]), vget_high_f32(last.val[i]));
    }
}

inline Int4 operator+(Int4 a, Int4 b) { return {vaddq_u32(a.m_lanes, b.m_lanes)}; }
inline Int4 operator-(Int4 a, Int4 b) { return {vsubq_u32(a.m_lanes, b.m_lanes)}; }
inline Int4 operator*(Int4 a, Int4 b) { return {vmulq_u32(a.m_lanes, b.m_lanes)}; }
inline Int4 operator&(Int4 a, Int4 b) { return {vandq_u32(a.m_lanes, b.m_lanes)}; }
inline Int4 operator|(Int4 a, Int4 b) { return {vorrq_u32(a.m_lanes, b.m_lanes)}; }
inline Int4 operator^(Int4 a, Int4 b) { return {veorq_u32(a.m_lanes, b.m_lanes)}; }
inline Int4 operator~(Int4 a) { return {vmvnq_u32(a.m_lanes)}; }
// The one instruction for shifts by register takes negative counts for shifts to the right.
struct ShiftCount {
    int32x4_t m_bits;
};
inline ShiftCount shiftCount(unsigned bits) { return {vdupq_n_s32(static_cast<int>(bits))}; }
inline Int4 shiftLeft(Int4 a, ShiftCount count) { return {vshlq_u32(a.m_lanes, count.m_bits)}; }
inline Int4 shiftRight(Int4 a, ShiftCount count) { return {vshlq_u32(a.m_lanes, vnegq_s32(count.m_bits))}; }
inline Int4 shiftLeft(Int4 a, Int4 counts) { return {vshlq_u32(a.m_lanes, signedLanes(counts))}; }
inline Int4 shiftRight(Int4 a, Int4 counts) { return {vshlq_u32(a.m_lanes, vnegq_s32(signedLanes(counts)))}; }
template <int kBits> inline Int4 shiftLeft(Int4 a) { return {vshlq_u32(a.m_lanes, vdupq_n_s32(kBits))}; }
template <int kBits> inline Int4 shiftRight(Int4 a) { return {vshlq_u32(a.m_lanes, vdupq_n_s32(-kBits))}; }
template <int kBits> inline Int4 shiftRightSigned(Int4 a) {
    return fromSigned(vshlq_s32(signedLanes(a), vdupq_n_s32(-kBits)));
}
inline Int4 greaterSigned(Int4 a, Int4 b) { return {vcgtq_s32(signedLanes(a), signedLanes(b))}; }
inline Int4 equal(Int4 a, Int4 b) { return {vceqq_u32(a.m_lanes, b.m_lanes)}; }
inline bool anyLane(Int4 mask) { return vmaxvq_u32(mask.m_lanes) != 0; }
inline bool allLanes(Int4 mask) { return vminvq_u32(mask.m_lanes) == 0xFFFFFFFF; }
inline std::uint32_t laneBits(Int4 mask) {
    const std::int32_t places[4] = {0, 1, 2, 3};
    return vaddvq_u32(vshlq_u32(vshrq_n_u32(mask.m_lanes, 31), vld1q_s32(places)));
}
inline Int4 minimumSigned(Int4 a, Int4 b) { return fromSigned(vminq_s32(signedLanes(a), signedLanes(b))); }
inline Int4 maximumSigned(Int4 a, Int4 b) { return fromSigned(vmaxq_s32(signedLanes(a), signedLanes(b))); }
inline std::uint32_t sumOfLanes(Int4 a) { return vaddvq_u32(a.m_lanes); }

template <int kX, int kY, int kZ, int kW> inline Int4 shuffle(Int4 a) {
    constexpr auto byte = [](int i) {
        constexpr int kLanes[4] = {kX, kY, kZ, kW};
        return static_cast<std::uint8_t>(4 * kLanes[i / 4] + i % 4);
    };
    static constexpr std::uint8_t kBytes[16] = {byte(0),  byte(1),  byte(2),  byte(3), byte(4),  byte(5),
                                                byte(6),  byte(7),  byte(8),  byte(9), byte(10), byte(11),
                                                byte(12), byte(13), byte(14), byte(15)};
    return {vreinterpretq_u32_u8(vqtbl1q_u8(vreinterpretq_u8_u32(a.m_lanes), vld1q_u8(kBytes)))};
}
template <int kX, int kY, int kZ, int kW> inline Float4 shuffle(Float4 a) {
    return floatsOf(shuffle<kX, kY, kZ, kW>(bitsOf(a)));
}
inline Float4 makeFloats(float x, float y, float z, float w) {
    const float lanes[4] = {x, y, z, w};
    return {vld1q_f32(lanes)};
}
inline Int4 makeInts(std::uint32_t x, std::uint32_t y, std::uint32_t z, std::uint32_t w) {
    const std::uint32_t lanes[4] = {x, y, z, w};
    return {vld1q_u32(lanes)};
}
inline Int4 fromWords(std::uint64_t words) { return {vmovl_u16(vcreate_u16(words))}; }
inline Int4 fromBytes(std::uint32_t bytes) { return {vmovl_u16(vget_low_u16(vmovl_u8(vcreate_u8(bytes))))}; }
inline std::uint64_t toWords(Int4 a) { return vget_lane_u64(vreinterpret_u64_u16(vmovn_u32(a.m_lanes)), 0); }
inline std::uint32_t toBytes(Int4 a) {
    const uint8x8_t bytes = vmovn_u16(vcombine_u16(vmovn_u32(a.m_lanes), vdup_n_u16(0)));
    return vget_lane_u32(vreinterpret_u32_u8(bytes), 0);
}
inline Int4 packWords(Int4 low, Int4 high) {
    return {vreinterpretq_u32_u16(vcombine_u16(vmovn_u32(low.m_lanes), vmovn_u32(high.m_lanes)))};
}
inline uint16x8_t nearestWords(Int4 low, Int4 high) {
    return vcombine_u16(vqmovun_s32(signedLanes(low)), vqmovun_s32(signedLanes(high)));
}
inline Int4 packBytes(const Int4 (&parts)[4]) {
    return {vreinterpretq_u32_u8(vcombine_u8(vqmovn_u16(nearestWords(parts[0], parts[1])),
                                             vqmovn_u16(nearestWords(parts[2], parts[3]))))};
}

inline Float4 toFloats(Int4 a) { return {vcvtq_f32_s32(signedLanes(a))}; }
// The instructions saturate, and give 0 for a NaN.
inline Int4 whereItFits(Float4 a, int32x4_t converted) {
    const Int4 fits = lessOrEqual(splat(-2147483648.0f), a) & less(a, splat(2147483648.0f));
    return select(fits, fromSigned(converted), splat(0x80000000u));
}
inline Int4 truncateToInts(Float4 a) { return whereItFits(a, vcvtq_s32_f32(a.m_lanes)); }
inline Int4 roundToInts(Float4 a) { return whereItFits(a, vcvtnq_s32_f32(a.m_lanes)); }

struct Backend {
    using Float = Float4;
    using Int = Int4;

    static Float splat(float value) { return Neon::splat(value); }
    static Int splat(std::uint32_t value) { return Neon::splat(value); }
    static ShiftCount shiftCount(unsigned bits) { return Neon::shiftCount(bits); }
    static Float loadFloats(const void* source) { return Neon::loadFloats(source); }
    static Int loadInts(const void* source) { return Neon::loadInts(source); }
    static Float makeFloats(float x, float y, float z, float w) { return Neon::makeFloats(x, y, z, w); }
    static Int makeInts(std::uint32_t x, std::uint32_t y, std::uint32_t z, std::uint32_t w) {
        return Neon::makeInts(x, y, z, w);
    }
    static Int fromBytes(std::uint32_t bytes) { return Neon::fromBytes(bytes); }
    static Int fromWords(std::uint64_t words) { return Neon::fromWords(words); }
};

} // namespace qor::Texsmith::Simd::Neon
