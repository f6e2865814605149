// What the kernels of BC1 ask of a vector type, for eight lanes. Only for files that are compiled for AVX2.
#pragma once

#include "simd/float8_avx2.h"

namespace qor::Texsmith::Raw {

struct EightLanes {
    using Float = Simd::Avx2::Float8;
    using Int = Simd::Avx2::Int8;
    static constexpr unsigned kCount = 8;

    static Float splat(float value) { return Simd::Avx2::splat(value); }
    static Int splat(std::uint32_t value) { return Simd::Avx2::splat(value); }
    static Float loadFloats(const void* source) { return Simd::Avx2::loadFloats(source); }
    static Int loadInts(const void* source) { return Simd::Avx2::loadInts(source); }
    static Float loadFourfold(const float* source) { return Simd::Avx2::loadHalves(source, source); }
    template <int kChannel> static Float splatOf(Float fourfold) {
        return {_mm256_permute_ps(fourfold.m_lanes, kChannel * 0x55)};
    }
    static void store(void* destination, Int value) { Simd::Avx2::store(destination, value); }
    static void loadTexels(Float (&channels)[4], const float* texel, unsigned stride) {
        for (unsigned i = 0; i < 4; ++i) {
            channels[i] = Simd::Avx2::loadHalves(texel + stride * i, texel + stride * (i + 4));
        }
        transpose(channels);
    }
};

} // namespace qor::Texsmith::Raw
