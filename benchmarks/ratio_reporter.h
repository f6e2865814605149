// Prints each benchmark's median beside that of a baseline of the same run.
//
// A benchmark tells how much work one iteration does (bytes read and written, texels, jobs) and which other
// benchmark it is to be compared with; the ratio is that of the work per second. Names are
// "group/threads/operation" or "group/operation"; the figures of "one thread" and "two threads" of an
// operation stand in one row, with the speed-up between them.
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace Bench {

inline constexpr char kOneThread[] = "one thread";
inline constexpr char kTwoThreads[] = "two threads";
// Of benchmarks whose work is texels: their rows give the time for each instead of a ratio.
inline constexpr char kPerTexelGroup[] = "growth";

// To be called once in a benchmark. An empty baseline is for those that serve as one.
void compareWith(benchmark::State& state, double work, const std::string& baseline = {});

class RatioReporter : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

private:
    struct Figure {
        double m_seconds = 0;
        double m_work = 0;
        std::string m_baseline;

        double rate() const { return m_seconds > 0 ? m_work / m_seconds : 0; }
    };
    struct Row {
        std::string m_name;
        Figure m_one, m_two;
    };

    Row& rowNamed(const std::string& name);
    void printRatio(const Row& row, const Figure& figure) const;

    std::vector<Row> m_rows; // in the order of their names
};

} // namespace Bench
