// Steps on pictures: parts, order and channels.
#pragma once

#include "resizing.h"
#include "steps/owned_image.h"
#include "steps/step_options.h"

#include <optional>
#include <string>

namespace Tool {

// Crops, turns, changes channels, resizes, halves and pads, in this order, as far as they are asked for.
// Texels that only move keep their bytes; blocks are decoded first and made again in the end. Of a picture
// that gets another size the largest mip alone is left. `filter` is that of both changes of size. Throws
// Failure.
OwnedImage withPictureSteps(OwnedImage image, const StepOptions& options, const std::optional<Size>& size,
                            const std::string& filter, qor::Texsmith::Configuration* configuration);

// The same texels under a descriptor that asks for that order in a .vxf file.
OwnedImage withTileMode(OwnedImage image, qor::Vex::TileMode mode);

} // namespace Tool
