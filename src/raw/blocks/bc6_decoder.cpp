#include "raw/blocks/bc6_decoder.h"

#include "raw/blocks/bc6_decoder_avx2.h"
#include "raw/blocks/bc6_endpoint_bits.h"
#include "raw/blocks/bc6_tables.h"
#include "raw/blocks/block_runs.h"
#include "raw/blocks/bptc_indices.h"
#include "raw/blocks/bptc_tables.h"
#include "raw/texels/sides.h"
#include "simd/dispatch.h"
#include "simd/lanes4.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <utility>

namespace qor::Texsmith::Raw {
namespace {

static_assert(std::endian::native == std::endian::little);

// Four lanes are R, G, B and alpha.
using Lanes = Simd::Lanes4;
using Int = Lanes::Int;

struct BaseLineBuild;

constexpr unsigned kChannels = 3;
constexpr std::uint32_t kHalfOne = 0x3C00;

// A block taken apart. Endpoints have a word for each channel; indices are of equal width.
struct Stored {
    unsigned m_mode;
    unsigned m_partition;
    std::uint64_t m_ends[4];
    std::uint64_t m_indices;
};

using TakeEndpoints = void (*)(std::uint64_t (&ends)[4], std::uint64_t low, std::uint64_t high);
template <unsigned... kNumbers>
constexpr std::array<TakeEndpoints, kBc6Modes> endpointTakers(std::integer_sequence<unsigned, kNumbers...>) {
    return {&Bc6EndpointBits<BaseLineBuild, kNumbers>::take...};
}
constexpr auto kEndpointTakers = endpointTakers(std::make_integer_sequence<unsigned, kBc6Modes>());

Stored takeApart(const std::uint8_t* source) {
    std::uint64_t block[2];
    std::memcpy(block, source, sizeof block);
    Stored stored = {};
    stored.m_mode = kBc6ModeOfBits[block[0] & 31];
    if (stored.m_mode == kBc6Modes) {
        return stored;
    }
    kEndpointTakers[stored.m_mode](stored.m_ends, block[0], block[1]);
    if (kBc6ModeTable[stored.m_mode].m_subsets == 1) {
        stored.m_indices = withAnchorBit<BaseLineBuild, 4>(block[1] >> 1, 0);
        return stored;
    }
    stored.m_partition = static_cast<unsigned>(block[1] >> 13) & 31;
    const std::uint64_t indices = withAnchorBit<BaseLineBuild, 3>(block[1] >> 18, 0);
    stored.m_indices = withAnchorBit<BaseLineBuild, 3>(indices, kBc7SecondAnchors2[stored.m_partition]);
    return stored;
}

// By mode: the top bits of the differences that are stored.
struct DifferenceSigns {
    std::uint32_t m_lanes[kBc6Modes][4];
};
constexpr DifferenceSigns makeDifferenceSigns() {
    DifferenceSigns signs = {};
    for (unsigned mode = 0; mode < kBc6Modes; ++mode) {
        for (unsigned channel = 0; channel < kChannels; ++channel) {
            signs.m_lanes[mode][channel] = 1u << (kBc6ModeTable[mode].m_deltaBits[channel] - 1);
        }
    }
    return signs;
}
constexpr DifferenceSigns kDifferenceSigns = makeDifferenceSigns();

// Two's complement, of which `sign` is the top bit.
Int signExtend(Int values, Int sign) { return (values ^ sign) - sign; }
Int shiftedLeft(Int values, unsigned bits) { return shiftLeft(values, Lanes::shiftCount(bits)); }

// To the whole range of 16 bits, of which the sign takes one.
Int unquantize(Int values, unsigned bits) {
    if (bits >= 15) {
        return values;
    }
    const Int top = Lanes::splat((1u << bits) - 1);
    const Int wide = shiftedLeft(values + values + Lanes::splat(1u), 15 - bits) | equal(values, top);
    return (wide & Lanes::splat(0xFFFFu)) & ~equal(values, Lanes::splat(0u));
}
Int unquantizeSigned(Int values, unsigned bits) {
    if (bits >= 16) {
        return values;
    }
    const Int sign = shiftRightSigned<31>(values), magnitude = (values ^ sign) - sign;
    const Int wide = shiftedLeft(magnitude + magnitude + Lanes::splat(1u), 15 - bits) |
                     greaterSigned(magnitude, Lanes::splat((1u << (bits - 1)) - 2));
    const Int limited = (wide & Lanes::splat(0x7FFFu)) & ~equal(magnitude, Lanes::splat(0u));
    return (limited ^ sign) - sign;
}

// What mixes to a half of one.
template <bool kSigned> Int withAlpha(Int values) {
    constexpr std::uint32_t kOne = kSigned ? (kHalfOne * 32 + 31) / 31 : (kHalfOne * 64 + 63) / 31;
    const std::uint32_t alpha[4] = {0, 0, 0, kOne}, colours[4] = {~0u, ~0u, ~0u, 0};
    return (values & Lanes::loadInts(colours)) | Lanes::loadInts(alpha);
}

template <bool kSigned> void unquantizeEnds(Int (&ends)[4], const Stored& stored) {
    const Bc6Mode& mode = kBc6ModeTable[stored.m_mode];
    const unsigned bits = mode.m_endpointBits;
    const Int range = Lanes::splat((1u << bits) - 1);
    const Int signs = Lanes::loadInts(kDifferenceSigns.m_lanes[stored.m_mode]);
    const Int first = Lanes::loadWords(&stored.m_ends[0]);
    for (unsigned end = 0; end < mode.endpoints(); ++end) {
        Int values = Lanes::loadWords(&stored.m_ends[end]);
        if (end != 0 && !mode.isDirect()) {
            values = (signExtend(values, signs) + first) & range;
        }
        values = kSigned ? unquantizeSigned(signExtend(values, Lanes::splat(1u << (bits - 1))), bits)
                         : unquantize(values, bits);
        ends[end] = withAlpha<kSigned>(values);
    }
}

// Texels as halves. Denormals become the least normal number.
struct Halves {
    using Texel = std::uint64_t;

    static void store(Texel* texel, Int magnitude, Int sign) {
        const Int isZero = equal(magnitude, Lanes::splat(0u));
        const Int normal = maximumSigned(magnitude, Lanes::splat(0x400u)) & ~isZero;
        Lanes::storeWords(texel, normal | (sign & Lanes::splat(0x8000u)));
    }
};

// Texels as floats of the same value: a half's bits, moved up, are a float of which 2^112 is missing. Signed
// blocks may hold -infinity.
struct Floats {
    using Texel = ColorRGBA32F;

    static void store(Texel* texel, Int magnitude, Int sign) {
        const Int finite = bitsOf(floatsOf(shiftLeft<13>(magnitude)) * Lanes::splat(0x1p112f));
        const Int infinite = Lanes::splat(0x7F800000u);
        const Int value = select(equal(magnitude, Lanes::splat(0x7C00u)), infinite, finite);
        Simd::store(texel, value | (sign & Lanes::splat(0x80000000u)));
    }
};

template <bool kSigned, typename Output> void finish(typename Output::Texel* texel, Int value) {
    if constexpr (!kSigned) {
        Output::store(texel, shiftRight<6>(shiftLeft<5>(value) - value), Lanes::splat(0u));
    } else {
        const Int sign = shiftRightSigned<31>(value), absolute = (value ^ sign) - sign;
        const Int magnitude = shiftRight<5>(shiftLeft<5>(absolute) - absolute);
        Output::store(texel, magnitude, sign & ~equal(magnitude, Lanes::splat(0u)));
    }
}

// Neighbouring weights differ by the first step, or by one more.
template <unsigned kBits, bool kSigned, typename Output>
void mix(typename Output::Texel* entries, Int low, Int high) {
    constexpr const std::uint8_t* kWeights = kBits == 3 ? kBptcWeights3 : kBptcWeights4;
    const Int difference = high - low;
    const Int step = (kBits == 3 ? shiftLeft<3>(difference) + difference : shiftLeft<2>(difference));
    const Int longStep = step + difference;
    Int sum = shiftLeft<6>(low) + Lanes::splat(32u);
    for (unsigned index = 0; index < 1u << kBits; ++index) {
        if (index != 0) {
            sum = sum + (kWeights[index] - kWeights[index - 1] == kWeights[1] ? step : longStep);
        }
        finish<kSigned, Output>(&entries[index], shiftRightSigned<6>(sum));
    }
}

template <bool kSigned, typename Output>
void decodeBlock(typename Output::Texel (&texels)[kTexelsPerBlock], const std::uint8_t* source) {
    const Stored stored = takeApart(source);
    typename Output::Texel palette[16];
    Int ends[4];
    std::uint64_t indices = stored.m_indices;
    if (stored.m_mode == kBc6Modes) {
        const std::uint32_t black[4] = {0, 0, 0, kHalfOne};
        Output::store(&palette[0], Lanes::loadInts(black), Lanes::splat(0u));
        std::fill_n(texels, kTexelsPerBlock, palette[0]);
        return;
    }
    unquantizeEnds<kSigned>(ends, stored);
    if (kBc6ModeTable[stored.m_mode].m_subsets == 1) {
        mix<4, kSigned, Output>(palette, ends[0], ends[1]);
        for (unsigned texel = 0; texel < kTexelsPerBlock; ++texel, indices >>= 4) {
            texels[texel] = palette[indices & 15];
        }
        return;
    }
    mix<3, kSigned, Output>(palette, ends[0], ends[1]);
    mix<3, kSigned, Output>(palette + 8, ends[2], ends[3]);
    for (unsigned texel = 0; texel < kTexelsPerBlock; ++texel, indices >>= 3) {
        texels[texel] = palette[subsetOfTwo(stored.m_partition, texel) * 8 + (indices & 7)];
    }
}

template <bool kSigned, typename Output>
void decodeRun(std::uint8_t* destination, std::size_t pitch, const std::uint8_t* source, std::size_t count) {
    constexpr std::size_t kBytes = kBlockSide * sizeof(typename Output::Texel);
    for (std::size_t block = 0; block < count; ++block) {
        typename Output::Texel texels[kTexelsPerBlock];
        decodeBlock<kSigned, Output>(texels, source + block * 16);
        for (unsigned row = 0; row < kBlockSide; ++row) {
            std::memcpy(destination + row * pitch + block * kBytes, &texels[row * kBlockSide], kBytes);
        }
    }
}

const Bc6DecodersAvx2* wideDecoders() { return Simd::mayUseAvx2() ? getBc6DecodersAvx2() : nullptr; }

} // namespace

Bc6Fields unpackBc6(const std::uint8_t* source) {
    const Stored stored = takeApart(source);
    Bc6Fields fields = {};
    fields.m_mode = stored.m_mode;
    fields.m_partition = stored.m_partition;
    for (unsigned word = 0; word < kBc6Words; ++word) {
        fields.m_words[word] =
            static_cast<std::uint16_t>(stored.m_ends[word / kChannels] >> word % kChannels * 16);
    }
    const unsigned bits = stored.m_mode == kBc6Modes ? 0 : kBc6ModeTable[stored.m_mode].indexBits();
    for (unsigned texel = 0; texel < kTexelsPerBlock; ++texel) {
        fields.m_indices[texel] =
            static_cast<std::uint8_t>(stored.m_indices >> texel * bits & ((1u << bits) - 1));
    }
    return fields;
}

void decodeBc6(ColorRGBA32F* destination, const std::uint8_t* source, bool isSigned) {
    ColorRGBA32F texels[kTexelsPerBlock];
    (isSigned ? &decodeBlock<true, Floats> : &decodeBlock<false, Floats>)(texels, source);
    std::memcpy(destination, texels, sizeof texels);
}

DecodeBlockRun findFloatRunDecoder(Vex::SurfaceFormat format, bool isSigned) {
    if (format != Vex::kSurfaceFormatBc6) {
        return nullptr;
    }
    if (const Bc6DecodersAvx2* wide = wideDecoders(); wide != nullptr) {
        return isSigned ? wide->m_signedToFloats : wide->m_toFloats;
    }
    return isSigned ? &decodeRun<true, Floats> : &decodeRun<false, Floats>;
}

DecodeBlockRun findHalfRunDecoder(Vex::SurfaceFormat format, bool isSigned) {
    if (format != Vex::kSurfaceFormatBc6) {
        return nullptr;
    }
    if (const Bc6DecodersAvx2* wide = wideDecoders(); wide != nullptr) {
        return isSigned ? wide->m_signedToHalves : wide->m_toHalves;
    }
    return isSigned ? &decodeRun<true, Halves> : &decodeRun<false, Halves>;
}

} // namespace qor::Texsmith::Raw
