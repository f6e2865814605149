// What the array modes have in common.
#pragma once

#include "qor/vex/texture.h"

namespace qor::GpuAddress {

inline constexpr unsigned kMicroTileSide = 8; // elements across and down

constexpr bool isLinear(Vex::ArrayMode mode) { return mode <= Vex::kArrayModeLinearAligned; }
constexpr bool isMacroTiled(Vex::ArrayMode mode) { return mode >= Vex::kArrayMode2dThin; }

// Partly resident textures: macro tiles of 64 KiB.
constexpr bool isPrt(Vex::ArrayMode mode) {
    return mode == Vex::kArrayModeThinPrt || mode == Vex::kArrayMode2dThinPrt ||
           mode == Vex::kArrayModeThickPrt || mode == Vex::kArrayMode2dThickPrt ||
           mode == Vex::kArrayMode3dThinPrt || mode == Vex::kArrayMode3dThickPrt;
}

// The columns of a macro tile change places from row to row.
constexpr bool isSwizzledByRow(Vex::ArrayMode mode) {
    return isMacroTiled(mode) && mode != Vex::kArrayModeThinPrt && mode != Vex::kArrayModeThickPrt;
}

constexpr bool isSwizzledByDepth(Vex::ArrayMode mode) { return mode >= Vex::kArrayMode3dThinPrt; }

// Elements of a micro tile in depth.
constexpr unsigned thicknessOf(Vex::ArrayMode mode) {
    switch (mode) {
    case Vex::kArrayMode2dXThick:
    case Vex::kArrayMode3dXThick:
        return 8;
    case Vex::kArrayMode1dThick:
    case Vex::kArrayMode2dThick:
    case Vex::kArrayModeThickPrt:
    case Vex::kArrayMode2dThickPrt:
    case Vex::kArrayMode3dThick:
    case Vex::kArrayMode3dThickPrt:
        return 4;
    default:
        return 1;
    }
}

} // namespace qor::GpuAddress
