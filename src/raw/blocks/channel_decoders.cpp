// BC4 and BC5 to bytes. Decoders give 64ths of a level; rounding these gives the bytes that their floats are
// stored as.
#include "raw/blocks/channel_decoders.h"

#include "raw/blocks/bc4_weights.h"
#include "raw/blocks/block_runs.h"
#include "raw/texels/sides.h"
#include "simd/dispatch.h"

#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

// The bytes of a channel's 16 texels, `stride` apart in a row.
void decodeOne(std::uint8_t* destination, std::size_t pitch, std::size_t stride, const std::uint8_t* source) {
    std::uint64_t codes;
    std::memcpy(&codes, source, sizeof codes);
    const int a = source[0], b = source[1];
    const Bc4Weights& weights = a > b ? kBc4EightValues : kBc4SixValues;
    std::uint8_t palette[8];
    for (unsigned i = 0; i < 8; ++i) {
        palette[i] = static_cast<std::uint8_t>((weights.m_first[i] * a + weights.m_second[i] * b + 32) >> 6);
    }
    if (a <= b) {
        palette[7] = 255;
    }
    codes >>= 16;
    for (unsigned texel = 0; texel < kTexelsPerBlock; ++texel, codes >>= 3) {
        destination[texel / kBlockSide * pitch + texel % kBlockSide * stride] = palette[codes & 7];
    }
}

constexpr std::uint8_t kRest[4] = {0, 0, 0, 255};

template <unsigned kChannels, unsigned kTexelBytes>
void decodeRun(std::uint8_t* destination, std::size_t pitch, const std::uint8_t* source, std::size_t count) {
    for (std::size_t block = 0; block < count; ++block) {
        std::uint8_t* const to = destination + block * kBlockSide * kTexelBytes;
        for (unsigned texel = 0; kTexelBytes == 4 && texel < kTexelsPerBlock; ++texel) {
            std::memcpy(to + texel / kBlockSide * pitch + texel % kBlockSide * 4, kRest, 4);
        }
        for (unsigned channel = 0; channel < kChannels; ++channel) {
            decodeOne(to + channel, pitch, kTexelBytes, source + 8 * (block * kChannels + channel));
        }
    }
}

// Eights by the wide kernel, and the rest one by one.
template <unsigned kChannels, unsigned kTexelBytes>
void decodeRunAvx2(std::uint8_t* destination, std::size_t pitch, const std::uint8_t* source,
                   std::size_t count) {
    const ChannelKernelsAvx2& kernels = *channelKernelsAvx2();
    const DecodeChannelEights decode = kTexelBytes == 4   ? kernels.m_toPixels[kChannels - 1]
                                       : kTexelBytes == 2 ? kernels.m_bc5ToPairs
                                                          : kernels.m_bc4ToBytes;
    const std::size_t done = decode(destination, pitch, source, count);
    decodeRun<kChannels, kTexelBytes>(destination + done * kBlockSide * kTexelBytes, pitch,
                                      source + 8 * kChannels * done, count - done);
}

template <unsigned kChannels, unsigned kTexelBytes> DecodeBlockRun choose() {
    const bool isWide = Simd::mayUseAvx2() && channelKernelsAvx2() != nullptr;
    return isWide ? &decodeRunAvx2<kChannels, kTexelBytes> : &decodeRun<kChannels, kTexelBytes>;
}

} // namespace

DecodeBlockRun findChannelRunDecoder(Vex::SurfaceFormat format, unsigned texelBytes) {
    const bool isBc4 = format == Vex::kSurfaceFormatBc4;
    if (!isBc4 && format != Vex::kSurfaceFormatBc5) {
        return nullptr;
    }
    switch (texelBytes) {
    case 1:
        return isBc4 ? choose<1, 1>() : nullptr;
    case 2:
        return isBc4 ? nullptr : choose<2, 2>();
    case 4:
        return isBc4 ? choose<1, 4>() : choose<2, 4>();
    default:
        return nullptr;
    }
}

} // namespace qor::Texsmith::Raw
