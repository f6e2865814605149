// Eight values that a block chooses from for each texel, and the bits of its choices, as BC4 and the alpha
// half of BC3 store them: one block in each word of a vector.
#pragma once

#include "raw/texels/sides.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qor::Texsmith::Raw {

// One channel of texels of four floats, block after block, or of four rows of pixels of four bytes.
struct ChannelSource {
    const float* m_texels; // null: pixels
    const std::uint8_t* m_rows;
    std::size_t m_pitch;
    unsigned m_channel;
};

template <typename Words> class ValueBlocks {
public:
    using Word = typename Words::Word;
    using Lanes = typename Words::Lanes;
    static constexpr unsigned kCount = Words::kCount;
    using Values = std::int16_t[kTexelsPerBlock][kCount];

    // The blocks from number `first` on, of which there are `left`, made levels of by one of two functions of
    // lanes: from floats, or from bytes. Zeros take the place of blocks that are missing.
    template <typename OfFloats, typename OfBytes>
    static void load(Values& values, const ChannelSource& source, std::size_t first, std::size_t left,
                     OfFloats ofFloats, OfBytes ofBytes) {
        for (unsigned at = 0; at < kCount; at += kLanes) {
            const std::size_t here = left < at ? 0 : left - at;
            const unsigned count = here < kLanes ? static_cast<unsigned>(here) : kLanes;
            const std::size_t block = count == 0 ? first : first + at;
            if (source.m_texels != nullptr) {
                loadFloats(values, at, source, block, count, ofFloats);
            } else {
                loadPixels(values, at, source, block, count, ofBytes);
            }
        }
    }

    static Word absolute(Word a) { return maximumSigned(a, Words::splat(0) - a); }

    // The number of the entry that is nearest to each texel; the lowest of equals.
    template <std::size_t kTexels>
    static void nearestEntries(const Word (&texels)[kTexels], const Word (&entries)[8],
                               Word (&codes)[kTexels]) {
        for (std::size_t texel = 0; texel < kTexels; ++texel) {
            Word best = absolute(texels[texel] - entries[0]), code = Words::splat(0);
            for (int entry = 1; entry < 8; ++entry) {
                const Word distance = absolute(texels[texel] - entries[entry]);
                code = select(greaterSigned(best, distance), Words::splat(entry), code);
                best = minimumSigned(best, distance);
            }
            codes[texel] = code;
        }
    }

    // Two endpoints of a byte each, of which the lower eight bits count, and 16 codes of three bits. Writes
    // the blocks of the first `count` words, `stride` bytes apart.
    static void write(std::uint8_t* destination, std::size_t stride, unsigned count, Word first, Word second,
                      const Word (&codes)[kTexelsPerBlock]) {
        const Word ends = (first & Words::splat(0xFF)) | shiftLeft<8>(second);
        std::uint32_t low[kCount], high[kCount];
        storeWide(low, interleave(ends, bitsFrom<0>(codes)));
        storeWide(high, interleave(bitsFrom<16>(codes), bitsFrom<32>(codes)));
        for (unsigned block = 0; block < count; ++block) {
            std::memcpy(destination + block * stride, &low[block], 4);
            std::memcpy(destination + block * stride + 4, &high[block], 4);
        }
    }

private:
    static constexpr unsigned kLanes = Lanes::kCount; // half a vector of words

    template <typename OfFloats>
    static void loadFloats(Values& values, unsigned at, const ChannelSource& source, std::size_t block,
                           unsigned count, OfFloats ofFloats) {
        constexpr unsigned kFloats = 4 * kTexelsPerBlock;
        const float* texels = source.m_texels + block * kFloats;
        float padded[kLanes * kFloats];
        if (count < kLanes) {
            std::memset(padded, 0, sizeof padded);
            std::memcpy(padded, texels, count * kFloats * sizeof(float));
            texels = padded;
        }
        for (unsigned texel = 0; texel < kTexelsPerBlock; ++texel) {
            typename Lanes::Float channels[4];
            Lanes::loadTexels(channels, texels + 4 * texel, kFloats);
            Lanes::storeWords(values[texel] + at, ofFloats(channels[source.m_channel]));
        }
    }

    // The four pixels of a block's row are taken for a texel of four floats.
    template <typename OfBytes>
    static void loadPixels(Values& values, unsigned at, const ChannelSource& source, std::size_t block,
                           unsigned count, OfBytes ofBytes) {
        const std::uint8_t* rows = source.m_rows + block * 16;
        std::size_t pitch = source.m_pitch;
        std::uint8_t padded[kBlockSide][kLanes * 16];
        if (count < kLanes) {
            std::memset(padded, 0, sizeof padded);
            for (unsigned row = 0; row < kBlockSide; ++row) {
                std::memcpy(padded[row], rows + row * pitch, count * 16);
            }
            rows = padded[0];
            pitch = sizeof padded[0];
        }
        const auto shift = Lanes::shiftCount(8 * source.m_channel);
        for (unsigned row = 0; row < kBlockSide; ++row) {
            typename Lanes::Float columns[4];
            Lanes::loadTexels(columns, reinterpret_cast<const float*>(rows + row * pitch), 4);
            for (unsigned column = 0; column < kBlockSide; ++column) {
                const auto byte = shiftRight(bitsOf(columns[column]), shift) & Lanes::splat(255u);
                Lanes::storeWords(values[row * kBlockSide + column] + at, ofBytes(byte));
            }
        }
    }

    template <int kBits> static Word shiftBy(Word a) {
        if constexpr (kBits >= 0) {
            return shiftLeft<kBits>(a);
        } else {
            return shiftRight<-kBits>(a);
        }
    }
    // 16 of the 48 bits of the codes.
    template <int kFirst, int kTexel = kFirst / 3>
    static Word bitsFrom(const Word (&codes)[kTexelsPerBlock]) {
        const Word here = shiftBy<3 * kTexel - kFirst>(codes[kTexel]);
        if constexpr (kTexel + 1 < 16 && 3 * (kTexel + 1) < kFirst + 16) {
            return here | bitsFrom<kFirst, kTexel + 1>(codes);
        } else {
            return here;
        }
    }
};

} // namespace qor::Texsmith::Raw
