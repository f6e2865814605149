#include "raw/blocks/bc7_kernels.h"

#if defined(__AVX2__)

#    include "raw/blocks/bc7_group_lanes.h"
#    include "simd/lanes8_avx2.h"

namespace qor::Texsmith::Raw {

const Bc7Kernels* bc7KernelsAvx2() {
    static constexpr Bc7Kernels kKernels = {&Bc7Lanes::encodeAll<Simd::Avx2::Lanes8>};
    return &kKernels;
}

} // namespace qor::Texsmith::Raw

#else

namespace qor::Texsmith::Raw {

const Bc7Kernels* bc7KernelsAvx2() { return nullptr; }

} // namespace qor::Texsmith::Raw

#endif
