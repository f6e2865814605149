#include "raw/tiles/tiling.h"

#include "raw/configuration/check_configuration.h"
#include "raw/job/imagetotiledjob.h"
#include "raw/job/tiledtoimagejob.h"

namespace qor::Texsmith::Raw {

namespace {

constexpr char kSourcePath[] = "raw\\tiling";

using GpuAddress::kStatusInvalidArgument;
using GpuAddress::kStatusSuccess;

bool isInvalid(const Vex::Texture& texture) {
    return texture.getDataFormat().getSurfaceFormat() == Vex::kSurfaceFormatInvalid;
}

unsigned sliceOf(const SurfaceIndex& surfaceIndex, const SurfaceCount& count) {
    return count.faces * surfaceIndex.arrayEntry + surfaceIndex.face;
}

bool checkArguments(const void* image, const void* tiled) {
    const bool hasImage = checkNotNull(image, kSourcePath, "image must not be NULL.");
    return checkNotNull(tiled, kSourcePath, "tiled must not be NULL.") && hasImage;
}

// There may be millions of surfaces without bytes: none of them is visited.
bool isEmpty(const Image& image) { return image.getBytesTotal() == 0 || isInvalid(*image.getVexTexture()); }

// All depth slices and fragments of one mip of an image, or null when they do not lie in its memory.
std::uint8_t* linearMip(const Image& image, const SurfaceIndex& first,
                        const GpuAddress::TilingParameters& parameters) {
    std::uint64_t bytes = 0;
    unsigned alignment = 0;
    GpuAddress::computeUntiledSurfaceSize(&bytes, &alignment, &parameters);
    SurfaceIndex last = first;
    last.depth = parameters.m_depth - 1;
    last.fragment = parameters.m_fragments - 1;
    std::uint8_t* begin = image.getMemoryRegion(&first).begin;
    std::uint8_t* end = image.getMemoryRegion(&last).end;
    const bool whole = begin != nullptr && end >= begin && static_cast<std::uint64_t>(end - begin) == bytes;
    return whole ? begin : nullptr;
}

// Moves one mip of one slice by `move(tiled, linear, parameters)`.
template <typename Move>
Error moveMip(const Image& image, const MemoryRegion& tiled, const SurfaceIndex& index, Move move) {
    const Vex::Texture& texture = *image.getVexTexture();
    const unsigned slice = sliceOf(index, image.getSurfaceCount());
    GpuAddress::TilingParameters parameters;
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
    std::uint64_t tiledSize = 0;
    unsigned alignment = 0;
    const int statuses[] = {parameters.initFromTexture(&texture, index.mip, slice),
                            computeSurfaceOffsetAndSize(&offset, &size, &texture, index.mip, slice),
                            GpuAddress::computeTiledSurfaceSize(&tiledSize, &alignment, &parameters)};
    for (const int status : statuses) {
        if (checkAddressStatus(status, kSourcePath) != kErrorNone) {
            return kErrorFailed;
        }
    }
    std::uint8_t* tiledSurface = tiledBytesAt(tiled, offset, tiledSize);
    std::uint8_t* linear = linearMip(image, index, parameters);
    if (tiledSurface == nullptr || linear == nullptr) {
        return kErrorFailed;
    }
    return checkAddressStatus(move(tiledSurface, linear, &parameters), kSourcePath);
}

// The single-threaded road: whole mips, slice by slice.
template <typename Move> Error moveImage(const Image& image, const MemoryRegion& tiled, Move move) {
    const SurfaceCount count = image.getSurfaceCount();
    SurfaceIndex index;
    for (index.mip = 0; index.mip < count.mips; ++index.mip) {
        for (index.arrayEntry = 0; index.arrayEntry < count.arrayEntries; ++index.arrayEntry) {
            for (index.face = 0; index.face < count.faces; ++index.face) {
                if (const Error error = moveMip(image, tiled, index, move); error != kErrorNone) {
                    return error;
                }
            }
        }
    }
    return kErrorNone;
}

} // namespace

bool isLinearGeneral(const Vex::Texture& texture) {
    return texture.getTileMode() == Vex::kTileModeLinearGeneral;
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
    if (isInvalid(*texture)) {
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

Error detileImage(Image* image, const MemoryRegion* tiled, Configuration* configuration, int singleThreaded) {
    if (!checkArguments(image, tiled) ||
        (singleThreaded == 0 && !checkJobManager(configuration, kSourcePath))) {
        return kErrorFailed;
    }
    if (isEmpty(*image)) {
        return kErrorNone;
    }
    if (singleThreaded != 0) {
        return moveImage(
            *image, *tiled,
            [](const std::uint8_t* from, std::uint8_t* to, const GpuAddress::TilingParameters* parameters) {
                return GpuAddress::detileSurface(to, from, parameters);
            });
    }
    const TiledToImageJob job(image, *tiled, configuration);
    return configuration->m_jobManager->submitAndStall(&job);
}

Error tileImage(MemoryRegion* tiled, const Image* image, Configuration* configuration, int singleThreaded) {
    if (!checkArguments(image, tiled) ||
        (singleThreaded == 0 && !checkJobManager(configuration, kSourcePath))) {
        return kErrorFailed;
    }
    if (isEmpty(*image)) {
        return kErrorNone;
    }
    if (singleThreaded != 0) {
        return moveImage(*image, *tiled, &GpuAddress::tileSurface);
    }
    const ImageToTiledJob job(image, *tiled, configuration);
    return configuration->m_jobManager->submitAndStall(&job);
}

} // namespace qor::Texsmith::Raw
