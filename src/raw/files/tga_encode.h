// The writer of TGA files.
#pragma once

#include "qor/texsmith/raw/image.h"

#include "qor/vex/data_formats.h"

namespace qor::Texsmith::Raw {

inline constexpr Vex::DataFormat kTgaFormat = Vex::kDataFormatB8G8R8A8Unorm;

// Write the first surface, top row first, converted straight into its place in the file. The memory of
// `source` must not be the destination's. What cannot be converted leaves the destination alone.
Error writeTga(const ElementProvider& source, ResizableMemoryRegion* destination,
               Configuration* configuration);
Error writeTga(const Image& source, ResizableMemoryRegion* destination, Configuration* configuration);

} // namespace qor::Texsmith::Raw
