#include "raw/blocks/bc7_few_colours.h"

#include "raw/blocks/bc7_tables.h"
#include "raw/blocks/bc7_writers.h"
#include "simd/float4.h"

#include <algorithm>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

constexpr unsigned kMaxColours = 4;

// In the order in which they come.
struct Colours {
    const float* m_colours[kMaxColours];
    unsigned m_count = 0;
    std::uint8_t m_numbers[16]; // by texel

    // False when there are more than four.
    bool list(const float* texels) {
        for (unsigned texel = 0; texel < 16; ++texel) {
            const Simd::Float4 wanted = Simd::loadFloats(texels + 4 * texel);
            unsigned number = 0;
            while (number < m_count && !isSame(wanted, m_colours[number])) {
                ++number;
            }
            if (number == kMaxColours) {
                return false;
            }
            if (number == m_count) {
                m_colours[m_count++] = texels + 4 * texel;
            }
            m_numbers[texel] = static_cast<std::uint8_t>(number);
        }
        return true;
    }

    static bool isSame(Simd::Float4 wanted, const float* colour) {
        const Simd::Float4 distance = absolute(wanted - Simd::loadFloats(colour));
        return allLanes(less(distance, Simd::splat(kBc7OneLevel)));
    }
};

void setEnd(Bc7Candidate& candidate, unsigned subset, unsigned end, const float* colour) {
    std::copy_n(colour, 4, candidate.m_ends[subset][end]);
}

// Rounded down; a little above, for levels that a curve has left just below their number.
unsigned levelBelow(float channel) { return static_cast<unsigned>(channel * 255.0f + 1.0f / 256.0f); }

void writeOne(Bc7Candidate& candidate, const float* colour) {
    for (unsigned channel = 0; channel < 3; ++channel) {
        const Bc7SingleColour::Pair pair = kBc7SingleColour.m_pairs[levelBelow(colour[channel])];
        candidate.m_ends[0][0][channel] = static_cast<float>(pair.m_low) / 127.0f;
        candidate.m_ends[0][1][channel] = static_cast<float>(pair.m_high) / 127.0f;
    }
    candidate.m_ends[0][0][3] = candidate.m_ends[0][1][3] = colour[3];
    std::fill_n(candidate.m_indices, 16, std::uint8_t{1});
    writeBc7Mode<5>(candidate);
}

void writeTwo(Bc7Candidate& candidate, const Colours& colours) {
    setEnd(candidate, 0, 0, colours.m_colours[0]);
    setEnd(candidate, 0, 1, colours.m_colours[1]);
    for (unsigned texel = 0; texel < 16; ++texel) {
        candidate.m_indices[texel] = candidate.m_scalarIndices[texel] =
            static_cast<std::uint8_t>(3 * colours.m_numbers[texel]);
    }
    writeBc7Mode<5>(candidate);
}

// The colours of one subset, by their numbers.
struct Pair {
    unsigned m_numbers[2];
    unsigned m_count = 0;

    bool add(unsigned number) {
        if (std::find(m_numbers, m_numbers + m_count, number) != m_numbers + m_count) {
            return true;
        }
        if (m_count == 2) {
            return false;
        }
        m_numbers[m_count++] = number;
        return true;
    }
};

bool parts(unsigned partition, const Colours& colours, Pair (&pairs)[2]) {
    for (unsigned texel = 0; texel < 16; ++texel) {
        if (!pairs[subsetOfTwo(partition, texel)].add(colours.m_numbers[texel])) {
            return false;
        }
    }
    return true;
}

void writeFour(Bc7Candidate& candidate, unsigned partition, const Colours& colours, Pair (&pairs)[2]) {
    candidate.m_partition = partition;
    if (colours.m_numbers[kBc7SecondAnchors2[partition]] != pairs[1].m_numbers[0]) {
        std::swap(pairs[1].m_numbers[0], pairs[1].m_numbers[1]);
    }
    for (unsigned subset = 0; subset < 2; ++subset) {
        const Pair& pair = pairs[subset];
        setEnd(candidate, subset, 0, colours.m_colours[pair.m_numbers[0]]);
        setEnd(candidate, subset, 1, colours.m_colours[pair.m_numbers[pair.m_count - 1]]);
    }
    for (unsigned texel = 0; texel < 16; ++texel) {
        const Pair& pair = pairs[subsetOfTwo(partition, texel)];
        candidate.m_indices[texel] = colours.m_numbers[texel] == pair.m_numbers[0] ? 0 : 3;
    }
    candidate.m_hasAlpha ? writeBc7Mode<7>(candidate) : writeBc7Mode<3>(candidate);
}

bool writeByPairs(Bc7Candidate& candidate, const Colours& colours) {
    constexpr unsigned kTried = 32;
    for (unsigned partition = 0; partition < kTried; ++partition) {
        Pair pairs[2];
        if (parts(partition, colours, pairs)) {
            writeFour(candidate, partition, colours, pairs);
            return true;
        }
    }
    return false;
}

constexpr unsigned widen(unsigned sevenBits) { return sevenBits << 1 | sevenBits >> 6; }

// Ascending distances, and ascending ends for each: the first pair that reaches a byte is the one.
constexpr Bc7SingleColour makeSingleColour() {
    Bc7SingleColour table = {};
    bool isFound[256] = {};
    for (unsigned distance = 0; distance < 128; ++distance) {
        for (unsigned lower = 0; lower + distance < 128; ++lower) {
            const unsigned ends[2] = {lower, lower + distance};
            for (unsigned swapped = 0; swapped < 2; ++swapped) {
                const unsigned low = ends[swapped], high = ends[1 - swapped];
                const unsigned byte = (43 * widen(low) + 21 * widen(high) + 32) >> 6;
                if (!isFound[byte]) {
                    table.m_pairs[byte] = {static_cast<std::uint8_t>(low), static_cast<std::uint8_t>(high)};
                    isFound[byte] = true;
                }
            }
        }
    }
    return table;
}

constexpr Bc7SingleColour kMade = makeSingleColour();

constexpr bool allBytesAreReached() {
    for (unsigned byte = 0; byte < 256; ++byte) {
        const auto pair = kMade.m_pairs[byte];
        if ((43 * widen(pair.m_low) + 21 * widen(pair.m_high) + 32) >> 6 != byte) {
            return false;
        }
    }
    return true;
}
static_assert(allBytesAreReached());
static_assert(kMade.m_pairs[127].m_low == 63 && kMade.m_pairs[127].m_high == 64);

} // namespace

constinit const Bc7SingleColour kBc7SingleColour = kMade;

bool encodeFewColours(std::uint8_t* destination, const float* texels, bool hasAlpha, unsigned most) {
    Colours colours;
    if (!colours.list(texels) || colours.m_count > most) {
        return false;
    }
    Bc7Candidate candidate = {};
    candidate.m_hasAlpha = hasAlpha;
    if (colours.m_count == 1) {
        writeOne(candidate, colours.m_colours[0]);
    } else if (colours.m_count == 2) {
        writeTwo(candidate, colours);
    } else if (!writeByPairs(candidate, colours)) {
        return false;
    }
    std::memcpy(destination, candidate.m_bytes, sizeof candidate.m_bytes);
    return true;
}

} // namespace qor::Texsmith::Raw
