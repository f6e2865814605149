// A plain bitmap with its own pitch.
#include "qor/texsmith/raw/view.h"
#include "raw/frame/check.h"
#include "raw/surfaces/extent.h"

#include <algorithm>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\elementprovider\\rasterelementprovider";

} // namespace

// Cut to the surface.
struct RasterElementProvider::Rectangle {
    std::uint64_t m_offset; // bytes from the beginning
    unsigned m_rowBytes;
    unsigned m_rows;
    unsigned m_bufferPitch;
};

std::uint64_t RasterElementProvider::length() const {
    MemoryRegion region;
    region.begin = m_raster.begin;
    region.end = m_raster.end;
    return region.length();
}

void RasterElementProvider::init(const Raster* raster) {
    if (!checkNotNull(raster, kSourcePath, "raster must not be NULL.")) {
        return;
    }
    m_raster = *raster;
    setupAsTwoDimensional(raster->dataFormat, raster->width, raster->height);
    const Extent surface = elementsOf(m_texture, 0);
    const Rectangle whole = rectangleAt(0, 0, {surface.m_wide, surface.m_tall, 0});
    check(whole.m_rowBytes <= m_raster.pitch, kSourcePath, "width <= pitch");
    check(whole.m_rowBytes + std::uint64_t{whole.m_rows - 1} * m_raster.pitch <= length(), kSourcePath,
          "height * pitch <= end - begin");
}

RasterElementProvider::Grain RasterElementProvider::blocks() const {
    return {getElementsPerBlockWide(), getElementsPerBlockTall(), getBlockPitchInBytes(getDataFormat())};
}

RasterElementProvider::Grain RasterElementProvider::tiles() const {
    return {getElementsPerTileWide(), getElementsPerTileTall(), getTilePitchInBytes(getDataFormat())};
}

RasterElementProvider::Rectangle RasterElementProvider::rectangleAt(unsigned x, unsigned y,
                                                                    const Grain& grain) const {
    const Extent surface = elementsOf(m_texture, 0);
    const unsigned bytes = getBytesPerElement(), left = x * grain.m_wide, top = y * grain.m_tall;
    return {std::uint64_t{m_raster.pitch} * top + std::uint64_t{bytes} * left,
            std::min(grain.m_wide, surface.m_wide - left) * bytes,
            std::min(grain.m_tall, surface.m_tall - top), grain.m_bufferPitch};
}

// Calls `move(place in the bitmap, offset in the buffer, bytes)` for what the memory has of each row.
template <typename Move> void RasterElementProvider::forRows(const Rectangle& rectangle, Move move) const {
    const std::uint64_t end = length();
    for (unsigned row = 0; row < rectangle.m_rows; ++row) {
        const std::uint64_t offset = rectangle.m_offset + std::uint64_t{m_raster.pitch} * row;
        if (offset < end) {
            const std::uint64_t bytes = std::min<std::uint64_t>(rectangle.m_rowBytes, end - offset);
            move(m_raster.begin + offset, std::size_t{rectangle.m_bufferPitch} * row,
                 static_cast<std::size_t>(bytes));
        }
    }
}

// There is no clear: what overhangs deliberately stays in the buffer.
void RasterElementProvider::get(void* buffer, const Rectangle& rectangle) const {
    if (checkNotNull(buffer, kSourcePath, "destination must not be NULL.")) {
        forRows(rectangle, [to = static_cast<std::uint8_t*>(buffer)](const std::uint8_t* from,
                                                                     std::size_t offset, std::size_t bytes) {
            std::memcpy(to + offset, from, bytes);
        });
    }
}

void RasterElementProvider::put(const void* buffer, const Rectangle& rectangle) const {
    if (checkNotNull(buffer, kSourcePath, "source must not be NULL.")) {
        forRows(rectangle, [from = static_cast<const std::uint8_t*>(buffer)](
                               std::uint8_t* to, std::size_t offset, std::size_t bytes) {
            std::memcpy(to, from + offset, bytes);
        });
    }
}

void RasterElementProvider::doGetBlock(const SurfaceIndex*, Block* destination, unsigned x,
                                       unsigned y) const {
    get(destination, rectangleAt(x, y, blocks()));
}

void RasterElementProvider::doPutBlock(const SurfaceIndex*, const Block* source, unsigned x,
                                       unsigned y) const {
    put(source, rectangleAt(x, y, blocks()));
}

void RasterElementProvider::doGetTile(const SurfaceIndex*, Tile* destination, unsigned x, unsigned y) const {
    get(destination, rectangleAt(x, y, tiles()));
}

void RasterElementProvider::doPutTile(const SurfaceIndex*, const Tile* source, unsigned x, unsigned y) const {
    put(source, rectangleAt(x, y, tiles()));
}

const std::type_info* RasterElementProvider::doGetRowsClass() const { return &typeid(RasterElementProvider); }

ElementRows RasterElementProvider::doGetElementRows(const SurfaceIndex*) const {
    const Extent surface = elementsOf(m_texture, 0);
    const std::uint64_t rowBytes = std::uint64_t{surface.m_wide} * getBytesPerElement();
    const std::uint64_t lastRow = std::uint64_t{surface.m_tall - 1} * m_raster.pitch;
    if (rowBytes > m_raster.pitch || lastRow + rowBytes > length()) {
        return {};
    }
    return {m_raster.begin, m_raster.pitch, surface.m_wide, surface.m_tall};
}

} // namespace qor::Texsmith::Raw
