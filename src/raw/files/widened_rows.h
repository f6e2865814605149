// Rows of elements whose last channel the file leaves out: it becomes zero.
#pragma once

#include "raw/memory/byte_triples.h"
#include "raw/memory/row_stores.h"

#include <algorithm>
#include <cstring>

namespace qor::Texsmith::Raw {

// Three words to four, in registers: words gathered on the stack are slow to come back as one.
inline void widenElements12(std::uint8_t* to, const std::uint8_t* from, std::size_t count) {
    for (; count > 0; --count, from += 12, to += 16) {
        std::uint64_t low;
        std::uint32_t third;
        std::memcpy(&low, from, sizeof low);
        std::memcpy(&third, from + sizeof low, sizeof third);
        const std::uint64_t high = third;
        std::memcpy(to, &low, sizeof low);
        std::memcpy(to + sizeof low, &high, sizeof high);
    }
}

// As one of the two, past the caches where `stores` says so.
template <void (*kWiden)(std::uint8_t*, const std::uint8_t*, std::size_t), unsigned kTo>
void widenRow(std::uint8_t* to, const std::uint8_t* from, std::size_t count, RowStores stores) {
    constexpr unsigned kFrom = kTo / 4 * 3;
    if (stores == RowStores::kCached) {
        kWiden(to, from, count);
        return;
    }
    alignas(64) std::uint8_t piece[4096]; // stays in the nearest cache
    while (count > 0) {
        const std::size_t elements = std::min(count, sizeof piece / kTo);
        kWiden(piece, from, elements);
        streamBytes(to, piece, elements * kTo);
        to += elements * kTo;
        from += elements * kFrom;
        count -= elements;
    }
    finishStreaming();
}

} // namespace qor::Texsmith::Raw
