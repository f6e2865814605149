#include "raw/lane_swizzle.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr std::uint8_t kNothing = 0x80; // in a control byte

// The nameless selects mean what 0 means.
std::uint8_t selectOf(Vex::DataFormat format, unsigned lane) {
    const unsigned select = format.getChannel(lane);
    return static_cast<std::uint8_t>(select == 2 || select == 3 ? unsigned{Vex::kTextureChannel0} : select);
}

// Adds to the move by `places` bytes, up when they are positive.
void addToMove(LaneMoves* moves, int places, unsigned at) {
    const int up = places > 0 ? 8 * places : 0, down = places < 0 ? -8 * places : 0;
    LaneMoves::Move* move = moves->m_moves;
    while (move != moves->m_moves + moves->m_count && (move->m_up != up || move->m_down != down)) {
        ++move;
    }
    if (move == moves->m_moves + moves->m_count) {
        *move = {0, up, down};
        ++moves->m_count;
    }
    move->m_mask |= std::uint64_t{0xFF} << 8 * at;
}

} // namespace

LaneSwizzle::LaneSwizzle(Vex::DataFormat from, Vex::DataFormat to) {
    for (unsigned lane = 0; lane < 4; ++lane) {
        const std::uint8_t select = selectOf(to, lane);
        m_selects[lane] = select >= Vex::kTextureChannelX ? selectOf(from, select & 3) : select;
    }
}

LaneMoves LaneSwizzle::moves(unsigned bytesPerLane, std::uint32_t one) const {
    LaneMoves moves = {};
    for (unsigned at = 0; at < sizeof moves.m_control; ++at) {
        const unsigned lane = at / bytesPerLane % 4, byte = at % bytesPerLane;
        moves.m_control[at] = kNothing;
        if (copies(lane)) {
            const unsigned from = at + (sourceOf(lane) - lane) * bytesPerLane;
            moves.m_control[at] = static_cast<std::uint8_t>(from);
            if (at < sizeof(std::uint64_t)) {
                addToMove(&moves, static_cast<int>(at - from), at);
            }
        } else if (m_selects[lane] == Vex::kTextureChannel1) {
            moves.m_ones[at] = static_cast<std::uint8_t>(one >> 8 * byte);
        }
    }
    return moves;
}

} // namespace qor::Texsmith::Raw
