// DDS, the files that carry texels as the graphics hardware has them: nothing is decoded on the way.
//
// The layout of the file is the published one: a magic word, a header of 124 bytes, 20 bytes more when its
// FourCC is "DX10", and the texels in the order of Image. Of an array only the first slice is read, unless
// the reading options ask for all (see reading_options.h).
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/image.h"
#include "qor/texsmith/raw/reading_options.h"

#include <cstdint>

namespace qor::Texsmith::Dds {
struct Header;
struct HeaderDx10;
} // namespace qor::Texsmith::Dds

namespace qor::Texsmith::Raw {

inline constexpr unsigned kDdsVersionDx10 = 10; // any other version is the classic header

// A view on the texels of a DDS file in memory, which must outlive it. It has texels of its own only where
// those of the file are narrower than ours or where some are missing. A copy borrows them.
class QOR_TEXSMITH_API DdsImage : public Image {
public:
    DdsImage() = default; // no file
    DdsImage(const DdsImage& other);
    DdsImage(DdsImage&& other) noexcept;
    DdsImage& operator=(const DdsImage& other);
    DdsImage& operator=(DdsImage&& other) noexcept;

    // `channelType` is for files that leave it open: typeless formats, masks, and some FourCCs. A file that
    // is not well-formed is reported and leaves the image as it was. One that ends early gives the texels it
    // has and zeros for the rest, a warning, and kErrorFailed. One whose header claims more than 1 MiB of
    // texels, of which the file has less than a sixteenth, leaves the image empty instead.
    Error readFrom(MemoryRegion* memoryRegion, Vex::TextureChannelType channelType);
    // The same, with bits of ReadingOption.
    Error readFrom(MemoryRegion* memoryRegion, Vex::TextureChannelType channelType,
                   std::uint32_t readingOptions);

    // Makes a file for a descriptor; its texels are then the caller's to fill. Bc6 and Bc7 need the extended
    // header and get it whatever the version. Formats that a header cannot name are written all the same, and
    // cannot be read back: see getFormatInDds.
    Error writeTo(const Vex::Texture* texture, ResizableMemoryRegion* destination, unsigned version);

    bool hasFile() const { return m_header != nullptr; }
    bool hasDx10Header() const { return m_headerDx10 != nullptr; }

private:
    const std::type_info* doGetRowsClass() const override;
    void setFile(std::uint8_t* file, bool hasDx10Header);
    bool setShape(const Vex::Texture& texture);
    Error takeTexels(MemoryRegion inFile, unsigned bytesInFile);
    Error fillOwnMemory(MemoryRegion inFile, unsigned bytesInFile, std::uint64_t neededInFile);

    const Dds::Header* m_header = nullptr; // at any address
    const Dds::HeaderDx10* m_headerDx10 = nullptr;
    MappedMemory m_ownMemory;
    MemoryRegion m_texels;
};

// What a header of this version for `format` is read back as; format 0 where it cannot be read.
QOR_TEXSMITH_API Vex::DataFormat getFormatInDds(Vex::DataFormat format, unsigned version,
                                                Vex::TextureChannelType channelType);

// ---- Conversions
//
// Bytes are copied as they lie, by jobs of the configuration's job manager. Null arguments and a null job
// manager are reported. Every failure is reported and gives kErrorFailed; a header that cannot be read leaves
// the destination as it was, and a file that ends early gives what it has and zeros for the rest. The channel
// type of files that leave it open is m_textureChannelType of the configuration. Destination and source may
// share memory.

// Reads into a provider of the shape and the format of the file. Another channel type or swizzle is reported
// and gives kErrorFailed with the bytes copied; another shape is reported, and nothing is written.
QOR_TEXSMITH_API Error convertFromDds(MemoryRegion* source, ElementProvider* destination,
                                      Configuration* configuration);
// Gives the image the shape of the file, in the tile mode of new textures, and identity modifiers.
QOR_TEXSMITH_API Error convertFromDds(MemoryRegion* source, ReallocatableImage* destination,
                                      Configuration* configuration);
// Write every mip and face, and every slice, though readers of the header take the first slice of an array.
// `version` is kDdsVersionDx10, or any other number for the classic header, in which sRGB types and many
// formats are lost: see getFormatInDds. Modifiers are not kept.
QOR_TEXSMITH_API Error convertToDds(const ElementProvider* source, ResizableMemoryRegion* destination,
                                    unsigned version, Configuration* configuration);
QOR_TEXSMITH_API Error convertToDds(const Image* source, ResizableMemoryRegion* destination, unsigned version,
                                    Configuration* configuration);

} // namespace qor::Texsmith::Raw
