// How large one tiled surface is, with its padding, and which array mode it gets in the end.
#include "qor/gpu_address/gpu_address.h"

#include "gpu_address/array_modes.h"
#include "gpu_address/sizes.h"
#include "gpu_address/untiled.h"

#include <algorithm>
#include <bit>
#include <limits>

namespace qor::GpuAddress {

namespace {

using namespace Vex;

constexpr std::uint32_t kSmallestAlignment = 256;
constexpr std::uint32_t kLargestAlignment = 65536;
constexpr std::uint64_t kPrtTileBytes = 65536;
constexpr std::uint32_t kLargestElementBits = 128;

// Whole bytes, or a whole fraction of one.
bool isElementSize(const TilingParameters& parameters) {
    if (parameters.m_bitsPerElement > kLargestElementBits) {
        return false;
    }
    const std::uint32_t bits = parameters.elementBits();
    return bits != 0 && bits <= kLargestElementBits && (bits % 8 == 0 || 8 % bits == 0);
}

// Micro tiles across and down.
struct MacroTile {
    std::uint32_t m_wide = 1;
    std::uint32_t m_tall = 1;
};

MacroTile macroTileOf(ArrayMode mode, std::uint32_t elementBits) {
    if (!isMacroTiled(mode)) {
        return {};
    }
    if (!isPrt(mode)) {
        return thicknessOf(mode) == 1 ? MacroTile{8, 8} : MacroTile{4, 4};
    }
    // Odd sizes count as the next power of two: macro tiles then have one, too, and hold less than 64 KiB.
    const std::uint64_t microBytes = std::uint64_t{64} * thicknessOf(mode) * std::bit_ceil(elementBits) / 8;
    const unsigned log2Count = static_cast<unsigned>(std::countr_zero(kPrtTileBytes / microBytes));
    return {1u << (log2Count + 1) / 2, 1u << log2Count / 2};
}

// A surface with fewer slices than a micro tile is thick takes the next thinner mode.
ArrayMode fitToDepth(ArrayMode mode, std::uint32_t depth) {
    const bool medium = depth >= 4;
    switch (mode) {
    case kArrayMode2dXThick:
        return depth >= 8 ? mode : medium ? kArrayMode2dThick : kArrayMode2dThin;
    case kArrayMode3dXThick:
        return depth >= 8 ? mode : medium ? kArrayMode3dThick : kArrayMode3dThin;
    case kArrayMode1dThick:
        return medium ? mode : kArrayMode1dThin;
    case kArrayMode2dThick:
        return medium ? mode : kArrayMode2dThin;
    case kArrayMode3dThick:
        return medium ? mode : kArrayMode3dThin;
    case kArrayModeThickPrt:
        return medium ? mode : kArrayModeThinPrt;
    case kArrayMode2dThickPrt:
        return medium ? mode : kArrayMode2dThinPrt;
    case kArrayMode3dThickPrt:
        return medium ? mode : kArrayMode3dThinPrt;
    default:
        return mode;
    }
}

// A surface smaller than a macro tile has none, unless it has fragments.
ArrayMode fitToMacroTile(ArrayMode mode, const TilingParameters& parameters) {
    const MacroTile macro = macroTileOf(mode, parameters.elementBits());
    const bool small = parameters.elementsWide() < macro.m_wide * kMicroTileSide ||
                       parameters.elementsTall() < macro.m_tall * kMicroTileSide;
    if (!isMacroTiled(mode) || parameters.m_fragments > 1 || !small) {
        return mode;
    }
    return thicknessOf(mode) == 1 ? kArrayMode1dThin : kArrayMode1dThick;
}

std::uint32_t alignmentOf(ArrayMode mode, MacroTile macro, std::uint32_t elementBits) {
    if (!isMacroTiled(mode)) {
        return kSmallestAlignment;
    }
    const std::uint32_t bytes = macro.m_wide * macro.m_tall * 64 * thicknessOf(mode) * elementBits / 8;
    return std::clamp(std::bit_ceil(bytes), kSmallestAlignment, kLargestAlignment);
}

// False when the sizes in bits do not fit 63 bits.
bool pad(SurfaceInfo& info, const TilingParameters& parameters) {
    const bool linear = isLinear(info.m_arrayMode);
    const std::uint64_t pitch = roundedUp(parameters.elementsWide(), info.m_macroWide * kMicroTileSide);
    const std::uint64_t height =
        roundedUp(parameters.elementsTall(), linear ? 1 : info.m_macroTall * kMicroTileSide);
    const std::uint64_t depth = roundedUp(parameters.m_depth, thicknessOf(info.m_arrayMode));
    const std::uint64_t planeBits = productOf(pitch, height, depth, parameters.elementBits());
    const std::uint64_t bits = productOf(planeBits, parameters.m_fragments);
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
    if (pitch > kMost || height > kMost || depth > kMost || std::max(planeBits, bits) > kTooLarge / 2) {
        return false;
    }
    info.m_pitch = static_cast<std::uint32_t>(pitch);
    info.m_height = static_cast<std::uint32_t>(height);
    info.m_depth = static_cast<std::uint32_t>(depth);
    info.m_planeBytes = planeBits / 8;
    info.m_size = bits / 8;
    return true;
}

} // namespace

int computeSurfaceInfo(SurfaceInfo* info, const TilingParameters* parameters) {
    if (info == nullptr) {
        return kStatusInvalidArgument;
    }
    *info = {};
    ArrayMode mode;
    if (parameters == nullptr || !isElementSize(*parameters) ||
        getArrayMode(&mode, parameters->m_tileMode) != kStatusSuccess) {
        return kStatusInvalidArgument;
    }
    SurfaceInfo result = {};
    result.m_arrayMode = fitToMacroTile(fitToDepth(mode, parameters->m_depth), *parameters);
    const MacroTile macro = macroTileOf(result.m_arrayMode, parameters->elementBits());
    result.m_macroWide = macro.m_wide;
    result.m_macroTall = macro.m_tall;
    result.m_alignment = alignmentOf(result.m_arrayMode, macro, parameters->elementBits());
    if (!pad(result, *parameters)) {
        return kStatusInvalidArgument;
    }
    *info = result;
    return kStatusSuccess;
}

int computeTiledSurfaceSize(std::uint64_t* size, unsigned* alignment, const TilingParameters* parameters) {
    SurfaceInfo info;
    const int status = computeSurfaceInfo(&info, parameters);
    if (size == nullptr || alignment == nullptr) {
        return kStatusInvalidArgument;
    }
    *size = info.m_size;
    *alignment = info.m_alignment;
    return status;
}

int computeUntiledSurfaceSize(std::uint64_t* size, unsigned* alignment, const TilingParameters* parameters) {
    SurfaceInfo info; // where the padded sizes fit, the exact ones do
    const int status = computeSurfaceInfo(&info, parameters);
    if (size == nullptr || alignment == nullptr) {
        return kStatusInvalidArgument;
    }
    *size = 0;
    *alignment = 0;
    if (status != kStatusSuccess) {
        return status;
    }
    *size = untiledPlaneBytes(*parameters) * parameters->m_depth * parameters->m_fragments;
    *alignment = 1;
    return kStatusSuccess;
}

} // namespace qor::GpuAddress
