#pragma once

namespace Bench {

// Whole surfaces of 2048 x 2048, on one thread and on the pool.
void registerSurfaceBenchmarks();

} // namespace Bench
