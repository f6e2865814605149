// Jobs as walks over surfaces: per surface, per row of elements or blocks, per tile, per texel.
//
// Every callback walks every surface and takes a near-equal share of the rows of each, so that one large
// surface uses all callbacks. Callbacks beyond the number of rows get an empty band. No two callbacks touch
// the same tile of a tile walk.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/element_provider.h"
#include "qor/texsmith/raw/job_manager.h"
#include "qor/texsmith/raw/texture.h"

#include <algorithm>

namespace qor::Texsmith::Raw {

// Calls doPerSurfaceCallback in every callback for every surface of the provider, which stays the caller's.
// The number of callbacks is the configuration's wish; without one, 32. A callback ends at its first failure.
// A null provider is reported, and fails the callbacks.
class QOR_TEXSMITH_API PerSurfaceJob : public Job {
public:
    explicit PerSurfaceJob(const ElementProvider* elementProvider);
    PerSurfaceJob(const ElementProvider* elementProvider, Configuration* configuration);

protected:
    const ElementProvider* getElementProvider() const { return m_elementProvider; }
    Error doCallback(unsigned callbackId) const override;

private:
    virtual Error doPerSurfaceCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex) const = 0;

    const ElementProvider* m_elementProvider;
    SurfaceCount m_surfaceCount;
};

// The same by rows of elements: `begin` to before `end` is the share of this callback.
class QOR_TEXSMITH_API PerElementRowsJob : public PerSurfaceJob {
public:
    using PerSurfaceJob::PerSurfaceJob;

private:
    Error doPerSurfaceCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex) const override;
    virtual Error doPerElementRowsCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex,
                                           unsigned begin, unsigned end) const = 0;
};

// The same by rows of blocks of 4 x 4 texels. Two callbacks may get the halves of one row of tiles: only for
// providers that override doPutBlock.
class QOR_TEXSMITH_API PerBlockRowsJob : public PerSurfaceJob {
public:
    using PerSurfaceJob::PerSurfaceJob;

private:
    Error doPerSurfaceCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex) const override;
    virtual Error doPerBlockRowsCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex,
                                         unsigned begin, unsigned end) const = 0;
};

// A surface as a pass over rows of tiles finds it. Either side may have rows in memory, or hand out strips.
struct OpenSurface {
    ElementRows m_source;
    ElementRows m_destination;
    bool m_hasRows = false;  // false: tile by tile
    bool m_isHidden = false; // outside the view: there is nothing to measure

    // The walk of a pass over those tiles of row `y` that lie whole in the surface of `provider`, at most
    // `atOnce` at a time: calls `use(x, count)` until that returns false, and returns how many were done.
    // None where there are no rows.
    template <typename Use>
    unsigned forWholeTiles(const ElementProvider& provider, unsigned mip, unsigned y, unsigned atOnce,
                           Use use) const {
        if (!m_hasRows || y * 8 + 8 > provider.getPixelsTall(mip)) {
            return 0;
        }
        const unsigned whole = provider.getPixelsWide(mip) / 8;
        for (unsigned x = 0; x < whole; x += atOnce) {
            if (!use(x, (std::min)(atOnce, whole - x))) {
                return x;
            }
        }
        return whole;
    }
};

// Work on one tile, apart from the job, so that several can run in one pass. Lives on the stack of the
// operation beside its PerTileJob. Results that span callbacks go into one accumulator per callback, made in
// the prologue and folded in the epilogue.
//
// A pass that can work on rows in memory takes tiles from the left of a row of tiles all at once, and is then
// called for the others only, before the passes behind it in a chain. The result is the same to the bit.
class QOR_TEXSMITH_API PerTile {
public:
    Error prologue(unsigned callbacks) const { return doPrologue(callbacks); }
    Error perTileCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex, unsigned x,
                          unsigned y) const;
    Error epilogue(unsigned callbacks) const { return doEpilogue(callbacks); }
    // Asked once for each surface and callback. A null index is reported and opens nothing.
    OpenSurface openSurface(const SurfaceIndex* surfaceIndex) const;
    // Does tiles 0 to n - 1 of row `y` and returns n; 0 leaves them all to perTileCallback.
    unsigned leadingTiles(unsigned callbackId, const SurfaceIndex* surfaceIndex, const OpenSurface& surface,
                          unsigned y) const;

protected:
    ~PerTile() = default;

private:
    virtual Error doPrologue(unsigned callbacks) const;
    virtual Error doPerTileCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex, unsigned x,
                                    unsigned y) const = 0;
    virtual Error doEpilogue(unsigned callbacks) const;
    virtual OpenSurface doOpenSurface(const SurfaceIndex* surfaceIndex) const;
    virtual unsigned doLeadingTiles(unsigned callbackId, const SurfaceIndex* surfaceIndex,
                                    const OpenSurface& surface, unsigned y) const;
};

// Runs a chain of PerTile over all tiles. The prologues run in the constructor, on the caller's thread; the
// epilogues on the thread of the last finisher. The abort word is looked at once per row of tiles.
class QOR_TEXSMITH_API PerTileJob : public PerSurfaceJob {
public:
    static constexpr unsigned kMaxChain = 16;

    PerTileJob(const ElementProvider* elementProvider, PerTile* perTile, Configuration* configuration);
    // A chain above 16 is reported, and so are null entries; the callbacks of such a job fail.
    PerTileJob(const ElementProvider* elementProvider, PerTile** chain, Configuration* configuration,
               unsigned length);

private:
    void init(PerTile** chain, unsigned length);
    Error doCallback(unsigned callbackId) const override;
    Error doPerSurfaceCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex) const override;
    Error doEpilogue() const override;
    Error walkRow(unsigned callbackId, const SurfaceIndex* surfaceIndex, const OpenSurface* surfaces,
                  unsigned y) const;
    // The rest of a row, by a part of the chain.
    struct FirstTile {
        unsigned m_x, m_y;
    };
    struct Passes {
        unsigned m_begin, m_end;
    };
    Error walkTiles(unsigned callbackId, const SurfaceIndex* surfaceIndex, FirstTile first,
                    Passes passes) const;

    PerTile* m_chain[kMaxChain];
    unsigned m_length;
    bool m_isWhole; // nothing of the chain was left out
};

// Decoded texels, in row order: 64 at once for a whole tile, one at a time where a tile overhangs the
// surface. The provider's modifiers and the configuration's decoder take part. Where the provider has its
// rows in memory the tiles are decoded from there, in the same order. Surfaces outside the provider's array
// view and range of mips have no texels and are passed over.
class QOR_TEXSMITH_API PerTexel : public PerTile {
public:
    PerTexel(const ElementProvider* elementProvider, Configuration* configuration);

protected:
    ~PerTexel() = default;
    const ElementProvider* getElementProvider() const { return m_elementProvider; }
    const DecoderConfiguration& getDecoderConfiguration() const { return m_decoderConfiguration; }
    // For the constructors of those that want texels as they are stored: neither modifiers nor transforms.
    void leaveOutTransforms() { m_decoderConfiguration.m_transform.Init(); }
    // For the constructors of those that cannot work: all callbacks fail.
    void refuse() { m_elementProvider = nullptr; }

    Error doPerTileCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex, unsigned x,
                            unsigned y) const override;
    OpenSurface doOpenSurface(const SurfaceIndex* surfaceIndex) const override;
    unsigned doLeadingTiles(unsigned callbackId, const SurfaceIndex* surfaceIndex, const OpenSurface& surface,
                            unsigned y) const override;

private:
    virtual void doTexels(unsigned callbackId, const VectorFloat* texels, unsigned count) const = 0;
    // Whole tiles that follow each other in the walk. The default hands them to doTexels one by one.
    virtual void doTiles(unsigned callbackId, const Tile* tiles, unsigned count) const;
    void reportTexels(unsigned callbackId, const Tile& texels, unsigned mip, unsigned x, unsigned y) const;

    const ElementProvider* m_elementProvider;
    DecoderConfiguration m_decoderConfiguration;
};

} // namespace qor::Texsmith::Raw
