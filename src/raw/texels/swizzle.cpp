// Wide machines do any swizzle by a shuffle of bytes, whose control is looked up once per call; others move
// lane by lane.
#include "raw/texels/swizzle.h"

#include "raw/texels/swizzle_avx2.h"
#include "simd/dispatch.h"
#include "simd/float4.h"

#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

constexpr std::uint32_t kFloatOne = 0x3F800000;

constexpr bool copies(unsigned select) { return select >= Vex::kTextureChannelX; }
constexpr bool isOne(unsigned select) { return select == Vex::kTextureChannel1; }

// By select: four bytes of the control, counted from the first of the lane or texel, and the constant bits.
struct LaneControl {
    std::uint32_t m_from;
    std::uint32_t m_ones;
};

constexpr std::uint32_t kNothing = 0x80808080;
constexpr LaneControl kFloatControls[8] = {{kNothing, 0},   {kNothing, kFloatOne}, {kNothing, 0},
                                           {kNothing, 0},   {0x03020100, 0},       {0x07060504, 0},
                                           {0x0B0A0908, 0}, {0x0F0E0D0C, 0}};

void shuffleFloats(ShuffleBytes shuffle, void* texels, unsigned count, const std::uint8_t (&selects)[4]) {
    const auto pair = [&](std::uint32_t LaneControl::*member, unsigned lane) {
        const std::uint64_t high = kFloatControls[selects[lane + 1]].*member;
        return high << 32 | kFloatControls[selects[lane]].*member;
    };
    shuffle(texels, count, {pair(&LaneControl::m_from, 0), pair(&LaneControl::m_from, 2)},
            {pair(&LaneControl::m_ones, 0), pair(&LaneControl::m_ones, 2)});
}

// The same for each texel, four bytes further on.
void shuffleTexels(ShuffleBytes shuffle, void* texels, unsigned count, const std::uint8_t (&selects)[4]) {
    std::uint64_t from = 0, ones = 0, step = 0;
    for (unsigned lane = 0; lane < 4; ++lane) {
        const unsigned select = selects[lane];
        from |= std::uint64_t{copies(select) ? select & 3 : 0x80} << 8 * lane;
        step |= std::uint64_t{copies(select) ? 4u : 0u} << 8 * lane;
        ones |= std::uint64_t{isOne(select) ? 0xFFu : 0u} << 8 * lane;
    }
    const std::uint64_t low = from | (from + step) << 32, twoOn = step << 1 | step << 33;
    ones |= ones << 32;
    shuffle(texels, count, {low, low + twoOn}, {ones, ones});
}

void moveFloats(void* texels, unsigned count, const std::uint8_t (&selects)[4]) {
    unsigned from[4];
    for (unsigned lane = 0; lane < 4; ++lane) {
        from[lane] = copies(selects[lane]) ? selects[lane] & 3u : isOne(selects[lane]) ? 5 : 4;
    }
    auto* at = static_cast<std::uint8_t*>(texels);
    for (unsigned i = 0; i < count; ++i, at += 16) {
        std::uint32_t lanes[6] = {0, 0, 0, 0, 0, kFloatOne};
        std::memcpy(lanes, at, 16);
        Simd::store(at, Simd::makeInts(lanes[from[0]], lanes[from[1]], lanes[from[2]], lanes[from[3]]));
    }
}

void moveBytes(void* texels, unsigned count, const std::uint8_t (&selects)[4]) {
    using Simd::Int4;
    Int4 masks[4], ones = Simd::splat(0u);
    decltype(Simd::shiftCount(0)) down[4], up[4];
    for (unsigned lane = 0; lane < 4; ++lane) {
        masks[lane] = Simd::splat(copies(selects[lane]) ? 0xFFu : 0u);
        down[lane] = Simd::shiftCount(8 * (selects[lane] & 3u));
        up[lane] = Simd::shiftCount(8 * lane);
        ones = ones | Simd::splat((isOne(selects[lane]) ? 0xFFu : 0u) << 8 * lane);
    }
    auto* at = static_cast<std::uint8_t*>(texels);
    for (unsigned i = 0; i < count; ++i, at += 16) {
        const Int4 old = Simd::loadInts(at);
        Int4 moved = ones;
        for (unsigned lane = 0; lane < 4; ++lane) {
            moved = moved | shiftLeft(shiftRight(old, down[lane]) & masks[lane], up[lane]);
        }
        Simd::store(at, moved);
    }
}

struct Selects {
    std::uint8_t m_lanes[4];
};

constexpr Selects selectsOf(unsigned index) {
    Selects selects = {};
    for (unsigned lane = 0; lane < 4; ++lane) {
        const unsigned select = index >> 3 * (3 - lane) & 7;
        selects.m_lanes[lane] = static_cast<std::uint8_t>(copies(select) || isOne(select) ? select : 0);
    }
    return selects;
}

constexpr unsigned kIdentity = 04567;

} // namespace

void swizzleFloats(unsigned index, void* texels, unsigned count) {
    if (index == kIdentity) {
        return;
    }
    const Selects selects = selectsOf(index);
    if (const ShuffleBytes shuffle = Simd::mayUseAvx2() ? getShuffleBytesAvx2() : nullptr) {
        shuffleFloats(shuffle, texels, count, selects.m_lanes);
    } else {
        moveFloats(texels, count, selects.m_lanes);
    }
}

void swizzleBytes(unsigned index, void* texels, unsigned count) {
    if (index == kIdentity) {
        return;
    }
    const Selects selects = selectsOf(index);
    if (const ShuffleBytes shuffle = Simd::mayUseAvx2() ? getShuffleBytesAvx2() : nullptr) {
        shuffleTexels(shuffle, texels, count, selects.m_lanes);
    } else {
        moveBytes(texels, count, selects.m_lanes);
    }
}

} // namespace qor::Texsmith::Raw
