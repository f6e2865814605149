#include "raw/rows/lane_swizzle.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr std::uint8_t kNothing = 0x80; // the byte copies none

// The selects 2 and 3, which have no name, mean what 0 means.
std::uint8_t selectOf(Vex::DataFormat format, unsigned lane) {
    const unsigned select = format.getChannel(lane);
    return static_cast<std::uint8_t>(select == 2 || select == 3 ? unsigned{Vex::kTextureChannel0} : select);
}

} // namespace

LaneSwizzle::LaneSwizzle(Vex::DataFormat from, Vex::DataFormat to) {
    for (unsigned lane = 0; lane < 4; ++lane) {
        const std::uint8_t select = selectOf(to, lane);
        m_selects[lane] = select >= Vex::kTextureChannelX ? selectOf(from, select & 3) : select;
    }
}

unsigned LaneSwizzle::index() const {
    return m_selects[0] * 512u + m_selects[1] * 64u + m_selects[2] * 8u + m_selects[3];
}

ByteMoves LaneSwizzle::moves(unsigned bytesPerLane, std::uint32_t one) const {
    ByteMoves moves = {};
    for (unsigned at = 0; at < sizeof moves.m_control; ++at) {
        const unsigned lane = at / bytesPerLane % 4, byte = at % bytesPerLane;
        moves.m_control[at] = kNothing;
        if (copies(lane)) {
            moves.m_control[at] = static_cast<std::uint8_t>(at + (sourceOf(lane) - lane) * bytesPerLane);
        } else if (m_selects[lane] == Vex::kTextureChannel1) {
            moves.m_ones[at] = static_cast<std::uint8_t>(one >> 8 * byte);
        }
    }
    return moves;
}

} // namespace qor::Texsmith::Raw
