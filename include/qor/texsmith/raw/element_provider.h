// ElementProvider: the abstract surface through which all texel work runs.
//
// A pixel is a point of the surface. An element is what the format stores as one unit: a pixel, or a square
// of 4 x 4 pixels in a compressed format; it is handed about in a VectorFloat, of which getBytesPerElement()
// bytes count, in stored form. A block is always 4 x 4 pixels and a tile 8 x 8; in their buffers the elements
// lie in row order, packed.
//
// Reading outside the surface gives zeros, writing there does nothing. Reads are free of shared state. Writes
// to different tiles may run in parallel; writes to different blocks or elements of one tile may only where
// the class overrides doPutBlock, since the defaults read, change and write whole tiles. A provider must not
// be reconfigured while a job uses it.
#pragma once

#include "qor/gpu_address/gpu_address.h"
#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/texture.h"
#include "qor/texsmith/raw/transform.h"
#include "qor/texsmith/raw/vector_math.h"

#include <cstddef>
#include <cstdint>
#include <typeinfo>

namespace qor::Texsmith::Raw {

class Properties; // a list of named values that describe one texel

// Stored elements in plain memory: element (x, y) lies at m_memory + y * m_pitch + x * the bytes of an
// element.
struct ElementRows {
    std::uint8_t* m_memory = nullptr; // null: there are none
    std::size_t m_pitch = 0;          // bytes from row to row
    unsigned m_wide = 0;              // elements
    unsigned m_tall = 0;              // rows of elements

    std::uint8_t* row(unsigned y) const { return m_memory + m_pitch * y; }
};

// A texture's shape, format and modifiers, and access to its texels. Derived classes say where those lie.
class QOR_TEXSMITH_API ElementProvider {
public:
    ElementProvider();
    ElementProvider(const ElementProvider&) = default;
    ElementProvider& operator=(const ElementProvider&) = default;
    virtual ~ElementProvider() = default;

    // `x` and `y` count elements, blocks or tiles, and pixels in getTexel. A null index or buffer is
    // reported; with a null index a get fills its buffer with zeros.
    void getElement(const SurfaceIndex* surfaceIndex, VectorFloat* element, unsigned x, unsigned y) const;
    void putElement(const SurfaceIndex* surfaceIndex, const VectorFloat* element, unsigned x,
                    unsigned y) const;
    void getBlock(const SurfaceIndex* surfaceIndex, Block* block, unsigned x, unsigned y) const;
    void putBlock(const SurfaceIndex* surfaceIndex, const Block* block, unsigned x, unsigned y) const;
    void getTile(const SurfaceIndex* surfaceIndex, Tile* tile, unsigned x, unsigned y) const;
    void putTile(const SurfaceIndex* surfaceIndex, const Tile* tile, unsigned x, unsigned y) const;
    void getTexel(const SurfaceIndex* surfaceIndex, Properties* properties, unsigned x, unsigned y) const;

    // The rows of a whole surface, where the provider keeps it as plain memory; else, outside the texture,
    // and where that memory is not of the size that this provider gives, empty. They are the provider's own:
    // what is written there is written to the surface. A null index is reported.
    ElementRows getElementRows(const SurfaceIndex* surfaceIndex) const;
    // Move the elements from tile (x, y) on between the surface and `strip`, which is at most one tile tall
    // and must not reach beyond the surface. False, and nothing moved, where the provider has no faster way
    // than tile by tile, or the strip does not lie in the surface; a strip of no width asks just that. A null
    // index is reported.
    bool getStrip(const SurfaceIndex* surfaceIndex, const ElementRows& strip, unsigned x, unsigned y) const;
    bool putStrip(const SurfaceIndex* surfaceIndex, const ElementRows& strip, unsigned x, unsigned y) const;

    // The elements from tile (x, y) on to the right that lie in plain memory together, where that can be told
    // of a part of the surface only, as in views: whole tiles, one tile tall or as tall as the last tiles are
    // cut. A run without memory that has a width shows nothing: zeros are read there, and writes are dropped.
    // No width, where there are none; for a provider that has rows, too. A null index is reported.
    ElementRows getElementRun(const SurfaceIndex* surfaceIndex, unsigned x, unsigned y) const;

    // Sizes at a mip. A mip that is not below the number of mips is reported.
    unsigned getPixelsWide(unsigned mip) const;
    unsigned getPixelsTall(unsigned mip) const;
    unsigned getPixels(unsigned mip) const;
    unsigned getElementsWide(unsigned mip) const;
    unsigned getElementsTall(unsigned mip) const;
    unsigned getElements(unsigned mip) const;
    unsigned getBlocksWide(unsigned mip) const;
    unsigned getBlocksTall(unsigned mip) const;
    unsigned getBlocks(unsigned mip) const;
    unsigned getTilesWide(unsigned mip) const;
    unsigned getTilesTall(unsigned mip) const;
    unsigned getTiles(unsigned mip) const;
    unsigned getDepth(unsigned mip) const;
    unsigned getBytes(unsigned mip) const;

    unsigned getElementsPerBlockWide() const { return isCompressed() ? 1 : 4; }
    unsigned getElementsPerBlockTall() const { return isCompressed() ? 1 : 4; }
    unsigned getElementsPerBlock() const { return isCompressed() ? 1 : 16; }
    unsigned getElementsPerTileWide() const { return isCompressed() ? 2 : 8; }
    unsigned getElementsPerTileTall() const { return isCompressed() ? 2 : 8; }
    unsigned getElementsPerTile() const { return isCompressed() ? 4 : 64; }
    unsigned getPixelsPerElementWide() const { return isCompressed() ? 4 : 1; }
    unsigned getPixelsPerElementTall() const { return isCompressed() ? 4 : 1; }
    unsigned getBytesPerElement() const;
    unsigned getFragments() const { return m_surfaceCount.fragments; }

    // Whole texture: base to last mip with their depth, times fragments, times the slices of the array view.
    unsigned long long getElements() const;
    unsigned long long getPixels() const;
    unsigned long long getBytes() const;

    const Texture& getTexture() const { return m_texture; }
    const Vex::Texture* getVexTexture() const { return &m_texture; }
    Vex::DataFormat getDataFormat() const { return m_texture.getDataFormat(); }
    const Modifiers& getModifiers() const { return m_modifiers; }
    SurfaceCount getSurfaceCount() const { return m_surfaceCount; }
    void setModifiers(const Modifiers& modifiers) { m_modifiers = modifiers; }
    // These rewrite the registers and leave the storage as it is.
    void setDataFormat(Vex::DataFormat format);
    void setTextureChannelType(Vex::TextureChannelType type);
    // Replaces what channel 0 to 3 (X, Y, Z, W) selects. Unlike the two above it keeps all else of the
    // registers, the array view and the tile mode among them.
    void setChannelSelect(unsigned channel, Vex::TextureChannel select);

    // Whether the surface exists and lies in the array view and the range of mips: others hold no texels.
    bool surfaceIsInside(const SurfaceIndex* surfaceIndex) const;
    bool surfaceIsOutside(const SurfaceIndex* surfaceIndex) const { return !surfaceIsInside(surfaceIndex); }

    // The part of the surface that a block or tile covers, in elements.
    void calculateSurfaceRegionForBlock(GpuAddress::SurfaceRegion* region, const SurfaceIndex* surfaceIndex,
                                        unsigned x, unsigned y) const;
    void calculateSurfaceRegionForTile(GpuAddress::SurfaceRegion* region, const SurfaceIndex* surfaceIndex,
                                       unsigned x, unsigned y) const;

protected:
    void setupAsVexTexture(const Vex::Texture* texture);
    void setupAsTexture(const Texture* texture);
    // One mip of one slice, sizes cut to Vex::kMaxTextureSize.
    void setupAsTwoDimensional(Vex::DataFormat format, unsigned width, unsigned height);
    // For doGetTexel: put what the texel (x, y) holds into the list, of an element that was read already, and
    // of the one that getElement gives.
    void getTexelFromElement(const VectorFloat& element, Properties* properties, unsigned x,
                             unsigned y) const;
    void getTexelFromTexture(const SurfaceIndex* surfaceIndex, Properties* properties, unsigned x,
                             unsigned y) const;

    bool isCompressed() const { return getDataFormat().isBlockCompressedFormat(); }
    bool pixelIsInside(const SurfaceIndex* surfaceIndex, unsigned x, unsigned y) const;
    bool pixelIsOutside(const SurfaceIndex* i, unsigned x, unsigned y) const {
        return !pixelIsInside(i, x, y);
    }
    bool elementIsInside(const SurfaceIndex* surfaceIndex, unsigned x, unsigned y) const;
    bool elementIsOutside(const SurfaceIndex* i, unsigned x, unsigned y) const {
        return !elementIsInside(i, x, y);
    }
    bool blockIsInside(const SurfaceIndex* surfaceIndex, unsigned x, unsigned y) const;
    bool blockIsOutside(const SurfaceIndex* i, unsigned x, unsigned y) const {
        return !blockIsInside(i, x, y);
    }
    bool tileIsInside(const SurfaceIndex* surfaceIndex, unsigned x, unsigned y) const;
    bool tileIsOutside(const SurfaceIndex* i, unsigned x, unsigned y) const { return !tileIsInside(i, x, y); }

    Texture m_texture;
    Modifiers m_modifiers;
    SurfaceCount m_surfaceCount;

private:
    // A derived class overrides at least doGetTile and doPutTile, or doGetElement and doPutElement: the
    // defaults of the two lean on each other. Inside the surface, what lands in the overhang of a block or
    // tile is up to the derived class. Called with checked arguments, inside the surface only.
    virtual void doSetupAsVexTexture(const Vex::Texture* texture);
    virtual void doGetElement(const SurfaceIndex* surfaceIndex, VectorFloat* element, unsigned x,
                              unsigned y) const;
    virtual void doPutElement(const SurfaceIndex* surfaceIndex, const VectorFloat* element, unsigned x,
                              unsigned y) const;
    virtual void doGetBlock(const SurfaceIndex* surfaceIndex, Block* block, unsigned x, unsigned y) const;
    virtual void doPutBlock(const SurfaceIndex* surfaceIndex, const Block* block, unsigned x,
                            unsigned y) const;
    virtual void doGetTile(const SurfaceIndex* surfaceIndex, Tile* tile, unsigned x, unsigned y) const;
    virtual void doPutTile(const SurfaceIndex* surfaceIndex, const Tile* tile, unsigned x, unsigned y) const;
    virtual void doGetTexel(const SurfaceIndex* surfaceIndex, Properties* properties, unsigned x,
                            unsigned y) const;

    // Rows, runs and strips are shortcuts past the operations above, for walks over tiles. The defaults have
    // none, and a provider that has rows needs no strips. They count only for objects of the very class
    // that doGetRowsClass names: a derived class may have changed what an element, block or tile is, and to
    // override that is enough, because its objects are then read and written through the operations above.
    // A derived class that changes nothing there keeps the speed of its base by returning &typeid(itself).
    // Null, the default: there are no shortcuts.
    virtual const std::type_info* doGetRowsClass() const;
    virtual ElementRows doGetElementRows(const SurfaceIndex* surfaceIndex) const;
    virtual bool doGetStrip(const SurfaceIndex* surfaceIndex, const ElementRows& strip, unsigned x,
                            unsigned y) const;
    virtual bool doPutStrip(const SurfaceIndex* surfaceIndex, const ElementRows& strip, unsigned x,
                            unsigned y) const;
    virtual ElementRows doGetElementRun(const SurfaceIndex* surfaceIndex, unsigned x, unsigned y) const;
    bool hasShortcuts() const;
    bool canMoveStrip(const SurfaceIndex* surfaceIndex, const ElementRows& strip, unsigned x,
                      unsigned y) const;
};

// Copies all elements through jobs. Null arguments are reported. So are differing dimensions or formats: what
// lies in both is copied as it is stored, and the result is kErrorFailed.
QOR_TEXSMITH_API Error copy(const ElementProvider* destination, const ElementProvider* source,
                            Configuration* configuration);

} // namespace qor::Texsmith::Raw
