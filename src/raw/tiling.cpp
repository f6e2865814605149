// The door to the tiling of whole images: as a job, or mip by mip on the calling thread.
#include "raw/tiles/tiling.h"

#include "raw/configuration/check_configuration.h"
#include "raw/job/imagetotiledjob.h"
#include "raw/job/tiledtoimagejob.h"
#include "raw/job_manager/run_job.h"
#include "raw/tiles/surface_rows.h"

namespace qor::Texsmith::Raw {

namespace {

constexpr char kSourcePath[] = "raw\\tiling";

bool checkArguments(const void* image, const void* tiled) {
    const bool hasImage = checkNotNull(image, kSourcePath, "image must not be NULL.");
    return checkNotNull(tiled, kSourcePath, "tiled must not be NULL.") && hasImage;
}

// There may be millions of surfaces without bytes: none of them is visited.
bool isEmpty(const Image& image) { return image.getBytesTotal() == 0 || hasNoTexels(*image.getVexTexture()); }

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

// On the calling thread alone: whole mips, slice by slice.
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

// Calls move(), which returns an Error, once the arguments are checked, where there are bytes to move.
template <typename Move>
Error runChecked(const Image* image, const MemoryRegion* tiled, const Configuration* configuration,
                 bool isJob, Move move) {
    if (!checkArguments(image, tiled) || (isJob && !checkJobManager(configuration, kSourcePath))) {
        return kErrorFailed;
    }
    if (isEmpty(*image)) {
        return kErrorNone;
    }
    return checkHasRoom(*image->getVexTexture(), kSourcePath) ? move() : kErrorFailed;
}

std::uint64_t movedBytes(const Image& image) { return std::uint64_t{2} * image.getBytesTotal(); }

} // namespace

Error detileImage(Image* image, const MemoryRegion* tiled, Configuration* configuration, int singleThreaded) {
    return runChecked(image, tiled, configuration, singleThreaded == 0, [=] {
        if (singleThreaded != 0) {
            return moveImage(*image, *tiled,
                             [](const std::uint8_t* from, std::uint8_t* to,
                                const GpuAddress::TilingParameters* parameters) {
                                 return GpuAddress::detileSurface(to, from, parameters);
                             });
        }
        const TiledToImageJob job(image, *tiled, configuration);
        return runJob(configuration->m_jobManager, &job, movedBytes(*image));
    });
}

Error tileImage(MemoryRegion* tiled, const Image* image, Configuration* configuration, int singleThreaded) {
    return singleThreaded == 0 ? tileImageRows(tiled, image, configuration, RowOrder::kTopDown)
                               : runChecked(image, tiled, configuration, false, [=] {
                                     return moveImage(*image, *tiled, &GpuAddress::tileSurface);
                                 });
}

Error tileImageRows(MemoryRegion* tiled, const Image* image, Configuration* configuration,
                    RowOrder rowOrder) {
    return runChecked(image, tiled, configuration, true, [=] {
        const ImageToTiledJob job(image, *tiled, configuration, rowOrder);
        return runJob(configuration->m_jobManager, &job, movedBytes(*image));
    });
}

} // namespace qor::Texsmith::Raw
