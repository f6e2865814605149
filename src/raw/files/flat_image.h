// The way between files that hold one flat image and images in memory. A reader checks its arguments and what
// the header claims, makes the image, fills it and tells what was missing; a writer gets the first surface of
// any image in the format that the file wants. Each of these steps stands here once.
#pragma once

#include "qor/gpu_address/gpu_address.h"
#include "qor/texsmith/raw/image.h"
#include "raw/files/check_arguments.h"
#include "raw/frame/out_of_memory.h"
#include "raw/memory/overlap.h"
#include "raw/surfaces/credible_claim.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

// A file as a report names it: "TGA", and the path of the source that reads it.
struct FileKind {
    const char* m_name;
    const char* m_sourcePath;
};

// ---- Reading

// Calls read(file), which returns an Error, once the arguments are checked. The file never shares memory with
// the image.
template <typename Read>
Error readFlatImage(const FileKind& kind, MemoryRegion* source, ReallocatableImage* destination,
                    const Configuration* configuration, Read read) {
    return failWithoutMemory(kind.m_sourcePath, [&] {
        return checkConvertArguments(source, destination, configuration, kind.m_sourcePath)
                   ? readApart(source, destination->getStorage(), read)
                   : kErrorFailed;
    });
}

// kErrorFailed, with a warning that says why the file cannot be read.
Error refuseFile(const FileKind& kind, const char* reason);

// False, and warned about, for a frame that a file with that many does not have.
bool checkFrame(const FileKind& kind, int index, unsigned frames);

// False, and warned about, outside 1..Vex::kMaxTextureSize.
bool imageSizeFits(const FileKind& kind, std::int64_t width, std::int64_t height);

// What a header asks for, and what its file has to show for it.
struct ImageClaim {
    unsigned m_width, m_height;
    std::uint64_t m_imageBytes; // as the file's encoding counts
    std::uint64_t m_fileBytes;
    std::uint64_t m_mostGain; // image bytes that the encoding makes at most out of one of the file
};
// False, and warned about, for more than the file can hold.
bool isClaimJust(const FileKind& kind, const ImageClaim& claim);

// One mip and one slice, in the tile mode of new textures.
Vex::Texture flatTexture(unsigned width, unsigned height, Vex::DataFormat format,
                         GpuAddress::SurfaceType type = GpuAddress::kSurfaceTypeTextureFlat);

// False, and warned about, when there is no memory for an image of that shape.
bool allocateImage(const FileKind& kind, ReallocatableImage* image, const Vex::Texture& texture);
// The bytes of `image`, which gets a flat shape and identity modifiers; empty without memory.
MemoryRegion allocateFlatImage(const FileKind& kind, ReallocatableImage* image, unsigned width,
                               unsigned height, Vex::DataFormat format,
                               GpuAddress::SurfaceType type = GpuAddress::kSurfaceTypeTextureFlat);

// What a reader returns that had to do without `missing` of its texels: success only for none.
Error reportMissingTexels(const FileKind& kind, std::uint64_t missing, std::uint64_t texels);

// ---- Writing

// The bytes of the first surface.
MemoryRegion firstSurface(const Image& image);

// Sizes the destination. False, and warned about, when it did not grow as far.
bool resizeFile(const FileKind& kind, ResizableMemoryRegion* destination, std::uint64_t bytes);

// False, and warned about, for an image without texels in its memory, and when its format has no way to the
// other one.
bool canWrite(const FileKind& kind, const ElementProvider& source, Vex::DataFormat format);

// `image` becomes the first surface of `source` in `format`.
Error convertFirstSurface(const Image& source, MemoryMappedImage* image, Vex::DataFormat format,
                          Configuration* configuration);

enum class Transforms {
    kApply,   // an image under a transform is converted whatever its format
    kByFormat // an image in the file's own format is written as it is stored
};

// Calls write(image, place), which returns an Error, with the source itself if it is in `format`, else with
// its first surface converted. The arguments are checked before; the destination may be the source's own
// memory.
template <typename Write>
Error writeInFormat(const FileKind& kind, const Image& source, Vex::DataFormat format, Transforms transforms,
                    ResizableMemoryRegion* destination, Configuration* configuration, Write write) {
    if (!canWrite(kind, source, format)) {
        return kErrorFailed;
    }
    const bool isAsStored = transforms == Transforms::kByFormat || source.getModifiers().m_decode.isNop();
    if (!isAsStored || source.getDataFormat() != format) {
        MemoryMappedImage converted;
        const Error error = convertFirstSurface(source, &converted, format, configuration);
        return error == kErrorNone ? write(static_cast<const Image&>(converted), destination) : error;
    }
    return writeApart(overlap(source.getStorage(), *destination), destination,
                      [&](ResizableMemoryRegion* place) { return write(source, place); });
}

// Calls write(), which returns an Error, once the arguments are checked.
template <typename Write>
Error writeFlatImage(const FileKind& kind, const Image* source, ResizableMemoryRegion* destination,
                     const Configuration* configuration, Write write) {
    return failWithoutMemory(kind.m_sourcePath, [&] {
        return checkConvertArguments(source, destination, configuration, kind.m_sourcePath) ? write()
                                                                                            : kErrorFailed;
    });
}

} // namespace qor::Texsmith::Raw
