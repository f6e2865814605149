// texsmith_benchmarks [--base-line] [--benchmark_filter=REGEX ...]
// --base-line measures what machines without AVX2 run.
#if defined(TEXSMITH_BLOCK_BENCHMARKS)
#    include "block_benchmarks.h"
#endif
#if defined(TEXSMITH_FILE_BENCHMARKS)
#    include "file_benchmarks.h"
#endif
#include "classic_benchmarks.h"
#include "growth_benchmarks.h"
#include "measure_benchmarks.h"
#include "mip_benchmarks.h"
#include "ratio_reporter.h"
#include "simd/dispatch.h"
#include "surface_benchmarks.h"

#include <string_view>
#include <vector>

int main(int argc, char** argv) {
    std::vector<char*> arguments(argv, argv + argc);
    if (std::erase_if(arguments, [](std::string_view argument) { return argument == "--base-line"; }) != 0) {
        qor::Texsmith::Simd::allowAvx2(false);
    }
    char repetitions[] = "--benchmark_repetitions=11";
    char interleaving[] = "--benchmark_enable_random_interleaving=true";
    char shortest[] = "--benchmark_min_time=0.05";
    // Behind the program's name, so that the command line has the last word.
    arguments.insert(arguments.begin() + 1, {repetitions, interleaving, shortest});
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) {
        return 1;
    }
    Bench::registerSurfaceBenchmarks();
    Bench::registerMipBenchmarks();
    Bench::registerMeasureBenchmarks();
    Bench::registerClassicBenchmarks();
#if defined(TEXSMITH_BLOCK_BENCHMARKS)
    Bench::registerBlockBenchmarks();
#endif
#if defined(TEXSMITH_FILE_BENCHMARKS)
    Bench::registerFileBenchmarks();
#endif
    Bench::registerGrowthBenchmarks();
    Bench::registerJobBenchmarks();
    Bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
