#include "gpu_address/element_order.h"

#include "gpu_address/array_modes.h"

#include <bit>

namespace qor::GpuAddress {

namespace {

constexpr unsigned kPlaneElements = kMicroTileSide * kMicroTileSide;

std::uint32_t swizzleOf(const SurfaceInfo& info, unsigned rowInMacroTile, unsigned microSlice) {
    if (!isSwizzledByRow(info.m_arrayMode)) {
        return 0;
    }
    const std::uint32_t slice = isSwizzledByDepth(info.m_arrayMode) ? microSlice : 0;
    return (rowInMacroTile + slice) & (info.m_macroWide - 1);
}

// The number of the first micro tile of a row, in the order of memory.
std::uint64_t firstMicroTile(const SurfaceInfo& info, unsigned row, unsigned microSlice) {
    const std::uint64_t macroRows = info.m_height / (kMicroTileSide * info.m_macroTall);
    const std::uint64_t macroColumns = info.m_pitch / (kMicroTileSide * info.m_macroWide);
    const std::uint64_t macroRow = microSlice * macroRows + row / info.m_macroTall;
    return macroRow * macroColumns * info.m_macroWide * info.m_macroTall +
           std::uint64_t{row % info.m_macroTall} * info.m_macroWide;
}

std::uint64_t microTileBytes(const TilerBase& tiler) {
    return std::uint64_t{kPlaneElements} * thicknessOf(tiler.getSurfaceInfo().m_arrayMode) *
           tiler.getElementBits() / 8;
}

std::uint64_t linearElement(const SurfaceInfo& info, unsigned x, unsigned y, unsigned z) {
    return (std::uint64_t{z} * info.m_height + y) * info.m_pitch + x;
}

std::uint64_t tiledElement(const TilerBase& tiler, unsigned x, unsigned y, unsigned z) {
    const SurfaceInfo& info = tiler.getSurfaceInfo();
    const unsigned thickness = thicknessOf(info.m_arrayMode);
    const unsigned column = x / kMicroTileSide;
    const unsigned row = y / kMicroTileSide;
    const std::uint32_t inside =
        column % info.m_macroWide ^ swizzleOf(info, row % info.m_macroTall, z / thickness);
    const std::uint64_t microTile =
        firstMicroTile(info, row, z / thickness) +
        std::uint64_t{column / info.m_macroWide} * info.m_macroWide * info.m_macroTall + inside;
    const bool rows = tiler.getMicroTileMode() == Vex::kMicroTileModeDisplay;
    const unsigned element = rows ? y % 8 * 8 + x % 8 : kSpread[x % 8] | unsigned{kSpread[y % 8]} << 1;
    return (microTile * thickness + z % thickness) * kPlaneElements + element;
}

} // namespace

std::uint64_t elementBitOffset(const TilerBase& tiler, unsigned x, unsigned y, unsigned z,
                               unsigned fragment) {
    const SurfaceInfo& info = tiler.getSurfaceInfo();
    const std::uint64_t element =
        isLinear(info.m_arrayMode) ? linearElement(info, x, y, z) : tiledElement(tiler, x, y, z);
    return fragment * info.m_planeBytes * 8 + element * tiler.getElementBits();
}

MicroTileRow locateMicroTileRow(const TilerBase& tiler, unsigned row, unsigned z, unsigned fragment) {
    const SurfaceInfo& info = tiler.getSurfaceInfo();
    const unsigned thickness = thicknessOf(info.m_arrayMode);
    MicroTileRow result;
    result.m_microBytes = microTileBytes(tiler);
    result.m_byteOffset = fragment * info.m_planeBytes +
                          firstMicroTile(info, row, z / thickness) * result.m_microBytes +
                          z % thickness * (result.m_microBytes / thickness);
    result.m_columnShift = static_cast<std::uint32_t>(std::countr_zero(info.m_macroWide));
    result.m_macroCount = info.m_macroWide * info.m_macroTall;
    result.m_swizzle = swizzleOf(info, row % info.m_macroTall, z / thickness);
    return result;
}

} // namespace qor::GpuAddress
