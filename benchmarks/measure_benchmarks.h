#pragma once

namespace Bench {

// Measures and comparisons of 2048 x 2048, each beside a memcpy of that surface; equality beside memcmp.
void registerMeasureBenchmarks();

} // namespace Bench
