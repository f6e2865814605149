// The options of a conversion of many files, and of how results are written.
#pragma once

#include "command.h"
#include "options.h"

#include <cstdint>
#include <string>

namespace Tool {

extern const OptionGroup kBatchGroups[2];

enum class PlanFormat { kNone, kNinja, kJsonLines };

struct BatchOptions {
    unsigned m_jobs = 0;        // files at once; 0: not said
    std::uint64_t m_memory = 0; // bytes that all files at work may need together
    bool m_failsFast = false;
    bool m_isDryRun = false;
    PlanFormat m_plan = PlanFormat::kNone;
    std::string m_planFile; // where the plan goes; "-" is the standard output

    bool m_isSerial = false;     // each file on one thread
    bool m_makesFolders = false; // of a destination that is named
    bool m_force = false;
    bool m_keepsExisting = false;
    bool m_updates = false;
};

// Throws UsageFailure, also for options that contradict each other, and where --require-version names another
// version than that of this tool.
BatchOptions batchOptionsOf(const Options& options);

} // namespace Tool
