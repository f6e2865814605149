#include "raw/blocks/bc1_best_pair_lanes.h"

#if defined(__AVX2__)

#    include "raw/blocks/bc1_eight_lanes_avx2.h"

namespace qor::Texsmith::Raw {

BestPairKernel getBestPairAvx2() { return PairLanes<EightLanes>::findBest; }

} // namespace qor::Texsmith::Raw

#else

namespace qor::Texsmith::Raw {

BestPairKernel getBestPairAvx2() { return nullptr; }

} // namespace qor::Texsmith::Raw

#endif
