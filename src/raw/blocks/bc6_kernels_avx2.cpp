#include "raw/blocks/bc6_lanes.h"

#if defined(__AVX2__)

#    include "simd/lanes8_avx2.h"

namespace qor::Texsmith::Raw {

const Bc6Kernels* bc6KernelsAvx2() {
    static constexpr Bc6Kernels kKernels = Bc6Lanes<Simd::Avx2::Lanes8>::makeKernels();
    return &kKernels;
}

} // namespace qor::Texsmith::Raw

#else

namespace qor::Texsmith::Raw {

const Bc6Kernels* bc6KernelsAvx2() { return nullptr; }

} // namespace qor::Texsmith::Raw

#endif
