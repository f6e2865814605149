// Views: providers that own no texels.
//
//     const AsCanvasElementProvider canvas(&image);  // all surfaces of the image, side by side
//     std::vector<std::uint8_t> pixels(std::size_t{canvas.getPixels(0)} * 4);
//     Raster raster;
//     raster.begin = pixels.data();
//     raster.end = raster.begin + pixels.size();
//     raster.dataFormat = Vex::kDataFormatR8G8B8A8Unorm;
//     raster.width = canvas.getPixelsWide(0);
//     raster.height = canvas.getPixelsTall(0);
//     raster.pitch = 4 * raster.width;
//     RasterElementProvider picture(&raster);
//     reformat(&canvas, &picture, &configuration);
//
// A proxy view is one two-dimensional surface made of tiles of its target, of 8 x 8 pixels. All but
// AsSurfaceElementProvider are made of whole tiles: their sizes are multiples of 8, and a surface that is not
// shows zeros where its last tiles overhang. Where a view shows nothing, reads give zeros and writes do
// nothing. A view of more than Vex::kMaxTextureSize pixels either way is cut there, with one warning.
//
// Views keep no per-call state, so that many threads may use one; the target must outlive them, and copies of
// a view have the same target. A target that changes its size or its format later keeps the view as it was
// made: it then shows what lies at the same tiles, and zeros beyond. A null target or index is reported, and
// the view shows nothing.
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
    // For copies of a view that holds its target itself: another object of the same contents.
    void replaceProxied(const ElementProvider* target) { m_proxied = target; }
    // Of `wide` x `tall` whole tiles in the target's format, cut with a warning.
    void setupAsTiles(std::uint64_t wide, std::uint64_t tall);
    // Whether the target has elements of the view's own size, which it had when the view was made.
    bool hasElementsOfTarget() const;

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
    // How many tiles, from this one to the right, lie side by side in the target as well, or all show
    // nothing. At least 1, the default. Strips are moved in runs of these.
    virtual unsigned doGetRun(unsigned x, unsigned y) const;

    ElementRows doGetElementRun(const SurfaceIndex* surfaceIndex, unsigned x, unsigned y) const override;
    bool doGetStrip(const SurfaceIndex* surfaceIndex, const ElementRows& strip, unsigned x,
                    unsigned y) const override;
    bool doPutStrip(const SurfaceIndex* surfaceIndex, const ElementRows& strip, unsigned x,
                    unsigned y) const override;
    bool adjust(SurfaceIndex* index, unsigned* x, unsigned* y) const;
    template <typename Use> void forRuns(const ElementRows& strip, unsigned x, unsigned y, Use use) const;
    struct Run; // a part of a strip that lies on one surface of the target
    Run runAt(const ElementRows& strip, unsigned x, unsigned y) const;
    void getRun(const Run& run) const;
    void putRun(const Run& run) const;
    bool moveRows(const Run& run, bool toStrip) const;

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
    ElementRows doGetElementRun(const SurfaceIndex* surfaceIndex, unsigned x, unsigned y) const override;
    bool doGetStrip(const SurfaceIndex* surfaceIndex, const ElementRows& strip, unsigned x,
                    unsigned y) const override;
    bool doPutStrip(const SurfaceIndex* surfaceIndex, const ElementRows& strip, unsigned x,
                    unsigned y) const override;
    bool hasShapeOfTarget() const;

    SurfaceIndex m_surfaceIndex;
};

// Where the surfaces of a texture lie in a canvas, in tiles. The mips of one face are packed: mip 0 at the
// left, mip 1 to its right, each further one below the one before it, or where that would pass the bottom of
// mip 0, to the right of it. Depth slices of a mip stack downward. Faces stack downward, and array entries
// downward again.
class QOR_TEXSMITH_API CanvasLayout {
public:
    static constexpr unsigned kMips = 16;

    CanvasLayout() = default; // of no surface
    explicit CanvasLayout(const Vex::Texture& texture);

    // Of the whole canvas, before any cut.
    std::uint64_t getTilesWide() const { return m_wide; }
    std::uint64_t getTilesTall() const { return std::uint64_t{m_tall} * m_faces * m_arrayEntries; }
    // Whether a view of it is not cut.
    bool isWhole() const;
    // Turns a tile of the canvas into a surface and its tile; false, with both in an undefined state, where
    // there is none. The fragment is always 0.
    bool find(SurfaceIndex* index, unsigned* x, unsigned* y) const;
    // How many tiles, from this one to the right, are of one surface, or of none.
    unsigned getRun(unsigned x, unsigned y) const;
    // The first tile of a surface.
    void locate(const SurfaceIndex& index, std::uint64_t* x, std::uint64_t* y) const;

private:
    struct Place {
        unsigned m_x, m_y, m_wide, m_tall; // of all slices
        unsigned m_sliceTall;
        bool contains(unsigned x, unsigned y) const {
            return x - m_x < m_wide && y - m_y < m_tall; // what lies before wraps around
        }
    };

    Place m_places[kMips] = {};
    unsigned m_mips = 0;
    unsigned m_faces = 1;
    unsigned m_arrayEntries = 1;
    unsigned m_wide = 1; // of one face
    unsigned m_tall = 1;
};

// All surfaces of another provider, but for fragments above 0: CanvasLayout says where each lies.
class QOR_TEXSMITH_API AsCanvasElementProvider : public ProxyElementProvider {
public:
    AsCanvasElementProvider() = default;
    explicit AsCanvasElementProvider(const ElementProvider* target);

protected:
    void setTarget(const ElementProvider* target);

private:
    bool doAdjustTileForTarget(SurfaceIndex* index, unsigned* x, unsigned* y) const override;
    unsigned doGetRun(unsigned x, unsigned y) const override;
    const std::type_info* doGetRowsClass() const override;

    CanvasLayout m_layout;
};

// All slices of one mip in a grid of `columns`, row by row: the depth slices of a volume, the faces of all
// array entries of a cubemap, else the array entries. Columns below 1 are reported, and nothing is shown.
class QOR_TEXSMITH_API AsSlicesElementProvider : public ProxyElementProvider {
public:
    AsSlicesElementProvider() = default;
    AsSlicesElementProvider(const ElementProvider* target, int columns); // of mip 0
    AsSlicesElementProvider(const ElementProvider* target, const SurfaceIndex* surfaceIndex, int columns);

protected:
    void initialize(const ElementProvider* target, const SurfaceIndex* surfaceIndex, int columns);

private:
    enum class Slices { kDepth, kFaces, kArrayEntries };

    bool doAdjustTileForTarget(SurfaceIndex* index, unsigned* x, unsigned* y) const override;
    unsigned doGetRun(unsigned x, unsigned y) const override;
    const std::type_info* doGetRowsClass() const override;

    SurfaceIndex m_surfaceIndex;
    Slices m_slices = Slices::kArrayEntries;
    unsigned m_columns = 1;
    unsigned m_count = 0;
    unsigned m_tilesWide = 1; // of a slice
    unsigned m_tilesTall = 1;
};

// The faces of a cubemap, at one mip and array entry, in a layout. The layout is copied.
class QOR_TEXSMITH_API CubemapUnfoldedElementProvider : public ProxyElementProvider {
public:
    // Cell n from 1 to 6 shows face n - 1; 0 and all above 6 are empty.
    struct Layout {
        static constexpr unsigned kSide = 6;

        std::uint32_t m_cells[kSide][kSide]; // by row, then column
    };

    CubemapUnfoldedElementProvider() = default;
    CubemapUnfoldedElementProvider(const ElementProvider* target, const SurfaceIndex* surfaceIndex,
                                   const Layout* layout);

protected:
    void setTarget(const ElementProvider* target, const SurfaceIndex* surfaceIndex, const Layout* layout);

private:
    bool doAdjustTileForTarget(SurfaceIndex* index, unsigned* x, unsigned* y) const override;
    unsigned doGetRun(unsigned x, unsigned y) const override;
    const std::type_info* doGetRowsClass() const override;

    SurfaceIndex m_surfaceIndex;
    Layout m_layout = {};
    unsigned m_columns = 0;
    unsigned m_rows = 0;
    unsigned m_tilesWide = 1; // of a face
    unsigned m_tilesTall = 1;
};

// The faces of a cubemap as a cross:
//
//        +Y
//     -X +Z +X -Z
//        -Y
class QOR_TEXSMITH_API AsCrossElementProvider : public CubemapUnfoldedElementProvider {
public:
    AsCrossElementProvider() = default;
    AsCrossElementProvider(const ElementProvider* target, const SurfaceIndex* surfaceIndex);

    static const Layout s_crossLayout;

protected:
    void setTarget(const ElementProvider* target, const SurfaceIndex* surfaceIndex);

private:
    const std::type_info* doGetRowsClass() const override;
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

// One surface of a tiled texture in memory, which it describes itself. A null texture or index is reported,
// and nothing is shown. A large object.
class QOR_TEXSMITH_API TextureAsSurfaceElementProvider : public AsSurfaceElementProvider {
public:
    TextureAsSurfaceElementProvider() = default;
    TextureAsSurfaceElementProvider(const Texture* texture, const SurfaceIndex* surfaceIndex);
    TextureAsSurfaceElementProvider(const TextureAsSurfaceElementProvider& other);
    TextureAsSurfaceElementProvider& operator=(const TextureAsSurfaceElementProvider& other);

protected:
    void setTarget(const Texture* texture, const SurfaceIndex* surfaceIndex);

private:
    const std::type_info* doGetRowsClass() const override;
    void pointToOwn(const TextureAsSurfaceElementProvider& other);

    TextureElementProvider m_textureProvider;
};

// Many providers of one surface each as one texture. Their order is that of an image's storage: array
// entries outermost, then faces, mips, depth slices, fragments. Array and providers stay the caller's and
// must outlive this. A texture with more surfaces than there are providers reports each access to a block or
// tile of those, which then reads zeros and drops writes. A null array, no providers, null providers and
// providers of other formats than the first are reported; null ones show nothing.
class QOR_TEXSMITH_API ComboElementProvider : public ElementProvider {
public:
    ComboElementProvider() = default;
    // The format of `texture` is replaced by that of the providers.
    ComboElementProvider(ElementProvider** providers, int count, Vex::Texture texture);
    void init(ElementProvider** providers, int count, Vex::Texture texture);

private:
    void doGetBlock(const SurfaceIndex* surfaceIndex, Block* block, unsigned x, unsigned y) const override;
    void doPutBlock(const SurfaceIndex* surfaceIndex, const Block* block, unsigned x,
                    unsigned y) const override;
    void doGetTile(const SurfaceIndex* surfaceIndex, Tile* tile, unsigned x, unsigned y) const override;
    void doPutTile(const SurfaceIndex* surfaceIndex, const Tile* tile, unsigned x, unsigned y) const override;
    void doGetTexel(const SurfaceIndex* surfaceIndex, Properties* properties, unsigned x,
                    unsigned y) const override;
    const std::type_info* doGetRowsClass() const override;
    ElementRows doGetElementRows(const SurfaceIndex* surfaceIndex) const override;
    ElementRows doGetElementRun(const SurfaceIndex* surfaceIndex, unsigned x, unsigned y) const override;
    bool doGetStrip(const SurfaceIndex* surfaceIndex, const ElementRows& strip, unsigned x,
                    unsigned y) const override;
    bool doPutStrip(const SurfaceIndex* surfaceIndex, const ElementRows& strip, unsigned x,
                    unsigned y) const override;
    std::uint64_t numberOf(const SurfaceIndex& surfaceIndex) const;
    const ElementProvider* find(const SurfaceIndex& surfaceIndex) const;
    const ElementProvider* findAlike(const SurfaceIndex& surfaceIndex) const;

    ElementProvider** m_providers = nullptr;
    unsigned m_count = 0;
    std::uint64_t m_mipOffset[16] = {}; // in providers
    std::uint64_t m_faceStride = 0;
    std::uint64_t m_arrayStride = 0;
};

// A plain bitmap: rows of elements in memory that is the caller's.
struct Raster {
    std::uint8_t* begin = nullptr;
    std::uint8_t* end = nullptr;
    Vex::DataFormat dataFormat = {};
    unsigned width = 0; // pixels
    unsigned height = 0;
    unsigned pitch = 0; // bytes from one row of elements to the next
};

// A bitmap as a provider. Unlike with an image, the part of a tile or block that overhangs the surface keeps
// what the buffer held. Memory that is shorter than the rows is reported once; reads of what it lacks leave
// the buffer as it was, and writes there are dropped.
class QOR_TEXSMITH_API RasterElementProvider : public ElementProvider {
public:
    RasterElementProvider() = default;
    explicit RasterElementProvider(const Raster* raster) { init(raster); }
    void init(const Raster* raster); // copies the record, not the texels

private:
    struct Rectangle; // where a block or tile lies in the memory

    void doGetBlock(const SurfaceIndex* surfaceIndex, Block* destination, unsigned x,
                    unsigned y) const override;
    void doPutBlock(const SurfaceIndex* surfaceIndex, const Block* source, unsigned x,
                    unsigned y) const override;
    void doGetTile(const SurfaceIndex* surfaceIndex, Tile* destination, unsigned x,
                   unsigned y) const override;
    void doPutTile(const SurfaceIndex* surfaceIndex, const Tile* source, unsigned x,
                   unsigned y) const override;
    const std::type_info* doGetRowsClass() const override;
    ElementRows doGetElementRows(const SurfaceIndex* surfaceIndex) const override;
    struct Grain { // a block or a tile in its buffer
        unsigned m_wide, m_tall, m_bufferPitch;
    };
    Grain blocks() const;
    Grain tiles() const;
    Rectangle rectangleAt(unsigned x, unsigned y, const Grain& grain) const;
    template <typename Move> void forRows(const Rectangle& rectangle, Move move) const;
    void get(void* buffer, const Rectangle& rectangle) const;
    void put(const void* buffer, const Rectangle& rectangle) const;
    std::uint64_t length() const; // of the memory, in bytes

    Raster m_raster;
};

} // namespace qor::Texsmith::Raw
