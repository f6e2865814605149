// Blocks of BC7 of more than a few colours, many at once.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "raw/blocks/bc7_fields.h"

namespace qor::Texsmith::Raw {

inline constexpr unsigned kBc7MaxLanes = 8;

struct Bc7Kernels {
    // `count` blocks of 64 floats of 0..1, one behind the other. Floats are read up to the next multiple of
    // kBc7MaxLanes blocks; what they hold there does not matter.
    void (*m_encode)(const float* blocks, unsigned count, bool hasAlpha, EncoderEffort effort,
                     Bc7Fields* fields);
};

extern const Bc7Kernels kBc7Kernels4;
// Null where the build has none.
const Bc7Kernels* bc7KernelsAvx2();

} // namespace qor::Texsmith::Raw
