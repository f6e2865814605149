// The native container, .vxf.
//
//   0   "VXF "                        16       texture descriptors, 32 bytes each
//   4   u32 contents size             16+32n   chunks: type, u32 length, payload
//   8   u8 version, 1 or 2            ...      padding up to contents size + 8
//   9   u8 number of textures n       then     texels in tiled order
//   10  u8 log2 of the largest alignment
//   12  u32 stream size, the whole file
//
// In a file, word 0 of a descriptor is the offset of its texels from the end of the padded header, the low
// byte of word 1 the log2 of its alignment, and word 7 the length of its texels. Numbers are little-endian.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/image.h"

#include <cstdint>

namespace qor::Texsmith::Vxf {

inline constexpr std::uint32_t kMagic = 0x20465856;
inline constexpr unsigned kMaxTextures = 255;

// Bytes 0 to 7.
struct Header {
    std::uint32_t m_magic;
    std::uint32_t m_contentsSize; // from offset 8 to the end of the padded header
};

// Bytes 8 to 15.
struct Contents {
    std::uint8_t m_version;
    std::uint8_t m_numTextures;
    std::uint8_t m_alignment; // a log2
    std::uint8_t m_reserved;
    std::uint32_t m_streamSize;
};

static_assert(sizeof(Header) == 8 && sizeof(Contents) == 8);

} // namespace qor::Texsmith::Vxf

namespace qor::Texsmith::Raw {

// Four ASCII capitals, the first in the low byte.
using VxfChunkType = std::uint32_t;
constexpr VxfChunkType makeVxfChunkType(char a, char b, char c, char d) {
    return VxfChunkType(std::uint8_t(a)) | VxfChunkType(std::uint8_t(b)) << 8 |
           VxfChunkType(std::uint8_t(c)) << 16 | VxfChunkType(std::uint8_t(d)) << 24;
}
inline constexpr VxfChunkType kVxfChunkTypeModifiers = makeVxfChunkType('M', 'O', 'D', 'I');
inline constexpr VxfChunkType kVxfChunkTypeUser = makeVxfChunkType('U', 'S', 'E', 'R');

// Up to 16 typed chunks. Owns nothing: the regions point into a parsed file or at the caller's memory.
class QOR_TEXSMITH_API VxfChunkTable {
public:
    static constexpr int kMaxEntries = 16;
    struct Entry {
        VxfChunkType m_type = 0;
        MemoryRegion m_region;
    };

    VxfChunkTable();
    void deleteAllEntries();
    void deleteEntry(VxfChunkType type); // the last entry takes its place
    int getEntries() const;
    Entry getEntry(VxfChunkType type) const; // type 0 when there is none
    Entry getEntryAt(int index) const;       // reported out of range; type 0 then
    void setEntry(Entry entry);              // a seventeenth type is reported and dropped

private:
    Entry m_entries[kMaxEntries];
    int m_count = 0;
};

QOR_TEXSMITH_API int lengthInBytes(const VxfChunkTable* table);
// Parses chunks up to the first that has no type of capitals or does not fit. The regions point into
// `region`.
QOR_TEXSMITH_API void read(VxfChunkTable* table, MemoryRegion region);
// Writes nothing behind the last chunk. A region that is too small is reported, and nothing is written.
QOR_TEXSMITH_API void write(const VxfChunkTable* table, MemoryRegion region);

// A view on a file in the caller's memory, which must outlive it. It owns nothing, and a copy is another
// view. Several threads may read through one; writeTo must be alone.
class QOR_TEXSMITH_API VxfManipulator {
public:
    VxfManipulator() = default;

    // Every fault of the file is reported, in the order of the tests. Texel ranges are not looked at: a file
    // cut short behind its header passes. A header with faults is taken all the same where the memory is long
    // enough: hasFile() tells that, and isWellFormed() that there was no fault.
    void readFrom(MemoryRegion* memoryRegion);
    // Lays out a file for `count` descriptors at `texture` and the chunks now in the table, and writes all
    // but the texels. Null pointers, more than 255 textures, a file of 4 GiB and more, and a destination that
    // does not grow are reported, and leave no file.
    void writeTo(ResizableMemoryRegion* destinationMemory, const Vex::Texture* texture, int count);
    // Writes zeros wherever writeTo leaves what the destination held, except to the texels, so that equal
    // textures and chunks give equal files. The format itself needs no capitals behind the last chunk.
    void zeroPadding();

    bool hasFile() const { return m_header != nullptr; }
    // Whether readFrom found no fault, or writeTo could lay the file out.
    bool isWellFormed() const { return m_isWellFormed; }

    int getNumberOfTextures() const;

    // None of these checks its index. Regions may run past the end of a truncated file.
    const Vex::Texture* getTexture(int index) const;
    MemoryRegion getTexels(int index) const;
    MemoryRegion getPixelsForTexture(int index) const; // the same
    MemoryRegion getAllTexels() const;
    MemoryRegion getPixelsForAllTextures() const; // the same
    int getAlignmentOfTexture(int index) const;

    // As far as it lies in the file; null or empty when it does not. Any index will do.
    const Vex::Texture* getTextureInFile(int index) const;
    MemoryRegion getTexelsInFile(int index) const;
    // From the first texel of the texture to the end of the file, whatever the length in the descriptor.
    MemoryRegion getTexelsToEndOfFile(int index) const;

    VxfChunkTable m_chunks;

private:
    std::uint8_t* bytes() const { return reinterpret_cast<std::uint8_t*>(m_header); }
    std::uint64_t paddedHeaderBytes() const;
    std::uint32_t getTextureWord(int index, int word) const;
    MemoryRegion regionInFile(std::uint64_t offset, std::uint64_t size) const;

    Vxf::Header* m_header = nullptr;
    std::uint8_t* m_end = nullptr; // of the file in memory
    bool m_isWellFormed = false;
};

// ---- Conversions
//
// Texels lie tiled in a file, in the order of the tile mode that its descriptor names, and go in and out of
// it in rows or as they are; no texel is ever decoded. Nothing keeps a pointer but where told. A destination
// may share memory with a source: the work then goes through memory of its own.
//
// Null pointers are reported; so is a null job manager where work runs as a job, which is all but join, split
// and vxf2Texture. A header with any fault is reported and gives kErrorFailed, with the destination as it
// was. A file that lacks texels gives what it has, zeros for the rest, a warning and kErrorFailed; one whose
// descriptor claims more than 1 MiB of texels, of which the file has less than a sixteenth, is refused.

// Writes the image as a file of one texture, with its modifiers as a "MODI" chunk. Equal images give equal
// files, whatever the destination held. The tile mode is the one in the image's descriptor: readers of files
// that name none choose Thick_1dThick for volumes and Thin_1dThin for all else, and so do
// setupAsTwoDimensional and changeDataFormat; several fragments take Thin_2dThin. For another one, set it
// (setTileMode) in a copy of the descriptor, and give that to reallocate before the image is filled.
QOR_TEXSMITH_API Error convertToVxf(const Image* source, ResizableMemoryRegion* destination,
                                    Configuration* configuration);

// Read texture `index`, from 0; without an index the first. An index that the file does not have is reported.
// The modifiers of a "MODI" chunk go to the destination; without one it keeps its own. The first two want an
// image of the same dimensions and surface format; another one is reported, takes what fits, and gives
// kErrorFailed. The other two give the image the texture's shape.
QOR_TEXSMITH_API Error convertFromVxf(MemoryRegion* source, Image* destination, Configuration* configuration);
QOR_TEXSMITH_API Error convertFromVxf(MemoryRegion* source, Image* destination, Configuration* configuration,
                                      int index);
QOR_TEXSMITH_API Error convertFromVxf(MemoryRegion* source, ReallocatableImage* destination,
                                      Configuration* configuration);
QOR_TEXSMITH_API Error convertFromVxf(MemoryRegion* source, ReallocatableImage* destination,
                                      Configuration* configuration, int index);

// The descriptor as it stands in the file, with the three words that the file has for itself, and its texels
// where they lie: the result points into `source`, which must outlive it. The index is compared with what the
// file can hold and not with its count.
QOR_TEXSMITH_API Error vxf2Texture(MemoryRegion* source, Texture* destination, Configuration* configuration);
QOR_TEXSMITH_API Error vxf2Texture(MemoryRegion* source, Texture* destination, Configuration* configuration,
                                   int index);

// The count in the header, whatever else it says; 0 for memory that is too short for one, which is reported.
// The configuration plays no part and may be null.
QOR_TEXSMITH_API int vxfGetNumberOfTextures(MemoryRegion* source, Configuration* configuration);

// A texture that lies tiled in memory, as a file without chunks. Of the surfaces, only those that the
// descriptor's range of mips and slices names are copied; the bytes of others are what the resize left.
QOR_TEXSMITH_API Error capture2Vxf(const Texture* source, ResizableMemoryRegion* destination,
                                   Configuration* configuration);
// The same as an image in rows.
QOR_TEXSMITH_API Error capture2ReallocatableImage(const Texture* source, ReallocatableImage* destination,
                                                  Configuration* configuration);

// Makes one file of the first textures of up to 255; more are reported. Chunks are dropped. The configuration
// plays no part and may be null.
QOR_TEXSMITH_API Error vxfJoin(ResizableMemoryRegion* destination, MemoryRegion** sources, int count,
                               Configuration* configuration);
// Makes a file of each texture, all of them with all the chunks. A `count` of destinations that is not that
// of the textures is reported; what both have is split, and the result is kErrorFailed. The configuration
// plays no part and may be null.
QOR_TEXSMITH_API Error vxfSplit(ResizableMemoryRegion** destinations, int count, MemoryRegion* source,
                                Configuration* configuration);

} // namespace qor::Texsmith::Raw
