#include "raw/tiles/surface_rows.h"

#include "raw/frame/check.h"

namespace qor::Texsmith::Raw {
namespace {

using GpuAddress::kStatusInvalidArgument;
using GpuAddress::kStatusSuccess;

} // namespace

bool hasNoTexels(const Vex::Texture& texture) {
    return texture.getDataFormat().getSurfaceFormat() == Vex::kSurfaceFormatInvalid;
}

unsigned sliceOf(const SurfaceIndex& surfaceIndex, const SurfaceCount& count) {
    return count.faces * surfaceIndex.arrayEntry + surfaceIndex.face;
}

bool isLinearGeneral(const Vex::Texture& texture) {
    return texture.getTileMode() == Vex::kTileModeLinearGeneral;
}

bool checkHasRoom(const Vex::Texture& texture, const char* sourcePath) {
    const SurfaceCount count(texture);
    const bool hasOne = count.mips == 1 && count.arrayEntries <= 1 && count.faces == 1 &&
                        count.fragments == 1 && getDepthOfMip(texture, 0) == 1;
    if (isLinearGeneral(texture) && !hasOne) {
        toolsAssert(sourcePath, __LINE__, "a texture in the linear general tile mode must have one surface.");
        return false;
    }
    return true;
}

int computeSurfaceOffsetAndSize(std::uint64_t* offset, std::uint64_t* size, const Vex::Texture* texture,
                                unsigned mip, unsigned arraySlice) {
    if (offset == nullptr || size == nullptr) {
        return kStatusInvalidArgument;
    }
    *offset = 0;
    *size = 0;
    if (texture == nullptr) {
        return kStatusInvalidArgument;
    }
    if (hasNoTexels(*texture)) {
        return kStatusSuccess;
    }
    if (isLinearGeneral(*texture)) {
        const std::uint64_t pitch = (texture->getWidth() - 1 + 8) & ~7u;
        *size = pitch * texture->getDataFormat().getBytesPerElement() * texture->getHeight();
        return kStatusSuccess;
    }
    return GpuAddress::computeTextureSurfaceOffsetAndSize(offset, size, texture, mip, arraySlice);
}

std::uint8_t* tiledBytesAt(const MemoryRegion& tiled, std::uint64_t offset, std::uint64_t bytes) {
    const std::uint64_t length = tiled.length();
    const bool inside = tiled.begin != nullptr && offset <= length && bytes <= length - offset;
    return inside ? tiled.begin + offset : nullptr;
}

Error checkAddressStatus(int status, const char* sourcePath) {
    const bool success =
        check(status == kStatusSuccess, sourcePath, "addrStatus == GpuAddress::kStatusSuccess");
    return success ? kErrorNone : kErrorFailed;
}

Error locateSurfaceRows(SurfaceRows* rows, const Image* image, const MemoryRegion& tiled,
                        const SurfaceIndex* surfaceIndex, unsigned begin, unsigned end,
                        const char* sourcePath) {
    if (begin >= end) {
        return kErrorNone; // no tiler, no move
    }
    const Vex::Texture texture = *image->getVexTexture();
    const unsigned mip = surfaceIndex->mip;
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
    const int status = computeSurfaceOffsetAndSize(&offset, &size, &texture, mip,
                                                   sliceOf(*surfaceIndex, image->getSurfaceCount()));
    if (checkAddressStatus(status, sourcePath) != kErrorNone) {
        return kErrorFailed;
    }
    rows->m_tilers.initFromVexTexture(&texture, mip, surfaceIndex->arrayEntry);
    if (rows->m_tilers.getTilingMode() == kTilingModeNone) {
        return kErrorNone; // nor for a format without texels
    }
    rows->m_pitch = image->getElementsWide(mip);
    rows->m_slicePitch = rows->m_pitch * image->getElementsTall(mip);
    rows->m_region = {0, begin, surfaceIndex->depth, rows->m_pitch, end, surfaceIndex->depth + 1};
    rows->m_tiled = tiledBytesAt(tiled, offset, rows->m_tilers.getTiledBytes());
    const MemoryRegion linear = image->getMemoryRegion(surfaceIndex);
    const std::uint64_t rowBytes = std::uint64_t{rows->m_pitch} * image->getBytesPerElement();
    if (rows->m_tiled == nullptr || linear.begin == nullptr || end * rowBytes > linear.length()) {
        return kErrorFailed;
    }
    rows->m_linear = linear.begin + begin * rowBytes;
    return kErrorNone;
}

} // namespace qor::Texsmith::Raw
