#pragma once

namespace Bench {

// Block encoders and decoders on the photographs of the corpus, one thread, beside a peer.
void registerBlockBenchmarks();

} // namespace Bench
