// How whole rows are written.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace qor::Texsmith::Raw {

enum class RowStores {
    kCached,
    kStreaming, // past the caches: for destinations that are larger than they are
};

// From about here on a destination pushes everything else out of the caches.
inline constexpr std::uint64_t kStreamedBytes = 24 << 20;

constexpr RowStores storesFor(std::uint64_t destinationBytes) {
    return destinationBytes >= kStreamedBytes ? RowStores::kStreaming : RowStores::kCached;
}

// memcpy, past the caches where it says so. Streamed bytes are visible to other threads on return, as others
// are.
void copyRow(void* destination, const void* source, std::size_t bytes, RowStores stores);

// memcpy past the caches. Before other threads may read what was streamed, finishStreaming must be called.
void streamBytes(void* destination, const void* source, std::size_t bytes);
void finishStreaming();

// What streams pieces of a row from a buffer that stays in the nearest cache.
struct alignas(64) PieceBuffer {
    static constexpr std::size_t kBytes = 4096;

    std::uint8_t m_bytes[kBytes];
};

// Runs `convert(destination, source, count)` as `stores` says, for kernels that cannot stream themselves.
// Pieces are a multiple of 64 elements, but for the last one.
template <typename Convert>
void convertPieces(void* destination, std::size_t destinationBytes, const void* source,
                   std::size_t sourceBytes, std::size_t count, RowStores stores, Convert convert) {
    if (stores == RowStores::kCached || destinationBytes == 0) {
        convert(destination, source, count);
        return;
    }
    auto* to = static_cast<std::uint8_t*>(destination);
    const auto* from = static_cast<const std::uint8_t*>(source);
    const std::size_t most = PieceBuffer::kBytes / destinationBytes / 64 * 64;
    PieceBuffer buffer;
    for (std::size_t done = 0; done < count; done += most) {
        const std::size_t piece = std::min(most, count - done);
        convert(buffer.m_bytes, from + done * sourceBytes, piece);
        streamBytes(to + done * destinationBytes, buffer.m_bytes, piece * destinationBytes);
    }
    finishStreaming();
}

} // namespace qor::Texsmith::Raw
