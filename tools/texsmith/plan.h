// Conversions as work for other programs: a file for Ninja, or lines of JSON.
#pragma once

#include "batch_list.h"
#include "batch_options.h"
#include "options.h"

#include <string>

namespace Tool {

// How this program was started, from its first argument: a path of it, or a name that the shell has looked
// up.
void rememberProgram(const char* name);

// Writes the plan that the options ask for. A Ninja file has one edge for each file, and one by which it is
// made anew when the recipe, a list, a searched folder or the tool changes; it replaces only a file that was
// made by this function. Throws Failure, and UsageFailure for names that such a file cannot hold.
void writePlan(const Batch& batch, const BatchOptions& plan, const Options& options);

} // namespace Tool
