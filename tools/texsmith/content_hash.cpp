#include "content_hash.h"

#include "paths.h"

#include <bit>
#include <cstddef>
#include <fstream>
#include <vector>

namespace Tool {
namespace {

using u64 = std::uint64_t;

constexpr std::size_t kStripe = 32; // bytes
constexpr std::size_t kChunk = 256 * 1024;
static_assert(kChunk % kStripe == 0);

constexpr u64 kPrimes[5] = {0x9E3779B185EBCA87u, 0xC2B2AE3D27D4EB4Fu, 0x165667B19E3779F9u,
                            0x85EBCA77C2B2AE63u, 0x27D4EB2F165667C5u};

// The least significant byte first.
u64 read(const unsigned char* bytes, unsigned count) {
    u64 value = 0;
    for (unsigned i = 0; i < count; ++i) {
        value |= u64{bytes[i]} << (8 * i);
    }
    return value;
}

u64 mixed(u64 sum, u64 input) { return std::rotl(sum + input * kPrimes[1], 31) * kPrimes[0]; }

class Hash {
public:
    void addStripes(const unsigned char* bytes, std::size_t count) {
        for (const unsigned char* end = bytes + count; bytes != end; bytes += kStripe) {
            for (unsigned lane = 0; lane < 4; ++lane) {
                m_lanes[lane] = mixed(m_lanes[lane], read(bytes + 8 * lane, 8));
            }
        }
        m_total += count;
    }

    // Of the fewer than 32 bytes that are left.
    u64 finish(const unsigned char* bytes, std::size_t count) const {
        u64 hash = start() + m_total + count;
        for (; count >= 8; bytes += 8, count -= 8) {
            hash = std::rotl(hash ^ mixed(0, read(bytes, 8)), 27) * kPrimes[0] + kPrimes[3];
        }
        if (count >= 4) {
            hash = std::rotl(hash ^ read(bytes, 4) * kPrimes[0], 23) * kPrimes[1] + kPrimes[2];
            bytes += 4;
            count -= 4;
        }
        for (; count != 0; ++bytes, --count) {
            hash = std::rotl(hash ^ *bytes * kPrimes[4], 11) * kPrimes[0];
        }
        hash = (hash ^ hash >> 33) * kPrimes[1];
        hash = (hash ^ hash >> 29) * kPrimes[2];
        return hash ^ hash >> 32;
    }

private:
    u64 start() const {
        if (m_total == 0) {
            return kPrimes[4];
        }
        u64 hash = std::rotl(m_lanes[0], 1) + std::rotl(m_lanes[1], 7) + std::rotl(m_lanes[2], 12) +
                   std::rotl(m_lanes[3], 18);
        for (const u64 lane : m_lanes) {
            hash = (hash ^ mixed(0, lane)) * kPrimes[0] + kPrimes[3];
        }
        return hash;
    }

    u64 m_lanes[4] = {kPrimes[0] + kPrimes[1], kPrimes[1], 0, 0 - kPrimes[0]};
    u64 m_total = 0;
};

} // namespace

std::optional<u64> contentHash(const std::string& file) {
    std::ifstream stream(toPath(file), std::ios::binary);
    std::vector<char> buffer(kChunk);
    const auto* const bytes = reinterpret_cast<const unsigned char*>(buffer.data());
    Hash hash;
    while (stream.read(buffer.data(), kChunk)) {
        hash.addStripes(bytes, kChunk);
    }
    if (!stream.eof()) {
        return std::nullopt;
    }
    const auto got = static_cast<std::size_t>(stream.gcount());
    const std::size_t stripes = got - got % kStripe;
    hash.addStripes(bytes, stripes);
    return hash.finish(bytes + stripes, got - stripes);
}

} // namespace Tool
