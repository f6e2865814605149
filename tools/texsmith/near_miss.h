// Names that a user may have meant.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace Tool {

// "; did you mean 'convert'?" for the name that is nearest to what was typed, or where none is near what else
// there is to say: "; see texsmith --help".
std::string suggestion(std::string_view typed, std::span<const std::string_view> names,
                       const std::string& otherwise);

} // namespace Tool
