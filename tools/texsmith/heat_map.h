// How far two textures are apart, as a picture.
#pragma once

#include "image_pair.h"

namespace Tool {

// The largest difference of the chosen channels, texel by texel, from black for none to pale yellow for
// `largest`, whose texel has a ring around it, over a bar that tells the scale. The surfaces of a mip stand
// in rows of about as many as there are rows; smaller mips stand beside the largest. Small textures are drawn
// larger, and of what would be above 4096 texels a side, the largest of each square of texels is shown.
Picture drawHeatMap(const ImagePair& pair, const Selection& selection, const Difference& largest);

} // namespace Tool
