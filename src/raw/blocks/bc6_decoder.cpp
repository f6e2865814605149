#include "raw/blocks/bc6_decoder.h"

#include "raw/blocks/bc6_decoder_avx2.h"
#include "raw/blocks/bc6_tables.h"
#include "raw/blocks/block_runs.h"
#include "raw/blocks/bptc_tables.h"
#include "raw/texels/sides.h"
#include "simd/dispatch.h"

#include <array>
#include <bit>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

static_assert(std::endian::native == std::endian::little);

constexpr unsigned kChannels = 3;
constexpr unsigned kPartitionAt = 77;
constexpr std::uint16_t kHalfOne = 0x3C00;

// 0 to 32 bits of a block.
unsigned bitsAt(const std::uint64_t (&block)[2], unsigned at, unsigned count) {
    const std::uint64_t low = block[at / 64] >> at % 64;
    const std::uint64_t high = at < 64 ? block[1] << 1 << (63 - at) : 0;
    return static_cast<unsigned>((low | high) & ((std::uint64_t{1} << count) - 1));
}

constexpr unsigned reversed(unsigned value, unsigned bits) {
    unsigned result = 0;
    for (unsigned bit = 0; bit < bits; ++bit) {
        result = result << 1 | (value >> bit & 1);
    }
    return result;
}

void unpackIndices(Bc6Fields& fields, const std::uint64_t (&block)[2], const Bc6Mode& mode) {
    const unsigned second = mode.m_subsets == 2 ? kBc7SecondAnchors2[fields.m_partition] : 0;
    unsigned at = mode.indicesAt();
    for (unsigned texel = 0; texel < kTexelsPerBlock; ++texel) {
        const bool isAnchor = texel == 0 || texel == second;
        const unsigned bits = mode.indexBits() - (isAnchor ? 1 : 0);
        fields.m_indices[texel] = static_cast<std::uint8_t>(bitsAt(block, at, bits));
        at += bits;
    }
}

constexpr std::int32_t signExtended(std::int32_t value, unsigned bits) {
    const std::int32_t sign = std::int32_t{1} << (bits - 1);
    return ((value & (2 * sign - 1)) ^ sign) - sign;
}

// To the whole range of 16 bits, of which the sign takes one.
constexpr std::int32_t unquantize(std::int32_t value, unsigned bits) {
    if (bits >= 15 || value == 0) {
        return value;
    }
    return value == (1 << bits) - 1 ? 0xFFFF : (2 * value + 1) << (15 - bits);
}
constexpr std::int32_t unquantizeSigned(std::int32_t value, unsigned bits) {
    if (bits >= 16 || value == 0) {
        return value;
    }
    const std::int32_t magnitude = value < 0 ? -value : value;
    const std::int32_t wide =
        magnitude >= (1 << (bits - 1)) - 1 ? 0x7FFF : (2 * magnitude + 1) << (15 - bits);
    return value < 0 ? -wide : wide;
}

// Halves of R, G, B, A.
using HalfTexel = std::array<std::uint16_t, 4>;

template <bool kSigned> class Palette {
public:
    explicit Palette(const Bc6Fields& fields) {
        const Bc6Mode& mode = kBc6ModeTable[fields.m_mode];
        std::int32_t ends[12];
        for (unsigned word = 0; word < kChannels * mode.endpoints(); ++word) {
            ends[word] = endpointOf(fields, mode, word);
        }
        m_indexBits = mode.indexBits();
        for (unsigned subset = 0; subset < mode.m_subsets; ++subset) {
            mix(&m_entries[subset << m_indexBits], &ends[subset * 2 * kChannels]);
        }
    }

    const HalfTexel& operator()(unsigned subset, unsigned index) const {
        return m_entries[(subset << m_indexBits) + index];
    }

private:
    static std::int32_t endpointOf(const Bc6Fields& fields, const Bc6Mode& mode, unsigned word) {
        std::int32_t value = fields.m_words[word];
        const unsigned bits = mode.m_endpointBits, channel = word % kChannels;
        if (word >= kChannels && !mode.isDirect()) {
            value = (fields.m_words[channel] + signExtended(value, mode.m_deltaBits[channel])) &
                    ((1 << bits) - 1);
        }
        return kSigned ? unquantizeSigned(signExtended(value, bits), bits) : unquantize(value, bits);
    }

    void mix(HalfTexel* entries, const std::int32_t* ends) const {
        const std::uint8_t* weights = m_indexBits == 3 ? kBptcWeights3 : kBptcWeights4;
        for (unsigned index = 0; index < 1u << m_indexBits; ++index) {
            for (unsigned channel = 0; channel < kChannels; ++channel) {
                const std::int32_t low = ends[channel], high = ends[kChannels + channel];
                entries[index][channel] =
                    finish((low * (64 - weights[index]) + high * weights[index] + 32) >> 6);
            }
            entries[index][kChannels] = kHalfOne;
        }
    }
    static std::uint16_t finish(std::int32_t value) {
        if constexpr (!kSigned) {
            return static_cast<std::uint16_t>(value * 31 >> 6);
        }
        const std::int32_t magnitude = (value < 0 ? -value : value) * 31 >> 5;
        return static_cast<std::uint16_t>(magnitude | (value < 0 && magnitude != 0 ? 0x8000 : 0));
    }

    HalfTexel m_entries[16];
    unsigned m_indexBits;
};

template <bool kSigned>
void decodeToHalves(HalfTexel (&texels)[kTexelsPerBlock], const std::uint8_t* source) {
    const Bc6Fields fields = unpackBc6(source);
    if (fields.m_mode == kBc6Modes) {
        for (HalfTexel& texel : texels) {
            texel = {0, 0, 0, kHalfOne};
        }
        return;
    }
    const Palette<kSigned> palette(fields);
    const std::uint16_t mask = kBc6ModeTable[fields.m_mode].m_subsets == 2 ? 0xFFFF : 0;
    for (unsigned texel = 0; texel < kTexelsPerBlock; ++texel) {
        texels[texel] = palette(subsetOfTwo(fields.m_partition, texel) & mask, fields.m_indices[texel]);
    }
}

// The exact value: a half's bits, moved up, are a float of which 2^112 is missing. -infinity has to be told
// apart.
float floatOf(std::uint16_t half) {
    constexpr std::uint32_t kMinusInfinity = 0xFF800000;
    if (half == 0xFC00) {
        return std::bit_cast<float>(kMinusInfinity);
    }
    const std::uint32_t bits =
        static_cast<std::uint32_t>(half & 0x8000) << 16 | static_cast<std::uint32_t>(half & 0x7FFF) << 13;
    return std::bit_cast<float>(bits) * 0x1p112f;
}

// As the codec of texels stores this half.
std::uint16_t storedHalf(std::uint16_t half) {
    const std::uint16_t magnitude = half & 0x7FFF;
    return magnitude != 0 && magnitude < 0x400 ? static_cast<std::uint16_t>((half & 0x8000) | 0x400) : half;
}

template <bool kSigned> void decodeFloats(ColorRGBA32F* destination, const std::uint8_t* source) {
    HalfTexel texels[kTexelsPerBlock];
    decodeToHalves<kSigned>(texels, source);
    for (unsigned texel = 0; texel < kTexelsPerBlock; ++texel) {
        destination[texel] = {floatOf(texels[texel][0]), floatOf(texels[texel][1]), floatOf(texels[texel][2]),
                              1.0f};
    }
}

template <bool kSigned>
void decodeRunToFloats(std::uint8_t* destination, std::size_t pitch, const std::uint8_t* source,
                       std::size_t count) {
    constexpr std::size_t kBytes = kBlockSide * sizeof(ColorRGBA32F);
    for (std::size_t block = 0; block < count; ++block) {
        ColorRGBA32F texels[kTexelsPerBlock];
        decodeFloats<kSigned>(texels, source + block * 16);
        for (unsigned row = 0; row < kBlockSide; ++row) {
            std::memcpy(destination + row * pitch + block * kBytes, &texels[row * kBlockSide], kBytes);
        }
    }
}

template <bool kSigned>
void decodeRunToHalves(std::uint8_t* destination, std::size_t pitch, const std::uint8_t* source,
                       std::size_t count) {
    constexpr std::size_t kBytes = kBlockSide * sizeof(HalfTexel);
    for (std::size_t block = 0; block < count; ++block) {
        HalfTexel texels[kTexelsPerBlock];
        decodeToHalves<kSigned>(texels, source + block * 16);
        for (HalfTexel& texel : texels) {
            for (unsigned channel = 0; channel < kChannels; ++channel) {
                texel[channel] = storedHalf(texel[channel]);
            }
        }
        for (unsigned row = 0; row < kBlockSide; ++row) {
            std::memcpy(destination + row * pitch + block * kBytes, &texels[row * kBlockSide], kBytes);
        }
    }
}

const Bc6DecodersAvx2* wideDecoders() { return Simd::mayUseAvx2() ? getBc6DecodersAvx2() : nullptr; }

} // namespace

Bc6Fields unpackBc6(const std::uint8_t* source) {
    std::uint64_t block[2];
    std::memcpy(block, source, sizeof block);
    Bc6Fields fields = {};
    fields.m_mode = kBc6ModeOfBits[block[0] & 31];
    if (fields.m_mode == kBc6Modes) {
        return fields;
    }
    const Bc6Mode& mode = kBc6ModeTable[fields.m_mode];
    const Bc6Layout& layout = kBc6Layouts[fields.m_mode];
    unsigned at = mode.m_bitCount;
    for (unsigned i = 0; i < layout.m_count; ++i) {
        const Bc6Field& field = layout.m_fields[i];
        const unsigned bits = bitsAt(block, at, field.bits());
        const bool isReversed = field.m_first > field.m_last;
        fields.m_words[field.m_word] |= static_cast<std::uint16_t>(
            isReversed ? reversed(bits, field.bits()) << field.m_last : bits << field.m_first);
        at += field.bits();
    }
    fields.m_partition = mode.m_subsets == 2 ? bitsAt(block, kPartitionAt, 5) : 0;
    unpackIndices(fields, block, mode);
    return fields;
}

void decodeBc6(ColorRGBA32F* destination, const std::uint8_t* source, bool isSigned) {
    (isSigned ? &decodeFloats<true> : &decodeFloats<false>)(destination, source);
}

DecodeBlockRun findFloatRunDecoder(Vex::SurfaceFormat format, bool isSigned) {
    if (format != Vex::kSurfaceFormatBc6) {
        return nullptr;
    }
    if (const Bc6DecodersAvx2* wide = wideDecoders(); wide != nullptr) {
        return isSigned ? wide->m_signedToFloats : wide->m_toFloats;
    }
    return isSigned ? &decodeRunToFloats<true> : &decodeRunToFloats<false>;
}

DecodeBlockRun findHalfRunDecoder(Vex::SurfaceFormat format, bool isSigned) {
    if (format != Vex::kSurfaceFormatBc6) {
        return nullptr;
    }
    if (const Bc6DecodersAvx2* wide = wideDecoders(); wide != nullptr) {
        return isSigned ? wide->m_signedToHalves : wide->m_toHalves;
    }
    return isSigned ? &decodeRunToHalves<true> : &decodeRunToHalves<false>;
}

} // namespace qor::Texsmith::Raw
