// Images: providers whose elements lie in plain, row-ordered memory.
//
// Storage order, outermost first: array entries, faces, mips, depth slices, fragments, rows, elements.
// Surfaces are contiguous and unpadded: a row of elements follows the one before it, and the offset of
// element (x, y) in its surface is getBytesPerElement() * (y * getElementsWide(mip) + x). The tile mode of
// the descriptor plays no part here: it says how convertToVxf will lay the texels out. Readers of files that
// name none choose Thick_1dThick for volumes, Thin_2dThin for several fragments, and Thin_1dThin for all
// else; setTileMode before reallocate chooses another. Tiles and blocks may be written in parallel;
// reallocate must not run during a job.
//
//     Vex::Texture texture;
//     texture.initAs2d(640, 480, 1, Vex::kDataFormatR8G8B8A8Unorm, Vex::kTileModeThin_1dThin,
//                      Vex::kNumFragments1);
//     AllocatedMemory memory;
//     ReallocatableImage image(&memory);       // `memory` stays the caller's
//     image.reallocate(&texture);              // makes it 640 * 480 * 4 bytes, of undefined contents
//     const SurfaceIndex first;
//     std::memcpy(image.getMemoryRegion(&first).begin, pixels, image.getBytesTotal());
//
// A class that derives from one of these and keeps their tiles as they are says so in doGetRowsClass
// (raw/element_provider.h), else walks take it tile by tile.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/element_provider.h"
#include "qor/texsmith/raw/memory_region.h"

#include <cstddef>
#include <cstdint>

namespace qor::Texsmith::Raw {

// Usable once its region is set and it has been set up as a texture. The region is not owned. Where the
// region is shorter than the descriptor asks for, an access beyond it is reported, reads zeros and drops
// writes. Setting up an image of 4 GiB or more is reported and leaves a texture of all zeros.
class QOR_TEXSMITH_API Image : public ElementProvider {
public:
    static constexpr unsigned kMaxMips = 16;

    Image() = default;
    Image(const Image&) = default; // the tables and the region pointer, not the bytes
    Image& operator=(const Image&) = default;

    // The bytes of one surface, and of all fragments at its depth. A null index is reported and gives an
    // empty region; so does a surface that does not lie in the region.
    MemoryRegion getMemoryRegion(const SurfaceIndex* surfaceIndex) const;
    MemoryRegion getAllFragmentMemoryRegion(const SurfaceIndex* surfaceIndex) const;
    // The bytes of the whole image, as far as the region has them.
    MemoryRegion getMemoryRegion() const;
    std::uint32_t getBytesTotal() const { return m_bytesTotal; } // that the shape asks for
    // The whole region behind the image, whatever its shape; empty without one.
    MemoryRegion getStorage() const { return m_memoryRegion != nullptr ? *m_memoryRegion : MemoryRegion(); }

protected:
    struct MipRecord {
        std::uint32_t surfaceBytes;     // one fragment of one depth slice
        std::uint32_t allFragmentBytes; // all fragments of a depth slice
        std::uint32_t mipBytes;         // all depth slices
        std::uint32_t mipOffset;        // from the start of the face
    };

    MemoryRegion* m_memoryRegion = nullptr;
    MipRecord m_mips[kMaxMips] = {};
    std::uint32_t m_bytesPerFace = 0;
    std::uint32_t m_bytesPerArrayEntry = 0;
    std::uint32_t m_bytesTotal = 0;

private:
    struct Rectangle; // where a block or tile lies in the region

    void doSetupAsVexTexture(const Vex::Texture* texture) override;
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

    std::uint64_t getSurfaceOffsetInBytes(const SurfaceIndex* surfaceIndex) const;
    std::uint64_t getSurfaceSizeInBytes(const SurfaceIndex* surfaceIndex) const;
    std::uint64_t getAllFragmentSurfaceOffsetInBytes(const SurfaceIndex* surfaceIndex) const;
    std::uint64_t getAllFragmentSurfaceSizeInBytes(const SurfaceIndex* surfaceIndex) const;
    std::uint64_t getElementOffsetInBytes(const SurfaceIndex* surfaceIndex, unsigned x, unsigned y) const;
    std::uint64_t faceOffset(const SurfaceIndex* surfaceIndex) const;
    std::uint64_t regionLength() const { return m_memoryRegion != nullptr ? m_memoryRegion->length() : 0; }
    const MipRecord& recordOf(const SurfaceIndex* surfaceIndex) const;
    MemoryRegion regionAt(std::uint64_t offset, std::uint64_t size, const SurfaceIndex* surfaceIndex) const;
    Rectangle rectangleAt(const SurfaceIndex* surfaceIndex, unsigned x, unsigned y, unsigned elementsWide,
                          unsigned elementsTall) const;
    void reportOutside(const Rectangle& rectangle) const;
    void getRectangle(const Rectangle& from, void* to, std::size_t size, unsigned pitch) const;
    void putRectangle(const Rectangle& to, const void* from, unsigned pitch) const;
    void becomeEmpty();
};

// An image that sizes its storage to the descriptor. Conversions take one as their destination. The storage
// stays the caller's and may move at every reallocate.
class QOR_TEXSMITH_API ReallocatableImage : public Image {
public:
    explicit ReallocatableImage(ResizableMemoryRegion* resizableMemoryRegion);
    ReallocatableImage(const ReallocatableImage&) = default;
    ReallocatableImage& operator=(const ReallocatableImage&) = default;

    // The contents are undefined afterwards. Without storage only the descriptor is taken. Storage that
    // cannot get its size reports it; accesses to what it lacks are then reported, read zeros and drop
    // writes. An image that would be too large leaves the storage alone. A null texture is reported and
    // changes nothing.
    void reallocate(const Texture* texture);
    void reallocate(const Vex::Texture* texture);

protected:
    void setStorage(ResizableMemoryRegion* resizableMemoryRegion);

private:
    const std::type_info* doGetRowsClass() const override;

    ResizableMemoryRegion* m_resizableMemoryRegion;
};

// An image that brings its storage along. A copy is a borrowed view of the same bytes.
class QOR_TEXSMITH_API MemoryMappedImage : public ReallocatableImage {
public:
    MemoryMappedImage();
    MemoryMappedImage(const MemoryMappedImage& other);
    MemoryMappedImage(MemoryMappedImage&& other) noexcept;
    MemoryMappedImage& operator=(const MemoryMappedImage& other);
    MemoryMappedImage& operator=(MemoryMappedImage&& other) noexcept;

private:
    const std::type_info* doGetRowsClass() const override;

    MappedMemory m_mappedMemory;
};

// Take a descriptor, the second form of each with the format changed. Null arguments are reported.
QOR_TEXSMITH_API void reallocate(ReallocatableImage* reallocatableImage,
                                 const ElementProvider* elementProvider);
QOR_TEXSMITH_API void reallocate(ReallocatableImage* reallocatableImage,
                                 const ElementProvider* elementProvider, Vex::DataFormat format);
QOR_TEXSMITH_API void reallocate(ReallocatableImage* reallocatableImage, const Texture* texture);
QOR_TEXSMITH_API void reallocate(ReallocatableImage* reallocatableImage, const Texture* texture,
                                 Vex::DataFormat format);
QOR_TEXSMITH_API void reallocate(ReallocatableImage* reallocatableImage, const Vex::Texture* vexTexture);
QOR_TEXSMITH_API void reallocate(ReallocatableImage* reallocatableImage, const Vex::Texture* vexTexture,
                                 Vex::DataFormat format);

// Compares the bytes of two images of the same shape, format and modifiers (reported otherwise).
QOR_TEXSMITH_API Error areBitwiseEqual(const Image* a, const Image* b, Configuration* configuration);

} // namespace qor::Texsmith::Raw
