// Rows of elements whose last channel the file leaves out: it becomes zero.
#pragma once

#include "raw/memory/row_stores.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace qor::Texsmith::Raw {

static_assert(std::endian::native == std::endian::little, "elements are put together as words");

// Three bytes to four: four elements from three words at a time.
inline void widenElements3(std::uint8_t* to, const std::uint8_t* from, std::size_t count) {
    constexpr std::uint32_t kMask = 0xFFFFFF;
    for (; count >= 4; count -= 4, from += 12, to += 16) {
        std::uint32_t in[3];
        std::memcpy(in, from, sizeof in);
        const std::uint32_t out[] = {in[0] & kMask, (in[0] >> 24 | in[1] << 8) & kMask,
                                     (in[1] >> 16 | in[2] << 16) & kMask, in[2] >> 8};
        std::memcpy(to, out, sizeof out);
    }
    for (; count > 0; --count, from += 3, to += 4) {
        const std::uint8_t out[] = {from[0], from[1], from[2], 0};
        std::memcpy(to, out, sizeof out);
    }
}

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
