// One NaN for all that arithmetic brings out.
//
// The sign and the payload of a NaN that comes of a sum of NaNs, of infinities or of a root differ between
// instructions, and compilers are free to choose which. So transforms, chains of mips and measures store this
// one instead. What only moves or converts values keeps their bits.
#pragma once

#include "qor/texsmith/raw/vector_math.h"

#include <cstdint>

namespace qor::Texsmith::Simd {

inline constexpr std::uint32_t kCanonicalNan = 0x7FC00000;

template <typename Lanes> typename Lanes::Float canonical(typename Lanes::Float a) {
    return select(equal(a, a), a, floatsOf(Lanes::splat(kCanonicalNan)));
}

template <typename Lanes> Raw::VectorFloat canonical(const Raw::VectorFloat& a) {
    Raw::VectorFloat result;
    store(&result, canonical<Lanes>(Lanes::loadFloats(&a)));
    return result;
}

} // namespace qor::Texsmith::Simd
