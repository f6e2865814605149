#include "raw/blocks/bc6_tables.h"

namespace qor::Texsmith::Raw {
namespace {

// Every bit of every word of the mode stands exactly once in its fields.
constexpr bool holdsAllBits(unsigned number) {
    const Bc6Mode& mode = kBc6ModeTable[number];
    std::uint32_t seen[kBc6Words] = {};
    unsigned bits = mode.m_bitCount + (mode.m_subsets == 2 ? 5u : 0u);
    for (unsigned i = 0; i < kBc6Layouts[number].m_count; ++i) {
        const Bc6Field field = kBc6Layouts[number].m_fields[i];
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

} // namespace
} // namespace qor::Texsmith::Raw
