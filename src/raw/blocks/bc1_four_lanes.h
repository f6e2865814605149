// What the kernels of BC1 ask of a vector type, for four lanes.
#pragma once

#include "simd/float4.h"

namespace qor::Texsmith::Raw {

struct FourLanes {
    using Float = Simd::Float4;
    using Int = Simd::Int4;
    static constexpr unsigned kCount = 4;

    static Float splat(float value) { return Simd::splat(value); }
    static Int splat(std::uint32_t value) { return Simd::splat(value); }
    static Float loadFloats(const void* source) { return Simd::loadFloats(source); }
    static Int loadInts(const void* source) { return Simd::loadInts(source); }
    // Four floats, as often as there is room, and one of the four in all lanes.
    static Float loadFourfold(const float* source) { return Simd::loadFloats(source); }
    template <int kChannel> static Float splatOf(Float fourfold) {
        return floatsOf(Simd::shuffle<kChannel, kChannel, kChannel, kChannel>(bitsOf(fourfold)));
    }
    static void store(void* destination, Int value) { Simd::store(destination, value); }
    // The red, green, blue and alpha of as many texels as there are lanes, `stride` floats apart.
    static void loadTexels(Float (&channels)[4], const float* texel, unsigned stride) {
        for (unsigned i = 0; i < 4; ++i) {
            channels[i] = Simd::loadFloats(texel + stride * i);
        }
        transpose(channels);
    }
};

} // namespace qor::Texsmith::Raw
