// How whole rows are written.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qor::Texsmith::Raw {

enum class RowStores {
    kCached,
    kStreaming, // past the caches: for destinations that are larger than they are
};

RowStores storesFor(std::uint64_t destinationBytes);

// memcpy, past the caches where it says so. Streamed bytes are visible to other threads on return, as others
// are.
void copyRow(void* destination, const void* source, std::size_t bytes, RowStores stores);

// memcpy past the caches. Before other threads may read what was streamed, finishStreaming must be called.
void streamBytes(void* destination, const void* source, std::size_t bytes);
void finishStreaming();

} // namespace qor::Texsmith::Raw
