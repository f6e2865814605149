#include "raw/job/tiledtoimagejob.h"

#include "raw/tiles/surface_rows.h"

namespace qor::Texsmith::Raw {

namespace {

constexpr char kSourcePath[] = "raw\\job\\tiledtoimagejob";

}

Error TiledToImageJob::doPerElementRowsCallback(unsigned, const SurfaceIndex* surfaceIndex, unsigned begin,
                                                unsigned end) const {
    SurfaceRows rows;
    const Error error = locateSurfaceRows(&rows, m_image, m_tiled, surfaceIndex, begin, end, kSourcePath);
    if (error != kErrorNone) {
        return error;
    }
    const int status = rows.m_tilers.detileSurfaceRegion(
        rows.m_linear, rows.m_tiled, &rows.m_region, rows.m_pitch, rows.m_slicePitch, surfaceIndex->fragment);
    return checkAddressStatus(status, kSourcePath);
}

} // namespace qor::Texsmith::Raw
