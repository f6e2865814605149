#include "raw/surface_downsample.h"

#include "raw/check_job_manager.h"
#include "raw/job/downsamplejob.h"
#include "raw/surface_extent.h"

#include <algorithm>
#include <atomic>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\surface_downsample";

constexpr unsigned kMinTexels = 8192; // of the destination, for which a callback of its own pays

enum class Path { kSlow, kFast, kFastUnsigned8888, kFastSigned8888 };

bool halvesExactly(const Extent& source, const Extent& destination) {
    const auto halves = [](unsigned from, unsigned to) {
        return from % 4 == 0 && to % 4 == 0 && from == 2 * to;
    };
    return halves(source.m_wide, destination.m_wide) && halves(source.m_tall, destination.m_tall);
}

bool keepsBytes(const ElementProvider& source, const ElementProvider& destination) {
    const Vex::DataFormat format = source.getDataFormat();
    return format == destination.getDataFormat() && format.getSurfaceFormat() == Vex::kSurfaceFormat8_8_8_8 &&
           source.getModifiers().m_decode.isNop() && destination.getModifiers().m_encode.isNop();
}

Path choosePath(const DownsampleSurfaces& surfaces) {
    const ElementProvider &source = *surfaces.m_source, &destination = *surfaces.m_destination;
    if (!halvesExactly(pixelsOf(source.getTexture(), surfaces.m_sourceIndex.mip),
                       pixelsOf(destination.getTexture(), surfaces.m_destinationIndex.mip))) {
        return Path::kSlow;
    }
    if (!keepsBytes(source, destination)) {
        return Path::kFast;
    }
    switch (source.getDataFormat().getTextureChannelType()) {
    case Vex::kTextureChannelTypeUNorm:
    case Vex::kTextureChannelTypeUBNormNoZero:
        return Path::kFastUnsigned8888;
    case Vex::kTextureChannelTypeSNormNoZero:
        return Path::kFastSigned8888;
    default:
        return Path::kFast;
    }
}

bool checkArguments(const ElementProvider* source, const ElementProvider* destination,
                    const Configuration* configuration) {
    const bool hasSource = checkNotNull(source, kSourcePath, "source must not be NULL.");
    const bool hasDestination = checkNotNull(destination, kSourcePath, "destination must not be NULL.");
    const bool hasManager = checkJobManager(configuration, kSourcePath);
    return hasSource && hasDestination && hasManager && TexelReader::canRead(source->getDataFormat()) &&
           TexelWriter::canWrite(destination->getDataFormat());
}

// As many callbacks as the surface is worth: on the last mips a second thread would only be waited for.
Configuration withCallbacksFor(const DownsampleSurfaces& surfaces, const Configuration& configuration) {
    const Extent extent = pixelsOf(surfaces.m_destination->getTexture(), surfaces.m_destinationIndex.mip);
    const unsigned most = configuration.m_callbacksPerJob != 0 ? configuration.m_callbacksPerJob
                                                               : static_cast<unsigned>(Job::kMaxCallbacks);
    Configuration limited = configuration;
    limited.m_callbacksPerJob = std::clamp(extent.m_wide * extent.m_tall / kMinTexels, 1u, most);
    return limited;
}

template <typename DownsampleJobType>
Error run(const DownsampleSurfaces& surfaces, const Configuration& configuration) {
    Configuration limited = withCallbacksFor(surfaces, configuration);
    const DownsampleJobType job(surfaces, &limited);
    return resultOfJob(configuration.m_jobManager->submitAndStall(&job), configuration);
}

unsigned depthOf(const ElementProvider& provider, const SurfaceIndex& index) {
    return getDepthOfMip(provider.getTexture(), index.mip);
}

} // namespace

bool isAborted(const Configuration& configuration) {
    volatile unsigned* word = configuration.m_abort;
    return word != nullptr &&
           std::atomic_ref<unsigned>(const_cast<unsigned&>(*word)).load(std::memory_order_relaxed) != 0;
}

Error resultOfJob(Error error, const Configuration& configuration) {
    return error != kErrorNone && isAborted(configuration) ? kErrorAborted : error;
}

int surfaceDownsample2d(ElementProvider* source, SurfaceIndex sourceIndex, ElementProvider* destination,
                        SurfaceIndex destinationIndex, Configuration* configuration) {
    if (!checkArguments(source, destination, configuration)) {
        return static_cast<int>(kErrorFailed);
    }
    const DownsampleSurfaces surfaces = {source, sourceIndex, destination, destinationIndex};
    switch (choosePath(surfaces)) {
    case Path::kFast:
        return static_cast<int>(run<Downsample2dFastJob>(surfaces, *configuration));
    case Path::kFastUnsigned8888:
        return static_cast<int>(run<Downsample2dFastUnsigned8888Job>(surfaces, *configuration));
    case Path::kFastSigned8888:
        return static_cast<int>(run<Downsample2dFastSigned8888Job>(surfaces, *configuration));
    default:
        return static_cast<int>(run<Downsample2dSlowJob>(surfaces, *configuration));
    }
}

int surfaceDownsample3d(ElementProvider* source, SurfaceIndex sourceIndex, ElementProvider* destination,
                        SurfaceIndex destinationIndex, Configuration* configuration) {
    if (!checkArguments(source, destination, configuration)) {
        return static_cast<int>(kErrorFailed);
    }
    const unsigned sourceDepth = depthOf(*source, sourceIndex);
    const unsigned depth = depthOf(*destination, destinationIndex);
    sourceIndex.depth = windowUnder(destinationIndex.depth, sourceDepth, depth).m_begin;
    const DownsampleSurfaces surfaces = {source, sourceIndex, destination, destinationIndex};
    switch (sourceDepth == 2 * depth ? choosePath(surfaces) : Path::kSlow) {
    case Path::kFast:
        return static_cast<int>(run<Downsample3dFastJob>(surfaces, *configuration));
    case Path::kFastUnsigned8888:
        return static_cast<int>(run<Downsample3dFastUnsigned8888Job>(surfaces, *configuration));
    case Path::kFastSigned8888:
        return static_cast<int>(run<Downsample3dFastSigned8888Job>(surfaces, *configuration));
    default:
        return static_cast<int>(run<Downsample3dSlowJob>(surfaces, *configuration));
    }
}

} // namespace qor::Texsmith::Raw
