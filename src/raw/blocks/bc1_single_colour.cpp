#include "raw/blocks/bc1_single_colour.h"

namespace qor::Texsmith::Raw {
namespace {

// The endpoints of one channel, as fields of 5 or 6 bits.
struct FieldPair {
    std::uint32_t m_first = 0;
    std::uint32_t m_second = 0;
    bool m_found = false;
};
struct FieldPairs {
    FieldPair m_forByte[256];
};

constexpr std::uint32_t widen(std::uint32_t field, int bits) {
    return field << (8 - bits) | field >> (2 * bits - 8);
}

constexpr bool comesBefore(const FieldPair& a, const FieldPair& b) {
    const bool smaller = a.m_first != b.m_first ? a.m_first < b.m_first : a.m_second < b.m_second;
    return a.m_found && (!b.m_found || smaller);
}

// Of the pairs that reach a byte the first one: the smallest color0, then the smallest color1.
constexpr FieldPairs findExactPairs(int bits) {
    FieldPairs exact;
    for (std::uint32_t first = 0; first >> bits == 0; ++first) {
        for (std::uint32_t second = 0; second >> bits == 0; ++second) {
            FieldPair& pair = exact.m_forByte[(43 * widen(first, bits) + 21 * widen(second, bits) + 32) >> 6];
            if (!pair.m_found) {
                pair = {first, second, true};
            }
        }
    }
    return exact;
}

// Where no pair reaches a byte, one that reaches its neighbour.
constexpr FieldPairs findPairs(int bits) {
    const FieldPairs exact = findExactPairs(bits);
    FieldPairs nearest = exact;
    for (int byte = 1; byte < 255; ++byte) {
        const FieldPair& below = exact.m_forByte[byte - 1];
        const FieldPair& above = exact.m_forByte[byte + 1];
        if (!exact.m_forByte[byte].m_found) {
            nearest.m_forByte[byte] = comesBefore(above, below) ? above : below;
        }
    }
    return nearest;
}

constexpr std::uint32_t pack(const FieldPair& five, const FieldPair& six) {
    const std::uint32_t low = five.m_first << 11 | six.m_first << 5 | five.m_first;
    const std::uint32_t high = five.m_second << 11 | six.m_second << 5 | five.m_second;
    return low | high << 16;
}

constexpr SingleColourEndpoints makeEndpoints() {
    const FieldPairs five = findPairs(5);
    const FieldPairs six = findPairs(6);
    SingleColourEndpoints endpoints = {};
    for (int byte = 0; byte < 256; ++byte) {
        endpoints.m_words[byte] = pack(five.m_forByte[byte], six.m_forByte[byte]);
    }
    return endpoints;
}

constexpr SingleColourEndpoints kMade = makeEndpoints();

constexpr bool holds(int byte, FieldPair five, FieldPair six) {
    return kMade.m_words[byte] == pack(five, six);
}
static_assert(holds(0, {0, 0}, {0, 0}) && holds(1, {0, 0}, {0, 1}) && holds(2, {0, 1}, {0, 1}));
static_assert(holds(100, {3, 31}, {6, 63}) && holds(102, {12, 13}, {7, 63}) &&
              holds(255, {31, 31}, {63, 63}));

} // namespace

constinit const SingleColourEndpoints kSingleColourEndpoints = kMade;

} // namespace qor::Texsmith::Raw
