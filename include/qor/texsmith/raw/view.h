// Views: providers that own no texels.
//
// A proxy view is a two-dimensional surface made of tiles of its target. Where a view shows nothing, reads
// give zeros and writes do nothing. Views keep no per-call state, so that many threads may use one; the
// target must outlive them, and copies of a view have the same target. A target that changes its size or its
// format later keeps the view as it was made: it then shows what lies at the same tiles, and zeros beyond.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/element_provider.h"
#include "qor/texsmith/raw/tilers.h"

#include <cstddef>
#include <cstdint>

namespace qor::Texsmith::Raw {

class QOR_TEXSMITH_API ProxyElementProvider : public ElementProvider {
protected:
    const ElementProvider* getProxied() const { return m_proxied; }
    // Takes the target's modifiers along.
    void setProxied(const ElementProvider* target);

private:
    void doGetElement(const SurfaceIndex* surfaceIndex, VectorFloat* element, unsigned x,
                      unsigned y) const override;
    void doPutElement(const SurfaceIndex* surfaceIndex, const VectorFloat* element, unsigned x,
                      unsigned y) const override;
    void doGetBlock(const SurfaceIndex* surfaceIndex, Block* block, unsigned x, unsigned y) const override;
    void doPutBlock(const SurfaceIndex* surfaceIndex, const Block* block, unsigned x,
                    unsigned y) const override;
    void doGetTile(const SurfaceIndex* surfaceIndex, Tile* tile, unsigned x, unsigned y) const override;
    void doPutTile(const SurfaceIndex* surfaceIndex, const Tile* tile, unsigned x, unsigned y) const override;
    void doGetTexel(const SurfaceIndex* surfaceIndex, Properties* properties, unsigned x,
                    unsigned y) const override;
    // Turns a tile of the view into a surface and tile of the target; false where the view shows nothing.
    virtual bool doAdjustTileForTarget(SurfaceIndex* index, unsigned* x, unsigned* y) const = 0;
    bool adjust(SurfaceIndex* index, unsigned* x, unsigned* y) const;

    const ElementProvider* m_proxied = nullptr;
};

// One surface of another provider, at its exact size.
class QOR_TEXSMITH_API AsSurfaceElementProvider : public ProxyElementProvider {
public:
    AsSurfaceElementProvider() = default;
    AsSurfaceElementProvider(const ElementProvider* target, const SurfaceIndex* surfaceIndex);

protected:
    void setTarget(const ElementProvider* target, const SurfaceIndex* surfaceIndex);

private:
    bool doAdjustTileForTarget(SurfaceIndex* index, unsigned* x, unsigned* y) const override;
    const std::type_info* doGetRowsClass() const override;
    ElementRows doGetElementRows(const SurfaceIndex* surfaceIndex) const override;
    bool doGetStrip(const SurfaceIndex* surfaceIndex, const ElementRows& strip, unsigned x,
                    unsigned y) const override;
    bool doPutStrip(const SurfaceIndex* surfaceIndex, const ElementRows& strip, unsigned x,
                    unsigned y) const override;
    bool hasShapeOfTarget() const;

    SurfaceIndex m_surfaceIndex;
};

// A tiled texture in memory. The memory of the texture bounds every access: tiles beyond it read zeros and
// drop writes. A large object.
class QOR_TEXSMITH_API TextureElementProvider : public ElementProvider {
public:
    static constexpr unsigned kMips = 16;
    static constexpr unsigned kSlices = 16;

    TextureElementProvider() = default;
    explicit TextureElementProvider(const Texture* texture);
    TextureElementProvider(const TextureElementProvider&) = default; // Tilers re-point themselves
    TextureElementProvider& operator=(const TextureElementProvider&) = default;

private:
    void doGetBlock(const SurfaceIndex* surfaceIndex, Block* block, unsigned x, unsigned y) const override;
    void doPutBlock(const SurfaceIndex* surfaceIndex, const Block* block, unsigned x,
                    unsigned y) const override;
    void doGetTile(const SurfaceIndex* surfaceIndex, Tile* tile, unsigned x, unsigned y) const override;
    void doPutTile(const SurfaceIndex* surfaceIndex, const Tile* tile, unsigned x, unsigned y) const override;
    const std::type_info* doGetRowsClass() const override;
    bool doGetStrip(const SurfaceIndex* surfaceIndex, const ElementRows& strip, unsigned x,
                    unsigned y) const override;
    bool doPutStrip(const SurfaceIndex* surfaceIndex, const ElementRows& strip, unsigned x,
                    unsigned y) const override;
    // A block or a tile as it lies in its buffer: a square of elements.
    struct Area {
        GpuAddress::SurfaceRegion m_region;
        unsigned m_side;
        std::size_t m_bufferBytes;
    };
    void getArea(const SurfaceIndex* surfaceIndex, void* buffer, const Area& area) const;
    void putArea(const SurfaceIndex* surfaceIndex, const void* buffer, const Area& area) const;
    const Tilers& tilersFor(const SurfaceIndex* surfaceIndex) const;
    // The tiled memory of a surface, or null when it does not lie in the texture's memory.
    std::uint8_t* surfaceAddress(const SurfaceIndex* surfaceIndex) const;

    Tilers m_tilers[kMips][kSlices];
    std::uint64_t m_mipOffset[kMips] = {};
    std::uint64_t m_mipSize[kMips] = {}; // from slice to slice
};

} // namespace qor::Texsmith::Raw
