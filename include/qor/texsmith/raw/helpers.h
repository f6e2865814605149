// The front door for files: loading, saving, converting and comparing them.
//
// int results are Error values. An `extension` may be a whole file name. Names are UTF-8 on Windows and bytes
// as they are elsewhere; a name to read may be a URL. Null pointers are reported, and the call then fails.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/comparison.h"
#include "qor/texsmith/raw/filetype.h"
#include "qor/texsmith/raw/image.h"

namespace qor::Texsmith::Raw {

// Both load and both convert return 0 whatever the reader returned; the ...WithResult forms hand its Error
// on.
QOR_TEXSMITH_API int load(ReallocatableImage* destination, MemoryRegion* source, const char* extension,
                          Configuration* configuration, int index);
QOR_TEXSMITH_API int load(ReallocatableImage* destination, MemoryRegion* source, const char* extension,
                          Configuration* configuration);
QOR_TEXSMITH_API int load(ReallocatableImage* destination, const char* filenameOrUrl,
                          Configuration* configuration, int index);
QOR_TEXSMITH_API int load(ReallocatableImage* destination, const char* filenameOrUrl,
                          Configuration* configuration);
QOR_TEXSMITH_API Error loadWithResult(ReallocatableImage* destination, MemoryRegion* source,
                                      const char* extension, Configuration* configuration, int index);

QOR_TEXSMITH_API int save(Image* source, ResizableMemoryRegion* destination, const char* extension,
                          Configuration* configuration);
QOR_TEXSMITH_API int save(Image* source, const char* filename, Configuration* configuration);

// Files of one type are copied byte by byte. A destination name that begins with a dot is an extension for
// the source's name. Source and destination may be the same file, which is left as it is.
QOR_TEXSMITH_API int convert(MemoryRegion* source, const char* sourceExtension,
                             ResizableMemoryRegion* destination, const char* destinationExtension,
                             Configuration* configuration);
QOR_TEXSMITH_API int convert(const char* sourceFilenameOrUrl, const char* destinationFilenameOrExtension,
                             Configuration* configuration);
QOR_TEXSMITH_API Error convertWithResult(MemoryRegion* source, const char* sourceExtension,
                                         ResizableMemoryRegion* destination, const char* destinationExtension,
                                         Configuration* configuration);
QOR_TEXSMITH_API Error convertWithResult(const char* sourceFilenameOrUrl,
                                         const char* destinationFilenameOrExtension,
                                         Configuration* configuration);

// kErrorNone when the two files hold the same stored texels, kErrorFailed when not. Two VXF files are
// compared as their first textures lie, whatever their descriptors say, and neither they nor DDS files are
// decoded; other files are loaded first. Names that differ at most in case are equal without a look at the
// files.
QOR_TEXSMITH_API int areBitwiseEqual(MemoryRegion* sourceA, const char* sourceAExtension,
                                     MemoryRegion* sourceB, const char* sourceBExtension,
                                     Configuration* configuration);
QOR_TEXSMITH_API int areBitwiseEqual(const char* sourceAFilenameOrUrl, const char* sourceBFilenameOrUrl,
                                     Configuration* configuration);

// The mean squared error of the pictures of two files, as compare of surfaces gives it. One region given
// twice, and names that differ at most in case, give zeros without being read.
QOR_TEXSMITH_API int compare(VectorFloat* mse, MemoryRegion* sourceA, const char* sourceAExtension,
                             MemoryRegion* sourceB, const char* sourceBExtension,
                             Configuration* configuration, const SquaredErrorCalculator* calculator);
QOR_TEXSMITH_API int compare(VectorFloat* mse, const char* sourceAFilenameOrUrl,
                             const char* sourceBFilenameOrUrl, Configuration* configuration,
                             const SquaredErrorCalculator* calculator);

} // namespace qor::Texsmith::Raw
