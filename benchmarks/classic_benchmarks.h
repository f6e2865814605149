#pragma once

namespace Bench {

// Classic pictures of 2048 x 2048: compression beside reformat of the same picture, and resizing to a quarter
// beside a memcpy of the source.
void registerClassicBenchmarks();

} // namespace Bench
