// Patterns of names, as shells have them.
#pragma once

#include <string_view>

namespace Tool {

// "*" stands for any text without a separator, "**" for any text, "?" for one character but a separator.
// Separators are "/"; on Windows "\" is one too. Letters of ASCII match without case on every system, so that
// a pattern means the same everywhere.
bool matchesPattern(std::string_view text, std::string_view pattern);
bool hasWildcards(std::string_view name);

} // namespace Tool
