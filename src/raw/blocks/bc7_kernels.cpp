#include "raw/blocks/bc7_kernels.h"

#include "raw/blocks/bc7_group_lanes.h"
#include "simd/lanes4.h"

namespace qor::Texsmith::Raw {

constinit const Bc7Kernels kBc7Kernels4 = {&Bc7Lanes::encodeAll<Simd::Lanes4>};

} // namespace qor::Texsmith::Raw
