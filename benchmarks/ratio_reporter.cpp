#include "ratio_reporter.h"

#include <algorithm>
#include <cstdio>

namespace Bench {
namespace {

constexpr char kWorkCounter[] = "work";

// "group/one thread/operation" without its middle.
std::string withoutThreads(std::string name, const char* threads) {
    const std::string part = std::string("/") + threads + "/";
    const std::size_t at = name.find(part);
    return at == std::string::npos ? name : name.replace(at, part.size(), "/");
}

} // namespace

void compareWith(benchmark::State& state, double work, const std::string& baseline) {
    state.counters[kWorkCounter] = work;
    state.SetLabel(baseline);
}

bool RatioReporter::ReportContext(const Context& context) {
    PrintBasicContext(&GetErrorStream(), context);
    return true;
}

RatioReporter::Row& RatioReporter::rowNamed(const std::string& name) {
    const auto at = std::lower_bound(m_rows.begin(), m_rows.end(), name,
                                     [](const Row& row, const std::string& key) { return row.m_name < key; });
    return at != m_rows.end() && at->m_name == name ? *at : *m_rows.insert(at, Row{name, {}, {}});
}

void RatioReporter::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        const auto work = run.counters.find(kWorkCounter);
        if (run.error_occurred) {
            std::printf("%s: %s\n", run.run_name.function_name.c_str(), run.error_message.c_str());
        }
        if (run.aggregate_name != "median" || work == run.counters.end()) {
            continue;
        }
        const std::string& name = run.run_name.function_name;
        const std::string twoThreads = withoutThreads(name, kTwoThreads);
        Row& row = rowNamed(withoutThreads(twoThreads, kOneThread));
        (twoThreads == name ? row.m_one : row.m_two) = {run.GetAdjustedRealTime() /
                                                            benchmark::GetTimeUnitMultiplier(run.time_unit),
                                                        work->second.value, run.report_label};
    }
}

void RatioReporter::printRatio(const Row& row, const Figure& figure) const {
    if (row.m_name.rfind(kPerTexelGroup, 0) == 0 && figure.m_work > 0) {
        std::printf(" %5.3f ns/tx", figure.m_seconds * 1e9 / figure.m_work);
        return;
    }
    const auto baseline = std::find_if(m_rows.begin(), m_rows.end(),
                                       [&](const Row& other) { return other.m_name == figure.m_baseline; });
    if (baseline == m_rows.end() || figure.m_seconds == 0) {
        std::printf(" %11s", "-");
    } else {
        std::printf(" %11.3f", figure.rate() / baseline->m_one.rate());
    }
}

void RatioReporter::Finalize() {
    std::printf("%-56s %10s %11s %11s %9s  %s\n", "median of interleaved repetitions", "ms", kOneThread,
                kTwoThreads, "speed-up", "beside");
    for (const Row& row : m_rows) {
        std::printf("%-56s %10.3f", row.m_name.c_str(), row.m_one.m_seconds * 1e3);
        printRatio(row, row.m_one);
        printRatio(row, row.m_two);
        if (row.m_one.m_seconds > 0 && row.m_two.m_seconds > 0) {
            std::printf(" %9.2f", row.m_one.m_seconds / row.m_two.m_seconds);
        } else {
            std::printf(" %9s", "-");
        }
        std::printf("  %s\n", row.m_one.m_baseline.c_str());
    }
}

} // namespace Bench
