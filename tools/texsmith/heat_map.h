// How far two surfaces are apart, as a picture.
#pragma once

#include "picture.h"
#include "qor/texsmith/raw/element_provider.h"

namespace Tool {

// The largest difference of the four channels, texel by texel, from black for none to pale yellow for
// `largest`, over a bar that tells the scale. Small surfaces are drawn larger.
Picture drawHeatMap(const qor::Texsmith::Raw::ElementRows& a, const qor::Texsmith::Raw::ElementRows& b,
                    double largest);

} // namespace Tool
