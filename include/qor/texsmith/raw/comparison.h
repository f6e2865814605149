// How far two surfaces are apart: errors by a choice of metrics, differences as a surface, equality of bytes.
//
// The two have the same width, height, depth, mips, array entries, faces and view; anything else is reported,
// what one lacks then counts as zeros, and the functions return kErrorFailed when they are done. (A class
// reports it too, and works all the same.) Surfaces outside the array view and the range of mips hold no
// texels and do not count. Texels count as the providers' modifiers and the configuration's transforms make
// them. Results do not depend on the number of threads.
//
// Null arguments are reported, and the functions return kErrorFailed; so does a format without a decoder, or
// a destination without an encoder. All arguments stay the caller's and must not be changed during a call.
//
// The lanes of the channel types UInt, SInt and UBInt hold integers. Errors and differences of such surfaces
// are taken as if they were the bits of floats, and mean little: reformat to floats first. Equality compares
// bytes, whatever the type.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/element_provider.h"
#include "qor/texsmith/raw/image.h"
#include "qor/texsmith/raw/job_manager.h"
#include "qor/texsmith/raw/per_tile.h"
#include "qor/texsmith/raw/vector_math.h"

#include <atomic>
#include <cstdint>

namespace qor::Texsmith::Raw {

// A metric: per channel, the sum of a term over pairs of texels. Stateless; called from many threads. Nobody
// deletes it through this base.
//
// Those of the library sum in a fixed order: texel i of a run goes to partial sum i mod 8, and the eight are
// folded by halves, the upper onto the lower.
class QOR_TEXSMITH_API SquaredErrorCalculator {
public:
    VectorFloat calculate(const VectorFloat* a, const VectorFloat* b, unsigned count) const {
        return doCalculate(a, b, count);
    }

protected:
    ~SquaredErrorCalculator() = default;

private:
    virtual VectorFloat doCalculate(const VectorFloat* a, const VectorFloat* b, unsigned count) const = 0;
};

// (a - b)^2 in all channels.
class QOR_TEXSMITH_API StandardSquaredErrorCalculator final : public SquaredErrorCalculator {
private:
    VectorFloat doCalculate(const VectorFloat* a, const VectorFloat* b, unsigned count) const override;
};

// Of unit vectors whose X and Y are stored in 0..1 and whose Z follows from them: half the difference,
// squared, in X, Y and Z; 0 in W. Stored Z and W play no part.
class QOR_TEXSMITH_API TangentSpaceNormalErrorCalculator final : public SquaredErrorCalculator {
private:
    VectorFloat doCalculate(const VectorFloat* a, const VectorFloat* b, unsigned count) const override;
};

// The special ones weigh the error of colours by alpha, so that what is transparent costs nothing; alpha
// itself counts as in the standard one. By the alpha of a:
class QOR_TEXSMITH_API SpecialSquaredErrorCalculator0 final : public SquaredErrorCalculator {
private:
    VectorFloat doCalculate(const VectorFloat* a, const VectorFloat* b, unsigned count) const override;
};
// By the mean of both alphas:
class QOR_TEXSMITH_API SpecialSquaredErrorCalculator1 final : public SquaredErrorCalculator {
private:
    VectorFloat doCalculate(const VectorFloat* a, const VectorFloat* b, unsigned count) const override;
};
// Colours premultiplied by their own alpha:
class QOR_TEXSMITH_API SpecialSquaredErrorCalculator2 final : public SquaredErrorCalculator {
private:
    VectorFloat doCalculate(const VectorFloat* a, const VectorFloat* b, unsigned count) const override;
};

// Sums of errors and counts of texels, a slot for each mip; array entries, faces and slices share their
// mip's. The mean squared error of mip m is sums[m] / counts[m].
struct QOR_TEXSMITH_API ErrorSummary {
    static constexpr unsigned kMaxMips = 16;

    std::uint32_t mipCount;
    VectorFloat sums[kMaxMips];
    std::uint32_t counts[kMaxMips];

    void Clear();
    void Add(const ErrorSummary& other); // not mipCount
    // Of all mips together, as compare gives it; zeros where no texel was counted.
    VectorFloat Mean() const;
};

// The walk behind compare, for those who want the mips apart. `calculator` must outlive it.
class QOR_TEXSMITH_API CalculateErrorPerTexel final : public PerTile {
public:
    CalculateErrorPerTexel(ErrorSummary* destination, const ElementProvider* imageA,
                           const ElementProvider* imageB, Configuration* configuration,
                           const SquaredErrorCalculator* calculator);

private:
    Error doPrologue(unsigned callbacks) const override;
    Error doPerTileCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex, unsigned x,
                            unsigned y) const override;
    Error doEpilogue(unsigned callbacks) const override;
    OpenSurface doOpenSurface(const SurfaceIndex* surfaceIndex) const override;
    unsigned doLeadingTiles(unsigned callbackId, const SurfaceIndex* surfaceIndex, const OpenSurface& surface,
                            unsigned y) const override;
    void addTile(unsigned callbackId, unsigned mip, unsigned x, unsigned y, const Tile& a,
                 const Tile& b) const;

    ErrorSummary* m_destination;
    const ElementProvider* m_imageA;
    const ElementProvider* m_imageB;
    const SquaredErrorCalculator* m_calculator;
    DecoderConfiguration m_decoderA;
    DecoderConfiguration m_decoderB;
    bool m_isUsable;
    bool m_areAlike; // in dimensions
    mutable ErrorSummary m_slots[Job::kMaxCallbacks];
};

// Writes |a - b| into a destination of any format that can be written.
class QOR_TEXSMITH_API CalculateAbsoluteDifferencePerTexel final : public PerTile {
public:
    CalculateAbsoluteDifferencePerTexel(ElementProvider* destination, const ElementProvider* imageA,
                                        const ElementProvider* imageB, Configuration* configuration);

private:
    Error doPerTileCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex, unsigned x,
                            unsigned y) const override;

    ElementProvider* m_destination;
    const ElementProvider* m_imageA;
    const ElementProvider* m_imageB;
    EncoderConfiguration m_encoder;
    DecoderConfiguration m_decoderA;
    DecoderConfiguration m_decoderB;
    bool m_isUsable;
};

// Compares elements as they are stored. A callback that finds a difference fails, and with it the job.
class QOR_TEXSMITH_API AreBitwiseEqualPerTile final : public PerTile {
public:
    AreBitwiseEqualPerTile(const ElementProvider* a, const ElementProvider* b);

    bool areEqual() const { return m_areEqual.load(std::memory_order_relaxed); }

private:
    Error doPerTileCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex, unsigned x,
                            unsigned y) const override;
    OpenSurface doOpenSurface(const SurfaceIndex* surfaceIndex) const override;
    unsigned doLeadingTiles(unsigned callbackId, const SurfaceIndex* surfaceIndex, const OpenSurface& surface,
                            unsigned y) const override;

    const ElementProvider* m_a;
    const ElementProvider* m_b;
    unsigned m_bytesPerTile;
    bool m_isUsable;
    mutable std::atomic<bool> m_areEqual; // only ever cleared; an early way out for the other callbacks
};

// The mean squared error per channel over all texels of all surfaces in view, all mips together; zeros where
// there are none. A provider compared with itself gives zeros without being read. PSNR in dB for a peak p is
// 10 * log10(p * p / error).
QOR_TEXSMITH_API Error compare(VectorFloat* result, const ElementProvider* sourceA,
                               const ElementProvider* sourceB, Configuration* configuration,
                               const SquaredErrorCalculator* calculator);

// Writes |a - b|, texel by texel. `sourceA` and `sourceB` have the same dimensions and format, and
// `destination` those of `sourceA`; others are reported, used all the same, and the call returns
// kErrorFailed.
QOR_TEXSMITH_API Error getAbsoluteDifference(ElementProvider* destination, const ElementProvider* sourceA,
                                             const ElementProvider* sourceB, Configuration* configuration);

// kErrorNone when all stored elements are equal, kErrorFailed when some differ. The providers have the same
// dimensions, format and modifiers; others are reported, and are not equal.
QOR_TEXSMITH_API Error areBitwiseEqual(const ElementProvider* a, const ElementProvider* b,
                                       Configuration* configuration);

} // namespace qor::Texsmith::Raw
