#pragma once

namespace Bench {

// The same operations at 256 x 256 to 16384 x 16384, in nanoseconds for each texel:
// `--benchmark_filter='^growth/'`.
void registerGrowthBenchmarks();

} // namespace Bench
