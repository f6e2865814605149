// One lane's conversions between a stored value and a working one, for every channel type.
//
// A stored value is an unsigned number of the channel's width; a working one is the bits of a float, or of an
// integer for UInt, SInt and UBInt. All float arithmetic is single precision in the order written. A lane
// that the format lacks has a width of 0.
#pragma once

#include "qor/texsmith/raw/format.h"
#include "raw/texels/small_float.h"
#include "raw/texels/srgb.h"

#include <bit>
#include <cstdint>

namespace qor::Texsmith::Raw {

// What the conversions need of a channel of n bits.
struct Lane {
    std::uint32_t m_most;    // (1 << n) - 1
    std::uint32_t m_half;    // 1 << (n - 1), or 0
    float m_unormScale;      // to 0..1
    float m_snormScale;      // to -1..1
    SmallFloat m_smallFloat; // its layout when it holds a float
    bool m_isColour;         // X, Y or Z: not W

    Lane(const SurfaceFormatInfo& row, unsigned channel)
        : m_most(row.maxUnormValue(channel)), m_half(m_most - (m_most >> 1)),
          m_unormScale(row.unormScale[channel]), m_snormScale(row.snormScale[channel]),
          m_smallFloat(smallFloatOfWidth(row.bitsPerChannel[channel])), m_isColour(channel < 3) {}

    float mostAsFloat() const { return static_cast<float>(m_most); }
    float halfAsFloat() const { return static_cast<float>(m_half); }
    float mostSignedAsFloat() const { return static_cast<float>(m_half - 1); }
    std::uint32_t signExtend(std::uint32_t raw) const { return (raw ^ (0 - m_half)) + m_half; }
};

// `high` first, then `low`: a NaN gives `low`.
inline float clampLane(float value, float low, float high) {
    const float limited = value > high ? high : value;
    return limited > low ? limited : low;
}

inline std::uint32_t laneBits(float value) { return std::bit_cast<std::uint32_t>(value); }
inline float laneFloat(std::uint32_t bits) { return std::bit_cast<float>(bits); }
inline float floatFromSigned(std::uint32_t value) {
    return static_cast<float>(static_cast<std::int32_t>(value));
}

namespace DecodeLane {

inline std::uint32_t asUNorm(std::uint32_t raw, const Lane& lane) {
    return laneBits(static_cast<float>(raw) * lane.m_unormScale);
}
inline std::uint32_t asSNorm(std::uint32_t raw, const Lane& lane) {
    const float value = floatFromSigned(lane.signExtend(raw)) * lane.m_snormScale;
    return laneBits(value < -1.0f ? -1.0f : value);
}
inline std::uint32_t asUScaled(std::uint32_t raw, const Lane&) { return laneBits(static_cast<float>(raw)); }
inline std::uint32_t asSScaled(std::uint32_t raw, const Lane& lane) {
    return laneBits(floatFromSigned(lane.signExtend(raw)));
}
inline std::uint32_t asUInt(std::uint32_t raw, const Lane&) { return raw; }
inline std::uint32_t asSInt(std::uint32_t raw, const Lane& lane) { return lane.signExtend(raw); }
inline std::uint32_t asSNormNoZero(std::uint32_t raw, const Lane& lane) {
    const float value = static_cast<float>(lane.signExtend(raw) + lane.m_half) * lane.m_unormScale;
    return laneBits(clampLane(value, 0.0f, 1.0f) * 2.0f - 1.0f);
}
inline std::uint32_t asFloat(std::uint32_t raw, const Lane& lane) {
    return expandSmallFloat(raw, lane.m_smallFloat);
}
inline std::uint32_t asSrgb(std::uint32_t raw, const Lane& lane) {
    const float value = static_cast<float>(raw) * lane.m_unormScale;
    return laneBits(lane.m_isColour ? srgbDecode(value) : value);
}
inline std::uint32_t asUBNorm(std::uint32_t raw, const Lane& lane) {
    const float value = floatFromSigned(raw - lane.m_half) * lane.m_snormScale;
    return laneBits(value < -1.0f ? -1.0f : value);
}
inline std::uint32_t asUBNormNoZero(std::uint32_t raw, const Lane& lane) {
    return laneBits(floatFromSigned(raw) * lane.m_unormScale * 2.0f - 1.0f);
}
inline std::uint32_t asUBInt(std::uint32_t raw, const Lane& lane) { return raw - lane.m_half; }
inline std::uint32_t asUBScaled(std::uint32_t raw, const Lane& lane) {
    return laneBits(floatFromSigned(raw - lane.m_half));
}
inline std::uint32_t asZero(std::uint32_t, const Lane&) { return 0; }

} // namespace DecodeLane

// The results may have bits above the channel's width: they are masked when they are packed.
namespace EncodeLane {

// Toward zero. Every value that comes here is at most 2^32 either way.
inline std::uint32_t truncateUnsigned(float value) {
    const std::int64_t whole = static_cast<std::int64_t>(value);
    return static_cast<std::uint32_t>(whole < 0 ? 0 : whole > 0xFFFFFFFFll ? 0xFFFFFFFFll : whole);
}
inline std::int32_t limitSigned(std::int64_t value, std::int64_t low, std::int64_t high) {
    return static_cast<std::int32_t>(value < low ? low : value > high ? high : value);
}
// Halves away from zero.
inline std::uint32_t roundSigned(float value) {
    const std::int64_t whole = static_cast<std::int64_t>(value + (value >= 0.0f ? 0.5f : -0.5f));
    return static_cast<std::uint32_t>(limitSigned(whole, INT32_MIN, INT32_MAX));
}

// The sum may round up to one more than the most, which 24 bits then wrap to 0.
inline std::uint32_t fromUnit(float unit, const Lane& lane) {
    return truncateUnsigned(lane.mostAsFloat() * unit + 0.5f);
}

inline std::uint32_t asUNorm(std::uint32_t bits, const Lane& lane) {
    return fromUnit(clampLane(laneFloat(bits), 0.0f, 1.0f), lane);
}
inline std::uint32_t asSNorm(std::uint32_t bits, const Lane& lane) {
    return roundSigned(lane.mostSignedAsFloat() * clampLane(laneFloat(bits), -1.0f, 1.0f));
}
inline std::uint32_t asUScaled(std::uint32_t bits, const Lane& lane) {
    return truncateUnsigned(clampLane(laneFloat(bits), 0.0f, lane.mostAsFloat()) + 0.5f);
}
inline std::uint32_t asSScaled(std::uint32_t bits, const Lane& lane) {
    return roundSigned(clampLane(laneFloat(bits), -lane.halfAsFloat(), lane.mostSignedAsFloat()));
}
inline std::uint32_t asUInt(std::uint32_t bits, const Lane& lane) {
    return bits > lane.m_most ? lane.m_most : bits;
}
inline std::uint32_t asSInt(std::uint32_t bits, const Lane& lane) {
    const std::int64_t half = lane.m_half;
    return static_cast<std::uint32_t>(limitSigned(static_cast<std::int32_t>(bits), -half, half - 1));
}
inline std::uint32_t asSNormNoZero(std::uint32_t bits, const Lane& lane) {
    return fromUnit(clampLane(laneFloat(bits) * 0.5f + 0.5f, 0.0f, 1.0f), lane) - lane.m_half;
}
inline std::uint32_t asFloat(std::uint32_t bits, const Lane& lane) {
    return compressSmallFloat(bits, lane.m_smallFloat);
}
inline std::uint32_t asSrgb(std::uint32_t bits, const Lane& lane) {
    return asUNorm(lane.m_isColour ? laneBits(srgbEncode(laneFloat(bits))) : bits, lane);
}
inline std::uint32_t asUBNorm(std::uint32_t bits, const Lane& lane) {
    return asSNorm(bits, lane) + lane.m_half;
}
inline std::uint32_t asUBNormNoZero(std::uint32_t bits, const Lane& lane) {
    const float unit = clampLane(laneFloat(bits), -1.0f, 1.0f) * 0.5f + 0.5f;
    return roundSigned(unit * lane.mostAsFloat() - lane.halfAsFloat()) + lane.m_half;
}
inline std::uint32_t asUBInt(std::uint32_t bits, const Lane& lane) {
    return asSInt(bits, lane) + lane.m_half;
}
inline std::uint32_t asUBScaled(std::uint32_t bits, const Lane& lane) {
    return asSScaled(bits, lane) + lane.m_half;
}
inline std::uint32_t asZero(std::uint32_t, const Lane&) { return 0; }

} // namespace EncodeLane

} // namespace qor::Texsmith::Raw
