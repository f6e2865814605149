// Readers of picture files from memory, beside a peer or memcpy.
#pragma once

namespace Bench {

void registerFileBenchmarks();

} // namespace Bench
