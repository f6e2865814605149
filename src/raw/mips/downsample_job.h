// Jobs that make one surface from a larger one, by the mean of the texels under each texel.
#pragma once

#include "qor/texsmith/raw/per_tile.h"
#include "raw/mips/downsample_window.h"
#include "raw/mips/halving_kernels.h"
#include "raw/mips/texel_rows.h"

#include <atomic>
#include <vector>

namespace qor::Texsmith::Raw {

struct DownsampleSurfaces {
    const ElementProvider* m_source;
    SurfaceIndex m_sourceIndex; // of a volume, the first slice that counts
    ElementProvider* m_destination;
    SurfaceIndex m_destinationIndex;
};

// Shares out the rows of blocks of the destination surface, by pairs: a provider may be able to write only
// whole tiles. The abort word is looked at once per row of blocks.
class DownsampleJob : public PerBlockRowsJob {
public:
    // Also copies the source as it is stored, each row before it is read: an exact half of rows in memory
    // only. Both have the same pitch.
    void alsoCopy(const ElementRows& from, const ElementRows& to) {
        m_copyFrom = from;
        m_copyTo = to;
    }

protected:
    DownsampleJob(const DownsampleSurfaces& surfaces, Configuration* configuration);
    ~DownsampleJob() noexcept(false) override = default;

    const DownsampleSurfaces& surfaces() const { return m_surfaces; }

private:
    Error doCallback(unsigned callbackId) const final;
    Error doPerBlockRowsCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex, unsigned begin,
                                 unsigned end) const final;
    // Floats that a row of blocks needs to work in. Each callback has its own.
    virtual std::size_t doCountFloats() const { return 0; }
    virtual void doBlockRow(unsigned y, float* floats) const = 0;
    void copySourceOf(unsigned y) const;

    DownsampleSurfaces m_surfaces;
    ElementRows m_copyFrom;
    ElementRows m_copyTo;
    IAllocator m_allocator;
    mutable std::atomic_flag m_hasReported; // that there is no memory to work in
};

// Exact halves, in stored bytes.
class DownsampleBytesJob : public DownsampleJob {
protected:
    DownsampleBytesJob(const DownsampleSurfaces& surfaces, Configuration* configuration, bool isVolume,
                       bool isSigned);

private:
    void doBlockRow(unsigned y, float* floats) const override;
    void halveRows(unsigned y) const;
    void halveTile(unsigned x, unsigned y) const;

    HalveBytes m_kernel;
    unsigned m_slices;
    ElementRows m_from[2];
    ElementRows m_to;
};

// What the jobs in floats share.
class DownsampleFloatsJob : public DownsampleJob {
protected:
    DownsampleFloatsJob(const DownsampleSurfaces& surfaces, Configuration* configuration);

    // A slice of the source, counted from the first.
    TexelSurface openSource(unsigned slice) const;
    const TexelReader& reader() const { return m_reader; }
    const TexelWriter& writer() const { return m_writer; }
    const TexelSurface& destination() const { return m_destination; }
    // What halves rows in memory: the texels of each slice in pairs, or one after the other.
    struct Kernels {
        HalveTexels m_texels;
        HalveSrgb m_srgb; // null, or what goes from bytes to bytes
    };
    Kernels kernelsFor(bool isVolume, bool isInOrder) const;
    // Halves the rows in memory that lie above row `y` of blocks.
    void halveRowsInMemory(unsigned y, const TexelSurface* sources, unsigned slices,
                           const Kernels& kernels) const;

private:
    TexelReader m_reader;
    TexelWriter m_writer;
    TexelSurface m_destination;
};

// Exact halves.
class DownsampleHalvesJob : public DownsampleFloatsJob {
protected:
    DownsampleHalvesJob(const DownsampleSurfaces& surfaces, Configuration* configuration, bool isVolume);

private:
    std::size_t doCountFloats() const override;
    void doBlockRow(unsigned y, float* floats) const override;

    TexelSurface m_sources[2];
    unsigned m_slices;
    bool m_isInMemory;
    Kernels m_kernels; // of rows in memory
    HalveTexels m_kernel;
};

// Any ratio. The texels under a texel are summed up slice by slice, block by block and row by row.
class DownsampleWindowsJob : public DownsampleFloatsJob {
protected:
    DownsampleWindowsJob(const DownsampleSurfaces& surfaces, Configuration* configuration, bool isVolume);

private:
    std::size_t doCountFloats() const override;
    void doBlockRow(unsigned y, float* floats) const override;
    void sumUp(float* sums, std::size_t sumPitch, const float* texels, std::size_t pitch, unsigned y,
               unsigned sourceY) const;
    void divideByCounts(float* sums, std::size_t pitch, unsigned y) const;
    unsigned lastRowOf(unsigned y) const;

    std::vector<Window> m_columns;
    std::vector<Window> m_rows;
    std::vector<TexelSurface> m_slices;
    bool m_isHalfInMemory;
    Kernels m_kernels;
};

class Downsample2dSlowJob final : public DownsampleWindowsJob {
public:
    Downsample2dSlowJob(const DownsampleSurfaces& surfaces, Configuration* configuration)
        : DownsampleWindowsJob(surfaces, configuration, false) {}
};
class Downsample2dFastJob final : public DownsampleHalvesJob {
public:
    Downsample2dFastJob(const DownsampleSurfaces& surfaces, Configuration* configuration)
        : DownsampleHalvesJob(surfaces, configuration, false) {}
};
class Downsample2dFastUnsigned8888Job final : public DownsampleBytesJob {
public:
    Downsample2dFastUnsigned8888Job(const DownsampleSurfaces& surfaces, Configuration* configuration)
        : DownsampleBytesJob(surfaces, configuration, false, false) {}
};
class Downsample2dFastSigned8888Job final : public DownsampleBytesJob {
public:
    Downsample2dFastSigned8888Job(const DownsampleSurfaces& surfaces, Configuration* configuration)
        : DownsampleBytesJob(surfaces, configuration, false, true) {}
};
class Downsample3dSlowJob final : public DownsampleWindowsJob {
public:
    Downsample3dSlowJob(const DownsampleSurfaces& surfaces, Configuration* configuration)
        : DownsampleWindowsJob(surfaces, configuration, true) {}
};
class Downsample3dFastJob final : public DownsampleHalvesJob {
public:
    Downsample3dFastJob(const DownsampleSurfaces& surfaces, Configuration* configuration)
        : DownsampleHalvesJob(surfaces, configuration, true) {}
};
class Downsample3dFastUnsigned8888Job final : public DownsampleBytesJob {
public:
    Downsample3dFastUnsigned8888Job(const DownsampleSurfaces& surfaces, Configuration* configuration)
        : DownsampleBytesJob(surfaces, configuration, true, false) {}
};
class Downsample3dFastSigned8888Job final : public DownsampleBytesJob {
public:
    Downsample3dFastSigned8888Job(const DownsampleSurfaces& surfaces, Configuration* configuration)
        : DownsampleBytesJob(surfaces, configuration, true, true) {}
};

} // namespace qor::Texsmith::Raw
