// The NEON back end of words.h; words8_scalar.h tells what each operation means.
#pragma once

#include "simd/float4_neon.h"

namespace qor::Texsmith::Simd::Neon {

struct Word8 {
    int16x8_t m_lanes;
};
struct Wide8 {
    Int4 m_low, m_high;
};

inline Word8 operator+(Word8 a, Word8 b) { return {vaddq_s16(a.m_lanes, b.m_lanes)}; }
inline Word8 operator-(Word8 a, Word8 b) { return {vsubq_s16(a.m_lanes, b.m_lanes)}; }
inline Word8 operator*(Word8 a, Word8 b) { return {vmulq_s16(a.m_lanes, b.m_lanes)}; }
inline Word8 operator&(Word8 a, Word8 b) { return {vandq_s16(a.m_lanes, b.m_lanes)}; }
inline Word8 operator|(Word8 a, Word8 b) { return {vorrq_s16(a.m_lanes, b.m_lanes)}; }
inline Word8 operator^(Word8 a, Word8 b) { return {veorq_s16(a.m_lanes, b.m_lanes)}; }
inline Word8 multiplyHigh(Word8 a, Word8 b) {
    const int32x4_t low = vmull_s16(vget_low_s16(a.m_lanes), vget_low_s16(b.m_lanes));
    const int32x4_t high = vmull_s16(vget_high_s16(a.m_lanes), vget_high_s16(b.m_lanes));
    return {vcombine_s16(vshrn_n_s32(low, 16), vshrn_n_s32(high, 16))};
}
inline Word8 minimumSigned(Word8 a, Word8 b) { return {vminq_s16(a.m_lanes, b.m_lanes)}; }
inline Word8 maximumSigned(Word8 a, Word8 b) { return {vmaxq_s16(a.m_lanes, b.m_lanes)}; }
inline Word8 greaterSigned(Word8 a, Word8 b) {
    return {vreinterpretq_s16_u16(vcgtq_s16(a.m_lanes, b.m_lanes))};
}
inline Word8 equal(Word8 a, Word8 b) { return {vreinterpretq_s16_u16(vceqq_s16(a.m_lanes, b.m_lanes))}; }
inline Word8 select(Word8 mask, Word8 a, Word8 b) {
    return {vbslq_s16(vreinterpretq_u16_s16(mask.m_lanes), a.m_lanes, b.m_lanes)};
}
inline bool anyLane(Word8 mask) { return vmaxvq_u16(vreinterpretq_u16_s16(mask.m_lanes)) != 0; }
template <int kBits> inline Word8 shiftLeft(Word8 a) { return {vshlq_s16(a.m_lanes, vdupq_n_s16(kBits))}; }
template <int kBits> inline Word8 shiftRight(Word8 a) {
    const uint16x8_t shifted = vshlq_u16(vreinterpretq_u16_s16(a.m_lanes), vdupq_n_s16(-kBits));
    return {vreinterpretq_s16_u16(shifted)};
}
template <int kBits> inline Word8 shiftRightSigned(Word8 a) {
    return {vshlq_s16(a.m_lanes, vdupq_n_s16(-kBits))};
}

inline Wide8 interleave(Word8 a, Word8 b) {
    const int16x8x2_t pairs = vzipq_s16(a.m_lanes, b.m_lanes);
    return {{vreinterpretq_u32_s16(pairs.val[0])}, {vreinterpretq_u32_s16(pairs.val[1])}};
}
inline Wide8 widen(Word8 a) {
    return {fromSigned(vmovl_s16(vget_low_s16(a.m_lanes))), fromSigned(vmovl_s16(vget_high_s16(a.m_lanes)))};
}
inline Wide8 sumOfProducts(Word8 a, Word8 b, Word8 c, Word8 d) {
    const int32x4_t low = vmull_s16(vget_low_s16(a.m_lanes), vget_low_s16(b.m_lanes));
    const int32x4_t high = vmull_s16(vget_high_s16(a.m_lanes), vget_high_s16(b.m_lanes));
    return {fromSigned(vmlal_s16(low, vget_low_s16(c.m_lanes), vget_low_s16(d.m_lanes))),
            fromSigned(vmlal_s16(high, vget_high_s16(c.m_lanes), vget_high_s16(d.m_lanes)))};
}
inline Word8 narrow(Wide8 a) {
    return {vcombine_s16(vqmovn_s32(signedLanes(a.m_low)), vqmovn_s32(signedLanes(a.m_high)))};
}
inline void store(void* destination, Word8 a) {
    vst1q_u8(static_cast<std::uint8_t*>(destination), vreinterpretq_u8_s16(a.m_lanes));
}
inline void storeWide(void* destination, Wide8 a) {
    store(destination, a.m_low);
    store(static_cast<std::uint8_t*>(destination) + 16, a.m_high);
}

struct WordBackend {
    using Word = Word8;
    using Wide = Wide8;
    static constexpr unsigned kCount = 8;

    static Word splat(int value) { return {vdupq_n_s16(static_cast<std::int16_t>(value))}; }
    static Word load(const void* source) {
        return {vreinterpretq_s16_u8(vld1q_u8(static_cast<const std::uint8_t*>(source)))};
    }
    static Wide loadWide(const void* source) {
        return {loadInts(source), loadInts(static_cast<const std::uint8_t*>(source) + 16)};
    }
};

} // namespace qor::Texsmith::Simd::Neon
