// Every operation of a class of lanes on eight lanes, in an order that lanes_test.cpp knows.
//
// Only plain arrays stand here, as one of the files that include it is compiled for AVX2.
#pragma once

#include <cstdint>

namespace LanesTest {

inline constexpr unsigned kLanes = 8, kMostRows = 64, kTexelFloats = 5;

struct Operands {
    std::uint32_t a[kLanes], b[kLanes], c[kLanes];
    std::uint32_t m_bytes[4 * kLanes]; // below 256
    std::uint32_t m_words[2 * kLanes]; // below 65536
    std::uint32_t m_anyLanes[4 * kLanes];
    float m_texels[kLanes * kTexelFloats];
};

// Each kind of result by lanes, in the order of the operations.
struct Results {
    unsigned m_width;
    std::uint32_t m_lanes[kMostRows][kLanes];
    // Of a mask that is ones where a < b as signed numbers, for each vector.
    std::uint32_t m_any[kLanes], m_all[kLanes], m_bits[kLanes];
    float m_sums[kLanes];
    std::uint32_t m_intSums[kLanes];
    // What was packed, narrowed, and taken apart into channels and put together again.
    std::uint8_t m_packedBytes[4 * kLanes], m_bytes[kLanes];
    std::uint16_t m_packedWords[2 * kLanes], m_words[kLanes];
    float m_channels[4][kLanes], m_texels[kLanes * kTexelFloats];
};

template <typename Lanes> void runOperations(Results* results, const Operands& operands) {
    results->m_width = Lanes::kCount;
    for (unsigned i = 0; i < kLanes; i += Lanes::kCount) {
        unsigned row = 0;
        const auto keep = [&](auto value) { store(results->m_lanes[row++] + i, value); };
        const auto a = Lanes::loadInts(operands.a + i), b = Lanes::loadInts(operands.b + i);
        const auto c = Lanes::loadInts(operands.c + i);
        const auto x = Lanes::loadFloats(operands.a + i), y = floatsOf(b), z = floatsOf(c);
        const auto counts = c & Lanes::splat(31u);
        const auto count = Lanes::shiftCount(operands.c[0] & 31u);
        const auto mask = greaterSigned(b, a);
        keep(a + b), keep(a - b), keep(a * b), keep(a & b), keep(a | b), keep(a ^ b), keep(~a);
        keep(shiftLeft<7>(a)), keep(shiftRight<7>(a)), keep(shiftRightSigned<7>(a));
        keep(shiftLeft(a, count)), keep(shiftRight(a, count));
        keep(shiftLeft(a, counts)), keep(shiftRight(a, counts));
        keep(minimumSigned(a, b)), keep(maximumSigned(a, b));
        keep(mask), keep(equal(a, b)), keep(select(mask, b, c)), keep(select(mask, y, z));
        keep(x + y), keep(x - y), keep(x * y), keep(x / y), keep(squareRoot(x)), keep(absolute(x));
        keep(minimum(x, y)), keep(maximum(x, y));
        keep(less(x, y)), keep(lessOrEqual(x, y)), keep(equal(x, y));
        keep(bitsOf(x)), keep(toFloats(a)), keep(truncateToInts(x)), keep(roundToInts(x));
        keep(shuffle<2, 0, 3, 3>(a)), keep(shuffle<1, 3, 0, 0>(x));
        keep(Lanes::splat(operands.a[0])), keep(Lanes::splat(1.5f)), keep(Lanes::laneNumbers());
        keep(Lanes::repeatInts(operands.b)), keep(Lanes::repeatFloats(operands.m_texels));
        keep(Lanes::lookUp(operands.b, a & Lanes::splat(7u)));
        keep(Lanes::lookUp(operands.m_texels, a & Lanes::splat(7u)));
        keep(Lanes::loadBytes(reinterpret_cast<const std::uint8_t*>(operands.a) + i));
        keep(Lanes::loadWords(reinterpret_cast<const std::uint8_t*>(operands.a) + 2 * i));

        const unsigned vector = i / Lanes::kCount;
        results->m_any[vector] = anyLane(mask) ? 1 : 0;
        results->m_all[vector] = allLanes(mask) ? 1 : 0;
        results->m_bits[vector] = laneBits(mask);
        results->m_sums[vector] = sumOfLanes(Lanes::loadFloats(operands.m_texels + i));
        results->m_intSums[vector] = sumOfLanes(a);

        Lanes::storeBytes(results->m_bytes + i, Lanes::loadInts(operands.m_bytes + i));
        Lanes::storeWords(results->m_words + i, Lanes::loadInts(operands.m_words + i));
        typename Lanes::Int parts[4];
        for (unsigned part = 0; part < 4; ++part) {
            parts[part] = Lanes::loadInts(operands.m_anyLanes + 4 * i + part * Lanes::kCount);
        }
        store(results->m_packedBytes + 4 * i, packBytes(parts));
        store(results->m_packedWords + 2 * i,
              packWords(Lanes::loadInts(operands.m_words + 2 * i),
                        Lanes::loadInts(operands.m_words + 2 * i + Lanes::kCount)));
        typename Lanes::Float channels[4];
        Lanes::loadTexels(channels, operands.m_texels + kTexelFloats * i, kTexelFloats);
        for (unsigned channel = 0; channel < 4; ++channel) {
            store(results->m_channels[channel] + i, channels[channel]);
        }
        Lanes::storeTexels(results->m_texels + kTexelFloats * i, kTexelFloats, channels);
    }
}

// Every operation of a class of words on sixteen words, row after row.
inline constexpr unsigned kWords = 16, kWordRows = 24, kWideRows = 4;
struct WordResults {
    std::int16_t m_words[kWordRows][kWords];
    std::uint32_t m_wide[kWideRows][kWords];
    bool m_any[kWords];
};

template <typename Words>
void runWordOperations(WordResults* results, const std::int16_t (&operands)[4][kWords]) {
    for (unsigned i = 0; i < kWords; i += Words::kCount) {
        unsigned row = 0, wideRow = 0;
        const auto keep = [&](auto value) { store(results->m_words[row++] + i, value); };
        const auto keepWide = [&](auto value) { storeWide(results->m_wide[wideRow++] + i, value); };
        const auto a = Words::load(operands[0] + i), b = Words::load(operands[1] + i);
        const auto c = Words::load(operands[2] + i), d = Words::load(operands[3] + i);
        const auto mask = greaterSigned(a, b);
        keep(a + b), keep(a - b), keep(a * b), keep(a & b), keep(a | b), keep(a ^ b),
            keep(multiplyHigh(a, b));
        keep(minimumSigned(a, b)), keep(maximumSigned(a, b)), keep(mask), keep(equal(a, b));
        keep(select(mask, c, d)), keep(shiftLeft<5>(a)), keep(shiftRight<5>(a)), keep(shiftRightSigned<5>(a));
        keep(Words::splat(operands[0][0])), keep(narrow(widen(a))), keep(narrow(sumOfProducts(a, b, c, d)));
        keepWide(widen(a)), keepWide(interleave(a, b)), keepWide(sumOfProducts(a, b, c, d));
        keepWide(Words::loadWide(results->m_wide[0] + i));
        results->m_any[i / Words::kCount] = anyLane(mask);
    }
}

using RunWordOperations = void (*)(WordResults* results, const std::int16_t (&operands)[4][kWords]);
// Null where the build has none.
RunWordOperations getWordOperationsAvx2();

using RunOperations = void (*)(Results* results, const Operands& operands);
// Null where the build has none.
RunOperations getOperationsAvx2();

} // namespace LanesTest
