// What each tile mode stands for, and the mode that a new surface gets.
#include "qor/gpu_address/gpu_address.h"

#include <cstdint>

namespace qor::GpuAddress {

namespace {

using namespace Vex;

struct TileModeRow {
    ArrayMode m_arrayMode;
    MicroTileMode m_microTileMode;
};

// By tile mode. The split sizes in the names of the depth modes have no effect on the order.
constexpr TileModeRow kTileModes[] = {
    {kArrayMode2dThin, kMicroTileModeDepth},          //  0 Depth_2dThin_64
    {kArrayMode2dThin, kMicroTileModeDepth},          //  1 Depth_2dThin_128
    {kArrayMode2dThin, kMicroTileModeDepth},          //  2 Depth_2dThin_256
    {kArrayMode2dThin, kMicroTileModeDepth},          //  3 Depth_2dThin_512
    {kArrayMode2dThin, kMicroTileModeDepth},          //  4 Depth_2dThin_1K
    {kArrayMode1dThin, kMicroTileModeDepth},          //  5 Depth_1dThin
    {kArrayMode2dThinPrt, kMicroTileModeDepth},       //  6 Depth_2dThinPrt_256
    {kArrayMode2dThinPrt, kMicroTileModeDepth},       //  7 Depth_2dThinPrt_1K
    {kArrayModeLinearAligned, kMicroTileModeDisplay}, //  8 Display_LinearAligned
    {kArrayMode1dThin, kMicroTileModeDisplay},        //  9 Display_1dThin
    {kArrayMode2dThin, kMicroTileModeDisplay},        // 10 Display_2dThin
    {kArrayModeThinPrt, kMicroTileModeDisplay},       // 11 Display_ThinPrt
    {kArrayMode2dThinPrt, kMicroTileModeDisplay},     // 12 Display_2dThinPrt
    {kArrayMode1dThin, kMicroTileModeThin},           // 13 Thin_1dThin
    {kArrayMode2dThin, kMicroTileModeThin},           // 14 Thin_2dThin
    {kArrayMode3dThin, kMicroTileModeThin},           // 15 Thin_3dThin
    {kArrayModeThinPrt, kMicroTileModeThin},          // 16 Thin_ThinPrt
    {kArrayMode2dThinPrt, kMicroTileModeThin},        // 17 Thin_2dThinPrt
    {kArrayMode3dThinPrt, kMicroTileModeThin},        // 18 Thin_3dThinPrt
    {kArrayMode1dThick, kMicroTileModeThick},         // 19 Thick_1dThick
    {kArrayMode2dThick, kMicroTileModeThick},         // 20 Thick_2dThick
    {kArrayMode3dThick, kMicroTileModeThick},         // 21 Thick_3dThick
    {kArrayModeThickPrt, kMicroTileModeThick},        // 22 Thick_ThickPrt
    {kArrayMode2dThickPrt, kMicroTileModeThick},      // 23 Thick_2dThickPrt
    {kArrayMode3dThickPrt, kMicroTileModeThick},      // 24 Thick_3dThickPrt
    {kArrayMode2dXThick, kMicroTileModeThick},        // 25 Thick_2dXThick
    {kArrayMode3dXThick, kMicroTileModeThick},        // 26 Thick_3dXThick
    {kArrayMode1dThin, kMicroTileModeRotated},        // 27 to 30 have no name
    {kArrayMode2dThin, kMicroTileModeRotated},        //
    {kArrayModeThinPrt, kMicroTileModeRotated},       //
    {kArrayMode2dThinPrt, kMicroTileModeRotated},     //
    {kArrayModeLinearGeneral, kMicroTileModeDisplay}, // 31 linear general
};
constexpr std::uint32_t kTileModeCount = 32;
static_assert(sizeof kTileModes / sizeof kTileModes[0] == kTileModeCount);

} // namespace

int getArrayMode(ArrayMode* arrayMode, TileMode tileMode) {
    if (arrayMode == nullptr) {
        return kStatusInvalidArgument;
    }
    const bool known = tileMode < kTileModeCount;
    *arrayMode = known ? kTileModes[tileMode].m_arrayMode : ArrayMode(0);
    return known ? kStatusSuccess : kStatusInvalidArgument;
}

int getMicroTileMode(MicroTileMode* microTileMode, TileMode tileMode) {
    if (microTileMode == nullptr) {
        return kStatusInvalidArgument;
    }
    const bool known = tileMode < kTileModeCount;
    *microTileMode = known ? kTileModes[tileMode].m_microTileMode : MicroTileMode(0);
    return known ? kStatusSuccess : kStatusInvalidArgument;
}

// The 1d modes pad least. With fragments only the 2d ones keep their order on small surfaces.
int computeSurfaceTileMode(TileMode* tileMode, SurfaceType type, DataFormat, unsigned fragments) {
    if (tileMode == nullptr) {
        return kStatusInvalidArgument;
    }
    if (fragments > 1) {
        *tileMode = kTileModeThin_2dThin;
    } else {
        *tileMode = type == kSurfaceTypeTextureVolume ? kTileModeThick_1dThick : kTileModeThin_1dThin;
    }
    return kStatusSuccess;
}

} // namespace qor::GpuAddress
