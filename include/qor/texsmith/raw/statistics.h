// Measures of a surface: range, mean, histograms, principal axes, constant channels; and the change of its
// range of values that follows from them.
//
// All run as jobs over every texel of every surface that a provider shows: all mips, array entries, faces,
// slices and fragments within its array view and its range of mips. Texels count as the provider's modifiers
// and the configuration's decoder transform make them; those beyond the edges of a surface do not count. Each
// callback of a job has an accumulator of its own; they are merged in the order of the callbacks, so that a
// result does not depend on the number of threads. It may depend, in the last bits of sums, on the number of
// callbacks.
//
// The lanes of the channel types UInt, SInt and UBInt hold integers, which are measured as if they were the
// bits of floats: reformat such a surface first.
//
// The classes are PerTile objects. Several may stand in the chain of one PerTileJob and share its walk:
//
//     MinMaxMean range;
//     MinMaxMeanPerTexel rangePerTexel(&range, &image, &configuration);
//     FastHistogramPerTexel histogramPerTexel(&image, &configuration);
//     PerTile* chain[] = {&rangePerTexel, &histogramPerTexel};
//     PerTileJob job(&image, chain, &configuration, 2);
//     configuration.m_jobManager->submitAndStall(&job);
//
// They are large (up to 128 KiB of accumulators) and belong on the stack of the function that runs the job.
// Null arguments are reported; the functions then return kErrorFailed, and a class fails its callbacks. A
// format without a decoder fails as well. Providers and configurations stay the caller's and are kept for as
// long as an object or a call lives; neither may be changed meanwhile. Accumulators are the job's own, so
// that one provider may be measured by several calls at once.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/element_provider.h"
#include "qor/texsmith/raw/job_manager.h"
#include "qor/texsmith/raw/per_tile.h"
#include "qor/texsmith/raw/transform.h"
#include "qor/texsmith/raw/vector_math.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

// Range and sum of texels, per channel. A lane whose value is a NaN is left out of min and max, and makes the
// sum a NaN.
struct QOR_TEXSMITH_API MinMaxMean {
    VectorFloat min;
    VectorFloat max;
    VectorFloat sum;
    std::uint32_t count; // texels

    // `max` deliberately starts at the least positive normal float, 1.17549435e-38: of values that are all
    // below it, that is what is reported.
    void Clear();

    void Add(const VectorFloat& texel);
    // All 64 texels. They are summed by halves, the upper onto the lower, before the sum is added.
    void Add(const Tile& tile);

    void Add(const MinMaxMean& other);
    VectorFloat Mean() const; // of no texels: NaNs
};

// Counts of texels by value, 256 bins for each of the channels X, Y, Z, W.
struct QOR_TEXSMITH_API Histogram {
    std::uint32_t m_bins[4][256];
    std::uint32_t count; // texels

    void Clear();
    void Add(const Histogram& other);
};

// A histogram of the values 0 to 1 that is quick to take. A bin stops at 65535.
struct QOR_TEXSMITH_API FastHistogram {
    static constexpr int kBins = 256;
    static constexpr std::uint32_t kFlagOutside = 1;   // some value lay outside 0..1, or was a NaN
    static constexpr std::uint32_t kFlagNotBytes = 2;  // some value, times 255, was not a whole number
    static constexpr std::uint32_t kFlagSaturated = 4; // some bin stopped at 65535

    VectorFloat min; // the true range, before values are clamped to 0..1
    VectorFloat max;
    std::uint16_t m_bins[4][kBins];
    std::uint32_t flags;
    std::uint32_t count; // texels

    void Clear();
    void Add(const FastHistogram& other);
};

// For each channel, how many texels are exactly 0, and how many exactly 1.
struct ConstantCounts {
    std::uint32_t m_zeros[4];
    std::uint32_t m_ones[4];
};

static_assert(sizeof(MinMaxMean) == 64 && sizeof(Histogram) == 4100 && sizeof(FastHistogram) == 2096);

// The pass behind getMinMaxMean. Writes `destination` when all callbacks have succeeded.
class QOR_TEXSMITH_API MinMaxMeanPerTexel final : public PerTexel {
public:
    MinMaxMeanPerTexel(MinMaxMean* destination, const ElementProvider* source, Configuration* configuration);

private:
    Error doPrologue(unsigned callbacks) const override;
    Error doEpilogue(unsigned callbacks) const override;
    void doTexels(unsigned callbackId, const VectorFloat* texels, unsigned count) const override;
    void doTiles(unsigned callbackId, const Tile* tiles, unsigned count) const override;

    MinMaxMean* m_destination;
    mutable MinMaxMean m_slots[Job::kMaxCallbacks];
};

// Sums the outer products of (texel - centre) with itself. Not divided by the number of texels.
class QOR_TEXSMITH_API CovariancePerTexel final : public PerTexel {
public:
    CovariancePerTexel(Matrix* destination, const VectorFloat& centre, const ElementProvider* source,
                       Configuration* configuration);

private:
    struct Slot {
        Matrix m_rows;
        VectorFloat m_centre;
    };

    Error doPrologue(unsigned callbacks) const override;
    Error doEpilogue(unsigned callbacks) const override;
    void doTexels(unsigned callbackId, const VectorFloat* texels, unsigned count) const override;

    Matrix* m_destination;
    VectorFloat m_centre;
    mutable Slot m_slots[Job::kMaxCallbacks];
};

// Counts values as they are stored: neither the provider's modifiers nor the configuration's transform take
// part, because a constant in a format stands before both.
class QOR_TEXSMITH_API ConstantsPerTexel final : public PerTexel {
public:
    ConstantsPerTexel(ConstantCounts* destination, const ElementProvider* source,
                      Configuration* configuration);

private:
    Error doPrologue(unsigned callbacks) const override;
    Error doEpilogue(unsigned callbacks) const override;
    void doTexels(unsigned callbackId, const VectorFloat* texels, unsigned count) const override;

    ConstantCounts* m_destination;
    mutable ConstantCounts m_slots[Job::kMaxCallbacks];
};

// Bins relative to `range`: its lowest value is bin 0, its highest bin 255, and what lies outside goes to
// those two. A channel of zero extent has all its texels in bin 0, as has a NaN.
class QOR_TEXSMITH_API HistogramPerTexel final : public PerTexel {
public:
    HistogramPerTexel(Histogram* destination, const MinMax& range, const ElementProvider* source,
                      Configuration* configuration);

private:
    Error doPrologue(unsigned callbacks) const override;
    Error doEpilogue(unsigned callbacks) const override;
    void doTexels(unsigned callbackId, const VectorFloat* texels, unsigned count) const override;
    unsigned doLeadingTiles(unsigned callbackId, const SurfaceIndex* surfaceIndex, const OpenSurface& surface,
                            unsigned y) const override;

    Histogram* m_destination;
    VectorFloat m_scale;
    VectorFloat m_offset;
    std::uint8_t m_binOfByte[4][256]; // of the value that a byte stands for
    mutable Histogram m_slots[Job::kMaxCallbacks];
};

// Bins of the values 0 to 1. The result is fetched after the job, and is not merged by it.
class QOR_TEXSMITH_API FastHistogramPerTexel final : public PerTexel {
public:
    FastHistogramPerTexel(const ElementProvider* source, Configuration* configuration);

    // `workers` is the job's getCallbacks().
    void getHistogram(FastHistogram* destination, unsigned workers) const;

private:
    Error doPrologue(unsigned callbacks) const override;
    void doTexels(unsigned callbackId, const VectorFloat* texels, unsigned count) const override;
    void doTiles(unsigned callbackId, const Tile* tiles, unsigned count) const override;
    unsigned doLeadingTiles(unsigned callbackId, const SurfaceIndex* surfaceIndex, const OpenSurface& surface,
                            unsigned y) const override;

    mutable FastHistogram m_slots[Job::kMaxCallbacks];
};

// `destMinMaxMean` takes the result, which is that of no texels when the call fails. Where the view shows no
// surface it counts no texels, and that is no failure.
QOR_TEXSMITH_API Error getMinMaxMean(const ElementProvider* source, MinMaxMean* destMinMaxMean,
                                     Configuration* configuration);
// `srcHistogram` takes the result; `srcMinMax` is the range of the bins, as HistogramPerTexel has it.
QOR_TEXSMITH_API Error getHistogram(const ElementProvider* source, Histogram* srcHistogram,
                                    const MinMax* srcMinMax, Configuration* configuration);

// The principal axes of the texels, by power iteration with deflation: eight rounds for each of the four
// axes, which start from the extent of the values. fromPca maps coordinates along the axes to texels: row k
// of its matrix is axis k, of length one, the axis of most variance first, and its offset is the mean. toPca
// maps texels to coordinates. Rows of axes without variance are zero: fromPca then gives back only what toPca
// kept, and for a surface of one value all four rows and the offset of toPca are zero. Where the mean of a
// channel is no finite number there are no axes, and the offsets are no numbers either.
//
// Changes the decoder transform of `configuration` while it runs, and restores it however it ends.
QOR_TEXSMITH_API Error getPca(const ElementProvider* elementProvider, Madd* fromPca, Madd* toPca,
                              Configuration* configuration);

// Finds channels that are 0, or 1, in every texel, and makes the format of `source` say so: their selects
// become the constants. What counts is what is stored, before modifiers and transforms. All else of the
// descriptor and the texels stay as they are, and so does the format where the view shows no texel.
QOR_TEXSMITH_API Error markConstantChannels(ElementProvider* source, Configuration* configuration);

enum RenormalizationScheme : std::uint32_t {
    RenormalizationNone = 0,     // leaves the surface as it is
    RenormalizationChannels = 1, // each channel for itself
    RenormalizationPca = 2,      // along the principal axes
};

// Spreads the values of `source` over the whole range of the destination's channel type: measures the source
// and sets the modifiers of `destination`, so that a reformat into it stores the spread values and a read
// from it gives the original ones. Moves no texels.
//
// A channel whose mean or range is no finite number, or of which no texel has a value, keeps its values; so
// do all channels where the type's range is that of all floats. RenormalizationPca takes the channels for
// themselves where the mean of one of them is no finite number.
//
// A `fraction` below 1 keeps that part of the texels and lets the others be clamped. With
// m_renormalizeFlag of the encoder, and a destination of BC1, BC2, BC3, BC6 or BC7, red, green and blue share
// one range. After a failure, which is reported where an argument is at fault, the modifiers are as they
// were.
//
// Changes the decoder transform of `configuration` while it runs, and restores it however it ends.
QOR_TEXSMITH_API void renormalize(const ElementProvider* source, ElementProvider* destination,
                                  Configuration* configuration, RenormalizationScheme scheme, float fraction);

} // namespace qor::Texsmith::Raw
