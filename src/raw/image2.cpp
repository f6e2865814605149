// Where the surfaces and elements of an image lie in its memory, and access to them that stays inside it.
#include "qor/texsmith/raw/image.h"

#include "qor/texsmith/raw/bithacks.h"
#include "raw/frame/check.h"
#include "raw/memory/copy_rows.h"
#include "raw/surfaces/extent.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <limits>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\image2";
constexpr char kNeedsIndex[] = "surfaceIndex must not be NULL.";
constexpr char kNeedsDestination[] = "destination must not be NULL.";
constexpr char kNeedsSource[] = "source must not be NULL.";

constexpr std::uint64_t kMostBytes = std::numeric_limits<std::uint32_t>::max();

void reportByte(std::uint64_t byte, std::uint64_t length, const SurfaceIndex& index, unsigned x, unsigned y) {
    toolsAssert(kSourcePath, __LINE__,
                "attempt to address byte %d in an Image with %d bytes at array entry %d, face %d, mip %d, "
                "depth %d, element %d, %d.",
                static_cast<int>(byte), static_cast<int>(length), static_cast<int>(index.arrayEntry),
                static_cast<int>(index.face), static_cast<int>(index.mip), static_cast<int>(index.depth),
                static_cast<int>(x), static_cast<int>(y));
}

bool checkBuffer(const SurfaceIndex* surfaceIndex, const void* buffer, const char* message) {
    const bool hasIndex = checkNotNull(surfaceIndex, kSourcePath, kNeedsIndex);
    const bool hasBuffer = checkNotNull(buffer, kSourcePath, message);
    return hasIndex && hasBuffer;
}

} // namespace

// Where a block or tile, cut to its surface, lies in the region.
struct Image::Rectangle {
    const SurfaceIndex& m_index;
    unsigned m_left, m_top; // in elements of the surface
    std::uint64_t m_offset; // of the first element
    std::size_t m_pitch;
    unsigned m_rowBytes;
    unsigned m_rows;
    bool m_overhangs; // the buffer has more elements than the rectangle

    std::uint64_t rowOffset(unsigned row) const { return m_offset + std::uint64_t{row} * m_pitch; }
    bool liesBelow(std::uint64_t length) const {
        return m_rowBytes == 0 || rowOffset(m_rows - 1) + m_rowBytes <= length;
    }
    // Bytes of a row that lie below `length`.
    unsigned rowBytesBelow(std::uint64_t length, unsigned row) const {
        const std::uint64_t offset = rowOffset(row);
        const std::uint64_t below = offset < length ? length - offset : 0;
        return static_cast<unsigned>(std::min<std::uint64_t>(m_rowBytes, below));
    }
};

void Image::doSetupAsVexTexture(const Vex::Texture* texture) {
    const SurfaceCount count = getSurfaceCount();
    const unsigned bytesPerElement = getBytesPerElement();
    std::uint64_t face = 0;
    for (unsigned mip = 0; mip < kMaxMips; ++mip) {
        MipRecord& record = m_mips[mip];
        record = {};
        if (mip >= count.mips) {
            continue;
        }
        const Extent elements = elementsOf(*texture, mip);
        const std::uint64_t surface = checkedSize(bytesPerElement, elements.m_wide, elements.m_tall);
        const std::uint64_t all = checkedSize(surface, count.fragments);
        const std::uint64_t bytes = checkedSize(all, getDepthOfMip(*texture, mip));
        // Cut here, these are never used: the total is then too large as well.
        record = {static_cast<std::uint32_t>(surface), static_cast<std::uint32_t>(all),
                  static_cast<std::uint32_t>(bytes), static_cast<std::uint32_t>(face)};
        face = checkedSum(face, bytes);
    }
    const std::uint64_t total = checkedSize(face, count.faces, count.arrayEntries);
    if (!check(total <= kMostBytes, kSourcePath, "bytesTotal <= 0xFFFFFFFF")) {
        becomeEmpty();
        return;
    }
    m_bytesPerFace = static_cast<std::uint32_t>(face);
    m_bytesPerArrayEntry = m_bytesPerFace * count.faces;
    m_bytesTotal = static_cast<std::uint32_t>(total);
}

// A texture of all zeros, which has no bytes to walk over.
void Image::becomeEmpty() {
    static_cast<Vex::Texture&>(m_texture) = {};
    m_surfaceCount = {};
    std::fill(std::begin(m_mips), std::end(m_mips), MipRecord{});
    m_bytesPerFace = m_bytesPerArrayEntry = m_bytesTotal = 0;
}

const Image::MipRecord& Image::recordOf(const SurfaceIndex* surfaceIndex) const {
    static constexpr MipRecord kNone = {};
    return surfaceIndex->mip < kMaxMips ? m_mips[surfaceIndex->mip] : kNone;
}

std::uint64_t Image::faceOffset(const SurfaceIndex* surfaceIndex) const {
    return std::uint64_t{surfaceIndex->arrayEntry} * m_bytesPerArrayEntry +
           std::uint64_t{surfaceIndex->face} * m_bytesPerFace;
}

std::uint64_t Image::getSurfaceOffsetInBytes(const SurfaceIndex* surfaceIndex) const {
    if (!checkNotNull(surfaceIndex, kSourcePath, kNeedsIndex)) {
        return 0;
    }
    const MipRecord& record = recordOf(surfaceIndex);
    const std::uint64_t surface =
        std::uint64_t{getFragments()} * surfaceIndex->depth + surfaceIndex->fragment;
    return faceOffset(surfaceIndex) + record.mipOffset + surface * record.surfaceBytes;
}

std::uint64_t Image::getSurfaceSizeInBytes(const SurfaceIndex* surfaceIndex) const {
    return checkNotNull(surfaceIndex, kSourcePath, kNeedsIndex) ? recordOf(surfaceIndex).surfaceBytes : 0;
}

std::uint64_t Image::getAllFragmentSurfaceOffsetInBytes(const SurfaceIndex* surfaceIndex) const {
    if (!checkNotNull(surfaceIndex, kSourcePath, kNeedsIndex)) {
        return 0;
    }
    const MipRecord& record = recordOf(surfaceIndex);
    return faceOffset(surfaceIndex) + record.mipOffset +
           std::uint64_t{surfaceIndex->depth} * record.allFragmentBytes;
}

std::uint64_t Image::getAllFragmentSurfaceSizeInBytes(const SurfaceIndex* surfaceIndex) const {
    return checkNotNull(surfaceIndex, kSourcePath, kNeedsIndex) ? recordOf(surfaceIndex).allFragmentBytes : 0;
}

std::uint64_t Image::getElementOffsetInBytes(const SurfaceIndex* surfaceIndex, unsigned x, unsigned y) const {
    const std::uint64_t wide = elementsOf(getTexture(), surfaceIndex->mip).m_wide;
    return getSurfaceOffsetInBytes(surfaceIndex) + getBytesPerElement() * (wide * y + x);
}

MemoryRegion Image::regionAt(std::uint64_t offset, std::uint64_t size,
                             const SurfaceIndex* surfaceIndex) const {
    if (size == 0 || surfaceIndex == nullptr) {
        return {};
    }
    if (size > regionLength() || offset > regionLength() - size) {
        reportByte(offset + size - 1, regionLength(), *surfaceIndex, 0, 0);
        return {};
    }
    MemoryRegion region;
    region.begin = m_memoryRegion->begin + offset;
    region.end = region.begin + size;
    return region;
}

MemoryRegion Image::getMemoryRegion(const SurfaceIndex* surfaceIndex) const {
    if (!checkNotNull(surfaceIndex, kSourcePath, kNeedsIndex)) {
        return {};
    }
    return regionAt(getSurfaceOffsetInBytes(surfaceIndex), getSurfaceSizeInBytes(surfaceIndex), surfaceIndex);
}

MemoryRegion Image::getAllFragmentMemoryRegion(const SurfaceIndex* surfaceIndex) const {
    if (!checkNotNull(surfaceIndex, kSourcePath, kNeedsIndex)) {
        return {};
    }
    return regionAt(getAllFragmentSurfaceOffsetInBytes(surfaceIndex),
                    getAllFragmentSurfaceSizeInBytes(surfaceIndex), surfaceIndex);
}

MemoryRegion Image::getMemoryRegion() const {
    if (m_memoryRegion == nullptr) {
        return {};
    }
    MemoryRegion region;
    region.begin = m_memoryRegion->begin;
    region.end = region.begin + std::min<std::uint64_t>(m_bytesTotal, regionLength());
    return region;
}

Image::Rectangle Image::rectangleAt(const SurfaceIndex* surfaceIndex, unsigned x, unsigned y,
                                    unsigned elementsWide, unsigned elementsTall) const {
    const Extent surface = elementsOf(getTexture(), surfaceIndex->mip);
    const unsigned bytes = getBytesPerElement();
    const unsigned left = x * elementsWide, top = y * elementsTall;
    const unsigned columns = std::min(surface.m_wide - left, elementsWide);
    const unsigned rows = std::min(surface.m_tall - top, elementsTall);
    return {*surfaceIndex,
            left,
            top,
            getElementOffsetInBytes(surfaceIndex, left, top),
            std::size_t{surface.m_wide} * bytes,
            columns * bytes,
            rows,
            columns != elementsWide || rows != elementsTall};
}

// Names the first element that does not lie whole in the region.
void Image::reportOutside(const Rectangle& rectangle) const {
    const std::uint64_t length = regionLength();
    const unsigned bytes = getBytesPerElement();
    unsigned row = 0;
    while (rectangle.rowBytesBelow(length, row) == rectangle.m_rowBytes) {
        ++row;
    }
    const unsigned column = rectangle.rowBytesBelow(length, row) / bytes;
    const std::uint64_t lastByte = rectangle.rowOffset(row) + std::uint64_t{column} * bytes + bytes - 1;
    reportByte(lastByte, length, rectangle.m_index, rectangle.m_left + column, rectangle.m_top + row);
}

void Image::getRectangle(const Rectangle& from, void* to, std::size_t size, unsigned pitch) const {
    const std::uint64_t length = regionLength();
    const bool isInRegion = from.liesBelow(length);
    auto* destination = static_cast<std::uint8_t*>(to);
    if (from.m_overhangs || !isInRegion) {
        std::memset(destination, 0, size);
    }
    if (isInRegion && from.m_rowBytes != 0) {
        copyRows({destination, pitch, m_memoryRegion->begin + from.m_offset, from.m_pitch, from.m_rows},
                 from.m_rowBytes);
    }
    if (isInRegion) {
        return;
    }
    reportOutside(from);
    for (unsigned row = 0; row < from.m_rows; ++row) {
        if (const unsigned bytes = from.rowBytesBelow(length, row); bytes != 0) {
            std::memcpy(destination + std::size_t{row} * pitch, m_memoryRegion->begin + from.rowOffset(row),
                        bytes);
        }
    }
}

void Image::putRectangle(const Rectangle& to, const void* from, unsigned pitch) const {
    const std::uint64_t length = regionLength();
    const auto* source = static_cast<const std::uint8_t*>(from);
    if (to.liesBelow(length)) {
        if (to.m_rowBytes != 0) {
            copyRows({m_memoryRegion->begin + to.m_offset, to.m_pitch, source, pitch, to.m_rows},
                     to.m_rowBytes);
        }
        return;
    }
    reportOutside(to);
    for (unsigned row = 0; row < to.m_rows; ++row) {
        if (const unsigned bytes = to.rowBytesBelow(length, row); bytes != 0) {
            std::memcpy(m_memoryRegion->begin + to.rowOffset(row), source + std::size_t{row} * pitch, bytes);
        }
    }
}

void Image::doGetBlock(const SurfaceIndex* surfaceIndex, Block* destination, unsigned x, unsigned y) const {
    if (checkBuffer(surfaceIndex, destination, kNeedsDestination)) {
        const Rectangle rectangle =
            rectangleAt(surfaceIndex, x, y, getElementsPerBlockWide(), getElementsPerBlockTall());
        getRectangle(rectangle, destination, sizeof(Block), getBlockPitchInBytes(getDataFormat()));
    }
}

void Image::doGetTile(const SurfaceIndex* surfaceIndex, Tile* destination, unsigned x, unsigned y) const {
    if (checkBuffer(surfaceIndex, destination, kNeedsDestination)) {
        const Rectangle rectangle =
            rectangleAt(surfaceIndex, x, y, getElementsPerTileWide(), getElementsPerTileTall());
        getRectangle(rectangle, destination, sizeof(Tile), getTilePitchInBytes(getDataFormat()));
    }
}

void Image::doPutBlock(const SurfaceIndex* surfaceIndex, const Block* source, unsigned x, unsigned y) const {
    if (checkBuffer(surfaceIndex, source, kNeedsSource)) {
        const Rectangle rectangle =
            rectangleAt(surfaceIndex, x, y, getElementsPerBlockWide(), getElementsPerBlockTall());
        putRectangle(rectangle, source, getBlockPitchInBytes(getDataFormat()));
    }
}

void Image::doPutTile(const SurfaceIndex* surfaceIndex, const Tile* source, unsigned x, unsigned y) const {
    if (checkBuffer(surfaceIndex, source, kNeedsSource)) {
        const Rectangle rectangle =
            rectangleAt(surfaceIndex, x, y, getElementsPerTileWide(), getElementsPerTileTall());
        putRectangle(rectangle, source, getTilePitchInBytes(getDataFormat()));
    }
}

const std::type_info* Image::doGetRowsClass() const { return &typeid(Image); }

// Only whole surfaces, of the format that they were set up with: what lies beyond the region is the business
// of the accesses above.
ElementRows Image::doGetElementRows(const SurfaceIndex* surfaceIndex) const {
    const Extent surface = elementsOf(getTexture(), surfaceIndex->mip);
    const std::size_t pitch = std::size_t{surface.m_wide} * getBytesPerElement();
    const std::uint64_t offset = getSurfaceOffsetInBytes(surfaceIndex);
    const std::uint64_t size = getSurfaceSizeInBytes(surfaceIndex);
    if (size == 0 || size != checkedSize(pitch, surface.m_tall) || size > regionLength() ||
        offset > regionLength() - size) {
        return {};
    }
    return {m_memoryRegion->begin + offset, pitch, surface.m_wide, surface.m_tall};
}

} // namespace qor::Texsmith::Raw
