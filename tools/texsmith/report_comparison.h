// What a report tells of two textures.
#pragma once

#include "json_output.h"
#include "report_file.h"

namespace Tool {

// Errors by channel and mip, and links to the texels that differ most. Throws Failure for files of different
// shape.
Json compareForReport(const LoadedFile& file, const LoadedFile& reference);

} // namespace Tool
