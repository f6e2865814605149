// The best pair of endpoints for AVX2: the errors of eight texels at a time.
#include "raw/blocks/bc1_best_pair_lanes.h"

#if defined(__AVX2__)

#    include "simd/lanes8_avx2.h"

namespace qor::Texsmith::Raw {

BestPairKernel getBestPairAvx2() { return BestPairSearch<Simd::Avx2::Lanes8>::findBest; }

} // namespace qor::Texsmith::Raw

#else

namespace qor::Texsmith::Raw {

BestPairKernel getBestPairAvx2() { return nullptr; }

} // namespace qor::Texsmith::Raw

#endif
