// Formats as people name them.
#pragma once

#include "qor/vex/data_format.h"

#include <string>

namespace Tool {

// By a name that 'texsmith formats' lists, whatever its case and without regard to '_' and '-', by a common
// other name such as bc1, dxt5, bc7-srgb or rgba8, or as JSON. Throws UsageFailure, with what may have been
// meant, for others, and for formats without texels.
qor::Vex::DataFormat findFormat(const std::string& name);

} // namespace Tool
