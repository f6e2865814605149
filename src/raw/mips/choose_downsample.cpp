#include "raw/mips/choose_downsample.h"

#include "raw/configuration/check_configuration.h"
#include "raw/frame/shared_word.h"
#include "raw/job_manager/run_job.h"
#include "raw/mips/downsample_job.h"
#include "raw/surfaces/extent.h"
#include "raw/surfaces/tile_rows.h"

#include <algorithm>
#include <cstdint>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\mips\\choose_downsample";

constexpr std::uint64_t kManyBytes = 1 << 30; // the number of callbacks says what is worth another thread
// Of the destination, for which a callback of its own pays. Blocks are slow to encode.
constexpr unsigned kMinTexels = 8192, kMinTexelsInBlocks = 256;

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

// Whether the provider has such a surface, in its array view or not. The depth slice may be left out.
bool checkExists(const ElementProvider& provider, const SurfaceIndex& index, bool hasDepth,
                 const char* condition) {
    const SurfaceCount count = provider.getSurfaceCount();
    const bool exists = index.mip < count.mips && index.arrayEntry < count.arrayEntries &&
                        index.face < count.faces && index.fragment < count.fragments &&
                        (!hasDepth || index.depth < getDepthOfMip(provider.getTexture(), index.mip));
    return check(exists, kSourcePath, condition);
}

bool checkSurfaces(const DownsampleSurfaces& surfaces, bool sourceHasDepth) {
    const bool hasSource = checkExists(*surfaces.m_source, surfaces.m_sourceIndex, sourceHasDepth,
                                       "sourceIndex is a surface of source");
    return checkExists(*surfaces.m_destination, surfaces.m_destinationIndex, true,
                       "destinationIndex is a surface of destination") &&
           hasSource;
}

template <typename DownsampleJobType>
Error run(const DownsampleSurfaces& surfaces, const Configuration& configuration,
          const ElementRows& copyFrom = {}, const ElementRows& copyTo = {}) {
    Configuration limited = configuration;
    const unsigned most = configuration.m_callbacksPerJob != 0 ? configuration.m_callbacksPerJob
                                                               : static_cast<unsigned>(Job::kMaxCallbacks);
    limited.m_callbacksPerJob =
        std::clamp(callbacksWorth(*surfaces.m_destination, surfaces.m_destinationIndex.mip), 1u, most);
    DownsampleJobType job(surfaces, &limited);
    job.alsoCopy(copyFrom, copyTo);
    return resultOfJob(runJob(configuration.m_jobManager, &job, kManyBytes), configuration);
}

Error run2d(Path path, const DownsampleSurfaces& surfaces, const Configuration& configuration,
            const ElementRows& copyFrom = {}, const ElementRows& copyTo = {}) {
    switch (path) {
    case Path::kFast:
        return run<Downsample2dFastJob>(surfaces, configuration, copyFrom, copyTo);
    case Path::kFastUnsigned8888:
        return run<Downsample2dFastUnsigned8888Job>(surfaces, configuration, copyFrom, copyTo);
    case Path::kFastSigned8888:
        return run<Downsample2dFastSigned8888Job>(surfaces, configuration, copyFrom, copyTo);
    default:
        return run<Downsample2dSlowJob>(surfaces, configuration);
    }
}

// Rows that lie close together, so that a copy of all bytes writes nothing but texels.
bool areCopyable(const ElementRows& from, const ElementRows& to, unsigned bytesPerElement) {
    const bool haveMemory = from.m_memory != nullptr && to.m_memory != nullptr;
    return haveMemory && !overlap(from, to) && from.m_pitch == to.m_pitch &&
           from.m_pitch == std::size_t{from.m_wide} * bytesPerElement && from.m_tall == to.m_tall;
}

unsigned depthOf(const ElementProvider& provider, const SurfaceIndex& index) {
    return getDepthOfMip(provider.getTexture(), index.mip);
}

} // namespace

bool isAborted(const Configuration& configuration) { return asksForAbort(configuration.m_abort); }

Error resultOfJob(Error error, const Configuration& configuration) {
    return error != kErrorNone && isAborted(configuration) ? kErrorAborted : error;
}

unsigned callbacksWorth(const ElementProvider& destination, unsigned mip) {
    const Extent extent = pixelsOf(destination.getTexture(), mip);
    return extent.m_wide * extent.m_tall /
           (destination.getDataFormat().isBlockCompressedFormat() ? kMinTexelsInBlocks : kMinTexels);
}

int surfaceDownsample2d(ElementProvider* source, SurfaceIndex sourceIndex, ElementProvider* destination,
                        SurfaceIndex destinationIndex, Configuration* configuration) {
    if (!checkArguments(source, destination, configuration)) {
        return static_cast<int>(kErrorFailed);
    }
    const DownsampleSurfaces surfaces = {source, sourceIndex, destination, destinationIndex};
    if (!checkSurfaces(surfaces, true)) {
        return static_cast<int>(kErrorFailed);
    }
    return static_cast<int>(run2d(choosePath(surfaces), surfaces, *configuration));
}

bool copyAndDownsample2d(Error* result, ElementProvider* source, ElementProvider* destination,
                         const SurfaceIndex& index, Configuration* configuration) {
    SurfaceIndex half = index;
    half.mip = 1;
    const DownsampleSurfaces surfaces = {source, index, destination, half};
    const Path path = choosePath(surfaces);
    const bool isSingleTexels = !source->getDataFormat().isBlockCompressedFormat();
    const ElementRows from = source->getElementRows(&index), to = destination->getElementRows(&index);
    if (path == Path::kSlow || !isSingleTexels || !areCopyable(from, to, source->getBytesPerElement()) ||
        !checkArguments(source, destination, configuration)) {
        return false;
    }
    *result = run2d(path, surfaces, *configuration, from, to);
    return true;
}

int surfaceDownsample3d(ElementProvider* source, SurfaceIndex sourceIndex, ElementProvider* destination,
                        SurfaceIndex destinationIndex, Configuration* configuration) {
    if (!checkArguments(source, destination, configuration)) {
        return static_cast<int>(kErrorFailed);
    }
    DownsampleSurfaces surfaces = {source, sourceIndex, destination, destinationIndex};
    if (!checkSurfaces(surfaces, false)) {
        return static_cast<int>(kErrorFailed);
    }
    const unsigned sourceDepth = depthOf(*source, sourceIndex);
    const unsigned depth = depthOf(*destination, destinationIndex);
    surfaces.m_sourceIndex.depth = windowUnder(destinationIndex.depth, sourceDepth, depth).m_begin;
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
