// The pixels of a TGA file where they lie.
#pragma once

#include "raw/surfaces/region_image.h"
#include "raw/surfaces/row_order.h"

namespace qor::Texsmith::Raw {

// False, and nothing reported, for a file whose pixels are not the elements of the image that convertFromTga
// makes of it, all there and row by row. In a view from the bottom up only the memory is of use: what it
// gives as its first row is the last.
bool viewTga(RegionImage* view, RowOrder* rowOrder, const MemoryRegion& source,
             const Configuration& configuration);

} // namespace qor::Texsmith::Raw
