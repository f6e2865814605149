#include "raw/blocks/bc6_tables.h"

namespace qor::Texsmith::Raw {

// clang-format off
constexpr std::array<Bc6Mode, kBc6Modes> kBc6ModeTable = {{
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

namespace {

// clang-format off
// From the mode bits up: channel r, g or b of endpoint 0 to 3, and the bits of it that follow there.
constexpr const char* kFields[kBc6Modes] = {
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

class FieldReader {
public:
    constexpr explicit FieldReader(const char* text) : m_text(text) {}

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

constexpr std::array<Bc6Layout, kBc6Modes> makeLayouts() {
    std::array<Bc6Layout, kBc6Modes> result = {};
    for (unsigned mode = 0; mode < kBc6Modes; ++mode) {
        Bc6Layout& layout = result[mode];
        for (FieldReader reader(kFields[mode]); !reader.atEnd(); ++layout.m_count) {
            layout.m_fields[layout.m_count] = reader.read();
        }
    }
    return result;
}

constexpr std::array<Bc6Layout, kBc6Modes> kLayouts = makeLayouts();

// Every bit of every word of the mode stands exactly once in its fields.
constexpr bool holdsAllBits(unsigned number) {
    const Bc6Mode& mode = kBc6ModeTable[number];
    std::uint32_t seen[kBc6Words] = {};
    unsigned bits = mode.m_bitCount + (mode.m_subsets == 2 ? 5u : 0u);
    for (unsigned i = 0; i < kLayouts[number].m_count; ++i) {
        const Bc6Field field = kLayouts[number].m_fields[i];
        const unsigned low = field.m_first < field.m_last ? field.m_first : field.m_last;
        seen[field.m_word] |= ((1u << field.bits()) - 1) << low;
        bits += field.bits();
    }
    for (unsigned word = 0; word < kBc6Words; ++word) {
        const bool stored = word < 3 * mode.endpoints();
        const unsigned width = word < 3 ? mode.m_endpointBits : mode.m_deltaBits[word % 3];
        if (seen[word] != (stored ? (1u << width) - 1 : 0)) {
            return false;
        }
    }
    return bits == mode.indicesAt();
}

constexpr bool allHoldAllBits() {
    for (unsigned mode = 0; mode < kBc6Modes; ++mode) {
        if (!holdsAllBits(mode)) {
            return false;
        }
    }
    return true;
}
static_assert(allHoldAllBits());

constexpr std::array<std::uint8_t, 32> makeModeOfBits() {
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

} // namespace

constexpr std::array<Bc6Layout, kBc6Modes> kBc6Layouts = kLayouts;
constexpr std::array<std::uint8_t, 32> kBc6ModeOfBits = makeModeOfBits();

} // namespace qor::Texsmith::Raw
