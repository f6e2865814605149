#include "raw/job/imagetotiledjob.h"

#include "raw/tiles/surface_rows.h"

#include <algorithm>
#include <cstring>

namespace qor::Texsmith::Raw {

namespace {

constexpr char kSourcePath[] = "raw\\job\\imagetotiledjob";

constexpr unsigned kTileSide = 8;
constexpr unsigned kTurnedBytes = 32 << 10; // stays in the nearer caches

// Copies `count` rows of `bytes` bytes, the last first. Line by line of the caches, so that all rows are
// fetched ahead side by side.
void turnRows(std::uint8_t* to, const std::uint8_t* from, std::size_t pitch, std::size_t bytes,
              unsigned count) {
    constexpr std::size_t kLineBytes = 64;
    const std::size_t whole = bytes / kLineBytes * kLineBytes;
    const std::uint8_t* last = from + (count - 1) * pitch;
    for (std::size_t at = 0; at < whole; at += kLineBytes) {
        for (unsigned i = 0; i < count; ++i) {
            std::memcpy(to + i * bytes + at, last - i * pitch + at, kLineBytes);
        }
    }
    for (unsigned i = 0; i < count; ++i) {
        std::memcpy(to + i * bytes + whole, last - i * pitch + whole, bytes - whole);
    }
}

// Tiles a band whose rows lie in memory from the last to the first, turning a row of tiles at a time.
int tileTurned(const SurfaceRows& band, unsigned elementBytes, unsigned fragment) {
    if (elementBytes == 0) { // elements that are parts of bytes
        return GpuAddress::kStatusInvalidArgument;
    }
    alignas(64) std::uint8_t turned[kTurnedBytes];
    const unsigned mostColumns = kTurnedBytes / (elementBytes * kTileSide) / kTileSide * kTileSide;
    const std::size_t pitch = std::size_t{band.m_pitch} * elementBytes;
    const unsigned bottom = band.m_region.m_bottom;
    GpuAddress::SurfaceRegion part = band.m_region;
    for (; part.m_top < bottom; part.m_top = part.m_bottom) {
        part.m_bottom = std::min(bottom, (part.m_top / kTileSide + 1) * kTileSide);
        const std::uint8_t* rows = band.m_linear + (bottom - part.m_bottom) * pitch;
        for (part.m_left = 0; part.m_left < band.m_pitch; part.m_left = part.m_right) {
            part.m_right = std::min(band.m_pitch, part.m_left + mostColumns);
            const unsigned width = part.m_right - part.m_left, height = part.m_bottom - part.m_top;
            turnRows(turned, rows + std::size_t{part.m_left} * elementBytes, pitch,
                     std::size_t{width} * elementBytes, height);
            const int status =
                band.m_tilers.tileSurfaceRegion(band.m_tiled, turned, &part, width, width * height, fragment);
            if (status != GpuAddress::kStatusSuccess) {
                return status;
            }
        }
    }
    return GpuAddress::kStatusSuccess;
}

} // namespace

Error ImageToTiledJob::doPerElementRowsCallback(unsigned, const SurfaceIndex* surfaceIndex, unsigned begin,
                                                unsigned end) const {
    const bool isTurned = m_rowOrder == RowOrder::kBottomUp;
    const unsigned tall = m_image->getElementsTall(surfaceIndex->mip);
    SurfaceRows rows;
    const Error error =
        locateSurfaceRows(&rows, m_image, m_tiled, surfaceIndex, isTurned ? tall - end : begin,
                          isTurned ? tall - begin : end, kSourcePath);
    if (error != kErrorNone || rows.m_tiled == nullptr) {
        return error;
    }
    rows.m_region.m_top = begin;
    rows.m_region.m_bottom = end;
    const unsigned fragment = surfaceIndex->fragment;
    const int status = isTurned ? tileTurned(rows, m_image->getBytesPerElement(), fragment)
                                : rows.m_tilers.tileSurfaceRegion(rows.m_tiled, rows.m_linear, &rows.m_region,
                                                                  rows.m_pitch, rows.m_slicePitch, fragment);
    return checkAddressStatus(status, kSourcePath);
}

} // namespace qor::Texsmith::Raw
