// Kernels that convert texels straight from one format to another, without the working lanes between.
//
// They work on groups of 16 texels and know no swizzle: that is a kernel of its own, run before or behind
// them where the texels are smallest. Each gives the bits of the codecs' steps for every input.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qor::Texsmith::Raw {

inline constexpr std::size_t kTexelsPerGroup = 16;

// For each of 16 bytes: which of the 16 it copies, or 0x80 for 0; and bits that are set in it after that.
struct ByteMoves {
    std::uint8_t m_control[16];
    std::uint8_t m_ones[16];
};

// What the kernels need to know of formats, each its part.
struct RunSettings {
    ByteMoves m_moves;              // of the swizzle
    unsigned m_swizzleIndex;        // of the same swizzle in the tables of swizzles
    const void* m_tables[4];        // of 256 values, for each byte of a texel
    std::uint32_t m_linearLanes[4]; // ones where a lane stays linear beside sRGB lanes
};

// Source and destination do not overlap.
using RunKernel = void (*)(void* destination, const void* source, std::size_t groups,
                           const RunSettings& settings);

enum Run : unsigned {
    kRunSwizzle4, // of texels of four bytes
    kRunSwizzle8, // of eight
    kRunBytesToFloats,
    kRunBytesToHalves,
    kRunBytesToWords,
    kRunFloatsToBytes,
    kRunHalvesToBytes,
    kRunWordsToBytes,
    kRunFloatsToHalves,
    kRunHalvesToFloats,
    kRunFloatsToSrgb,
    kRunHalvesToSrgb,
    kRunBytesToTens, // 2_10_10_10
    kRunTensToBytes,
    kRunBytesToFiveSixFive, // 5_6_5
    kRunFiveSixFiveToBytes,
    kRunTableBytes,  // bytes through tables, to bytes
    kRunTableHalves, // to halves
    kRunTableFloats, // to floats
    kRunCount
};

// Indexed by Run, with null for what there is not. The base line has all kernels.
extern const RunKernel g_baseRunKernels[kRunCount];

struct WideRunKernels {
    const RunKernel* m_cached;
    const RunKernel* m_streaming; // destinations are aligned to 32 bytes; finishStreaming is the caller's
};
// Wide kernels between packed texels swizzle the bytes themselves.
constexpr bool swizzlesItself(Run run) { return run >= kRunBytesToTens && run <= kRunFiveSixFiveToBytes; }

// Nulls where the build has none.
WideRunKernels getRunKernelsAvx2();

} // namespace qor::Texsmith::Raw
