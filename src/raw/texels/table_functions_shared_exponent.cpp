// Three mantissas of nine bits with an exponent of five:
//
//   31      27 26      18 17       9 8        0
//   | exponent |    Z    |    Y     |    X    |
//
// The value of a channel is mantissa * 2^(exponent - 23): a bias one off the published format of this layout.
#include "raw/frame/check.h"
#include "raw/texels/codec.h"
#include "raw/texels/generic_codec.h"
#include "raw/texels/table_functions.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\format";

constexpr int kMantissaBits = 9;
constexpr int kHalfRange = 16; // of the exponent
constexpr int kMostMantissa = (1 << kMantissaBits) - 1;

int biasedExponent(float value) { return static_cast<int>(std::bit_cast<std::uint32_t>(value) >> 23 & 0xFF); }

// Scales by a power of two without a multiplication: infinities and NaNs become numbers, denormals stay.
float withBiasedExponent(float value, int exponent) {
    const std::uint32_t rest = std::bit_cast<std::uint32_t>(value) & 0x807FFFFF;
    return std::bit_cast<float>(rest | static_cast<std::uint32_t>(exponent) << 23);
}

std::uint32_t encodeMantissa(float value, int exponent) {
    const int biased = biasedExponent(value);
    const int moved = biased == 0 ? 0 : std::clamp(biased - 1 + kMantissaBits - exponent, 0, 255);
    const float scaled = withBiasedExponent(value, moved); // below 512 either way
    const int rounded = static_cast<int>(scaled + (scaled >= 0.0f ? 0.5f : -0.5f));
    return static_cast<std::uint32_t>(std::clamp(rounded, 0, kMostMantissa));
}

RawTexel encodeTexel(const VectorFloat& texel) {
    const int exponent =
        std::max({biasedExponent(texel[0]), biasedExponent(texel[1]), biasedExponent(texel[2])}) - 127;
    const int stored = std::clamp(exponent, 1 - kHalfRange, kHalfRange) - (1 - kHalfRange);
    return {{encodeMantissa(texel[0], exponent), encodeMantissa(texel[1], exponent),
             encodeMantissa(texel[2], exponent), static_cast<std::uint32_t>(stored)}};
}

const SurfaceFormatInfo& sharedExponentRow() { return g_surfaceFormatInfo[Vex::kSurfaceFormat5_9_9_9]; }

} // namespace

void sharedExponentEncodeTexels(void* destination, const VectorFloat* source, const Vex::DataFormat*,
                                int count) {
    const SurfaceFormatInfo& row = sharedExponentRow();
    check(count <= kMaxCount, kSourcePath, "count <= kMaxCount");
    auto* at = static_cast<std::uint8_t*>(destination);
    for (int i = 0; i < count; ++i, at += row.bytesPerElement) {
        packTexel(at, encodeTexel(source[i]), row);
    }
}

void sharedExponentDecodeTexels(VectorFloat* destination, const void* source, const Vex::DataFormat*,
                                int count) {
    const SurfaceFormatInfo& row = sharedExponentRow();
    const auto* at = static_cast<const std::uint8_t*>(source);
    for (int i = 0; i < count; ++i, at += row.bytesPerElement) {
        RawTexel raw;
        unpackTexel(&raw, at, row);
        const int exponent = static_cast<int>(raw.m_lanes[3]) - kHalfRange + 1 - kMantissaBits + 1;
        for (unsigned lane = 0; lane < 3; ++lane) {
            destination[i][lane] = std::ldexp(static_cast<float>(raw.m_lanes[lane]), exponent);
        }
        destination[i][3] = 0.0f;
    }
}

} // namespace qor::Texsmith::Raw
