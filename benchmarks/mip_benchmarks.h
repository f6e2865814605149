#pragma once

namespace Bench {

// Mip chains of 2048 x 2048, each beside a memcpy of the largest level.
void registerMipBenchmarks();

} // namespace Bench
