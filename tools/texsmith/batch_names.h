// Where the results of many files go.
#pragma once

#include "batch_sources.h"

#include <string>
#include <utility>
#include <vector>

namespace Tool {

struct Naming {
    std::string m_folder;    // of all results, which keep their places below it; empty: beside the sources
    std::string m_extension; // ".dds"
    // The name without its folder and extension: "{name}" stands for that of the source, "{extension}" for
    // what was behind its last dot, "{folder}" for the last folder of its path. Folders may stand in it.
    std::string m_pattern = "{name}";
};

// Throws UsageFailure for an extension that does not begin with a dot or that no type has, and for a pattern
// with braces around other words, or that leaves the folder.
void checkNaming(const Naming& naming);

// Throws UsageFailure for a URL whose result would lie beside it, and for a name without an extension in
// whose place that of the result could come.
std::string destinationOf(const BatchSource& source, const Naming& naming);

// The pairs of source and destination. Throws UsageFailure where two write one file, or one writes a source
// of another; upper and lower case count as equal where the system takes them so.
void refuseCollisions(const std::vector<std::pair<std::string, std::string>>& conversions);

} // namespace Tool
