// What the user should know about a result that is as asked for.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/image.h"

namespace Tool {

// What a format costs the quality of this picture. That normals lose their blue is no news.
void hintAtQuality(const qor::Texsmith::Raw::Image& picture, qor::Vex::DataFormat format, bool isNormalMap,
                   qor::Texsmith::Configuration* configuration);

} // namespace Tool
