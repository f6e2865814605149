#include "raw/texels/srgb_bytes.h"

#include "raw/texels/small_float.h"
#include "raw/texels/srgb_curve.h"

#include <array>
#include <bit>

namespace qor::Texsmith::Raw {
namespace {

constexpr float kToUnit = static_cast<float>(1.0 / 255);

constexpr std::uint32_t bitsOf(float value) { return std::bit_cast<std::uint32_t>(value); }
constexpr float floatOf(std::uint32_t bits) { return std::bit_cast<float>(bits); }

// Of a value from 0 to 1, as the codec of UNorm stores it.
constexpr std::uint8_t byteOfUnit(float unit) { return static_cast<std::uint8_t>(255.0f * unit + 0.5f); }

constexpr std::uint8_t exactSrgbByte(std::uint32_t bits) {
    return byteOfUnit(SrgbCurve::encode(floatOf(bits)));
}

// The bits of the first float with this byte. Decoding half a byte less gives a place within a few floats.
constexpr std::uint32_t firstFloatOf(unsigned byte) {
    std::uint32_t bits = bitsOf(SrgbCurve::decode((static_cast<float>(byte) - 0.5f) * kToUnit));
    std::uint32_t step = 64;
    for (; exactSrgbByte(bits) >= byte; bits -= step) {
    }
    for (; step != 0; step /= 2) {
        while (exactSrgbByte(bits + step) < byte) {
            bits += step;
        }
    }
    return bits + 1;
}

constexpr std::array<std::uint32_t, 257> makeFirstFloats() {
    std::array<std::uint32_t, 257> first = {};
    for (unsigned byte = 1; byte < 256; ++byte) {
        first[byte] = firstFloatOf(byte);
    }
    first[256] = 0xFFFFFFFF; // never
    return first;
}

constexpr SrgbSteps makeSteps() {
    const std::array<std::uint32_t, 257> first = makeFirstFloats();
    SrgbSteps steps = {};
    unsigned byte = 0;
    for (std::uint32_t upper = kSrgbStepsFirst; upper <= kSrgbStepsLast; ++upper) {
        const std::uint32_t begin = upper << 16, next = first[byte + 1];
        const bool rises = next >> 16 == upper;
        steps.m_words[upper - kSrgbStepsFirst] =
            (byte << 16) + (rises ? 0x10000 - (next - begin) : 0) - begin;
        byte += rises ? 1 : 0;
    }
    return steps;
}

constexpr ByteTable makeTable(float (*decode)(float)) {
    ByteTable table = {};
    for (unsigned byte = 0; byte < 256; ++byte) {
        const float value = decode(static_cast<float>(byte) * kToUnit);
        table.m_floats[byte] = value;
        table.m_halves[byte] =
            static_cast<std::uint16_t>(compressSmallFloat(bitsOf(value), smallFloatOfWidth(16)));
        table.m_bytes[byte] = byteOfUnit(value);
    }
    return table;
}

constexpr SrgbOfLinearBytes makeSrgbOfLinear() {
    SrgbOfLinearBytes table = {};
    for (unsigned byte = 0; byte < 256; ++byte) {
        table.m_bytes[byte] = exactSrgbByte(bitsOf(static_cast<float>(byte) * kToUnit));
    }
    return table;
}

constexpr float asItIs(float value) { return value; }

constexpr std::uint8_t byteOfStep(const SrgbSteps& steps, float linear) {
    const float least = floatOf(kSrgbStepsFirst << 16), aboveZero = linear > least ? linear : least;
    const std::uint32_t bits = bitsOf(aboveZero < 1.0f ? aboveZero : 1.0f);
    return static_cast<std::uint8_t>((steps.m_words[(bits >> 16) - kSrgbStepsFirst] + bits) >> 16);
}

// Denormals count as 0, whose byte they have.
template <typename ByteOf> constexpr BytesOfHalves makeBytesOfHalves(ByteOf byteOf) {
    constexpr std::uint32_t kFirstNormal = 0x0400, kExponents = 0x38000000;
    BytesOfHalves table = {};
    for (std::uint32_t half = kFirstNormal; half <= kHalfOne; ++half) {
        table.m_bytes[half] = byteOf(floatOf((half << 13) + kExponents));
    }
    return table;
}
constexpr BytesOfHalves makeSrgbOfHalves() {
    const SrgbSteps steps = makeSteps();
    return makeBytesOfHalves([&](float value) { return byteOfStep(steps, value); });
}

} // namespace

constinit const SrgbSteps g_srgbSteps = makeSteps();
constinit const ByteTable g_linearBytes = makeTable(&asItIs);
constinit const ByteTable g_srgbBytes = makeTable(&SrgbCurve::decode);
constinit const SrgbOfLinearBytes g_srgbOfLinearBytes = makeSrgbOfLinear();
constinit const BytesOfHalves g_bytesOfHalves = makeBytesOfHalves(&byteOfUnit);
constinit const BytesOfHalves g_srgbOfHalves = makeSrgbOfHalves();

std::uint8_t srgbByte(float linear) { return byteOfStep(g_srgbSteps, linear); }

} // namespace qor::Texsmith::Raw
