// Stores past the caches with SSE2; plain copies on other machines.

#include "raw/memory/row_stores.h"

#include <algorithm>
#include <cstring>

#if !defined(TEXSMITH_SCALAR) && (defined(__SSE2__) || defined(_M_X64))
#    include <emmintrin.h>

namespace qor::Texsmith::Raw {
namespace {

constexpr std::size_t kLine = 64; // what the memory takes at once

void streamLine(std::uint8_t* destination, const std::uint8_t* source) {
    const auto* from = reinterpret_cast<const __m128i*>(source);
    auto* to = reinterpret_cast<__m128i*>(destination);
    const __m128i a = _mm_loadu_si128(from), b = _mm_loadu_si128(from + 1);
    const __m128i c = _mm_loadu_si128(from + 2), d = _mm_loadu_si128(from + 3);
    _mm_stream_si128(to, a);
    _mm_stream_si128(to + 1, b);
    _mm_stream_si128(to + 2, c);
    _mm_stream_si128(to + 3, d);
}

} // namespace

void streamBytes(void* destination, const void* source, std::size_t bytes) {
    auto* to = static_cast<std::uint8_t*>(destination);
    const auto* from = static_cast<const std::uint8_t*>(source);
    const std::size_t toLine = (kLine - reinterpret_cast<std::uintptr_t>(to) % kLine) % kLine;
    const std::size_t head = std::min(toLine, bytes);
    std::memcpy(to, from, head);
    std::size_t done = head;
    for (; bytes - done >= kLine; done += kLine) {
        streamLine(to + done, from + done);
    }
    std::memcpy(to + done, from + done, bytes - done);
}

void finishStreaming() { _mm_sfence(); }

} // namespace qor::Texsmith::Raw

#else

namespace qor::Texsmith::Raw {

void streamBytes(void* destination, const void* source, std::size_t bytes) {
    std::memcpy(destination, source, bytes);
}

void finishStreaming() {}

} // namespace qor::Texsmith::Raw
#endif
