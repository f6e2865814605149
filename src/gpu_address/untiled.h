// The linear order of a whole surface: rows without padding, planes of one slice and fragment, each on a
// byte.
#pragma once

#include "qor/gpu_address/gpu_address.h"

#include <cstdint>

namespace qor::GpuAddress {

// Only for parameters that computeSurfaceInfo accepts: their sizes fit.
inline std::uint64_t untiledPlaneBytes(const TilingParameters& parameters) {
    const std::uint64_t elements = std::uint64_t{parameters.elementsWide()} * parameters.elementsTall();
    return (elements * parameters.elementBits() + 7) / 8;
}

} // namespace qor::GpuAddress
