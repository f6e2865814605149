#include "raw/texels/kernels.h"

#include "raw/texels/kernel_layouts.h"
#include "raw/texels/srgb.h"
#include "raw/texels/srgb_bytes.h"

#include <array>

namespace qor::Texsmith::Raw {
namespace {

using Layout::Bytes;
using Layout::DoubleWords;
using Layout::Tens;
using Layout::Words;
using Simd::Float4;
using Simd::Int4;

constexpr float most(unsigned bits) { return static_cast<float>((1u << bits) - 1); }
constexpr float scale(unsigned bits) {
    return bits == 0 ? 1.0f : static_cast<float>(1.0 / ((1u << bits) - 1));
}

// Conversions between raw lanes and working lanes; both kinds travel as bits.
template <typename Packing> struct UNorm {
    static constexpr float kScales[4] = {scale(Packing::kWidths[0]), scale(Packing::kWidths[1]),
                                         scale(Packing::kWidths[2]), scale(Packing::kWidths[3])};
    static constexpr float kMost[4] = {most(Packing::kWidths[0]), most(Packing::kWidths[1]),
                                       most(Packing::kWidths[2]), most(Packing::kWidths[3])};

    static Int4 expand(Int4 raw) { return bitsOf(toFloats(raw) * Simd::loadFloats(kScales)); }
    // The order of the operands makes a NaN 0.
    static Int4 compress(Int4 value) {
        const Float4 low = Simd::minimum(Simd::splat(1.0f), floatsOf(value));
        const Float4 unit = Simd::maximum(low, Simd::splat(0.0f));
        return truncateToInts(Simd::loadFloats(kMost) * unit + Simd::splat(0.5f));
    }
};

// Sixteen bits: the exponent is moved by 112, but stays at its two ends.
struct SmallFloat16 {
    static Int4 expand(Int4 raw) {
        const Int4 magnitude = Simd::shiftLeft<13>(raw & Simd::splat(0x7FFFu));
        const Int4 endless = greaterSigned(magnitude, Simd::splat(0x0F7FFFFFu));
        const Int4 denormal = greaterSigned(Simd::splat(0x00800000u), magnitude);
        const Int4 move = select(endless, Simd::splat(0x70000000u),
                                 select(denormal, Simd::splat(0u), Simd::splat(0x38000000u)));
        return Simd::shiftLeft<16>(raw & Simd::splat(0x8000u)) | (magnitude + move);
    }
    static Int4 compress(Int4 value) {
        const Int4 least = Simd::splat(0x0400u);
        const Int4 largest = Simd::splat(0x7BFFu);
        const Int4 magnitude = value & Simd::splat(0x7FFFFFFFu);
        const Int4 shifted = Simd::shiftRight<13>(magnitude);
        const Int4 moved = shifted - Simd::splat(0x1C000u);
        const Int4 atLeast = select(greaterSigned(moved, least), moved, least);
        const Int4 normal = select(greaterSigned(atLeast, largest), largest, atLeast);
        const Int4 endless = greaterSigned(magnitude, Simd::splat(0x7F7FFFFFu));
        const Int4 denormal = greaterSigned(Simd::splat(0x00800000u), magnitude);
        const Int4 small =
            select(endless, shifted - Simd::splat(0x38000u), select(denormal, shifted, normal));
        return (Simd::shiftRight<16>(value) & Simd::splat(0x8000u)) | small;
    }
};

struct Identity {
    static Int4 expand(Int4 raw) { return raw; }
    static Int4 compress(Int4 value) { return value; }
};

template <typename Packing, typename Conversion>
void decodeKernel(VectorFloat* destination, const void* source, int count) {
    const auto* at = static_cast<const std::uint8_t*>(source);
    for (int i = 0; i < count; ++i, at += Packing::kBytes) {
        Simd::store(&destination[i], Conversion::expand(Packing::load(at)));
    }
}

template <typename Packing, typename Conversion>
void encodeKernel(void* destination, const VectorFloat* source, int count) {
    auto* at = static_cast<std::uint8_t*>(destination);
    for (int i = 0; i < count; ++i, at += Packing::kBytes) {
        Packing::store(at, Conversion::compress(Simd::loadInts(&source[i])));
    }
}

template <int kCount> void decodeSrgbBytes(VectorFloat* destination, const void* source, int count) {
    const auto* at = static_cast<const std::uint8_t*>(source);
    for (int i = 0; i < count; ++i, at += kCount) {
        std::uint8_t bytes[4] = {};
        std::memcpy(bytes, at, kCount);
        destination[i] = {{g_srgbDecodedBytes[bytes[0]], g_srgbDecodedBytes[bytes[1]],
                           g_srgbDecodedBytes[bytes[2]], static_cast<float>(bytes[3]) * scale(8)}};
    }
}

// Alpha stays linear.
struct SrgbOfLinear {
    static Int4 compress(Int4 value) {
        const Float4 aboveZero = Simd::maximum(floatsOf(value), floatsOf(Simd::splat(kSrgbStepsFirst << 16)));
        const Int4 bits = bitsOf(Simd::minimum(aboveZero, Simd::splat(1.0f)));
        std::uint32_t at[4];
        Simd::store(at, Simd::shiftRight<16>(bits) - Simd::splat(kSrgbStepsFirst));
        const std::uint32_t* words = g_srgbSteps.m_words;
        const Int4 steps = Simd::makeInts(words[at[0]], words[at[1]], words[at[2]], words[at[3]]);
        const Int4 bytes = Simd::shiftRight<16>(steps + bits);
        return select(Simd::makeInts(0, 0, 0, 0xFFFFFFFF), UNorm<Bytes<4>>::compress(value), bytes);
    }
};

void decodeWhole(VectorFloat* destination, const void* source, int count) {
    if (count > 0) {
        std::memcpy(destination, source, static_cast<std::size_t>(count) * sizeof(VectorFloat));
    }
}

void encodeWhole(void* destination, const VectorFloat* source, int count) {
    if (count > 0) {
        std::memcpy(destination, source, static_cast<std::size_t>(count) * sizeof(VectorFloat));
    }
}

struct Kernels {
    Vex::SurfaceFormat m_surfaceFormat;
    Vex::TextureChannelType m_channelType;
    DecodeKernel m_decode;
    EncodeKernel m_encode;
};

template <typename Packing> constexpr Kernels unorm(Vex::SurfaceFormat format) {
    return {format, Vex::kTextureChannelTypeUNorm, &decodeKernel<Packing, UNorm<Packing>>,
            &encodeKernel<Packing, UNorm<Packing>>};
}

template <typename Packing> constexpr Kernels smallFloat(Vex::SurfaceFormat format) {
    return {format, Vex::kTextureChannelTypeFloat, &decodeKernel<Packing, SmallFloat16>,
            &encodeKernel<Packing, SmallFloat16>};
}

template <int kCount> constexpr Kernels srgb(Vex::SurfaceFormat format) {
    return {format, Vex::kTextureChannelTypeSrgb, &decodeSrgbBytes<kCount>,
            &encodeKernel<Bytes<kCount>, SrgbOfLinear>};
}

template <int kCount> constexpr Kernels whole(Vex::SurfaceFormat format, Vex::TextureChannelType type) {
    return {format, type, &decodeKernel<DoubleWords<kCount>, Identity>,
            &encodeKernel<DoubleWords<kCount>, Identity>};
}

template <> constexpr Kernels whole<4>(Vex::SurfaceFormat format, Vex::TextureChannelType type) {
    return {format, type, &decodeWhole, &encodeWhole};
}

constexpr Kernels kKernels[] = {
    unorm<Bytes<1>>(Vex::kSurfaceFormat8),
    unorm<Bytes<2>>(Vex::kSurfaceFormat8_8),
    unorm<Bytes<4>>(Vex::kSurfaceFormat8_8_8_8),
    srgb<1>(Vex::kSurfaceFormat8),
    srgb<2>(Vex::kSurfaceFormat8_8),
    srgb<4>(Vex::kSurfaceFormat8_8_8_8),
    unorm<Words<1>>(Vex::kSurfaceFormat16),
    unorm<Words<2>>(Vex::kSurfaceFormat16_16),
    unorm<Words<4>>(Vex::kSurfaceFormat16_16_16_16),
    smallFloat<Words<1>>(Vex::kSurfaceFormat16),
    smallFloat<Words<2>>(Vex::kSurfaceFormat16_16),
    smallFloat<Words<4>>(Vex::kSurfaceFormat16_16_16_16),
    unorm<Tens>(Vex::kSurfaceFormat2_10_10_10),
    whole<1>(Vex::kSurfaceFormat32, Vex::kTextureChannelTypeFloat),
    whole<1>(Vex::kSurfaceFormat32, Vex::kTextureChannelTypeUInt),
    whole<1>(Vex::kSurfaceFormat32, Vex::kTextureChannelTypeSInt),
    whole<2>(Vex::kSurfaceFormat32_32, Vex::kTextureChannelTypeFloat),
    whole<2>(Vex::kSurfaceFormat32_32, Vex::kTextureChannelTypeUInt),
    whole<2>(Vex::kSurfaceFormat32_32, Vex::kTextureChannelTypeSInt),
    whole<3>(Vex::kSurfaceFormat32_32_32, Vex::kTextureChannelTypeFloat),
    whole<3>(Vex::kSurfaceFormat32_32_32, Vex::kTextureChannelTypeUInt),
    whole<3>(Vex::kSurfaceFormat32_32_32, Vex::kTextureChannelTypeSInt),
    whole<4>(Vex::kSurfaceFormat32_32_32_32, Vex::kTextureChannelTypeFloat),
    whole<4>(Vex::kSurfaceFormat32_32_32_32, Vex::kTextureChannelTypeUInt),
    whole<4>(Vex::kSurfaceFormat32_32_32_32, Vex::kTextureChannelTypeSInt),
};

// By the low twelve bits of the format word.
constexpr unsigned keyOf(unsigned surfaceFormat, unsigned channelType) {
    return channelType << 8 | surfaceFormat;
}

using KernelIndex = std::array<std::uint8_t, 4096>;
constexpr KernelIndex makeKernelIndex() {
    KernelIndex index = {};
    for (unsigned i = 0; i < std::size(kKernels); ++i) {
        index[keyOf(kKernels[i].m_surfaceFormat, kKernels[i].m_channelType)] =
            static_cast<std::uint8_t>(i + 1);
    }
    return index;
}
constexpr KernelIndex kKernelIndex = makeKernelIndex(); // 0 for none, else one more than the place

} // namespace

DecodeKernel findDecodeKernel(Vex::DataFormat format) {
    const unsigned place = kKernelIndex[format.getLayoutAndType()];
    return place == 0 ? nullptr : kKernels[place - 1].m_decode;
}

EncodeKernel findEncodeKernel(Vex::DataFormat format) {
    const unsigned place = kKernelIndex[format.getLayoutAndType()];
    return place == 0 ? nullptr : kKernels[place - 1].m_encode;
}

} // namespace qor::Texsmith::Raw
