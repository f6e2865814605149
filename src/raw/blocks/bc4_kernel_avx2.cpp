// The fit of BC4 for AVX2: sixteen blocks at a time.
#include "raw/blocks/bc4_lanes.h"

#if defined(__AVX2__)

#    include "simd/words16_avx2.h"

namespace qor::Texsmith::Raw {

Bc4Kernel getBc4KernelAvx2() { return Bc4Run<Simd::Avx2::Words16>::encode; }

} // namespace qor::Texsmith::Raw

#else

namespace qor::Texsmith::Raw {

Bc4Kernel getBc4KernelAvx2() { return nullptr; }

} // namespace qor::Texsmith::Raw

#endif
