// Thumbnails and info tips, as a shell extension shows them: a picture of a texture file, and its descriptor
// in words.
//
// A bitmap has 32 bits a pixel, bytes B, G, R and one more, the top row first. On Windows it is a section of
// the system's graphics, made by CreateDIBSection, and any code there takes it; elsewhere it is memory behind
// an opaque pointer, which the functions here read and free:
//
//     MemoryMappedFile file("brick.dds", kPermissionsReadOnly, g_mallocAllocator);
//     const HBITMAP bitmap = makeThumbnail(&file, kThumbnailFormatDds, false, &configuration);
//     BitmapSection section;
//     if (getBitmapSection(bitmap, &section)) {
//         show(section.bits, section.width, section.height, section.pitch);
//     }
//     freeBitmap(bitmap);
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/memory_region.h"
#include "qor/texsmith/raw/texture.h"

#include <cstdint>

struct HBITMAP__; // the type that Windows declares

namespace qor::Texsmith::Raw {

using HBITMAP = ::HBITMAP__*;

enum ThumbnailFormat : unsigned { kThumbnailFormatVxf = 0, kThumbnailFormatDds = 1, kThumbnailFormatTga = 2 };

// The canvas of all surfaces of the file (AsCanvasElementProvider), each at its full size: of texture 0 where
// a file has several. The bytes are linear, or with `srgb` encoded by the curve of sRGB; without it, texels
// that are stored as sRGB are shown as they are stored. Values are clamped to 0..1. Null when the file cannot
// be read, which its reader reports, when a pointer is null, which is reported, and where the system has no
// memory for the bitmap. A format of another number gives a black bitmap of 8 x 8 pixels. The bitmap is the
// caller's, to be freed by freeBitmap or, on Windows, DeleteObject. `source` may be freed at once.
QOR_TEXSMITH_API HBITMAP makeThumbnail(MemoryRegion* source, ThumbnailFormat format, bool srgb,
                                       Configuration* configuration);

// The pixels of a bitmap. Borrowed from it.
struct BitmapSection {
    unsigned width = 0; // pixels
    unsigned height = 0;
    unsigned pitch = 0;           // bytes from row to row
    std::uint8_t* bits = nullptr; // the bitmap's own, valid as long as it
};

// A black bitmap. Null for sizes of 0 or above 16384, and without memory. The caller's, as above.
QOR_TEXSMITH_API HBITMAP makeBitmap(unsigned width, unsigned height);
// False, and nothing written, for a null bitmap and for one that is no section of 32 bits. A null section is
// reported.
QOR_TEXSMITH_API bool getBitmapSection(HBITMAP bitmap, BitmapSection* section);
// A null bitmap is fine.
QOR_TEXSMITH_API void freeBitmap(HBITMAP bitmap);

// Writes a descriptor as JSON text (ReflectedTypes::g_vexTexture), with a terminating zero. What does not fit
// into `size` bytes is reported and dropped; the zero stands in the last byte then. Null arguments are
// reported; a buffer that is not null becomes an empty text.
QOR_TEXSMITH_API void getInfoTip(char* buffer, unsigned int size, const Vex::Texture* texture,
                                 Configuration* configuration);
QOR_TEXSMITH_API void getInfoTip(char* buffer, unsigned int size, const Texture* texture,
                                 Configuration* configuration);

} // namespace qor::Texsmith::Raw
