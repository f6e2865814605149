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

// clang-format off
inline constexpr std::array<Bc6Mode, kBc6Modes> kBc6ModeTable = {{
//   mode  bits  subsets  endpoint  delta R  G  B
    {0x1E, 5,    2,       6,         {6,  6,  6}},
    {0x01, 2,    2,       7,         {6,  6,  6}},
    {0x12, 5,    2,       8,         {6,  5,  5}},
    {0x16, 5,    2,       8,         {5,  6,  5}},
    {0x1A, 5,    2,       8,         {5,  5,  6}},
    {0x0E, 5,    2,       9,         {5,  5,  5}},
    {0x00, 2,    2,      10,         {5,  5,  5}},
    {0x02, 5,    2,      11,         {5,  4,  4}},
    {0x06, 5,    2,      11,         {4,  5,  4}},
    {0x0A, 5,    2,      11,         {4,  4,  5}},
    {0x03, 5,    1,      10,        {10, 10, 10}},
    {0x07, 5,    1,      11,         {9,  9,  9}},
    {0x0B, 5,    1,      12,         {8,  8,  8}},
    {0x0F, 5,    1,      16,         {4,  4,  4}},
}};
// clang-format on

// clang-format off
// From the mode bits up: channel r, g or b of endpoint 0 to 3, and the bits of it that follow there.
inline constexpr const char* kBc6FieldTexts[kBc6Modes] = {
    "r0:0-5 g3:4 b3:0-1 b2:4 g0:0-5 g2:5 b2:5 b3:2 g2:4 b0:0-5 g3:5 b3:3 b3:5 b3:4 r1:0-5 g2:0-3 g1:0-5 g3:0-3 b1:0-5 b2:0-3 r2:0-5 r3:0-5",
    "g2:5 g3:4-5 r0:0-6 b3:0-1 b2:4 g0:0-6 b2:5 b3:2 g2:4 b0:0-6 b3:3 b3:5 b3:4 r1:0-5 g2:0-3 g1:0-5 g3:0-3 b1:0-5 b2:0-3 r2:0-5 r3:0-5",
    "r0:0-7 g3:4 b2:4 g0:0-7 b3:2 g2:4 b0:0-7 b3:3-4 r1:0-5 g2:0-3 g1:0-4 b3:0 g3:0-3 b1:0-4 b3:1 b2:0-3 r2:0-5 r3:0-5",
    "r0:0-7 b3:0 b2:4 g0:0-7 g2:5 g2:4 b0:0-7 g3:5 b3:4 r1:0-4 g3:4 g2:0-3 g1:0-5 g3:0-3 b1:0-4 b3:1 b2:0-3 r2:0-4 b3:2 r3:0-4 b3:3",
    "r0:0-7 b3:1 b2:4 g0:0-7 b2:5 g2:4 b0:0-7 b3:5 b3:4 r1:0-4 g3:4 g2:0-3 g1:0-4 b3:0 g3:0-3 b1:0-5 b2:0-3 r2:0-4 b3:2 r3:0-4 b3:3",
    "r0:0-8 b2:4 g0:0-8 g2:4 b0:0-8 b3:4 r1:0-4 g3:4 g2:0-3 g1:0-4 b3:0 g3:0-3 b1:0-4 b3:1 b2:0-3 r2:0-4 b3:2 r3:0-4 b3:3",
    "g2:4 b2:4 b3:4 r0:0-9 g0:0-9 b0:0-9 r1:0-4 g3:4 g2:0-3 g1:0-4 b3:0 g3:0-3 b1:0-4 b3:1 b2:0-3 r2:0-4 b3:2 r3:0-4 b3:3",
    "r0:0-9 g0:0-9 b0:0-9 r1:0-4 r0:10 g2:0-3 g1:0-3 g0:10 b3:0 g3:0-3 b1:0-3 b0:10 b3:1 b2:0-3 r2:0-4 b3:2 r3:0-4 b3:3",
    "r0:0-9 g0:0-9 b0:0-9 r1:0-3 r0:10 g3:4 g2:0-3 g1:0-4 g0:10 g3:0-3 b1:0-3 b0:10 b3:1 b2:0-3 r2:0-3 b3:0 b3:2 r3:0-3 g2:4 b3:3",
    "r0:0-9 g0:0-9 b0:0-9 r1:0-3 r0:10 b2:4 g2:0-3 g1:0-3 g0:10 b3:0 g3:0-3 b1:0-4 b0:10 b2:0-3 r2:0-3 b3:1-2 r3:0-3 b3:4 b3:3",
    "r0:0-9 g0:0-9 b0:0-9 r1:0-9 g1:0-9 b1:0-9",
    "r0:0-9 g0:0-9 b0:0-9 r1:0-8 r0:10 g1:0-8 g0:10 b1:0-8 b0:10",
    "r0:0-9 g0:0-9 b0:0-9 r1:0-7 r0:11-10 g1:0-7 g0:11-10 b1:0-7 b0:11-10",
    "r0:0-9 g0:0-9 b0:0-9 r1:0-3 r0:15-10 g1:0-3 g0:15-10 b1:0-3 b0:15-10",
};
// clang-format on

class Bc6FieldReader {
public:
    constexpr explicit Bc6FieldReader(const char* text) : m_text(text) {}

    constexpr bool atEnd() const { return *m_text == '\0'; }

    constexpr Bc6Field read() {
        const unsigned channel = *m_text == 'r' ? 0 : *m_text == 'g' ? 1 : 2;
        ++m_text;
        const unsigned word = channel + 3 * number();
        ++m_text; // the colon
        const unsigned first = number();
        const unsigned last = *m_text == '-' ? (++m_text, number()) : first;
        m_text += *m_text == ' ';
        return {static_cast<std::uint8_t>(word), static_cast<std::uint8_t>(first),
                static_cast<std::uint8_t>(last)};
    }

private:
    const char* m_text;

    constexpr unsigned number() {
        unsigned value = 0;
        for (; *m_text >= '0' && *m_text <= '9'; ++m_text) {
            value = 10 * value + static_cast<unsigned>(*m_text - '0');
        }
        return value;
    }
};

constexpr std::array<Bc6Layout, kBc6Modes> makeBc6Layouts() {
    std::array<Bc6Layout, kBc6Modes> result = {};
    for (unsigned mode = 0; mode < kBc6Modes; ++mode) {
        Bc6Layout& layout = result[mode];
        for (Bc6FieldReader reader(kBc6FieldTexts[mode]); !reader.atEnd(); ++layout.m_count) {
            layout.m_fields[layout.m_count] = reader.read();
        }
    }
    return result;
}

inline constexpr std::array<Bc6Layout, kBc6Modes> kBc6Layouts = makeBc6Layouts();

// The number of the mode that a block's lowest five bits name, 14 for the four reserved ones.
constexpr std::array<std::uint8_t, 32> makeBc6ModeOfBits() {
    std::array<std::uint8_t, 32> result = {};
    for (unsigned bits = 0; bits < 32; ++bits) {
        result[bits] = kBc6Modes;
        for (unsigned mode = 0; mode < kBc6Modes; ++mode) {
            const unsigned mask = (1u << kBc6ModeTable[mode].m_bitCount) - 1;
            if ((bits & mask) == kBc6ModeTable[mode].m_bits) {
                result[bits] = static_cast<std::uint8_t>(mode);
            }
        }
    }
    return result;
}
inline constexpr std::array<std::uint8_t, 32> kBc6ModeOfBits = makeBc6ModeOfBits();

} // namespace qor::Texsmith::Raw
