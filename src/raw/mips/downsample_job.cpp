#include "raw/mips/downsample_job.h"

#include "raw/frame/check.h"
#include "raw/surfaces/extent.h"
#include "raw/surfaces/tile_rows.h"
#include "raw/texels/sides.h"
#include "simd/canonical_nan.h"
#include "simd/lanes4.h"

#include <algorithm>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\mips\\downsample_job";

constexpr unsigned kRowsPerSlice = 2, kMostRows = 4;
constexpr unsigned kChunk = 128; // texels of the destination that are made at a time
// Of the colours of a row, how many eighths may have been no use to the quick way before the next rows leave
// it.
constexpr unsigned kColours = 3, kMostApartInEight = 7;

std::size_t roundedUp(unsigned texels) {
    return std::size_t{(texels + kBlockSide - 1) / kBlockSide} * kBlockSide * kFloatsPerTexel;
}

SurfaceIndex sliceAfter(SurfaceIndex index, unsigned slices) {
    index.depth += slices;
    return index;
}

unsigned slicesOf(bool isVolume) { return isVolume ? 2 : 1; }

// Memory to work in, for the life of the object; null when it was not to be had.
class Floats {
public:
    Floats(const IAllocator& allocator, std::size_t count)
        : m_allocator(allocator),
          m_memory(count != 0 ? allocator.allocate(count * sizeof(float), kAlignment) : nullptr) {}
    ~Floats() { m_allocator.release(m_memory); }
    Floats(const Floats&) = delete;
    Floats& operator=(const Floats&) = delete;

    float* get() const { return static_cast<float*>(m_memory); }

private:
    static constexpr unsigned kAlignment = 256;

    const IAllocator& m_allocator;
    void* m_memory;
};

} // namespace

DownsampleJob::DownsampleJob(const DownsampleSurfaces& surfaces, Configuration* configuration)
    : PerBlockRowsJob(surfaces.m_destination, configuration), m_surfaces(surfaces),
      m_allocator(configuration->m_allocator) {
    setName("DownsampleJob");
}

Error DownsampleJob::doCallback(unsigned callbackId) const {
    const Extent blocks = blocksOf(m_surfaces.m_destination->getTexture(), m_surfaces.m_destinationIndex.mip);
    const WorkItems pairs = getWorkItems(callbackId, (blocks.m_tall + 1) / 2);
    const auto rowOf = [&](unsigned pair) { return std::min(pair * 2, blocks.m_tall); };
    return doPerBlockRowsCallback(callbackId, &m_surfaces.m_destinationIndex, rowOf(pairs.m_begin),
                                  rowOf(pairs.m_end));
}

Error DownsampleJob::doPerBlockRowsCallback(unsigned, const SurfaceIndex*, unsigned begin,
                                            unsigned end) const {
    if (!check(end >= begin, kSourcePath, "workItems.m_end >= workItems.m_begin")) {
        return kErrorFailed;
    }
    if (begin == end) {
        return kErrorNone;
    }
    const std::size_t count = doCountFloats();
    const Floats floats(m_allocator, count);
    if (count != 0 && floats.get() == nullptr) {
        if (!m_hasReported.test_and_set(std::memory_order_relaxed)) {
            toolsAssert(kSourcePath, __LINE__, "there is no memory to make a mip in.");
        }
        return kErrorFailed;
    }
    for (unsigned y = begin; y < end; ++y) {
        if (isAborted()) {
            return kErrorAborted;
        }
        copySourceOf(y);
        doBlockRow(y, floats.get());
    }
    return kErrorNone;
}

// The rows that row `y` of blocks is made of stay in a cache for it.
void DownsampleJob::copySourceOf(unsigned y) const {
    if (m_copyTo.m_memory != nullptr) {
        const unsigned top = y * kTileSide, rows = std::min(kTileSide, m_copyFrom.m_tall - top);
        copyRow(m_copyTo.row(top), m_copyFrom.row(top), m_copyFrom.m_pitch * rows, storesFor(m_copyTo));
    }
}

DownsampleBytesJob::DownsampleBytesJob(const DownsampleSurfaces& surfaces, Configuration* configuration,
                                       bool isVolume, bool isSigned)
    : DownsampleJob(surfaces, configuration), m_kernel(halveBytesKernel(isVolume, isSigned)),
      m_slices(slicesOf(isVolume)) {
    for (unsigned slice = 0; slice < m_slices; ++slice) {
        const SurfaceIndex index = sliceAfter(surfaces.m_sourceIndex, slice);
        m_from[slice] = surfaces.m_source->getElementRows(&index);
    }
    m_to = surfaces.m_destination->getElementRows(&surfaces.m_destinationIndex);
}

void DownsampleBytesJob::doBlockRow(unsigned y, float*) const {
    if (m_from[0].m_memory != nullptr && m_from[m_slices - 1].m_memory != nullptr &&
        m_to.m_memory != nullptr) {
        halveRows(y);
        return;
    }
    const Extent blocks = blocksOf(surfaces().m_destination->getTexture(), surfaces().m_destinationIndex.mip);
    for (unsigned x = 0; x < blocks.m_wide; ++x) {
        halveTile(x, y);
    }
}

void DownsampleBytesJob::halveRows(unsigned y) const {
    for (unsigned row = y * kBlockSide; row < (y + 1) * kBlockSide; ++row) {
        const std::uint8_t* above[kMostRows] = {};
        for (unsigned i = 0; i < m_slices * kRowsPerSlice; ++i) {
            above[i] = m_from[i / kRowsPerSlice].row(row * 2 + i % kRowsPerSlice);
        }
        m_kernel(m_to.row(row), above, m_to.m_wide);
    }
}

// A tile of the source lies under a block of the destination.
void DownsampleBytesJob::halveTile(unsigned x, unsigned y) const {
    constexpr std::size_t kTexelBytes = 4;
    Tile tiles[2] = {};
    for (unsigned slice = 0; slice < m_slices; ++slice) {
        const SurfaceIndex index = sliceAfter(surfaces().m_sourceIndex, slice);
        surfaces().m_source->getTile(&index, &tiles[slice], x, y);
    }
    Block block = {};
    for (unsigned row = 0; row < kBlockSide; ++row) {
        const std::uint8_t* above[kMostRows] = {};
        for (unsigned i = 0; i < m_slices * kRowsPerSlice; ++i) {
            above[i] = reinterpret_cast<const std::uint8_t*>(&tiles[i / kRowsPerSlice]) +
                       (row * 2 + i % kRowsPerSlice) * kTileSide * kTexelBytes;
        }
        m_kernel(reinterpret_cast<std::uint8_t*>(&block) + row * kBlockSide * kTexelBytes, above, kBlockSide);
    }
    surfaces().m_destination->putBlock(&surfaces().m_destinationIndex, &block, x, y);
}

DownsampleFloatsJob::DownsampleFloatsJob(const DownsampleSurfaces& surfaces, Configuration* configuration)
    : DownsampleJob(surfaces, configuration),
      m_reader(surfaces.m_source, configuration->m_decoderConfiguration),
      m_writer(surfaces.m_destination, configuration->m_encoderConfiguration),
      m_destination(m_writer.open(surfaces.m_destinationIndex)) {}

TexelSurface DownsampleFloatsJob::openSource(unsigned slice) const {
    return m_reader.open(sliceAfter(surfaces().m_sourceIndex, slice));
}

DownsampleFloatsJob::Kernels DownsampleFloatsJob::kernelsFor(bool isVolume, bool isInOrder) const {
    const TexelKind kind = m_reader.kind();
    const bool staysSrgb = kind != TexelKind::kFloats && kind == m_writer.kind() && !isVolume;
    return {isInOrder ? halveTexelsInOrderKernel(kind) : halveTexelsKernel(kind, isVolume),
            staysSrgb ? halveSrgbKernel(isInOrder) : nullptr};
}

void DownsampleFloatsJob::halveRowsInMemory(unsigned y, const TexelSurface* sources, unsigned slices,
                                            const Kernels& kernels) const {
    alignas(64) float read[kMostRows][kChunk * 2 * kFloatsPerTexel];
    alignas(64) float made[kChunk * kFloatsPerTexel];
    const unsigned end = std::min((y + 1) * kBlockSide, m_destination.m_tall);
    const unsigned chunk =
        m_reader.isStraight() && m_writer.isStraight() ? m_destination.m_wide : kChunk; // without the buffers
    bool isQuick = kernels.m_srgb != nullptr;
    for (unsigned row = y * kBlockSide; row < end; ++row) {
        if (isQuick) {
            const std::uint8_t* above[kRowsPerSlice] = {sources[0].m_rows.row(row * 2),
                                                        sources[0].m_rows.row(row * 2 + 1)};
            const std::size_t apart =
                kernels.m_srgb(m_destination.m_rows.row(row), above, m_destination.m_wide);
            isQuick = apart <= std::size_t{m_destination.m_wide} * kMostApartInEight * kColours / 8;
            continue;
        }
        for (unsigned x = 0; x < m_destination.m_wide; x += chunk) {
            const unsigned count = std::min(chunk, m_destination.m_wide - x);
            const void* above[kMostRows] = {};
            for (unsigned i = 0; i < slices * kRowsPerSlice; ++i) {
                above[i] = m_reader.row(sources[i / kRowsPerSlice], x * 2, row * 2 + i % kRowsPerSlice,
                                        count * 2, read[i]);
            }
            float* memory = m_writer.rowInMemory(m_destination, x, row);
            kernels.m_texels(memory != nullptr ? memory : made, above, count);
            if (memory == nullptr) {
                m_writer.putRow(m_destination, x, row, count, made);
            }
        }
    }
}

DownsampleHalvesJob::DownsampleHalvesJob(const DownsampleSurfaces& surfaces, Configuration* configuration,
                                         bool isVolume)
    : DownsampleFloatsJob(surfaces, configuration), m_slices(slicesOf(isVolume)),
      m_isInMemory(destination().hasRows()) {
    for (unsigned slice = 0; slice < m_slices; ++slice) {
        m_sources[slice] = openSource(slice);
        m_isInMemory = m_isInMemory && m_sources[slice].hasRows();
    }
    m_kernels = kernelsFor(isVolume, false);
    m_kernel = halveTexelsKernel(TexelKind::kFloats, isVolume);
}

// Two rows of blocks of each slice, and one of the destination.
std::size_t DownsampleHalvesJob::doCountFloats() const {
    return m_isInMemory ? 0
                        : roundedUp(destination().m_wide * 2) * (m_slices * 2 * kBlockSide) +
                              roundedUp(destination().m_wide) * kBlockSide;
}

void DownsampleHalvesJob::doBlockRow(unsigned y, float* floats) const {
    if (m_isInMemory) {
        halveRowsInMemory(y, m_sources, m_slices, m_kernels);
        return;
    }
    const std::size_t pitch = roundedUp(destination().m_wide * 2),
                      madePitch = roundedUp(destination().m_wide);
    const std::size_t slicePitch = pitch * 2 * kBlockSide;
    float* made = floats + slicePitch * m_slices;
    for (unsigned i = 0; i < m_slices * 2; ++i) {
        reader().blockRow(m_sources[i / 2], y * 2 + i % 2, floats + i * pitch * kBlockSide, pitch);
    }
    for (unsigned row = 0; row < kBlockSide; ++row) {
        const void* above[kMostRows] = {};
        for (unsigned i = 0; i < m_slices * kRowsPerSlice; ++i) {
            above[i] = floats + i / kRowsPerSlice * slicePitch + (row * 2 + i % kRowsPerSlice) * pitch;
        }
        m_kernel(made + row * madePitch, above, destination().m_wide);
    }
    writer().putBlockRow(destination(), y, made, madePitch);
}

DownsampleWindowsJob::DownsampleWindowsJob(const DownsampleSurfaces& surfaces, Configuration* configuration,
                                           bool isVolume)
    : DownsampleFloatsJob(surfaces, configuration) {
    const TexelSurface source = openSource(0);
    m_columns = windowsOver(source.m_wide, destination().m_wide);
    m_rows = windowsOver(source.m_tall, destination().m_tall);
    Window slices = {0, 1};
    if (isVolume) {
        const auto depthOf = [](const ElementProvider& provider, const SurfaceIndex& index) {
            return getDepthOfMip(provider.getTexture(), index.mip);
        };
        slices = windowUnder(surfaces.m_destinationIndex.depth,
                             depthOf(*surfaces.m_source, surfaces.m_sourceIndex),
                             depthOf(*surfaces.m_destination, surfaces.m_destinationIndex));
    }
    for (unsigned slice = slices.m_begin; slice < slices.m_end; ++slice) {
        m_slices.push_back(openSource(slice - slices.m_begin));
    }
    m_isHalfInMemory = !isVolume && source.m_wide == 2 * destination().m_wide &&
                       source.m_tall == 2 * destination().m_tall && source.hasRows() &&
                       destination().hasRows();
    m_kernels = kernelsFor(false, true);
}

// A row of blocks of the source, and the sums.
std::size_t DownsampleWindowsJob::doCountFloats() const {
    return m_isHalfInMemory
               ? 0
               : (roundedUp(m_slices.empty() ? 0 : m_slices[0].m_wide) + roundedUp(destination().m_wide)) *
                     kBlockSide;
}

unsigned DownsampleWindowsJob::lastRowOf(unsigned y) const {
    return std::min((y + 1) * kBlockSide, destination().m_tall) - 1;
}

void DownsampleWindowsJob::doBlockRow(unsigned y, float* floats) const {
    if (m_isHalfInMemory) {
        halveRowsInMemory(y, m_slices.data(), 1, m_kernels);
        return;
    }
    const std::size_t pitch = roundedUp(m_slices[0].m_wide), sumPitch = roundedUp(destination().m_wide);
    float* sums = floats + pitch * kBlockSide;
    std::fill_n(sums, sumPitch * kBlockSide, 0.0f);
    const unsigned begin = m_rows[y * kBlockSide].m_begin, end = m_rows[lastRowOf(y)].m_end;
    for (const TexelSurface& slice : m_slices) {
        for (unsigned sourceY = begin / kBlockSide; sourceY * kBlockSide < end; ++sourceY) {
            reader().blockRow(slice, sourceY, floats, pitch);
            sumUp(sums, sumPitch, floats, pitch, y, sourceY);
        }
    }
    divideByCounts(sums, sumPitch, y);
    writer().putBlockRow(destination(), y, sums, sumPitch);
}

// Adds what of row `sourceY` of the source's blocks lies under row `y` of the destination's.
void DownsampleWindowsJob::sumUp(float* sums, std::size_t sumPitch, const float* texels, std::size_t pitch,
                                 unsigned y, unsigned sourceY) const {
    const unsigned top = sourceY * kBlockSide;
    for (unsigned row = y * kBlockSide; row <= lastRowOf(y); ++row) {
        const Window tall = m_rows[row].within(top, top + kBlockSide);
        float* sum = sums + (row - y * kBlockSide) * sumPitch;
        for (const Window& window : m_columns) {
            Simd::Float4 total = Simd::loadFloats(sum);
            for (unsigned left = window.m_begin / kBlockSide * kBlockSide; left < window.m_end;
                 left += kBlockSide) {
                const Window wide = window.within(left, left + kBlockSide);
                for (unsigned v = tall.m_begin; v < tall.m_end; ++v) {
                    for (unsigned u = wide.m_begin; u < wide.m_end; ++u) {
                        total = total + Simd::loadFloats(texels + (v - top) * pitch + u * kFloatsPerTexel);
                    }
                }
            }
            Simd::store(sum, total);
            sum += kFloatsPerTexel;
        }
    }
}

void DownsampleWindowsJob::divideByCounts(float* sums, std::size_t pitch, unsigned y) const {
    for (unsigned row = y * kBlockSide; row <= lastRowOf(y); ++row) {
        const std::size_t perColumn = std::size_t{m_rows[row].size()} * m_slices.size();
        float* sum = sums + (row - y * kBlockSide) * pitch;
        for (const Window& window : m_columns) {
            const auto count = static_cast<float>(perColumn * window.size());
            Simd::store(sum, Simd::canonical<Simd::Lanes4>(Simd::loadFloats(sum) / Simd::splat(count)));
            sum += kFloatsPerTexel;
        }
    }
}

} // namespace qor::Texsmith::Raw
