// Blocks of BC4 whose texels are all equal.
//
// Entry 2 or 7 of eight can be any value in 64ths of a level: steps from the level below with 55 * first + 9
// * second = the rest or the same with the weights swapped, and first > second. The smallest difference, for
// the sake of decoders that mix by exact sevenths. A whole level is entry 0.
#pragma once

namespace qor::Texsmith::Raw {

struct Bc4Steps {
    int m_first;
    int m_second;
};

// By the rest in 64ths of a level.
struct Bc4ConstantSteps {
    Bc4Steps m_steps[64];
};

constexpr Bc4ConstantSteps makeBc4ConstantSteps() {
    constexpr int kReach = 32;
    Bc4ConstantSteps table = {{{0, -1}}};
    const auto offer = [&](int rest, Bc4Steps offered) {
        if (rest <= 0 || rest >= 64) {
            return;
        }
        Bc4Steps& row = table.m_steps[rest];
        const int difference = row.m_first - row.m_second;
        row = difference == 0 || offered.m_first - offered.m_second < difference ? offered : row;
    };
    for (int first = -kReach; first <= kReach; ++first) {
        for (int second = -kReach; second < first; ++second) {
            offer(55 * first + 9 * second, {first, second});
            offer(9 * first + 55 * second, {first, second});
        }
    }
    return table;
}
inline constexpr Bc4ConstantSteps kBc4ConstantSteps = makeBc4ConstantSteps();

constexpr bool isEveryRestReached() {
    for (const Bc4Steps& steps : kBc4ConstantSteps.m_steps) {
        if (steps.m_first <= steps.m_second) {
            return false;
        }
    }
    return true;
}
static_assert(isEveryRestReached());

} // namespace qor::Texsmith::Raw
