// Reports as one file of HTML that needs nothing else.
#pragma once

#include "json_output.h"
#include "report_texels.h"

#include <string>
#include <string_view>
#include <vector>

namespace Tool {

// The page without its data, with a line "<!-- report -->" where that belongs.
std::string_view pageTemplate();

// `report` is what the scripts read; the texels of its files stand behind it in their order.
std::string makePage(const Json& report, const std::vector<PageTexels>& texels);

} // namespace Tool
