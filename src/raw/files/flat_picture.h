// What the readers and writers of files with a single flat picture have in common.
#pragma once

#include "qor/gpu_address/gpu_address.h"
#include "qor/texsmith/raw/image.h"
#include "qor/texsmith/raw/reformat.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

inline constexpr unsigned kMaxPictureSize = 16384; // of a texture, either way

// A file as a report names it: "TGA", and the path of the source that reads it.
struct FileKind {
    const char* m_name;
    const char* m_sourcePath;
};

// False, and warned about, outside 1..kMaxPictureSize.
bool pictureSizeFits(const FileKind& kind, std::int64_t width, std::int64_t height);

// The bytes of the first surface of `image`, which becomes a picture of that size with identity modifiers.
// Empty when there is no memory.
MemoryRegion allocatePicture(ReallocatableImage* image, unsigned width, unsigned height,
                             Vex::DataFormat format,
                             GpuAddress::SurfaceType type = GpuAddress::kSurfaceTypeTextureFlat);

// What a reader returns that had to do without `missing` of its texels: success only for none.
Error reportMissingTexels(const FileKind& kind, std::uint64_t missing, std::uint64_t texels);

// The same format with another channel type.
constexpr Vex::DataFormat withChannelType(Vex::DataFormat format, Vex::TextureChannelType channelType) {
    return {(format.m_word & ~0xF00u) | (std::uint32_t(channelType) & 0xF) << 8};
}

// The bytes of the first surface.
MemoryRegion firstSurface(const Image& image);

// Sizes the destination. False when it did not grow as far.
bool resizeFile(ResizableMemoryRegion* destination, std::uint64_t bytes);

// Calls write(image), which returns an Error, with the source itself if it is ready to be written, else with
// a copy in `format`.
template <typename Write>
Error writeInFormat(const Image& source, bool isReady, Vex::DataFormat format, Configuration* configuration,
                    Write write) {
    if (isReady) {
        return write(source);
    }
    MemoryMappedImage converted;
    reallocate(&converted, &source, format);
    const Error error = reformat(&source, &converted, configuration);
    return error == kErrorNone ? write(static_cast<const Image&>(converted)) : error;
}

} // namespace qor::Texsmith::Raw
