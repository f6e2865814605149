// Signed 16-bit numbers, as many at once as a vector holds, in the words that kernels over lanes are written
// in (lanes4.h).
//
// A kernel that is a template over a class of words, `Words`, is instantiated with Words8 and, in a file
// compiled for AVX2, with Avx2::Words16. Both classes have
//
//     Word, Lanes               the vector, and the class of lanes that has half as many of 32 bits
//     kCount                    how many words a vector has
//     splat(value), load(from)  one number in all lanes; numbers from memory of any alignment
//     Wide                      a number of 32 bits for each word, in two vectors, m_low and m_high, whose
//                               order is the class' own: pack, interleave and the functions below agree on it
//     loadWide(from)            32-bit numbers in the order of the words
//
// and all else is a function or operator beside the vectors:
//
//     of words     + - * (modulo 2^16) & | ^ multiplyHigh minimumSigned maximumSigned
//                  shiftLeft shiftRightSigned shiftRight
//     to masks     greaterSigned equal: all ones in the lanes where it holds
//     of masks     select(mask, a, b) anyLane
//     to Wide      widen(a), with the sign; interleave(a, b), which is a | b << 16; and
//                  sumOfProducts(a, b, c, d), which is a * b + c * d
//     of Wide      narrow(wide), which saturates
//     to memory    store(words), storeWide(wide) in the order of the words
//
// words8_scalar.h defines each. Every operation gives the same bits in every class.
#pragma once

#include "simd/lanes4.h"
#include "simd/words8_scalar.h"

#if !defined(TEXSMITH_SCALAR) && (defined(__SSE2__) || defined(_M_X64))
#    include "simd/words8_sse2.h"
#elif !defined(TEXSMITH_SCALAR) && (defined(__aarch64__) || defined(_M_ARM64))
#    include "simd/words8_neon.h"
#endif

namespace qor::Texsmith::Simd {

struct Words8 : WordBackend {
    using Lanes = Lanes4;
};

} // namespace qor::Texsmith::Simd
