// How providers are set up, what part of a surface a block or tile covers, and the copy between two
// providers.
#include "qor/texsmith/raw/element_provider.h"

#include "qor/texsmith/raw/per_tile.h"
#include "qor/vex/data_formats.h"
#include "raw/configuration/check_configuration.h"
#include "raw/job_manager/run_job.h"
#include "raw/surfaces/copy_tiles.h"
#include "raw/surfaces/default_tile_mode.h"
#include "raw/surfaces/extent.h"

#include <algorithm>
#include <cstdint>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\surfaces\\element_provider";
constexpr char kNeedsTexture[] = "texture must not be NULL.";

constexpr Vex::DataFormat kR8Unorm = Vex::kDataFormatR8Unorm; // what the invalid format is laid out as

// The square of `size` by `size` elements at (x, y), cut to the surface.
GpuAddress::SurfaceRegion regionOf(Extent surface, unsigned depth, unsigned size, unsigned x, unsigned y) {
    const auto cut = [size](unsigned position, unsigned end) {
        return static_cast<std::uint32_t>(std::min<std::uint64_t>(std::uint64_t{position} * size, end));
    };
    const auto cutEnd = [size](unsigned position, unsigned end) {
        return static_cast<std::uint32_t>(
            std::min<std::uint64_t>(std::uint64_t{position} * size + size, end));
    };
    return {cut(x, surface.m_wide),    cut(y, surface.m_tall),    depth,
            cutEnd(x, surface.m_wide), cutEnd(y, surface.m_tall), depth + 1};
}

bool checkRegion(const GpuAddress::SurfaceRegion* region, const SurfaceIndex* surfaceIndex) {
    const bool hasRegion = checkNotNull(region, kSourcePath, "region must not be NULL.");
    const bool hasIndex = checkNotNull(surfaceIndex, kSourcePath, "surfaceIndex must not be NULL.");
    return hasRegion && hasIndex;
}

} // namespace

ElementProvider::ElementProvider() { m_texture.Init(); }

void ElementProvider::setDataFormat(Vex::DataFormat format) {
    static_cast<Vex::Texture&>(m_texture) = changeDataFormat(m_texture, format);
}

void ElementProvider::setTextureChannelType(Vex::TextureChannelType type) {
    static_cast<Vex::Texture&>(m_texture) = changeChannelType(m_texture, type);
}

void ElementProvider::setChannelSelect(unsigned channel, Vex::TextureChannel select) {
    if (check(channel < 4, kSourcePath, "channel < 4")) {
        m_texture.setDataFormat(getDataFormat().withChannel(channel, select));
    }
}

void ElementProvider::doSetupAsVexTexture(const Vex::Texture*) {}

void ElementProvider::setupAsVexTexture(const Vex::Texture* texture) {
    if (!checkNotNull(texture, kSourcePath, kNeedsTexture)) {
        return;
    }
    static_cast<Vex::Texture&>(m_texture) = *texture;
    m_surfaceCount = SurfaceCount(m_texture);
    doSetupAsVexTexture(&m_texture);
}

void ElementProvider::setupAsTexture(const Texture* texture) {
    if (!checkNotNull(texture, kSourcePath, kNeedsTexture)) {
        return;
    }
    m_texture = *texture;
    m_surfaceCount = SurfaceCount(m_texture);
    doSetupAsVexTexture(&m_texture);
}

void ElementProvider::setupAsTwoDimensional(Vex::DataFormat format, unsigned width, unsigned height) {
    const bool isInvalid = format.getSurfaceFormat() == Vex::kSurfaceFormatInvalid;
    const Vex::DataFormat layout = isInvalid ? kR8Unorm : format;
    Vex::Texture texture = m_texture;
    texture.initAs2dArray(std::min(width, Vex::kMaxTextureSize), std::min(height, Vex::kMaxTextureSize), 1, 0,
                          1, layout, defaultTileMode(GpuAddress::kSurfaceTypeTextureFlat, layout, 1),
                          Vex::kNumFragments1, false);
    if (isInvalid) {
        texture = changeDataFormat(texture, format);
    }
    setupAsVexTexture(&texture);
}

void ElementProvider::calculateSurfaceRegionForBlock(GpuAddress::SurfaceRegion* region,
                                                     const SurfaceIndex* surfaceIndex, unsigned x,
                                                     unsigned y) const {
    if (checkRegion(region, surfaceIndex)) {
        const Extent surface = {getElementsWide(surfaceIndex->mip), getElementsTall(surfaceIndex->mip)};
        *region = regionOf(surface, surfaceIndex->depth, getElementsPerBlockWide(), x, y);
    }
}

void ElementProvider::calculateSurfaceRegionForTile(GpuAddress::SurfaceRegion* region,
                                                    const SurfaceIndex* surfaceIndex, unsigned x,
                                                    unsigned y) const {
    if (checkRegion(region, surfaceIndex)) {
        const Extent surface = {getElementsWide(surfaceIndex->mip), getElementsTall(surfaceIndex->mip)};
        *region = regionOf(surface, surfaceIndex->depth, getElementsPerTileWide(), x, y);
    }
}

Error copy(const ElementProvider* destination, const ElementProvider* source, Configuration* configuration) {
    const bool hasDestination = checkNotNull(destination, kSourcePath, "destination must not be NULL.");
    const bool hasSource = checkNotNull(source, kSourcePath, "source must not be NULL.");
    const bool hasManager = checkJobManager(configuration, kSourcePath);
    if (!hasDestination || !hasSource) {
        return kErrorFailed;
    }
    const bool fits = dimensionsAndFormatAreIdentical(destination, source);
    if (!fits) {
        toolsAssert(kSourcePath, __LINE__,
                    "destination and source must have the same dimensions and format.");
    }
    if (!hasManager) {
        return kErrorFailed;
    }
    CopyPerTile copyPerTile(destination, source);
    PerTileJob job(source, &copyPerTile, configuration);
    const Error error = runJob(configuration->m_jobManager, &job, 2 * bytesOf(*source));
    return fits ? error : kErrorFailed;
}

} // namespace qor::Texsmith::Raw
