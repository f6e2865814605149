// BC1 with transparency for AVX2: eight blocks at a time, and of single blocks the errors of eight texels.
#include "raw/blocks/bc1_best_pair_lanes.h"
#include "raw/blocks/bc1_punch_through_lanes.h"

#if defined(__AVX2__)

#    include "simd/lanes8_avx2.h"

namespace qor::Texsmith::Raw {

BestPairKernel getBestPairAvx2() { return BestPairSearch<Simd::Avx2::Lanes8>::findBest; }
PunchThroughKernel getPunchThroughKernelAvx2() { return PunchThroughRun<Simd::Avx2::Lanes8>::encode; }

} // namespace qor::Texsmith::Raw

#else

namespace qor::Texsmith::Raw {

BestPairKernel getBestPairAvx2() { return nullptr; }
PunchThroughKernel getPunchThroughKernelAvx2() { return nullptr; }

} // namespace qor::Texsmith::Raw

#endif
