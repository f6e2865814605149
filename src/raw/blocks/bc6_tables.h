// The modes of BC6H: what each stores, and where its bits lie in a block.
#pragma once

#include <array>
#include <cstdint>

namespace qor::Texsmith::Raw {

inline constexpr unsigned kBc6Modes = 14;
inline constexpr unsigned kBc6Partitions = 32;
inline constexpr unsigned kBc6Words = 12; // endpoints or differences: channel + 3 * endpoint
inline constexpr unsigned kBc6MaxFields = 24;

// From the lowest bit up, a block is: mode bits, fields, with two subsets five bits of partition, indices.
struct Bc6Mode {
    std::uint8_t m_bits;         // that name the mode
    std::uint8_t m_bitCount;     // of these, 2 or 5
    std::uint8_t m_subsets;      // 1 or 2, with one or two pairs of endpoints
    std::uint8_t m_endpointBits; // of endpoint 0, and of all when they stand in full
    std::uint8_t m_deltaBits[3]; // of the others, for each channel

    // Endpoints 1 to 3 are stored in full, else as signed differences from endpoint 0.
    constexpr bool isDirect() const { return m_deltaBits[0] == m_endpointBits; }
    constexpr unsigned endpoints() const { return 2u * m_subsets; }
    constexpr unsigned indexBits() const { return m_subsets == 1 ? 4 : 3; }
    constexpr unsigned indicesAt() const { return m_subsets == 1 ? 65 : 82; }
};

// Bits m_first to m_last of a word, in the block's order. Some run downwards.
struct Bc6Field {
    std::uint8_t m_word;
    std::uint8_t m_first;
    std::uint8_t m_last;

    constexpr unsigned bits() const { return 1u + (m_first < m_last ? m_last - m_first : m_first - m_last); }
};

struct Bc6Layout {
    Bc6Field m_fields[kBc6MaxFields];
    unsigned m_count;
};

extern const std::array<Bc6Mode, kBc6Modes> kBc6ModeTable;
extern const std::array<Bc6Layout, kBc6Modes> kBc6Layouts;

// The number of the mode that a block's lowest five bits name, 14 for the four reserved ones.
extern const std::array<std::uint8_t, 32> kBc6ModeOfBits;

} // namespace qor::Texsmith::Raw
