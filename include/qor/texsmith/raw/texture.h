// The shape of a texture: a stack of two-dimensional surfaces, how one is named and how they are counted.
//
//     for (int i = 0; i < getNumberOfSurfaces(&image); ++i) {
//         SurfaceIndex index;
//         getSurfaceIndexFromSurfaceNumber(&index, &image, i);
//         use(image.getMemoryRegion(&index));
//     }
//
// All numbers count from 0. Nothing here owns memory or changes shared state. A null pointer is reported, and
// the answer is then 0, false or nothing.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/memory_region.h"
#include "qor/vex/texture.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

class ElementProvider;

// The hardware's descriptor with the memory of its texels. Owns neither. 48 bytes.
class QOR_TEXSMITH_API Texture : public Vex::Texture {
public:
    MemoryRegion m_memoryRegion;

    void Init() { m_memoryRegion = {}; } // leaves the registers alone
    Vex::TextureChannelType getTextureChannelType() const { return getDataFormat().getTextureChannelType(); }
    void setTextureChannelType(Vex::TextureChannelType type);
};

static_assert(sizeof(Texture) == 48);

// Names one surface of a texture. The first and the last word are carried along without a meaning.
struct QOR_TEXSMITH_API SurfaceIndex {
    std::uint32_t first = 0;
    std::uint32_t arrayEntry = 0; // a cubemap counts its six faces as one entry
    std::uint32_t face = 0;       // 0 to 5 of a cubemap: +X, -X, +Y, -Y, +Z, -Z; else 0
    std::uint32_t mip = 0;        // 0 is the largest
    std::uint32_t depth = 0;      // slice of a volume, of which a mip has half as many as the one before
    std::uint32_t fragment = 0;   // stored sample of a multisampled surface
    std::uint32_t last = 0;

    // All seven words plus one, which is not the next surface of the walk.
    SurfaceIndex getNext() const;
};

// How many of each there are; depth differs from mip to mip (getDepthOfMip). Mips are counted from 0 to the
// last, whatever mip a view begins with.
struct QOR_TEXSMITH_API SurfaceCount {
    std::uint32_t arrayEntries = 1;
    std::uint32_t faces = 1;
    std::uint32_t mips = 1;
    std::uint32_t fragments = 1;

    SurfaceCount() = default;
    explicit SurfaceCount(const Vex::Texture& texture);
    friend bool operator==(const SurfaceCount& a, const SurfaceCount& b) {
        return a.arrayEntries == b.arrayEntries && a.faces == b.faces && a.mips == b.mips &&
               a.fragments == b.fragments;
    }
    friend bool operator!=(const SurfaceCount& a, const SurfaceCount& b) { return !(a == b); }
};

// Depth slices of a mip: 1 unless the texture is a volume.
QOR_TEXSMITH_API unsigned getDepthOfMip(const Vex::Texture& texture, unsigned mip);

// Surface order: mip outermost, then arrayEntry, face, depth (up to that of the mip), fragment.
QOR_TEXSMITH_API int getNumberOfSurfaces(const ElementProvider* elementProvider);
// Leaves `result` untouched for a number past the end.
QOR_TEXSMITH_API void getSurfaceIndexFromSurfaceNumber(SurfaceIndex* result,
                                                       const ElementProvider* elementProvider,
                                                       int surfaceNumber);

// Bytes of one row of elements of a 4 x 4 block, or of an 8 x 8 tile, in a Block or Tile buffer.
QOR_TEXSMITH_API unsigned getBlockPitchInBytes(Vex::DataFormat format);
QOR_TEXSMITH_API unsigned getTilePitchInBytes(Vex::DataFormat format);

// Each compares what the one before it does, and more: type, width, height, depth and array view; then the
// range of mips; then the surface format; then the whole format word; then the modifiers of both, byte by
// byte. Pitch, tile mode and memory type never take part.
QOR_TEXSMITH_API bool dimensionsAreIdenticalExceptMips(const Vex::Texture& a, const Vex::Texture& b);
QOR_TEXSMITH_API bool dimensionsAreIdenticalExceptMips(const ElementProvider* a, const ElementProvider* b);
QOR_TEXSMITH_API bool dimensionsAreIdentical(const Vex::Texture& a, const Vex::Texture& b);
QOR_TEXSMITH_API bool dimensionsAreIdentical(const ElementProvider* a, const ElementProvider* b);
QOR_TEXSMITH_API bool dimensionsAndSurfaceFormatAreIdentical(const Vex::Texture& a, const Vex::Texture& b);
QOR_TEXSMITH_API bool dimensionsAndSurfaceFormatAreIdentical(const ElementProvider* a,
                                                             const ElementProvider* b);
QOR_TEXSMITH_API bool dimensionsAndFormatAreIdentical(const ElementProvider* a, const ElementProvider* b);
QOR_TEXSMITH_API bool areBitwiseComparableForEquality(const ElementProvider* a, const ElementProvider* b);

// `texture` with the channel type replaced.
QOR_TEXSMITH_API Vex::Texture changeChannelType(Vex::Texture texture, Vex::TextureChannelType type);
// A texture of the same type, size, mip range and array length in another format. Array view, memory type,
// pitch and tile mode are made anew. A texture of unknown type gives one of all zeros.
QOR_TEXSMITH_API Vex::Texture changeDataFormat(Vex::Texture texture, Vex::DataFormat format);

} // namespace qor::Texsmith::Raw
