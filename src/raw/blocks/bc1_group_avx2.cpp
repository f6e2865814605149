// The fit of BC1 endpoints for AVX2: eight blocks at a time.
#include "raw/blocks/bc1_search_lanes.h"

#if defined(__AVX2__)

#    include "simd/lanes8_avx2.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr Bc1Kernels kKernels = makeBc1Kernels<Simd::Avx2::Lanes8>();

} // namespace

const Bc1Kernels* getBc1KernelsAvx2() { return &kKernels; }

} // namespace qor::Texsmith::Raw

#else

namespace qor::Texsmith::Raw {

const Bc1Kernels* getBc1KernelsAvx2() { return nullptr; }

} // namespace qor::Texsmith::Raw

#endif
