// The alpha half of BC3 for AVX2: sixteen blocks at a time.
#include "raw/blocks/bc3_alpha_lanes.h"

#if defined(__AVX2__)

#    include "simd/words16_avx2.h"

namespace qor::Texsmith::Raw {

Bc3AlphaKernel getBc3AlphaKernelAvx2() { return Bc3AlphaLanes<Simd::Avx2::Words16>::encode; }

} // namespace qor::Texsmith::Raw

#else

namespace qor::Texsmith::Raw {

Bc3AlphaKernel getBc3AlphaKernelAvx2() { return nullptr; }

} // namespace qor::Texsmith::Raw

#endif
