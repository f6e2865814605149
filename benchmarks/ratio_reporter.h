// Prints each benchmark's median beside a memcpy that moves as many bytes in all, measured in the same run.
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace Bench {

// Benchmarks set this counter to the bytes that they read and write in all.
inline constexpr char kBytesCounter[] = "bytes_moved";
// Benchmarks so named copy that many bytes in all by one memcpy.
inline constexpr char kMemcpyName[] = "memcpy/";

class RatioReporter : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

private:
    struct Row {
        std::string m_name;
        double m_seconds;
        double m_bytes;
    };
    std::vector<Row> m_rows;
    std::map<double, double> m_memcpySeconds; // by bytes
};

} // namespace Bench
