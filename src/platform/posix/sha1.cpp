// SHA-1 as FIPS 180-4 defines it.

#include "platform/platform.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace qor::Texsmith::Platform {

namespace {

constexpr std::size_t kBlockBytes = 64;
constexpr std::size_t kLengthBytes = 8;

struct State {
    std::uint32_t m_words[5] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};
};

template <class Word> void storeBigEndian(Word word, std::uint8_t* bytes) {
    for (std::size_t i = sizeof(Word); i-- > 0; word = static_cast<Word>(word >> 8)) {
        bytes[i] = static_cast<std::uint8_t>(word);
    }
}

std::uint32_t loadBigEndian(const std::uint8_t* bytes) {
    return static_cast<std::uint32_t>(bytes[0]) << 24 | static_cast<std::uint32_t>(bytes[1]) << 16 |
           static_cast<std::uint32_t>(bytes[2]) << 8 | bytes[3];
}

void expandSchedule(const std::uint8_t* block, std::uint32_t (&schedule)[80]) {
    for (int t = 0; t < 16; ++t) {
        schedule[t] = loadBigEndian(block + t * 4);
    }
    for (int t = 16; t < 80; ++t) {
        schedule[t] = std::rotl(schedule[t - 3] ^ schedule[t - 8] ^ schedule[t - 14] ^ schedule[t - 16], 1);
    }
}

// The function and the constant of round t, added up.
std::uint32_t mix(int t, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
    switch (t / 20) {
    case 0:
        return ((b & c) | (~b & d)) + 0x5A827999;
    case 1:
        return (b ^ c ^ d) + 0x6ED9EBA1;
    case 2:
        return ((b & c) | (b & d) | (c & d)) + 0x8F1BBCDC;
    default:
        return (b ^ c ^ d) + 0xCA62C1D6;
    }
}

void addBlock(State& state, const std::uint8_t* block) {
    std::uint32_t schedule[80];
    expandSchedule(block, schedule);
    auto [a, b, c, d, e] = state.m_words;
    for (int t = 0; t < 80; ++t) {
        const std::uint32_t next = std::rotl(a, 5) + mix(t, b, c, d) + e + schedule[t];
        e = d;
        d = c;
        c = std::rotl(b, 30);
        b = a;
        a = next;
    }
    const std::uint32_t sums[5] = {a, b, c, d, e};
    for (int i = 0; i < 5; ++i) {
        state.m_words[i] += sums[i];
    }
}

// The rest, a one bit, zeroes, and the length in bits at the end of a block.
void addTail(State& state, const std::uint8_t* rest, std::size_t restBytes, std::uint64_t totalBytes) {
    std::uint8_t tail[2 * kBlockBytes] = {};
    if (restBytes != 0) {
        std::memcpy(tail, rest, restBytes);
    }
    tail[restBytes] = 0x80;
    const std::size_t bytes = restBytes + 1 + kLengthBytes <= kBlockBytes ? kBlockBytes : 2 * kBlockBytes;
    storeBigEndian(totalBytes * 8, tail + bytes - kLengthBytes);
    for (std::size_t i = 0; i < bytes; i += kBlockBytes) {
        addBlock(state, tail + i);
    }
}

} // namespace

bool startSha1() { return true; }

bool sha1(const void* data, std::size_t bytes, std::uint8_t digest[kSha1Bytes]) {
    State state;
    const auto* position = static_cast<const std::uint8_t*>(data);
    std::size_t left = bytes;
    for (; left >= kBlockBytes; left -= kBlockBytes, position += kBlockBytes) {
        addBlock(state, position);
    }
    addTail(state, position, left, bytes);
    for (int i = 0; i < 5; ++i) {
        storeBigEndian(state.m_words[i], digest + i * 4);
    }
    return true;
}

} // namespace qor::Texsmith::Platform
