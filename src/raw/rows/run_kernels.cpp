// The kernels of run_kernels.h for every machine, four lanes at a time, and those that are not over lanes:
// swizzles, and bytes through tables.
#include "raw/rows/run_kernels.h"

#include "raw/rows/run_kernels_lanes.h"
#include "raw/texels/codec.h"
#include "raw/texels/srgb_bytes.h"
#include "simd/lanes4.h"
#include "simd/words.h"

#include <algorithm>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

struct FourTexels : Simd::Lanes4 {
    struct Moves {}; // the swizzle is a kernel of its own
    static Moves movesOf(const RunSettings&) { return {}; }
    static Int swizzle(Int texels, Moves) { return texels; }
    static void write(std::uint8_t* destination, Int texels) { store(destination, texels); }
};

// In pieces that stay in the nearest cache between the two passes.
void swizzle4(void* destination, const void* source, std::size_t groups, const RunSettings& settings) {
    constexpr std::size_t kGroups = 32, kGroupBytes = kTexelsPerGroup * 4;
    auto* to = static_cast<std::uint8_t*>(destination);
    const auto* from = static_cast<const std::uint8_t*>(source);
    for (std::size_t done = 0; done < groups; done += kGroups) {
        const std::size_t bytes = std::min(kGroups, groups - done) * kGroupBytes;
        std::memcpy(to + done * kGroupBytes, from + done * kGroupBytes, bytes);
        swizzleBytes(settings.m_swizzleIndex, to + done * kGroupBytes, static_cast<unsigned>(bytes / 16));
    }
}

void swizzle8(void* destination, const void* source, std::size_t groups, const RunSettings& settings) {
    // The texel's four lanes, and behind them the constant of each lane that copies none.
    std::uint16_t values[8], places[4];
    std::memcpy(values + 4, settings.m_moves.m_ones, 8);
    for (std::uint16_t lane = 0; lane < 4; ++lane) {
        const unsigned from = settings.m_moves.m_control[2 * lane];
        places[lane] = static_cast<std::uint16_t>(from < 8 ? from / 2 : 4u + lane);
    }
    auto* to = static_cast<std::uint8_t*>(destination);
    const auto* from = static_cast<const std::uint8_t*>(source);
    for (std::size_t i = 0; i < groups * kTexelsPerGroup; ++i, from += 8, to += 8) {
        std::memcpy(values, from, 8);
        const std::uint16_t texel[4] = {values[places[0]], values[places[1]], values[places[2]],
                                        values[places[3]]};
        std::memcpy(to, texel, 8);
    }
}

template <typename Value>
void throughTables(void* destination, const void* source, std::size_t groups, const RunSettings& settings) {
    const auto* x = static_cast<const Value*>(settings.m_tables[0]);
    const auto* y = static_cast<const Value*>(settings.m_tables[1]);
    const auto* z = static_cast<const Value*>(settings.m_tables[2]);
    const auto* w = static_cast<const Value*>(settings.m_tables[3]);
    auto* to = static_cast<std::uint8_t*>(destination);
    const auto* from = static_cast<const std::uint8_t*>(source);
    for (std::size_t i = 0; i < groups * kTexelsPerGroup; ++i, from += 4, to += 4 * sizeof(Value)) {
        const Value texel[4] = {x[from[0]], y[from[1]], z[from[2]], w[from[3]]};
        std::memcpy(to, texel, sizeof texel);
    }
}

// Halves that are at least 0 and at most 1; a NaN is 0.
template <typename Words> typename Words::Word unitHalves(const void* source) {
    const auto halves = Words::load(source);
    const auto numbers = halves & greaterSigned(Words::splat(0x7C01), halves);
    return minimumSigned(maximumSigned(numbers, Words::splat(0)), Words::splat(kHalfOne));
}

// There are few enough of them for a table.
void halvesToSrgb(void* destination, const void* source, std::size_t groups, const RunSettings& settings) {
    using Words = Simd::Words8;
    constexpr unsigned kHalves = kTexelsPerGroup * 4;
    const std::uint8_t* tables[4];
    for (unsigned lane = 0; lane < 4; ++lane) {
        tables[lane] = (settings.m_linearLanes[lane] != 0 ? g_bytesOfHalves : g_srgbOfHalves).m_bytes;
    }
    const std::uint8_t *x = tables[0], *y = tables[1], *z = tables[2], *w = tables[3];
    auto* to = static_cast<std::uint8_t*>(destination);
    const auto* from = static_cast<const std::uint8_t*>(source);
    for (std::size_t group = 0; group < groups; ++group, from += kHalves * 2) {
        std::uint16_t places[kHalves];
        for (unsigned i = 0; i < kHalves; i += Words::kCount) {
            store(places + i, unitHalves<Words>(from + i * 2));
        }
        for (unsigned i = 0; i < kHalves; i += 4, to += 4) {
            to[0] = x[places[i]];
            to[1] = y[places[i + 1]];
            to[2] = z[places[i + 2]];
            to[3] = w[places[i + 3]];
        }
    }
}

using Kernels = RunLanes::Kernels<FourTexels>;

} // namespace

constinit const RunKernel g_baseRunKernels[kRunCount] = {
    &swizzle4,
    &swizzle8,
    Kernels::kBytesToFloats,
    Kernels::kBytesToHalves,
    Kernels::kBytesToWords,
    Kernels::kFloatsToBytes,
    Kernels::kHalvesToBytes,
    Kernels::kWordsToBytes,
    Kernels::kFloatsToHalves,
    Kernels::kHalvesToFloats,
    &RunLanes::floatsToSrgb<FourTexels>,
    &halvesToSrgb,
    Kernels::kBytesToTens,
    Kernels::kTensToBytes,
    Kernels::kBytesToFiveSixFive,
    Kernels::kFiveSixFiveToBytes,
    &throughTables<std::uint8_t>,
    &throughTables<std::uint16_t>,
    &throughTables<float>,
};

} // namespace qor::Texsmith::Raw
