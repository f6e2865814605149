// The pixels of a TGA file where they lie.
#pragma once

#include "raw/surfaces/region_image.h"

namespace qor::Texsmith::Raw {

// False, and nothing reported, for a file whose pixels are not the elements of the image that convertFromTga
// makes of it, all there and in their order.
bool viewTga(RegionImage* view, const MemoryRegion& source, const Configuration& configuration);

} // namespace qor::Texsmith::Raw
