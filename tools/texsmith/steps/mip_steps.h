// Chains of mips.
#pragma once

#include "steps/owned_image.h"
#include "steps/step_options.h"

namespace Tool {

// The image with as many levels as are asked for, in its format. Averages are made in light where that is
// sRGB, and of the numbers otherwise. The largest level keeps its bytes, but that the Z of normals is filled
// in where the format has none. Throws Failure.
OwnedImage withMips(OwnedImage image, const StepOptions& options,
                    qor::Texsmith::Configuration* configuration);

// Whether blue is a channel of its own, where normals have their Z.
bool holdsZ(qor::Vex::DataFormat format);
// Normals with the Z that makes their length 1, in four channels; as they are where their format holds a Z.
OwnedImage withZ(OwnedImage image, qor::Texsmith::Configuration* configuration);
// Normals of 0 to 1 as those of -1 to 1 for a destination with a sign, and the other way; floats as they are.
OwnedImage withNormalsFor(qor::Vex::TextureChannelType destination, OwnedImage image,
                          qor::Texsmith::Configuration* configuration);
// Normals of a format that holds their Z, each divided by its length; straight up where that is 0.
OwnedImage withUnitLengths(OwnedImage image, qor::Texsmith::Configuration* configuration);

} // namespace Tool
