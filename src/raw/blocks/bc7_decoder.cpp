#include "raw/blocks/bc7_decoder.h"

#include "raw/blocks/bc7_decoder_avx2.h"
#include "raw/blocks/bc7_tables.h"
#include "raw/blocks/bptc_indices.h"
#include "raw/texels/sides.h"
#include "simd/dispatch.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

static_assert(std::endian::native == std::endian::little);

struct BaseLineBuild;

// A pixel's four channels, spread over the words of 64 bits, so that all of them are mixed at once.
using Channels = std::uint64_t;
constexpr Channels kOnes = 0x0001000100010001, kBytes = 255 * kOnes;
constexpr Channels kColourWords = 0x0000FFFFFFFFFFFF;
constexpr unsigned kAlphaAt = 48;

constexpr std::uint32_t pixelOf(Channels channels) {
    const Channels pairs = (channels | channels >> 8) & 0x0000FFFF0000FFFF;
    return static_cast<std::uint32_t>(pairs | pairs >> 16);
}

// No channel reaches into its neighbour: 64 * 255 + 32 takes 14 bits.
constexpr std::uint32_t mix(Channels first, Channels second, unsigned weight) {
    return pixelOf(((64 - weight) * first + weight * second + 32 * kOnes) >> 6 & kBytes);
}

// Repeats the bits of each channel from the top.
template <unsigned kBits> constexpr Channels widen(Channels channels) {
    return channels << (8 - kBits) | (channels >> (2 * kBits - 8) & kBytes);
}

// The bits of a block, from the lowest one on.
class BitStream {
public:
    explicit BitStream(const std::uint8_t* block) {
        std::memcpy(&m_low, block, 8);
        std::memcpy(&m_high, block + 8, 8);
    }
    void skip(unsigned bits) {
        m_low = m_low >> bits | m_high << 1 << (63 - bits);
        m_high >>= bits;
    }
    std::uint64_t take(unsigned bits) {
        const std::uint64_t value = m_low & ((std::uint64_t{1} << bits) - 1);
        skip(bits);
        return value;
    }
    std::uint64_t rest() const { return m_low; }

private:
    std::uint64_t m_low;
    std::uint64_t m_high;
};

template <unsigned kBits> constexpr unsigned weightOf(unsigned index) {
    return kBits == 2 ? kBptcWeights2[index] : kBits == 3 ? kBptcWeights3[index] : kBptcWeights4[index];
}

template <Bc7Mode kMode> class Endpoints {
public:
    static constexpr unsigned kEnds = 2u * kMode.m_subsets;

    explicit Endpoints(BitStream& bits) {
        for (unsigned at = 0; at < 48; at += 16) {
            takeChannel(bits, at, kMode.m_colourBits);
        }
        takeChannel(bits, kAlphaAt, kMode.m_alphaBits);
        if constexpr (kMode.m_pBits != Bc7PBits::None) {
            takePBits(bits);
        }
        for (Channels& end : m_ends) {
            end = widenEnd(end);
        }
    }

    std::uint32_t mixOf(unsigned subset, unsigned weight) const {
        return mix(m_ends[2 * subset], m_ends[2 * subset + 1], weight);
    }
    // Alpha changes places with a channel.
    void rotate(unsigned rotation) {
        const unsigned distance = kAlphaAt - 16 * (rotation - 1);
        for (Channels& end : m_ends) {
            const Channels moved = (end ^ end >> distance) & Channels{255} << (kAlphaAt - distance);
            end ^= moved | moved << distance;
        }
    }

private:
    static constexpr bool kHasPBits = kMode.m_pBits != Bc7PBits::None;

    void takeChannel(BitStream& bits, unsigned at, unsigned width) {
        for (Channels& end : m_ends) {
            end |= bits.take(width) << at;
        }
    }
    void takePBits(BitStream& bits) {
        constexpr unsigned kStep = kMode.m_pBits == Bc7PBits::OfSubset ? 2 : 1;
        for (unsigned end = 0; end < kEnds; end += kStep) {
            const Channels bit = bits.take(1) * kOnes;
            for (unsigned i = end; i < end + kStep; ++i) {
                m_ends[i] = m_ends[i] << 1 | bit;
            }
        }
    }
    static Channels widenEnd(Channels end) {
        const Channels colour = widen<kMode.m_colourBits + kHasPBits>(end) & kColourWords;
        if constexpr (kMode.m_alphaBits == 0) {
            return colour | Channels{255} << kAlphaAt;
        } else {
            return colour | (widen<kMode.m_alphaBits + kHasPBits>(end) & ~kColourWords);
        }
    }

    Channels m_ends[kEnds] = {};
};

void store(std::uint8_t* destination, std::size_t pitch, const std::uint32_t* pixels) {
    for (unsigned row = 0; row < kBlockSide; ++row) {
        std::memcpy(destination + row * pitch, pixels + row * kBlockSide, kBlockSide * sizeof *pixels);
    }
}

// The indices behind `bits`, all of the same width. Each anchor's place counts the bits of those below it.
template <Bc7Mode kMode> std::uint64_t indicesOf(const BitStream& bits, unsigned partition) {
    constexpr unsigned kBits = kMode.m_indexBits;
    const std::uint64_t indices = withAnchorBit<BaseLineBuild, kBits>(bits.rest(), 0);
    if constexpr (kMode.m_subsets == 1) {
        return indices;
    }
    const unsigned second = bc7AnchorOf(kMode.m_subsets, partition, 1);
    if constexpr (kMode.m_subsets == 2) {
        return withAnchorBit<BaseLineBuild, kBits>(indices, second);
    }
    const unsigned third = bc7AnchorOf(kMode.m_subsets, partition, 2);
    return withAnchorBit<BaseLineBuild, kBits>(
        withAnchorBit<BaseLineBuild, kBits>(indices, std::min(second, third)), std::max(second, third));
}

template <Bc7Mode kMode> void decodeSubsets(std::uint8_t* destination, std::size_t pitch, BitStream bits) {
    constexpr unsigned kBits = kMode.m_indexBits, kEntries = 1u << kBits;
    const auto partition = static_cast<unsigned>(bits.take(kMode.m_partitionBits));
    const Endpoints<kMode> endpoints(bits);
    std::uint32_t palette[kMode.m_subsets * kEntries];
    for (unsigned entry = 0; entry < kMode.m_subsets * kEntries; ++entry) {
        palette[entry] = endpoints.mixOf(entry / kEntries, weightOf<kBits>(entry % kEntries));
    }
    std::uint64_t indices = indicesOf<kMode>(bits, partition);
    std::uint32_t pixels[kTexelsPerBlock];
    for (unsigned texel = 0; texel < kTexelsPerBlock; ++texel, indices >>= kBits) {
        const unsigned subset = bc7SubsetOf(kMode.m_subsets, partition, texel);
        pixels[texel] = palette[subset * kEntries + (indices & (kEntries - 1))];
    }
    store(destination, pitch, pixels);
}

// Modes whose alpha, or the channel that changed places with it, has indices of its own.
template <Bc7Mode kMode>
void decodeTwoIndexSets(std::uint8_t* destination, std::size_t pitch, BitStream bits) {
    constexpr unsigned kFirst = kMode.m_indexBits, kSecond = kMode.m_secondIndexBits;
    const auto rotation = static_cast<unsigned>(bits.take(kMode.m_rotationBits));
    const bool alphaIsFirst = bits.take(kMode.m_selectionBits) != 0;
    Endpoints<kMode> endpoints(bits);
    if (rotation != 0) {
        endpoints.rotate(rotation);
    }
    const std::uint32_t alphaMask = 0xFFu << 8 * (rotation + 3) % 32;
    const std::uint32_t firstMask = alphaIsFirst ? alphaMask : ~alphaMask;
    std::uint32_t first[1u << kFirst], second[1u << kSecond];
    for (unsigned index = 0; index < 1u << kFirst; ++index) {
        first[index] = endpoints.mixOf(0, weightOf<kFirst>(index)) & firstMask;
    }
    for (unsigned index = 0; index < 1u << kSecond; ++index) {
        second[index] = endpoints.mixOf(0, weightOf<kSecond>(index)) & ~firstMask;
    }
    std::uint64_t firsts = withAnchorBit<BaseLineBuild, kFirst>(bits.take(kTexelsPerBlock * kFirst - 1), 0);
    std::uint64_t seconds = withAnchorBit<BaseLineBuild, kSecond>(bits.rest(), 0);
    std::uint32_t pixels[kTexelsPerBlock];
    for (unsigned texel = 0; texel < kTexelsPerBlock; ++texel, firsts >>= kFirst, seconds >>= kSecond) {
        pixels[texel] = first[firsts & ((1u << kFirst) - 1)] | second[seconds & ((1u << kSecond) - 1)];
    }
    store(destination, pitch, pixels);
}

void decodeReserved(std::uint8_t* destination, std::size_t pitch, BitStream) {
    constexpr std::uint32_t kBlack[kTexelsPerBlock] = {};
    store(destination, pitch, kBlack);
}

using Decode = void (*)(std::uint8_t* destination, std::size_t pitch, BitStream bits);
constexpr Decode kDecoders[kBc7ModeCount + 1] = {
    &decodeSubsets<kBc7Modes[0]>, &decodeSubsets<kBc7Modes[1]>,      &decodeSubsets<kBc7Modes[2]>,
    &decodeSubsets<kBc7Modes[3]>, &decodeTwoIndexSets<kBc7Modes[4]>, &decodeTwoIndexSets<kBc7Modes[5]>,
    &decodeSubsets<kBc7Modes[6]>, &decodeSubsets<kBc7Modes[7]>,      &decodeReserved,
};

void decodeBlock(std::uint8_t* destination, std::size_t pitch, const std::uint8_t* source) {
    const auto mode = static_cast<unsigned>(std::countr_zero(source[0] | 1u << kBc7ModeCount));
    BitStream bits(source);
    bits.skip(mode + 1);
    kDecoders[mode](destination, pitch, bits);
}

void decodeRun(std::uint8_t* destination, std::size_t pitch, const std::uint8_t* source, std::size_t count) {
    for (std::size_t block = 0; block < count; ++block) {
        decodeBlock(destination + block * 16, pitch, source + block * 16);
    }
}

} // namespace

void decodeBc7Block(std::uint8_t* destination, const std::uint8_t* source) {
    decodeBlock(destination, kBlockSide * 4, source);
}

DecodeBlockRun findBc7RunDecoder() {
    const DecodeBlockRun wide = Simd::mayUseAvx2() ? getBc7RunDecoderAvx2() : nullptr;
    return wide != nullptr ? wide : &decodeRun;
}

} // namespace qor::Texsmith::Raw
