// The swizzle kernels: one function for each combination of selects, chosen once per call.
#include "raw/format_codec.h"
#include "simd/float4.h"

#include <array>
#include <utility>

namespace qor::Texsmith::Raw {
namespace {

using Simd::Int4;

// The nameless selects 2 and 3 mean what 0 means, and share its kernels.
struct Selects {
    unsigned m_lanes[4];

    constexpr unsigned index() const {
        return m_lanes[0] * 512 + m_lanes[1] * 64 + m_lanes[2] * 8 + m_lanes[3];
    }
    constexpr bool copies(unsigned lane) const { return m_lanes[lane] >= Vex::kTextureChannelX; }
    constexpr bool isOne(unsigned lane) const { return m_lanes[lane] == Vex::kTextureChannel1; }
    constexpr unsigned source(unsigned lane) const { return m_lanes[lane] & 3; }
    constexpr std::uint32_t mask(unsigned lane) const { return copies(lane) ? 0xFFFFFFFF : 0; }
    constexpr std::uint32_t one(unsigned lane, std::uint32_t bits) const { return isOne(lane) ? bits : 0; }
    constexpr bool copiesAll() const { return copies(0) && copies(1) && copies(2) && copies(3); }
};

constexpr Selects selectsOf(unsigned index) {
    Selects selects = {{index >> 9 & 7, index >> 6 & 7, index >> 3 & 7, index & 7}};
    for (unsigned& select : selects.m_lanes) {
        select = select == 2 || select == 3 ? unsigned{Vex::kTextureChannel0} : select;
    }
    return selects;
}

constexpr unsigned kIdentityIndex = Selects{{4, 5, 6, 7}}.index();

void leaveAsItIs(void*, unsigned) {}

template <unsigned kIndex> void swizzleFloatKernel(void* texels, unsigned count) {
    constexpr Selects kSelects = selectsOf(kIndex);
    constexpr std::uint32_t kOne = 0x3F800000; // whatever the channel type
    const Int4 mask = Simd::makeInts(kSelects.mask(0), kSelects.mask(1), kSelects.mask(2), kSelects.mask(3));
    const Int4 ones = Simd::makeInts(kSelects.one(0, kOne), kSelects.one(1, kOne), kSelects.one(2, kOne),
                                     kSelects.one(3, kOne));
    auto* at = static_cast<std::uint8_t*>(texels);
    for (unsigned i = 0; i < count; ++i, at += sizeof(VectorFloat)) {
        Int4 texel =
            Simd::shuffle<kSelects.source(0), kSelects.source(1), kSelects.source(2), kSelects.source(3)>(
                Simd::loadInts(at));
        if constexpr (!kSelects.copiesAll()) {
            texel = (texel & mask) | ones;
        }
        Simd::store(at, texel);
    }
}

// Those of a texel's four bytes that move up by kBytes places; down when it is negative.
constexpr std::uint32_t movingBytes(Selects selects, int places) {
    std::uint32_t mask = 0;
    for (unsigned lane = 0; lane < 4; ++lane) {
        const int from = static_cast<int>(selects.source(lane));
        if (selects.copies(lane) && static_cast<int>(lane) - from == places) {
            mask |= 0xFFu << 8 * lane;
        }
    }
    return mask;
}

template <unsigned kIndex, int kPlaces> Int4 moveBytes(Int4 texels) {
    constexpr std::uint32_t kMask = movingBytes(selectsOf(kIndex), kPlaces);
    if constexpr (kMask == 0) {
        return Simd::splat(0u);
    } else if constexpr (kPlaces < 0) {
        return Simd::shiftRight<-8 * kPlaces>(texels) & Simd::splat(kMask);
    } else {
        return Simd::shiftLeft<8 * kPlaces>(texels) & Simd::splat(kMask);
    }
}

template <unsigned kIndex> void swizzle8Kernel(void* texels, unsigned count) {
    constexpr Selects kSelects = selectsOf(kIndex);
    const Int4 ones = Simd::splat(kSelects.one(0, 0xFF) | kSelects.one(1, 0xFF00) |
                                  kSelects.one(2, 0xFF0000) | kSelects.one(3, 0xFF000000));
    auto* at = static_cast<std::uint8_t*>(texels);
    for (unsigned i = 0; i < count; ++i, at += 16) {
        const Int4 old = Simd::loadInts(at);
        const Int4 down =
            moveBytes<kIndex, -3>(old) | moveBytes<kIndex, -2>(old) | moveBytes<kIndex, -1>(old);
        const Int4 up = moveBytes<kIndex, 1>(old) | moveBytes<kIndex, 2>(old) | moveBytes<kIndex, 3>(old);
        Simd::store(at, down | moveBytes<kIndex, 0>(old) | up | ones);
    }
}

template <unsigned kIndex> constexpr Swizzle floatEntry() {
    constexpr unsigned kCanonical = selectsOf(kIndex).index();
    return kIndex == kIdentityIndex ? &leaveAsItIs : &swizzleFloatKernel<kCanonical>;
}

template <unsigned kIndex> constexpr Swizzle byteEntry() {
    constexpr unsigned kCanonical = selectsOf(kIndex).index();
    return kIndex == kIdentityIndex ? &leaveAsItIs : &swizzle8Kernel<kCanonical>;
}

template <unsigned... kIndices>
constexpr std::array<Swizzle, 4096> floatTable(std::integer_sequence<unsigned, kIndices...>) {
    return {floatEntry<kIndices>()...};
}

template <unsigned... kIndices>
constexpr std::array<Swizzle, 4096> byteTable(std::integer_sequence<unsigned, kIndices...>) {
    return {byteEntry<kIndices>()...};
}

} // namespace

constinit const std::array<Swizzle, 4096> g_swizzleFloat =
    floatTable(std::make_integer_sequence<unsigned, 4096>());
constinit const std::array<Swizzle, 4096> g_swizzle8 =
    byteTable(std::make_integer_sequence<unsigned, 4096>());

} // namespace qor::Texsmith::Raw
