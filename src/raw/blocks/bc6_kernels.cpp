#include "raw/blocks/bc6_kernels.h"

#include "raw/blocks/bc6_lanes.h"
#include "simd/dispatch.h"
#include "simd/lanes4.h"

namespace qor::Texsmith::Raw {

const Bc6Kernels& bc6Kernels() {
    static constexpr Bc6Kernels kBaseLine = Bc6Lanes<Simd::Lanes4>::makeKernels();
    const Bc6Kernels* wide = Simd::mayUseAvx2() ? bc6KernelsAvx2() : nullptr;
    return wide != nullptr ? *wide : kBaseLine;
}

} // namespace qor::Texsmith::Raw
