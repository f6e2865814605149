// What a conversion would do.
#pragma once

#include "batch_list.h"
#include "batch_options.h"
#include "json_output.h"

namespace Tool {

// Prints a line for each file, with the size of its result as far as headers tell it, and a last one for all;
// with
// --json returns the same as an object. Nothing is written.
void printDryRun(const Batch& batch, const BatchOptions& options);
Json dryRunAsJson(const Batch& batch, const BatchOptions& options);

} // namespace Tool
