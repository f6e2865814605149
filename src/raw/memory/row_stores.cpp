// Copies of rows, through the caches or past them.

#include "raw/memory/row_stores.h"

#include "simd/dispatch.h"

#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

// From about here on a destination pushes everything else out of the caches.
constexpr std::uint64_t kStreamedBytes = 24 << 20;

} // namespace

RowStores storesFor(std::uint64_t destinationBytes) {
    return Simd::mayStream(destinationBytes, kStreamedBytes) ? RowStores::kStreaming : RowStores::kCached;
}

void copyRow(void* destination, const void* source, std::size_t bytes, RowStores stores) {
    if (bytes == 0) {
        return;
    }
    if (stores == RowStores::kStreaming) {
        streamBytes(destination, source, bytes);
        finishStreaming();
    } else {
        std::memcpy(destination, source, bytes);
    }
}

} // namespace qor::Texsmith::Raw
