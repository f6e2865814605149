#include "raw/bc1_lanes.h"

#if defined(__AVX2__)

#    include "simd/float8_avx2.h"

namespace qor::Texsmith::Raw {
namespace {

struct EightLanes {
    using Float = Simd::Avx2::Float8;
    using Int = Simd::Avx2::Int8;
    static constexpr unsigned kCount = 8;

    static Float splat(float value) { return Simd::Avx2::splat(value); }
    static Int splat(std::uint32_t value) { return Simd::Avx2::splat(value); }
    static Int loadInts(const void* source) { return Simd::Avx2::loadInts(source); }
    static void store(void* destination, Int value) { Simd::Avx2::store(destination, value); }
    static void loadTexels(Float (&channels)[4], const float* texel) {
        for (int i = 0; i < 4; ++i) {
            channels[i] = Simd::Avx2::loadHalves(texel + 64 * i, texel + 64 * (i + 4));
        }
        transpose(channels);
    }
};

void encodeBlocks(std::uint8_t* destination, const float* texels, unsigned count) {
    for (unsigned done = 0; done < count; done += 8) {
        Bc1Lanes<EightLanes>::encode(destination + 8 * done, texels + 64 * done);
    }
}

} // namespace

Bc1BlocksKernel getBc1BlocksAvx2() { return encodeBlocks; }

} // namespace qor::Texsmith::Raw

#else

namespace qor::Texsmith::Raw {

Bc1BlocksKernel getBc1BlocksAvx2() { return nullptr; }

} // namespace qor::Texsmith::Raw

#endif
