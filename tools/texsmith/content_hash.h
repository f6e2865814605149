// A number for the contents of a file.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace Tool {

// By the published algorithm XXH64 with seed 0: quick, and for contents that differ by chance or by work, not
// by intent. The same on every system. Nothing for a file that cannot be read.
std::optional<std::uint64_t> contentHash(const std::string& file);

} // namespace Tool
