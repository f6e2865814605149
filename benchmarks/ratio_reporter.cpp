#include "ratio_reporter.h"

#include <cstdio>

namespace Bench {

bool RatioReporter::ReportContext(const Context& context) {
    PrintBasicContext(&GetErrorStream(), context);
    return true;
}

void RatioReporter::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        const auto bytes = run.counters.find(kBytesCounter);
        if (run.aggregate_name != "median" || bytes == run.counters.end()) {
            continue;
        }
        const double seconds = run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
        const std::string name = run.run_name.function_name;
        if (name.starts_with(kMemcpyName)) {
            m_memcpySeconds[bytes->second.value] = seconds;
        }
        m_rows.push_back({name, seconds, bytes->second.value});
    }
}

void RatioReporter::Finalize() {
    std::printf("%-40s %10s %10s %8s\n", "median of interleaved repetitions", "ms", "MiB moved", "ratio");
    for (const Row& row : m_rows) {
        const auto copy = m_memcpySeconds.find(row.m_bytes);
        std::printf("%-40s %10.3f %10.1f", row.m_name.c_str(), row.m_seconds * 1e3, row.m_bytes / (1 << 20));
        if (copy != m_memcpySeconds.end()) {
            std::printf(" %8.3f", copy->second / row.m_seconds);
        }
        std::printf("\n");
    }
}

} // namespace Bench
