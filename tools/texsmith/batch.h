// Many files at once.
#pragma once

#include "batch_list.h"
#include "batch_options.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Tool {

enum class BatchOutcome { kWritten, kUpToDate, kKept, kFailed, kNotTried };

struct BatchResult {
    BatchOutcome m_outcome = BatchOutcome::kNotTried;
    std::string m_failure; // the line that tells of it
};

// Converts the files: each on a thread of its own where there are more of them than cores or `jobs` says how
// many at once, else one after the other on all cores. Tells of each as it is done: failures on the standard
// error stream; the rest by a bar there where that is a terminal, and by lines on the standard output where
// that is none. A single file's failure is thrown as it is; of several files all results come back, one for
// each.
std::vector<BatchResult> convertBatch(const Batch& batch, const BatchOptions& options);

// "3 written, 1 already there, 1 failed".
std::string summaryOf(const std::vector<BatchResult>& results);

} // namespace Tool
