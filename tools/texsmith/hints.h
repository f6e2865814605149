// What the user should know about a result that is as asked for.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/image.h"

namespace Tool {

// What a format costs the quality of this picture.
void hintAtQuality(const qor::Texsmith::Raw::Image& picture, qor::Vex::DataFormat format,
                   qor::Texsmith::Configuration* configuration);

} // namespace Tool
