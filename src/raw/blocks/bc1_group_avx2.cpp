// The fit of BC1 endpoints for AVX2: eight blocks at a time.
#include "raw/blocks/bc1_lanes.h"

#if defined(__AVX2__)

#    include "simd/lanes8_avx2.h"

namespace qor::Texsmith::Raw {
namespace {

void encodeBlocks(std::uint8_t* destination, const float* texels, unsigned count) {
    for (unsigned done = 0; done < count; done += 8) {
        Bc1Lanes<Simd::Avx2::Lanes8>::encode(destination + 8 * done, texels + 64 * done);
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
