// Four lanes at once for any machine, in the words that kernels over lanes are written in.
//
// A kernel that is a template over a class of lanes, `Lanes`, stands in a header whose name ends in _lanes.h
// and is instantiated with Lanes4 and, in a file compiled for AVX2, with Avx2::Lanes8. Both classes have
//
//     Float, Int                vectors of floats and of 32-bit integers
//     kCount                    how many lanes these have
//     splat(value)              one float, or one unsigned number, in all lanes
//     laneNumbers()             0, 1, 2 ...
//     shiftCount(bits)          for shifts by a number that is known at run time only
//     loadFloats, loadInts      as many as there are lanes, of any alignment
//     loadBytes, loadWords      bytes or 16-bit words, each widened to a lane
//     storeBytes, storeWords    back, for lanes that fit
//     repeatFloats, repeatInts  four numbers, over and over
//     lookUp(table, places)     one entry of a table for each lane
//     loadTexels, storeTexels   between texels of four floats and one vector for each channel
//
// and all else is a function or operator beside the vectors, found by their type:
//
//     of floats    + - * / squareRoot absolute minimum maximum
//     of integers  + - * & | ^ ~ shiftLeft shiftRight shiftRightSigned minimumSigned maximumSigned
//     to masks     less lessOrEqual equal greaterSigned: all ones in the lanes where it holds
//     of masks     select(mask, a, b) anyLane allLanes laneBits
//     conversions  bitsOf floatsOf toFloats truncateToInts roundToInts
//     over lanes   shuffle<x, y, z, w> (within each group of four) transpose sumOfLanes
//     to memory    store packBytes packWords
//
// float4_scalar.h defines each. Every operation gives the same bits in every class, except for the payload of
// a NaN that arithmetic makes: minimum and maximum give the second operand when either is a NaN, and of two
// zeros; no comparison holds for a NaN; conversions to integers give 0x80000000 for what does not fit.
#pragma once

#include "simd/float4.h"

#include <cstring>

namespace qor::Texsmith::Simd {

// `Backend` makes vectors; everything else follows from their type.
template <typename Backend> struct LanesOfFour : Backend {
    using typename Backend::Float;
    using typename Backend::Int;
    static constexpr unsigned kCount = 4;

    static Int laneNumbers() { return Backend::makeInts(0, 1, 2, 3); }

    static Int loadBytes(const void* source) {
        std::uint32_t bytes;
        std::memcpy(&bytes, source, sizeof bytes);
        return Backend::fromBytes(bytes);
    }
    static Int loadWords(const void* source) {
        std::uint64_t words;
        std::memcpy(&words, source, sizeof words);
        return Backend::fromWords(words);
    }
    static void storeBytes(void* destination, Int values) {
        const std::uint32_t bytes = toBytes(values);
        std::memcpy(destination, &bytes, sizeof bytes);
    }
    static void storeWords(void* destination, Int values) {
        const std::uint64_t words = toWords(values);
        std::memcpy(destination, &words, sizeof words);
    }
    static Float repeatFloats(const float* four) { return Backend::loadFloats(four); }
    static Int repeatInts(const std::uint32_t* four) { return Backend::loadInts(four); }

    static Int lookUp(const std::uint32_t* table, Int places) {
        std::uint32_t at[kCount];
        store(at, places);
        return Backend::makeInts(table[at[0]], table[at[1]], table[at[2]], table[at[3]]);
    }
    static Float lookUp(const float* table, Int places) {
        std::uint32_t at[kCount];
        store(at, places);
        return Backend::makeFloats(table[at[0]], table[at[1]], table[at[2]], table[at[3]]);
    }

    // Channel c of texel i is lane i of channels[c]; texels lie `stride` floats apart.
    static void loadTexels(Float (&channels)[4], const float* texels, unsigned stride) {
        for (unsigned i = 0; i < 4; ++i) {
            channels[i] = Backend::loadFloats(texels + stride * i);
        }
        transpose(channels);
    }
    static void storeTexels(float* texels, unsigned stride, const Float (&channels)[4]) {
        Float rows[4] = {channels[0], channels[1], channels[2], channels[3]};
        transpose(rows);
        for (unsigned i = 0; i < 4; ++i) {
            store(texels + stride * i, rows[i]);
        }
    }
};

using Lanes4 = LanesOfFour<Backend>;

} // namespace qor::Texsmith::Simd
