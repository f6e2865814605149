// Kernels for the formats in most use, over runs of any length.
//
// Each gives the bits of the generic codec, for a destination whose lanes are zero where the format has no
// channel: there it writes what the raw value 0 converts to. It reads and writes exactly the bytes of `count`
// elements and `count` texels. Chosen once; nothing inside asks about formats.
#pragma once

#include "qor/texsmith/raw/vector_math.h"
#include "qor/vex/data_format.h"

namespace qor::Texsmith::Raw {

using DecodeKernel = void (*)(VectorFloat* destination, const void* source, int count);
using EncodeKernel = void (*)(void* destination, const VectorFloat* source, int count);

// Null where there is none. The selects play no part.
DecodeKernel findDecodeKernel(Vex::DataFormat format);
EncodeKernel findEncodeKernel(Vex::DataFormat format);

} // namespace qor::Texsmith::Raw
