// The alpha half of BC3, one block in each word of a vector: the steps of block_alpha.cpp.
#pragma once

#include "raw/blocks/bc4_weights.h"
#include "raw/blocks/value_blocks_lanes.h"

namespace qor::Texsmith::Raw {

// Writes the halves `stride` bytes apart.
using Bc3AlphaKernel = void (*)(std::uint8_t* destination, std::size_t stride, const ChannelSource& source,
                                std::size_t count);
// Null where the build has none.
Bc3AlphaKernel getBc3AlphaKernelAvx2();

template <typename Words> class Bc3AlphaLanes {
public:
    static void encode(std::uint8_t* destination, std::size_t stride, const ChannelSource& source,
                       std::size_t count) {
        for (std::size_t done = 0; done < count; done += kCount) {
            const std::size_t left = count - done;
            encodeGroup(destination + done * stride, stride, source, done, left);
        }
    }

private:
    using Word = typename Words::Word;
    using Lanes = typename Words::Lanes;
    using Float = typename Lanes::Float;
    using Int = typename Lanes::Int;
    static constexpr unsigned kCount = Words::kCount;

    struct Endpoints {
        Word m_first, m_second;
    };

    // A NaN gives 0.
    static Int bytesOf(Float alpha) {
        const Float scaled = alpha * Lanes::splat(255.0f) + Lanes::splat(0.5f);
        return truncateToInts(minimum(maximum(scaled, Lanes::splat(0.0f)), Lanes::splat(255.0f)));
    }

    static Endpoints chooseEndpoints(const Word (&alpha)[kTexelsPerBlock]) {
        const Word none = Words::splat(0), full = Words::splat(255);
        Word least = full, greatest = none, extremes = none; // minus how many these are
        for (const Word& value : alpha) {
            const Word isExtreme = equal(value, none) | equal(value, full);
            extremes = extremes + isExtreme;
            least = minimumSigned(least, select(isExtreme, full, value));
            greatest = maximumSigned(greatest, select(isExtreme, none, value));
        }
        const Word leastFirst = greaterSigned(Words::splat(-3), extremes);
        const Word allExtreme = equal(extremes, Words::splat(-16));
        const Word first = select(leastFirst, least, greatest), second = select(leastFirst, greatest, least);
        return {select(allExtreme, none, first), select(allExtreme, full, second)};
    }

    static Word mix(const Bc4Weights& weights, int entry, Endpoints ends) {
        const Word sum = ends.m_first * Words::splat(weights.m_first[entry]) +
                         ends.m_second * Words::splat(weights.m_second[entry]);
        return shiftRight<6>(sum + Words::splat(32));
    }

    static void encodeGroup(std::uint8_t* destination, std::size_t stride, const ChannelSource& source,
                            std::size_t first, std::size_t left) {
        alignas(32) std::int16_t values[kTexelsPerBlock][kCount];
        ValueBlocks<Words>::load(
            values, source, first, left, [](Float value) { return bytesOf(value); },
            [](Int byte) { return byte; });
        Word alpha[kTexelsPerBlock], entries[8], codes[kTexelsPerBlock];
        for (unsigned texel = 0; texel < kTexelsPerBlock; ++texel) {
            alpha[texel] = Words::load(values[texel]);
        }
        const Endpoints ends = chooseEndpoints(alpha);
        const Word isEight = greaterSigned(ends.m_first, ends.m_second);
        for (int entry = 0; entry < 8; ++entry) {
            const Word last = Words::splat(entry == 6 ? 0 : 255);
            const Word ofSix = entry < 6 ? mix(kBc3SixAlphas, entry, ends) : last;
            entries[entry] = select(isEight, mix(kBc4EightValues, entry, ends), ofSix);
        }
        ValueBlocks<Words>::nearestEntries(alpha, entries, codes);
        ValueBlocks<Words>::write(destination, stride, left < kCount ? static_cast<unsigned>(left) : kCount,
                                  ends.m_first, ends.m_second, codes);
    }
};

} // namespace qor::Texsmith::Raw
